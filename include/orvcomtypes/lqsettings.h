/// Persistent settings below one registry key, and paths that are relative to directories named there.
///
/// A setting is a value of the key "root\sub-key". Reading takes the per-user value, else the machine-wide
/// one, else the caller's default. Writing changes the per-user hive only, and a value is stored there only
/// while it differs from what a reader would get without it: writing the machine-wide value (or, without one,
/// the default) removes the per-user value, so that later changes for the whole machine are seen again.
///
/// Each function has a wide form and a narrow one in the ANSI code page. In narrow sub-keys and roots every
/// byte below 0x80 is ASCII, also as the second one of a double-byte character, which is lost then: such keys
/// need the wide form. Value names and text may hold any character of the page.
///
/// A null or empty sub-key means the root itself; a key path is cut at 259 units. A null or empty value name
/// means the key's default value. On targets without a registry the hives are text files, see
/// docs/settings.md.
///
/// Lifetime: usable in static constructors and destructors too, and after `UninitOrvComTypes`.
/// Thread safety: all functions from any thread, except while another thread changes the root. Reading never
///   waits for a process that writes. Writing waits for its turn, at most five seconds where hives are files.
/// Errors: nothing throws. A hive or key that cannot be read, and a value of another type or size, count as
///   missing, and nothing is said about it; a hive that there is no memory to read counts as missing for
///   getters only. Misuse and missing memory for text are reported (source `lqsettings`) as it stands at each
///   function.
/// Units: `cb…` bytes, `cch…` code units or bytes of narrow text, terminator included. Narrow text is cut
///   between characters.
///
///     const DWORD dwPort = GetLQDWORDSettingW(ORVTEXT("Server"), ORVTEXT("Port"), 1433);
///     SetLQDWORDSettingW(ORVTEXT("Server"), ORVTEXT("Port"), 1434, 1433);
///     const COrvStr sName = GetLQStrSetting(nullptr, ORVTEXT("Name"), ORVTEXT("main"));
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

// ---- The root, "Software\Orvanex\Lumatrek" at first ----

/// True when the root fits whole. Else it is cut, and the wide form reports 0x8007007A. Reports "rootPath ==
/// nullptr || cchDest < 2", writes nothing and gives false.
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQSettingsRootA(char* rootPath, unsigned cchDest) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQSettingsRootW(WCHAR* rootPath, unsigned cchDest) noexcept;

/// Cut at 259 units; one backslash at the end is removed. Meant for start-up, before other threads read
/// settings. Reports "rootPath == nullptr || *rootPath == 0" and keeps the root; reports "s_lqSettingsRoot[0]
/// != L'\0'" when nothing is left of it, and the root is empty then.
ORV_EXTERN_C ORV_FUNC void ORVCALL SetLQSettingsRootA(const char* rootPath) noexcept;
ORV_EXTERN_C ORV_FUNC void ORVCALL SetLQSettingsRootW(const WCHAR* rootPath) noexcept;

ORV_VALUES_BEGIN

/// Empty without memory.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL GetLQSettingsRootStr() noexcept;

// ---- Reading ----

/// A number of 32 bits (REG_DWORD).
ORV_EXTERN_C ORV_FUNC DWORD ORVCALL GetLQDWORDSettingA(const char* subKey, const char* valueName,
                                                       DWORD dwDefault) noexcept;
ORV_EXTERN_C ORV_FUNC DWORD ORVCALL GetLQDWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       DWORD dwDefault) noexcept;

/// A number of 64 bits (REG_QWORD).
ORV_EXTERN_C ORV_FUNC ULONGLONG ORVCALL GetLQQWORDSettingA(const char* subKey, const char* valueName,
                                                           ULONGLONG qwDefault) noexcept;
ORV_EXTERN_C ORV_FUNC ULONGLONG ORVCALL GetLQQWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                           ULONGLONG qwDefault) noexcept;

