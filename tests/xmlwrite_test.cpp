// Documents as they are written, what is refused, and what becomes of a document then.
#include "orvcomtypes/lqmessage.h"
#include "orvcomtypes/xmlstreamwrite.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

namespace
{

constexpr CXMLOptions kBare{.m_bDeclaration = false};
constexpr CXMLOptions kReplace{.m_bReplace = true, .m_bDeclaration = false};
constexpr CXMLOptions kIndent{.m_nIndent = 2};
constexpr CXMLOptions kLeaveOut{.m_eNull = lqxLeaveOut, .m_bDeclaration = false};
constexpr CXMLOptions kMark{.m_bUTF8Mark = true};

/// Opens a root element, except for a name that asks for nothing.
using Writing = std::function<void(CXMLStreamWrite&)>;

std::string BytesOf(const OCT::CMemWrtStream& stream)
{
    return std::string(stream.GetBytes(), stream.GetSize());
}

/// The document that \p write writes; the end of the text says whether it is whole.
std::string Written(const CXMLOptions& options, const Writing& write)
{
    OCT::CMemWrtStream stream;
    CXMLStreamWrite xml(stream, options);
    write(xml);
    const bool bWhole = xml.Finish();
    return BytesOf(stream) + (bWhole ? "" : " (refused)");
}

/// A value as an element's text.
std::string Shown(const CXMLValue& value)
{
    OCT::CMemWrtStream stream;
    CXMLStreamWrite xml(stream, kBare);
    xml.Element(ORVTEXT("v"), value);
    const bool bWhole = xml.Finish();
    const std::string sDocument = BytesOf(stream);
    return !bWhole                       ? "refused"
           : sDocument.ends_with("</v>") ? sDocument.substr(3, sDocument.size() - 7)
                                         : sDocument;
}

/// Fails from some byte on, as a full disk does.
class CFullStream : public OCT::IWrtStream
{
public:
    DWORD Write(const void*, std::size_t nBytes) noexcept override
    {
        m_nBytes += nBytes;
        ++m_nCalls;
        return m_nBytes > 20000 ? ERROR_DISK_FULL : ERROR_SUCCESS;
    }
    std::size_t m_nBytes = 0;
    unsigned m_nCalls = 0;
};

} // namespace

