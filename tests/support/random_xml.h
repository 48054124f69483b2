// Documents made at random, the same on every target, and what a parser must find in them.
#pragma once

#include "orvcomtypes/xmlstreamwrite.h"
#include "support/text.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

inline constexpr unsigned kRandomDocuments = 400;
inline constexpr std::uint64_t kRandomDocumentsHash = 5483632211932314076;

/// The events of a parser, a line each; texts that follow one another are one.
class CXMLEvents
{
public:
    /// \p bIndented: texts of white space alone do not count.
    explicit CXMLEvents(bool bIndented) : m_bIndented(bIndented) {}

    void Text(const std::string& s) { m_sText += s; }
    void Line(const std::string& s) { m_sLines += TakeText() + s + "\n"; }
    std::string Lines() { return m_sLines + TakeText(); }

private:
    std::string TakeText()
    {
        const std::string s = std::exchange(m_sText, "");
        return s.empty() || (m_bIndented && s.find_first_not_of(" \n") == s.npos) ? "" : "text " + s + "\n";
    }

    bool m_bIndented;
    std::string m_sText;
    std::string m_sLines;
};

/// UTF-8, whatever the code page.
inline std::string UTF8Of(const Text& s)
{
    std::string sBytes(3 * s.size() + 1, 0);
    const int n = WideCharToMultiByte(CP_UTF8, 0, s.data(), static_cast<int>(s.size()), sBytes.data(),
                                      static_cast<int>(sBytes.size()), nullptr, nullptr);
    return sBytes.substr(0, static_cast<std::size_t>(n));
}

class CRandomDocument
{
public:
    explicit CRandomDocument(unsigned nSeed)
        : m_engine(nSeed), m_options(Options()), m_events(m_options.m_nIndent != 0)
    {
        m_bWide = UpTo(5) == 0;
        m_bIndented = m_options.m_nIndent != 0;
        CXMLStreamWrite xml(m_bWide ? static_cast<OCT::IWrtStream&>(m_text) : m_memory, m_options);
        if (UpTo(3) == 0)
            Item(xml, 0);
        Element(xml, {}, 0);
        if (UpTo(3) == 0)
            Item(xml, 0);
        m_bWhole = xml.Finish();
        m_sEvents = m_events.Lines();
        const TextView sText(m_text.GetText(), m_text.GetText().GetLength());
        m_sBytes =
            m_bWide ? std::string(reinterpret_cast<const char*>(sText.data()), sText.size() * sizeof(WCHAR))
                    : std::string(m_memory.GetBytes(), m_memory.GetSize());
    }

private:
    std::mt19937 m_engine; // first: the others are made with it

public:
    std::string m_sBytes;
    std::string m_sEvents;
    bool m_bWide = false; ///< UTF-16 without a mark
    bool m_bIndented = false;
    bool m_bWhole = false;

private:
    unsigned UpTo(unsigned n) { return static_cast<unsigned>(m_engine() % (n + 1)); }
    const WCHAR* OneOf(std::initializer_list<const WCHAR*> texts)
    {
        return texts.begin()[UpTo(static_cast<unsigned>(texts.size()) - 1)];
    }

    CXMLOptions Options()
    {
        CXMLOptions options;
        options.m_eEncoding = UpTo(2) == 0 ? lqxUTF16 : lqxUTF8;
        options.m_eNull = UpTo(1) == 0 ? lqxNil : lqxLeaveOut;
        options.m_nIndent = UpTo(2) == 0 ? 1 + UpTo(3) : 0;
        options.m_bUTF8Mark = UpTo(3) == 0;
        options.m_bDeclaration = options.m_eEncoding == lqxUTF16 || UpTo(3) != 0;
        return options;
    }

    const WCHAR* Name()
    {
        return OneOf({ORVTEXT("a"), ORVTEXT("order.line"), ORVTEXT("_-1"), ORVTEXT("\u00E1rv\u00EDz"),
                      ORVTEXT("\u4E2D\u6587")});
    }

