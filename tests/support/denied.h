// A file that may not be written to.
#pragma once

#include "support/temp_dir.h"

/// While it lives nobody can open the file for writing.
class CDeniedFile
{
public:
    explicit CDeniedFile(const std::filesystem::path& file);
    CDeniedFile(const CDeniedFile&) = delete;
    CDeniedFile& operator=(const CDeniedFile&) = delete;
    ~CDeniedFile();

private:
    const std::filesystem::path m_file;
    std::intptr_t m_nFormer;
};
