// Documents as parsers that others wrote read them: expat gives every name, value and text back, xmllint
// takes all.
#include "builders/xmlchars.h"
#include "orvcomtypes/xmlstreamwrite.h"
#include "support/child_process.h"
#include "support/random_xml.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <expat.h>

namespace
{

/// What a parser of files sees: a text in memory has no mark.
std::string FileBytes(const CRandomDocument& document)
{
    return (document.m_bWide ? "\xFF\xFE" : "") + document.m_sBytes;
}

CXMLEvents& EventsOf(void* pUser)
{
    return *static_cast<CXMLEvents*>(pUser);
}

/// The events, or the parser's complaint.
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
    std::string sResult;
    if (XML_Parse(parser, sBytes.data(), static_cast<int>(sBytes.size()), XML_TRUE) == XML_STATUS_OK)
        sResult = events.Lines();
    else
        sResult = std::string(XML_ErrorString(XML_GetErrorCode(parser))) + " behind " + events.Lines();
    XML_ParserFree(parser);
    return sResult;
}

/// What xmllint says of files, and how it ended.
ChildResult Linted(const ChildArguments& files)
{
    ChildArguments args{"--noout", "--huge"};
    args.insert(args.end(), files.begin(), files.end());
    return CChildProcess(ChildProgram{ORV_XMLLINT}, args).Wait();
}

} // namespace

TEST(XMLParsers, ReadRandomDocuments)
{
    const CTempDir dir;
    ChildArguments files;
    for (unsigned nSeed = 0; nSeed < kRandomDocuments; ++nSeed)
    {
        const CRandomDocument document(nSeed);
        EXPECT_TRUE(document.m_bWhole) << nSeed;
        const std::string sBytes = FileBytes(document);
        ASSERT_EQ(document.m_sEvents, Parsed(sBytes, document.m_bIndented)) << nSeed << "\n" << sBytes;
        files.push_back((dir / std::to_string(nSeed)).string());
        WriteBytes(files.back(), sBytes);
    }
    const ChildResult result = Linted(files);
    EXPECT_EQ(0, result.m_iExitCode);
    EXPECT_EQ("", result.m_sOutput);
}

// Every character that a name may have, as a name's first and second, and every one that a text may have.
TEST(XMLParsers, ReadEveryCharacter)
{
    const CTempDir dir;
    OCT::CFileWrtStream file;
    ASSERT_EQ(DWORD{ERROR_SUCCESS}, file.Open((dir / "all").string<WCHAR>().c_str()));
    CXMLStreamWrite xml(file);
    xml.StartElement(ORVTEXT("all"));
    unsigned nFirst = 0;
    unsigned nSecond = 0;
    for (char32_t c = 1; c <= 0x10FFFF; ++c)
    {
        const bool bPair = c >= 0x10000;
        const WCHAR sUnits[] = {static_cast<WCHAR>(bPair ? 0xD7C0 + (c >> 10) : c),
                                static_cast<WCHAR>(bPair ? 0xDC00 | (c & 0x3FF) : 0), 0};
        if ((bPair || (c > 0x3100 && c < 0xD700)) && c % 256 != 0 && c % 256 != 255)
            continue; // its neighbours are alike
        if (!xml.Text(sUnits))
            xml.ClearError();
        if (c != ':' && OCT::IsXMLName(sUnits))
            nFirst += xml.Element(sUnits, sUnits);
        const Text sName = ORVTEXT("a") + Text(sUnits);
        if (c != ':' && OCT::IsXMLName(sName))
            nSecond += xml.Element(sName.c_str(), 1);
    }
    EXPECT_TRUE(xml.Finish());
    EXPECT_GT(nFirst, 13000u);
    EXPECT_GT(nSecond, nFirst);
    const ChildResult result = Linted({(dir / "all").string()});
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
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
