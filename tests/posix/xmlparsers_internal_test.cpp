// Documents as parsers that others wrote read them: expat gives every name, value and text back, xmllint
// takes all.
#include "orvcomtypes/stdbridge.h"
#include "orvcomtypes/xmlstreamwrite.h"
#include "support/child_process.h"
#include "support/temp_dir.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include <expat.h>

namespace
{

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

std::string UTF8Of(const Text& s)
{
    return OCT::ToStdText(COrvStr(s.c_str()));
}

class CRandomDocument
{
public:
    explicit CRandomDocument(unsigned nSeed)
        : m_engine(nSeed), m_options(Options()), m_events(m_options.m_nIndent != 0)
    {
        OCT::CMemWrtStream memory;
        OCT::CStrWrtStream text;
        const bool bWide = UpTo(5) == 0;
        CXMLStreamWrite xml(bWide ? static_cast<OCT::IWrtStream&>(text) : memory, m_options);
        if (UpTo(3) == 0)
            Item(xml);
        Element(xml, {}, 0);
        if (UpTo(3) == 0)
            Item(xml);
        EXPECT_TRUE(xml.Finish());
        m_sEvents = m_events.Lines();
        if (bWide) // a text has no mark, a file needs one
            memory.Write("\xFF\xFE", 2);
        memory.Write(text.GetText(), text.GetText().GetLength() * sizeof(WCHAR));
        m_sBytes.assign(memory.GetBytes(), memory.GetSize());
    }

private:
    std::mt19937 m_engine; // first: the options are made with it

public:
    const CXMLOptions m_options;
    std::string m_sBytes; ///< as a file has them
    std::string m_sEvents;

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

    void Item(CXMLStreamWrite& xml)
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
        std::string sLine = "element " + (sUri.empty() ? "" : UTF8Of(sUri) + "|") + UTF8Of(sLocal);
        const unsigned nAttributes = UpTo(3);
        for (unsigned i = 0; i < nAttributes; ++i)
        {
            const Text sName = Name() + Text(1, static_cast<WCHAR>('0' + i));
            const Text sValue = AnyText();
            const bool bPrefix = UpTo(3) == 0;
            if (bPrefix)
                xml.DeclareNamespace(ORVTEXT("q"), ORVTEXT("urn:q"));
            xml.Attribute(((bPrefix ? ORVTEXT("q:") : ORVTEXT("")) + sName).c_str(), sValue.c_str());
            sLine += (bPrefix ? " urn:q|" : " ") + UTF8Of(sName) + "=" + UTF8Of(sValue);
        }
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
        case 2: Item(xml); break;
        case 3:
            xml.Element(ORVTEXT("v"), s.c_str());
            m_events.Line("element " + (sDefault.empty() ? "" : UTF8Of(sDefault) + "|") + "v");
            m_events.Text(UTF8Of(s));
            m_events.Line("end");
            break;
        default: Element(xml, sDefault, nDepth + 1); break;
        }
    }

    CXMLEvents m_events;
};

CXMLEvents& EventsOf(void* pUser)
{
    return *static_cast<CXMLEvents*>(pUser);
}

/// The events, of which the parser's complaint is the last.
std::string Parsed(const std::string& sBytes, bool bIndented)
{
    CXMLEvents events(bIndented);
    const XML_Parser parser = XML_ParserCreateNS(nullptr, '|');
    XML_SetUserData(parser, &events);
    XML_SetElementHandler(
        parser,
        [](void* pUser, const char* sName, const char** pAttributes) {
            std::string sLine = std::string("element ") + sName;
            for (; *pAttributes != nullptr; pAttributes += 2)
                sLine += std::string(" ") + pAttributes[0] + "=" + pAttributes[1];
            EventsOf(pUser).Line(sLine);
        },
        [](void* pUser, const char*) { EventsOf(pUser).Line("end"); });
    XML_SetCharacterDataHandler(parser, [](void* pUser, const char* s, int n) {
        EventsOf(pUser).Text(std::string(s, static_cast<std::size_t>(n)));
    });
    XML_SetCommentHandler(
        parser, [](void* pUser, const char* s) { EventsOf(pUser).Line(std::string("comment ") + s); });
    XML_SetProcessingInstructionHandler(parser, [](void* pUser, const char* sTarget, const char* sData) {
        EventsOf(pUser).Line(std::string("instruction ") + sTarget + " " + sData);
    });
    if (XML_Parse(parser, sBytes.data(), static_cast<int>(sBytes.size()), XML_TRUE) != XML_STATUS_OK)
        events.Line(XML_ErrorString(XML_GetErrorCode(parser)));
    XML_ParserFree(parser);
    return events.Lines();
}

} // namespace

TEST(XMLParsers, ReadRandomDocuments)
{
    const CTempDir dir;
    ChildArguments args{"--noout", "--huge"};
    for (unsigned nSeed = 0; nSeed < 400; ++nSeed)
    {
        SCOPED_TRACE(nSeed);
        const CRandomDocument document(nSeed);
        ASSERT_EQ(document.m_sEvents, Parsed(document.m_sBytes, document.m_options.m_nIndent != 0))
            << document.m_sBytes;
        args.push_back((dir / std::to_string(nSeed)).string());
        WriteBytes(args.back(), document.m_sBytes);
    }
    const ChildResult result = CChildProcess(ChildProgram{ORV_XMLLINT}, args).Wait();
    EXPECT_EQ(0, result.m_iExitCode);
    EXPECT_EQ("", result.m_sOutput);
}

TEST(XMLParsers, AFullDiskIsAnError)
{
    OCT::CFileWrtStream file;
    ASSERT_EQ(DWORD{ERROR_SUCCESS}, file.Open(ORVTEXT("/dev/full")));
    CXMLStreamWrite xml(file);
    EXPECT_TRUE(xml.Element(ORVTEXT("a"), 1)) << "it waits in the buffer";
    EXPECT_FALSE(xml.Finish());
    EXPECT_EQ(lqxStream, xml.GetError());
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, xml.GetStreamError());
}
