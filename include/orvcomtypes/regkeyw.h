/// `CRegKeyW`, the owner of one open registry key.
///
/// Ownership: the handle is closed when another key is opened and at the end of the object.
/// Thread safety: one object belongs to one thread at a time.
/// Errors: the results are registry error codes. Reported (source `regkeyw`): "lRes == ERROR_SUCCESS" from
///   "CRegKeyW::Open" or "CRegKeyW::Create" when the former key cannot be closed, "m_hKey != nullptr" and
///   "pnChars != nullptr" from "CRegKeyW::QueryStringValue".
/// Units: code units, the terminator included.
///
///     CRegKeyW key;
///     WCHAR sDir[MAX_PATH];
///     ULONG nChars = MAX_PATH;
///     if (key.Open(HKEY_CURRENT_USER, ORVTEXT("Software\\Orvanex\\Lumatrek"), KEY_READ) == ERROR_SUCCESS)
///         key.QueryStringValue(ORVTEXT("EventDir"), sDir, &nChars);
#pragma once

#include "orvcomtypes/octassert.h"

class ORV_API CRegKeyW
{
public:
    CRegKeyW() noexcept = default;
    CRegKeyW(const CRegKeyW&) = delete;
    CRegKeyW& operator=(const CRegKeyW&) = delete;
    ~CRegKeyW() { Close(); }

    /// Opens an existing key; when that fails the key held so far stays open.
    LSTATUS Open(HKEY hParent, const WCHAR* sSubKey, REGSAM samDesired) noexcept;
    /// Opens a key, or makes it when it does not exist.
    LSTATUS Create(HKEY hParent, const WCHAR* sSubKey, REGSAM samDesired) noexcept;
    /// Closes the key; without one it does nothing.
    LSTATUS Close() noexcept;

    /// Reads a REG_SZ or REG_EXPAND_SZ value as stored. \p pnChars: the room of \p sBuffer, then the length
    /// with the terminator, or 0 on failure. A null buffer asks for the length. Another type, an odd number
    /// of bytes and text without terminator give ERROR_INVALID_DATA.
    LSTATUS QueryStringValue(const WCHAR* sName, WCHAR* sBuffer, ULONG* pnChars) noexcept;

    /// The open key, null without one; it stays the property of the object.
    HKEY Get() const noexcept { return m_hKey; }

private:
    void Hold(const char* sFunction, HKEY hKey) noexcept;

    HKEY m_hKey = nullptr;
};
