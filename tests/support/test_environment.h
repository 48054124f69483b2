// What a test program may touch: a folder of its own that takes the place of every folder the library writes
// to.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

/// The folder of this run of the program; removed when the program ends.
std::filesystem::path TestRoot();

/// The folder that takes reports while nothing else is configured.
std::filesystem::path TestReportFolder();

/// The running program's file.
std::filesystem::path TestProgram();

/// Sets an environment variable as the library sees it; null removes it.
void SetTestVariable(const char* sName, const char* sValue);

/// Skips the current test where the sanitizers look on, and prints why.
#ifdef ORV_TEST_SANITIZED
#define ORV_SKIP_SANITIZED(reason) GTEST_SKIP() << reason
#else
#define ORV_SKIP_SANITIZED(reason) static_cast<void>(0)
#endif

/// Turns off what would stop an unattended process (dialogs of the runtime after an abort).
void PrepareTestProcess();

/// Ends the process when its tests are over. Wine kills threads that are left, be they its own, at any point,
/// and then hangs now and then at the end of the modules: it does not come to that.
[[noreturn]] void EndTestProcess(int iResult);

/// Makes the folder and points the environment into it for the lifetime of the object. The children of the
/// program inherit it, so their reports appear beside those of the program itself.
class CTestEnvironment
{
public:
    CTestEnvironment();
    CTestEnvironment(CTestEnvironment&&) = delete;
    ~CTestEnvironment();
};

/// Sets a variable for a scope and puts the former value back.
class CVariableGuard
{
public:
    CVariableGuard(const char* sName, const char* sValue);
    CVariableGuard(CVariableGuard&&) = delete;
    ~CVariableGuard();

private:
    std::string m_sName;
    std::optional<std::string> m_sFormer;
};
