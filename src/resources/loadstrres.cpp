#include "orvcomtypes/loadstrres.h"

#include "orvcomtypes/resourcehandler.h"

#include <cstdint>
#include <string_view>

namespace
{

constexpr unsigned StringsPerBlock = 16;

/// One block of a string table: \p StringsPerBlock texts, each behind its length.
std::basic_string_view<WCHAR> LoadBlock(HINSTANCE hInstance, unsigned nBlock)
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
std::basic_string_view<WCHAR> FindInBlock(std::basic_string_view<WCHAR> block, unsigned nIndex)
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
    const auto text = FindInBlock(LoadBlock(hInstance, uID / StringsPerBlock + 1), uID % StringsPerBlock);
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
