/// The plain functions, for programs in C, and for compilers that cannot use the classes: MSVC above all. Any
/// compiler's program may link what is declared here.
///
/// What each function promises stands in the header that is named above it. C++ that can use the classes has
/// no need of this one, but may include both. On Windows link `OrvComTypes.lib` (MSVC, clang-cl, lld-link) or
/// `libOrvComTypes.dll.a` (MinGW); the program may have a C runtime of its own, as no memory, file or
/// exception changes hands but by `OCTFree` and `ORVS_ReleaseString`.
///
/// Left out are functions that take or return a class: CheckSQLHandshakeHex, CheckSQLHandshakeText,
/// ComErrorDataToLogString, ExceptFormatToLog, GenerateLogFileName, GetLQSettingsRootStr, GetLQStrSetting,
/// GetSQLHandshakeText, GetWinErrorString, LogException, LogLQExcept, SQLStrSaveToLog; those that serve
/// exceptions (GetErrorMessResId, RegisterExceptionLogger), and LoadStringRes, whose text is OLE's.
///
/// Thread safety, Errors: as stated there. `ORVS_AllocateSingleUsed` alone throws, when memory is exhausted,
/// and so ends a program in C.
///
///     char sUtf8[16];
///     if (UnicodeToUTF8(ORVTEXT("\x00e1r"), sUtf8, sizeof sUtf8) == 3)
///         LogStrExp(1, sUtf8);
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvversion.h" // IWYU pragma: export

#include <stdbool.h>
#include <stdint.h>

#include <windows.h>

#if defined(__cplusplus)
class COrvLog;
enum LocalOccurrence : int;
#else
typedef struct COrvLog COrvLog; ///< A handle of a log.
typedef int LocalOccurrence;    ///< Of a local time that occurs twice: 0 the first, 1 the second.
#endif

// ---- Memory and teardown, as octalloc.h says ----

typedef void(ORVCALL* OrvUninit)(void);
ORV_EXTERN_C ORV_FUNC void ORVCALL CallPlexedAllocUninit(HMODULE hModule) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC uint32_t ORVCALL GetNextAllocCnt(void) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL IsFinalRelease(void) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void ORVFASTCALL OCTFree(void* p) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void* ORVFASTCALL OCTMalloc(uint32_t nSize) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void* ORVFASTCALL OCTRealloc(void* p, uint32_t nSize) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void ORVCALL RegisterPlexedAlloc(OrvUninit fnUninit) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void ORVCALL SetFinalRelease(void) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void ORVCALL UninitOrvComTypes(void) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void ORVCALL UnregisterPlexedAlloc(OrvUninit fnUninit) ORV_NOEXCEPT;

// ---- Reports of violated preconditions, as octassert.h says ----

ORV_EXTERN_C ORV_FUNC void ORVCALL OrvReportAssertion(const char* sSource, int iLine, const char* sFunction,
                                                      const char* sCondition, uint32_t nValue) ORV_NOEXCEPT;

// ---- Text between UTF-16, UTF-8 and code pages; numbers in text, as stringutils.h says ----

ORV_EXTERN_C ORV_FUNC int ORVCALL ANSIToUTF8(const char* pSrc, char* pDest, unsigned cbDest,
                                             unsigned srcCodePage);
ORV_EXTERN_C ORV_FUNC int ORVCALL ANSIToUTF8Ex(const char* pSrcFrom, const char* pSrcTo, char* pDest,
                                               unsigned cbDest, unsigned srcCodePage);
ORV_EXTERN_C ORV_FUNC int ORVCALL ANSIToUnicode(const char* pSrc, WCHAR* pDest, unsigned cchDest,
                                                unsigned srcCodePage);
ORV_EXTERN_C ORV_FUNC int ORVCALL ANSIToUnicodeEx(const char* pSrcFrom, const char* pSrcTo, WCHAR* pDest,
                                                  unsigned cchDest, unsigned srcCodePage);
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL BinaryToHex(const unsigned char* pData, unsigned cbData, WCHAR* pOut);
ORV_EXTERN_C ORV_FUNC int ORVCALL GetLuhnKey(const WCHAR* sDigits);
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL GetTextFileContents(const char* pszFileData, unsigned cbData,
                                                           WCHAR* pwszConverted);
