/// printf-style formatting in the Windows dialect, the same on every target.
///
/// The runtimes differ where it matters here: what `%s` and `%S` take, how wide `%ld` is, whether a character
/// outside the code page fails the whole text. So the library formats by itself. Arguments are first fetched
/// with the types that one format names (`CFormatArgs`); formatting then takes them from there. That lets a
/// text with a header in front be formatted whose own "%" nobody provided an argument for: a conversion takes
/// the next argument when it is of the type that the conversion names, else it takes none and prints nothing.
/// `%n` prints nothing and writes nothing.
///
/// Conversions: `d i u o x X c C s S p e E f F g G a A %`; flags `- + 0 # blank`; width and precision, also
/// `*`; sizes `h hh l ll w I I32 I64 j z t L` (`l` is 32 bits). A narrow format takes narrow text for `%s`
/// and wide for `%S` or `%ls`, a wide one the reverse, and `%hs` is narrow, `%ls` wide in both. `%p` prints 8
/// or 16 upper-case digits. Anything else behind "%" is copied as it stands.
///
/// Errors: none. Text that the ANSI code page lacks becomes its default character; a null text prints
/// "(null)". Units: capacities and results in code units of the format, terminators not counted in results.
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace OCT
{

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

/// What stands between "%" and the end of a conversion.
template <class Char>
struct CConversion
{
    bool m_bLeft = false;
    bool m_bPlus = false;
    bool m_bBlank = false;
    bool m_bZero = false;
    bool m_bAlternate = false;
    bool m_bStarWidth = false;
    bool m_bStarPrecision = false;
    int m_nWidth = 0;
    int m_nPrecision = -1; ///< -1: none given
    char m_cSize = 0;      ///< 'h', 'H' for hh, 'l', 'q' for 64 bits; 0: none
    Char m_cType = 0;

    /// Reads from behind the "%" to behind the conversion. False when it is none; the position is then where
    /// that showed.
    bool Parse(const Char*& p);
    EFormatKind Kind() const;

private:
    void ParseFlags(const Char*& p);
    static int ParseNumber(const Char*& p);
    void ParseSize(const Char*& p);
    void ParseIntegerWidth(const Char*& p);
};

/// The arguments of a call, fetched with the types that its format names; what exceeds 64 is not fetched.
template <class Char>
class CFormatArgs
{
public:
    CFormatArgs(const Char* sFormat, va_list args);

    /// Takes the next argument if it is of the kind; null when it is not.
    struct CArg
    {
        EFormatKind m_eKind;
        union
        {
            std::int64_t m_nValue;
            double m_dValue;
            const void* m_pValue;
        };
    };
    const CArg* Take(EFormatKind eKind)
    {
        return m_nNext < m_nCount && m_args[m_nNext].m_eKind == eKind ? &m_args[m_nNext++] : nullptr;
    }
    int TakeStar(int nDefault)
    {
        const CArg* pArg = Take(EFormatKind::Int32);
        return pArg ? static_cast<int>(pArg->m_nValue) : nDefault;
    }

private:
    static constexpr int s_nMax = 64;
    CArg m_args[s_nMax];
    int m_nCount = 0;
    int m_nNext = 0;
};

/// The destination: keeps what fits, notes that something did not.
template <class Char>
class CFormatSink
{
public:
    CFormatSink(Char* pDest, std::size_t nCapacity)
        : m_pStart(pDest), m_pNext(pDest), m_pEnd(pDest + nCapacity)
    {
    }

    void Put(const Char* pText, std::size_t nLength)
    {
        const std::size_t nFits = Room(nLength);
        m_pNext = std::copy_n(pText, nFits, m_pNext);
    }
    void Put(std::string_view sText) requires(!std::is_same_v<Char, char>)
    {
        const std::size_t nFits = Room(sText.size());
        m_pNext = std::copy_n(sText.data(), nFits, m_pNext);
    }
    void Put(std::string_view sText) requires std::is_same_v<Char, char> { Put(sText.data(), sText.size()); }
    void Fill(char c, std::size_t nCount)
    {
        m_pNext = std::fill_n(m_pNext, Room(nCount), static_cast<Char>(c));
    }

    std::size_t Length() const { return static_cast<std::size_t>(m_pNext - m_pStart); }
    bool IsFull() const { return m_pNext == m_pEnd; }
    bool IsCut() const { return m_bCut; }

private:
    std::size_t Room(std::size_t nWanted)
    {
        const auto nRoom = static_cast<std::size_t>(m_pEnd - m_pNext);
        m_bCut |= nWanted > nRoom;
        return std::min(nWanted, nRoom);
    }

    Char* m_pStart;
    Char* m_pNext;
    Char* m_pEnd;
    bool m_bCut = false;
};

/// Formats with arguments fetched before; writes no terminator.
template <class Char>
void FormatText(CFormatSink<Char>& sink, const Char* sFormat, CFormatArgs<Char>& args);

/// Formats into a buffer of `nSize` code units (at least one) and terminates. The length written; `pbCut`
/// tells whether the text was cut.
template <class Char>
std::size_t FormatTextV(Char* sDest, std::size_t nSize, const Char* sFormat, va_list args,
                        bool* pbCut = nullptr)
{
    CFormatArgs<Char> fetched(sFormat, args);
    CFormatSink<Char> sink(sDest, nSize - 1);
    FormatText(sink, sFormat, fetched);
    sDest[sink.Length()] = 0;
    if (pbCut)
        *pbCut = sink.IsCut();
    return sink.Length();
}

/// The same with the arguments behind the format.
template <class Char>
std::size_t FormatTextInto(Char* sDest, std::size_t nSize, const std::type_identity_t<Char>* sFormat, ...)
{
    va_list args;
    va_start(args, sFormat);
    const std::size_t nLength = FormatTextV(sDest, nSize, sFormat, args);
    va_end(args);
    return nLength;
}

/// The same into a whole array.
template <class Char, std::size_t Size, class... Args>
std::size_t FormatTo(Char (&sDest)[Size], const std::type_identity_t<Char>* sFormat, Args... args)
{
    return FormatTextInto(sDest, Size, sFormat, args...);
}

extern template struct CConversion<char>;
extern template struct CConversion<WCHAR>;
extern template class CFormatArgs<char>;
extern template class CFormatArgs<WCHAR>;
extern template void FormatText(CFormatSink<char>& sink, const char* sFormat, CFormatArgs<char>& args);
extern template void FormatText(CFormatSink<WCHAR>& sink, const WCHAR* sFormat, CFormatArgs<WCHAR>& args);

} // namespace OCT
