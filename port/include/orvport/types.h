// Base types, as wide as on Windows: LONG, DWORD, BOOL and HRESULT are 32-bit everywhere. Also for programs
// in C.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <uchar.h>

#include "orvport/odbcnames.h"
#include "orvport/shared.h"

#define WINAPI
#define CALLBACK

typedef char16_t WCHAR;
typedef char CHAR;
typedef unsigned char BYTE;
typedef unsigned char UCHAR;
typedef int16_t SHORT;
typedef uint16_t WORD;
typedef uint16_t USHORT;
typedef int INT;
typedef unsigned int UINT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef int BOOL;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef uint64_t DWORD64;
typedef int64_t LONG64;
typedef double DOUBLE;
typedef float FLOAT;
typedef int32_t HRESULT;
typedef size_t SIZE_T;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t DWORD_PTR;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;

typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef BYTE* PBYTE;
typedef BYTE* LPBYTE;
typedef BOOL* PBOOL;
typedef BOOL* LPBOOL;
typedef LONG* PLONG;
typedef DWORD* PDWORD;
typedef DWORD* LPDWORD;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;

typedef void* HANDLE;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HKEY__* HKEY;
typedef HKEY* PHKEY;
typedef struct HWND__* HWND;
typedef struct HRSRC__* HRSRC;
typedef HANDLE HGLOBAL;
typedef HANDLE HLOCAL;
typedef INT_PTR(WINAPI* FARPROC)();

typedef DWORD LCID;
typedef WORD LANGID;
typedef DWORD LCTYPE;
typedef DWORD ACCESS_MASK;
typedef ACCESS_MASK REGSAM;

#define FALSE 0
#define TRUE 1
#define MAX_PATH 260
#define INFINITE 0xFFFFFFFFu
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))

#define LOBYTE(w) (static_cast<BYTE>(static_cast<DWORD_PTR>(w) & 0xFF))
#define HIBYTE(w) (static_cast<BYTE>((static_cast<DWORD_PTR>(w) >> 8) & 0xFF))

typedef struct _FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

typedef struct _SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

typedef union _LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
} LARGE_INTEGER, *PLARGE_INTEGER;

typedef struct _GUID
{
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} GUID, IID, CLSID;

typedef struct _SECURITY_ATTRIBUTES
{
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;
