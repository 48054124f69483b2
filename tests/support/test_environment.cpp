#include "support/test_environment.h"

#include <cstdlib>
#include <random>
#include <system_error>

namespace
{
std::filesystem::path g_root;

constexpr const char* kRootVariable = "ORVCOMTYPES_TEST_ROOT";

std::filesystem::path MakeRoot()
{
    // The blank in the name catches code that cuts paths at blanks.
    std::random_device random;
    for (;;)
    {
        auto path = std::filesystem::temp_directory_path() / ("orvcomtypes test " + std::to_string(random()));
        if (std::filesystem::create_directory(path))
            return path;
    }
}
} // namespace

const std::filesystem::path& TestRoot()
{
    if (g_root.empty())
        if (const char* sRoot = std::getenv(kRootVariable))
            g_root = sRoot;
    return g_root;
}

std::filesystem::path TestReportFolder()
{
    return TestRoot() / "allusers" / "Application Data" / "Lumatrek" / "Log";
}

CTestEnvironment::CTestEnvironment()
{
    g_root = MakeRoot();
    SetTestVariable(kRootVariable, g_root.string().c_str());
    const struct
    {
        const char* m_sVariable;
        const char* m_sFolder;
    } folders[] = {{"ALLUSERSPROFILE", "allusers"},
                   {"TEMP", "temp"},
                   {"TMP", "temp"},
                   {"TMPDIR", "temp"},
                   {"APPDATA", "appdata"},
                   {"LOCALAPPDATA", "localappdata"},
                   {"XDG_CONFIG_HOME", "config"},
                   {"XDG_DATA_HOME", "data"},
                   {"XDG_STATE_HOME", "state"},
                   {"XDG_CACHE_HOME", "cache"}};
    for (const auto& folder : folders)
    {
        std::filesystem::create_directory(g_root / folder.m_sFolder);
        SetTestVariable(folder.m_sVariable, (g_root / folder.m_sFolder).string().c_str());
    }
    SetTestVariable("ORVCOMTYPES_USER_HIVE", (g_root / "user.reg").string().c_str());
    SetTestVariable("ORVCOMTYPES_MACHINE_HIVE", (g_root / "machine.reg").string().c_str());
}

CTestEnvironment::~CTestEnvironment()
{
    std::error_code ignored;
    std::filesystem::remove_all(g_root, ignored);
}

CVariableGuard::CVariableGuard(const char* sName, const char* sValue) : m_sName(sName)
{
    const char* sFormer = std::getenv(sName);
    m_bHadFormer = sFormer != nullptr;
    if (m_bHadFormer)
        m_sFormer = sFormer;
    SetTestVariable(sName, sValue);
}

CVariableGuard::~CVariableGuard()
{
    SetTestVariable(m_sName.c_str(), m_bHadFormer ? m_sFormer.c_str() : nullptr);
}
