// The whole interface where memory is missing: of every operation the n-th allocation fails, for all n, once
// and from then on. It must end as its header says, work again afterwards, and lose nothing.
#include "orvcomtypes/orvcomtypes.h"
#include "support/fake_errors.h"
#include "support/faults.h"
#include "support/forked.h"
#include "support/registry_values.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/test_strings.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace
{

enum class End
{
    Fine,
    MemoryExcept,
    Other
};

/// What an operation does while memory is missing; what is around it has memory.
class CAttempt
{
public:
    /// 0: nothing fails.
    CAttempt(unsigned nFirst, bool bLasts) : m_nFirst(nFirst), m_bLasts(bLasts) {}

    template <class Body>
    End operator()(Body body)
    {
        const CFault fault(FaultyCall::Allocation, m_nFirst, m_bLasts);
        End end = End::Fine;
        try
        {
            body();
        }
        catch (const CLQMemoryExcept&)
        {
            end = End::MemoryExcept;
        }
        catch (...)
        {
            end = End::Other;
        }
        m_bHappened = m_bHappened || fault.Happened();
        return end;
    }
    bool Happened() const { return m_bHappened; }

private:
    unsigned m_nFirst;
    bool m_bLasts;
    bool m_bHappened = false;
};

const WCHAR* const kShort = ORVTEXT("short, \u00E9");
const WCHAR* const kMiddle =
    ORVTEXT("a text of the third size class, whose sixty units do not fit the others");
const std::string kNarrow(3000, 'n');
const Text kLong(3000, 'w');
const Text kHeapText(600, 'h'); // as a message may show it

bool Same(const WCHAR* s, std::basic_string_view<WCHAR> sExpected)
{
    return s != nullptr && sExpected == s;
}

/// A change is made whole or, with the exception, not at all; a null value is what a heap buffer of COrvStr
/// leaves.
template <class Value, class Change>
bool Changes(CAttempt& attempt, Value value, Change change, bool bMayBeNull = false)
{
    const Text sBefore(value);
    Value expected(value);
    change(expected);
    const Value other(value); // shares the buffer, which must be made private first
    const End end = attempt([&] { change(value); });
    const WCHAR* const s = value;
    const bool bDocumented = end == End::Fine ? Same(s, static_cast<const WCHAR*>(expected)) ||
                                                    (bMayBeNull && s == nullptr && attempt.Happened())
                                              : end == End::MemoryExcept && Same(s, sBefore);
    value = Value();
    change(value);
    return bDocumented;
}

template <bool kMayBeNull = false>
bool ChangesStr(CAttempt& attempt, void (*fnChange)(COrvStr& s))
{
    return Changes(attempt, COrvStr(kMiddle), fnChange, kMayBeNull);
}

/// A call that throws nothing and tells whether it gave the whole result, as it does where memory is there.
template <class Call>
bool Gives(CAttempt& attempt, Call call)
{
    bool bWhole = false;
    return attempt([&] { bWhole = call(); }) == End::Fine && (bWhole || attempt.Happened());
}

/// The code of the exception of that class that comes out; 0 without one.
template <class Except, class Body>
LONG CodeThrown(CAttempt& attempt, Body body)
{
    LONG iCode = 0;
    const End end = attempt([&] {
        try
        {
            body();
        }
        catch (const Except& e)
        {
            iCode = e.GetFile() != nullptr ? e.GetErrorCode() : 0;
        }
    });
    return end == End::Fine ? iCode : 0;
}

/// A hive's document is kept only where its file is not of this very moment: what is in use, and which
/// allocation is the n-th, would depend on the time.
void ReadHivesAnew()
{
    for (const char* sHive : {"user.reg", "machine.reg"})
    {
        std::error_code none;
        std::filesystem::last_write_time(
            TestRoot() / sHive, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1), none);
    }
    GetLQDWORDSettingW(nullptr, ORVTEXT("None"), 0);
}

int g_nTeardowns = 0;
void ORVCALL CountTeardown()
{
    ++g_nTeardowns;
}

struct Operation
{
    const char* m_sName;
    bool (*m_fnRun)(CAttempt& attempt); ///< true when it ended as documented
    const char* m_sReports[2] = {};     ///< what some of its failures report
};

