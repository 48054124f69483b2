// What the narrow and the wide form of a settings function do differently; everything else is written once
// for both.
#pragma once

#include "core/textformat.h"
#include "orvcomtypes/stringutils.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <string>

constexpr unsigned kSettingsPathChars = 260;

/// Bounded copy, always terminated; false when the text had to be cut. Narrow text is cut between characters.
template <class Char>
bool CopyCut(Char* dest, std::size_t cchDest, const Char* src)
{
    const std::size_t nLength = std::char_traits<Char>::length(src);
    std::size_t nCopied = std::min(nLength, cchDest - 1);
    if constexpr (sizeof(Char) == 1)
        if (nCopied < nLength)
            nCopied = OCT::WholeCharacters(src, nCopied, CP_ACP);
    std::char_traits<Char>::move(dest, src, nCopied);
    dest[nCopied] = 0;
    return nCopied == nLength;
}

template <class Char>
bool IsEmptyText(const Char* s)
{
    return s == nullptr || *s == 0;
}

/// Room for one text: inline for usual lengths, else on the heap.
template <class Char>
class CSettingsBuffer
{
public:
    /// Makes room for \p nUnits; false when memory ran out.
    bool ReserveSize(std::size_t nUnits)
    {
        if (nUnits <= kSettingsPathChars)
            return true;
        m_pHeap.reset(new (std::nothrow) Char[nUnits]);
        m_pText = m_pHeap.get();
        return m_pText != nullptr;
    }
    operator Char*() { return m_pText; }

private:
    Char m_sInline[kSettingsPathChars];
    std::unique_ptr<Char[]> m_pHeap;
    Char* m_pText = m_sInline;
};

struct CNarrowForm
{
    using Char = char;

    static LSTATUS QueryValue(HKEY hKey, const char* sName, DWORD* pdwType, void* pData, DWORD* pcbData)
    {
        return ::RegQueryValueExA(hKey, sName, nullptr, pdwType, static_cast<LPBYTE>(pData), pcbData);
    }
    static LSTATUS SetValue(HKEY hKey, const char* sName, DWORD dwType, const void* pData, DWORD cbData)
    {
        return ::RegSetValueExA(hKey, sName, 0, dwType, static_cast<const BYTE*>(pData), cbData);
    }
    static LSTATUS DeleteValue(HKEY hKey, const char* sName) { return ::RegDeleteValueA(hKey, sName); }
    static void Widen(WCHAR (&dest)[kSettingsPathChars], const char* s)
    {
        ANSIToUnicode(s, dest, kSettingsPathChars, CP_ACP);
    }

    static constexpr const char* kCannotReserve = "!sBuf.ReserveSize (dwSize / sizeof (char) + 1)";
    static constexpr const char* kCannotRead = "::RegQueryValueExA (hKey, valueName, nullptr, &dwType, "
                                               "reinterpret_cast<LPBYTE> (static_cast<char*> (sBuf)), "
                                               "&dwSize) != ERROR_SUCCESS";
};

struct CWideForm
{
    using Char = WCHAR;

    static LSTATUS QueryValue(HKEY hKey, const WCHAR* sName, DWORD* pdwType, void* pData, DWORD* pcbData)
    {
        return ::RegQueryValueExW(hKey, sName, nullptr, pdwType, static_cast<LPBYTE>(pData), pcbData);
    }
    static LSTATUS SetValue(HKEY hKey, const WCHAR* sName, DWORD dwType, const void* pData, DWORD cbData)
    {
        return ::RegSetValueExW(hKey, sName, 0, dwType, static_cast<const BYTE*>(pData), cbData);
    }
    static LSTATUS DeleteValue(HKEY hKey, const WCHAR* sName) { return ::RegDeleteValueW(hKey, sName); }
    static void Widen(WCHAR (&dest)[kSettingsPathChars], const WCHAR* s)
    {
        CopyCut(dest, kSettingsPathChars, s);
    }

    static constexpr const char* kCannotReserve = "!sBuf.ReserveSize (dwSize / sizeof (wchar_t) + 1)";
    static constexpr const char* kCannotRead = "::RegQueryValueExW (hKey, valueName, nullptr, &dwType, "
                                               "reinterpret_cast<LPBYTE> (static_cast<wchar_t*> "
                                               "(sBuf)), &dwSize) != ERROR_SUCCESS";
};
