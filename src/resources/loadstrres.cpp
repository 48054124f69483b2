#include "orvcomtypes/loadstrres.h"

#include "core/charclass.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/resourcehandler.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace
{

using TextView = std::basic_string_view<WCHAR>;

constexpr unsigned kStringsPerBlock = 16;

/// One block of a string table: \p kStringsPerBlock texts, each behind its length.
TextView LoadBlock(HINSTANCE hInstance, unsigned nBlock)
{
    constexpr unsigned nLastBlock = 0xFFFF;
    if (nBlock > nLastBlock)
        return {};
    const HRSRC hBlock = FindResourceW(hInstance, MAKEINTRESOURCEW(nBlock), RT_STRING);
    if (hBlock == nullptr)
        return {};
    const HGLOBAL hData = LoadResource(hInstance, hBlock);
    const void* const pData = hData != nullptr ? LockResource(hData) : nullptr;
    if (pData == nullptr)
        return {};
    return {static_cast<const WCHAR*>(pData), SizeofResource(hInstance, hBlock) / sizeof(WCHAR)};
}

/// String \p nIndex of a block; empty when the block ends before it does.
TextView FindInBlock(TextView block, unsigned nIndex)
{
    for (;; --nIndex)
    {
        if (block.empty())
            return {};
        const std::size_t nLength = static_cast<std::uint16_t>(block.front());
        block.remove_prefix(1);
        if (nLength > block.size())
            return {};
        if (nIndex == 0)
            return block.substr(0, nLength);
        block.remove_prefix(nLength);
    }
}

/// The token at \p s: "##", at most nine digits, "##". Returns its end, or null when there is none or its id
/// is 0.
template <class Char>
const Char* ReadToken(const Char* s, unsigned& uID)
{
    constexpr int nMaxDigits = 9;
    const auto isMark = [](const Char* p) { return p[0] == '#' && p[1] == '#'; };
    if (!isMark(s))
        return nullptr;
    const Char* p = s + 2;
    uID = 0;
    for (int i = 0; i < nMaxDigits && OCT::IsDigit(*p); ++i)
        uID = uID * 10 + static_cast<unsigned>(*p++ - '0');
    return isMark(p) && uID != 0 ? p + 2 : nullptr;
}

/// String \p uID of the current language, or \p missing.
TextView LoadText(unsigned uID, TextView missing)
{
    unsigned nLength = 0;
    const WCHAR* const s = LoadStringResImage(nullptr, uID, &nLength);
    return s != nullptr ? TextView(s, nLength) : missing;
}

/// The text that stands for a token of a database text; nothing when \p sSrc begins with no token.
template <class Char>
std::optional<TextView> LoadDBText(const Char* sSrc)
{
    constexpr TextView error = ORVTEXT("Error: Resource string could not be loaded!");
    unsigned uID = 0;
    if (ReadToken(sSrc, uID) == nullptr)
        return std::nullopt;
    return LoadText(uID, error);
}

/// The text that stands for a token; a missing string is reported.
TextView LoadTokenText(unsigned uID)
{
    constexpr TextView missing = ORVTEXT("!Resource does not exist!");
    const TextView text = LoadText(uID, {});
    if (!text.empty())
        return text;
    ORV_REPORT_VALUE("ReplaceTokenW", "sRes == nullptr", uID);
    return missing;
}

} // namespace

const WCHAR* ORVCALL LoadStringResImage(HINSTANCE hInstance, unsigned uID, unsigned* pnLength)
{
    if (pnLength != nullptr)
        *pnLength = 0;
    if (hInstance == nullptr)
        hInstance = CResourceHandler::GetHandle();
    if (hInstance == nullptr)
    {
        ORV_REPORT("LoadStringResImage", "hInstance == nullptr");
        return nullptr;
    }
    const auto text = FindInBlock(LoadBlock(hInstance, uID / kStringsPerBlock + 1), uID % kStringsPerBlock);
    if (text.empty())
        return nullptr;
    if (pnLength != nullptr)
        *pnLength = static_cast<unsigned>(text.size());
    return text.data();
}

BSTR ORVCALL LoadStringRes(HINSTANCE hInstance, unsigned uID, unsigned* pnLength)
{
    unsigned nLength = 0;
    const WCHAR* const s = LoadStringResImage(hInstance, uID, &nLength);
    if (pnLength != nullptr)
        *pnLength = nLength;
    return s != nullptr ? SysAllocStringLen(s, nLength) : nullptr;
}

bool ORVCALL LoadDBStringResW(const WCHAR* sSrc, WCHAR* sDest, unsigned nDestChars)
{
    if (sSrc == nullptr || sDest == nullptr || nDestChars == 0)
        return false;
    const auto text = LoadDBText(sSrc);
    if (!text)
        return false;
    // Deliberately bounded by the text alone.
    *std::copy(text->begin(), text->end(), sDest) = 0;
    return true;
}

bool ORVCALL LoadDBStringResA(const char* sSrc, char* sDest, unsigned nDestChars)
{
    if (sSrc == nullptr || sDest == nullptr || nDestChars == 0)
        return false;
    const auto text = LoadDBText(sSrc);
    if (!text)
        return false;
    const auto nUnits = static_cast<int>(text->size());
    const int nBytes = WideCharToMultiByte(CP_ACP, 0, text->data(), nUnits, nullptr, 0, nullptr, nullptr);
    // The source may be the target, so the text is converted beside it.
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[static_cast<std::size_t>(nBytes) + 1]);
    if (buffer == nullptr)
    {
        ORV_REPORT("LoadDBStringResA", "sConversionBuffer.GetSize () < reguiredLen");
        return false;
    }
    WideCharToMultiByte(CP_ACP, 0, text->data(), nUnits, buffer.get(), nBytes, nullptr, nullptr);
    *std::copy_n(buffer.get(), nBytes, sDest) = 0;
    return true;
}

const WCHAR* ORVCALL ReplaceTokenW(const WCHAR* sSrc, unsigned* pnLength, WCHAR* sBuffer,
                                   unsigned nBufferChars)
{
    if (sSrc == nullptr || sBuffer == nullptr)
    {
        ORV_REPORT("ReplaceTokenW", "sSrc == nullptr || sBuffer == nullptr");
        return nullptr;
    }
    unsigned nUsed = 0;
    for (const WCHAR* s = sSrc; *s != 0;)
    {
        unsigned uID = 0;
        const WCHAR* const pEnd = ReadToken(s, uID);
        if (pEnd == nullptr)
        {
            if (std::uint64_t{nUsed} + 1 >= nBufferChars)
                break;
            sBuffer[nUsed++] = *s++;
            continue;
        }
        const TextView text = LoadTokenText(uID);
        if (s == sSrc && *pEnd == 0)
        {
            if (pnLength != nullptr)
                *pnLength = static_cast<unsigned>(text.size());
            return text.data();
        }
        if (text.size() < nBufferChars - nUsed)
        {
            std::copy(text.begin(), text.end(), sBuffer + nUsed);
            nUsed += static_cast<unsigned>(text.size());
        }
        s = pEnd;
    }
    if (nBufferChars != 0)
        sBuffer[nUsed] = 0;
    if (pnLength != nullptr)
        *pnLength = nUsed;
    return sBuffer;
}
