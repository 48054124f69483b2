#include "core/textformat.h"

#include "core/numtext.h"
#include "orvcomtypes/formatcheck.h"
#include "orvcomtypes/orvexport.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <windows.h>
#include <emmintrin.h>

namespace OCT
{

namespace
{

// More digits than this are not significant for any double in the sizes that logs and messages print.
constexpr int kMaxPrecision = 512;
// Digits of the largest double, its point and sign, and a full precision.
constexpr std::size_t kDoubleRoom = 320 + kMaxPrecision;

template <class Char>
bool IsUpper(Char c)
{
    return c >= 'A' && c <= 'Z';
}

void MakeUpper(char* p, const char* pEnd)
{
    for (; p != pEnd; ++p)
        if (*p >= 'a' && *p <= 'z')
            *p = static_cast<char>(*p - ('a' - 'A'));
}

/// Sign or radix mark, zeros and digits of a number, put into its field.
struct CNumberText
{
    std::string_view m_sPrefix;
    std::size_t m_nZeros = 0;
    std::string_view m_sDigits;
};

template <class Char>
void PutNumber(CFormatSink<Char>& sink, const CConversion<Char>& conversion, CNumberText text, bool bZeroPad)
{
    const std::size_t nLength = text.m_sPrefix.size() + text.m_nZeros + text.m_sDigits.size();
    const auto nWidth = static_cast<std::size_t>(conversion.m_nWidth);
    std::size_t nPad = nWidth > nLength ? nWidth - nLength : 0;
    if (bZeroPad && !conversion.m_bLeft)
    {
        text.m_nZeros += nPad;
        nPad = 0;
    }
    if (!conversion.m_bLeft)
        sink.Fill(' ', nPad);
    sink.Put(text.m_sPrefix);
    sink.Fill('0', text.m_nZeros);
    sink.Put(text.m_sDigits);
    if (conversion.m_bLeft)
        sink.Fill(' ', nPad);
}

template <class Char>
std::string_view SignOf(const CConversion<Char>& conversion, bool bNegative)
{
    return bNegative ? "-" : conversion.m_bPlus ? "+" : conversion.m_bBlank ? " " : "";
}

// The value as wide as the conversion's size says.
template <class Char>
std::int64_t Narrowed(const CConversion<Char>& conversion, std::int64_t nValue, bool bSigned)
{
    switch (conversion.m_cSize)
    {
    case 'q': return nValue;
    case 'h': return bSigned ? static_cast<std::int16_t>(nValue) : static_cast<std::uint16_t>(nValue);
    case 'H': return bSigned ? static_cast<std::int8_t>(nValue) : static_cast<std::uint8_t>(nValue);
    default:
        return bSigned ? static_cast<std::int32_t>(nValue) : std::int64_t{static_cast<std::uint32_t>(nValue)};
    }
}

/// Digits without leading zeros, for the conversions d, i, u, o, x and X.
char* PutDigitsOf(char* p, std::uint64_t n, char cType)
{
    if (cType == 'o')
        return std::to_chars(p, p + 24, n, 8).ptr;
    if (cType != 'x' && cType != 'X')
        return PutDecimal(p, n);
    char* const pEnd = PutHex(p, n, n == 0 ? 1 : (static_cast<unsigned>(std::bit_width(n)) + 3) / 4);
    if (cType == 'x')
        std::for_each(p, pEnd, [](char& c) { c |= 0x20; }); // "0" to "9" have that bit
    return pEnd;
}

template <class Char>
void PutInteger(CFormatSink<Char>& sink, const CConversion<Char>& conversion, std::int64_t nArg)
{
    const bool bSigned = conversion.m_cType == 'd' || conversion.m_cType == 'i';
    const std::int64_t nValue = Narrowed(conversion, nArg, bSigned);
    const bool bNegative = bSigned && nValue < 0;
    const auto nMagnitude = static_cast<std::uint64_t>(nValue);
    const bool bHex = conversion.m_cType == 'x' || conversion.m_cType == 'X';
    char digits[24];
    const char* const pEnd =
        PutDigitsOf(digits, bNegative ? 0 - nMagnitude : nMagnitude, static_cast<char>(conversion.m_cType));
    CNumberText text{bSigned ? SignOf(conversion, bNegative) : "", 0, {digits, pEnd}};
    if (conversion.m_nPrecision == 0 && nMagnitude == 0)
        text.m_sDigits = {};
    if (conversion.m_bAlternate && nMagnitude != 0 && bHex)
        text.m_sPrefix = conversion.m_cType == 'X' ? "0X" : "0x";
    if (conversion.m_nPrecision > static_cast<int>(text.m_sDigits.size()))
        text.m_nZeros = static_cast<std::size_t>(conversion.m_nPrecision) - text.m_sDigits.size();
    else if (conversion.m_bAlternate && conversion.m_cType == 'o' && !text.m_sDigits.starts_with('0'))
        text.m_nZeros = 1;
    PutNumber(sink, conversion, text, conversion.m_bZero && conversion.m_nPrecision < 0);
}

template <class Char>
void PutPointer(CFormatSink<Char>& sink, CConversion<Char> conversion, const void* pValue)
{
    conversion.m_cType = 'X';
    conversion.m_cSize = 'q';
    conversion.m_nPrecision = 2 * sizeof(void*);
    PutInteger(sink, conversion, static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(pValue)));
}

/// The text of a magnitude in the form e, f, g or a; a negative precision of the last means all digits.
char* PutMagnitude(char* p, double d, char cType, int nPrecision)
{
    if (cType == 'f' && nPrecision <= kMaxFixedDecimals)
        return PutFixed(p, d, nPrecision);
    if (cType == 'g' && nPrecision <= kMaxDoubleDigits)
        return PutDouble(p, d, nPrecision);
    const auto eForm = cType == 'e'   ? std::chars_format::scientific
                       : cType == 'f' ? std::chars_format::fixed
                       : cType == 'a' ? std::chars_format::hex
                                      : std::chars_format::general;
    char* const pEnd = p + kDoubleRoom;
    return nPrecision < 0 ? std::to_chars(p, pEnd, d, eForm).ptr
                          : std::to_chars(p, pEnd, d, eForm, nPrecision).ptr;
}

template <class Char>
void PutDouble(CFormatSink<Char>& sink, const CConversion<Char>& conversion, double dValue)
{
    const char cType = static_cast<char>(conversion.m_cType | 0x20);
    const int nDefault = cType == 'a' ? -1 : 6;
    const int nPrecision =
        conversion.m_nPrecision < 0 ? nDefault : (std::min)(conversion.m_nPrecision, kMaxPrecision);
    char digits[kDoubleRoom];
    char* pEnd = PutMagnitude(digits, std::fabs(dValue), cType, nPrecision);
    if (conversion.m_bAlternate && conversion.m_nPrecision == 0 && cType == 'f')
        *pEnd++ = '.';
    if (IsUpper(conversion.m_cType))
        MakeUpper(digits, pEnd);
    char prefix[4];
    char* pPrefixEnd = std::copy_n(SignOf(conversion, std::signbit(dValue)).data(),
                                   SignOf(conversion, std::signbit(dValue)).size(), prefix);
    if (cType == 'a' && std::isfinite(dValue))
    {
        *pPrefixEnd++ = '0';
        *pPrefixEnd++ = static_cast<char>(conversion.m_cType + ('x' - 'a'));
    }
    PutNumber(sink, conversion, {{prefix, pPrefixEnd}, 0, {digits, pEnd}},
              conversion.m_bZero && std::isfinite(dValue));
}

/// Length up to the terminator, at most `nMax`.
template <class Text>
std::size_t BoundedLength(const Text* pText, std::size_t nMax)
{
    std::size_t nLength = 0;
    while (nLength < nMax && pText[nLength])
        ++nLength;
    return nLength;
}

// Text of the other width, converted in pieces on the stack; a piece that the system refuses becomes "?".
constexpr std::size_t kPieceChars = 128;

template <class Put>
void ForConverted(const WCHAR* pText, std::size_t nLength, UINT nCodePage, Put put)
{
    while (nLength > 0)
    {
        std::size_t nTaken = (std::min)(nLength, kPieceChars);
        // A pair of surrogates stays together.
        if (nTaken < nLength && (pText[nTaken - 1] & 0xFC00) == 0xD800)
            --nTaken;
        char piece[4 * kPieceChars];
        // ASCII is the same in every code page.
        std::size_t nBytes = 0;
        for (; nBytes < nTaken && pText[nBytes] < 0x80; ++nBytes)
            piece[nBytes] = static_cast<char>(pText[nBytes]);
        if (nBytes < nTaken)
            nBytes = static_cast<std::size_t>(
                WideCharToMultiByte(nCodePage, 0, pText, static_cast<int>(nTaken), piece,
                                    static_cast<int>(sizeof(piece)), nullptr, nullptr));
        if (nBytes > 0)
            put(piece, nBytes);
        else
            put("?", 1);
        pText += nTaken;
        nLength -= nTaken;
    }
}

// How many bytes the character at the start takes in a code page.
std::size_t CharacterBytes(const char* pText, std::size_t nLength, UINT nCodePage)
{
    const auto cLead = static_cast<unsigned char>(*pText);
    if (cLead < 0x80)
        return 1;
    std::size_t nBytes = 1;
    if (nCodePage == CP_UTF8)
        nBytes = cLead >= 0xF0 ? 4 : cLead >= 0xE0 ? 3 : cLead >= 0xC0 ? 2 : 1;
    else if (IsDBCSLeadByteEx(nCodePage, cLead))
        nBytes = 2;
    return (std::min)(nBytes, nLength);
}

// Narrow arguments are in the ANSI code page.
template <class Put>
void ForConverted(const char* pText, std::size_t nLength, UINT, Put put)
{
    const UINT nAnsi = GetACP();
    while (nLength > 0)
    {
        std::size_t nTaken = 0;
        while (nTaken < nLength && nTaken < kPieceChars - 4)
            nTaken += CharacterBytes(pText + nTaken, nLength - nTaken, nAnsi);
        WCHAR piece[kPieceChars];
        const int nUnits = MultiByteToWideChar(CP_ACP, 0, pText, static_cast<int>(nTaken), piece,
                                               static_cast<int>(kPieceChars));
        if (nUnits > 0)
            put(piece, static_cast<std::size_t>(nUnits));
        else
            put(ORVTEXT("?"), 1);
        pText += nTaken;
        nLength -= nTaken;
    }
}

/// Whether text of the format's width is not taken as it is.
template <class Char>
bool IsConverted(const CFormatSink<Char>& sink)
{
    return std::is_same_v<Char, char> && sink.CodePage() != CP_ACP;
}

// Calls for the pieces of a text as the sink is to get them: as they are, or converted.
template <class Char, class Text, class Put>
void ForPieces(const CFormatSink<Char>& sink, const Text* pText, std::size_t nLength, Put put)
{
    const UINT nCodePage = sink.CodePage();
    if constexpr (!std::is_same_v<Char, Text>)
        ForConverted(pText, nLength, nCodePage, put);
    else if (!IsConverted(sink))
        put(pText, nLength);
    else if constexpr (std::is_same_v<Char, char>)
        ForConverted(pText, nLength, nCodePage, [&](const WCHAR* pWide, std::size_t nWide) {
            ForConverted(pWide, nWide, nCodePage, put);
        });
}

// Puts text of the format's width (taken as it is) or of the other (converted) into its field.
template <class Char, class Text>
void PutSized(CFormatSink<Char>& sink, const CConversion<Char>& conversion, const Text* pText,
              std::size_t nLength)
{
    // Width and precision count text of the format's width as it is given, which the caller has cut, other
    // text as it is printed.
    constexpr bool kGiven = std::is_same_v<Char, Text>;
    std::size_t nLimit = kGiven || conversion.m_nPrecision < 0
                             ? static_cast<std::size_t>(-1)
                             : static_cast<std::size_t>(conversion.m_nPrecision);
    std::size_t nPad = 0;
    if (conversion.m_nWidth > 0)
    {
        std::size_t nPrinted = kGiven ? nLength : 0;
        if constexpr (!kGiven)
            ForPieces(sink, pText, nLength, [&](const Char*, std::size_t n) { nPrinted += n; });
        nPrinted = (std::min)(nPrinted, nLimit);
        const auto nWidth = static_cast<std::size_t>(conversion.m_nWidth);
        nPad = nWidth > nPrinted ? nWidth - nPrinted : 0;
    }
    if (!conversion.m_bLeft)
        sink.Fill(conversion.m_bZero ? '0' : ' ', nPad);
    ForPieces(sink, pText, nLength, [&](const Char* p, std::size_t n) {
        sink.Put(p, n <= nLimit ? n : WholeCharacters(p, nLimit, sink.CodePage()));
        nLimit -= (std::min)(n, nLimit);
    });
    if (conversion.m_bLeft)
        sink.Fill(' ', nPad);
}

template <class Char, class Text>
void PutText(CFormatSink<Char>& sink, const CConversion<Char>& conversion, const Text* pText)
{
    static constexpr Text kNullText[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
    if (!pText)
        pText = kNullText;
    // With a precision the text need not be terminated.
    const std::size_t nMax = conversion.m_nPrecision < 0 ? static_cast<std::size_t>(-1)
                                                         : static_cast<std::size_t>(conversion.m_nPrecision);
    std::size_t nLength = BoundedLength(pText, nMax);
    if (nLength == nMax)
        nLength = WholeCharacters(pText, nLength, CP_ACP);
    PutSized(sink, conversion, pText, nLength);
}

template <class Char>
void PutCharacter(CFormatSink<Char>& sink, CConversion<Char> conversion, bool bWide, std::int64_t nValue)
{
    conversion.m_nPrecision = -1;
    const auto cWide = static_cast<WCHAR>(nValue);
    const auto cNarrow = static_cast<char>(nValue);
    if (bWide)
        PutSized(sink, conversion, &cWide, 1);
    else
        PutSized(sink, conversion, &cNarrow, 1);
}

template <class Char>
void PutArgument(CFormatSink<Char>& sink, const CConversion<Char>& conversion, EFormatKind eKind,
                 const CFormatArg& arg)
{
    switch (eKind)
    {
    case EFormatKind::Narrow: PutText(sink, conversion, static_cast<const char*>(arg.m_pValue)); break;
    case EFormatKind::Wide: PutText(sink, conversion, static_cast<const WCHAR*>(arg.m_pValue)); break;
    case EFormatKind::Double: PutDouble(sink, conversion, arg.m_dValue); break;
    case EFormatKind::Pointer: PutPointer(sink, conversion, arg.m_pValue); break;
    case EFormatKind::Int32:
    case EFormatKind::Int64:
        if (conversion.m_cType == 'c' || conversion.m_cType == 'C')
            PutCharacter(sink, conversion, conversion.IsWide(), arg.m_nValue);
        else
            PutInteger(sink, conversion, arg.m_nValue);
        break;
    default: break;
    }
}

template <class Args>
int TakeStar(Args& args, int nDefault)
{
    const CFormatArg* pArg = args.Take(EFormatKind::Int32);
    return pArg ? static_cast<int>(pArg->m_nValue) : nDefault;
}

template <class Char, class Args>
void ResolveStars(CConversion<Char>& conversion, Args& args)
{
    if (conversion.m_bStarWidth)
    {
        const int nWidth = TakeStar(args, 0);
        conversion.m_bLeft |= nWidth < 0;
        conversion.m_nWidth = (std::min)(
            nWidth < 0 ? static_cast<int>(0u - static_cast<unsigned>(nWidth)) & 0x7FFFFFFF : nWidth,
            conversion.kMaxWidth);
    }
    if (conversion.m_bStarPrecision)
        conversion.m_nPrecision = (std::max)(TakeStar(args, -1), -1);
}

template <class Char, class Int>
void PutPlainInteger(CFormatSink<Char>& sink, Int nValue)
{
    if (sink.Left() >= kMaxIntText)
        return sink.PutUpTo(PutDecimal(sink.Next(), nValue));
    Char digits[kMaxIntText];
    sink.Put(digits, static_cast<std::size_t>(PutDecimal(digits, nValue) - digits));
}

// A conversion that is one letter, as most are. False when this is none that is quick.
template <class Char, class Args>
bool PutLetter(CFormatSink<Char>& sink, Char cType, Args& args)
{
    if (cType == 'd' || cType == 'u')
    {
        const CFormatArg* const pArg = args.Take(EFormatKind::Int32);
        if (pArg != nullptr && cType == 'd')
            PutPlainInteger(sink, static_cast<std::int32_t>(pArg->m_nValue));
        else if (pArg != nullptr)
            PutPlainInteger(sink, static_cast<std::uint32_t>(pArg->m_nValue));
        return true;
    }
    if (cType != 's' || IsConverted(sink))
        return false;
    const CFormatArg* const pArg =
        args.Take(std::is_same_v<Char, char> ? EFormatKind::Narrow : EFormatKind::Wide);
    if (pArg != nullptr && pArg->m_pValue != nullptr)
    {
        const auto* sText = static_cast<const Char*>(pArg->m_pValue);
        sink.Put(sText, std::char_traits<Char>::length(sText));
    }
    else if (pArg != nullptr)
        sink.Put("(null)");
    return true;
}

/// Puts text of the format itself up to the next "%" or the terminator; returns where it stopped. A narrow
/// format is read by blocks as long as its terminator at \p pEnd is not among them.
template <class Char>
const Char* PutPlain(CFormatSink<Char>& sink, const Char* sFormat, [[maybe_unused]] const Char* pEnd)
{
    Char* p = sink.Next();
    Char* const pLast = p + sink.Left();
    if constexpr (std::is_same_v<Char, char>)
    {
        if (IsConverted(sink))
        {
            const Char* const pStop = std::find(sFormat, pEnd, '%');
            PutSized(sink, CConversion<Char>(), sFormat, static_cast<std::size_t>(pStop - sFormat));
            return pStop;
        }
        constexpr int nBlock = sizeof(__m128i);
        for (; pEnd - sFormat >= nBlock && pLast - p >= nBlock; sFormat += nBlock, p += nBlock)
        {
            const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(sFormat));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p), text);
            const int nFound = _mm_movemask_epi8(_mm_cmpeq_epi8(text, _mm_set1_epi8('%')));
            if (nFound == 0)
                continue;
            const int nPlain = std::countr_zero(static_cast<unsigned>(nFound));
            sink.PutUpTo(p + nPlain);
            return sFormat + nPlain;
        }
    }
    while (p != pLast && *sFormat != 0 && *sFormat != '%')
        *p++ = *sFormat++;
    sink.PutUpTo(p);
    return sFormat;
}

