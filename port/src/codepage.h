// One code page of single and double bytes as tables. They are made once from ICU's mappings, corrected where
// Windows maps otherwise, and never change or go away afterwards.
#pragma once

#include <windows.h>

#include <array>
#include <memory>
#include <utility>
#include <vector>

/// Whether the number means UTF-8, which has no tables here; the ANSI code page may be UTF-8.
inline bool IsUtf8(UINT nCodePage) noexcept
{
    return (nCodePage == CP_ACP || nCodePage == CP_THREAD_ACP ? GetACP() : nCodePage) == CP_UTF8;
}

class CCodePage
{
public:
    /// The page of that number (0 and 3: the ANSI code page), or null for one that is not known. Lock-free.
    static const CCodePage* Find(UINT nCodePage) noexcept;

    CCodePage(UINT nCodePage, const char* sIcuName);

    bool IsDoubleByte() const { return m_pDouble != nullptr; }
    /// Whether the bytes from A0 on are Latin-1, so that only 80 to 9F differ from it.
    bool IsLatin() const { return m_bLatin; }
    bool IsLead(unsigned char b) const { return m_pDouble && m_aLead[b]; }

    WCHAR DecodeSingle(unsigned char b) const { return m_aSingle[b]; }
    WCHAR DecodeDouble(unsigned char bLead, unsigned char bTrail) const
    {
        return m_pDouble[static_cast<std::size_t>(bLead) << 8 | bTrail];
    }
    /// Whether the bytes mean a character: undefined ones decode to a default character or to one of private
    /// use.
    bool IsDefined(unsigned char b) const
    {
        const WCHAR c = m_aSingle[b];
        return c < 0xE000 || c > 0xF8FF ? c != m_cDefaultWide || m_aExact[c] == b : false;
    }
    bool IsDefined(unsigned char bLead, unsigned char bTrail) const
    {
        const WCHAR c = DecodeDouble(bLead, bTrail);
        return c != m_cDefaultWide || m_aExact[c] == (bLead << 8 | bTrail);
    }

    /// The one or two bytes (lead in the high byte) of a character that has an exact counterpart, else 0.
    /// U+0000 gives 0 as well.
    WORD EncodeExact(WCHAR c) const { return m_aExact[c]; }
    /// The same with look-alikes.
    WORD EncodeBestFit(WCHAR c) const;

private:
    void ReadIcu(const char* sIcuName);
    void ReadDouble(struct UConverter* pConverter);
    void ReadEncodings(struct UConverter* pConverter);
    void CorrectSingles(UINT nCodePage);
    WCHAR Decode(WORD nBytes) const { return nBytes > 0xFF ? m_pDouble[nBytes] : m_aSingle[nBytes]; }
    void SetSingle(unsigned char b, WCHAR c);
    WORD LookAlike(WCHAR c) const;

    std::array<WCHAR, 256> m_aSingle{};
    std::array<bool, 256> m_aLead{};
    std::unique_ptr<WCHAR[]> m_pDouble;
    std::array<WORD, 65536> m_aExact{};
    std::vector<std::pair<WCHAR, WORD>> m_vFallbacks; // sorted
    WCHAR m_cDefaultWide = u'?';
    bool m_bLatin = true;
};
