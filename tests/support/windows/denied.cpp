#include "support/denied.h"

#include <windows.h>

CDeniedFile::CDeniedFile(const std::filesystem::path& file)
    : m_file(file),
      m_nFormer(reinterpret_cast<std::intptr_t>(
          CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)))
{
}

CDeniedFile::~CDeniedFile()
{
    CloseHandle(reinterpret_cast<HANDLE>(m_nFormer));
}