// Any other conversion, read from behind its "%". What is none is copied.
template <class Char, class Args>
const Char* PutConversion(CFormatSink<Char>& sink, const Char* sFormat, Args& args)
{
    const Char* const pPercent = sFormat - 1;
    CConversion<Char> conversion;
    if (conversion.Parse(sFormat))
    {
        ResolveStars(conversion, args);
        const EFormatKind eKind = conversion.Kind();
        if (const CFormatArg* pArg = args.Take(eKind))
            PutArgument(sink, conversion, eKind, *pArg);
    }
    else if (*sFormat == '%')
        sink.Put(sFormat++, 1);
    else if (IsConverted(sink))
        PutSized(sink, CConversion<Char>(), pPercent, static_cast<std::size_t>(sFormat - pPercent));
    else
        sink.Put(pPercent, static_cast<std::size_t>(sFormat - pPercent));
    return sFormat;
}

} // namespace

std::size_t WholeCharacters(const char* pText, std::size_t nLength, UINT nCodePage)
{
    if (nCodePage == CP_ACP)
        nCodePage = GetACP();
    // UTF-8 shows at the end whether it is whole; elsewhere only the way from the start tells.
    std::size_t nStart = nCodePage == CP_UTF8 && nLength > 4 ? nLength - 4 : 0;
    while (nCodePage == CP_UTF8 && nStart < nLength && (pText[nStart] & 0xC0) == 0x80)
        ++nStart;
    while (nStart < nLength)
    {
        const std::size_t nBytes = CharacterBytes(pText + nStart, 4, nCodePage);
        if (nBytes > nLength - nStart)
            return nStart;
        nStart += nBytes;
    }
    return nLength;
}