    Text AnyText()
    {
        Text s;
        for (unsigned n = UpTo(4) == 0 ? 0 : UpTo(6); n != 0; --n)
            s += OneOf({ORVTEXT("plain text of some length"), ORVTEXT("<&>\"'"), ORVTEXT("]]>"), ORVTEXT("]"),
                        ORVTEXT("\t \n"), ORVTEXT("\r\n"), ORVTEXT("\u00E9\u0151"),
                        ORVTEXT("\u4E2D\uE000\uFFFD"), ORVTEXT("\U0001F600\U0010FFFF"), ORVTEXT("\x7F\x85"),
                        ORVTEXT("x")});
        if (UpTo(100) == 0)
            s += Text(UpTo(20000), ORVTEXT('\u20AC')) + ORVTEXT("<");
        return s;
    }

    /// Without what a parser drops or normalises, or the item forbids.
    Text ItemText()
    {
        Text s = AnyText();
        std::erase_if(s, [](WCHAR c) {
            return c == '\r' || c == '-' || c == '?' || c == '\n' || c == ' ' || c == '\t';
        });
        return s;
    }

    void Item(CXMLStreamWrite& xml, unsigned)
    {
        const Text s = ItemText();
        if (UpTo(1) == 0)
        {
            xml.Comment(s.c_str());
            m_events.Line("comment " + UTF8Of(s));
        }
        else
        {
            xml.Instruction(ORVTEXT("go"), s.c_str());
            m_events.Line("instruction go " + UTF8Of(s));
        }
    }

    /// \p sDefault is the default namespace outside.
    void Element(CXMLStreamWrite& xml, Text sDefault, unsigned nDepth)
    {
        const Text sLocal = Name();
        Text sUri = sDefault;
        switch (UpTo(3))
        {
        case 0:
            sUri = OneOf({ORVTEXT("urn:p"), ORVTEXT("urn:x?a=1&b=2")});
            xml.StartElement((ORVTEXT("p:") + sLocal).c_str(), sUri.c_str());
            break;
        case 1:
            sUri = sDefault = OneOf({ORVTEXT("urn:d"), ORVTEXT("")});
            xml.StartElement(sLocal.c_str(), sUri.c_str());
            break;
        default: xml.StartElement(sLocal.c_str()); break;
        }
        std::vector<std::string> attributes;
        const unsigned nAttributes = UpTo(3);
        for (unsigned i = 0; i < nAttributes; ++i)
        {
            const Text sName = Name() + Text(1, static_cast<WCHAR>('0' + i));
            const Text sValue = AnyText();
            const bool bPrefix = UpTo(3) == 0;
            if (bPrefix)
                xml.DeclareNamespace(ORVTEXT("q"), ORVTEXT("urn:q"));
            xml.Attribute(((bPrefix ? ORVTEXT("q:") : ORVTEXT("")) + sName).c_str(), sValue.c_str());
            attributes.push_back((bPrefix ? "urn:q|" : "") + UTF8Of(sName) + "=" + UTF8Of(sValue));
        }
        std::string sLine = "element " + (sUri.empty() ? "" : UTF8Of(sUri) + "|") + UTF8Of(sLocal);
        for (const std::string& sAttribute : attributes)
            sLine += " " + sAttribute;
        m_events.Line(sLine);
        const unsigned nParts = nDepth < 6 ? UpTo(4) : 0;
        for (unsigned i = 0; i < nParts; ++i)
            Part(xml, sDefault, nDepth);
        xml.EndElement();
        m_events.Line("end");
    }

    void Part(CXMLStreamWrite& xml, const Text& sDefault, unsigned nDepth)
    {
        const Text s = AnyText();
        switch (UpTo(5))
        {
        case 0: xml.Text(s.c_str()), m_events.Text(UTF8Of(s)); break;
        case 1: xml.CData(s.c_str()), m_events.Text(UTF8Of(s)); break;
        case 2: Item(xml, nDepth); break;
        case 3:
            xml.Element(ORVTEXT("v"), s.c_str());
            m_events.Line("element " + (sDefault.empty() ? "" : UTF8Of(sDefault) + "|") + "v");
            m_events.Text(UTF8Of(s));
            m_events.Line("end");
            break;
        default: Element(xml, sDefault, nDepth + 1); break;
        }
    }

    const CXMLOptions m_options;
    CXMLEvents m_events;
    OCT::CMemWrtStream m_memory;
    OCT::CStrWrtStream m_text;
};
