#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/regkeyw.h"

#include "support/random.h"
#include "support/registry_values.h"
#include "support/report_capture.h"
#include "support/test_registry.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

namespace
{

const Text kRoot = ORVTEXT("Software\\Orvanex\\Lumatrek");
const Text kSub = kRoot + ORVTEXT("\\Sub");

/// One of the two forms of every function, so that each test runs with both.
#define ORV_FORM(Form, Unit, suffix) \
    struct Form \
    { \
        using Char = Unit; \
        static constexpr const char* kSuffix = #suffix; \
        static constexpr auto GetRoot = GetLQSettingsRoot##suffix; \
        static constexpr auto SetRoot = SetLQSettingsRoot##suffix; \
        static constexpr auto GetDWORD = GetLQDWORDSetting##suffix; \
        static constexpr auto GetQWORD = GetLQQWORDSetting##suffix; \
        static constexpr auto GetString = GetLQStringSetting##suffix; \
        static constexpr auto GetBinary = GetLQBinarySetting##suffix; \
        static constexpr auto SetDWORD = SetLQDWORDSetting##suffix; \
        static constexpr auto SetQWORD = SetLQQWORDSetting##suffix; \
        static constexpr auto SetString = SetLQStringSetting##suffix; \
        static constexpr auto SetBinary = SetLQBinarySetting##suffix; \
        static constexpr auto Expand = ExpandPath##suffix; \
    }
ORV_FORM(Narrow, char, A);
ORV_FORM(Wide, WCHAR, W);

// ---- The value "v" of the key "Sub" ----

LSTATUS Store(HKEY hHive, const std::optional<RegistryValue>& value)
{
    return StoreValue(hHive, kSub, ORVTEXT("v"), value);
}

template <class Form>
class Settings : public testing::Test
{
protected:
    using Unit = typename Form::Char;
    using String = std::basic_string<Unit>;

    ~Settings() override { SetLQSettingsRootW(kRoot.c_str()); }

    static String T(const std::string& s) { return String(s.begin(), s.end()); }
    static std::string Ascii(const String& s) { return std::string(s.begin(), s.end()); }

    static std::string Root(unsigned cch)
    {
        std::vector<Unit> buffer(cch);
        const bool bWhole = Form::GetRoot(buffer.data(), cch);
        return (bWhole ? "+" : "-") + Ascii(buffer.data());
    }
    /// What a text getter delivers into a buffer of so many characters, behind "+" or "-" for its result.
    std::string GetText(unsigned cch, const char* sDefault = nullptr)
    {
        std::vector<Unit> buffer(cch + 1, Unit('#'));
        const bool bFound = Form::GetString(m_sSub.c_str(), m_sName.c_str(), buffer.data(),
                                            static_cast<DWORD>(cch * sizeof(Unit)),
                                            sDefault != nullptr ? T(sDefault).c_str() : nullptr);
        EXPECT_EQ(Unit('#'), buffer[cch]) << "written behind the buffer";
        return (bFound ? "+" : "-") + Ascii(buffer.data());
    }

