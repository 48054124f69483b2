// MultiByteToWideChar and WideCharToMultiByte: the tables for code pages, ICU's macros for UTF-8.
#include "text/codepage.h"
#include "text/otherpages.h"
#include "text/sink.h"

#include <unicode/unorm2.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <bit>
#include <climits>
#include <cstring>
#include <string>

#include <windows.h>
#include <emmintrin.h>

namespace
{

// ICU's macro narrows as it likes.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
UChar32 NextUtf8(const char* pSrc, int nSrc, int& i)
{
    UChar32 c;
    U8_NEXT(pSrc, i, nSrc, c);
    return c;
}
#pragma GCC diagnostic pop

int DecodeUtf8(const char* pSrc, int nSrc, bool bStrict, CSink<WCHAR> sink)
{
    for (int i = 0; i < nSrc;)
        if (const DWORD dwError = sink.PutCharacter(NextUtf8(pSrc, nSrc, i), bStrict))
            return Fail(dwError);
    return sink.Result();
}

int EncodeUtf8(const WCHAR* pSrc, int nSrc, bool bStrict, CSink<char> sink)
{
    for (int i = 0; i < nSrc;)
    {
        UChar32 c;
        U16_NEXT(pSrc, i, nSrc, c);
        if (U_IS_SURROGATE(c))
        {
            if (bStrict)
                return Fail(ERROR_NO_UNICODE_TRANSLATION);
            c = 0xFFFD;
        }
        unsigned char aBytes[4];
        int n = 0;
        U8_APPEND_UNSAFE(aBytes, n, c);
        if (!sink.Put(aBytes, n))
            return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    return sink.Result();
}

__m128i Load16(const void* p)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

void Store16(void* p, __m128i v)
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

__m128i Set16(unsigned n)
{
    return _mm_set1_epi16(static_cast<short>(n));
}

// Decodes whole blocks of 16 bytes as Latin-1, then puts right the few from 80 to 9F; returns the bytes done.
int DecodeLatin(const CCodePage& page, const unsigned char* pSrc, int nSrc, WCHAR* pDest)
{
    int i = 0;
    for (; nSrc - i >= 16; i += 16)
    {
        const __m128i v = Load16(pSrc + i);
        Store16(pDest + i, _mm_unpacklo_epi8(v, _mm_setzero_si128()));
        Store16(pDest + i + 8, _mm_unpackhi_epi8(v, _mm_setzero_si128()));
        const __m128i isOther = _mm_cmplt_epi8(v, _mm_set1_epi8(-0x60));
        for (auto nOthers = static_cast<unsigned>(_mm_movemask_epi8(isOther)); nOthers;
             nOthers &= nOthers - 1)
        {
            const int iOther = i + std::countr_zero(nOthers);
            pDest[iOther] = page.DecodeSingle(pSrc[iOther]);
        }
    }
    return i;
}

int DecodeSingleBytes(const CCodePage& page, const unsigned char* pSrc, int nSrc, WCHAR* pDest, int nRoom)
{
    const int n = nRoom && nSrc > nRoom ? nRoom : nSrc;
    for (int i = nRoom && page.IsLatin() ? DecodeLatin(page, pSrc, n, pDest) : 0; nRoom && i < n; ++i)
        pDest[i] = page.DecodeSingle(pSrc[i]);
    return n == nSrc ? n : Fail(ERROR_INSUFFICIENT_BUFFER);
}

int DecodeDoubleBytes(const CCodePage& page, const unsigned char* pSrc, int nSrc, CSink<WCHAR> sink)
{
    for (int i = 0; i < nSrc; ++i)
    {
        WCHAR c = page.DecodeSingle(pSrc[i]);
        // A lead byte before a zero or the end stands alone, so that it never swallows a terminator.
        if (page.IsLead(pSrc[i]) && i + 1 < nSrc && pSrc[i + 1])
        {
            c = page.DecodeDouble(pSrc[i], pSrc[i + 1]);
            ++i;
        }
        if (!sink.Put(c))
            return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    return sink.Result();
}

// Whether every byte means something: neither undefined nor one that only has a private stand-in.
bool IsValid(const CCodePage& page, const unsigned char* pSrc, int nSrc)
{
    for (int i = 0; i < nSrc; ++i)
    {
        if (page.IsLead(pSrc[i]))
        {
            if (++i == nSrc || !page.IsDefined(pSrc[i - 1], pSrc[i]))
                return false;
        }
        else if (!page.IsDefined(pSrc[i]))
            return false;
    }
    return true;
}

// How characters become bytes of one code page.
class CEncoder
{
public:
    CEncoder(const CCodePage& page, DWORD dwFlags, const char* sDefault)
        : m_Page(page), m_bExact(dwFlags & WC_NO_BEST_FIT_CHARS), m_bCompose(dwFlags & WC_COMPOSITECHECK)
    {
        if (sDefault && *sDefault)
        {
            const auto b = static_cast<unsigned char>(*sDefault);
            m_nDefault =
                page.IsLead(b) ? static_cast<WORD>(b << 8 | static_cast<unsigned char>(sDefault[1])) : b;
        }
    }

    int Encode(const WCHAR* pSrc, int nSrc, CSink<char> sink)
    {
        for (int i = 0; i < nSrc; ++i)
        {
            WCHAR c = pSrc[i];
            while (m_bCompose && i + 1 < nSrc && Compose(c, pSrc[i + 1]))
                ++i;
            if (!PutBytes(c ? BytesOf(c) : WORD{0}, sink))
                return Fail(ERROR_INSUFFICIENT_BUFFER);
        }
        return sink.Result();
    }

    // The same for a page of single bytes with exact mappings and room for everything.
    void EncodeSingleBytes(const WCHAR* pSrc, int nSrc, char* pDest)
    {
        for (int i = m_Page.IsLatin() ? EncodeLatin(pSrc, nSrc, pDest) : 0; i < nSrc; ++i)
            pDest[i] = ByteOf(pSrc[i]);
    }

    bool UsedDefault() const { return m_bUsedDefault; }

private:
    // Encodes whole blocks of 16 units as Latin-1, then puts right the few that are not; returns the units
    // done.
    int EncodeLatin(const WCHAR* pSrc, int nSrc, char* pDest)
    {
        int i = 0;
        for (; nSrc - i >= 16; i += 16)
        {
            const __m128i a = Load16(pSrc + i);
            const __m128i b = Load16(pSrc + i + 8);
            Store16(pDest + i, _mm_packus_epi16(a, b));
            const __m128i isLatin = _mm_packs_epi16(IsLatin(a), IsLatin(b));
            for (unsigned nOthers = static_cast<unsigned>(_mm_movemask_epi8(isLatin)) ^ 0xFFFF; nOthers;
                 nOthers &= nOthers - 1)
            {
                const int iOther = i + std::countr_zero(nOthers);
                pDest[iOther] = ByteOf(pSrc[iOther]);
            }
        }
        return i;
    }

    // All bits for each unit below 80 or from A0 to FF.
    static __m128i IsLatin(__m128i v)
    {
        const __m128i isByte = _mm_cmpeq_epi16(_mm_srli_epi16(v, 8), _mm_setzero_si128());
        const __m128i isControl = _mm_cmpeq_epi16(_mm_and_si128(v, Set16(0xFFE0)), Set16(0x80));
        return _mm_andnot_si128(isControl, isByte);
    }

    char ByteOf(WCHAR c)
    {
        const WORD nByte = m_Page.EncodeExact(c);
        return static_cast<char>(nByte || !c ? nByte : BytesOf(c));
    }

    WORD BytesOf(WCHAR c)
    {
        const WORD nBytes = m_bExact ? m_Page.EncodeExact(c) : m_Page.EncodeBestFit(c);
        if (nBytes)
            return nBytes;
        m_bUsedDefault = true;
        return m_nDefault;
    }

    static bool PutBytes(WORD nBytes, CSink<char>& sink)
    {
        const unsigned char aBytes[] = {static_cast<unsigned char>(nBytes >> 8),
                                        static_cast<unsigned char>(nBytes)};
        return nBytes > 0xFF ? sink.Put(aBytes, 2) : sink.Put(aBytes + 1, 1);
    }

    // Replaces a base letter by its composition with the mark that follows, where the page has that.
    bool Compose(WCHAR& c, WCHAR cMark) const
    {
        const UNormalizer2* const pComposer = Composer();
        const UChar32 cComposed = pComposer ? unorm2_composePair(pComposer, c, cMark) : U_SENTINEL;
        if (cComposed < 0 || cComposed > 0xFFFF || !m_Page.EncodeExact(static_cast<WCHAR>(cComposed)))
            return false;
        c = static_cast<WCHAR>(cComposed);
        return true;
    }

    const CCodePage& m_Page;
    const bool m_bExact;
    const bool m_bCompose;
    WORD m_nDefault = '?';
    bool m_bUsedDefault = false;
};

// With the terminator; 0 for one that no int holds.
template <class Unit>
int MeasuredLength(const Unit* p)
{
    const std::size_t n = std::char_traits<Unit>::length(p);
    return n < INT_MAX ? static_cast<int>(n) + 1 : 0;
}

// What both functions demand of their texts.
bool AreTextsValid(const void* pSrc, int nSrc, const void* pDest, int nDest)
{
    return pSrc && nSrc && nDest >= 0 && (!nDest || pDest) && pSrc != pDest;
}

} // namespace

int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte,
                        LPWSTR lpWideCharStr, int cchWideChar) noexcept
{
    if (lpMultiByteStr && cbMultiByte < 0)
        cbMultiByte = MeasuredLength(lpMultiByteStr);
    if (!AreTextsValid(lpMultiByteStr, cbMultiByte, lpWideCharStr, cchWideChar))
        return Fail(ERROR_INVALID_PARAMETER);
    const bool bStrict = dwFlags & MB_ERR_INVALID_CHARS;
    if (IsUtf8(CodePage))
        return dwFlags & ~MB_ERR_INVALID_CHARS
                   ? Fail(ERROR_INVALID_FLAGS)
                   : DecodeUtf8(lpMultiByteStr, cbMultiByte, bStrict, {lpWideCharStr, cchWideChar});
    if (IsOtherPage(CodePage))
        return DecodeOtherPage(CodePage, dwFlags, lpMultiByteStr, cbMultiByte, {lpWideCharStr, cchWideChar});
    const CCodePage* pPage = CCodePage::Find(CodePage);
    if (!pPage)
        return Fail(ERROR_INVALID_PARAMETER);
    if (dwFlags & ~(MB_PRECOMPOSED | MB_ERR_INVALID_CHARS))
        return Fail(ERROR_INVALID_FLAGS);
    const auto* pSrc = reinterpret_cast<const unsigned char*>(lpMultiByteStr);
    if (bStrict && !IsValid(*pPage, pSrc, cbMultiByte))
        return Fail(ERROR_NO_UNICODE_TRANSLATION);
    return pPage->IsDoubleByte() ? DecodeDoubleBytes(*pPage, pSrc, cbMultiByte, {lpWideCharStr, cchWideChar})
                                 : DecodeSingleBytes(*pPage, pSrc, cbMultiByte, lpWideCharStr, cchWideChar);
}

int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar,
                        LPSTR lpMultiByteStr, int cbMultiByte, LPCSTR lpDefaultChar,
                        LPBOOL lpUsedDefaultChar) noexcept
{
    if (lpWideCharStr && cchWideChar < 0)
        cchWideChar = MeasuredLength(lpWideCharStr);
    if (!AreTextsValid(lpWideCharStr, cchWideChar, lpMultiByteStr, cbMultiByte))
        return Fail(ERROR_INVALID_PARAMETER);
    if (IsUtf8(CodePage))
    {
        if (lpDefaultChar || lpUsedDefaultChar)
            return Fail(ERROR_INVALID_PARAMETER);
        if (dwFlags & ~WC_ERR_INVALID_CHARS)
            return Fail(ERROR_INVALID_FLAGS);
        return EncodeUtf8(lpWideCharStr, cchWideChar, dwFlags, {lpMultiByteStr, cbMultiByte});
    }
    if (IsOtherPage(CodePage))
        return lpDefaultChar || lpUsedDefaultChar
                   ? Fail(ERROR_INVALID_PARAMETER)
                   : EncodeOtherPage(CodePage, dwFlags, lpWideCharStr, cchWideChar,
                                     {lpMultiByteStr, cbMultiByte});
    const CCodePage* pPage = CCodePage::Find(CodePage);
    if (!pPage)
        return Fail(ERROR_INVALID_PARAMETER);
    if (dwFlags & ~(WC_NO_BEST_FIT_CHARS | WC_COMPOSITECHECK))
        return Fail(ERROR_INVALID_FLAGS);
    CEncoder encoder(*pPage, dwFlags, lpDefaultChar);
    int nResult = cchWideChar;
    if (dwFlags == WC_NO_BEST_FIT_CHARS && !pPage->IsDoubleByte() && cbMultiByte >= cchWideChar)
        encoder.EncodeSingleBytes(lpWideCharStr, cchWideChar, lpMultiByteStr);
    else
        nResult = encoder.Encode(lpWideCharStr, cchWideChar, {lpMultiByteStr, cbMultiByte});
    if (lpUsedDefaultChar)
        *lpUsedDefaultChar = encoder.UsedDefault();
    return nResult;
}
