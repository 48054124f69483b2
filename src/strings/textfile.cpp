// GetTextFileContents of stringutils.h: what encoding the bytes of a text file are in, and their text.
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/stringutils.h"

#include "strings/ansi.h"
#include "strings/textlen.h"
#include "strings/utf8.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace
{

bool StartsWith(const char* pData, std::size_t cb, const char* sMark)
{
    return cb >= std::strlen(sMark) && !std::memcmp(pData, sMark, std::strlen(sMark));
}

bool LooksLikeUtf16(const char* pData, std::size_t cb)
{
    return cb % 2 == 0 && static_cast<std::size_t>(std::count(pData, pData + cb, '\0')) > cb / 3;
}

// Deliberate: every byte above 0x7F passes as the rest of a sequence, and none is refused as its beginning.
bool LooksLikeUtf8(const char* pData, std::size_t cb)
{
    for (std::size_t i = 0; i < cb;)
    {
        const auto bLead = static_cast<unsigned char>(pData[i]);
        const std::size_t nLength = bLead < 0x80 ? 1 : bLead < 0xE0 ? 2 : bLead < 0xF0 ? 3 : 4;
        if (nLength > cb - i)
            return false;
        for (std::size_t iRest = 1; iRest < nLength; ++iRest)
            if (pData[i + iRest] >= 0)
                return false;
        i += nLength;
    }
    return true;
}

// Whole units; a zero unit at the end is the terminator and does not count.
std::size_t CopyUtf16(const char* pData, std::size_t cb, WCHAR* pDest)
{
    const std::size_t n = cb / sizeof(WCHAR);
    std::memcpy(pDest, pData, n * sizeof(WCHAR));
    return n && pDest[n - 1] == 0 ? n - 1 : n;
}

std::size_t ConvertFile(const char* pData, std::size_t cb, WCHAR* pDest)
{
    if (StartsWith(pData, cb, "\xFF\xFE"))
        return CopyUtf16(pData + 2, cb - 2, pDest);
    if (LooksLikeUtf16(pData, cb))
        return CopyUtf16(pData, cb, pDest);
    if (StartsWith(pData, cb, "\xEF\xBB\xBF"))
        return OCT::Utf8ToWide(pData + 3, OCT::TextLength(pData + 3, cb - 3), pDest, cb);
    const std::size_t nText = OCT::TextLength(pData, cb);
    return LooksLikeUtf8(pData, cb) ? OCT::Utf8ToWide(pData, nText, pDest, cb)
                                    : OCT::AnsiToWide(pData, nText, pDest, cb, CP_ACP);
}

} // namespace

unsigned ORVCALL GetTextFileContents(const char* pszFileData, unsigned cbData, WCHAR* pwszConverted)
{
    if (pszFileData == nullptr || pwszConverted == nullptr)
    {
        ORV_REPORT_FROM("stringutils", "GetTextFileContents",
                        "pszFileData == nullptr || pwszConverted == nullptr", 0);
        return 0;
    }
    const std::size_t n = ConvertFile(pszFileData, cbData ? cbData : std::strlen(pszFileData), pwszConverted);
    pwszConverted[n] = 0;
    return static_cast<unsigned>(n);
}
