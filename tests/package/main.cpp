// Touches every family of the installed library; the status is the number of those that did not answer as
// they should.
#include <orvcomtypes/orvcomtypes.h>

#include <cstdio>
#include <cstring>

namespace
{

int g_nFaults = 0;

void Check(bool fHolds, const char* sFamily)
{
    if (fHolds)
        return;
    std::printf("%s does not work\n", sFamily);
    ++g_nFaults;
}

bool CatchesWhatTheLibraryThrows()
{
    try
    {
        LQThrowMemory(LQ_SRC_LOCATION);
    }
    catch (const CLQExcept&)
    {
        return true;
    }
    return false;
}

void UseFamilies()
{
    Check(GetOrvComTypesVersion() == ORVCOMTYPES_VERSION, "version");
    void* pBlock = OCTMalloc(100);
    Check(pBlock != nullptr, "heap");
    OCTFree(pBlock);

    COrvStr sPath(ORVTEXT("C:\\data"));
    sPath.AddPath(ORVTEXT("report.txt"), ORVTEXT('\\'));
    Check(sPath == ORVTEXT("C:\\data\\report.txt"), "strings");
    char sUtf8[16];
    Check(UnicodeToUTF8(ORVTEXT("\x00e1r"), sUtf8, sizeof sUtf8) == 3, "conversions");

    CSimpleMarray<int, 16> numbers;
    numbers.Add(7);
    Check(numbers.Last() == 7, "arrays");
    OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>> map(1000);
    map.SetItem(7);
    Check(map.GetNextItem(0) == 7, "hash map");
    CMIDINTArray ids;
    ids.Split("10,3,7,3", ',');
    ids.Unique();
    Check(ids.Join(ORVTEXT(','), ORVTEXT("ids:")) == ORVTEXT("ids:,3,7,10"), "sets");
    Check(CSimpleByteSet(0x00030201).JoinInterval(1, 7, ORVTEXT(',')) == ORVTEXT("1,2,3"), "byte set");

    COrvSQLStr sql;
    (sql & ORVTEXT("Name=") & NVARCHAR{ORVTEXT("O'Brien"), 0, 50});
    Check(COrvStr(sql) == ORVTEXT("Name=N'O''Brien'"), "statements");
    COrvTabbedWStr reader;
    reader.Init(ORVTEXT("12;x"), ORVTEXT(';'));
    Check(reader.GetNextInt() == 12, "text builders");

    const COrvTime time = COrvTime::FromYMD(2024, 5, 6, 7, 8, 9);
    char sTime[32];
    time.DebugFormat(COrvTime::dftISO, sTime, sizeof sTime);
    Check(std::strcmp(sTime, "2024-05-06 07:08:09Z") == 0, "times");
    Check(SetTimeZone(ORVTEXT("Central Europe Standard Time")) == ERROR_SUCCESS, "zones");
    Check(!COrvPrecisionTimer(100000, true).IsExpired(), "timers");

    COrvLog log;
    log.InitFileLog(ORVTEXT("package-test-log.txt"), lqlErrors, ORVTEXT("Test"));
    log.LogErr(ORVTEXT("a line"));
    Check(log.Flush(60000), "logs");
    Check(GetLQDWORDSettingW(ORVTEXT("No such key"), ORVTEXT("Port"), 1433) == 1433, "settings");
    CLQMessage message(26100, 0);
    message.AddParam(12);
    Check(!message.Format(nullptr).IsEmpty(), "messages");
    Check(CatchesWhatTheLibraryThrows(), "exceptions");
}

} // namespace

int main()
{
    UseFamilies();
    UninitOrvComTypes();
    if (g_nFaults == 0)
        std::puts("the installed library works");
    return g_nFaults;
}