ORV_EXTERN_C ORV_FUNC int ORVCALL UCNToUnicode(const char* pSrc, WCHAR* pDest, int cchDest);
ORV_EXTERN_C ORV_FUNC int ORVCALL UTF8ToANSI(const char* pSrc, char* pDest, unsigned cchDest,
                                             unsigned destCodePage);
ORV_EXTERN_C ORV_FUNC int ORVCALL UTF8ToANSIEx(const char* pSrcFrom, const char* pSrcTo, char* pDest,
                                               unsigned cchDest, unsigned destCodePage);
ORV_EXTERN_C ORV_FUNC int ORVCALL UTF8ToUnicode(const char* pSrc, WCHAR* pDest, unsigned cchDest);
ORV_EXTERN_C ORV_FUNC int ORVCALL UTF8ToUnicodeEx(const char* pSrcFrom, const char* pSrcTo, WCHAR* pDest,
                                                  unsigned cchDest);
ORV_EXTERN_C ORV_FUNC int ORVCALL UnicodeToANSI(const WCHAR* pSrc, char* pDest, unsigned cchDest,
                                                unsigned destCodePage);
ORV_EXTERN_C ORV_FUNC int ORVCALL UnicodeToANSIEx(const WCHAR* pSrcFrom, const WCHAR* pSrcTo, char* pDest,
                                                  unsigned cchDest, unsigned destCodePage);
ORV_EXTERN_C ORV_FUNC int ORVCALL UnicodeToUTF8(const WCHAR* pSrc, char* pDest, unsigned cbDest);
ORV_EXTERN_C ORV_FUNC int ORVCALL UnicodeToUTF8Ex(const WCHAR* pSrcFrom, const WCHAR* pSrcTo, char* pDest,
                                                  unsigned cbDest);
ORV_EXTERN_C ORV_FUNC double ORVCALL naive_atof(const char* p);
ORV_EXTERN_C ORV_FUNC LONG ORVCALL naive_atol(const char* p);
ORV_EXTERN_C ORV_FUNC LONGLONG ORVCALL naive_atoll(const char* p);
ORV_EXTERN_C ORV_FUNC double ORVCALL naive_wtof(const WCHAR* p);
ORV_EXTERN_C ORV_FUNC LONG ORVCALL naive_wtol(const WCHAR* p);
ORV_EXTERN_C ORV_FUNC LONGLONG ORVCALL naive_wtoll(const WCHAR* p);

// ---- Comparison by the language, as orvstr.h says ----

ORV_EXTERN_C ORV_FUNC int ORVCALL CompareOrvString(const WCHAR* a, const WCHAR* b, bool bNoCase);

// ---- Counted buffers of text, as orvstralloc.h says ----

ORV_EXTERN_C ORV_FUNC void ORVCALL ORVS_AddrefString(const WCHAR* s);
ORV_EXTERN_C ORV_FUNC WCHAR* ORVCALL ORVS_AllocateSingleUsed(WCHAR* s, unsigned nBytes);
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL ORVS_GetAllocLen(const WCHAR* s);
ORV_EXTERN_C ORV_FUNC WCHAR* ORVCALL ORVS_GetDefaultEmptyString(void) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL ORVS_GetStrLen(const WCHAR* s);
ORV_EXTERN_C ORV_FUNC void ORVCALL ORVS_ReleaseString(WCHAR* s);
ORV_EXTERN_C ORV_FUNC void ORVCALL ORVS_SetStrLen(WCHAR* s, unsigned nLen);
ORV_EXTERN_C ORV_FUNC bool ORVCALL ORVS_ValidString(const WCHAR* s) ORV_NOEXCEPT;

// ---- Numbers to text, as modpnum.h says ----

