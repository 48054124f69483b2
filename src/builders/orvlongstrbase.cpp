#include "orvcomtypes/orvlongstrbase.h"

#include "builders/longstrappend.h" // IWYU pragma: keep (templates)
#include "builders/longstrvariant.h"
#include "core/numtext.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/octalloc.h"
#include "orvcomtypes/orvstralloc.h"
#include "strings/ansi.h"
#include "strings/strbuffer.h"
#include "strings/textlen.h"

#include <windows.h>
#include <oleauto.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace
{

constexpr unsigned kMinReserve = 2000;
constexpr unsigned kMaxInt32Text = 16;

/// The block of every empty narrow builder; never written, so it may be constant.
struct CEmptyBlock
{
    CLongStrWrite<char> m_block;
    char m_sText[1];
};
constinit const CEmptyBlock g_EmptyBlock = {{1, const_cast<char*>(g_EmptyBlock.m_sText)}, {0}};

char* EmptyText() noexcept
{
    return const_cast<char*>(g_EmptyBlock.m_sText);
}

} // namespace

// ---- What wide builders share ----

COrvLongStrBase& COrvLongStrBase::operator=(const COrvLongStrBase& other)
{
    OCT::AddStrRef(other.m_pStr);
    OCT::ReleaseStrRef(std::exchange(m_pStr, other.m_pStr));
    return *this;
}

void COrvLongStrBase::Clear()
{
    OCT::ReleaseStrRef(std::exchange(m_pStr, ORVS_GetDefaultEmptyString()));
}

/// Moves the text, as far as it fits, into a new buffer for \p nLen units; returns the buffer that held it.
COrvLongStrBase COrvLongStrBase::Grow(std::uint64_t nLen)
{
    WCHAR* const pNew = OCT::NewStr(nLen);
    if (pNew == nullptr)
        LQThrowMemory(LQ_SRC_LOCATION);
    const auto nKept = static_cast<std::size_t>(std::min<std::uint64_t>(Length(), nLen));
    OCT::CopyUnits(pNew, m_pStr, nKept);
    OCT::EndStr(pNew, nKept);
    return COrvLongStrBase(std::exchange(m_pStr, pNew));
}

/// Makes sure that \p nLen units can be written in place; a text that is longer is cut when it has to move.
void COrvLongStrBase::Reserve(std::uint64_t nLen)
{
    if (!HasRoom(nLen))
        Grow(nLen);
}

// ---- COrvLongStr ----

COrvLongStr::COrvLongStr(unsigned nReserve)
{
    if (nReserve != 0)
        SetSize(nReserve);
}

void COrvLongStr::SetSize(unsigned n)
{
    if (n == 0)
        return Clear();
    Reserve(std::max({n, kMinReserve, Length()}));
}

void COrvLongStr::Append(const WCHAR* s, unsigned nLen)
{
    AppendText<kMinReserve>(s, nLen);
}

void COrvLongStr::Append(const char* s, unsigned nLen)
{
    // No byte becomes more than one unit.
    if (const std::size_t n = OCT::SourceLength(s, nLen); n != 0)
        AppendAtMost<kMinReserve>(n,
                                  [=](WCHAR* p) { return p + OCT::AnsiToWide(s, n, p, n, CP_THREAD_ACP); });
}

void COrvLongStr::Append(WCHAR c)
{
    AppendUnit<kMinReserve>(c);
}

void COrvLongStr::Append(int n)
{
    AppendDecimal<kMinReserve>(n);
}

void COrvLongStr::Append(unsigned n)
{
    AppendDecimal<kMinReserve>(n);
}

void COrvLongStr::Append(std::int64_t n)
{
    AppendDecimal<kMinReserve>(n);
}

void COrvLongStr::Append(std::uint64_t n)
{
    AppendDecimal<kMinReserve>(n);
}

void COrvLongStr::Append(double d, int nDigits)
{
    AppendDouble<kMinReserve>(d, nDigits);
}

