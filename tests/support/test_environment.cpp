#include "support/test_environment.h"

#include <cstdlib>
#include <random>
#include <system_error>

static constexpr const char* kRootVariable = "ORVCOMTYPES_TEST_ROOT";

std::filesystem::path TestRoot()
{
    return std::getenv(kRootVariable);
}

std::filesystem::path TestReportFolder()
{
    return TestRoot() / "ALLUSERSPROFILE" / "Application Data" / "Lumatrek" / "Log";
}

CTestEnvironment::CTestEnvironment()
{
    // The blanks in the name catch code that cuts paths at blanks.
    const auto root = std::filesystem::temp_directory_path() /
                      ("orvcomtypes test " + std::to_string(std::random_device()()));
    const auto set = [&root](const char* sVariable, const char* sName) {
        SetTestVariable(sVariable, (root / sName).string().c_str());
    };
    SetTestVariable(kRootVariable, root.string().c_str());
    set("ORVCOMTYPES_USER_HIVE", "user.reg");
    set("ORVCOMTYPES_MACHINE_HIVE", "machine.reg");
    for (const char* sVariable : {"ALLUSERSPROFILE", "TEMP", "TMP", "TMPDIR", "APPDATA", "LOCALAPPDATA",
                                  "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
    {
        std::filesystem::create_directories(root / sVariable);
        set(sVariable, sVariable);
    }
}

CTestEnvironment::~CTestEnvironment()
{
    std::error_code ignored;
    std::filesystem::remove_all(TestRoot(), ignored);
}

CVariableGuard::CVariableGuard(const char* sName, const char* sValue) : m_sName(sName)
{
    if (const char* sFormer = std::getenv(sName))
        m_sFormer = sFormer;
    SetTestVariable(sName, sValue);
}

CVariableGuard::~CVariableGuard()
{
    SetTestVariable(m_sName.c_str(), m_sFormer ? m_sFormer->c_str() : nullptr);
}
