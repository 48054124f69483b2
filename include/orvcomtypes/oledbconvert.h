/// `COLEDBConvert` writes a typed value of OLE DB as text, the same on every target and in every locale.
///
/// It does the work of the system's data conversion service, which few targets have, for the conversions to
/// text. Numbers, dates and GUIDs come out whole or not at all: a number that lost digits would look like
/// another number. Only strings are cut.
///
/// | types | text |
/// |---|---|
/// | integers, `DBTYPE_ERROR` | decimal |
/// | `DBTYPE_R4`, `DBTYPE_R8` | 7 and 15 significant digits: 12.5, 1E+20; no text for infinities and NaN |
/// | `DBTYPE_CY`, `DBTYPE_DECIMAL`, `DBTYPE_NUMERIC` | all digits without zeros at the end of the fraction |
/// | `DBTYPE_BOOL` | True, False |
/// | `DBTYPE_STR`, `DBTYPE_WSTR`, `DBTYPE_BSTR` | the text; narrow text is in the ANSI code page |
/// | `DBTYPE_GUID` | {00112233-4455-6677-8899-AABBCCDDEEFF} |
/// | `DBTYPE_DBDATE`, `DBTYPE_DBTIME` | 2024-05-06; 07:08:09 |
/// | `DBTYPE_DBTIMESTAMP`, `DBTYPE_DATE` | 2024-05-06 07:08:09.25; a DATE to milliseconds |
/// | `DBTYPE_VARIANT` | what is in it, by the type of its tag |
/// | any with `DBTYPE_BYREF` | what the pointer at the value points at |
///
/// Ownership: nothing is kept.
/// Thread safety: any thread at any time.
/// Errors: told by the status. `DBSTATUS_S_OK`: the whole value is there. `DBSTATUS_S_TRUNCATED`: a string
///   was cut, between characters. `DBSTATUS_S_ISNULL`: `DBTYPE_EMPTY`, `DBTYPE_NULL` or a null address; the
///   text is empty. `DBSTATUS_E_DATAOVERFLOW`: anything else that does not fit; the text is empty.
///   `DBSTATUS_E_CANTCONVERTVALUE`: another type, or a value that none is: a month 13, a scale of 40, an
///   infinity; the text is empty. Nothing is thrown or reported.
/// Units: \p cchDest and the length are code units; \p cchDest counts the terminator, which is always
///   written, the length does not. \p cbData is bytes.
///
///     WCHAR sText[COLEDBConvert::kMaxNumberText];
///     unsigned nLen = 0;
///     const DB_NUMERIC price = {5, 2, 1, {0x39, 0x30}};
///     if (COLEDBConvert::ConvertToStr(DBTYPE_NUMERIC, &price, sText, COLEDBConvert::kMaxNumberText, nLen) ==
///         DBSTATUS_S_OK)
///         Show(sText, nLen); // 123.45
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>
#include <oledb.h>

class ORV_API COLEDBConvert
{
public:
    /// The size of text that is measured by its terminator.
    static constexpr unsigned kTerminated = 0xFFFFFFFF;
    /// Room for the text of every type but strings.
    static constexpr unsigned kMaxNumberText = 48;

    /// Writes the value at \p pData as text of \p nLen units to \p sDest. \p cbData is the size of a
    /// `DBTYPE_STR` or `DBTYPE_WSTR`, which also ends at a terminator; other types have a size of their own.
    static DBSTATUS ConvertToStr(DBTYPE wType, const void* pData, WCHAR* sDest, unsigned cchDest,
                                 unsigned& nLen, unsigned cbData = kTerminated) noexcept;
};
