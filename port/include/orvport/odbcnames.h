// unixODBC's headers bring Win32 names of their own, some of other types than ours. Whichever comes first in
// a source file, from the second on ours hold, and its SQL types stay what they are.
#pragma once

#if defined(__SQLTYPES_H)

#undef BOOL
#undef CALLBACK
// The types behind the names are the same as everywhere, so functions that take them link.
#define WCHAR OrvPortWCHAR
#define LPWSTR OrvPortLPWSTR
#define LPCWSTR OrvPortLPCWSTR
#define HWND OrvPortHWND
#define HINSTANCE OrvPortHINSTANCE
#define ULONG OrvPortULONG

#else

#define ALREADY_HAVE_WINDOWS_TYPE
#define SQL_API
typedef signed char SCHAR;
typedef SCHAR SQLSCHAR;
typedef int SDWORD;
typedef unsigned int UDWORD;
typedef short SWORD;
typedef unsigned short UWORD;
typedef short RETCODE;
typedef void* PTR;
typedef void* SQLHWND;

#endif
