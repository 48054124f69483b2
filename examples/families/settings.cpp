// Settings and paths: what the administrator set, what the user changed, and files that are named relative to
// a setting.
#include <orvcomtypes/lqsettings.h>
#include <orvcomtypes/octalloc.h>

#include <cstdio>

namespace
{

constexpr const WCHAR* kServer = ORVTEXT("Server");

void ShowServer()
{
    const COrvStr sHost = GetLQStrSetting(kServer, ORVTEXT("Host"), ORVTEXT("localhost"));
    std::printf("%s:%u\n", static_cast<const char*>(CToUTF8(sHost)),
                static_cast<unsigned>(GetLQDWORDSettingW(kServer, ORVTEXT("Port"), 1433)));
}

void Work()
{
    SetLQSettingsRootW(ORVTEXT("Software\\Example\\Shop")); // the program's own key, before other threads run
    ShowServer();
    if (!SetLQStringSettingW(kServer, ORVTEXT("Host"), ORVTEXT("db.example"), ORVTEXT("localhost")) ||
        !SetLQDWORDSettingW(kServer, ORVTEXT("Port"), 1434, 1433))
        std::puts("the settings cannot be written");
    ShowServer();

    SetLQStringSettingW(nullptr, ORVTEXT("DataPath"), ORVTEXT("C:\\Data"), nullptr);
    WCHAR sPath[260] = ORVTEXT("*\\list.txt"); // below the setting "DataPath"
    ExpandPathW(sPath, sizeof sPath);
    std::puts(CToUTF8(sPath));

    // A value that says what holds without it is removed.
    SetLQStringSettingW(kServer, ORVTEXT("Host"), ORVTEXT("localhost"), ORVTEXT("localhost"));
    SetLQDWORDSettingW(kServer, ORVTEXT("Port"), 1433, 1433);
    SetLQStringSettingW(nullptr, ORVTEXT("DataPath"), ORVTEXT(""), nullptr);
    ShowServer();
}

} // namespace

int main()
{
    Work();
    UninitOrvComTypes();
}

// Prints:
// localhost:1433
// db.example:1434
// C:\Data\list.txt
// localhost:1433
