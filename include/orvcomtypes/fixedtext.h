/// Texts made at compile time, for names that depend on template arguments.
#pragma once

#include <algorithm>
#include <cstddef>

namespace OCT
{

/// A terminated text of `Size` - 1 characters.
template <std::size_t Size>
struct CFixedText
{
    char m_sText[Size] = {};

    consteval CFixedText() = default;
    consteval CFixedText(const char (&sText)[Size]) { std::copy_n(sText, Size, m_sText); }
};

/// The texts one after the other.
template <std::size_t... Sizes>
consteval auto JoinTexts(const char (&... sTexts)[Sizes])
{
    CFixedText<(Sizes + ...) - sizeof...(Sizes) + 1> result;
    char* pEnd = result.m_sText;
    ((pEnd = std::copy_n(sTexts, Sizes - 1, pEnd)), ...);
    return result;
}

/// How many decimal digits \p n has.
constexpr std::size_t CountDigits(unsigned n)
{
    return n < 10 ? 1 : 1 + CountDigits(n / 10);
}

/// A number in decimal.
template <unsigned N>
inline constexpr auto kDecimalText = [] {
    CFixedText<CountDigits(N) + 1> result;
    unsigned nRest = N;
    for (std::size_t i = CountDigits(N); i > 0; nRest /= 10)
        result.m_sText[--i] = static_cast<char>('0' + nRest % 10);
    return result;
}();

} // namespace OCT
