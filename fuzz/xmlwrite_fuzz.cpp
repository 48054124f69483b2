// Documents written by any calls in any order: what was taken is read back by a reader of its own, what was
// refused has left nothing, and the document is well-formed however it came about.
#include "fuzzing.h"
#include "orvcomtypes/xmlstreamwrite.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace
{

/// What a document consists of; texts that follow one another are one.
class CParts
{
public:
    void AddText(TextView s) { m_sText += s; }
    void Add(TextView sKind, TextView s = {}, TextView sMore = {})
    {
        if (!m_sText.empty())
            m_sParts += ORVTEXT("text ") + std::exchange(m_sText, Text()) + ORVTEXT("\n");
        m_sParts += Text(sKind) + ORVTEXT(" ") + Text(s) + ORVTEXT(" ") + Text(sMore) + ORVTEXT("\n");
    }
    const Text& All() const { return m_sParts; }

private:
    Text m_sParts;
    Text m_sText;
};

/// Reads what the writer may write, and nothing else.
class CReader
{
public:
    explicit CReader(TextView s) : m_s(s)
    {
        for (const WCHAR c : s)
            Require(c >= 0x20 ? c != 0xFFFE && c != 0xFFFF : c == '\t' || c == '\n' || c == '\r');
        while (!m_s.empty())
            ReadPart();
        Require(m_open.empty() && m_nRoots == 1);
    }

    const Text& Parts() const { return m_parts.All(); }

private:
    bool Take(TextView sMark)
    {
        const bool bThere = m_s.starts_with(sMark);
        m_s.remove_prefix(bThere ? sMark.size() : 0);
        return bThere;
    }
    TextView TakeUpTo(TextView sMark)
    {
        const std::size_t i = m_s.find(sMark);
        Require(i != TextView::npos);
        const TextView s = m_s.substr(0, i);
        m_s.remove_prefix(i + sMark.size());
        return s;
    }
    TextView TakeName()
    {
        const TextView s = m_s.substr(0, m_s.find_first_of(ORVTEXT(" />=<\"&")));
        Require(!s.empty());
        m_s.remove_prefix(s.size());
        return s;
    }
    /// Text up to a mark, what is escaped in it read.
    Text TakeEscaped(WCHAR cEnd)
    {
        Text sText;
        while (!m_s.empty() && m_s[0] != cEnd)
        {
            const WCHAR c = m_s[0];
            m_s.remove_prefix(1);
            Require(c != '<' && c != '>' && c != '\r' && (cEnd != '"' || c >= 0x20));
            sText += c != '&' ? c : Escaped(TakeUpTo(ORVTEXT(";")));
        }
        return sText;
    }
    static WCHAR Escaped(TextView s)
    {
        static const TextView kNames[] = {ORVTEXT("amp"), ORVTEXT("lt"),  ORVTEXT("gt"), ORVTEXT("quot"),
                                          ORVTEXT("#13"), ORVTEXT("#10"), ORVTEXT("#9")};
        const auto* const p = std::find(std::begin(kNames), std::end(kNames), s);
        Require(p != std::end(kNames));
        return static_cast<WCHAR>("&<>\"\r\n\t"[p - kNames]);
    }

    void ReadPart()
    {
        if (Take(ORVTEXT("<![CDATA[")))
        {
            const TextView s = TakeUpTo(ORVTEXT("]]>"));
            Require(s.find(ORVTEXT('\r')) == TextView::npos);
            m_parts.AddText(s);
        }
        else if (Take(ORVTEXT("<!--")))
        {
            m_parts.Add(ORVTEXT("comment"), TakeUpTo(ORVTEXT("--")));
            Require(Take(ORVTEXT(">")));
        }
        else if (Take(ORVTEXT("<?")))
            m_parts.Add(ORVTEXT("instruction"), TakeUpTo(ORVTEXT("?>")));
        else if (Take(ORVTEXT("</")))
        {
            Require(!m_open.empty() && TakeName() == m_open.back() && Take(ORVTEXT(">")));
            Close();
        }
        else if (Take(ORVTEXT("<")))
            ReadElement();
        else
        {
            const Text s = TakeEscaped('<');
            Require(!m_open.empty() || s.find_first_not_of(ORVTEXT("\n")) == Text::npos);
            m_parts.AddText(s);
        }
    }
    void ReadElement()
    {
        m_nRoots += m_open.empty();
        m_open.push_back(TakeName());
        m_parts.Add(ORVTEXT("element"), m_open.back());
        std::vector<TextView> attributes;
        while (Take(ORVTEXT(" ")))
        {
            const TextView sName = TakeName();
            Require(std::find(attributes.begin(), attributes.end(), sName) == attributes.end());
            attributes.push_back(sName);
            Require(Take(ORVTEXT("=\"")));
            const Text sValue = TakeEscaped('"');
            Require(Take(ORVTEXT("\"")));
            if (!sName.starts_with(ORVTEXT("xmlns")))
                m_parts.Add(ORVTEXT("attribute"), sName, sValue);
        }
        if (Take(ORVTEXT("/>")))
            Close();
        else
            Require(Take(ORVTEXT(">")));
    }
    void Close()
    {
        m_open.pop_back();
        m_parts.Add(ORVTEXT("end"));
    }

    TextView m_s;
    unsigned m_nRoots = 0;
    std::vector<TextView> m_open;
    CParts m_parts;
};

/// Calls as bytes say: what to call, and its texts.
class CCalls
{
public:
    CCalls(const std::uint8_t* pData, std::size_t nSize) : m_p(pData), m_pEnd(pData + nSize) {}

    bool IsOver() const { return m_p == m_pEnd; }
    unsigned Byte() { return m_p != m_pEnd ? *m_p++ : 0; }
    /// Up to 63 units, of one byte or of two; twice in a document very many of one.
    Text Any()
    {
        const unsigned nHow = Byte();
        const unsigned nUnits = nHow & 0x3F;
        if (nHow >= 0xC0 && m_nLong++ < 2)
            return Text(nUnits * 200u, static_cast<WCHAR>(0x20 + Byte()));
        Text s;
        for (unsigned i = 0; i < nUnits && !IsOver(); ++i)
            s += static_cast<WCHAR>(nHow >= 0x80 ? Byte() << 8 | Byte() : Byte());
        return s.c_str();
    }
    /// Most often a name.
    Text Name()
    {
        static const WCHAR* const kNames[] = {ORVTEXT("a"), ORVTEXT("p:a"), ORVTEXT("q:a"), ORVTEXT("p"),
                                              ORVTEXT("q"), ORVTEXT("u:1"), ORVTEXT("")};
        const unsigned n = Byte() % (std::size(kNames) + 1);
        return n < std::size(kNames) ? kNames[n] : Any();
    }

    /// One call; \p parts gets what it has written.
    bool Call(CXMLStreamWrite& xml, CParts& parts)
    {
        const unsigned nWhat = Byte() % 9;
        const Text sName = nWhat <= 4 ? Name() : Text();
        const Text sValue = nWhat == 1 || nWhat == 4 ? Name() : nWhat != 8 ? Any() : Text();
        const auto Taken = [&](bool bTaken, TextView sKind, TextView s, TextView sMore = {}) {
            if (bTaken)
                parts.Add(sKind, s, sMore);
            return bTaken;
        };
        switch (nWhat)
        {
        case 0: return Taken(xml.StartElement(sName.c_str()), ORVTEXT("element"), sName);
        case 1: return Taken(xml.StartElement(sName.c_str(), sValue.c_str()), ORVTEXT("element"), sName);
        case 2:
            return Taken(xml.Attribute(sName.c_str(), sValue.c_str()), ORVTEXT("attribute"), sName, sValue);
        case 3:
            if (!Taken(xml.Element(sName.c_str(), sValue.c_str()), ORVTEXT("element"), sName))
                return false;
            parts.AddText(sValue);
            return Taken(true, ORVTEXT("end"), {});
        case 4: return xml.DeclareNamespace(sName.c_str(), sValue.c_str());
        case 5:
        case 6:
        {
            const bool bTaken = nWhat == 5 ? xml.Text(sValue.c_str()) : xml.CData(sValue.c_str());
            parts.AddText(bTaken ? sValue : Text());
            return bTaken;
        }
        case 7: return Taken(xml.Comment(sValue.c_str()), ORVTEXT("comment"), sValue);
        default: return Taken(xml.EndElement(), ORVTEXT("end"), {});
        }
    }

private:
    const std::uint8_t* m_p;
    const std::uint8_t* m_pEnd;
    unsigned m_nLong = 0;
};

/// The document in UTF-16, whatever it was written to.
Text Written(const OCT::CMemWrtStream& memory, const OCT::CStrWrtStream& text, bool bWide)
{
    if (bWide)
        return static_cast<const WCHAR*>(text.GetText());
    Text s(memory.GetSize() + 1, 0);
    const int n =
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, memory.GetBytes(),
                            static_cast<int>(memory.GetSize()), s.data(), static_cast<int>(s.size()));
    Require(n > 0);
    return s.substr(0, static_cast<std::size_t>(n));
}

} // namespace

