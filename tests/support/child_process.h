// Child processes for what cannot be tested in the test's own process: loading, unloading, aborting, being
// killed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

using ChildArguments = std::vector<std::string>; ///< UTF-8
inline constexpr std::string_view kChildSwitch = "--child";

inline ChildArguments Joined(ChildArguments args, const ChildArguments& more)
{
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

struct ChildResult
{
    int m_iExitCode = 0;   ///< on POSIX minus the signal's number when a signal ended the process
    std::string m_sOutput; ///< both output streams, what ReadLine took left out; "\r\n" is read as "\n"
};

/// Any program.
struct ChildProgram
{
    std::filesystem::path m_Path;
};

/// This program, started anew to run a body that ORV_CHILD defines. It inherits the environment.
///
///     ORV_CHILD(Greet)
///     {
///         std::printf("hello %s\n", args.at(0).c_str());
///         return 3;
///     }
///     ... const ChildResult result = CChildProcess("Greet", {"you"}).Wait();
class CChildProcess
{
public:
    explicit CChildProcess(const std::string& sName, const ChildArguments& args = {});
    explicit CChildProcess(const ChildProgram& program, const ChildArguments& args = {});
    CChildProcess(CChildProcess&&) = delete;
    /// Kills the process when it still runs.
    ~CChildProcess();

    /// Waits for the next line of output (without its end); the child flushes it. Empty at the end of the
    /// output. A line that the child writes on reaching a point is the latch that replaces waiting for some
    /// time.
    std::string ReadLine();
    /// What the system calls the process by: its handle, on POSIX its number.
    std::intptr_t Process() const { return m_hProcess; }
    /// Ends the process at once, as a power cut would.
    void Kill();
    /// Reads the output to its end and waits for the process; once.
    ChildResult Wait();

private:
    bool ReadMore();
    int WaitForExit();

    std::intptr_t m_hProcess = 0; ///< 0 once it was waited for
    std::intptr_t m_hOutput = 0;
    std::string m_sPending;
};

/// Runs the named body in this process; for main().
int RunAsChild(const std::string& sName, const ChildArguments& args);

using ChildBody = int (*)(const ChildArguments& args);
struct ChildRegistration
{
    ChildRegistration(const char* sName, ChildBody body);
};

/// Defines a body; it sees its arguments as `args` and returns the exit code.
#define ORV_CHILD(name) \
    static int OrvChild##name(const ChildArguments& args); \
    static const ChildRegistration g_registration##name(#name, OrvChild##name); \
    static int OrvChild##name([[maybe_unused]] const ChildArguments& args)
