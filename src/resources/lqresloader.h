// Finds and opens the language libraries of a module.
#pragma once

#include "core/fixedline.h"

#include <windows.h>

/// What the libraries of a module are called, and the version that they must have.
struct CLQResName
{
    OCT::CFixedLine<WCHAR, 64> m_sName;
    DWORD m_dwVersion = 0; ///< the major number in the upper half, the minor one in the lower
};

constexpr DWORD MakeResVersion(WORD wMajor, WORD wMinor)
{
    return static_cast<DWORD>(wMajor) << 16 | wMinor;
}

/// Created at process attach, destroyed at process detach; empty until `Init`. Calls are serialised by the
/// resource handler.
class CLQResLoader
{
public:
    /// The library's own texts. The resource option, the setting "UseResourceDLL", is read when a library is
    /// first asked for: most programs that load ours never show a text.
    void Init(HMODULE hModule) noexcept;
    /// The texts of another module.
    void Init(HMODULE hModule, const WCHAR* sName, DWORD dwVersion) noexcept;

    /// Opens the library of exactly this language. Null, and the last error, when there is none that fits.
    HMODULE Open(const WCHAR* sLanguage) noexcept;

private:
    enum EUse : char
    {
        useUnknown,
        useNo,
        useYes
    };

    bool IsUsed() noexcept;
    HMODULE OpenFrom(const WCHAR* sFolder, const WCHAR* sLanguage) const noexcept;

    HMODULE m_hModule = nullptr;
    CLQResName m_owner;
    EUse m_use = useUnknown;
};
