// A folder for one test.
#pragma once

#include "support/test_environment.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

/// An empty folder below the program's own, removed with everything in it at the end of the scope.
class CTempDir
{
public:
    CTempDir()
    {
        static int s_iNext = 0;
        m_path = TestRoot() / ("dir " + std::to_string(s_iNext++));
        std::filesystem::create_directory(m_path);
    }
    CTempDir(CTempDir&&) = delete;
    ~CTempDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

/// The bytes of a file, those from an offset on; empty when there is none.
inline std::string ReadBytes(const std::filesystem::path& path, std::size_t nOffset = 0)
{
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(nOffset));
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

inline void WriteBytes(const std::filesystem::path& path, const std::string& sBytes)
{
    std::ofstream(path, std::ios::binary) << sBytes;
}
