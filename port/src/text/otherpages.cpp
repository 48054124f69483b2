#include "text/otherpages.h"

#include "process/sparememory.h"
#include "process/unload.h"
#include "text/sink.h"
#include "threads/portlock.h"

#include <windows.h>

#include <unicode/ucnv.h>
#include <unicode/utf16.h>

#include <cstddef>
#include <string_view>

namespace
{

// ---- UTF-7 (RFC 2152): units in base 64 between "+" and "-", and what stands for itself ----

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kDirect("\0\t\n\r '(),-./:?", 14);

bool IsDirect(WCHAR c)
{
    const bool bAlphanumeric = (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
    return c < 0x80 && (bAlphanumeric || kDirect.find(static_cast<char>(c)) != kDirect.npos);
}

/// Puts all units up to one that stands for itself; the "-" at the end always stands there.
bool PutBase64(const WCHAR* pSrc, int nSrc, int& i, CSink<char>& sink)
{
    unsigned nBits = 0; // those that wait are the lowest
    int nWaiting = 0;
    const auto PutDigit = [&](unsigned n) { return sink.Put(kBase64[n & 0x3F]); };
    bool bFits = sink.Put('+');
    for (; bFits && i < nSrc && !IsDirect(pSrc[i]) && pSrc[i] != '+'; ++i)
    {
        nBits = nBits << 16 | pSrc[i];
        for (nWaiting += 16; bFits && nWaiting >= 6; nWaiting -= 6)
            bFits = PutDigit(nBits >> (nWaiting - 6));
    }
    if (bFits && nWaiting > 0)
        bFits = PutDigit(nBits << (6 - nWaiting));
    return bFits && sink.Put('-');
}

int EncodeUtf7(const WCHAR* pSrc, int nSrc, CSink<char> sink)
{
    bool bFits = true;
    for (int i = 0; bFits && i < nSrc;)
        if (IsDirect(pSrc[i]))
            bFits = sink.Put(static_cast<char>(pSrc[i++]));
        else if (pSrc[i] == '+')
            bFits = sink.Put("+-", 2) && ++i;
        else
            bFits = PutBase64(pSrc, nSrc, i, sink);
    return bFits ? sink.Result() : Fail(ERROR_INSUFFICIENT_BUFFER);
}

/// The units up to what is no digit; bits that make no unit are dropped.
bool TakeBase64(const char* pSrc, int nSrc, int& i, CSink<WCHAR>& sink)
{
    unsigned nBits = 0;
    int nWaiting = 0;
    for (; i < nSrc; ++i)
    {
        const std::size_t nDigit = kBase64.find(pSrc[i]);
        if (nDigit == kBase64.npos)
            break;
        nBits = nBits << 6 | static_cast<unsigned>(nDigit);
        nWaiting += 6;
        if (nWaiting < 16)
            continue;
        nWaiting -= 16;
        if (!sink.Put(static_cast<WCHAR>(nBits >> nWaiting)))
            return false;
    }
    i += i < nSrc && pSrc[i] == '-';
    return true;
}

int DecodeUtf7(const char* pSrc, int nSrc, CSink<WCHAR> sink)
{
    bool bFits = true;
    for (int i = 0; bFits && i < nSrc;)
    {
        const auto b = static_cast<unsigned char>(pSrc[i++]);
        if (b != '+')
            bFits = sink.Put(b);
        else if (i < nSrc && pSrc[i] == '-')
            bFits = sink.Put(u'+') && ++i;
        else
            bFits = TakeBase64(pSrc, nSrc, i, sink);
    }
    return bFits ? sink.Result() : Fail(ERROR_INSUFFICIENT_BUFFER);
}

// ---- GB 18030, by ICU's converter, character by character ----

UConverter* g_pGb18030 = nullptr; // guarded by g_makingLock

/// The converter as it begins a text; null without memory. Held under g_makingLock.
UConverter* Gb18030()
{
    if (!g_pGb18030 && PortHasSpareMemory())
    {
        UErrorCode status = U_ZERO_ERROR;
        g_pGb18030 = ucnv_open("gb18030", &status);
        ucnv_setToUCallBack(g_pGb18030, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        ucnv_setFromUCallBack(g_pGb18030, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    }
    if (g_pGb18030)
        ucnv_reset(g_pGb18030);
    return g_pGb18030;
}

int DecodeGb18030(const char* pSrc, int nSrc, bool bStrict, CSink<WCHAR> sink)
{
    const CMakingGuard guard(g_makingLock);
    UConverter* const pConverter = Gb18030();
    if (!pConverter)
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    for (const char* const pEnd = pSrc + nSrc; pSrc != pEnd;)
    {
        UErrorCode status = U_ZERO_ERROR;
        const UChar32 c = ucnv_getNextUChar(pConverter, &pSrc, pEnd, &status);
        if (const DWORD dwError = sink.PutCharacter(U_FAILURE(status) ? -1 : c, bStrict))
            return Fail(dwError);
    }
    return sink.Result();
}

int EncodeGb18030(const WCHAR* pSrc, int nSrc, bool bStrict, CSink<char> sink)
{
    const CMakingGuard guard(g_makingLock);
    UConverter* const pConverter = Gb18030();
    if (!pConverter)
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    for (int i = 0; i < nSrc;)
    {
        const int iFirst = i;
        UChar32 c;
        U16_NEXT(pSrc, i, nSrc, c);
        if (bStrict && U_IS_SURROGATE(c))
            return Fail(ERROR_NO_UNICODE_TRANSLATION);
        UErrorCode status = U_ZERO_ERROR;
        char aBytes[8] = "?";
        int n = 1;
        if (!U_IS_SURROGATE(c))
            n = ucnv_fromUChars(pConverter, aBytes, sizeof aBytes, pSrc + iFirst, i - iFirst, &status);
        if (!sink.Put(aBytes, n))
            return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    return sink.Result();
}

} // namespace

void PortFreeConverterAtUnload() noexcept
{
    ucnv_close(g_pGb18030);
    g_pGb18030 = nullptr;
}

int DecodeOtherPage(UINT nCodePage, DWORD dwFlags, const char* pSrc, int nSrc, CSink<WCHAR> sink) noexcept
{
    const bool bUtf7 = nCodePage == kPageUtf7;
    if (dwFlags & ~(bUtf7 ? 0u : DWORD{MB_ERR_INVALID_CHARS}))
        return Fail(ERROR_INVALID_FLAGS);
    return bUtf7 ? DecodeUtf7(pSrc, nSrc, sink) : DecodeGb18030(pSrc, nSrc, dwFlags, sink);
}

int EncodeOtherPage(UINT nCodePage, DWORD dwFlags, const WCHAR* pSrc, int nSrc, CSink<char> sink) noexcept
{
    const bool bUtf7 = nCodePage == kPageUtf7;
    if (dwFlags & ~(bUtf7 ? 0u : DWORD{WC_ERR_INVALID_CHARS}))
        return Fail(ERROR_INVALID_FLAGS);
    return bUtf7 ? EncodeUtf7(pSrc, nSrc, sink) : EncodeGb18030(pSrc, nSrc, dwFlags, sink);
}
