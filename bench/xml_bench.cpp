// Documents of records and of long texts beside what other writers take for them: the same documents, checked
// before they are measured. An item is a record, or a text.
#include "orvcomtypes/xmlstreamwrite.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#ifdef ORV_HAS_LIBXML2
#include <libxml/xmlwriter.h>
#endif
#ifdef ORV_BENCH_QT
#include <QIODevice>
#include <QXmlStreamWriter>
#endif

namespace
{

constexpr int kRecords = 1000;
constexpr int kTexts = 100;

/// The same text for writers that take UTF-8 and for those that take UTF-16.
struct CBoth
{
    std::string m_sNarrow;
    std::u16string m_sWide;
};

CBoth Repeated(const char* sNarrow, const char16_t* sWide, int nTimes)
{
    CBoth both;
    for (int i = 0; i < nTimes; ++i)
    {
        both.m_sNarrow += sNarrow;
        both.m_sWide += sWide;
    }
    return both;
}

const CBoth kProse = Repeated("A line of prose, as people write it & read it.\n",
                              u"A line of prose, as people write it & read it.\n", 100);
const CBoth kForeign =
    Repeated("\xC3\xA1rv\xC3\xADzt\xC5\xB1r\xC5\x91 t\xC3\xBCk\xC3\xB6rf\xC3\xBAr\xC3\xB3g\xC3\xA9p ",
             u"\u00E1rv\u00EDzt\u0171r\u0151 t\u00FCk\u00F6rf\u00FAr\u00F3g\u00E9p ", 200);

/// Where documents go: kept to be compared, else only counted.
struct CSink
{
    bool m_bKeeps = false;
    std::string m_sBytes;
    std::size_t m_nBytes = 0;

    void Take(const char* p, std::size_t nBytes)
    {
        m_nBytes += nBytes;
        if (m_bKeeps)
            m_sBytes.append(p, nBytes);
    }
};

struct COurs
{
    struct CStream : OCT::IWrtStream
    {
        explicit CStream(CSink& sink) : m_sink(sink) {}
        DWORD Write(const void* p, std::size_t nBytes) noexcept override
        {
            m_sink.Take(static_cast<const char*>(p), nBytes);
            return ERROR_SUCCESS;
        }
        CSink& m_sink;
    };
    CStream m_stream;
    CXMLStreamWrite m_xml{m_stream};

    explicit COurs(CSink& sink) : m_stream(sink) { m_xml.StartElement(u"root"); }
    void Record(int i)
    {
        m_xml.StartElement(u"record");
        m_xml.Attribute(u"id", i);
        m_xml.Attribute(u"kind", u"order");
        m_xml.Element(u"customer", u"Smith & Sons");
        m_xml.Element(u"city", u"Budapest");
        m_xml.Element(u"quantity", i * 37);
        m_xml.Element(u"note", u"delivered on time, paid");
        m_xml.EndElement();
    }
    void Text(const CBoth& text) { m_xml.Element(u"text", text.m_sWide.c_str()); }
    void Finish()
    {
        if (!m_xml.Finish())
            std::abort();
    }
};

#ifdef ORV_HAS_LIBXML2
const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

struct CLibxml2
{
    xmlTextWriterPtr m_pWriter;