TEST(XMLWrite, Documents)
{
    const struct
    {
        const char* m_sName;
        CXMLOptions m_options;
        Writing m_write;
        const char* m_sExpected;
    } rows[] = {
        {"empty",
         {},
         [](auto& xml) { xml.Element(ORVTEXT("a"), ORVTEXT("")); },
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>"},
        {"mark", kMark, [](auto& xml) { xml.StartElement(ORVTEXT("a")); },
         "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>"},
        {"text is read back as it is", kBare,
         [](auto& xml) {
             xml.StartElement(ORVTEXT("a"));
             xml.Attribute(ORVTEXT("b"), ORVTEXT("<\"&'>\t\n\r"));
             xml.Text(ORVTEXT("]]><\"&'>\t\n\r"));
             xml.Text(ORVTEXT("\u00E9\u20AC\uE000\uFFFD\U0001F631"));
         },
         "<a "
         "b=\"&lt;&quot;&amp;'&gt;&#9;&#10;&#13;\">]]&gt;&lt;\"&amp;'&gt;\t\n&#13;"
         "\xC3\xA9\xE2\x82\xAC\xEE\x80\x80\xEF\xBF\xBD\xF0\x9F\x98\xB1</a>"},
        {"sections", kBare,
         [](auto& xml) {
             xml.StartElement(ORVTEXT("a"));
             xml.CData(ORVTEXT("<&]]>]]"));
             xml.CData(ORVTEXT(">\r"));
             xml.CData(ORVTEXT(""));
         },
         "<a><![CDATA[<&]]]]><![CDATA[>]]]]><![CDATA[>]]>&#13;<![CDATA[]]></a>"},
        {"items around the root", kBare,
         [](auto& xml) {
             xml.Comment(ORVTEXT("- <c>\U0001F631y"));
             xml.Instruction(ORVTEXT("run"), ORVTEXT("x=\"?\" y"));
             xml.StartElement(ORVTEXT("a"));
             xml.EndElement();
             xml.Instruction(ORVTEXT("stop"));
             xml.Comment(nullptr);
         },
         "<!--- <c>\xF0\x9F\x98\xB1y--><?run x=\"?\" y?><a/><?stop?><!---->"},
        {"forbidden characters replaced", kReplace,
         [](auto& xml) {
             const WCHAR sHalves[] = {1, 0xDC00, 'a', 0xD83D, 0xFFFE, 0xD83D, 0xDE31, 0xD83D, 0};
             xml.StartElement(ORVTEXT("a"));
             xml.Attribute(ORVTEXT("b"), sHalves);
             xml.Text(ORVTEXT("\x1F\x7F"));
             xml.Comment(ORVTEXT("--\x01-"));
             xml.Instruction(ORVTEXT("p"), ORVTEXT("?>?\x02>"));
         },
         "<a b=\"\xEF\xBF\xBD\xEF\xBF\xBD"
         "a\xEF\xBF\xBD\xEF\xBF\xBD\xF0\x9F\x98\xB1\xEF\xBF\xBD\">\xEF\xBF\xBD\x7F"
         "<!--- -\xEF\xBF\xBD- --><?p ? >?\xEF\xBF\xBD>?></a>"},
        {"indented but for text", kIndent,
         [](auto& xml) {
             xml.StartElement(ORVTEXT("a"));
             xml.Element(ORVTEXT("b"), 1);
             xml.StartElement(ORVTEXT("c"));
             xml.Text(ORVTEXT("t"));
             xml.Element(ORVTEXT("d"), ORVTEXT(""));
             xml.EndElement();
             xml.StartElement(ORVTEXT("e"));
             xml.Comment(ORVTEXT("f"));
         },
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\n  <b>1</b>\n  <c>t<d/></c>\n  <e>\n    <!--f-->\n "
         " </e>\n</a>\n"},
        {"namespaces", kBare,
         [](auto& xml) {
             xml.StartElement(ORVTEXT("p:a"), ORVTEXT("u:1"));
             xml.DeclareNamespace(ORVTEXT("q"), ORVTEXT("u:<2>"));
             xml.DeclareNamespace(ORVTEXT("p"), ORVTEXT("u:1"));
             xml.Attribute(ORVTEXT("q:b"), 1);
             xml.Attribute(ORVTEXT("xml:lang"), ORVTEXT("hu"));
             xml.StartElement(ORVTEXT("p:a"), ORVTEXT("u:1"));
             xml.StartElement(ORVTEXT("p:a"), ORVTEXT("u:3"));
             xml.EndElement();
             xml.StartElement(ORVTEXT("a"), ORVTEXT("u:4"));
             xml.Element(ORVTEXT("b"), 2);
             xml.StartElement(ORVTEXT("c"), ORVTEXT(""));
         },
         "<p:a xmlns:p=\"u:1\" xmlns:q=\"u:&lt;2&gt;\" q:b=\"1\" xml:lang=\"hu\"><p:a><p:a xmlns:p=\"u:3\"/>"
         "<a xmlns=\"u:4\"><b>2</b><c xmlns=\"\"/></a></p:a></p:a>"},
        {"NULL", kBare,
         [](auto& xml) {
             xml.StartElement(ORVTEXT("a"));
             xml.Element(ORVTEXT("b"), nullptr);
             xml.Text(nullptr);
             xml.StartElement(ORVTEXT("c"));
             xml.DeclareNamespace(ORVTEXT("xsi"), ORVTEXT("http://www.w3.org/2001/XMLSchema-instance"));
             xml.Attribute(ORVTEXT("d"), static_cast<const WCHAR*>(nullptr));
             xml.Element(ORVTEXT("e"), COrvTime());
         },
         "<a><b xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:nil=\"true\"/>"
         "<c xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"><e xsi:nil=\"true\"/></c></a>"},
        {"NULL left out", kLeaveOut,
         [](auto& xml) {
             xml.StartElement(ORVTEXT("a"));
             xml.Element(ORVTEXT("b"), COrvDBStr());
         },
         "<a/>"},
        {"no root", kBare, [](auto&) {}, " (refused)"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.m_sExpected, Written(row.m_options, row.m_write)) << row.m_sName;
}

TEST(XMLWrite, ValuesHaveTheirSchemaForm)
{
    const double dInfinite = std::numeric_limits<double>::infinity();
    const unsigned char bytes[] = {0, 0xAB, 0x10, 0xFF};
    const GUID guid = {0x0123ABCD, 0x45, 0x67, {1, 2, 3, 4, 5, 6, 7, 0x89}};
    const DB_NUMERIC numeric = {5, 2, 0, {0x39, 0x30}};
    const DBTIMESTAMP stamp = {2024, 5, 6, 7, 8, 9, 500000000};
    const VARIANT_BOOL bTrue = VARIANT_TRUE, bFalse = VARIANT_FALSE;
    const std::string sNull = "<v xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:nil=\"true\"/>";
    WCHAR sText[] = ORVTEXT("t\u0151");
    COrvDecimal decimal;
    EXPECT_TRUE(decimal.SetText(ORVTEXT("-0.50")));
    CMIDINTArray ids;
    ids.Add(7);
    ids.Add(4294967295);
    VARIANT yes{}, date{}, text{}, reference{}, none{}, array{}, number{};
    yes.vt = VT_BOOL, yes.boolVal = VARIANT_TRUE;
    date.vt = VT_DATE, date.date = 45418.5;
    text.vt = VT_BSTR | VT_BYREF;
    BSTR bstr = SysAllocString(sText);
    text.pbstrVal = &bstr;
    reference.vt = VT_VARIANT | VT_BYREF, reference.pvarVal = &date;
    none.vt = VT_VARIANT | VT_BYREF;
    array.vt = VT_ARRAY | VT_UI1;
    number.vt = VT_INT, number.intVal = -5;
    COrvLongStr builder;
    builder + ORVTEXT("long");

    EXPECT_EQ("true", Shown(true));
    EXPECT_EQ("-128", Shown(static_cast<signed char>(-128)));
    EXPECT_EQ("65535", Shown(static_cast<unsigned short>(65535)));
    EXPECT_EQ("-9223372036854775808", Shown(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ("18446744073709551615", Shown(SQLMCOUNT{std::numeric_limits<std::uint64_t>::max()}));
    EXPECT_EQ("x", Shown('x'));
    EXPECT_EQ("<v/>", Shown(WCHAR{}));
    EXPECT_EQ("\xC3\xA9", Shown(ORVTEXT('\u00E9')));
    EXPECT_EQ("long", Shown(builder));
    EXPECT_EQ("O'B", Shown(NVARCHAR{ORVTEXT("O'Brien"), 0, 3}));
    EXPECT_EQ("\xC5\x91", Shown(CXMLValue::UTF8("\xC5\x91")));
    EXPECT_EQ("ab", Shown("abc"[1] == 'b' ? CXMLValue("abc", 2) : CXMLValue(nullptr)));
    EXPECT_EQ("0.1", Shown(0.1));
    EXPECT_EQ("100000", Shown(1e5));
    EXPECT_EQ("0.30000000000000004", Shown(0.1 + 0.2));
    EXPECT_EQ("1.7976931348623157e+308", Shown(std::numeric_limits<double>::max()));
    EXPECT_EQ("0.1", Shown(0.1f));
    EXPECT_EQ("16777216", Shown(16777216.0f));
    EXPECT_EQ("INF", Shown(dInfinite));
    EXPECT_EQ("-INF", Shown(-dInfinite));
    EXPECT_EQ("NaN", Shown(std::nan("")));
    EXPECT_EQ("-0.5", Shown(decimal));
    EXPECT_EQ("-123.45", Shown(numeric));
    EXPECT_EQ("0123ABCD-0045-0067-0102-030405060789", Shown(guid));
    EXPECT_EQ("2024-05-06T07:08:09Z", Shown(COrvTime::FromYMD(2024, 5, 6, 7, 8, 9)));
    EXPECT_EQ("refused", Shown(COrvTime(-5)));
    EXPECT_EQ("-PT90S", Shown(COrvTimeDiff(-90)));
    EXPECT_EQ("PT0S", Shown(COrvTimeDiff(0)));
    EXPECT_EQ("2024-05-06T07:08:09.5", Shown(CXMLValue::OfType(DBTYPE_DBTIMESTAMP, &stamp, 0)));
    EXPECT_EQ("2024-05-06T12:00:00", Shown(MSQLDATE{45418.5}));
    EXPECT_EQ("refused", Shown(MSQLDATE{-1.0}));
    EXPECT_EQ("7 4294967295", Shown(ids));
    EXPECT_EQ("<v/>", Shown(CMIDINTArray()));
    EXPECT_EQ(sNull, Shown(BINARY{nullptr, 3}));
    EXPECT_EQ("AKsQ/w==", Shown(BINARY{bytes, 4}));
    EXPECT_EQ("AA==", Shown(CXMLValue::Base64(bytes, 1)));
    EXPECT_EQ("qxA=", Shown(CXMLValue::OfType(DBTYPE_BYTES, bytes + 1, 2)));
    EXPECT_EQ("00AB10FF", Shown(CXMLValue::Hex(bytes, 4)));
    EXPECT_EQ("<v/>", Shown(CXMLValue::Hex(bytes, 0)));
    EXPECT_EQ("true", Shown(yes));
    EXPECT_EQ("-5", Shown(number));
    EXPECT_EQ("2024-05-06T12:00:00", Shown(reference));
    EXPECT_EQ("t\xC5\x91", Shown(text));
    EXPECT_EQ(sNull, Shown(none));
    EXPECT_EQ("refused", Shown(array));
    EXPECT_EQ("true", Shown(CXMLValue::OfType(DBTYPE_BOOL, &bTrue, 0)));
    EXPECT_EQ("false", Shown(CXMLValue::OfType(DBTYPE_BOOL, &bFalse, 0)));
    EXPECT_EQ("refused", Shown(CXMLValue::OfType(DBTYPE_ARRAY | DBTYPE_I4, bytes, 0)));
    EXPECT_EQ("t", Shown(CXMLValue::OfType(DBTYPE_WSTR, sText, sizeof(WCHAR))));
    SysFreeString(bstr);
}

// Everything that is refused leaves what stands before it, closed.
TEST(XMLWrite, RefusesWhatWouldBreakTheDocument)
{
    constexpr const char* kName = "IsName(sName)";
    constexpr const char* kBound = "IsBound(sPrefix)";
    constexpr const char* kStand = "MayStandHere()";
    const WCHAR sHalf[] = {'a', 0xD800, 0};
    const struct
    {
        LQXMLError m_eError;
        const char* m_sCondition;
        Writing m_write;
        const char* m_sDocument = "<r/>";
        bool m_bRootEnded = false;
    } rows[] = {
        {lqxName, kName, [](auto& xml) { xml.StartElement(ORVTEXT("a b")); }},
        {lqxName, kName, [](auto& xml) { xml.StartElement(ORVTEXT("a:b:c")); }},
        {lqxName, kName, [](auto& xml) { xml.StartElement(ORVTEXT(":a")); }},
        {lqxName, kName, [](auto& xml) { xml.Element(nullptr, 1); }},
        {lqxName, kName, [](auto& xml) { xml.Attribute(ORVTEXT("xmlns"), 1); }},
        {lqxName, kName, [](auto& xml) { xml.Attribute(ORVTEXT("xmlns:p"), 1); }},
        {lqxName, kName, [](auto& xml) { xml.DeclareNamespace(ORVTEXT("p:q"), ORVTEXT("u")); }},
        {lqxName, kName, [](auto& xml) { xml.Instruction(ORVTEXT("XmL")); }},
        {lqxNamespace, kBound, [](auto& xml) { xml.StartElement(ORVTEXT("p:a")); }},
        {lqxNamespace, kBound, [](auto& xml) { xml.StartElement(ORVTEXT("p:a"), ORVTEXT("")); }},
        {lqxNamespace, kBound, [](auto& xml) { xml.StartElement(ORVTEXT("xmlns:a"), ORVTEXT("u")); }},
        {lqxNamespace, kBound, [](auto& xml) { xml.Element(ORVTEXT("p:a"), 1); }},
        {lqxNamespace, kBound, [](auto& xml) { xml.Attribute(ORVTEXT("p:a"), 1); }},
        {lqxNamespace, kBound, [](auto& xml) { xml.DeclareNamespace(ORVTEXT(""), ORVTEXT("u")); }},
        {lqxNamespace, kBound,
         [](auto& xml) {
             xml.DeclareNamespace(ORVTEXT("p"), ORVTEXT("http://www.w3.org/XML/1998/namespace"));
         }},
        {lqxNamespace, kBound,
         [](auto& xml) {
             xml.StartElement(ORVTEXT("xsi:a"), ORVTEXT("u"));
             xml.Element(ORVTEXT("xsi:b"), nullptr);
         },
         "<r><xsi:a xmlns:xsi=\"u\"/></r>"},
        {lqxNamespace, kBound,
         [](auto& xml) { xml.StartElement(ORVTEXT("a"), ORVTEXT("http://www.w3.org/2000/xmlns/")); }},
        {lqxDuplicate, "IsNew(sName)",
         [](auto& xml) {
             xml.DeclareNamespace(ORVTEXT("p"), ORVTEXT("u"));
             xml.DeclareNamespace(ORVTEXT("q"), ORVTEXT("u"));
             xml.Attribute(ORVTEXT("p:ba"), 1);
             xml.Attribute(ORVTEXT("p:a"), 1);
             xml.Attribute(ORVTEXT("a"), 1);
             xml.Attribute(ORVTEXT("q:a"), 1);
         },
         "<r xmlns:p=\"u\" xmlns:q=\"u\" p:ba=\"1\" p:a=\"1\" a=\"1\"/>"},
        {lqxNesting, kStand,
         [](auto& xml) {
             xml.Text(1);
             xml.Attribute(ORVTEXT("a"), 1);
         },
         "<r>1</r>"},
        {lqxNesting, kStand, [](auto& xml) { xml.EndElement(); }, "<r/>", true},
        {lqxNesting, kStand, [](auto& xml) { xml.Element(ORVTEXT("s"), 1); }, "<r/>", true},
        {lqxNesting, kStand, [](auto& xml) { xml.Text(ORVTEXT(" ")); }, "<r/>", true},
        {lqxCharacter, nullptr, [&](auto& xml) { xml.Text(sHalf); }},
        {lqxCharacter, nullptr, [](auto& xml) { xml.Attribute(ORVTEXT("a"), ORVTEXT("1234567\x1F")); }},
        {lqxCharacter, nullptr, [](auto& xml) { xml.CData(ORVTEXT("\uFFFE")); }},
        {lqxCharacter, nullptr, [](auto& xml) { xml.CData(ORVTEXT("1234567\xD800")); }},
        {lqxCharacter, nullptr, [](auto& xml) { xml.Comment(ORVTEXT("\xDFFF")); }},
        {lqxCharacter, nullptr, [](auto& xml) { xml.Comment(ORVTEXT("a--b")); }},
        {lqxCharacter, nullptr, [](auto& xml) { xml.Comment(ORVTEXT("a-")); }},
        {lqxCharacter, nullptr, [](auto& xml) { xml.Instruction(ORVTEXT("p"), ORVTEXT("?>")); }},
        {lqxCharacter, nullptr, [](auto& xml) { xml.StartElement(ORVTEXT("a"), ORVTEXT("u\x01")); }},
        {lqxValue, nullptr, [](auto& xml) { xml.Element(ORVTEXT("a"), COrvTime(-1)); }},
    };
    CReportCapture capture;
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        OCT::CMemWrtStream stream;
        CXMLStreamWrite xml(stream, kBare);
        xml.StartElement(ORVTEXT("r"));
        if (row.m_bRootEnded)
            xml.EndElement();
        row.m_write(xml);
        EXPECT_EQ(row.m_eError, xml.GetError());
        EXPECT_FALSE(xml.Element(ORVTEXT("later"), 1)) << "the error stays";
        EXPECT_FALSE(xml.Finish());
        EXPECT_EQ(row.m_sDocument, BytesOf(stream));
        const auto reports = capture.Take();
        EXPECT_EQ(row.m_sCondition != nullptr, reports.size() == 1);
        EXPECT_EQ(row.m_sCondition != nullptr ? row.m_sCondition : "",
                  reports.empty() ? "" : reports[0].m_sCondition);
        EXPECT_TRUE(reports.empty() || reports[0].m_sFunction.starts_with("CXMLStreamWrite::"));
    }
}

TEST(XMLWrite, GoesOnWhenTheErrorIsCleared)
{
    CReportCapture capture;
    OCT::CMemWrtStream stream;
    CXMLStreamWrite xml(stream, kBare);
    xml.StartElement(ORVTEXT("r"));
    EXPECT_FALSE(xml.Element(ORVTEXT("a"), ORVTEXT("\x01")));
    xml.ClearError();
    EXPECT_TRUE(xml.Element(ORVTEXT("b"), 1));
    EXPECT_TRUE(xml.Flush());
    EXPECT_EQ("<r><b>1</b>", BytesOf(stream));
    EXPECT_TRUE(xml.Finish());
    EXPECT_EQ("<r><b>1</b></r>", BytesOf(stream));
    EXPECT_NO_REPORTS(capture);
    EXPECT_FALSE(xml.Comment(ORVTEXT("late")));
    EXPECT_FALSE(xml.Finish());
    EXPECT_REPORTS(capture, {{"CXMLStreamWrite::Comment", "MayStandHere()", nullptr, "xmlstreamwrite"}});
    stream.Clear();
    {
        CXMLStreamWrite forgotten(stream, kBare);
        forgotten.StartElement(ORVTEXT("r"));
    }
    EXPECT_EQ("<r", BytesOf(stream));
    EXPECT_REPORTS(capture, {{"CXMLStreamWrite::~CXMLStreamWrite", "m_bFinished"}});
}

TEST(XMLWrite, AFullDiskIsToldOnceForAll)
{
    CFullStream stream;
    CXMLStreamWrite xml(stream, kBare);
    bool bTaken = xml.StartElement(ORVTEXT("r"));
    for (int i = 0; i < 10000 && bTaken; ++i)
        bTaken = xml.Element(ORVTEXT("a"), i);
    EXPECT_FALSE(bTaken);
    EXPECT_EQ(lqxStream, xml.GetError());
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, xml.GetStreamError());
    xml.ClearError();
    EXPECT_FALSE(xml.EndElement());
    EXPECT_FALSE(xml.Finish());
    EXPECT_LE(stream.m_nCalls, 3u) << "in blocks, and none after the failure";
}

// Where characters that a name may begin with, and others, begin to be and cease to be, by the standard.
TEST(XMLWrite, NamesHaveTheStandardsCharacters)
{
    const std::vector<unsigned> first = {'A',    '[',    '_',    '`',    'a',     '{',    0xC0,   0xD7,
                                         0xD8,   0xF7,   0xF8,   0x300,  0x370,   0x37E,  0x37F,  0x2000,
                                         0x200C, 0x200E, 0x2070, 0x2190, 0x2C00,  0x2FF0, 0x3001, 0xD800,
                                         0xF900, 0xFDD0, 0xFDF0, 0xFFFE, 0x10000, 0xF0000};
    const std::vector<unsigned> more = {'-', '/', '0', ':', 0xB7, 0xB8, 0x300, 0x370, 0x203F, 0x2041};
    const auto isIn = [](const auto& edges, unsigned c) {
        return (std::ranges::upper_bound(edges, c) - edges.begin()) % 2 != 0;
    };
    const auto isName = [](const Text& s) {
        return Written(kBare, [&](auto& xml) { xml.Element(s.c_str(), 1); }).ends_with('>');
    };
    for (const auto& edges : {first, more})
        for (const unsigned n : edges)
            for (const unsigned c : {n - 1, n})
            {
                const auto unitOf = [](unsigned u) { return static_cast<WCHAR>(u); };
                const Text s = c < 0x10000 ? Text{unitOf(c)}
                                           : Text{unitOf(0xD7C0 + (c >> 10)), unitOf(0xDC00 | (c & 0x3FF))};
                EXPECT_EQ(isIn(first, c), isName(s)) << c;
                EXPECT_EQ(isIn(first, c) || isIn(more, c), isName(ORVTEXT("a") + s)) << c;
            }
}

// At whatever unit of the buffer a character comes to stand, and in a text that is longer than the buffer.
TEST(XMLWrite, KeepsCharactersWholeAtTheEndOfABlock)
{
    for (std::size_t nBefore = 8180; nBefore < 8200; ++nBefore)
    {
        const Text sText =
            Text(nBefore, ORVTEXT('x')) + ORVTEXT("\U0001F600&") + Text(20000, ORVTEXT('\u20AC'));
        std::string sExpected = std::string(nBefore, 'x') + "\xF0\x9F\x98\x80&amp;";
        for (int i = 0; i < 20000; ++i)
            sExpected += "\xE2\x82\xAC";
        EXPECT_TRUE(sExpected == Shown(sText.c_str())) << nBefore;
    }
}

TEST(XMLWrite, UTF16)
{
    const Writing write = [](auto& xml) { xml.Element(ORVTEXT("a"), ORVTEXT("\u20AC\U0001F600")); };
    const TextView sElement = ORVTEXT("<a>\u20AC\U0001F600</a>");
    const std::string sBytes(reinterpret_cast<const char*>(sElement.data()), sElement.size() * sizeof(WCHAR));
    EXPECT_EQ("\xFF\xFE" + sBytes, Written({.m_eEncoding = lqxUTF16, .m_bDeclaration = false}, write));
    OCT::CStrWrtStream stream;
    CXMLStreamWrite xml(stream);
    write(xml);
    EXPECT_TRUE(xml.Finish());
    EXPECT_EQ(ORVTEXT("<?xml version=\"1.0\" encoding=\"UTF-16\"?>") + Text(sElement),
              TextOf(stream.GetText()));
}

TEST(WrtStream, FileMemoryAndText)
{
    const CTempDir dir;
    const auto path = dir / "a.xml";
    OCT::CFileWrtStream file;
    EXPECT_EQ(DWORD{ERROR_INVALID_HANDLE}, file.Write("a", 1));
    EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, file.Open((dir / "no/a").string<WCHAR>().c_str()));
    for (const char* const sText : {"first text", "second"})
    {
        EXPECT_EQ(DWORD{ERROR_SUCCESS}, file.Open(path.string<WCHAR>().c_str()));
        EXPECT_EQ(DWORD{ERROR_SUCCESS}, file.Write(sText, std::strlen(sText)));
        EXPECT_EQ(DWORD{ERROR_SUCCESS}, file.Flush());
        EXPECT_EQ(sText, ReadBytes(path)) << "while the file is open";
    }
    SetLastError(ERROR_INVALID_DATA); // left by an earlier call
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, file.Close());
    EXPECT_EQ(DWORD{ERROR_INVALID_HANDLE}, file.Flush());

    OCT::CMemWrtStream memory;
    std::string sAll;
    for (std::size_t nBytes = 0; nBytes < 10000; nBytes += 999)
    {
        const std::string sMore(nBytes, static_cast<char>('a' + nBytes / 999));
        EXPECT_EQ(DWORD{ERROR_SUCCESS}, memory.Write(sMore.data(), nBytes));
        sAll += sMore;
    }
    EXPECT_EQ(sAll, BytesOf(memory));

    OCT::CStrWrtStream text;
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, text.Write(ORVTEXT("ab"), 2 * sizeof(WCHAR)));
    const COrvStr sBefore = text.GetText();
    EXPECT_EQ(DWORD{ERROR_INVALID_DATA}, text.Write(ORVTEXT("c\0d"), 3 * sizeof(WCHAR)));
    EXPECT_EQ(DWORD{ERROR_INVALID_DATA}, text.Write(ORVTEXT("c"), 1));
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, text.Write(ORVTEXT("c"), 0));
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, text.Write(ORVTEXT("c"), sizeof(WCHAR)));
    EXPECT_EQ(ORVTEXT("abc"), TextOf(text.GetText()));
    EXPECT_EQ(ORVTEXT("ab"), TextOf(sBefore));

    CLQMessages messages;
    messages.Add(1, 1, ORVTEXT("text"));
    memory.Clear();
    messages.Serialize(&memory);
    EXPECT_EQ(0u, memory.GetSize()) << "a place kept in the interface";
}
