// What the structures of Win32 tell of a file.
#pragma once

#include <windows.h>

#include <ctime>

#include <sys/stat.h>

inline FILETIME PortFileTime(const timespec& ts) noexcept
{
    constexpr ULONGLONG nEpochTicks = 116444736000000000;
    const auto nTicks =
        static_cast<ULONGLONG>(ts.tv_sec) * 10000000 + static_cast<ULONGLONG>(ts.tv_nsec) / 100 + nEpochTicks;
    return {static_cast<DWORD>(nTicks), static_cast<DWORD>(nTicks >> 32)};
}

/// Fills the fields that the structures have in common. The system keeps no time of creation that could be
/// relied on: that of the last write stands for it.
template <class Data>
void PortFillFileData(Data& data, const struct stat& st) noexcept
{
    data.dwFileAttributes = S_ISDIR(st.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
    data.ftLastAccessTime = PortFileTime(st.st_atim);
    data.ftCreationTime = data.ftLastWriteTime = PortFileTime(st.st_mtim);
    data.nFileSizeHigh = static_cast<DWORD>(static_cast<ULONGLONG>(st.st_size) >> 32);
    data.nFileSizeLow = static_cast<DWORD>(st.st_size);
}