void COrvLongStr::Append(const DECIMAL& dec)
{
    if (OCT::AppendSystemText(*this, dec) == E_OUTOFMEMORY)
        LQThrowMemory(LQ_SRC_LOCATION);
}

void COrvLongStr::Append(const VARIANT& var)
{
    OCT::AppendVariant(*this, var);
}

void COrvLongStr::AppendHex(unsigned n)
{
    AppendExactly<kMinReserve>(8, [=](WCHAR* p) { return OCT::PutHex(p, n, 8); });
}

void COrvLongStr::AppendHex(std::uint64_t n)
{
    AppendExactly<kMinReserve>(16, [=](WCHAR* p) { return OCT::PutHex(p, n, 16); });
}

void COrvLongStr::AppendHex(WCHAR c)
{
    AppendExactly<kMinReserve>(2, [=](WCHAR* p) { return OCT::PutHex(p, unsigned{c}, 2); });
}

COrvLongStr& COrvLongStr::operator=(const WCHAR* s)
{
    return *this = COrvLongStr() + s;
}

COrvLongStr& COrvLongStr::operator=(const char* s)
{
    return *this = COrvLongStr() + s;
}

COrvLongStr& COrvLongStr::operator=(WCHAR c)
{
    return *this = COrvLongStr() + c;
}

// ---- COrvLongAStr ----

COrvLongAStr::COrvLongAStr(unsigned nReserve) : m_pStr(EmptyText())
{
    SetSize(nReserve);
}

COrvLongAStr::COrvLongAStr(const COrvLongAStr& str) : m_pStr(EmptyText())
{
    Append(str, str.Length());
}

COrvLongAStr::COrvLongAStr(COrvLongAStr&& str) noexcept : m_pStr(std::exchange(str.m_pStr, EmptyText())) {}

COrvLongAStr::~COrvLongAStr()
{
    if (Block().m_nCapacity > 1)
        OCTFree(&Block());
}

COrvLongAStr& COrvLongAStr::operator=(const COrvLongAStr& str)
{
    return *this = static_cast<const char*>(str);
}

COrvLongAStr& COrvLongAStr::operator=(COrvLongAStr&& str) noexcept
{
    std::swap(m_pStr, str.m_pStr);
    return *this;
}

void COrvLongAStr::Clear() noexcept
{
    if (Block().m_nCapacity > 1)
        EndAt(m_pStr);
}

void COrvLongAStr::SetSize(unsigned n)
{
    if (n == 0)
        Clear();
    else if (n > Length())
        Tail(n - Length());
}

/// Where the next \p nMore bytes go.
char* COrvLongAStr::Tail(std::uint64_t nMore)
{
    const CLongStrWrite<char>& block = Block();
    if (nMore >= block.m_nCapacity - static_cast<std::size_t>(block.m_pEnd - m_pStr)) [[unlikely]]
        Grow(nMore);
    return Block().m_pEnd;
}

void COrvLongAStr::Grow(std::uint64_t nMore)
{
    constexpr unsigned nStep = 4096;
    constexpr unsigned nSlack = 1024;
    const unsigned nLen = Length();
    const std::uint64_t nBytes = (nMore + nSlack + nLen) / nStep * nStep + nStep;
    const bool bOwned = Block().m_nCapacity > 1;
    void* pNew = nullptr;
    if (nBytes <= UINT32_MAX)
        pNew = bOwned ? OCTRealloc(&Block(), static_cast<std::uint32_t>(nBytes))
                      : OCTMalloc(static_cast<std::uint32_t>(nBytes));
    if (pNew == nullptr)
        LQThrowMemory(LQ_SRC_LOCATION);
    auto* const pBlock = static_cast<CLongStrWrite<char>*>(pNew);
    pBlock->m_nCapacity = static_cast<std::uint32_t>(nBytes - sizeof(CLongStrWrite<char>));
    m_pStr = reinterpret_cast<char*>(pBlock + 1);
    EndAt(m_pStr + nLen);
}

void COrvLongAStr::EndAt(char* pEnd) noexcept
{
    *pEnd = 0;
    Block().m_pEnd = pEnd;
}

