// One code page of single and double bytes as tables. They are made once from ICU's mappings, corrected where
// Windows maps otherwise, and never change afterwards. They lie in the module itself: threads use them while
// the process exits, and an unloaded module leaves nothing behind.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <span>

/// Whether the number means UTF-8, which has no tables here; the ANSI code page may be UTF-8.
inline bool IsUtf8(UINT nCodePage) noexcept
{
    return (nCodePage == CP_ACP || nCodePage == CP_THREAD_ACP ? GetACP() : nCodePage) == CP_UTF8;
}

/// ICU's table of composed characters; null without memory.
const struct UNormalizer2* Composer() noexcept;

class CCodePage
{
public:
    /// The page of that number (0 and 3: the ANSI code page), or null for one that is not known. Lock-free
    /// once the page is there.
    static const CCodePage* Find(UINT nCodePage) noexcept;
    static bool IsKnown(UINT nCodePage) noexcept;

    CCodePage(UINT nCodePage, const char* sIcuName);

    bool IsDoubleByte() const { return m_pDouble != nullptr; }
    /// Whether the bytes from A0 on are Latin-1, so that only 80 to 9F differ from it.
    bool IsLatin() const { return m_bLatin; }
    bool IsLead(unsigned char b) const { return m_pDouble && m_aLead[b]; }

    WCHAR DecodeSingle(unsigned char b) const { return m_aSingle[b]; }
    WCHAR DecodeDouble(unsigned char bLead, unsigned char bTrail) const
    {
        return m_pDouble[(static_cast<std::size_t>(bLead) << 8 | bTrail) - kFirstPair];
    }
    /// Whether the bytes mean a character: undefined ones decode to a default character or to one of private
    /// use.
    bool IsDefined(unsigned char b) const
    {
        const WCHAR c = m_aSingle[b];
        return c < 0xE000 || c > 0xF8FF ? c != m_cDefaultWide || EncodeExact(c) == b : false;
    }
    bool IsDefined(unsigned char bLead, unsigned char bTrail) const
    {
        const WCHAR c = DecodeDouble(bLead, bTrail);
        return c != m_cDefaultWide || EncodeExact(c) == (bLead << 8 | bTrail);
    }

    /// The one or two bytes (lead in the high byte) of a character that has an exact counterpart, else 0.
    /// U+0000 gives 0 as well.
    WORD EncodeExact(WCHAR c) const { return m_apExact[c >> 8][c & 0xFF]; }
    /// The same with look-alikes.
    WORD EncodeBestFit(WCHAR c) const;

private:
    /// A character and the bytes that stand in for it.
    struct CFallback
    {
        WCHAR m_cFrom;
        WORD m_nBytes;
    };

    static constexpr std::size_t kFirstPair = 0x8000;

    static const CCodePage* FindKnown(UINT nCodePage);
    void ReadIcu(const char* sIcuName);
    void ReadDouble(struct UConverter* pConverter);
    void ReadJohab(const CCodePage& page949);
    void ReadEncodings(struct UConverter* pConverter);
    void CorrectSingles(UINT nCodePage);
    WCHAR Decode(WORD nBytes) const
    {
        return nBytes > 0xFF ? m_pDouble[nBytes - kFirstPair] : m_aSingle[nBytes];
    }
    void SetExact(WCHAR c, WORD nBytes);
    void SetSingle(unsigned char b, WCHAR c);
    WORD LookAlike(WCHAR c) const;

    std::array<WCHAR, 256> m_aSingle{};
    std::array<bool, 256> m_aLead{};
    WCHAR* m_pDouble = nullptr;
    std::array<WORD*, 256> m_apExact; ///< by the upper byte of the character
    std::span<CFallback> m_fallbacks; ///< sorted
    WCHAR m_cDefaultWide = u'?';
    bool m_bLatin = true;
};