std::size_t WholeCharacters(const WCHAR* pText, std::size_t nLength, UINT)
{
    return nLength > 0 && (pText[nLength - 1] & 0xFC00) == 0xD800 ? nLength - 1 : nLength;
}

template <class Char>
bool CFetchedArgs<Char>::HasNext()
{
    while (m_bTaken && *m_sFormat)
    {
        if (*m_sFormat++ != '%')
            continue;
        CConversion<Char> conversion;
        if (conversion.Parse(m_sFormat))
        {
            m_nStars = conversion.m_bStarWidth + conversion.m_bStarPrecision;
            m_eKind = conversion.Kind();
            m_bTaken = false;
        }
        else
            m_sFormat += *m_sFormat == '%';
    }
    return !m_bTaken;
}

template <class Char>
const CFormatArg* CFetchedArgs<Char>::Take(EFormatKind eKind)
{
    if (!HasNext() || eKind != (m_nStars > 0 ? EFormatKind::Int32 : m_eKind))
        return nullptr;
    if (m_nStars > 0)
        --m_nStars;
    else
        m_bTaken = true;
    return m_rest.Take(eKind);
}

template <class Char, class Args>
void FormatText(CFormatSink<Char>& sink, const Char* sFormat, Args& args)
{
    const Char* pEnd = nullptr;
    if constexpr (std::is_same_v<Char, char>)
        pEnd = sFormat + std::strlen(sFormat);
    while (*(sFormat = PutPlain(sink, sFormat, pEnd)) != 0 && !sink.IsFull())
    {
        ++sFormat;
        if (PutLetter(sink, *sFormat, args))
            ++sFormat;
        else
            sFormat = PutConversion(sink, sFormat, args);
    }
    if (*sFormat)
        sink.Fill(' ', 1); // no room is left: notes the cut
    sink.EndCut();
}

template class CFetchedArgs<char>;
template void FormatText(CFormatSink<char>& sink, const char* sFormat, CFormatArgs<char>& args);
template void FormatText(CFormatSink<char>& sink, const char* sFormat, CFetchedArgs<char>& args);
template void FormatText(CFormatSink<WCHAR>& sink, const WCHAR* sFormat, CFormatArgs<WCHAR>& args);

} // namespace OCT
