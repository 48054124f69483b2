/// `COrvTabbedWStr` reads the fields of a delimited text one after the other.
///
/// Fields end at the separator, lines at the terminator; both are given by `Init`. White space around a field
/// does not count unless the field is quoted by " or '; what stands between the closing quote and the next
/// separator is skipped. A quote that is itself the separator or the terminator quotes nothing. What follows
/// from that, and is meant so:
/// - a separator that is white space makes no empty field behind another one, and an empty field at the end
///   of a line that ends in white space takes the next line's first field;
/// - a terminator that is white space is skipped by the next call, which reads on in the next line; any other
///   one ends the text, and from there on fields are empty, as they are at the end;
/// - a backslash is left out together with the character behind it, which ends neither the field nor a quote.
///
/// Ownership: the text is borrowed and must outlive its reading; copies read it from where the original was.
/// Thread safety: none.
/// Units: sizes are code units, the terminating 0 included.
///
///     COrvTabbedWStr reader;
///     reader.Init(ORVTEXT("12; 'a;b' ;x"), ORVTEXT(';'));
///     WCHAR sName[20];
///     const int iNumber = reader.GetNextInt();
///     reader.GetNextStr(sName, 20); // a;b
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

class ORV_API COrvTabbedWStr
{
public:
    COrvTabbedWStr() noexcept = default;

    /// Reads \p sText from its start; null or empty text leaves the old one in place. \p cSep and \p cTerm
    /// replace the separator (at first ",") and the terminator ("\n") unless they are 0.
    void Init(const WCHAR* sText, WCHAR cSep = 0, WCHAR cTerm = 0) noexcept;

    /// Reads the next field, cut at \p nSize; null, and the field is skipped, without a buffer.
    WCHAR* GetNextStr(WCHAR* sBuffer, unsigned nSize) noexcept;
    /// The number that the next field begins with, at most as great as its type can hold; 0 when there is
    /// none. Deliberately only the first 19 units of the field are looked at.
    int GetNextInt() noexcept;
    LONG GetNextLong() noexcept;
    LONGLONG GetNextInt64() noexcept;

private:
    WCHAR m_cSep = ORVTEXT(',');
    WCHAR m_cTerm = ORVTEXT('\n');
    const WCHAR* m_sText = nullptr; ///< where reading began
    const WCHAR* m_pRead = nullptr;
};
