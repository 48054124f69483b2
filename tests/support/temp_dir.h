// A folder for one test.
#pragma once

#include "support/test_environment.h"

#include <filesystem>
#include <fstream>
#include <iterator>
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
    CTempDir(const CTempDir&) = delete;
    CTempDir& operator=(const CTempDir&) = delete;
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

/// The bytes of a file; empty when there is none.
inline std::string ReadBytes(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

inline void WriteBytes(const std::filesystem::path& path, const std::string& sBytes)
{
    std::ofstream(path, std::ios::binary) << sBytes;
}