ORV_EXTERN_C ORV_FUNC void ORVCALL modp_dtoa(double value, char* str, int prec);
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_dtoa2(double value, char* str, int prec);
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_itoa10(int32_t value, char* str);
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_litoa10(int64_t value, char* str);
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_uitoa10(uint32_t value, char* str);
ORV_EXTERN_C ORV_FUNC void ORVCALL modp_ulitoa10(uint64_t value, char* str);

// ---- Settings and paths, as lqsettings.h says ----

ORV_EXTERN_C ORV_FUNC void ORVCALL ExpandPathA(char* cPath, unsigned cPathSizeInBytes) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void ORVCALL ExpandPathW(WCHAR* cPath, unsigned cPathSizeInBytes) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQBinarySettingA(const char* subKey, const char* valueName, void* dest,
                                                       DWORD* pcbDest) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQBinarySettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       void* dest, DWORD* pcbDest) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC DWORD ORVCALL GetLQDWORDSettingA(const char* subKey, const char* valueName,
                                                       DWORD dwDefault) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC DWORD ORVCALL GetLQDWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       DWORD dwDefault) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC ULONGLONG ORVCALL GetLQQWORDSettingA(const char* subKey, const char* valueName,
                                                           ULONGLONG qwDefault) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC ULONGLONG ORVCALL GetLQQWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                           ULONGLONG qwDefault) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQSettingsRootA(char* rootPath, unsigned cchDest) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQSettingsRootW(WCHAR* rootPath, unsigned cchDest) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQStringSettingA(const char* subKey, const char* valueName, char* dest,
                                                       DWORD cbDest, const char* defaultValue) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetLQStringSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       WCHAR* dest, DWORD cbDest,
                                                       const WCHAR* defaultValue) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQBinarySettingA(const char* subKey, const char* valueName,
                                                       const void* data, DWORD cbData) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQBinarySettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       const void* data, DWORD cbData) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQDWORDSettingA(const char* subKey, const char* valueName,
                                                      DWORD dwValue, DWORD dwDefault) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQDWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                      DWORD dwValue, DWORD dwDefault) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQQWORDSettingA(const char* subKey, const char* valueName,
                                                      ULONGLONG qwValue, ULONGLONG qwDefault) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQQWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                      ULONGLONG qwValue, ULONGLONG qwDefault) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void ORVCALL SetLQSettingsRootA(const char* rootPath) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void ORVCALL SetLQSettingsRootW(const WCHAR* rootPath) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQStringSettingA(const char* subKey, const char* valueName,
                                                       const char* value,
                                                       const char* defaultValue) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC bool ORVCALL SetLQStringSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                                       const WCHAR* value,
                                                       const WCHAR* defaultValue) ORV_NOEXCEPT;

// ---- Times, as timeutils.h says ----

ORV_EXTERN_C ORV_FUNC LONG ORVCALL FileTime2Timet(FILETIME ft);
ORV_EXTERN_C ORV_FUNC LocalOccurrence ORVCALL GetLocalOccurrence(LONG t);
ORV_EXTERN_C ORV_FUNC bool ORVCALL LocalYMD2Timet(int year, int month, int day, int hour, int minute,
                                                  int second, LONG* t);
ORV_EXTERN_C ORV_FUNC bool ORVCALL LocalYMD2TimetOf(int year, int month, int day, int hour, int minute,
                                                    int second, LocalOccurrence which, LONG* t);
ORV_EXTERN_C ORV_FUNC LONG ORVCALL SetTimeZone(const WCHAR* zoneName);
ORV_EXTERN_C ORV_FUNC FILETIME ORVCALL Timet2FileTime(LONG t);
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2LocalDATE(LONG t, double* localTime);
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2LocalSystemTime(LONG t, SYSTEMTIME* pST);
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2LocalYMD(LONG t, WORD* year, WORD* month, WORD* day, WORD* hour,
                                                  WORD* minute, WORD* second);
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2SystemTime(LONG t, SYSTEMTIME* pST);
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2YMD(LONG t, WORD* year, WORD* month, WORD* day, WORD* hour,
                                             WORD* minute, WORD* second);
