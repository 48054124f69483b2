/// Builders of long texts: `COrvLongStr` for wide text, `COrvLongAStr` for narrow text.
///
/// Both only append, and take the same values. The operators spell it tersely: `=` replaces the text, `+`
/// appends a value's text, `-` appends a number in hexadecimal of fixed width. Unlike the operators of other
/// classes, `+` and `-` change their left side. Numbers are written straight behind the text, the same in
/// every locale.
///
/// A VARIANT appends its value as the builder appends that type, or the value that it refers to: nothing for
/// `VT_EMPTY` and `VT_NULL`; -1 for a true `VT_BOOL`; 15 digits for the reals, also for `VT_DATE`, which is a
/// day number here. `VT_I8`, `VT_UI8`, `VT_CY` and all other types append what the system converts them to,
/// in the user's locale, and nothing when it cannot.
///
/// The wide builder keeps its text in a counted buffer, which copies share until one of them changes. It
/// grows to what it needs, so reserve for long texts. The narrow builder has a heap block of its own, which
/// grows in steps of 4 KiB with at least 1 KiB to spare.
///
/// Ownership: a wide builder holds one reference to its buffer, a narrow one its block. What is appended is
///   read during the call only; it may lie in the builder itself.
/// Thread safety: one builder belongs to one thread at a time; wide builders that share a buffer may live in
///   several.
/// Errors: without memory `CLQMemoryExcept` is thrown and the text stays as it was, but for a VARIANT that
///   the system would convert: it then appends nothing. Null texts append nothing. A null text given to
///   `CLongStrWrite::GetFromCHR` is reported ("s == nullptr", source `orvlongstrbase`) and throws
///   `CLQInvalidargExcept`.
/// Units: lengths are code units of wide text and bytes of narrow text; `nLen` 0 means up to the terminator,
///   which also ends the text before \p nLen. Narrow text in a wide builder, and the reverse, is of the
///   thread's ANSI code page.
///
///     COrvLongStr s(10000);
///     s + ORVTEXT("rows: ") + 12 + ORVTEXT(", sum: ") + 2.50 + ORVTEXT(", check: ") - 255u;
///     // rows: 12, sum: 2.5, check: 000000FF
#pragma once

#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstralloc.h"
#include "orvcomtypes/orvtabbedstr.h" // IWYU pragma: export // reads what they build

#include <windows.h>
#include <oleauto.h>

#include <concepts>
#include <cstdint>
#include <utility>

namespace OCT
{

/// A class of texts that tells its units and their number, such as those of the Windows class library.
template <class Text, class Unit>
concept TextObject = requires(const Text& text)
{
    {
        text.GetString()
        } -> std::convertible_to<const Unit*>;
    {
        text.GetLength()
        } -> std::convertible_to<int>;
};

} // namespace OCT

/// What the wide builders share: a reference to a counted buffer, and how they write behind its text.
class ORV_API COrvLongStrBase
{
public:
    /// Gives the buffer up.
    void Clear();
    /// The length is known, not counted.
    unsigned Length() const noexcept { return OCT::StrHeader(m_pStr).nStrLen; }
    /// The terminated text; valid until the builder changes.
    operator const WCHAR*() const noexcept { return m_pStr; }

protected:
    COrvLongStrBase() noexcept : m_pStr(ORVS_GetDefaultEmptyString()) {}
    explicit COrvLongStrBase(WCHAR* pStr) noexcept : m_pStr(pStr) {}
    COrvLongStrBase(const COrvLongStrBase& other) : m_pStr(other.m_pStr) { OCT::AddStrRef(m_pStr); }
    COrvLongStrBase(COrvLongStrBase&& other) noexcept
        : m_pStr(std::exchange(other.m_pStr, ORVS_GetDefaultEmptyString()))
    {
    }
    ~COrvLongStrBase() { OCT::ReleaseStrRef(m_pStr); }
    COrvLongStrBase& operator=(const COrvLongStrBase& other);
    COrvLongStrBase& operator=(COrvLongStrBase&& other) noexcept
    {
        std::swap(m_pStr, other.m_pStr);
        return *this;
    }