/// Text without the blanks and control characters around it, cut to \p cbDest; environment references stay as
/// stored. False means that no hive has it: \p dest then holds the default, cut and trimmed alike, or is
/// empty without one. Reports "dest == nullptr || cbDest < 2 * sizeof (dest[0])", and "pBuf == nullptr" when
/// there is no memory for text that is longer than \p dest; both give false and write nothing.
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQStringSettingA(const char* subKey, const char* valueName, char* dest,
                                                       DWORD cbDest, const char* defaultValue) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQStringSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       WCHAR* dest, DWORD cbDest,
                                                       const WCHAR* defaultValue) noexcept;

/// \p pcbDest: the room, then the size of the value; a null \p dest asks for the size. A per-user value that
/// is too large gives way to the machine-wide one. On false both are as they were. Reports "pcbDest ==
/// nullptr || (dest != nullptr && *pcbDest < 1)".
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQBinarySettingA(const char* subKey, const char* valueName, void* dest,
                                                       DWORD* pcbDest) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQBinarySettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       void* dest, DWORD* pcbDest) noexcept;

/// Text as stored, not trimmed, of any length, from a key path of any length; else the default, which may be
/// null for empty text. Empty without memory for path or text.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL GetLQStrSetting(const WCHAR* subKey, const WCHAR* valueName,
                                                      const WCHAR* defaultValue) noexcept;

ORV_VALUES_END

// ---- Writing: true when the value is stored, or removed because it says what holds without it ----
//
// The per-user key is made in both cases. Without memory, be it for the machine-wide value, all give false
// and the setting is as before; only a value that was to be removed may be gone.

/// Reports "valueName == nullptr || valueName[0] == L'\0'" and gives false.
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQDWORDSettingA(const char* subKey, const char* valueName,
                                                      DWORD dwValue, DWORD dwDefault) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQDWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                      DWORD dwValue, DWORD dwDefault) noexcept;

/// Reports "valueName == nullptr || valueName[0] == L'\0'" and gives false.
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQQWORDSettingA(const char* subKey, const char* valueName,
                                                      ULONGLONG qwValue, ULONGLONG qwDefault) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQQWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                      ULONGLONG qwValue, ULONGLONG qwDefault) noexcept;

/// Compares by code units; a null default is the empty text. Reports "value == nullptr", and without memory
/// for what holds now, "!sBuf.ReserveSize (dwSize / sizeof (wchar_t) + 1)" (narrow: "char") or
/// "!sBuf.ReserveSize (len + 1)"; reports the call when that cannot be read. All give false, and nothing is
/// stored.
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQStringSettingA(const char* subKey, const char* valueName,
                                                       const char* value, const char* defaultValue) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQStringSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       const WCHAR* value,
                                                       const WCHAR* defaultValue) noexcept;

/// Always stores. False also when \p data is null and \p cbData is not 0.
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQBinarySettingA(const char* subKey, const char* valueName,
                                                       const void* data, DWORD cbData) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQBinarySettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       const void* data, DWORD cbData) noexcept;

// ---- Paths ----

/// Replaces "*" (setting "DataPath") or "$" (setting "DefaultLogPath") before a backslash at the start of the
/// path by that directory, joined by one backslash and cut to the buffer; any other path stays as it is, and
/// so does one that cannot be expanded: its marker is still in front. Reports "cPath == nullptr ||
/// cPathSizeInBytes < sizeof (wchar_t)" (narrow: "char"), "cTmpPath == nullptr" without memory, and "!bRes ||
/// cBaseDir[0] == L'\0'" (narrow: without L) without the setting, followed by the path itself.
ORV_EXTERN_C ORV_FUNC void ORVCALL ExpandPathA(char* cPath, unsigned cPathSizeInBytes) noexcept;
ORV_EXTERN_C ORV_FUNC void ORVCALL ExpandPathW(WCHAR* cPath, unsigned cPathSizeInBytes) noexcept;
