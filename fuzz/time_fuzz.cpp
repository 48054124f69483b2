// Both parsers of times: what they must not do is read past the end, change a time that they refuse, or read
// a time that its own text does not read back as.
#include "fuzzing.h"
#include "orvcomtypes/orvtime.h"

#include <cstring>
#include <string>

namespace
{

constexpr int kKept = 77;

template <class Char>
void CheckParser(const std::basic_string<Char>& sText)
{
    COrvTime t(kKept);
    if (!t.SetFromString(sText.c_str()))
    {
        Require(t.GetOrvTime() == kKept || t.IsNull());
        return;
    }
    if (!t.IsValid())
        return; // a UTC text may name a time before 1970
    for (const auto type : {COrvTime::dftISO, COrvTime::dftISO_T})
    {
        Char utc[32];
        t.DebugFormat(type, utc, 32);
        Require(COrvTime(utc) == t);
    }
}

void CheckLocale(const std::basic_string<WCHAR>& sText, unsigned uiFlags)
{
    COrvTime t(kKept);
    if (!t.ParseLocal(sText.c_str(), uiFlags))
    {
        Require(t.GetOrvTime() == kKept || t.IsNull());
        return;
    }
    COrvTime tBack;
    Require(!t.IsValid() || (tBack.ParseLocal(t.FormatLocal(uiFlags), uiFlags) && tBack == t));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    // Exact copies, so that a read past the terminator is seen.
    const std::string sNarrow(reinterpret_cast<const char*>(pData), nSize);
    CheckParser(sNarrow);
    CheckParser(std::basic_string<WCHAR>(sNarrow.begin(), sNarrow.end()));
    std::basic_string<WCHAR> sWide(nSize / sizeof(WCHAR), 0);
    if (!sWide.empty())
        std::memcpy(sWide.data(), pData, sWide.size() * sizeof(WCHAR));
    CheckParser(sWide);
    for (const unsigned uiFlags : {COrvTime::Date_Short | COrvTime::Time_Long,
                                   COrvTime::Date_Long | COrvTime::Time_Long | COrvTime::Ext_TimeFirst})
    {
        CheckLocale(std::basic_string<WCHAR>(sNarrow.begin(), sNarrow.end()), uiFlags);
        CheckLocale(sWide, uiFlags);
    }
    return 0;
}
