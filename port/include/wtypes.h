// The types of OLE Automation that stand by themselves: exact numbers, truth values, dates and type tags.
#pragma once

#include <windows.h>

typedef WORD VARTYPE;
typedef SHORT VARIANT_BOOL;
typedef double DATE;
typedef LONG SCODE;

#define VARIANT_TRUE (static_cast<VARIANT_BOOL>(-1))
#define VARIANT_FALSE (static_cast<VARIANT_BOOL>(0))

/// A count of 1/10000.
typedef union tagCY
{
    __extension__ struct
    {
        ULONG Lo;
        LONG Hi;
    };
    LONGLONG int64;
} CY;

#define DECIMAL_NEG (static_cast<BYTE>(0x80))

/// 96 bits divided by a power of ten from 0 to 28.
typedef struct tagDEC
{
    USHORT wReserved;
    __extension__ union
    {
        __extension__ struct
        {
            BYTE scale;
            BYTE sign;
        };
        USHORT signscale;
    };
    ULONG Hi32;
    __extension__ union
    {
        __extension__ struct
        {
            ULONG Lo32;
            ULONG Mid32;
        };
        ULONGLONG Lo64;
    };
} DECIMAL;

enum VARENUM
{
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_RECORD = 36,
    VT_VECTOR = 0x1000,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_RESERVED = 0x8000,
    VT_TYPEMASK = 0xFFF
};