/// A byte of options, then calls.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    CCalls calls(pData, nSize);
    const unsigned nOptions = calls.Byte();
    const bool bWide = (nOptions & 1) != 0;
    CXMLOptions options;
    options.m_bReplace = (nOptions & 2) != 0;
    options.m_nIndent = (nOptions & 4) != 0 ? 1 : 0;
    options.m_bDeclaration = (nOptions & 8) != 0;
    OCT::CMemWrtStream memory;
    OCT::CStrWrtStream text;
    CXMLStreamWrite xml(bWide ? static_cast<OCT::IWrtStream&>(text) : memory, options);
    CParts parts;
    if (options.m_bDeclaration)
        parts.Add(ORVTEXT("instruction"), bWide ? ORVTEXT("xml version=\"1.0\" encoding=\"UTF-16\"")
                                                : ORVTEXT("xml version=\"1.0\" encoding=\"UTF-8\""));
    while (!calls.IsOver())
        if (!calls.Call(xml, parts))
            xml.ClearError();
    xml.Element(ORVTEXT("root"), 1); // where there is none yet
    xml.ClearError();
    Require(xml.Finish());
    const CReader reader(Written(memory, text, bWide));
    if (!options.m_bReplace && options.m_nIndent == 0)
        Require(TextView(reader.Parts()).starts_with(parts.All()));
    return 0;
}
