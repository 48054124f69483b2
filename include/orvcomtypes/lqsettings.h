/// Persistent settings below one registry key, and paths that are relative to directories named there.
///
/// A setting is a value of the key "root\sub-key". Reading takes the per-user value, else the machine-wide
/// one, else the caller's default. Writing changes the per-user hive only, and a value is stored there only
/// while it differs from what a reader would get without it: writing the machine-wide value (or, without one,
/// the default) removes the per-user value, so that later changes for the whole machine are seen again.
///
/// Each function has a wide form and a narrow one in the ANSI code page. A null or empty sub-key means the
/// root itself. On targets without a registry the hives are text files, see docs/settings.md.
///
/// Thread safety: all functions from any thread, except while another thread changes the root. Reading never
///   waits for a process that writes. Writing waits for its turn, at most five seconds where hives are files.
/// Errors: nothing throws. A hive or key that cannot be read, and a value of another type or size, count as
/// missing.
///   Reported (source `lqsettings`), then false: see the conditions at each function. "pBuf == nullptr",
///   "!sBuf.ReserveSize (…)" and "cTmpPath == nullptr" mean that memory ran out.
/// Units: `cb…` bytes, `cch…` code units or narrow characters, terminator included.
///
///     const DWORD dwPort = GetLQDWORDSettingW(ORVTEXT("Server"), ORVTEXT("Port"), 1433);
///     SetLQDWORDSettingW(ORVTEXT("Server"), ORVTEXT("Port"), 1434, 1433);
///     const COrvStr sName = GetLQStrSetting(nullptr, ORVTEXT("Name"), ORVTEXT("main"));
#pragma once

#include "orvcomtypes/orvstr.h"

// ---- The root, "Software\Orvanex\Lumatrek" at first ----

/// True when the root fits whole, else it is cut and the wide form reports 0x8007007A.
/// "rootPath == nullptr || cchDest < 2"
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQSettingsRootA(char* rootPath, unsigned cchDest) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQSettingsRootW(WCHAR* rootPath, unsigned cchDest) noexcept;

/// Cut at 259 units; one backslash at the end is removed. Meant for start-up, before other threads read
/// settings. "rootPath == nullptr || *rootPath == 0", "s_lqSettingsRoot[0] != L'\0'"
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
/// stored. False means that no hive has it: \p dest then holds the default, trimmed alike. "dest == nullptr
/// || cbDest < 2 * sizeof (dest[0])"
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQStringSettingA(const char* subKey, const char* valueName, char* dest,
                                                       DWORD cbDest, const char* defaultValue) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQStringSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       WCHAR* dest, DWORD cbDest,
                                                       const WCHAR* defaultValue) noexcept;

/// \p pcbDest: the room, then the size of the value; a null \p dest asks for the size. A per-user value that
/// is too large gives way to the machine-wide one. On false both are as they were. "pcbDest == nullptr ||
/// (dest != nullptr && *pcbDest < 1)"
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQBinarySettingA(const char* subKey, const char* valueName, void* dest,
                                                       DWORD* pcbDest) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQBinarySettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       void* dest, DWORD* pcbDest) noexcept;

/// Text as stored, of any length, from a key path of any length. Empty without memory.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL GetLQStrSetting(const WCHAR* subKey, const WCHAR* valueName,
                                                      const WCHAR* defaultValue) noexcept;

ORV_VALUES_END

// ---- Writing: true when the value is stored, or removed because it says what holds without it ----

/// "valueName == nullptr || valueName[0] == L'\0'"
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQDWORDSettingA(const char* subKey, const char* valueName,
                                                      DWORD dwValue, DWORD dwDefault) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQDWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                      DWORD dwValue, DWORD dwDefault) noexcept;

/// "valueName == nullptr || valueName[0] == L'\0'"
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQQWORDSettingA(const char* subKey, const char* valueName,
                                                      ULONGLONG qwValue, ULONGLONG qwDefault) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQQWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                      ULONGLONG qwValue, ULONGLONG qwDefault) noexcept;

/// Compares by code units; a null default is the empty text. "value == nullptr"
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQStringSettingA(const char* subKey, const char* valueName,
                                                       const char* value, const char* defaultValue) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQStringSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       const WCHAR* value,
                                                       const WCHAR* defaultValue) noexcept;

/// Always stores.
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQBinarySettingA(const char* subKey, const char* valueName,
                                                       const void* data, DWORD cbData) noexcept;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQBinarySettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       const void* data, DWORD cbData) noexcept;

// ---- Paths ----

/// Replaces "*" (setting "DataPath") or "$" (setting "DefaultLogPath") before a backslash at the start of the
/// path by that directory, joined by one backslash and cut to the buffer. A missing setting is reported as
/// "!bRes || cBaseDir[0] == L'\0'" (narrow: "!bRes || cBaseDir[0] == '\0'"), followed by a report of the path
/// itself; the path then stays as it is. "cPath == nullptr || cPathSizeInBytes < sizeof (wchar_t)", narrow:
/// "… < sizeof (char)"
ORV_EXTERN_C ORV_FUNC void ORVCALL ExpandPathA(char* cPath, unsigned cPathSizeInBytes) noexcept;
ORV_EXTERN_C ORV_FUNC void ORVCALL ExpandPathW(WCHAR* cPath, unsigned cPathSizeInBytes) noexcept;
