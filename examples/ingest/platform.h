// What the service needs of the system and the language does not offer; posix/ and windows/ have the bodies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

/// What main was given, as UTF-8: Windows' own narrow arguments have lost what the code page lacks.
std::vector<std::string> CommandLine(int argc, char** argv);

/// The request to end: Ctrl-C and SIGTERM, on Windows the console's events. The second one ends the program
/// at once, as if nobody listened.
class CStop
{
public:
    static void Install();
    static bool IsRequested();
    /// Waits for a request, at most \p nMilliseconds; true when there is one.
    static bool Wait(unsigned nMilliseconds);
    /// 130 for Ctrl-C and Ctrl-Break, 143 for the rest, 0 without a request.
    static int ExitStatus();
};

/// A file that is read from its start to its end, and on when it has grown.
class CInputFile
{
public:
    enum class ERead
    {
        Data,
        End,
        Failed,
        Stopped ///< the request to end came while nothing was there to read
    };

    CInputFile() = default;
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;
    ~CInputFile() { Close(); }

    /// Refuses folders. With \p bForGood a pipe does not end when its writers close it.
    bool Open(const std::filesystem::path& path, bool bForGood, std::string& sError);
    void Close();
    ERead Read(char* pBuffer, std::size_t nRoom, std::size_t& nRead);
    /// False when reading would have to wait, which only pipes do.
    bool HasInput() const;
    bool IsPipe() const { return m_bPipe; }
    std::uint64_t Size() const;
    bool Seek(std::uint64_t nOffset);
    /// True when \p path names another file than the open one: it was rotated away.
    bool IsReplacedAt(const std::filesystem::path& path) const;

private:
    std::intptr_t m_hFile = -1;
    bool m_bPipe = false;
};

bool IsTerminal(std::FILE* pFile);
unsigned long ProcessNumber();