    explicit CLibxml2(CSink& sink)
        : m_pWriter(xmlNewTextWriter(xmlOutputBufferCreateIO(
              [](void* pSink, const char* p, int nBytes) {
                  static_cast<CSink*>(pSink)->Take(p, static_cast<std::size_t>(nBytes));
                  return nBytes;
              },
              nullptr, &sink, nullptr)))
    {
        xmlTextWriterStartDocument(m_pWriter, nullptr, "UTF-8", nullptr);
        xmlTextWriterStartElement(m_pWriter, X("root"));
    }
    CLibxml2(const CLibxml2&) = delete;
    CLibxml2& operator=(const CLibxml2&) = delete;
    ~CLibxml2() { xmlFreeTextWriter(m_pWriter); }
    void Record(int i)
    {
        xmlTextWriterStartElement(m_pWriter, X("record"));
        xmlTextWriterWriteFormatAttribute(m_pWriter, X("id"), "%d", i);
        xmlTextWriterWriteAttribute(m_pWriter, X("kind"), X("order"));
        xmlTextWriterWriteElement(m_pWriter, X("customer"), X("Smith & Sons"));
        xmlTextWriterWriteElement(m_pWriter, X("city"), X("Budapest"));
        xmlTextWriterWriteFormatElement(m_pWriter, X("quantity"), "%d", i * 37);
        xmlTextWriterWriteElement(m_pWriter, X("note"), X("delivered on time, paid"));
        xmlTextWriterEndElement(m_pWriter);
    }
    void Text(const CBoth& text)
    {
        xmlTextWriterWriteElement(m_pWriter, X("text"), X(text.m_sNarrow.c_str()));
    }
    void Finish()
    {
        xmlTextWriterEndDocument(m_pWriter);
        xmlTextWriterFlush(m_pWriter);
    }
};
#endif

#ifdef ORV_BENCH_QT
struct CQt
{
    struct CDevice : QIODevice
    {
        explicit CDevice(CSink& sink) : m_sink(sink) { open(WriteOnly | Unbuffered); }
        qint64 readData(char*, qint64) override { return -1; }
        qint64 writeData(const char* p, qint64 nBytes) override
        {
            m_sink.Take(p, static_cast<std::size_t>(nBytes));
            return nBytes;
        }
        CSink& m_sink;
    };
    CDevice m_device;
    QXmlStreamWriter m_xml{&m_device};

    explicit CQt(CSink& sink) : m_device(sink)
    {
        m_xml.writeStartDocument();
        m_xml.writeStartElement(QStringLiteral("root"));
    }
    void Record(int i)
    {
        m_xml.writeStartElement(QStringLiteral("record"));
        m_xml.writeAttribute(QStringLiteral("id"), QString::number(i));
        m_xml.writeAttribute(QStringLiteral("kind"), QStringLiteral("order"));
        m_xml.writeTextElement(QStringLiteral("customer"), QStringLiteral("Smith & Sons"));
        m_xml.writeTextElement(QStringLiteral("city"), QStringLiteral("Budapest"));
        m_xml.writeTextElement(QStringLiteral("quantity"), QString::number(i * 37));
        m_xml.writeTextElement(QStringLiteral("note"), QStringLiteral("delivered on time, paid"));
        m_xml.writeEndElement();
    }
    void Text(const CBoth& text)
    {
        m_xml.writeTextElement(QStringLiteral("text"),
                               QString::fromRawData(reinterpret_cast<const QChar*>(text.m_sWide.data()),
                                                    static_cast<int>(text.m_sWide.size())));
    }
    void Finish() { m_xml.writeEndDocument(); }
};
#endif

/// Without the line ends between the parts that some writers add.
std::string Plain(std::string s)
{
    if (const auto i = s.find("?>\n"); i != s.npos)
        s.erase(i + 2, 1);
    while (s.ends_with('\n'))
        s.pop_back();
    return s;
}

template <class Writer>
CSink Written(const CBoth* pText, bool bKeeps)
{
    CSink sink;
    sink.m_bKeeps = bKeeps;
    Writer writer(sink);
    for (int i = 0; i < (pText != nullptr ? kTexts : kRecords); ++i)
        if (pText != nullptr)
            writer.Text(*pText);
        else
            writer.Record(i);
    writer.Finish();
    return sink;
}

template <class Writer>
void Measure(benchmark::State& state, const CBoth* pText)
{
    if (Plain(Written<Writer>(pText, true).m_sBytes) != Plain(Written<COurs>(pText, true).m_sBytes))
    {
        state.SkipWithError("another document");
        return;
    }
    std::size_t nBytes = 0;
    for (auto _ : state)
        nBytes = Written<Writer>(pText, false).m_nBytes;
    state.SetItemsProcessed(state.iterations() * (pText != nullptr ? kTexts : kRecords));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(nBytes));
}

template <class Writer>
void Register(const std::string& sName)
{
    const auto add = [&](const char* sWhat, const CBoth* pText) {
        benchmark::RegisterBenchmark((sWhat + sName).c_str(),
                                     [pText](benchmark::State& state) { Measure<Writer>(state, pText); });
    };
    add("Records/", nullptr);
    add("Prose/", &kProse);
    add("Foreign/", &kForeign);
}

} // namespace

int main(int argc, char** argv)
{
    Register<COurs>("CXMLStreamWrite");
#ifdef ORV_HAS_LIBXML2
    Register<CLibxml2>("xmlTextWriter");
#endif
#ifdef ORV_BENCH_QT
    Register<CQt>("QXmlStreamWriter");
#endif
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
