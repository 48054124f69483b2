// The date and time structures of OLE DB.
#pragma once

#include "orvport/types.h"

typedef struct tagDBDATE
{
    SHORT year;
    USHORT month;
    USHORT day;
} DBDATE;

typedef struct tagDBTIME
{
    USHORT hour;
    USHORT minute;
    USHORT second;
} DBTIME;

typedef struct tagDBTIMESTAMP
{
    SHORT year;
    USHORT month;
    USHORT day;
    USHORT hour;
    USHORT minute;
    USHORT second;
    ULONG fraction;
} DBTIMESTAMP;