void COrvLongAStr::Append(const char* s, unsigned nLen)
{
    const std::size_t n = OCT::SourceLength(s, nLen);
    if (n == 0)
        return;
    // The text may lie in the block, which moves when it grows.
    const auto nOffset = reinterpret_cast<std::uintptr_t>(s) - reinterpret_cast<std::uintptr_t>(m_pStr);
    const bool bInside = nOffset < Length();
    char* const p = Tail(n);
    std::memcpy(p, bInside ? m_pStr + nOffset : s, n);
    EndAt(p + n);
}

/// Converts in pieces, so that the length of the result is known before the block grows by it.
void COrvLongAStr::Append(const WCHAR* s, unsigned nLen)
{
    constexpr std::size_t nPiece = 256;
    constexpr std::size_t nMaxBytes = 4; // of one unit, in any code page
    const unsigned nBefore = Length();
    try
    {
        for (std::size_t nRest = OCT::SourceLength(s, nLen); nRest != 0;)
        {
            std::size_t n = std::min(nRest, nPiece);
            if (n < nRest && (s[n - 1] & 0xFC00) == 0xD800)
                --n; // keep a pair together
            char sBytes[nMaxBytes * nPiece];
            const std::size_t nBytes = OCT::WideToAnsi(s, n, sBytes, sizeof sBytes, CP_THREAD_ACP);
            if (nBytes != 0)
                EndAt(std::copy_n(sBytes, nBytes, Tail(nBytes)));
            s += n;
            nRest -= n;
        }
    }
    catch (...)
    {
        if (Length() != nBefore)
            EndAt(m_pStr + nBefore);
        throw;
    }
}

void COrvLongAStr::Append(char c)
{
    if (c == 0)
        return;
    char* const p = Tail(1);
    *p = c;
    EndAt(p + 1);
}

void COrvLongAStr::Append(int n)
{
    EndAt(OCT::PutDecimal(Tail(kMaxInt32Text), n));
}

void COrvLongAStr::Append(unsigned n)
{
    EndAt(OCT::PutDecimal(Tail(kMaxInt32Text), n));
}

void COrvLongAStr::Append(std::int64_t n)
{
    EndAt(OCT::PutDecimal(Tail(OCT::kMaxIntText), n));
}

void COrvLongAStr::Append(std::uint64_t n)
{
    EndAt(OCT::PutDecimal(Tail(OCT::kMaxIntText), n));
}

void COrvLongAStr::Append(double d, int nDigits)
{
    EndAt(OCT::PutDouble(Tail(OCT::kMaxDoubleText), d, nDigits));
}

void COrvLongAStr::Append(const DECIMAL& dec)
{
    if (OCT::AppendSystemText(*this, dec) == E_OUTOFMEMORY)
        LQThrowMemory(LQ_SRC_LOCATION);
}

void COrvLongAStr::Append(const VARIANT& var)
{
    OCT::AppendVariant(*this, var);
}

void COrvLongAStr::AppendHex(unsigned n)
{
    EndAt(OCT::PutHex(Tail(8), n, 8));
}

void COrvLongAStr::AppendHex(std::uint64_t n)
{
    EndAt(OCT::PutHex(Tail(16), n, 16));
}

void COrvLongAStr::AppendHex(char c)
{
    EndAt(OCT::PutHex(Tail(2), static_cast<unsigned>(static_cast<unsigned char>(c)), 2));
}

/// Keeps the block. The text may lie in it.
COrvLongAStr& COrvLongAStr::operator=(const char* s)
{
    const std::size_t n = OCT::SourceLength(s, 0);
    if (n == 0)
    {
        Clear();
        return *this;
    }
    if (n > Length())
        Tail(n - Length());
    std::memmove(m_pStr, s, n);
    EndAt(m_pStr + n);
    return *this;
}

COrvLongAStr& COrvLongAStr::operator=(const WCHAR* s)
{
    return *this = static_cast<const char*>(COrvLongAStr() + s);
}

COrvLongAStr& COrvLongAStr::operator=(char c)
{
    const char s[] = {c, 0};
    return *this = s;
}