    /// True when the builder may write in place up to \p nLen units.
    bool HasRoom(std::uint64_t nLen) const noexcept
    {
        return OCT::IsSoleStrOwner(m_pStr, sizeof(WCHAR) * (nLen + 1));
    }
    void Reserve(std::uint64_t nLen);
    COrvLongStrBase Grow(std::uint64_t nLen);
    void EndAt(const WCHAR* pEnd) noexcept;

    // Used inside the library. nMinRoom is the least room that the builder takes.
    template <unsigned nMinRoom, class Put>
    void AppendExactly(std::uint64_t nMore, Put put);
    template <unsigned nMinRoom, class Put>
    void AppendAtMost(std::uint64_t nMost, Put put);
    template <unsigned nMinRoom>
    void AppendText(const WCHAR* s, unsigned nLen);
    template <unsigned nMinRoom>
    void AppendUnit(WCHAR c);
    template <unsigned nMinRoom, class Int>
    void AppendDecimal(Int n);
    template <unsigned nMinRoom>
    void AppendDouble(double d, int nDigits);

    WCHAR* m_pStr; ///< never null; the one empty text when empty
};

namespace OCT
{

/// The operators of a long builder, which both spell alike. `Base` is what the builder stands on, so that it
/// stays as large as that.
template <class Builder, class Unit, class OtherUnit, class Base>
class CLongStrOperators : public Base
{
public:
    /// Appends what `Append` does, of a double 15 significant digits.
    Builder& operator+(const Unit* s) { return Appended(s); }
    Builder& operator+(const OtherUnit* s) { return Appended(s); }
    Builder& operator+(Unit c) { return Appended(c); }
    Builder& operator+(int n) { return Appended(n); }
    Builder& operator+(unsigned n) { return Appended(n); }
    Builder& operator+(std::int64_t n) { return Appended(n); }
    Builder& operator+(std::uint64_t n) { return Appended(n); }
    Builder& operator+(double d) { return Appended(d, 15); }
    Builder& operator+(const DECIMAL& dec) { return Appended(dec); }
    Builder& operator+(const VARIANT& var) { return Appended(var); }
    /// Texts of class libraries.
    template <TextObject<Unit> Text>
    Builder& operator+(const Text& text)
    {
        return Appended(text.GetString(), static_cast<unsigned>(text.GetLength()));
    }
    template <TextObject<OtherUnit> Text>
    Builder& operator+(const Text& text)
    {
        return Appended(text.GetString(), static_cast<unsigned>(text.GetLength()));
    }

    /// Appends the hexadecimal digits that `AppendHex` does.
    Builder& operator-(unsigned n) { return Self().AppendHex(n), Self(); }
    Builder& operator-(std::uint64_t n) { return Self().AppendHex(n), Self(); }
    Builder& operator-(Unit c) { return Self().AppendHex(c), Self(); }

private:
    Builder& Self() noexcept { return static_cast<Builder&>(*this); }
    template <class... Values>
    Builder& Appended(const Values&... values)
    {
        return Self().Append(values...), Self();
    }
};

struct CNoBase
{
};

} // namespace OCT

class ORV_API COrvLongStr : public OCT::CLongStrOperators<COrvLongStr, WCHAR, char, COrvLongStrBase>
{
public:
    /// Empty, with room for \p nReserve units.
    explicit COrvLongStr(unsigned nReserve = 0);
    COrvLongStr(const COrvLongStr& str) = default;
    COrvLongStr(COrvLongStr&& str) noexcept = default;
    ~COrvLongStr() = default;
    COrvLongStr& operator=(const COrvLongStr& str) = default;
    COrvLongStr& operator=(COrvLongStr&& str) noexcept = default;

    /// True without a single unit.
    bool IsEmpty() const noexcept { return Length() == 0; }
    /// Makes room for \p n units, at least 2000; 0 empties the text.
    void SetSize(unsigned n);

