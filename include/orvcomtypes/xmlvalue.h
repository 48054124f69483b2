/// `CXMLValue`, a value in the form that XML Schema gives its type: what `CXMLStreamWrite` writes as text and
/// as attributes.
///
/// Values convert by themselves where one is asked for; nobody need name the class but for bytes, UTF-8 and
/// the values of a database.
///
/// - Text is itself. Null is NULL; empty text is not. Damaged UTF-8 becomes U+FFFD.
/// - `bool`: `true`, `false`. Integers, `SQLMCOUNT`, `SQLTSTAMP`: decimal.
/// - `float`, `double`: digits that read back as the same number, 6 and 15 where they do, else up to three
///   more; `INF`, `-INF`, `NaN`.
/// - `COrvDecimal`, `DECIMAL`, `DB_NUMERIC`: all digits, without an exponent.
/// - `COrvTime`, `SQLORVTIME`: UTC, `2024-05-06T07:08:09Z`. The null time is NULL; others that are not valid
///   have no form.
/// - `COrvTimeDiff`: `PT90S`, `-PT90S`. The invalid span is NULL.
/// - `MSQLDATE` and OLE's dates: `2024-05-06T07:08:09.25`, without a zone, for they have none. The markers of
///   the server's clocks have no form.
/// - `BINARY`, `Base64`: base64. `Hex`: two digits a byte. A null pointer is NULL.
/// - `GUID`: upper-case, without braces.
/// - `CMIDINTArray`: a list, `7 9`.
/// - `VARIANT`, `OfType`: as the type of the tag. `VT_EMPTY` and `VT_NULL` are NULL; arrays, objects and
///   errors have no form.
///
/// Numbers are alike in every locale.
///
/// Ownership: refers to texts, bytes and lists, which must last as long as it; meant for the length of a
///   call. It cannot be copied.
/// Thread safety: a plain value.
/// Errors: nothing throws and nothing is reported. A value without a form, and a string that had no memory
///   for its text, is what the writer refuses.
/// Units: \p nLen counts units of wide text and bytes of narrow text; 0 means up to the terminator, which
///   also ends the text before \p nLen. Narrow text is of the ANSI code page.
///
///     xml.Element(ORVTEXT("count"), 12);
///     xml.Element(ORVTEXT("price"), COrvDecimal(5));
///     xml.Element(ORVTEXT("picture"), CXMLValue::Base64(sBuffer, sizeof sBuffer));
#pragma once

#include "orvcomtypes/midintarray.h"
#include "orvcomtypes/orvdbstr.h"
#include "orvcomtypes/orvdecimal.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvsqlstr.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvtime.h"

#include <windows.h>
#include <oleauto.h>
#include <oledb.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace OCT
{

/// A number, unlike a character or a truth value.
template <class Int>
concept XMLInteger = std::integral<Int> && !std::same_as<Int, bool> && !std::same_as<Int, char> &&
                     !std::same_as<Int, wchar_t> && !std::same_as<Int, char8_t> &&
                     !std::same_as<Int, char16_t> && !std::same_as<Int, char32_t>;

/// A builder or another class of texts.
template <class Text>
concept XMLTextObject = std::is_class_v<Text> &&
    (std::convertible_to<const Text&, const WCHAR*> || std::convertible_to<const Text&, const char*>);

class CXMLShownValue;

} // namespace OCT

class ORV_API CXMLValue
{
public:
    /// NULL.
    CXMLValue(std::nullptr_t) noexcept : CXMLValue(EKind::Null, nullptr, 0) {}
    CXMLValue(const CXMLValue&) = delete;
    CXMLValue& operator=(const CXMLValue&) = delete;

    // ---- Text ----

    /// Null is NULL. The text must outlive the value.
    CXMLValue(const WCHAR* s, unsigned nLen = 0) noexcept;
    CXMLValue(const char* s, unsigned nLen = 0) noexcept;
    /// One character; a zero unit is an empty text.
    CXMLValue(WCHAR c) noexcept;
    CXMLValue(char c) noexcept;
    CXMLValue(const COrvStr& s) noexcept;
    CXMLValue(const COrvDBStr& s) noexcept;
    template <OCT::XMLTextObject Text>
    CXMLValue(const Text& text) noexcept : CXMLValue(PointerOf(text))
    {
    }
    CXMLValue(const VARCHAR& value) noexcept : CXMLValue(value.m_sText, value.m_nMaxLen) {}
    CXMLValue(const NVARCHAR& value) noexcept : CXMLValue(value.m_sText, value.m_nMaxLen) {}
    static CXMLValue UTF8(const char* s, unsigned nLen = 0) noexcept;