constexpr Operation kOperations[] = {
    {"COrvStr short",
     [](CAttempt& attempt) { return attempt([] { COrvStr s(kShort); }) <= End::MemoryExcept; }},
    {"COrvStr Append", [](CAttempt& a) { return ChangesStr(a, [](COrvStr& s) { s.Append(kMiddle); }); }},
    {"COrvStr Append ANSI", [](CAttempt& a) { return ChangesStr(a, [](COrvStr& s) { s.Append("abc"); }); }},
    {"COrvStr Append long",
     [](CAttempt& a) { return ChangesStr<true>(a, [](COrvStr& s) { s.Append(kLong.c_str()); }); }},
    {"COrvStr SetUTF8 long",
     [](CAttempt& a) { return ChangesStr<true>(a, [](COrvStr& s) { s.SetUTF8(kNarrow.c_str()); }); }},
    {"COrvStr Replace",
     [](CAttempt& a) { return ChangesStr(a, [](COrvStr& s) { s.Replace(ORVTEXT("i"), ORVTEXT("-")); }); }},
    {"COrvStr MakeUpper", [](CAttempt& a) { return ChangesStr(a, [](COrvStr& s) { s.MakeUpper(); }); }},
    {"COrvStr CapitalizeFirstChar",
     [](CAttempt& a) { return ChangesStr(a, [](COrvStr& s) { s.CapitalizeFirstChar(); }); }},
    {"COrvStr AddPath",
     [](CAttempt& a) { return ChangesStr(a, [](COrvStr& s) { s.AddPath(ORVTEXT("file"), '\\'); }); }},
    {"COrvStr AddPath long",
     [](CAttempt& a) {
         return Changes(
             a, COrvStr(kHeapText.c_str()), [](COrvStr& s) { s.AddPath(ORVTEXT("file"), '\\'); }, true);
     }},
    {"COrvStr Replace long",
     [](CAttempt& a) {
         return Changes(
             a, COrvStr(kHeapText.c_str()), [](COrvStr& s) { s.Replace(ORVTEXT("h"), ORVTEXT("hh")); }, true);
     }},
    {"COrvStr Trim long",
     [](CAttempt& a) {
         return Changes(
             a, COrvStr(kHeapText.c_str()), [](COrvStr& s) { s.Trim(); }, true);
     }},
    {"COrvStr SubStr", [](CAttempt& a) { return ChangesStr(a, [](COrvStr& s) { s = s.SubStr(2, 30); }); }},
    {"COrvStr AppendDouble",
     [](CAttempt& a) { return ChangesStr(a, [](COrvStr& s) { s.AppendDouble(1.5, 2); }); }},
    {"COrvStr FormatStr",
     [](CAttempt& a) {
         const COrvStr sBefore(kShort);
         COrvStr s(sBefore);
         const End end = a([&] { s.FormatStr(ORVTEXT("%1 and %2"), kMiddle, kShort); });
         return end <= End::MemoryExcept && (end != End::Fine || a.Happened() || s.GetLength() > 70);
     }},
    {"COrvStr FormatStr with tags",
     [](CAttempt& a) {
         COrvStr s(kShort);
         const auto fnTag = [](const WCHAR* sName, void*, COrvStr& sValue) { sValue = sName; };
         return a([&] { s.FormatStr(ORVTEXT("a <+x> b <x> <-x> c"), fnTag, &s); }) <= End::MemoryExcept;
     }},
    {"CompareOrvString",
     [](CAttempt& a) {
         return Gives(a, [] { return CompareOrvString(ORVTEXT("\u4E00"), ORVTEXT("\u00E9z"), true) == 1; });
     }},
    {"conversions of pages",
     [](CAttempt& a) {
         return Gives(a, [] {
             char sBytes[8];
             WCHAR s[8];
             int nUnits = 0;
             for (const unsigned nPage : {1250u, 932u, 54936u})
                 nUnits += UnicodeToANSI(ORVTEXT("a\u00E9\u4E00"), sBytes, sizeof sBytes, nPage) *
                           ANSIToUnicode("a\x82\xA0", s, 8, nPage);
             return nUnits > 6;
         });
     }},
    {"CToUTF8",
     [](CAttempt& a) {
         return Gives(a, [] { return CToUTF8(kLong.c_str(), 0).operator const char*() != nullptr; });
     }},
    {"COrvLongStr",
     [](CAttempt& a) {
         COrvLongStr s;
         s.Append(kMiddle);
         return Changes(a, s, [](COrvLongStr& str) { str.Append(kLong.c_str()); });
     }},
    {"COrvSQLStr",
     [](CAttempt& a) {
         COrvSQLStr sql;
         sql& kMiddle;
         return Changes(a, sql, [](COrvSQLStr& s) { s& kLong.c_str(); });
     }},
    {"COrvDBStr",
     [](CAttempt& a) {
         COrvDBStr s(kShort);
         const End end = a([&] { s.GetBuffer(2000); });
         return end == End::Fine || (end == End::MemoryExcept && Same(COrvStr(s), kShort));
     }},
    {"VARIANT as text",
     [](CAttempt& a) {
         VARIANT value;
         VariantInit(&value);
         value.vt = VT_DATE;
         value.date = 45000.5;
         COrvLongStr s;
         return a([&] { s.Append(value); }) <= End::MemoryExcept;
     }},
    {"COLEDBConvert",
     [](CAttempt& a) {
         return Gives(a, [] {
             WCHAR s[40];
             unsigned nLen = 0, nAll = 0;
             VARIANT value{};
             value.vt = VT_DATE;
             value.date = 45000.5;
             COLEDBConvert::ConvertToStr(DBTYPE_STR, "a\xE9", s, 40, nLen);
             COLEDBConvert::ConvertToStr(DBTYPE_VARIANT, &value, s, 40, nAll);
             return nAll + nLen > 12;
         });
     }},
    {"values of SQL",
     [](CAttempt& a) {
         const BYTE bytes[300] = {};
         COrvSQLStr sql;
         sql& kMiddle;
         const auto put = [&](COrvSQLStr& s) { s& NVARCHAR{kLong.c_str(), 0, 4000}; };
         return Changes(a, sql, put) && Changes(a, sql, [&](COrvSQLStr& s) { s& BINARY{bytes, 300}; });
     }},
    {"batches",
     [](CAttempt& a) {
         COrvSQLStrArray batch;
         const End end = a([&] { batch.AddSQL(); });
         return end <= End::MemoryExcept && batch.GetCount() == (end == End::Fine ? 2u : 1u);
     }},
    {"XML writer",
     [](CAttempt& a) {
         OCT::CStrWrtStream stream;
         const Text sName = ORVTEXT("p:element") + Text(50, 'x'), sUris(21, 'u');
         bool bWhole = false;
         LQXMLError eError = lqxNone;
         const End end = a([&] {
             CXMLStreamWrite xml(stream);
             for (unsigned i = 0; i < 20; ++i)
                 xml.StartElement(sName.c_str(), sUris.c_str() + i);
             xml.Attribute(ORVTEXT("narrow"), kNarrow.c_str());
             for (unsigned i = 0; i < 4; ++i)
                 xml.Element(ORVTEXT("long"), kLong.c_str());
             bWhole = xml.Finish();
             eError = xml.GetError();
         });
         const COrvStr& s = stream.GetText();
         int nOpen = 0;
         for (const WCHAR* p = s; *p != 0; ++p)
             nOpen += *p == '<' && p[1] != '?' ? (p[1] == '/' ? -1 : 1) : *p == '/' && p[1] == '>' ? -1 : 0;
         return end == End::Fine ? eError == lqxStream || (nOpen == 0 && (bWhole || eError == lqxMemory))
                                 : end == End::MemoryExcept;
     }},
    {"streams",
     [](CAttempt& a) {
         const CTempDir dir;
         const Text sFile = (dir / "file.txt").string<WCHAR>();
         bool bTextKept = false;
         const bool bEnded = Gives(a, [&] {
             OCT::CFileWrtStream file;
             OCT::CMemWrtStream memory;
             OCT::CStrWrtStream text;
             bool bInMemory = true;
             unsigned nWritten = 0;
             for (int i = 0; i < 2; ++i)
             {
                 bInMemory &= memory.Write(kNarrow.data(), kNarrow.size()) == ERROR_SUCCESS;
                 nWritten += text.Write(kLong.data(), 6000) == ERROR_SUCCESS ? 3000 : 0;
             }
             bTextKept = text.GetText().GetLength() == nWritten;
             return file.Open(sFile.c_str()) == ERROR_SUCCESS &&
                    file.Write(kNarrow.data(), kNarrow.size()) == ERROR_SUCCESS && bInMemory;
         });
         return bEnded && bTextKept;
     }},
    {"array",
     [](CAttempt& a) {
         CSimpleMarray<int, 16> numbers;
         numbers.Add(1);
         const End end = a([&] {
             for (int i = 0; i < 100; ++i)
                 numbers.Add(i);
         });
         return end == End::Fine ? numbers.GetSize() == 101
                                 : end == End::MemoryExcept && numbers.GetSize() == 0;
     }},
    {"array of texts",
     [](CAttempt& a) {
         CMarray<COrvStr> texts;
         texts.Add(COrvStr(kShort));
         const COrvStr sText(kMiddle, false); // each copy is a text of its own
         const End end = a([&] { texts.Add(sText); });
         return end == End::Fine ? Same(texts.Last(), kMiddle)
                                 : end == End::MemoryExcept && texts.GetSize() <= 2;
     }},
    {"hash map",
     [](CAttempt& a) {
         CMIDINTSet ids;
         ids.Add(7);
         unsigned nAdded = 0;
         const End end = a([&] {
             for (unsigned i = 100; i < 1000; ++i, ++nAdded)
                 ids.Add(i);
         });
         return end <= End::MemoryExcept && (end != End::Fine || nAdded == 900) && ids.Add(7) == 7;
     }},
    {"ids",
     [](CAttempt& a) {
         CMIDINTArray ids;
         for (unsigned i = 300; i > 0; --i)
             ids.Add(i);
         CSimpleByteSet set(0xFFFFFFFF);
         unsigned nIds = 0;
         unsigned nFlags = 0;
         const End end = a([&] {
             ids.Unique();
             nIds = ids.Join(ORVTEXT(','), nullptr).GetLength();
             nFlags = set.JoinInterval(0, 255, ORVTEXT(',')).GetLength();
         });
         const bool bWhole = nIds == 3 * 300 - 99 - 9 + 299 && nFlags == 911;
         return (end == End::Fine ? bWhole : end == End::MemoryExcept) && ids.GetSize() == 300;
     }},
    {"settings",
     [](CAttempt& a) {
         const WCHAR* const sName = ORVTEXT("Text");
         SetLQStringSettingW(nullptr, sName, ORVTEXT("old"), nullptr);
         bool bStored = false;
         const End end = a([&] { bStored = SetLQStringSettingW(nullptr, sName, kMiddle, nullptr); });
         const COrvStr sStored = GetLQStrSetting(nullptr, sName, nullptr);
         return end == End::Fine && (Same(sStored, kMiddle) || (!bStored && Same(sStored, ORVTEXT("old"))));
     }},
    {"settings read",
     [](CAttempt& a) {
         SetLQStringSettingW(nullptr, ORVTEXT("Text"), kMiddle, nullptr);
         return Gives(a, [] { return Same(GetLQStrSetting(nullptr, ORVTEXT("Text"), kShort), kMiddle); });
     }},
    {"settings longer than their buffer",
     [](CAttempt& a) {
         SetLQStringSettingW(nullptr, ORVTEXT("Text"), kHeapText.c_str(), nullptr);
         WCHAR sWide[20] = ORVTEXT("before");
         char sNarrow[20] = "before";
         bool bWide = false, bNarrow = false;
         ReadHivesAnew();
         const End end = a([&] {
             bWide = GetLQStringSettingW(nullptr, ORVTEXT("Text"), sWide, sizeof sWide, nullptr);
             bNarrow = GetLQStringSettingA(nullptr, "Text", sNarrow, sizeof sNarrow, nullptr);
         });
         const auto isKept = [&a](auto s) { return a.Happened() && (*s == 0 || *s == 'b'); };
         return end == End::Fine && (bWide ? Same(sWide, kHeapText.substr(0, 19)) : isKept(+sWide)) &&
                (bNarrow ? std::string(19, 'h') == sNarrow : isKept(+sNarrow));
     },
     {"pBuf == nullptr"}},
    {"settings with long defaults",
     [](CAttempt& a) {
         const WCHAR* const sName = ORVTEXT("Text");
         SetLQStringSettingW(nullptr, sName, ORVTEXT("old"), nullptr);
         bool bStored = false;
         ReadHivesAnew();
         const End end =
             a([&] { bStored = SetLQStringSettingW(nullptr, sName, kHeapText.c_str(), kHeapText.c_str()); });
         const COrvStr s = GetLQStrSetting(nullptr, sName, ORVTEXT("inherited"));
         return end == End::Fine && (bStored ? Same(s, ORVTEXT("inherited")) : a.Happened());
     },
     {"!sBuf.ReserveSize (len + 1)"}},
    {"settings that differ from the machine's",
     [](CAttempt& a) {
         StoreValue(HKEY_LOCAL_MACHINE, TextOf(GetLQSettingsRootStr()), ORVTEXT("Machine"),
                    TextValue(kHeapText));
         SetLQStringSettingW(nullptr, ORVTEXT("Machine"), ORVTEXT("old"), nullptr);
         bool bStored = false;
         ReadHivesAnew();
         const End end = a(
             [&] { bStored = SetLQStringSettingW(nullptr, ORVTEXT("Machine"), kHeapText.c_str(), nullptr); });
         const COrvStr s = GetLQStrSetting(nullptr, ORVTEXT("Machine"), nullptr);
         ReadHivesAnew();
         bool bShort = false;
         a([&] { bShort = SetLQStringSettingA(nullptr, "Machine", "x", "x"); });
         const COrvStr sShort = GetLQStrSetting(nullptr, ORVTEXT("Machine"), nullptr);
         StoreValue(HKEY_LOCAL_MACHINE, TextOf(GetLQSettingsRootStr()), ORVTEXT("Machine"), std::nullopt);
         return end == End::Fine && Same(sShort, bShort ? ORVTEXT("x") : static_cast<const WCHAR*>(s)) &&
                (Same(s, kHeapText) || (!bStored && a.Happened() && Same(s, ORVTEXT("old"))));
     },
     {"!sBuf.ReserveSize (dwSize / sizeof (wchar_t) + 1)", "!sBuf.ReserveSize (dwSize / sizeof (char) + 1)"}},
    {"settings of numbers that differ from the machine's",
     [](CAttempt& a) {
         const WCHAR* const sName = ORVTEXT("Machine number");
         StoreValue(HKEY_LOCAL_MACHINE, TextOf(GetLQSettingsRootStr()), sName, NumberValue(5));
         SetLQDWORDSettingW(nullptr, sName, 9, 0);
         bool bStored = false;
         ReadHivesAnew();
         const End end = a([&] { bStored = SetLQDWORDSettingW(nullptr, sName, 7, 7); });
         const DWORD dwValue = GetLQDWORDSettingW(nullptr, sName, 0);
         StoreValue(HKEY_LOCAL_MACHINE, TextOf(GetLQSettingsRootStr()), sName, std::nullopt);
         return end == End::Fine && (bStored || a.Happened()) && dwValue == (bStored ? 7u : 9u);
     }},
    {"settings narrow and binary",
     [](CAttempt& a) {
         SetLQBinarySettingW(ORVTEXT("Key"), ORVTEXT("Bytes"), "none", 4);
         BYTE bytes[4] = {};
         DWORD cbBytes = sizeof bytes;
         bool bStored = false;
         const bool bEnded = Gives(a, [&] {
             char s[20];
             bStored = SetLQBinarySettingA("Key", "Bytes", "abcd", 4); // the first use of the code page
             SetLQDWORDSettingA("Key", "Number", 5, 6);
             GetLQStringSettingA(nullptr, "Nothing", s, sizeof s, "default");
             GetLQBinarySettingW(ORVTEXT("Key"), ORVTEXT("Bytes"), bytes, &cbBytes);
             return GetLQDWORDSettingA("Key", "Number", 6) == 5 && bytes[3] == 'd';
         });
         GetLQBinarySettingW(ORVTEXT("Key"), ORVTEXT("Bytes"), bytes, &cbBytes);
         return bEnded && bytes[3] == (bStored ? 'd' : 'e');
     }},
    {"ExpandPathW",
     [](CAttempt& a) {
         WCHAR sPath[500] = ORVTEXT("*\\x");
         SetLQStringSettingW(nullptr, ORVTEXT("DataPath"), kHeapText.c_str(), nullptr); // which is cut
         ReadHivesAnew();
         const End end = a([&] { ExpandPathW(sPath, sizeof sPath); });
         return end == End::Fine && (Same(sPath, Text(259, 'h') + ORVTEXT("\\x")) || a.Happened());
     },
     {"cTmpPath == nullptr"}},
    {"ExpandPathA",
     [](CAttempt& a) {
         char sPath[100] = "*\\x";
         SetLQStringSettingW(nullptr, ORVTEXT("DataPath"), ORVTEXT("data"), nullptr);
         const End end = a([&] { ExpandPathA(sPath, sizeof sPath); });
         return end == End::Fine && (std::string_view(sPath) == "data\\x" || a.Happened());
     }},
    {"settings root",
     [](CAttempt& a) {
         const COrvStr sBefore = GetLQSettingsRootStr();
         const Text sRoot = ORVTEXT("Software\\") + Text(60, 'r');
         COrvStr s;
         const End end = a([&] {
             SetLQSettingsRootW(sRoot.c_str());
             s = GetLQSettingsRootStr();
         });
         SetLQSettingsRootW(sBefore);
         return end == End::Fine && (Same(s, sRoot) || a.Happened());
     }},
    {"CRegKeyW",
     [](CAttempt& a) {
         SetLQStringSettingW(ORVTEXT("Key"), ORVTEXT("Text"), kMiddle, nullptr);
         const Text sKey = Text(GetLQSettingsRootStr()) + ORVTEXT("\\Key");
         return Gives(a, [&] {
             CRegKeyW key;
             WCHAR s[100] = {};
             ULONG nChars = 100;
             return key.Create(HKEY_CURRENT_USER, sKey.c_str(), KEY_READ | KEY_WRITE) == ERROR_SUCCESS &&
                    key.QueryStringValue(ORVTEXT("Text"), s, &nChars) == ERROR_SUCCESS && Same(s, kMiddle);
         });
     }},
    {"local times",
     [](CAttempt& a) {
         return Gives(a, [] {
             WORD wYear, wMonth, wDay, wHour, wMinute, wSecond;
             LONG t = 0;
             return Timet2LocalYMD(1'700'000'000, &wYear, &wMonth, &wDay, &wHour, &wMinute, &wSecond) &&
                    LocalYMD2Timet(2023, 11, 14, 0, 0, 0, &t);
         });
     }},
    {"timers",
     [](CAttempt& a) {
         return Gives(a, [] {
             return COrvPrecisionTimer(5, true).GetMSDiff() >= 0 && !COrvTcTimer(0, true).IsExpired(1);
         });
     }},
    {"times",
     [](CAttempt& a) {
         return Gives(a, [] {
             const COrvStr sText = COrvTime(1'700'000'000).FormatLocal();
             return sText.GetLength() > 5 && COrvTime().ParseLocal(sText);
         });
     }},
    {"SetTimeZone",
     [](CAttempt& a) {
         const bool bEnded = Gives(a, [] { return SetTimeZone(ORVTEXT("Tokyo Standard Time")) == 0; });
         return SetTimeZone(nullptr) == 0 && bEnded;
     }},
    {"messages",
     [](CAttempt& a) {
         CLQMessages messages;
         messages.Add(1, 26005, kShort);
         const End end = a([&] {
             CLQMessage message(26006, 2, kHeapText.c_str());
             message.AddParam(12);
             message.AddParam(1.5);
             message.AddParam(COrvTime(1'700'000'000), msty_FullTime);
             messages.Add(message);
         });
         return end <= End::MemoryExcept && messages.GetCount() == (end == End::Fine ? 2u : 1u);
     }},
    {"messages of a list",
     [](CAttempt& a) {
         CLQMessages messages, others;
         messages.Add(1, 26005, kShort);
         others.Add(2, 26005, kShort);
         others.Add(3, 26005, kHeapText.c_str());
         const End end = a([&] { messages.Add(others); });
         const unsigned nAll = end == End::Fine ? 3 : 1;
         const bool bAllOrNone = messages.GetCount() == nAll;
         const End endOfOwn = a([&] { messages.Add(messages); });
         return end <= End::MemoryExcept && endOfOwn <= End::MemoryExcept && bAllOrNone &&
                messages.GetCount() == (endOfOwn == End::Fine ? 2 * nAll : nAll);
     }},
    {"messages as text",
     [](CAttempt& a) {
         CLQMessage message(1, 2, kHeapText.c_str());
         message.AddParam(1234567);
         message.AddParam(1.5);
         message.AddParam(COrvTime(1'700'000'000), msty_FullTime);
         CLQMessages messages;
         messages.Add(message);
         messages.Add(message);
         COrvStr sOne, sAll;
         const End end = a([&] {
             sOne = message.Format(ORVTEXT("%1 %2 %3 %4"));
             sAll = messages.Format(nullptr);
         });
         // Where the system cannot fill in a format the message says so.
         const auto isText = [](const COrvStr& s) {
             return s.GetLength() > 50 &&
                    (*s == 'h' || Text(s).starts_with(ORVTEXT("Internal error, invalid "
                                                              "resource parameters.  (8|")));
         };
         return end == End::Fine ? isText(sOne) && isText(sAll) && (a.Happened() || sAll.GetLength() == 1202)
                                 : end == End::MemoryExcept;
     }},
    {"throw of a host's",
     [](CAttempt& a) {
         const LQSrcLocation location{kLong.c_str(), 1};
         return CodeThrown<CLQExcept>(a, [&] { throw CLQExcept(5, 26005, location); }) == 5;
     }},
    {"LQThrowInvalidArg",
     [](CAttempt& a) {
         const LONG iCode = CodeThrown<CLQInvalidargExcept>(a, [] { LQThrowInvalidArg(LQ_SRC_LOCATION); });
         return iCode == E_INVALIDARG;
     }},
    {"LQThrowMemory",
     [](CAttempt& a) { return a([] { LQThrowMemory(LQ_SRC_LOCATION); }) == End::MemoryExcept; }},
    {"LQ_THROW",
     [](CAttempt& a) {
         const auto refuse = [] { LQ_THROW(CLQComExcept, E_ABORT, 26005, LQ_SRC_LOCATION); };
         return CodeThrown<CLQComExcept>(a, refuse) == E_ABORT;
     }},
    {"exceptions copied",
     [](CAttempt& a) {
         CLQExcept except(5, 26005, LQ_SRC_LOCATION);
         except.GetMessages().Add(1, 26005, kShort);
         const LONG iLine = except.GetLine();
         CLQExcept target(6, 26005, LQ_SRC_LOCATION);
         const End end = a([&] {
             const CLQExcept copy(except);
             target = copy;
         });
         return end <= End::MemoryExcept && except.GetMessages().GetCount() == 2 && except.GetLine() == iLine;
     }},
    {"report",
     [](CAttempt& a) {
         SetLastError(77);
         return a([] { OrvReportAssertion("a.cpp", 1, "Function", "condition", 0); }) == End::Fine &&
                GetLastError() == 77;
     }},
    {"error objects",
     [](CAttempt& a) {
         CFakeError error(kMiddle), detailed(kLong.c_str());
         CFakeRecords records({&error, &detailed});
         SetErrorInfo(0, &error);
         COrvStr sOne, sAll;
         const End end = a([&] {
             sOne = GetComErrorString(E_FAIL, true).m_sMessage;
             sAll = GetComErrorString(E_FAIL, &records).m_sMessage;
         });
         SetErrorInfo(0, nullptr);
         const bool bDone = static_cast<const WCHAR*>(sAll) != nullptr;
         return end == End::Fine ? bDone && (a.Happened() || sOne.GetLength() + sAll.GetLength() > 3060)
                                 : end == End::MemoryExcept;
     }},
    {"error texts",
     [](CAttempt& a) {
         return a([] {
                    GetWinErrorString(5);
                    GetComErrorString(E_FAIL, true);
                    ExceptFormatToLog(nullptr);
                }) <= End::MemoryExcept;
     }},
    {"resources",
     [](CAttempt& a) {
         const CTestResources resources;
         BSTR s = nullptr;
         const End end = a([&] {
             WCHAR sText[100];
             char sNarrow[100];
             s = LoadStringRes(resources, 7, nullptr);
             LoadDBStringResA("##7##", sNarrow, sizeof sNarrow);
             ReplaceTokenW(ORVTEXT("a ##7## b"), nullptr, sText, 100);
         });
         SysFreeString(s);
         return end == End::Fine;
     }},
    {"languages",
     [](CAttempt& a) {
         [[maybe_unused]] static const bool s_bOwned =
             (CResourceHandler::SetOwner(nullptr, ORVTEXT("test_strings"), 1, 0), true);
         bool bHungarian = false;
         unsigned nMissing = 0;
         COrvStr s;
         const End end = a([&] {
             bHungarian = CResourceHandler::SetLanguage(ORVTEXT("hu"));
             nMissing = CLQMessage(9999).Format(nullptr).GetLength(); // a long text, or that of an error
             const CThreadLanguage english(ORVTEXT("en-GB"));
             CResourceHandler::GetLanguage();
             s.Load(7, nullptr);
         });
         const bool bThereAgain = CResourceHandler::SetLanguage(ORVTEXT("hu"));
         CResourceHandler::DestroyGlobal();
         if (end != End::Fine)
             return bThereAgain && end == End::MemoryExcept;
         return bThereAgain && nMissing > 40 && (a.Happened() || (bHungarian && !s.IsEmpty()));
     }},
    {"teardown registration",
     [](CAttempt& a) {
         g_nTeardowns = 0;
         const End end = a([] { RegisterPlexedAlloc(CountTeardown); });
         CallPlexedAllocUninit(nullptr);
         return end == End::Fine && (g_nTeardowns == 1 || (a.Happened() && g_nTeardowns == 0));
     }},
    {"OCTMalloc",
     [](CAttempt& a) {
         void* p = nullptr;
         const End end = a([&] { p = OCTMalloc(100); });
         OCTFree(p);
         return end == End::Fine && (p != nullptr || a.Happened());
     }},
    {"log",
     [](CAttempt& a) {
         const CTempDir dir;
         const std::filesystem::path file = dir / "log.txt";
         const Text sFile = file.string<WCHAR>();
         COrvLog log;
         bool bOpen = false;
         const End end = a([&] {
             bOpen = log.InitFileLog(sFile.c_str(), lqlInformation, nullptr);
             log.LogInf(ORVTEXT("entry"));
             log.LogOpt(lqlInformation, "entry %s", kNarrow.c_str());
             log.LogRaw(ORVTEXT("raw entry\n"));
             log.Flush(20);
             log.GetLogFileName();
         });
         if (!bOpen)
             return end == End::Fine && a.Happened();
         log.Flush(60000);
         const std::uint64_t nLost = log.GetLostLines();
         log.ReleaseLog();
         const std::string sText = ReadBytes(file);
         unsigned nLines = 0;
         for (std::size_t n = 0; (n = sText.find(" entry", n)) != sText.npos; ++n)
             ++nLines;
         return end == End::Fine && nLines + nLost == 3;
     }},
    {"process logger",
     [](CAttempt& a) {
         const CTempDir dir;
         const std::filesystem::path file = dir / "log.txt";
         const Text sFile = file.string<WCHAR>();
         const LQComErrorData error;
         const CLQExcept except(5, 26005, LQ_SRC_LOCATION);
         const End end = a([&] {
             InitFileProcessLogger(sFile.c_str(), 0xF);
             LogStrExp(lqlErrors, "text");
             LogException(except);
             SQLStrSaveToLog(kLong.c_str(), GetProcessLogger(), error, 1, 2, 3);
             GenerateLogFileName(ORVTEXT("#DAx.txt"));
             WCHAR sText[100];
             GetProcessLogOpt(GetLogFileNameExp(sText, 100));
         });
         ReleaseProcessLogger();
         return end == End::Fine;
     }},
    {"crash handler",
     [](CAttempt& a) {
         bool bInstalled = false;
         const auto install = [&] {
             ReserveLogCrashStack();
             bInstalled = InstallLogCrashHandler(nullptr, 0);
         };
         const End end = a(install);
         RemoveLogCrashHandler();
         return end == End::Fine && (bInstalled || a.Happened());
     }},
    {"configured logger",
     [](CAttempt& a) {
         const End end = a([] { InitRegProcessLogger(ORVTEXT("Swept")); });
         ReleaseProcessLogger(); // where processes do not fork it would log what later rows throw
         return end == End::Fine;
     }},
    {"teardown with nine logs",
     [](CAttempt& a) {
         const CTempDir dir;
         COrvLog logs[9];
         for (COrvLog& log : logs)
         {
             const auto file = dir / (std::to_string(&log - logs) + ".txt");
             log.InitFileLog(file.string<WCHAR>().c_str(), lqlInformation, nullptr);
         }
         return a([] {
                    FlushLogs(20);
                    UninitOrvComTypes();
                }) == End::Fine;
     }},
    {"narrow builder",
     [](CAttempt& a) {
         COrvLongAStr s;
         s.Append("before");
         const End end = a([&] {
             s.Append(kNarrow.c_str());
             s.Append(kLong.c_str());
         });
         return end == End::Fine ? s.Length() == 6006 : end == End::MemoryExcept && s.Length() % 3000 == 6;
     }},
    {"decimal",
     [](CAttempt& a) {
         COrvStr s;
         const End end = a([&] { s = COrvDecimal(-5).GetText(); });
         return end == End::Fine ? Same(s, ORVTEXT("-5")) || a.Happened() : end == End::MemoryExcept;
     }},
    {"threads' names",
     [](CAttempt& a) {
         const DWORD dwId = GetCurrentThreadId();
         return a([&] { SetThreadName(dwId, "a name that is longer than those of the kernel"); }) ==
                End::Fine;
     }},
    {"handshake",
     [](CAttempt& a) {
         bool bTaken = false, bRefused = false;
         const End end = a([&] {
             bTaken = CheckSQLHandshakeText(GetSQLHandshakeText()).IsEmpty();
             bRefused = !CheckSQLHandshakeHex(kHeapText.c_str(), true).IsEmpty();
         });
         return end == End::Fine ? bTaken && bRefused : end == End::MemoryExcept;
     }},
};

/// One operation with one allocation that fails, and then whether all is as it was.
struct Trial
{
    const Operation* m_pOperation;
    unsigned m_nFirst;
    bool m_bLasts;
};

enum Verdict
{
    Good = 0,
    GoodToTheEnd = 10, ///< it asked for less memory than was to be refused
    EndedOtherwise,
    WorksNoMore,
    LostBlocks,
    LostItems
};

int Try(const Trial& trial)
{
    CAttempt attempt(trial.m_nFirst, trial.m_bLasts), again(0, false);
    if (!trial.m_pOperation->m_fnRun(attempt))
        return EndedOtherwise;
    if (!trial.m_pOperation->m_fnRun(again))
        return WorksNoMore;
    return attempt.Happened() ? Good : GoodToTheEnd;
}

class NoMemory : public testing::TestWithParam<Operation>
{
protected:
    template <class Run>
    void Sweep(Run run)
    {
        for (const bool bLasts : {false, true})
            for (unsigned nFirst = 1;; ++nFirst)
            {
                const int nVerdict = run(Trial{&GetParam(), nFirst, bLasts});
                if (nVerdict == GoodToTheEnd)
                    break;
                ASSERT_EQ(Good, nVerdict)
                    << "allocation " << nFirst << (bLasts ? " and all that follow" : "");
            }
    }

    const CFault m_noSleep{FaultyCall::Sleep};
};

using NoMemoryAtFirst = NoMemory;
using NoMemoryLater = NoMemory;

TEST_P(NoMemoryAtFirst, EndsAsDocumented)
{
    const auto inFreshProcess = [](const Trial& trial) {
        return ForkedResult([&trial] { return Try(trial); });
    };
    Sweep(inFreshProcess);
}

TEST_P(NoMemoryLater, LosesNothing)
{
    CReportCapture capture;
    std::set<std::string> reported;
    const auto counted = [&](const Trial& trial) {
        const auto inUse = [&] {
            UninitOrvComTypes();
            ReadHivesAnew();
            return BlocksInUse();
        };
        const long long nBefore = inUse();
        const int nVerdict = Try(trial);
        const long long nLost = inUse() - nBefore;
        std::set<std::string> reports;
        for (const CapturedReport& report : capture.Take())
            reports.insert(report.m_sCondition);
        reported.insert(reports.begin(), reports.end());
        // A pool whose teardown could not be registered stays, which was reported.
        if (nLost != 0 && !reports.contains("g_PlReg != nullptr"))
            return static_cast<int>(LostBlocks);
        return reports.contains("!IsChainUsed(p)") ? LostItems : nVerdict;
    };
    OrvReportAssertion("", 0, "", "", 0);
    Try({&GetParam(), 0, false}); // makes what is made once
    Sweep(counted);
    for (const char* sReport : GetParam().m_sReports)
        EXPECT_TRUE(sReport == nullptr || reported.contains(sReport)) << testing::PrintToString(reported);
}

const auto kNameOf = [](const auto& row) {
    std::string sName = row.param.m_sName;
    std::erase_if(sName, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
    return sName;
};

#ifndef ORV_TEST_SANITIZED // which need memory themselves where a thread throws, and long to fork
INSTANTIATE_TEST_SUITE_P(Operations, NoMemoryAtFirst, testing::ValuesIn(kOperations), kNameOf);
#else
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NoMemoryAtFirst);
#endif

/// The writer threads of logs give back what they had when they have ended.
std::vector<Operation> WithoutLogs()
{
    std::vector<Operation> operations;
    std::ranges::copy_if(kOperations, std::back_inserter(operations), [](const Operation& operation) {
        return std::string_view(operation.m_sName).find("log") == std::string_view::npos;
    });
    return operations;
}

INSTANTIATE_TEST_SUITE_P(Operations, NoMemoryLater, testing::ValuesIn(WithoutLogs()), kNameOf);

} // namespace