    /// Null appends nothing.
    void Append(const WCHAR* s, unsigned nLen = 0);
    void Append(const char* s, unsigned nLen = 0);
    /// A zero unit appends nothing.
    void Append(WCHAR c);
    void Append(int n);
    void Append(unsigned n);
    void Append(std::int64_t n);
    void Append(std::uint64_t n);
    /// At most \p nDigits significant digits, of which there are 1 to 40; a power of ten where the exponent
    /// is below -4 or not below \p nDigits.
    void Append(double d, int nDigits);
    /// All digits, without zeros at the end of the fraction; nothing for a scale above 28, which no DECIMAL
    /// has.
    void Append(const DECIMAL& dec);
    /// By the type that the tag names; types without a text append nothing.
    void Append(const VARIANT& var);
    /// 8 and 16 upper-case digits.
    void AppendHex(unsigned n);
    void AppendHex(std::uint64_t n);
    /// 2 digits of the low byte: the high one is dropped deliberately.
    void AppendHex(WCHAR c);

    /// Replaces the text.
    COrvLongStr& operator=(const WCHAR* s);
    COrvLongStr& operator=(const char* s);
    COrvLongStr& operator=(WCHAR c);
};

/// What stands in front of a narrow builder's text.
template <class Char>
struct CLongStrWrite
{
    std::uint32_t m_nCapacity; ///< bytes for the text and its terminator; at most 1 in the shared empty block
    Char* m_pEnd;              ///< the terminator

    /// The block of the text \p s.
    static CLongStrWrite* GetFromCHR(const Char* s)
    {
        if (s == nullptr)
        {
            ORV_REPORT("CLongStrWrite::GetFromCHR", "s == nullptr");
            LQThrowInvalidArg(LQ_SRC_LOCATION);
        }
        return reinterpret_cast<CLongStrWrite*>(const_cast<Char*>(s)) - 1;
    }
};
static_assert(sizeof(CLongStrWrite<char>) == 2 * sizeof(void*), "two words stand in front of the text");

class ORV_API COrvLongAStr : public OCT::CLongStrOperators<COrvLongAStr, char, WCHAR, OCT::CNoBase>
{
public:
    /// Empty, with room for \p nReserve bytes.
    explicit COrvLongAStr(unsigned nReserve = 0);
    /// Copies the text.
    COrvLongAStr(const COrvLongAStr& str);
    COrvLongAStr(COrvLongAStr&& str) noexcept;
    ~COrvLongAStr();
    COrvLongAStr& operator=(const COrvLongAStr& str);
    COrvLongAStr& operator=(COrvLongAStr&& str) noexcept;

    /// True without a single byte.
    bool IsEmpty() const noexcept { return Length() == 0; }
    unsigned Length() const noexcept { return static_cast<unsigned>(Block().m_pEnd - m_pStr); }
    /// Empties the text and keeps the block.
    void Clear() noexcept;
    /// The terminated text; valid until the builder changes.
    operator const char*() const noexcept { return m_pStr; }
    /// Makes room for \p n bytes; 0 empties the text.
    void SetSize(unsigned n);

    /// Null appends nothing.
    void Append(const char* s, unsigned nLen = 0);
    void Append(const WCHAR* s, unsigned nLen = 0);
    /// A zero byte appends nothing.
    void Append(char c);
    void Append(int n);
    void Append(unsigned n);
    void Append(std::int64_t n);
    void Append(std::uint64_t n);
    // As in the wide builder.
    void Append(double d, int nDigits);
    void Append(const DECIMAL& dec);
    void Append(const VARIANT& var);
    /// 8, 16 and 2 upper-case digits.
    void AppendHex(unsigned n);
    void AppendHex(std::uint64_t n);
    void AppendHex(char c);

    /// Replaces the text.
    COrvLongAStr& operator=(const char* s);
    COrvLongAStr& operator=(const WCHAR* s);
    COrvLongAStr& operator=(char c);

private:
    CLongStrWrite<char>& Block() const noexcept { return reinterpret_cast<CLongStrWrite<char>*>(m_pStr)[-1]; }
    char* Tail(std::uint64_t nMore);
    void EndAt(char* pEnd) noexcept;
    void Grow(std::uint64_t nMore);

    char* m_pStr; ///< behind its block's two words
};
