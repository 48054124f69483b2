// The converter objects of strconvert.h.
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/strconvert.h"
#include "orvcomtypes/stringutils.h"

#include "orvcomtypes/octalloc.h"
#include "strings/textlen.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace
{

using OCT::TextLength;

// The buffer of a converter object: inline at first, then on the heap.
template <class Unit>
struct CBuffer
{
    Unit* m_pInline;
    unsigned m_nInline;
    Unit*& m_p;
    unsigned& m_nCapacity;

    bool IsInline() const { return m_p == m_pInline; }

    void Free()
    {
        if (!IsInline())
            OCTFree(m_p);
        m_p = m_pInline;
        m_nCapacity = m_nInline;
        *m_p = 0;
    }

    // Room for two units for each of the source and a terminator; false, and an empty inline buffer, without
    // memory.
    bool Reserve(unsigned n, const char* sFunction)
    {
        const std::uint64_t nNeeded = 2 * std::uint64_t{n} + 1;
        if (nNeeded <= m_nCapacity)
            return true;
        const std::uint64_t nNew = (2 * std::uint64_t{n} + 1024) / 1024 * 1024;
        const std::uint64_t nBytes = nNew * sizeof(Unit);
        void* p = nullptr;
        if (nBytes <= UINT32_MAX)
            p = IsInline() ? OCTMalloc(static_cast<std::uint32_t>(nBytes))
                           : OCTRealloc(m_p, static_cast<std::uint32_t>(nBytes));
        if (p == nullptr)
        {
            ORV_REPORT_FROM("orvstr", sFunction, "m_p == nullptr", 0);
            Free();
            return false;
        }
        m_p = static_cast<Unit*>(p);
        m_nCapacity = static_cast<unsigned>(nNew);
        return true;
    }
};

// Converts \p n units of \p s, or all of them when \p n is 0, and returns the buffer, or null without memory.
template <class Src, class Dest, class Convert>
const Dest* Take(const Src* s, unsigned n, CBuffer<Dest> buffer, const char* sFunction, Convert convert)
{
    *buffer.m_p = 0;
    if (n == 0)
    {
        const std::size_t nLength = s == nullptr ? 0 : TextLength(s);
        if (nLength == 0)
            return buffer.m_p;
        n = nLength > UINT32_MAX ? UINT32_MAX : static_cast<unsigned>(nLength);
    }
    if (!buffer.Reserve(n, sFunction))
        return nullptr;
    convert(s, s == nullptr ? nullptr : s + TextLength(s, n), buffer.m_p, buffer.m_nCapacity);
    return buffer.m_p;
}

} // namespace

CToAnsi::CToAnsi(const WCHAR* s)
{
    m_sz[0] = 0;
    if (s != nullptr && *s != 0)
        UnicodeToANSI(s, m_sz, sizeof m_sz, CP_ACP);
}

CToUTF8::CToUTF8(const WCHAR* s, unsigned n)
{
    Set(s, n);
}

CToUTF8::CToUTF8(const char* s, unsigned n)
{
    Set(s, n);
}

CToUTF8::~CToUTF8()
{
    if (m_p != m_sz)
        OCTFree(m_p);
}

const char* CToUTF8::Set(const WCHAR* s, unsigned n)
{
    return Take(s, n, CBuffer<char>{m_sz, kInline, m_p, m_nCapacity}, "CToUTF8::Set", UnicodeToUTF8Ex);
}

const char* CToUTF8::Set(const char* s, unsigned n)
{
    const auto convert = [](const char* pFrom, const char* pTo, char* pDest, unsigned cbDest) {
        ANSIToUTF8Ex(pFrom, pTo, pDest, cbDest, CP_ACP);
    };
    return Take(s, n, CBuffer<char>{m_sz, kInline, m_p, m_nCapacity}, "CToUTF8::Set", convert);
}

CUtf8ToWide::CUtf8ToWide(const char* s, unsigned n)
{
    Set(s, n);
}

CUtf8ToWide::~CUtf8ToWide()
{
    if (m_p != m_sz)
        OCTFree(m_p);
}

const WCHAR* CUtf8ToWide::Set(const char* s, unsigned n)
{
    return Take(s, n, CBuffer<WCHAR>{m_sz, kInline, m_p, m_nCapacity}, "CUtf8ToWide::Set", UTF8ToUnicodeEx);
}
