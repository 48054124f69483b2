/// The database's string buffer, as far as `COrvStr` shares it.
#pragma once

#include "orvcomtypes/orvstralloc.h"

/// Holds one reference to a counted buffer, or an empty text; its first field is the handle.
class COrvDBStr
{
public:
    WCHAR* m_pStr;
};
