// The examples of the public headers, and parts of programs in the guides, cut out of them at configuration.
#include <orvcomtypes/orvcomtypes.h>
#include <orvcomtypes/stdbridge.h>

// Declares for C what the others declare: they must agree.
#include <orvcomtypes/orvcapi.h>

#include <cstdio>
#include <new>
#include <set>
#include <unordered_map>

// What the examples take for granted.
struct CLogMessage
{
};
std::int64_t FetchText(WCHAR* pBuffer, std::int64_t cbBuffer);
COrvStr FetchOneText(const COrvSQLStr& sql);
void Import();
void Refuse(const COrvStr& sFault);
void Show(const WCHAR* sText, unsigned nLen);
void ShowText(const COrvStr& sText);
void Step();
void Use(unsigned id);

void Version()
{
#include "orvversion.inc"
}

void PlainFunctions()
{
#include "orvcapi.inc"
}

#include "plexalloc.inc"

class CShared
{
public:
#include "syncutil.inc"
};

void StringBuffers()
{
#include "orvstralloc.inc"
}

void Conversions()
{
#include "stringutils.inc"
}

void Converters()
{
#include "strconvert.inc"
}

void Strings()
{
#include "orvstr.inc"
}

void NumberText()
{
#include "modpnum.inc"
}

void Arrays()
{
#include "memarray.inc"
}

void HashMap()
{
#include "orvhashmap.inc"
}

void Ids()
{
#include "midintarray.inc"
}

void ByteSet()
{
#include "simplebyteset.inc"
}

void CriticalSection()
{
#include "smartcls.inc"
}

void Zones()
{
#include "timeutils.inc"
}

void Times()
{
#include "orvtime.inc"
}

void TimesOfChrono()
{
#include "orvtimechrono.inc"
}

void StandardLibrary()
{
#include "stdbridge.inc"
}

void Timers()
{
#include "orvtimer.inc"
}

void RegistryKeys()
{
#include "regkeyw.inc"
}

void Settings()
{
#include "lqsettings.inc"
}

void ThreadNames(DWORD dwThreadId)
{
#include "threadname.inc"
}

void StringResources()
{
#include "loadstrres.inc"
}

void Languages()
{
#include "resourcehandler.inc"
}

void MessagesInLanguages()
{
#include "languages.inc"
}

void Messages()
{
#include "lqmessage.inc"
}

void Logs(const WCHAR* sFile, unsigned nRead, unsigned nRows)
{
#include "orvlog.inc"
}

void BadEnds()
{
#include "logcrash.inc"
}

const char* ReadFormat();

void Formats(const COrvLog& log, unsigned nRead, unsigned nRows, const char (&sBuffer)[100])
{
#include "formatcheck.inc"
}

void Exceptions(HINSTANCE hResources)
{
#include "lqexcept.inc"
}

void Fields()
{
#include "orvtabbedstr.inc"
}

void LongTexts()
{
#include "orvlongstrbase.inc"
}

void DatabaseValues()
{
#include "oledbconvert.inc"
}

void DatabaseTexts()
{
#include "orvdbstr.inc"
}

bool Totals(COrvSQLStr& sql)
{
#include "orvdecimal.inc"
    return true;
}

void Statements(const WCHAR* sName, const CMIDINTArray& ids)
{
#include "orvsqlstr.inc"
}

void Handshakes()
{
#include "sqlhandshake.inc"
}

void Streams()
{
#include "wrtstream.inc"
}

void XMLValues(CXMLStreamWrite& xml, const char (&sBuffer)[100])
{
#include "xmlvalue.inc"
}

void XMLDocuments()
{
#include "xmlstreamwrite.inc"
}
