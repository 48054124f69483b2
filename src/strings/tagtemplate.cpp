// The templates of COrvStr: inserts by position, and tags that a client fills.
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include "core/charclass.h"
#include "strings/inserts.h"
#include "strings/textlen.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace
{

using OCT::IsSpace;
using OCT::TextView;

// Reports name the class's source, not this part of it.
constexpr const char* kSourceName = "orvstr";

/// The text that grows; what does not fit is dropped.
class COutput
{
public:
    std::size_t Length() const { return m_nLength; }

    void Append(WCHAR c)
    {
        if (m_nLength < kMaxLength)
            m_sText[m_nLength++] = c;
    }
    void Append(TextView text)
    {
        for (const WCHAR c : text)
            Append(c);
    }
    void CutTo(std::size_t nLength) { m_nLength = nLength; }
    void TrimEnd()
    {
        while (m_nLength != 0 && IsSpace(m_sText[m_nLength - 1]))
            --m_nLength;
    }

    /// The finished text: no white space at its ends, runs of blanks as one.
    const WCHAR* Finish()
    {
        TrimEnd();
        WCHAR* const pStart =
            std::find_if_not(m_sText, m_sText + m_nLength, [](WCHAR c) { return IsSpace(c); });
        *std::unique(pStart, m_sText + m_nLength,
                     [](WCHAR a, WCHAR b) { return a == ORVTEXT(' ') && b == ORVTEXT(' '); }) = 0;
        return pStart;
    }

private:
    static constexpr std::size_t kMaxLength = 1023;

    std::size_t m_nLength = 0;
    WCHAR m_sText[kMaxLength + 1];
};

/// Places in the output that it can be cut back to.
class CBookmarks
{
public:
    void Set(unsigned iMark, std::size_t nAt) { m_marks[iMark] = {.m_bSet = true, .m_nAt = nAt}; }
    /// The next CutOutput cuts at a bookmark that is set.
    void Cut(unsigned iMark) { m_marks[iMark].m_bCut = m_marks[iMark].m_bSet; }
    void CutUnlessFilled(unsigned iMark) { m_marks[iMark].m_bCutUnlessFilled = m_marks[iMark].m_bSet; }
    /// A value with text was there after all bookmarks that are set.
    void CountValue()
    {
        for (CMark& mark : m_marks)
            mark.m_bFilled = true;
    }

    void CutOutput(COutput& output)
    {
        for (CMark& mark : m_marks)
        {
            if (mark.m_nAt > output.Length())
                mark = CMark();
            if (!mark.m_bCut && (!mark.m_bCutUnlessFilled || mark.m_bFilled))
                continue;
            output.CutTo(mark.m_nAt);
            mark.m_bCut = mark.m_bCutUnlessFilled = false;
        }
    }

private:
    struct CMark
    {
        bool m_bSet = false;
        bool m_bCut = false;
        bool m_bCutUnlessFilled = false;
        bool m_bFilled = false;
        std::size_t m_nAt = 0;
    };

    CMark m_marks[10];
};

enum class TagKind
{
    Insert,
    IfFilled,
    IfEmpty,
    Close
};

/// What stands between "<" and ">".
struct CTag
{
    TagKind m_kind = TagKind::Insert;
    bool m_bBlank = false;
    bool m_bTrim = false;
    std::size_t m_nNameLength = 0;
    WCHAR m_sName[9 + 1] = {};

    /// Then what follows of the name does not count.
    bool IsNameFull() const { return m_nNameLength + 1 == std::size(m_sName); }

    /// Only the first kind that is named counts.
    void SetKind(TagKind kind)
    {
        if (m_kind == TagKind::Insert)
            m_kind = kind;
    }
};

/// One run through a template.
class CTagTemplate
{
public:
    CTagTemplate(const WCHAR* s, COrvStr::TagClient pfnClient, void* pClientData)
        : m_s(s), m_pfnClient(pfnClient), m_pClientData(pClientData)
    {
    }

    const WCHAR* Run();

private:
    void RunTag();
    void ReadModifiers(CTag& tag);
    void ReadBookmark();
    void ReadName(CTag& tag);
    void AskClient(const CTag& tag);
    void SkipSection(const CTag& tag);

    const WCHAR* m_s; ///< what is still to be read
    COrvStr::TagClient m_pfnClient;
    void* m_pClientData;
    COutput m_output;
    CBookmarks m_bookmarks;
};

WCHAR Unescaped(WCHAR c)
{
    switch (c)
    {
    case ORVTEXT('n'):
    case ORVTEXT('N'): return ORVTEXT('\n');
    case ORVTEXT('r'):
    case ORVTEXT('R'): return ORVTEXT('\r');
    case ORVTEXT('t'):
    case ORVTEXT('T'): return ORVTEXT('\t');
    default: return c;
    }
}

const WCHAR* CTagTemplate::Run()
{
    while (*m_s != 0)
    {
        const WCHAR c = *m_s++;
        if (c == ORVTEXT('<'))
            RunTag();
        else if (c != ORVTEXT('\\'))
            m_output.Append(c);
        else if (*m_s != 0)
            m_output.Append(Unescaped(*m_s++));
    }
    return m_output.Finish();
}

void CTagTemplate::RunTag()
{
    CTag tag;
    ReadModifiers(tag);
    ReadName(tag);
    if (*m_s == 0)
        return; // without ">" it is no tag
    ++m_s;
    if (tag.m_kind != TagKind::Close && tag.m_nNameLength != 0)
        AskClient(tag);
    if (tag.m_bTrim)
        m_output.TrimEnd();
    m_bookmarks.CutOutput(m_output);
}

void CTagTemplate::ReadModifiers(CTag& tag)
{
    for (;; ++m_s)
    {
        switch (*m_s)
        {
        case ORVTEXT('+'): tag.SetKind(TagKind::IfFilled); break;
        case ORVTEXT('*'): tag.SetKind(TagKind::IfEmpty); break;
        case ORVTEXT('-'): tag.SetKind(TagKind::Close); break;
        case ORVTEXT('&'): tag.m_bBlank = true; break;
        case ORVTEXT('$'): tag.m_bTrim = true; break;
        case ORVTEXT('#'): ReadBookmark(); break;
        default:
            if (!IsSpace(*m_s))
                return;
        }
    }
}

/// Reads up to the last character of "#", "#d" or "#e" and the digit; without a digit nothing is done.
void CTagTemplate::ReadBookmark()
{
    const WCHAR cAction = m_s[1];
    const bool bCut = cAction == ORVTEXT('d') || cAction == ORVTEXT('e');
    m_s += bCut ? 1 : 0;
    if (!OCT::IsDigit(m_s[1]))
        return;
    const auto iMark = static_cast<unsigned>(*++m_s - ORVTEXT('0'));
    if (!bCut)
        m_bookmarks.Set(iMark, m_output.Length());
    else if (cAction == ORVTEXT('d'))
        m_bookmarks.Cut(iMark);
    else
        m_bookmarks.CutUnlessFilled(iMark);
}

void CTagTemplate::ReadName(CTag& tag)
{
    for (; *m_s != 0 && *m_s != ORVTEXT('>'); ++m_s)
        if (!IsSpace(*m_s) && !tag.IsNameFull())
            tag.m_sName[tag.m_nNameLength++] = *m_s;
}

void CTagTemplate::AskClient(const CTag& tag)
{
    COrvStr sValue;
    m_pfnClient(tag.m_sName, m_pClientData, sValue);
    const bool bFilled = !sValue.IsEmpty();
    if (bFilled)
        m_bookmarks.CountValue();
    if (tag.m_kind == (bFilled ? TagKind::IfEmpty : TagKind::IfFilled))
        return SkipSection(tag);
    if (tag.m_kind != TagKind::Insert || !bFilled)
        return;
    if (tag.m_bBlank)
        m_output.Append(ORVTEXT(' '));
    m_output.Append(TextView(sValue, sValue.GetLength()));
}

/// The rest of \p s when it begins with \p start, else null.
const WCHAR* SkipStart(const WCHAR* s, TextView start)
{
    for (const WCHAR c : start)
        if (*s++ != c)
            return nullptr;
    return s;
}

/// Goes behind "<-name>", or to the end.
void CTagTemplate::SkipSection(const CTag& tag)
{
    for (; *m_s != 0; ++m_s)
    {
        if (*m_s == ORVTEXT('\\') && m_s[1] != 0)
        {
            ++m_s;
            continue;
        }
        const WCHAR* s = SkipStart(m_s, ORVTEXT("<-"));
        s = s != nullptr ? SkipStart(s, {tag.m_sName, tag.m_nNameLength}) : nullptr;
        if (s == nullptr)
            continue;
        while (tag.IsNameFull() && *s != 0 && *s != ORVTEXT('>'))
            ++s;
        if (*s != ORVTEXT('>'))
            continue;
        m_s = s + 1;
        return;
    }
}

} // namespace

int COrvStr::FormatStr(const WCHAR* sFrm, const WCHAR* p1, const WCHAR* p2, const WCHAR* p3, const WCHAR* p4)
{
    constexpr DWORD nSize = 1024;
    const WCHAR* const inserts[] = {p1, p2, p3, p4};
    WCHAR sText[nSize];
    const bool bFormatted = sFrm != nullptr && OCT::PutInserts(sFrm, inserts, sText, nSize) == ERROR_SUCCESS;
    Copy(bFormatted ? sText : ORVTEXT(""));
    return static_cast<int>(GetLength());
}

int COrvStr::FormatStr(const WCHAR* sFrm, TagClient ClientFunc, void* pData)
{
    if (ClientFunc == nullptr || pData == nullptr || sFrm == nullptr)
    {
        ORV_REPORT_FROM(kSourceName, "COrvStr::FormatStr",
                        "ClientFunc == nullptr || pData == nullptr || sFrm == nullptr", 0);
        return 0;
    }
    const COrvStr source(IsInside(sFrm) ? *this : COrvStr()); // keeps the text alive; a client may change us
    Copy(CTagTemplate(sFrm, ClientFunc, pData).Run());
    return static_cast<int>(GetLength());
}