    CTestRegistry m_registry;
    CReportCapture m_capture;
    const String m_sSub = T("Sub");
    const String m_sName = T("v");
};

using Forms = testing::Types<Narrow, Wide>;
TYPED_TEST_SUITE(Settings, Forms);

/// Stores, sets and reads a setting at random. Readers take the user's value, the machine's or the default,
/// and a value is stored only while it differs from what holds without it.
template <class Value, class Stored, class Get, class Set>
void ExpectModel(const std::vector<Value>& values, Stored stored, Get get, Set set)
{
    const std::optional<RegistryValue> foreign[] = {
        std::nullopt,           {{REG_DWORD, "123"}},       {{REG_DWORD, "12345678"}}, {{REG_QWORD, "1234"}},
        {{REG_BINARY, "1234"}}, {{REG_BINARY, "12345678"}}, {{REG_MULTI_SZ, "1234"}},
    };
    CTestRandom random;
    const auto any = [&] { return values[random.UpTo(static_cast<unsigned>(values.size() - 1))]; };
    std::optional<Value> user, machine; // as they can be read
    for (int i = 0; i < 80; ++i)
    {
        const Value value = any(), byDefault = any();
        if (random.UpTo(1) == 0)
        {
            ASSERT_TRUE(set(value, byDefault));
            user = value;
            if (value == machine.value_or(byDefault))
                user.reset();
            const std::optional<RegistryValue> inUser = ReadValue(HKEY_CURRENT_USER, kSub, ORVTEXT("v"));
            ASSERT_EQ(user ? std::optional(stored(value)) : std::nullopt, inUser) << "step " << i;
        }
        else
        {
            const bool bUser = random.UpTo(1) == 0, bForeign = random.UpTo(1) == 0;
            (bUser ? user : machine) = bForeign ? std::nullopt : std::optional(value);
            Store(bUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE,
                  bForeign ? foreign[random.UpTo(std::size(foreign) - 1)] : stored(value));
        }
        ASSERT_EQ((user ? user : machine).value_or(byDefault), get(byDefault)) << "step " << i;
    }
}

TYPED_TEST(Settings, NumbersFollowAModel)
{
    const auto *sSub = this->m_sSub.c_str(), *sName = this->m_sName.c_str();
    ExpectModel<DWORD>(
        {1, 7, 0xFFFFFFFF}, NumberValue<DWORD>, [&](DWORD n) { return TypeParam::GetDWORD(sSub, sName, n); },
        [&](DWORD n, DWORD nDefault) { return TypeParam::SetDWORD(sSub, sName, n, nDefault); });
    ExpectModel<ULONGLONG>(
        {1, 7, 0xF122334455667788}, NumberValue<ULONGLONG>,
        [&](ULONGLONG n) { return TypeParam::GetQWORD(sSub, sName, n); },
        [&](ULONGLONG n, ULONGLONG nDefault) { return TypeParam::SetQWORD(sSub, sName, n, nDefault); });
    EXPECT_NO_REPORTS(this->m_capture);
}

TYPED_TEST(Settings, TextFollowsAModel)
{
    ExpectModel<std::string>(
        {"a", "A", "", std::string(3000, 'm')},
        [](const std::string& s) { return TextValue(Text(s.begin(), s.end())); },
        [&](const std::string& s) { return this->GetText(4000, s.c_str()).substr(1); },
        [&](const std::string& s, const std::string& sDefault) {
            return TypeParam::SetString(this->m_sSub.c_str(), this->m_sName.c_str(), this->T(s).c_str(),
                                        this->T(sDefault).c_str());
        });
    EXPECT_NO_REPORTS(this->m_capture);
}

TYPED_TEST(Settings, TextIsTrimmedAndCut)
{
    // The last column is what comes out of the text as a default: that is cut before it is trimmed.
    const std::tuple<Text, unsigned, const char*, const char*> rows[] = {
        {ORVTEXT("  abc\t"), 100, "+abc", "-abc"}, {ORVTEXT("\r\n ! b \x01"), 100, "+! b", "-! b"},
        {ORVTEXT("   "), 100, "+", "-"},           {ORVTEXT("  ab"), 4, "+ab", "-a"},
        {ORVTEXT("abc"), 4, "+abc", "-abc"},       {ORVTEXT("abc"), 3, "+ab", "-ab"},
        {ORVTEXT("abc"), 2, "+a", "-a"},           {ORVTEXT("  abcdef"), 4, "+abc", "-a"},
        {ORVTEXT("ab %d%"), 4, "+ab ", "-ab"},     {ORVTEXT("%d%"), 9, "+%d%", "-%d%"},
    };
    for (const auto& [sText, cch, sStored, sDefault] : rows)
    {
        EXPECT_EQ(sDefault, this->GetText(cch, std::string(sText.begin(), sText.end()).c_str()));
        RegistryValue unterminated = TextValue(sText, REG_EXPAND_SZ);
        unterminated.second.resize(sText.size() * sizeof(WCHAR));
        Store(HKEY_LOCAL_MACHINE, unterminated);
        EXPECT_EQ(sStored, this->GetText(cch)) << "without terminator";
        Store(HKEY_CURRENT_USER, TextValue(sText));
        EXPECT_EQ(sStored, this->GetText(cch));
        Store(HKEY_CURRENT_USER, std::nullopt);
        Store(HKEY_LOCAL_MACHINE, std::nullopt);
    }
    EXPECT_EQ("-", this->GetText(100));
}

TYPED_TEST(Settings, ADefaultMayBeMissingOrInTheBuffer)
{
    using Char = typename TypeParam::Char;
    Char own[] = {'a', 'b', 0};
    EXPECT_FALSE(TypeParam::GetString(nullptr, this->m_sName.c_str(), own, sizeof own, own));
    EXPECT_EQ("ab", this->Ascii(own));
    const Char cEmpty = 0;
    EXPECT_TRUE(TypeParam::SetString(this->m_sSub.c_str(), this->m_sName.c_str(), &cEmpty, nullptr));
    EXPECT_EQ(std::nullopt, ReadValue(HKEY_CURRENT_USER, kSub, ORVTEXT("v")))
        << "no default is the empty text";
}

TYPED_TEST(Settings, BytesAreDeliveredWholeOrNotAtAll)
{
    const auto *sSub = this->m_sSub.c_str(), *sName = this->m_sName.c_str();
    const auto get = [&](DWORD cbRoom) {
        std::string sBytes(cbRoom, '#');
        const bool bFound = TypeParam::GetBinary(sSub, sName, sBytes.data(), &cbRoom);
        return (bFound ? "+" : "-") + sBytes.substr(0, cbRoom);
    };
    EXPECT_EQ("-####", get(4));
    EXPECT_TRUE(TypeParam::SetBinary(sSub, sName, "\x80\0\x81", 3));
    EXPECT_EQ(RegistryValue(REG_BINARY, std::string("\x80\0\x81", 3)),
              ReadValue(HKEY_CURRENT_USER, kSub, ORVTEXT("v")));
    DWORD cb = 0;
    EXPECT_TRUE(TypeParam::GetBinary(sSub, sName, nullptr, &cb));
    EXPECT_EQ(3u, cb);
    EXPECT_EQ(std::string("+\x80\0\x81", 4), get(4));
    EXPECT_EQ("-##", get(2));
    Store(HKEY_LOCAL_MACHINE, RegistryValue(REG_BINARY, "mm"));
    EXPECT_EQ("+mm", get(2)) << "a value that is too large gives way to the machine's";
    EXPECT_EQ("-#", get(1));
    Store(HKEY_CURRENT_USER, TextValue(ORVTEXT("x")));
    EXPECT_EQ("+mm", get(4));
    EXPECT_NO_REPORTS(this->m_capture);
}

TYPED_TEST(Settings, AKeyPathIsTheRootAndASubKeyAndCut)
{
    const auto* sName = this->m_sName.c_str();
    const auto sLong = this->T(std::string(300, 's'));
    EXPECT_TRUE(TypeParam::SetDWORD(sLong.c_str(), sName, 3, 0));
    EXPECT_EQ(3u, TypeParam::GetDWORD(sLong.substr(0, 259 - kRoot.size() - 1).c_str(), sName, 0));

    EXPECT_TRUE(TypeParam::SetDWORD(nullptr, sName, 5, 0));
    EXPECT_EQ(5u, TypeParam::GetDWORD(this->T("").c_str(), sName, 0));
    EXPECT_EQ(NumberValue(5), ReadValue(HKEY_CURRENT_USER, kRoot, ORVTEXT("v")));
}

TYPED_TEST(Settings, TheRootIsCopiedCutAndChanged)
{
    EXPECT_EQ("+Software\\Orvanex\\Lumatrek", this->Root(26));
    EXPECT_NO_REPORTS(this->m_capture);
    EXPECT_EQ("-Software\\Orvanex\\Lumatre", this->Root(25));
    if (std::is_same_v<TypeParam, Wide>)
    {
        EXPECT_REPORTS(this->m_capture, {{"GetLQSettingsRootW", "", "0x8007007A", "lqsettings"}});
    }
    const std::pair<std::string, std::string> rows[] = {{"Software\\X\\", "+Software\\X"},
                                                        {"X\\\\", "+X\\"},
                                                        {std::string(300, 'r'), "+" + std::string(259, 'r')},
                                                        {"X", "+X"}};
    for (const auto& [sSet, sExpected] : rows)
    {
        TypeParam::SetRoot(this->T(sSet).c_str());
        EXPECT_EQ(sExpected, this->Root(260));
    }
    EXPECT_EQ("+X", this->Root(2));
    const auto* v = this->m_sName.c_str();
    TypeParam::SetRoot(this->T(rows[2].first).c_str()); // too long for the name of a key
    EXPECT_FALSE(TypeParam::SetDWORD(nullptr, v, 1, 2) || TypeParam::SetBinary(nullptr, v, "x", 1));
    EXPECT_NO_REPORTS(this->m_capture);
    TypeParam::SetRoot(this->T("\\").c_str());
    const std::string sFunction = std::string("SetLQSettingsRoot") + TypeParam::kSuffix;
    EXPECT_REPORTS(this->m_capture, {{sFunction.c_str(), "s_lqSettingsRoot[0] != L'\\0'", "", "lqsettings"}});
}

TYPED_TEST(Settings, PathsExpandFromTheirBaseDirectory)
{
    StoreValue(HKEY_LOCAL_MACHINE, kRoot, ORVTEXT("DataPath"), TextValue(ORVTEXT(" C:\\Data ")));
    StoreValue(HKEY_CURRENT_USER, kRoot, ORVTEXT("DefaultLogPath"), TextValue(ORVTEXT("D:\\Log\\")));
    const std::tuple<const char*, unsigned, const char*> rows[] = {
        {"*\\log\\a.txt", 100, "C:\\Data\\log\\a.txt"},
        {"$\\x", 100, "D:\\Log\\x"},
        {"*\\", 100, "C:\\Data\\"},
        {"*x\\a", 100, "*x\\a"},
        {"a*\\b", 100, "a*\\b"},
        {"*", 2, "*"},
        {"", 1, ""},
        {"*\\log\\a.txt", 18, "C:\\Data\\log\\a.txt"},
        {"*\\log\\a.txt", 17, "C:\\Data\\log\\a.tx"},
        {"*\\a", 5, "C:\\D"},
        {"*\\a", 8, "C:\\Data"},
    };
    for (const auto& [sShort, cch, sExpected] : rows)
    {
        auto sPath = this->T(sShort);
        sPath.resize(cch);
        sPath += '#';
        TypeParam::Expand(sPath.data(), static_cast<unsigned>(cch * sizeof sPath[0]));
        EXPECT_EQ('#', sPath[cch]) << "written behind the buffer";
        EXPECT_EQ(sExpected, this->Ascii(sPath.c_str())) << sShort;
    }
    // One character has no room for a terminator.
    typename TypeParam::Char cStar = '*';
    TypeParam::Expand(&cStar, sizeof cStar);
    EXPECT_EQ('*', cStar);
    EXPECT_NO_REPORTS(this->m_capture);
}

TYPED_TEST(Settings, APathWithoutBaseDirectoryStaysAndIsReported)
{
    const std::string sFunction = std::string("ExpandPath") + TypeParam::kSuffix;
    const char* sCondition =
        std::is_same_v<TypeParam, Wide> ? "!bRes || cBaseDir[0] == L'\\0'" : "!bRes || cBaseDir[0] == '\\0'";
    const std::string sLong = "$\\" + std::string(600, 'x');
    for (const auto& setting : {std::optional<RegistryValue>(), std::optional(TextValue(ORVTEXT("\t ")))})
    {
        StoreValue(HKEY_CURRENT_USER, kRoot, ORVTEXT("DefaultLogPath"), setting);
        auto sPath = this->T(sLong);
        TypeParam::Expand(sPath.data(), static_cast<unsigned>((sPath.size() + 1) * sizeof sPath[0]));
        EXPECT_EQ(this->T(sLong), sPath);
        EXPECT_REPORTS(this->m_capture,
                       {{sFunction.c_str(), sCondition, "", "lqsettings"},
                        {sFunction.c_str(), sLong.substr(0, 519).c_str(), "", "lqsettings"}});
    }
}

TYPED_TEST(Settings, WrongArgumentsAreReportedAndChangeNothing)
{
    using F = TypeParam;
    const typename F::Char cEmpty = 0;
    const auto* v = this->m_sName.c_str();
    typename F::Char text[] = {'#', '#'};
    DWORD cb = 0;
    const char* sNoDest = "rootPath == nullptr || cchDest < 2";
    const char* sNoRoot = "rootPath == nullptr || *rootPath == 0";
    const char* sNoName = "valueName == nullptr || valueName[0] == L'\\0'";
    const char* sNoRoom = "dest == nullptr || cbDest < 2 * sizeof (dest[0])";
    const char* sNoSize = "pcbDest == nullptr || (dest != nullptr && *pcbDest < 1)";
    const char* sNoPath = std::is_same_v<F, Wide> ? "cPath == nullptr || cPathSizeInBytes < sizeof (wchar_t)"
                                                  : "cPath == nullptr || cPathSizeInBytes < sizeof (char)";
    const std::tuple<std::function<bool()>, std::string, const char*> rows[] = {
        {[&] { return F::GetRoot(nullptr, 10); }, "GetLQSettingsRoot", sNoDest},
        {[&] { return F::GetRoot(text, 1); }, "GetLQSettingsRoot", sNoDest},
        {[&] { return F::SetRoot(nullptr), false; }, "SetLQSettingsRoot", sNoRoot},
        {[&] { return F::SetRoot(&cEmpty), false; }, "SetLQSettingsRoot", sNoRoot},
        {[&] { return F::SetDWORD(nullptr, nullptr, 1, 2); }, "SetLQDWORDSetting", sNoName},
        {[&] { return F::SetQWORD(nullptr, &cEmpty, 1, 2); }, "SetLQQWORDSetting", sNoName},
        {[&] { return F::GetString(nullptr, v, nullptr, 9, nullptr); }, "GetLQStringSetting", sNoRoom},
        {[&] { return F::GetString(nullptr, v, text, sizeof text - 1, v); }, "GetLQStringSetting", sNoRoom},
        {[&] { return F::SetString(nullptr, v, nullptr, nullptr); }, "SetLQStringSetting",
         "value == nullptr"},
        {[&] { return F::GetBinary(nullptr, v, text, nullptr); }, "GetLQBinarySetting", sNoSize},
        {[&] { return F::GetBinary(nullptr, v, text, &cb); }, "GetLQBinarySetting", sNoSize},
        {[&] { return F::Expand(nullptr, 10), false; }, "ExpandPath", sNoPath},
        {[&] { return F::Expand(text, sizeof text[0] - 1), false; }, "ExpandPath", sNoPath},
    };
    for (const auto& [call, sFunction, sCondition] : rows)
    {
        EXPECT_FALSE(call());
        EXPECT_REPORTS(this->m_capture, {{(sFunction + F::kSuffix).c_str(), sCondition, "", "lqsettings"}});
    }
    EXPECT_EQ('#', text[0]);
    EXPECT_EQ("+Software\\Orvanex\\Lumatrek", this->Root(100));
}

// ---- What has a wide form only ----

using WideSettings = Settings<Wide>;

TEST_F(WideSettings, ValuesAsTextOfAnyLength)
{
    const auto get = [](const WCHAR* sSub, const WCHAR* sDefault) {
        return TextOf(GetLQStrSetting(sSub, ORVTEXT("v"), sDefault));
    };
    EXPECT_EQ(kRoot, TextOf(GetLQSettingsRootStr()));
    EXPECT_EQ(Text(), get(ORVTEXT("Sub"), nullptr));
    EXPECT_EQ(Text(ORVTEXT(" d ")), get(ORVTEXT("Sub"), ORVTEXT(" d ")));
    Store(HKEY_LOCAL_MACHINE, TextValue(ORVTEXT("\t%m% "), REG_EXPAND_SZ));
    Store(HKEY_CURRENT_USER, NumberValue(1));
    EXPECT_EQ(Text(ORVTEXT("\t%m% ")), get(ORVTEXT("Sub"), ORVTEXT("d"))) << "not trimmed";
    Store(HKEY_CURRENT_USER, TextValue(Text(5000, ORVTEXT('u'))));
    EXPECT_EQ(Text(5000, ORVTEXT('u')), get(ORVTEXT("Sub"), ORVTEXT("d")));
    RegistryValue odd = TextValue(ORVTEXT("odd"));
    odd.second.resize(5);
    Store(HKEY_CURRENT_USER, odd);
    EXPECT_EQ(Text(ORVTEXT("od")), get(ORVTEXT("Sub"), nullptr));

    const Text sLongPath = Text(200, ORVTEXT('a')) + ORVTEXT('\\') + Text(200, ORVTEXT('b'));
    StoreValue(HKEY_CURRENT_USER, kRoot + ORVTEXT('\\') + sLongPath, ORVTEXT("v"), TextValue(ORVTEXT("far")));
    EXPECT_EQ(Text(ORVTEXT("far")), get(sLongPath.c_str(), nullptr));
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(WideSettings, NarrowAndWideFormsShareValues)
{
    const Text sKey = ORVTEXT("\u00C1rv"), sName = ORVTEXT("\u00E9"), sValue = ORVTEXT("\u00F6\u00FC");
    EXPECT_TRUE(SetLQStringSettingA(::Narrow(sKey).c_str(), ::Narrow(sName).c_str(), ::Narrow(sValue).c_str(),
                                    nullptr));
    EXPECT_EQ(sValue, TextOf(GetLQStrSetting(sKey.c_str(), sName.c_str(), nullptr)));

    // Where the ANSI code page is UTF-8, the second character does not fit whole.
    char sCut[4];
    const std::string sFits = ::Narrow(sValue.substr(0, ::Narrow(sValue).size() < sizeof sCut ? 2 : 1));
    EXPECT_TRUE(GetLQStringSettingA(::Narrow(sKey).c_str(), ::Narrow(sName).c_str(), sCut, sizeof sCut, ""));
    EXPECT_EQ(sFits, sCut);
    EXPECT_FALSE(GetLQStringSettingA("none", "v", sCut, sizeof sCut, ::Narrow(sValue).c_str()));
    EXPECT_EQ(sFits, sCut);
}

TEST_F(WideSettings, TextOfTheCodePageSurvivesTheNarrowForms)
{
    // Of three bytes in UTF-8; in page 932 the last one of U+8868 is that of a backslash.
    for (const WCHAR* const sText :
         {ORVTEXT("C:\\\u20AC\u20AC\u20AC\u20AC\u20AC"), ORVTEXT("C:\\\u65E5\u65E5\u65E5\u65E5\u8868")})
    {
        const std::string sNarrow = ::Narrow(sText);
        if (sNarrow.find('?') != sNarrow.npos) // a page without them
            continue;
        StoreValue(HKEY_LOCAL_MACHINE, kRoot, ORVTEXT("DataPath"), TextValue(sText));
        char sPath[100] = "*\\x";
        ExpandPathA(sPath, sizeof sPath);
        EXPECT_EQ(sNarrow + "\\x", sPath);
        EXPECT_TRUE(SetLQStringSettingA(nullptr, "DataPath", sNarrow.c_str(), ""));
        EXPECT_EQ(std::nullopt, ReadValue(HKEY_CURRENT_USER, kRoot, ORVTEXT("DataPath")));
    }
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(WideSettings, AKeyDeliversItsText)
{
    const RegistryValue text = TextValue(ORVTEXT("abc"), REG_EXPAND_SZ);
    const std::tuple<std::optional<RegistryValue>, ULONG, LSTATUS, ULONG> rows[] = {
        {text, 4, ERROR_SUCCESS, 4},
        {text, 3, ERROR_MORE_DATA, 0},
        {std::nullopt, 10, ERROR_FILE_NOT_FOUND, 0},
        {NumberValue(0), 10, ERROR_INVALID_DATA, 0},
        {{{REG_SZ, text.second.substr(0, 2 * sizeof(WCHAR))}}, 10, ERROR_INVALID_DATA, 0},
        {{{REG_SZ, text.second.substr(0, 3)}}, 10, ERROR_INVALID_DATA, 0},
        {{{REG_SZ, ""}}, 10, ERROR_SUCCESS, 0},
    };
    CRegKeyW key;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.Open(HKEY_CURRENT_USER, ORVTEXT("Software\\none"), KEY_READ));
    EXPECT_EQ(nullptr, key.Get());
    for (const auto& [stored, nRoom, lExpected, nExpected] : rows)
    {
        Store(HKEY_CURRENT_USER, stored);
        ASSERT_EQ(ERROR_SUCCESS, key.Open(HKEY_CURRENT_USER, kSub.c_str(), KEY_READ))
            << "also over an open one";
        WCHAR sBuffer[10] = {'#', '#'};
        ULONG nChars = nRoom;
        EXPECT_EQ(lExpected, key.QueryStringValue(ORVTEXT("v"), sBuffer, &nChars));
        EXPECT_EQ(nExpected, nChars);
        if (lExpected == ERROR_SUCCESS)
        {
            EXPECT_EQ(Text(nExpected == 0 ? ORVTEXT("") : ORVTEXT("abc")), Text(sBuffer));
        }
    }
    Store(HKEY_CURRENT_USER, text);
    ULONG nChars = 0;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue(ORVTEXT("v"), nullptr, &nChars));
    EXPECT_EQ(4u, nChars);
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(WideSettings, AKeyReportsMisuse)
{
    CRegKeyW key;
    ULONG nChars = 5;
    EXPECT_NE(ERROR_SUCCESS, key.QueryStringValue(ORVTEXT("t"), nullptr, &nChars));
    EXPECT_EQ(0u, nChars);
    EXPECT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, kRoot.c_str(), KEY_READ));
    EXPECT_NE(ERROR_SUCCESS, key.QueryStringValue(ORVTEXT("t"), nullptr, nullptr));
    EXPECT_REPORTS(m_capture, {{"CRegKeyW::QueryStringValue", "m_hKey != nullptr", "", "regkeyw"},
                               {"CRegKeyW::QueryStringValue", "pnChars != nullptr", "", "regkeyw"}});
}

} // namespace
