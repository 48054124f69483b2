// Named zones beside the C library, which reads the same zone files in its own way.
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/stringutils.h"
#include "support/child_process.h"
#include "support/local_time.h"
#include "support/temp_dir.h"
#include "support/test_environment.h"

#include <ctime>
#include <set>
#include <string>
#include <string_view>
#include <tuple>

#include <unicode/ucal.h>

namespace
{

struct KeyName
{
    const WCHAR* m_sName;
    std::string_view m_sIds;
};

/// All Windows names of zones.
constexpr KeyName kNames[] = {
#include "../port/windows/zonekeynames.inc"
};

std::string IdOf(const WCHAR* sName)
{
    UErrorCode error = U_ZERO_ERROR;
    char16_t sId[64];
    const int nLength = ucal_getTimeZoneIDForWindowsID(sName, -1, nullptr, sId, 64, &error);
    return std::string(sId, sId + nLength);
}

int LibraryOffset(std::time_t t)
{
    std::tm tm;
    return localtime_r(&t, &tm) != nullptr ? static_cast<int>(tm.tm_gmtoff) : -1;
}

int OurOffset(const COrvTime& t)
{
    return (FromUtc(LocalOf(t)) - t).GetInSecond();
}

/// In how many of the years from this one on the selected zone is that of the C library in every hour.
int CountExactYears()
{
    constexpr int kHour = 3600;
    SYSTEMTIME st;
    COrvTime::Now().GetSystemTime(st);
    int nExact = 0;
    for (int y = st.wYear; y <= st.wYear + 5; ++y)
    {
        bool bExact = true;
        // Only near the changes the hours need a look.
        const COrvTime tEnd = COrvTime::FromYMD(y + 1, 1, 1, 0, 0, 0);
        for (COrvTime t = COrvTime::FromYMD(y, 1, 1, 0, 0, 0); t < tEnd; t += 24 * kHour)
            if (LibraryOffset(t.GetTimet()) != LibraryOffset((t + 24 * kHour).GetTimet()) ||
                OurOffset(t) != OurOffset(t + 24 * kHour))
                for (int i = -kHour / 2; i < 24 * kHour; i += kHour / 2)
                    bExact = bExact && OurOffset(t + i) == LibraryOffset((t + i).GetTimet());
            else
                bExact = bExact && OurOffset(t) == LibraryOffset(t.GetTimet());
        nExact += bExact;
    }
    return nExact;
}

TEST(ZoneRules, EveryWindowsNameFollowsTheZoneFiles)
{
    // What no pair of rules can say: changes by the moon, and by another weekday than the one they fall on.
    const std::set<std::string> inexact = {"Africa/Casablanca", "Asia/Jerusalem", "Asia/Hebron",
                                           "America/Godthab"};
    for (const KeyName& name : kNames)
    {
        const std::string sId = IdOf(name.m_sName);
        const CVariableGuard variable("TZ", sId.c_str());
        tzset();
        const CZone zone(name.m_sName);
        const int nExact = CountExactYears();
        EXPECT_TRUE(nExact == 6 || inexact.count(sId) != 0) << sId << ": " << nExact << " years";
        EXPECT_GE(nExact, 1) << sId;
    }
}

TEST(ZoneRules, ReadsFilesOfBothForms)
{
    // The C library takes a file for the one that it has read last when their numbers and seconds are the
    // same, so none is removed before the end.
    const CTempDir parent;
    WriteBytes(parent / "source", "Rule R 2000 max - Mar Sun>=8 2:00 1:00 D\n"
                                  "Rule R 2000 max - Oct lastSun 2:00 0 S\n"
                                  "Zone Test/Zone -7:00 R M%sT\n"
                                  "Rule F 2000 max - Apr 5 2:30 0:30 -\n"
                                  "Rule F 2000 max - Oct 5 2:15 0 -\n"
                                  "Zone Test/Fixed 9:30 F %z\n");
    for (const char* sForm : {"slim", "fat"}) // as today's tools compile them, and as older ones do
    {
        const std::filesystem::path folder = parent / sForm, file = folder / "Test/Zone";
        const CVariableGuard folderVariable("TZDIR", folder.c_str());
        CChildProcess zic(ChildProgram{"/usr/sbin/zic"}, {"-b", sForm, "-d", folder, parent / "source"});
        EXPECT_EQ(0, zic.Wait().m_iExitCode);
        // No weekday says a fixed day of the month in more than one year.
        for (const auto& [sId, sName, nYears] :
             {std::tuple("Test/Zone", ORVTEXT("Test/Zone"), 6), {"Test/Fixed", ORVTEXT("Test/Fixed"), 1}})
        {
            const CVariableGuard variable("TZ", sId);
            tzset();
            const CZone zone(sName);
            EXPECT_GE(CountExactYears(), nYears) << sId << ", " << sForm;
        }
        // ICU's own data stands in for a zone without a file.
        const CZone zone(ORVTEXT("europe/BUDAPEST"));
        EXPECT_EQ((Fields{2026, 3, 29, 3}), LocalOf(FromUtc({2026, 3, 29, 1})));

        const std::string sBytes = ReadBytes(file);
        for (std::size_t n = 0; n + 1 < sBytes.size(); n += 1 + sBytes.size() / 100)
        {
            WriteBytes(file, sBytes.substr(0, n));
            EXPECT_EQ(2, SetTimeZone(ORVTEXT("Test/Zone"))) << sForm << ", cut at " << n;
        }
    }
    for (const WCHAR* sBad : {ORVTEXT("../zoneinfo/Europe/Paris"), ORVTEXT("Europe"), ORVTEXT("Europe/"),
                              ORVTEXT("zone.tab"), ORVTEXT("/usr/share/zoneinfo/UTC")})
        EXPECT_EQ(2, SetTimeZone(sBad));
}

bool s_bAsksLate = false;

/// Runs when the library's static objects have been destroyed: it is registered before the loader's own end.
void AskLate(void*)
{
    char sBytes[8];
    if (s_bAsksLate)
        std::printf("%d %d %d\n", LocalOf(FromUtc({2024, 7, 1, 12}))[3],
                    CompareOrvString(ORVTEXT("\u00E9"), ORVTEXT("z"), false),
                    UnicodeToANSI(ORVTEXT("\u00E9"), sBytes, sizeof sBytes, 54936));
}

extern "C" int __cxa_atexit(void (*pfn)(void*), void* pArgument, void* pModule);

void Register()
{
    __cxa_atexit(AskLate, nullptr, nullptr);
}

[[gnu::used, gnu::section(".preinit_array")]] void (*const s_pfnRegister)() = Register;

ORV_CHILD(AsksWhereOthersHaveEnded)
{
    s_bAsksLate = SetTimeZone(ORVTEXT("Nepal Standard Time")) == 0;
    AskLate(nullptr);
    return 0;
}

TEST(ProcessEnd, LeavesWhatOthersMayStillUse)
{
    EXPECT_EQ("17 -1 2\n17 -1 2\n", CChildProcess("AsksWhereOthersHaveEnded").Wait().m_sOutput);
}

} // namespace