ORV_EXTERN_C ORV_FUNC bool ORVCALL YMD2Timet(int year, int month, int day, int hour, int minute, int second,
                                             LONG* t);

// ---- The process's log, as orvlog.h says ----

ORV_EXTERN_C ORV_FUNC bool ORVCALL FlushLogs(DWORD milliseconds);
ORV_EXTERN_C ORV_FUNC WCHAR* ORVCALL GetLogFileNameExp(WCHAR* dest, unsigned size);
ORV_EXTERN_C ORV_FUNC uint64_t ORVCALL GetLostLogLines(uint64_t* bytes);
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL GetProcessLogOpt(WCHAR* prefix);
ORV_EXTERN_C ORV_FUNC COrvLog* ORVCALL GetProcessLogger(void);
ORV_EXTERN_C ORV_FUNC bool ORVCALL InitFileProcessLogger(const WCHAR* fileNameFormat, int options);
ORV_EXTERN_C ORV_FUNC bool ORVCALL InitRegProcessLogger(const WCHAR* keyName);
ORV_EXTERN_C ORV_FUNC void ORVCALL LogStrExp(unsigned level, const char* text);
ORV_EXTERN_C ORV_FUNC void ORVCALL LogStrRawExp(const char* text);
ORV_EXTERN_C ORV_FUNC void ORVCALL ReleaseProcessLogger(void);
ORV_EXTERN_C ORV_FUNC void ORVCALL WriteThreadPrintfTrace(const char* text, LONG value);

// ---- The last lines of a program that crashes, as logcrash.h says ----

ORV_EXTERN_C ORV_FUNC bool ORVCALL InstallLogCrashHandler(COrvLog* log, DWORD milliseconds);
ORV_EXTERN_C ORV_FUNC void ORVCALL RemoveLogCrashHandler(void);
ORV_EXTERN_C ORV_FUNC bool ORVCALL ReserveLogCrashStack(void);

// ---- Waiting with messages, as syncutil.h says ----

ORV_EXTERN_C ORV_FUNC int ORVCALL DoEvents(int value);
ORV_EXTERN_C ORV_FUNC int ORVCALL ThPostMessage(HWND wnd, UINT msg, WPARAM wParam,
                                                LPARAM lParam) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC HRESULT ORVCALL ThSendMessage(HWND wnd, UINT msg, LPARAM lParam) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC int ORVCALL WaitEventWithMessageLoop(const HANDLE* handles, DWORD count, DWORD timeout,
                                                           BOOL waitAll);
ORV_EXTERN_C ORV_FUNC int ORVCALL WaitForAsyncProc(UINT msg, WPARAM* wParam, LPARAM* lParam);
ORV_EXTERN_C ORV_FUNC int ORVCALL WaitOneEventWithMessageLoop(HANDLE h, DWORD timeout);

// ---- Names of threads, as threadname.h says ----

ORV_EXTERN_C ORV_FUNC bool ORVCALL GetThreadName(DWORD threadId, char* dest, unsigned cbDest) ORV_NOEXCEPT;
ORV_EXTERN_C ORV_FUNC void ORVCALL SetThreadName(DWORD threadId, const char* name);

// ---- Texts of resources, as loadstrres.h says ----

ORV_EXTERN_C ORV_FUNC bool ORVCALL LoadDBStringResA(const char* sSrc, char* sDest, unsigned nDestChars);
ORV_EXTERN_C ORV_FUNC bool ORVCALL LoadDBStringResW(const WCHAR* sSrc, WCHAR* sDest, unsigned nDestChars);
ORV_EXTERN_C ORV_FUNC const WCHAR* ORVCALL LoadStringResImage(HINSTANCE hInstance, unsigned uID,
                                                              unsigned* pnLength);
ORV_EXTERN_C ORV_FUNC const WCHAR* ORVCALL ReplaceTokenW(const WCHAR* sSrc, unsigned* pnLength,
                                                         WCHAR* sBuffer, unsigned nBufferChars);
