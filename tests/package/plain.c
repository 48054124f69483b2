/* Uses the plain functions of the installed library from C; the status is the number of faults. It needs nothing of a C
   runtime, so that it can be linked as a program of any compiler. */
#include <orvcomtypes/orvcapi.h>

static int g_nTeardowns = 0;

static void ORVCALL CountTeardown(void)
{
    ++g_nTeardowns;
}

static bool SameBytes(const char* a, const char* b)
{
    while (*a && *a == *b)
    {
        ++a;
        ++b;
    }
    return *a == *b;
}

/* Values of every width, and structures, cross in both directions. */
static int FaultsOfCalls(void)
{
    int nFaults = GetOrvComTypesVersion() != ORVCOMTYPES_VERSION;
    char sText[64];
    nFaults += UnicodeToUTF8(ORVTEXT("\x00e1r"), sText, sizeof sText) != 3 || !SameBytes(sText, "\xc3\xa1r");
    modp_litoa10(-1234567890123, sText);
    nFaults += !SameBytes(sText, "-1234567890123");
    nFaults += naive_atoll("1234567890123") != 1234567890123;
    nFaults += naive_wtof(ORVTEXT("-0.25")) != -0.25;
    modp_dtoa(2.5, sText, 1);
    nFaults += !SameBytes(sText, "2.5");
    nFaults += CompareOrvString(ORVTEXT("a"), ORVTEXT("A"), true) != 0;

    void* pBlock = OCTRealloc(OCTMalloc(16), 4096);
    nFaults += pBlock == 0;
    OCTFree(pBlock);

    LONG t = 0;
    WORD nYear = 0, nMonth = 0, nDay = 0;
    nFaults += !YMD2Timet(2024, 5, 6, 7, 8, 9, &t) || FileTime2Timet(Timet2FileTime(t)) != t;
    nFaults += !Timet2YMD(t, &nYear, &nMonth, &nDay, 0, 0, 0) || nYear != 2024 || nDay != 6;

    const ULONGLONG qwDefault = 0x123456789ABCDEF0u;
    nFaults += GetLQQWORDSettingW(ORVTEXT("No such key"), ORVTEXT("Name"), qwDefault) != qwDefault;
    return nFaults;
}

int main(void)
{
    int nFaults = FaultsOfCalls();
    RegisterPlexedAlloc(CountTeardown);
    nFaults += !InitFileProcessLogger(ORVTEXT("plain-log.txt"), 1);
    LogStrExp(1, "a line");
    nFaults += !FlushLogs(60000);
    UninitOrvComTypes();
    return nFaults + (g_nTeardowns != 1);
}
