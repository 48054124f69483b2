#include "core/textformat.h"

#include "core/numtext.h"

#include <bit>
#include <charconv>
#include <cmath>

namespace OCT
{

namespace
{

// More digits than this are not significant for any double in the sizes that logs and messages print.
constexpr int g_nMaxPrecision = 512;
constexpr int g_nMaxWidth = 0x10000;
// Digits of the largest double, its point and sign, and a full precision.
constexpr std::size_t g_nDoubleRoom = 320 + g_nMaxPrecision;

template <class Char>
bool IsOneOf(Char c, std::string_view sSet)
{
    return c > 0 && c < 0x80 && sSet.find(static_cast<char>(c)) != sSet.npos;
}

template <class Char>
bool IsDigit(Char c)
{
    return c >= '0' && c <= '9';
}

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
    const bool bHex = IsOneOf(conversion.m_cType, "xX");
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
    if (cType == 'f' && nPrecision <= MaxFixedDecimals)
        return PutFixed(p, d, nPrecision);
    if (cType == 'g' && nPrecision <= MaxDoubleDigits)
        return PutDouble(p, d, nPrecision);
    const auto eForm = cType == 'e'   ? std::chars_format::scientific
                       : cType == 'f' ? std::chars_format::fixed
                       : cType == 'a' ? std::chars_format::hex
                                      : std::chars_format::general;
    char* const pEnd = p + g_nDoubleRoom;
    return nPrecision < 0 ? std::to_chars(p, pEnd, d, eForm).ptr
                          : std::to_chars(p, pEnd, d, eForm, nPrecision).ptr;
}

template <class Char>
void PutDouble(CFormatSink<Char>& sink, const CConversion<Char>& conversion, double dValue)
{
    const char cType = static_cast<char>(conversion.m_cType | 0x20);
    const int nDefault = cType == 'a' ? -1 : 6;
    const int nPrecision =
        conversion.m_nPrecision < 0 ? nDefault : std::min(conversion.m_nPrecision, g_nMaxPrecision);
    char digits[g_nDoubleRoom];
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
constexpr std::size_t g_nPiece = 128;

template <class Put>
void ForConverted(const WCHAR* pText, std::size_t nLength, Put put)
{
    while (nLength > 0)
    {
        std::size_t nTaken = std::min(nLength, g_nPiece);
        // A pair of surrogates stays together.
        if (nTaken < nLength && (pText[nTaken - 1] & 0xFC00) == 0xD800)
            --nTaken;
        char piece[4 * g_nPiece];
        const int nBytes = WideCharToMultiByte(CP_ACP, 0, pText, static_cast<int>(nTaken), piece,
                                               static_cast<int>(sizeof(piece)), nullptr, nullptr);
        if (nBytes > 0)
            put(piece, static_cast<std::size_t>(nBytes));
        else
            put("?", 1);
        pText += nTaken;
        nLength -= nTaken;
    }
}

// How many bytes the character at the start takes in the ANSI code page.
std::size_t CharacterBytes(const char* pText, std::size_t nLength)
{
    const auto cLead = static_cast<unsigned char>(*pText);
    if (cLead < 0x80)
        return 1;
    std::size_t nBytes = 1;
    if (GetACP() == CP_UTF8)
        nBytes = cLead >= 0xF0 ? 4 : cLead >= 0xE0 ? 3 : cLead >= 0xC0 ? 2 : 1;
    else if (IsDBCSLeadByteEx(CP_ACP, cLead))
        nBytes = 2;
    return std::min(nBytes, nLength);
}

template <class Put>
void ForConverted(const char* pText, std::size_t nLength, Put put)
{
    while (nLength > 0)
    {
        std::size_t nTaken = 0;
        while (nTaken < nLength && nTaken < g_nPiece - 4)
            nTaken += CharacterBytes(pText + nTaken, nLength - nTaken);
        WCHAR piece[g_nPiece];
        const int nUnits = MultiByteToWideChar(CP_ACP, 0, pText, static_cast<int>(nTaken), piece,
                                               static_cast<int>(g_nPiece));
        if (nUnits > 0)
            put(piece, static_cast<std::size_t>(nUnits));
        else
            put(ORVTEXT("?"), 1);
        pText += nTaken;
        nLength -= nTaken;
    }
}

// Puts text of the format's width (taken as it is) or of the other (converted) into its field.
template <class Char, class Text>
void PutSized(CFormatSink<Char>& sink, const CConversion<Char>& conversion, const Text* pText,
              std::size_t nLength)
{
    const auto ForPieces = [&](auto put) {
        if constexpr (std::is_same_v<Char, Text>)
            put(pText, nLength);
        else
            ForConverted(pText, nLength, put);
    };
    // The precision counts what is printed.
    std::size_t nLimit = conversion.m_nPrecision < 0 ? static_cast<std::size_t>(-1)
                                                     : static_cast<std::size_t>(conversion.m_nPrecision);
    std::size_t nPad = 0;
    if (conversion.m_nWidth > 0)
    {
        std::size_t nPrinted = 0;
        ForPieces([&](const Char*, std::size_t n) { nPrinted += n; });
        nPrinted = std::min(nPrinted, nLimit);
        const auto nWidth = static_cast<std::size_t>(conversion.m_nWidth);
        nPad = nWidth > nPrinted ? nWidth - nPrinted : 0;
    }
    if (!conversion.m_bLeft)
        sink.Fill(conversion.m_bZero ? '0' : ' ', nPad);
    ForPieces([&](const Char* p, std::size_t n) {
        n = std::min(n, nLimit);
        nLimit -= n;
        sink.Put(p, n);
    });
    if (conversion.m_bLeft)
        sink.Fill(' ', nPad);
}

template <class Char, class Text>
void PutText(CFormatSink<Char>& sink, const CConversion<Char>& conversion, const Text* pText)
{
    static constexpr Text s_sNull[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
    if (!pText)
        pText = s_sNull;
    // With a precision the text need not be terminated.
    const std::size_t nMax = conversion.m_nPrecision < 0 ? static_cast<std::size_t>(-1)
                                                         : static_cast<std::size_t>(conversion.m_nPrecision);
    PutSized(sink, conversion, pText, BoundedLength(pText, nMax));
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

// Whether a text or character conversion takes wide text.
template <class Char>
bool IsWide(const CConversion<Char>& conversion)
{
    if (conversion.m_cSize == 'h')
        return false;
    if (conversion.m_cSize == 'l' || conversion.m_cSize == 'w')
        return true;
    return std::is_same_v<Char, WCHAR> == (conversion.m_cType == 's' || conversion.m_cType == 'c');
}

template <class Char>
void PutArgument(CFormatSink<Char>& sink, const CConversion<Char>& conversion, EFormatKind eKind,
                 const typename CFormatArgs<Char>::CArg& arg)
{
    switch (eKind)
    {
    case EFormatKind::Narrow: PutText(sink, conversion, static_cast<const char*>(arg.m_pValue)); break;
    case EFormatKind::Wide: PutText(sink, conversion, static_cast<const WCHAR*>(arg.m_pValue)); break;
    case EFormatKind::Double: PutDouble(sink, conversion, arg.m_dValue); break;
    case EFormatKind::Pointer: PutPointer(sink, conversion, arg.m_pValue); break;
    case EFormatKind::Int32:
    case EFormatKind::Int64:
        if (IsOneOf(conversion.m_cType, "cC"))
            PutCharacter(sink, conversion, IsWide(conversion), arg.m_nValue);
        else
            PutInteger(sink, conversion, arg.m_nValue);
        break;
    default: break;
    }
}

template <class Char>
void ResolveStars(CConversion<Char>& conversion, CFormatArgs<Char>& args)
{
    if (conversion.m_bStarWidth)
    {
        const int nWidth = args.TakeStar(0);
        conversion.m_bLeft |= nWidth < 0;
        conversion.m_nWidth =
            std::min(nWidth < 0 ? static_cast<int>(0u - static_cast<unsigned>(nWidth)) & 0x7FFFFFFF : nWidth,
                     g_nMaxWidth);
    }
    if (conversion.m_bStarPrecision)
        conversion.m_nPrecision = std::max(args.TakeStar(-1), -1);
}

} // namespace

template <class Char>
void CConversion<Char>::ParseFlags(const Char*& p)
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

template <class Char>
int CConversion<Char>::ParseNumber(const Char*& p)
{
    int nValue = 0;
    for (; IsDigit(*p); ++p)
        nValue = std::min(nValue * 10 + (*p - '0'), g_nMaxWidth);
    return nValue;
}

template <class Char>
void CConversion<Char>::ParseIntegerWidth(const Char*& p)
{
    if (p[0] == '6' && p[1] == '4')
        m_cSize = 'q', p += 2;
    else if (p[0] == '3' && p[1] == '2')
        p += 2;
    else if (sizeof(void*) == 8)
        m_cSize = 'q';
}

template <class Char>
void CConversion<Char>::ParseSize(const Char*& p)
{
    const Char cSize = *p;
    if (!IsOneOf(cSize, "hlwIjztL"))
        return;
    ++p;
    if (cSize == 'I')
        ParseIntegerWidth(p);
    else if (cSize == 'j' || (IsOneOf(cSize, "zt") && sizeof(void*) == 8))
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

template <class Char>
bool CConversion<Char>::Parse(const Char*& p)
{
    ParseFlags(p);
    m_bStarWidth = *p == '*';
    if (m_bStarWidth)
        ++p;
    else
        m_nWidth = ParseNumber(p);
    if (*p == '.')
    {
        m_bStarPrecision = *++p == '*';
        if (m_bStarPrecision)
            ++p;
        else
            m_nPrecision = ParseNumber(p);
    }
    ParseSize(p);
    if (!IsOneOf(*p, "diouxXcCsSpeEfFgGaAn"))
        return false;
    m_cType = *p++;
    return true;
}

template <class Char>
EFormatKind CConversion<Char>::Kind() const
{
    switch (m_cType)
    {
    case 's':
    case 'S': return IsWide(*this) ? EFormatKind::Wide : EFormatKind::Narrow;
    case 'c':
    case 'C': return EFormatKind::Int32;
    case 'p': return EFormatKind::Pointer;
    case 'n': return EFormatKind::Count;
    default:
        return IsOneOf(m_cType, "diouxX") ? (m_cSize == 'q' ? EFormatKind::Int64 : EFormatKind::Int32)
                                          : EFormatKind::Double;
    }
}

template <class Char>
CFormatArgs<Char>::CFormatArgs(const Char* sFormat, va_list args)
{
    va_list rest;
    va_copy(rest, args);
    const auto Add = [this](EFormatKind eKind) -> CArg& {
        m_args[m_nCount].m_eKind = eKind;
        return m_args[m_nCount++];
    };
    while (*sFormat)
    {
        if (*sFormat++ != '%')
            continue;
        CConversion<Char> conversion;
        if (!conversion.Parse(sFormat))
        {
            sFormat += *sFormat == '%';
            continue;
        }
        // A conversion has at most two stars.
        if (m_nCount + 3 > s_nMax)
            break;
        for (int nStars = conversion.m_bStarWidth + conversion.m_bStarPrecision; nStars > 0; --nStars)
            Add(EFormatKind::Int32).m_nValue = va_arg(rest, int);
        CArg& arg = Add(conversion.Kind());
        switch (arg.m_eKind)
        {
        case EFormatKind::Int32: arg.m_nValue = va_arg(rest, int); break;
        case EFormatKind::Int64: arg.m_nValue = va_arg(rest, std::int64_t); break;
        case EFormatKind::Double: arg.m_dValue = va_arg(rest, double); break;
        default: arg.m_pValue = va_arg(rest, const void*); break;
        }
    }
    va_end(rest);
}

template <class Char>
void FormatText(CFormatSink<Char>& sink, const Char* sFormat, CFormatArgs<Char>& args)
{
    while (*sFormat && !sink.IsFull())
    {
        const Char* pPlain = sFormat;
        while (*sFormat && *sFormat != '%')
            ++sFormat;
        sink.Put(pPlain, static_cast<std::size_t>(sFormat - pPlain));
        if (!*sFormat)
            return;
        const Char* pPercent = sFormat++;
        CConversion<Char> conversion;
        if (conversion.Parse(sFormat))
        {
            ResolveStars(conversion, args);
            const EFormatKind eKind = conversion.Kind();
            if (const auto* pArg = args.Take(eKind))
                PutArgument(sink, conversion, eKind, *pArg);
        }
        else if (*sFormat == '%')
            sink.Put(sFormat++, 1);
        else
            sink.Put(pPercent, static_cast<std::size_t>(sFormat - pPercent));
    }
    if (*sFormat)
        sink.Fill(' ', 1); // no room is left: notes the cut
}

template struct CConversion<char>;
template struct CConversion<WCHAR>;
template class CFormatArgs<char>;
template class CFormatArgs<WCHAR>;
template void FormatText(CFormatSink<char>& sink, const char* sFormat, CFormatArgs<char>& args);
template void FormatText(CFormatSink<WCHAR>& sink, const WCHAR* sFormat, CFormatArgs<WCHAR>& args);

} // namespace OCT
