/// `CRegKeyW`, the owner of one open registry key.
///
/// Ownership: the handle is closed when another key is opened and at the end of the object.
/// Thread safety: one object belongs to one thread at a time.
/// Errors: the results are registry error codes; reports (source `regkeyw`) stand at the members.
/// Units: code units, the terminator included.
///
///     CRegKeyW key;
///     WCHAR sDir[MAX_PATH];
///     ULONG nChars = MAX_PATH;
///     if (key.Open(HKEY_CURRENT_USER, ORVTEXT("Software\\Orvanex\\Lumatrek"), KEY_READ) == ERROR_SUCCESS)
///         key.QueryStringValue(ORVTEXT("EventDir"), sDir, &nChars);
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

class ORV_API CRegKeyW
{
public:
    CRegKeyW() noexcept = default;
    CRegKeyW(const CRegKeyW&) = delete;
    CRegKeyW& operator=(const CRegKeyW&) = delete;
    ~CRegKeyW() { Close(); }

    /// Opens an existing key; when that fails the key held so far stays open. Reports "lRes == ERROR_SUCCESS"
    /// when that one cannot be closed, and holds the new one.
    LSTATUS Open(HKEY hParent, const WCHAR* sSubKey, REGSAM samDesired) noexcept;
    /// The same, but makes a key that does not exist.
    LSTATUS Create(HKEY hParent, const WCHAR* sSubKey, REGSAM samDesired) noexcept;
    /// Closes the key; without one it does nothing.
    LSTATUS Close() noexcept;

    /// Reads a REG_SZ or REG_EXPAND_SZ value as stored; a null \p sName is the key's default value. The room
    /// of \p sBuffer stands in \p pnChars, then the length with the terminator, or 0 on failure. A null
    /// buffer asks for the length. Another type, an odd number of bytes and text without terminator give
    /// ERROR_INVALID_DATA. Reports "m_hKey != nullptr" without a key, and "pnChars != nullptr"; both fail.
    LSTATUS QueryStringValue(const WCHAR* sName, WCHAR* sBuffer, ULONG* pnChars) noexcept;

    /// The open key, null without one; it stays the property of the object.
    HKEY Get() const noexcept { return m_hKey; }

private:
    void Hold(const char* sFunction, HKEY hKey) noexcept;

    HKEY m_hKey = nullptr;
};
