/// printf-style formatting in the Windows dialect, the same on every target.
///
/// The runtimes differ where it matters here: what `%s` and `%S` take, how wide `%ld` is, whether a character
/// outside the code page fails the whole text. So the library formats by itself. Arguments are taken as the
/// format names them (`CFormatArgs`), or fetched before with the types that one format names
/// (`CFetchedArgs`). That lets a text with a header in front be formatted whose own "%" nobody provided an
/// argument for: a conversion takes the next argument when it is of the type that the conversion names, else
/// it takes none and prints nothing. `%n` prints nothing and writes nothing.
///
/// Conversions: `d i u o x X c C s S p e E f F g G a A %`; flags `- + 0 # blank`; width and precision, also
/// `*`; sizes `h hh l ll w I I32 I64 j z t L` (`l` is 32 bits). A narrow format takes narrow text for `%s`
/// and wide for `%S` or `%ls`, a wide one the reverse, and `%hs` is narrow, `%ls` wide in both. `%p` prints 8
/// or 16 upper-case digits. Anything else behind "%" is copied as it stands.
///
/// Errors: none. Text that the ANSI code page lacks becomes its default character; a null text prints
/// "(null)". Units: capacities and results in code units of the format, terminators not counted in results;
/// widths and precisions in those of the text that is given, where it is of the other width in those printed.
#pragma once

#include "orvcomtypes/formatcheck.h"

#include <windows.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace OCT
{

/// One argument, as wide as its kind says.
struct CFormatArg
{
    EFormatKind m_eKind;
    union
    {
        std::int64_t m_nValue;
        double m_dValue;
        const void* m_pValue;
    };
};

/// The arguments of a call, taken one after the other as the format that is printed names them.
template <class Char>
class CFormatArgs
{
public:
    explicit CFormatArgs(va_list args) { va_copy(m_rest, args); }
    CFormatArgs(const CFormatArgs&) = delete;
    CFormatArgs& operator=(const CFormatArgs&) = delete;
    ~CFormatArgs() { va_end(m_rest); }

    const CFormatArg* Take(EFormatKind eKind)
    {
        m_arg.m_eKind = eKind;
        switch (eKind)
        {
        case EFormatKind::Int32: m_arg.m_nValue = va_arg(m_rest, int); break;
        case EFormatKind::Int64: m_arg.m_nValue = va_arg(m_rest, std::int64_t); break;
        case EFormatKind::Double: m_arg.m_dValue = va_arg(m_rest, double); break;
        default: m_arg.m_pValue = va_arg(m_rest, const void*); break;
        }
        return &m_arg;
    }

private:
    va_list m_rest;
    CFormatArg m_arg;
};

/// The arguments of a call, fetched with the types that one format names, for printing another one around it.
template <class Char>
class CFetchedArgs
{
public:
    CFetchedArgs(const Char* sFormat, va_list args) : m_sFormat(sFormat), m_rest(args) {}

    /// Takes the next argument if it is of the kind; null when it is not.
    const CFormatArg* Take(EFormatKind eKind);

private:
    bool HasNext();

    const Char* m_sFormat; ///< behind the conversion that the next argument belongs to
    CFormatArgs<Char> m_rest;
    int m_nStars = 0; ///< of that conversion, not taken yet
    bool m_bTaken = true;
    EFormatKind m_eKind{};
};

/// How much of a text that was cut behind \p nLength units is whole characters; \p nCodePage is that of
/// narrow text.
std::size_t WholeCharacters(const char* pText, std::size_t nLength, UINT nCodePage);
std::size_t WholeCharacters(const WCHAR* pText, std::size_t nLength, UINT nCodePage);

/// The destination: keeps what fits, notes that something did not.
template <class Char>
class CFormatSink
{
public:
    /// Narrow formats and arguments are in the ANSI code page; with another \p nCodePage they are converted.
    CFormatSink(Char* pDest, std::size_t nCapacity, UINT nCodePage = CP_ACP)
        : m_pStart(pDest), m_pNext(pDest), m_pEnd(pDest + nCapacity), m_nCodePage(nCodePage)
    {
    }

    void Put(const Char* pText, std::size_t nLength)
    {
        const std::size_t nFits = Fitting(nLength);
        m_pNext = std::copy_n(pText, nFits, m_pNext);
    }
    void Put(std::string_view sText) requires(!std::is_same_v<Char, char>)
    {
        const std::size_t nFits = Fitting(sText.size());
        m_pNext = std::copy_n(sText.data(), nFits, m_pNext);
    }
    void Put(std::string_view sText) requires std::is_same_v<Char, char> { Put(sText.data(), sText.size()); }
    void Fill(char c, std::size_t nCount)
    {
        m_pNext = std::fill_n(m_pNext, Fitting(nCount), static_cast<Char>(c));
    }

    /// For who writes by himself, not more than is left: where, and how far he came.
    Char* Next() const { return m_pNext; }
    void PutUpTo(Char* pNext) { m_pNext = pNext; }

    UINT CodePage() const { return m_nCodePage; }
    /// Takes back what a cut left of a character.
    void EndCut()
    {
        if (m_bCut)
            m_pNext = m_pStart + WholeCharacters(m_pStart, Length(), m_nCodePage);
    }

    std::size_t Length() const { return static_cast<std::size_t>(m_pNext - m_pStart); }
    std::size_t Left() const { return static_cast<std::size_t>(m_pEnd - m_pNext); }
    bool IsFull() const { return m_pNext == m_pEnd; }
    bool IsCut() const { return m_bCut; }

private:
    std::size_t Fitting(std::size_t nWanted)
    {
        m_bCut |= nWanted > Left();
        return (std::min)(nWanted, Left());
    }

    Char* m_pStart;
    Char* m_pNext;
    Char* m_pEnd;
    const UINT m_nCodePage;
    bool m_bCut = false;
};

/// Formats into the sink, cut between characters; writes no terminator.
template <class Char, class Args>
void FormatText(CFormatSink<Char>& sink, const Char* sFormat, Args& args);

/// Formats into a buffer of `nSize` code units (at least one) and terminates. The length written; `pbCut`
/// tells whether the text was cut.
template <class Char>
std::size_t FormatTextV(Char* sDest, std::size_t nSize, const Char* sFormat, va_list args,
                        bool* pbCut = nullptr)
{
    CFormatArgs<Char> taken(args);
    CFormatSink<Char> sink(sDest, nSize - 1);
    FormatText(sink, sFormat, taken);
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

extern template class CFetchedArgs<char>;
extern template void FormatText(CFormatSink<char>& sink, const char* sFormat, CFormatArgs<char>& args);
extern template void FormatText(CFormatSink<char>& sink, const char* sFormat, CFetchedArgs<char>& args);
extern template void FormatText(CFormatSink<WCHAR>& sink, const WCHAR* sFormat, CFormatArgs<WCHAR>& args);

} // namespace OCT
