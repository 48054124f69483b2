/// Formats whose conversions are checked against the arguments when the program is compiled.
///
/// Formats are in the dialect of Windows on every target. Conversions: `d i u o x X c C s S p e E f F g G a
/// A`; flags `- + 0 # blank`; width and precision, also `*`; sizes `h hh l ll w I I32 I64 j z t L`, of which
/// `l` is 32 bits. A narrow format takes narrow text for `%s` and wide text for `%S` or `%ls`, a wide one the
/// reverse;
/// `%hs` is narrow and `%ls` wide in both. `%n` is refused.
///
/// A literal is checked by itself; what does not fit does not compile, and the compiler shows the function
/// whose name says why. Text that is known only at run time comes as a pointer and is not checked:
///
///     log.LogOpt(lqlErrors, "%u of %u", nRead, nRows);             // checked
///     const char* sFormat = ReadFormat();
///     log.LogOpt(lqlErrors, sFormat, nRead, nRows);                // not checked
///     log.LogOpt(lqlErrors, OCT::CRunTimeFormat(sBuffer), nRead);  // neither: an array that is no literal
///
/// What fits: for 32-bit conversions and stars integers, enumerations, `bool` and characters of up to 4
/// bytes, signed or not; for 64-bit ones those of 8 bytes; for `e f g a` `double` and `float`; for text a
/// pointer to it or a value that converts to one, such as `COrvStr`; for `%p` any pointer.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace OCT
{

/// What a conversion takes.
enum class EFormatKind
{
    None,
    Int32,
    Int64,
    Double,
    Pointer,
    Narrow,
    Wide,
    Count // %n
};

/// A set of ASCII characters.
class CAsciiSet
{
public:
    consteval explicit CAsciiSet(std::string_view sCharacters)
    {
        for (const char c : sCharacters)
            m_nBits[c / 64] |= std::uint64_t{1} << (c % 64);
    }

    template <class Char>
    constexpr bool Has(Char c) const
    {
        const auto n = static_cast<std::make_unsigned_t<Char>>(c);
        return n < 128 && (m_nBits[n / 64] >> (n % 64) & 1) != 0;
    }

private:
    std::uint64_t m_nBits[2] = {};
};

/// What stands between "%" and the end of a conversion.
template <class Char>
struct CConversion
{
    /// More is not printed in front of or behind a number or text.
    static constexpr int kMaxWidth = 0x10000;

    bool m_bLeft = false;
    bool m_bPlus = false;
    bool m_bBlank = false;
    bool m_bZero = false;
    bool m_bAlternate = false;
    bool m_bStarWidth = false;
    bool m_bStarPrecision = false;
    int m_nWidth = 0;
    int m_nPrecision = -1; ///< -1: none given
    char m_cSize = 0;      ///< 'h', 'H' for hh, 'l', 'w', 'q' for 64 bits; 0: none
    Char m_cType = 0;

    /// Reads from behind the "%" to behind the conversion. False when it is none; the position is then where
    /// that showed.
    constexpr bool Parse(const Char*& p)
    {
        constexpr CAsciiSet kTypes("diouxXcCsSpeEfFgGaAn");
        // Most conversions are a letter.
        if (!kTypes.Has(*p))
        {
            ParseFlags(p);
            ParseField(p);
            ParseSize(p);
            if (!kTypes.Has(*p))
                return false;
        }
        m_cType = *p++;
        return true;
    }

    constexpr EFormatKind Kind() const
    {
        switch (m_cType)
        {
        case 's':
        case 'S': return IsWide() ? EFormatKind::Wide : EFormatKind::Narrow;
        case 'c':
        case 'C': return EFormatKind::Int32;
        case 'p': return EFormatKind::Pointer;
        case 'n': return EFormatKind::Count;
        default: break;
        }
        constexpr CAsciiSet kIntegers("diouxX");
        return !kIntegers.Has(m_cType) ? EFormatKind::Double
               : m_cSize == 'q'        ? EFormatKind::Int64
                                       : EFormatKind::Int32;
    }

    /// Whether a text or character conversion takes wide text.
    constexpr bool IsWide() const
    {
        if (m_cSize == 'h')
            return false;
        if (m_cSize == 'l' || m_cSize == 'w')
            return true;
        return std::is_same_v<Char, WCHAR> == (m_cType == 's' || m_cType == 'c');
    }

private:
    constexpr void ParseFlags(const Char*& p)
    {
        for (;; ++p)
            switch (*p)
            {
            case '-': m_bLeft = true; break;
            case '+': m_bPlus = true; break;
            case ' ': m_bBlank = true; break;
            case '0': m_bZero = true; break;
            case '#': m_bAlternate = true; break;
            default: return;
            }
    }

    constexpr void ParseField(const Char*& p)
    {
        m_bStarWidth = *p == '*';
        if (m_bStarWidth)
            ++p;
        else
            m_nWidth = ParseNumber(p);
        if (*p != '.')
            return;
        m_bStarPrecision = *++p == '*';
        if (m_bStarPrecision)
            ++p;
        else
            m_nPrecision = ParseNumber(p);
    }

    static constexpr int ParseNumber(const Char*& p)
    {
        int nValue = 0;
        for (; *p >= '0' && *p <= '9'; ++p)
        {
            nValue = nValue * 10 + static_cast<int>(*p - '0');
            nValue = nValue < kMaxWidth ? nValue : kMaxWidth;
        }
        return nValue;
    }

    constexpr void ParseSize(const Char*& p)
    {
        constexpr CAsciiSet kSizes("hlwIjztL");
        const Char cSize = *p;
        if (!kSizes.Has(cSize))
            return;
        ++p;
        if (cSize == 'I')
            ParseIntegerWidth(p);
        else if (cSize == 'j' || ((cSize == 'z' || cSize == 't') && sizeof(void*) == 8))
            m_cSize = 'q';
        else if (cSize == 'h' || cSize == 'l')
        {
            const bool bTwice = *p == cSize;
            p += bTwice;
            m_cSize = cSize == 'h' ? (bTwice ? 'H' : 'h') : (bTwice ? 'q' : 'l');
        }
        else if (cSize == 'w')
            m_cSize = 'w';
    }

    constexpr void ParseIntegerWidth(const Char*& p)
    {
        if (p[0] == '6' && p[1] == '4')
            m_cSize = 'q', p += 2;
        else if (p[0] == '3' && p[1] == '2')
            p += 2;
        else if (sizeof(void*) == 8)
            m_cSize = 'q';
    }
};

/// A format that is not checked: a pointer, or by name an array that is no literal.
class CRunTimeFormat
{
public:
    /// \p Text is a pointer to characters or null; an array is left to the checked format.
    template <class Text>
    requires(std::is_convertible_v<Text, const char*> && !std::is_array_v<Text> &&
             !std::is_integral_v<Text>) constexpr CRunTimeFormat(const Text& sFormat) noexcept
        : m_sFormat(sFormat)
    {
    }
    template <std::size_t Size>
    constexpr explicit CRunTimeFormat(const char (&sFormat)[Size]) noexcept : m_sFormat(sFormat)
    {
    }

    /// The format itself.
    constexpr const char* Text() const noexcept { return m_sFormat; }

private:
    const char* m_sFormat;
};

/// What a compiler shows in the message for a format that it refuses. Never called.
void FormatHasMoreConversionsThanArguments();
void FormatHasFewerConversionsThanArguments();
void FormatConversionDoesNotTakeTheTypeOfItsArgument();
void FormatMayNotContainPercentN();

/// A literal format for arguments of the types \p Args.
template <class Char, class... Args>
class CCheckedFormat
{
public:
    /// A literal; one that does not fit the arguments does not compile.
    template <std::size_t Size>
    consteval CCheckedFormat(const Char (&sFormat)[Size]) : m_sFormat(sFormat)
    {
        constexpr std::size_t nArguments = sizeof...(Args);
        constexpr unsigned fits[] = {FitsOf<Args>()..., 0};
        std::size_t nUsed = 0;
        const auto Use = [&](EFormatKind eKind) {
            if (nUsed == nArguments)
                FormatHasMoreConversionsThanArguments();
            if ((fits[nUsed++] & Bit(eKind)) == 0)
                FormatConversionDoesNotTakeTheTypeOfItsArgument();
        };
        for (const Char* p = m_sFormat; *p != 0;)
        {
            CConversion<Char> conversion;
            if (*p++ != '%')
                continue;
            if (!conversion.Parse(p))
            {
                p += *p == '%';
                continue;
            }
            if (conversion.Kind() == EFormatKind::Count)
                FormatMayNotContainPercentN();
            for (int nStars = conversion.m_bStarWidth + conversion.m_bStarPrecision; nStars > 0; --nStars)
                Use(EFormatKind::Int32);
            Use(conversion.Kind());
        }
        if (nUsed < nArguments)
            FormatHasFewerConversionsThanArguments();
    }

    /// The format itself.
    constexpr const Char* Text() const noexcept { return m_sFormat; }

private:
    static constexpr unsigned Bit(EFormatKind eKind) { return 1u << static_cast<unsigned>(eKind); }

    template <class Arg>
    static constexpr unsigned FitsOf()
    {
        using Type = std::decay_t<Arg>;
        if constexpr (std::is_integral_v<Type> || std::is_enum_v<Type>)
            return Bit(sizeof(Type) == 8 ? EFormatKind::Int64 : EFormatKind::Int32);
        else if constexpr (std::is_floating_point_v<Type>)
            return sizeof(Type) <= sizeof(double) ? Bit(EFormatKind::Double) : 0;
        else
            return (std::is_convertible_v<Type, const char*> ? Bit(EFormatKind::Narrow) : 0) |
                   (std::is_convertible_v<Type, const WCHAR*> ? Bit(EFormatKind::Wide) : 0) |
                   (std::is_convertible_v<Type, const void*> ? Bit(EFormatKind::Pointer) : 0);
    }

    const Char* m_sFormat;
};

/// An argument as a function with "..." takes it: a value that stands for text becomes a pointer to it.
template <class Arg>
constexpr auto FormatArgument(const Arg& arg) noexcept
{
    if constexpr (std::is_class_v<Arg> && std::is_convertible_v<const Arg&, const WCHAR*>)
        return static_cast<const WCHAR*>(arg);
    else if constexpr (std::is_class_v<Arg>)
        return static_cast<const char*>(arg);
    else if constexpr (std::is_null_pointer_v<Arg>)
        return static_cast<const void*>(nullptr);
    else
        return static_cast<std::decay_t<const Arg&>>(arg);
}

} // namespace OCT