    // ---- Numbers ----

    /// `true` or `false`.
    template <std::same_as<bool> Bool>
    CXMLValue(Bool b) noexcept : CXMLValue(b ? ORVTEXT("true") : ORVTEXT("false"))
    {
    }
    /// Decimal digits.
    template <OCT::XMLInteger Int>
    CXMLValue(Int n) noexcept : CXMLValue(EKind::Wide, nullptr, 0)
    {
        if constexpr (std::is_signed_v<Int>)
            SetInteger(static_cast<std::int64_t>(n));
        else
            SetInteger(static_cast<std::uint64_t>(n));
    }
    /// Digits that read back as the same number, alike in every locale.
    CXMLValue(float f) noexcept;
    CXMLValue(double d) noexcept;
    CXMLValue(const COrvDecimal& value) noexcept : CXMLValue(value.Get()) {}
    CXMLValue(const DECIMAL& value) noexcept;
    CXMLValue(const DB_NUMERIC& value) noexcept;
    CXMLValue(const SQLMCOUNT& value) noexcept : CXMLValue(value.m_nValue) {}
    CXMLValue(const SQLTSTAMP& value) noexcept : CXMLValue(value.m_nValue) {}
    CXMLValue(const CMIDINTArray& ids) noexcept : CXMLValue(EKind::Ids, ids.begin(), ids.GetCount()) {}

    // ---- Times ----

    /// UTC with a "Z"; an OLE date knows no zone and has none.
    CXMLValue(const COrvTime& time) noexcept;
    CXMLValue(const COrvTimeDiff& span) noexcept;
    CXMLValue(const SQLORVTIME& value) noexcept : CXMLValue(COrvTime(value.m_tValue)) {}
    CXMLValue(const MSQLDATE& value) noexcept;

    // ---- Bytes and what tells its type ----

    CXMLValue(const BINARY& value) noexcept : CXMLValue(EKind::Base64, value.m_pBytes, value.m_nBytes) {}
    static CXMLValue Base64(const void* p, std::size_t nBytes) noexcept
    {
        return CXMLValue(EKind::Base64, p, nBytes);
    }
    static CXMLValue Hex(const void* p, std::size_t nBytes) noexcept
    {
        return CXMLValue(EKind::Hex, p, nBytes);
    }
    CXMLValue(const GUID& value) noexcept;
    CXMLValue(const VARIANT& value) noexcept;
    /// The value of OLE DB's type \p wType at \p p, NULL when that is null. \p cb is the size of a string,
    /// which also ends at a terminator, or of bytes; other types have a size of their own.
    static CXMLValue OfType(DBTYPE wType, const void* p, std::size_t cb) noexcept;

private:
    friend class OCT::CXMLShownValue;

    enum class EKind : unsigned char
    {
        Null,
        None,   ///< there is no form
        Memory, ///< there was no memory for it
        Wide,
        Ansi,
        UTF8,
        Base64,
        Hex,
        Ids
    };

    CXMLValue(EKind eKind, const void* p, std::size_t n) noexcept;
    CXMLValue(DBTYPE wType, const void* p, std::size_t cb) noexcept;

    template <class Text>
    static auto PointerOf(const Text& text) noexcept
    {
        if constexpr (std::convertible_to<const Text&, const WCHAR*>)
            return static_cast<const WCHAR*>(text);
        else
            return static_cast<const char*>(text);
    }

    void SetInteger(std::int64_t n) noexcept;
    void SetInteger(std::uint64_t n) noexcept;
    template <class Real>
    void SetReal(Real value) noexcept;
    void SetText(const WCHAR* s, std::size_t n) noexcept;
    void SetTyped(DBTYPE wType, const void* p, std::size_t cb) noexcept;
    void SetConverted(DBTYPE wType, const void* p) noexcept;
    void EndAt(const WCHAR* pEnd) noexcept { SetText(m_sOwn, static_cast<std::size_t>(pEnd - m_sOwn)); }

    EKind m_eKind;
    const void* m_p; ///< what is referred to, or the text that follows
    std::size_t m_n; ///< units, bytes or IDs
    WCHAR m_sOwn[48];
};
