#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/regkeyw.h"

#include "support/report_capture.h"
#include "support/test_registry.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

constexpr const WCHAR* kRoot = ORVTEXT("Software\\Orvanex\\Lumatrek");
constexpr const WCHAR* kSub = ORVTEXT("Sub");

/// One of the two forms of every function, so that each test runs with both.
struct Narrow
{
    using Char = char;
    static std::string Make(const char* s) { return s; }
    static constexpr auto GetRoot = GetLQSettingsRootA;
    static constexpr auto SetRoot = SetLQSettingsRootA;
    static constexpr auto GetDWORD = GetLQDWORDSettingA;
    static constexpr auto GetQWORD = GetLQQWORDSettingA;
    static constexpr auto GetString = GetLQStringSettingA;
    static constexpr auto GetBinary = GetLQBinarySettingA;
    static constexpr auto SetDWORD = SetLQDWORDSettingA;
    static constexpr auto SetQWORD = SetLQQWORDSettingA;
    static constexpr auto SetString = SetLQStringSettingA;
    static constexpr auto SetBinary = SetLQBinarySettingA;
    static constexpr auto Expand = ExpandPathA;
    static constexpr const char* s_sSuffix = "A";
};

struct Wide
{
    using Char = WCHAR;
    static Text Make(const char* s) { return Text(s, s + std::strlen(s)); }
    static constexpr auto GetRoot = GetLQSettingsRootW;
    static constexpr auto SetRoot = SetLQSettingsRootW;
    static constexpr auto GetDWORD = GetLQDWORDSettingW;
    static constexpr auto GetQWORD = GetLQQWORDSettingW;
    static constexpr auto GetString = GetLQStringSettingW;
    static constexpr auto GetBinary = GetLQBinarySettingW;
    static constexpr auto SetDWORD = SetLQDWORDSettingW;
    static constexpr auto SetQWORD = SetLQQWORDSettingW;
    static constexpr auto SetString = SetLQStringSettingW;
    static constexpr auto SetBinary = SetLQBinarySettingW;
    static constexpr auto Expand = ExpandPathW;
    static constexpr const char* s_sSuffix = "W";
};

// ---- The registry as others see it ----

void Store(HKEY hHive, const WCHAR* sSubKey, const WCHAR* sName, DWORD dwType, const void* pData,
           std::size_t cbData)
{
    const Text sPath = sSubKey == nullptr ? kRoot : Text(kRoot) + ORVTEXT('\\') + sSubKey;
    HKEY hKey = nullptr;
    ASSERT_EQ(ERROR_SUCCESS,
              RegCreateKeyExW(hHive, sPath.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &hKey, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(hKey, sName, 0, dwType, static_cast<const BYTE*>(pData),
                                            static_cast<DWORD>(cbData)));
    RegCloseKey(hKey);
}

void StoreText(HKEY hHive, const WCHAR* sSubKey, const WCHAR* sName, const Text& sText, DWORD dwType = REG_SZ)
{
    Store(hHive, sSubKey, sName, dwType, sText.c_str(), (sText.size() + 1) * sizeof(WCHAR));
}

void StoreNumber(HKEY hHive, const WCHAR* sSubKey, const WCHAR* sName, DWORD dwValue)
{
    Store(hHive, sSubKey, sName, REG_DWORD, &dwValue, sizeof dwValue);
}

/// Type and bytes of a value below "Sub", or a type of -1 when there is none.
std::pair<int, std::string> Stored(HKEY hHive, const WCHAR* sName)
{
    CRegKeyW key;
    DWORD dwType = 0;
    std::string sBytes(1000, '\0');
    DWORD cb = 1000;
    if (key.Open(hHive, (Text(kRoot) + ORVTEXT("\\Sub")).c_str(), KEY_READ) != ERROR_SUCCESS ||
        RegQueryValueExW(key.Get(), sName, nullptr, &dwType, reinterpret_cast<LPBYTE>(sBytes.data()), &cb) !=
            ERROR_SUCCESS)
        return {-1, ""};
    sBytes.resize(cb);
    return {static_cast<int>(dwType), sBytes};
}

bool IsStored(const WCHAR* sName)
{
    return Stored(HKEY_CURRENT_USER, sName).first != -1;
}

template <class Form>
class Settings : public testing::Test
{
protected:
    using Unit = typename Form::Char;
    using String = std::basic_string<Unit>;

    ~Settings() override { SetLQSettingsRootW(kRoot); }

    static String T(const char* s) { return Form::Make(s); }

    /// The text that a getter delivers into a buffer of so many characters, behind "+" or "-" for its result.
    static std::string GetText(const char* sName, unsigned cch = 100, const char* sDefault = nullptr)
    {
        std::vector<Unit> buffer(cch + 1, Unit('#'));
        const String sDefaultText = T(sDefault != nullptr ? sDefault : "");
        const bool bFound = Form::GetString(T("Sub").c_str(), T(sName).c_str(), buffer.data(),
                                            static_cast<DWORD>(cch * sizeof(Unit)),
                                            sDefault != nullptr ? sDefaultText.c_str() : nullptr);
        EXPECT_EQ(Unit('#'), buffer[cch]) << "written behind the buffer";
        const String sText(buffer.data());
        return (bFound ? "+" : "-") + std::string(sText.begin(), sText.end());
    }
    static DWORD GetNumber(const char* sName, DWORD dwDefault)
    {
        return Form::GetDWORD(T("Sub").c_str(), T(sName).c_str(), dwDefault);
    }
    static bool SetNumber(const char* sName, DWORD dwValue, DWORD dwDefault)
    {
        return Form::SetDWORD(T("Sub").c_str(), T(sName).c_str(), dwValue, dwDefault);
    }
    static bool SetText(const char* sName, const char* sValue, const char* sDefault)
    {
        return Form::SetString(T("Sub").c_str(), T(sName).c_str(), T(sValue).c_str(),
                               sDefault != nullptr ? T(sDefault).c_str() : nullptr);
    }
    static std::string Root(unsigned cch)
    {
        std::vector<Unit> buffer(cch);
        const bool bWhole = Form::GetRoot(buffer.data(), cch);
        const String sRoot(buffer.data());
        return (bWhole ? "+" : "-") + std::string(sRoot.begin(), sRoot.end());
    }
    /// Name of a function in this form.
    static std::string F(const char* sName) { return std::string(sName) + Form::s_sSuffix; }

    CTestRegistry m_registry;
    CReportCapture m_capture;
};

using Forms = testing::Types<Narrow, Wide>;
TYPED_TEST_SUITE(Settings, Forms);

// ---- Root ----

TYPED_TEST(Settings, TheRootIsCopiedCutAndChanged)
{
    EXPECT_EQ("+Software\\Orvanex\\Lumatrek", this->Root(26));
    EXPECT_NO_REPORTS(this->m_capture);
    EXPECT_EQ("-Software\\Orvanex\\Lumatre", this->Root(25));
    if (std::is_same_v<TypeParam, Wide>)
    {
        EXPECT_REPORTS(this->m_capture, {{"GetLQSettingsRootW", "", "0x8007007A", "lqsettings"}});
    }

    const struct
    {
        const char* m_sSet;
        const char* m_sExpected;
    } rows[] = {{"Software\\X", "+Software\\X"}, {"Software\\X\\", "+Software\\X"}, {"X\\\\", "+X\\"}};
    for (const auto& row : rows)
    {
        TypeParam::SetRoot(this->T(row.m_sSet).c_str());
        EXPECT_EQ(row.m_sExpected, this->Root(260));
    }
    TypeParam::SetRoot(this->T(std::string(300, 'r').c_str()).c_str());
    EXPECT_EQ("+" + std::string(259, 'r'), this->Root(260));
    EXPECT_NO_REPORTS(this->m_capture);
}

TYPED_TEST(Settings, ARootMayNotBeEmpty)
{
    using Char = typename TypeParam::Char;
    Char buffer[4];
    EXPECT_FALSE(TypeParam::GetRoot(nullptr, 10));
    EXPECT_FALSE(TypeParam::GetRoot(buffer, 1));
    TypeParam::SetRoot(nullptr);
    TypeParam::SetRoot(this->T("").c_str());
    EXPECT_EQ("+Software\\Orvanex\\Lumatrek", this->Root(100)) << "unchanged";
    TypeParam::SetRoot(this->T("\\").c_str());
    const std::string sGet = this->F("GetLQSettingsRoot");
    const std::string sSet = this->F("SetLQSettingsRoot");
    EXPECT_REPORTS(this->m_capture, {{sGet.c_str(), "rootPath == nullptr || cchDest < 2", "", "lqsettings"},
                                     {sGet.c_str(), "rootPath == nullptr || cchDest < 2"},
                                     {sSet.c_str(), "rootPath == nullptr || *rootPath == 0"},
                                     {sSet.c_str(), "rootPath == nullptr || *rootPath == 0"},
                                     {sSet.c_str(), "s_lqSettingsRoot[0] != L'\\0'"}});
}

// ---- Numbers ----

TYPED_TEST(Settings, NumbersComeFromTheUserTheMachineOrTheDefault)
{
    EXPECT_EQ(7u, this->GetNumber("n", 7));
    StoreNumber(HKEY_LOCAL_MACHINE, kSub, ORVTEXT("n"), 1);
    EXPECT_EQ(1u, this->GetNumber("n", 7));
    StoreNumber(HKEY_CURRENT_USER, kSub, ORVTEXT("n"), 0xFFFFFFFF);
    EXPECT_EQ(0xFFFFFFFF, this->GetNumber("N", 7));

    StoreNumber(HKEY_CURRENT_USER, nullptr, ORVTEXT("n"), 5);
    EXPECT_EQ(5u, TypeParam::GetDWORD(nullptr, this->T("n").c_str(), 7));
    EXPECT_EQ(5u, TypeParam::GetDWORD(this->T("").c_str(), this->T("n").c_str(), 7));
}

TYPED_TEST(Settings, NumbersOfAnotherTypeOrSizeCountAsMissing)
{
    const BYTE bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    StoreNumber(HKEY_LOCAL_MACHINE, kSub, ORVTEXT("n"), 9);
    const struct
    {
        DWORD m_dwType;
        std::size_t m_cb;
    } rows[] = {{REG_SZ, 4}, {REG_BINARY, 4}, {REG_DWORD, 3}, {REG_DWORD, 8}, {REG_QWORD, 8}};
    for (const auto& row : rows)
    {
        Store(HKEY_CURRENT_USER, kSub, ORVTEXT("n"), row.m_dwType, bytes, row.m_cb);
        EXPECT_EQ(9u, this->GetNumber("n", 7)) << row.m_dwType << " " << row.m_cb;
    }
    const auto getLong = [&] { return TypeParam::GetQWORD(this->T("Sub").c_str(), this->T("q").c_str(), 7); };
    Store(HKEY_CURRENT_USER, kSub, ORVTEXT("q"), REG_QWORD, bytes, 4);
    EXPECT_EQ(7u, getLong());
    Store(HKEY_LOCAL_MACHINE, kSub, ORVTEXT("q"), REG_QWORD, bytes, 8);
    EXPECT_EQ(0x0807060504030201u, getLong());
}

TYPED_TEST(Settings, ANumberIsPinnedOnlyWhileItDiffers)
{
    EXPECT_TRUE(this->SetNumber("n", 5, 7));
    EXPECT_EQ((std::pair{int(REG_DWORD), std::string("\5\0\0\0", 4)}),
              Stored(HKEY_CURRENT_USER, ORVTEXT("n")));
    EXPECT_TRUE(this->SetNumber("n", 7, 7));
    EXPECT_FALSE(IsStored(ORVTEXT("n"))) << "the default is not stored";

    StoreNumber(HKEY_LOCAL_MACHINE, kSub, ORVTEXT("n"), 1);
    EXPECT_TRUE(this->SetNumber("n", 7, 7));
    EXPECT_EQ(7u, this->GetNumber("n", 0)) << "the machine's value counts, not the default";
    EXPECT_TRUE(this->SetNumber("n", 1, 7));
    EXPECT_FALSE(IsStored(ORVTEXT("n")));
    EXPECT_EQ(1u, this->GetNumber("n", 0));

    const BYTE byte = 1;
    Store(HKEY_LOCAL_MACHINE, kSub, ORVTEXT("n"), REG_BINARY, &byte, 1);
    EXPECT_TRUE(this->SetNumber("n", 7, 7)) << "a machine value of another type does not count";
    EXPECT_FALSE(IsStored(ORVTEXT("n")));

    const auto setLong = [&](ULONGLONG qwValue) {
        return TypeParam::SetQWORD(this->T("Sub").c_str(), this->T("q").c_str(), qwValue, 7);
    };
    EXPECT_TRUE(setLong(0x1122334455667788));
    EXPECT_EQ((std::pair{int(REG_QWORD), std::string("\x88\x77\x66\x55\x44\x33\x22\x11")}),
              Stored(HKEY_CURRENT_USER, ORVTEXT("q")));
    EXPECT_TRUE(setLong(7));
    EXPECT_FALSE(IsStored(ORVTEXT("q")));
    EXPECT_NO_REPORTS(this->m_capture);
}

TYPED_TEST(Settings, NumbersNeedAName)
{
    EXPECT_FALSE(TypeParam::SetDWORD(nullptr, nullptr, 1, 2));
    EXPECT_FALSE(TypeParam::SetQWORD(nullptr, this->T("").c_str(), 1, 2));
    const char* sCondition = "valueName == nullptr || valueName[0] == L'\\0'";
    EXPECT_REPORTS(this->m_capture, {{this->F("SetLQDWORDSetting").c_str(), sCondition, "", "lqsettings"},
                                     {this->F("SetLQQWORDSetting").c_str(), sCondition}});
}

// ---- Text ----

TYPED_TEST(Settings, TextIsTrimmedAndCut)
{
    const struct
    {
        const WCHAR* m_sStored;
        unsigned m_cch;
        const char* m_sExpected;
    } rows[] = {
        {ORVTEXT("  abc\t"), 100, "+abc"}, {ORVTEXT("\r\n a b \x01"), 100, "+a b"},
        {ORVTEXT("   "), 100, "+"},        {ORVTEXT(""), 100, "+"},
        {ORVTEXT("abc"), 5, "+abc"},       {ORVTEXT("abc"), 4, "+abc"},
        {ORVTEXT("abc"), 3, "+ab"},        {ORVTEXT("abc"), 2, "+a"},
        {ORVTEXT("  abcdef"), 4, "+abc"},  {ORVTEXT("a b  c"), 4, "+a b"},
        {ORVTEXT("ab cd"), 4, "+ab "},
    };
    for (const auto& row : rows)
    {
        StoreText(HKEY_CURRENT_USER, kSub, ORVTEXT("t"), row.m_sStored);
        EXPECT_EQ(row.m_sExpected, this->GetText("t", row.m_cch)) << row.m_sExpected << " in " << row.m_cch;
    }
    StoreText(HKEY_CURRENT_USER, kSub, ORVTEXT("t"), Text(5000, ORVTEXT('x')));
    EXPECT_EQ("+" + std::string(4999, 'x'), this->GetText("t", 5000));
    EXPECT_EQ("+" + std::string(99, 'x'), this->GetText("t", 100));
}

TYPED_TEST(Settings, TextComesFromTheUserTheMachineOrTheDefault)
{
    EXPECT_EQ("-", this->GetText("t"));
    EXPECT_EQ("-x", this->GetText("t", 100, "  x "));
    EXPECT_EQ("-a", this->GetText("t", 4, "  a b")) << "a default is cut, then trimmed";
    typename TypeParam::Char own[] = {'a', 'b', 0};
    EXPECT_FALSE(TypeParam::GetString(nullptr, this->T("t").c_str(), own, sizeof own, own));
    EXPECT_EQ('b', own[1]) << "the buffer may hold its own default";
    EXPECT_EQ('a', own[0]);
    StoreText(HKEY_LOCAL_MACHINE, kSub, ORVTEXT("t"), ORVTEXT("%machine%"), REG_EXPAND_SZ);
    EXPECT_EQ("+%machine%", this->GetText("t", 100, "x"));
    StoreNumber(HKEY_CURRENT_USER, kSub, ORVTEXT("t"), 1);
    EXPECT_EQ("+%machine%", this->GetText("t", 100, "x")) << "a value that is no text does not count";
    StoreText(HKEY_CURRENT_USER, kSub, ORVTEXT("t"), ORVTEXT("user"));
    EXPECT_EQ("+user", this->GetText("t", 100, "x"));
}

TYPED_TEST(Settings, TextNeedsNoTerminator)
{
    const WCHAR sText[] = {'a', 'b', 'c', 'd'};
    Store(HKEY_CURRENT_USER, kSub, ORVTEXT("t"), REG_SZ, sText, sizeof sText);
    for (unsigned cch = 3; cch <= 6; ++cch)
        EXPECT_EQ("+" + std::string("abcd").substr(0, cch - 1), this->GetText("t", cch));
}

TYPED_TEST(Settings, TextNeedsRoomForACharacter)
{
    using Char = typename TypeParam::Char;
    Char dest[2] = {'#', '#'};
    StoreText(HKEY_CURRENT_USER, kSub, ORVTEXT("t"), ORVTEXT("abc"));
    const auto get = [&](Char* pDest, DWORD cb) {
        return TypeParam::GetString(this->T("Sub").c_str(), this->T("t").c_str(), pDest, cb, nullptr);
    };
    EXPECT_FALSE(get(nullptr, 100));
    EXPECT_FALSE(get(dest, 2 * sizeof(Char) - 1));
    EXPECT_EQ(Char('#'), dest[0]);
    EXPECT_TRUE(get(dest, 2 * sizeof(Char)));
    EXPECT_EQ(Char('a'), dest[0]);
    EXPECT_EQ(Char(0), dest[1]);
    const std::string sFunction = this->F("GetLQStringSetting");
    const char* sCondition = "dest == nullptr || cbDest < 2 * sizeof (dest[0])";
    EXPECT_REPORTS(this->m_capture,
                   {{sFunction.c_str(), sCondition, "", "lqsettings"}, {sFunction.c_str(), sCondition}});
}

TYPED_TEST(Settings, TextIsPinnedOnlyWhileItDiffers)
{
    EXPECT_TRUE(this->SetText("t", "a", "b"));
    EXPECT_EQ((std::pair{int(REG_SZ), std::string("a\0\0\0", 4)}), Stored(HKEY_CURRENT_USER, ORVTEXT("t")));
    EXPECT_TRUE(this->SetText("t", "b", "b"));
    EXPECT_FALSE(IsStored(ORVTEXT("t")));
    EXPECT_TRUE(this->SetText("t", "B", "b")) << "compared with case";
    EXPECT_TRUE(IsStored(ORVTEXT("t")));
    EXPECT_TRUE(this->SetText("t", "", nullptr));
    EXPECT_FALSE(IsStored(ORVTEXT("t"))) << "no default is the empty text";

    const std::string sLong(3000, 'm');
    StoreText(HKEY_LOCAL_MACHINE, kSub, ORVTEXT("t"), Text(3000, ORVTEXT('m')));
    EXPECT_TRUE(this->SetText("t", "b", "b"));
    EXPECT_TRUE(IsStored(ORVTEXT("t")));
    EXPECT_TRUE(this->SetText("t", sLong.c_str(), "b"));
    EXPECT_FALSE(IsStored(ORVTEXT("t")));
    EXPECT_EQ("+" + sLong, this->GetText("t", 4000));
    EXPECT_NO_REPORTS(this->m_capture);

    EXPECT_FALSE(TypeParam::SetString(nullptr, this->T("t").c_str(), nullptr, nullptr));
    EXPECT_REPORTS(this->m_capture,
                   {{this->F("SetLQStringSetting").c_str(), "value == nullptr", "", "lqsettings"}});
}

// ---- Bytes ----

TYPED_TEST(Settings, BytesAreStoredAsTheyAre)
{
    const auto set = [&](const void* p, DWORD cb) {
        return TypeParam::SetBinary(this->T("Sub").c_str(), this->T("b").c_str(), p, cb);
    };
    BYTE dest[4] = {'#', '#', '#', '#'};
    DWORD cb = 0;
    const auto get = [&](void* p, DWORD cbRoom) {
        cb = cbRoom;
        return TypeParam::GetBinary(this->T("Sub").c_str(), this->T("b").c_str(), p, &cb);
    };
    EXPECT_FALSE(get(dest, 4));
    EXPECT_EQ(4u, cb);
    EXPECT_EQ('#', dest[0]);

    EXPECT_TRUE(set("\x80\0\x81", 3));
    EXPECT_EQ((std::pair{int(REG_BINARY), std::string("\x80\0\x81", 3)}),
              Stored(HKEY_CURRENT_USER, ORVTEXT("b")));
    EXPECT_TRUE(get(nullptr, 0));
    EXPECT_EQ(3u, cb);
    EXPECT_TRUE(get(dest, 4));
    EXPECT_EQ(3u, cb);
    EXPECT_EQ(0, std::memcmp(dest, "\x80\0\x81#", 4));

    EXPECT_FALSE(get(dest, 2));
    EXPECT_EQ(2u, cb) << "left as it was";
    Store(HKEY_LOCAL_MACHINE, kSub, ORVTEXT("b"), REG_BINARY, "mm", 2);
    EXPECT_TRUE(get(dest, 2)) << "a value that is too large gives way to the machine's";
    EXPECT_EQ('m', dest[1]);
    EXPECT_FALSE(get(dest, 1));

    StoreText(HKEY_CURRENT_USER, kSub, ORVTEXT("b"), ORVTEXT("x"));
    EXPECT_TRUE(get(dest, 4));
    EXPECT_EQ(2u, cb);
    EXPECT_NO_REPORTS(this->m_capture);

    EXPECT_FALSE(TypeParam::GetBinary(nullptr, this->T("b").c_str(), dest, nullptr));
    EXPECT_FALSE(get(dest, 0));
    const std::string sFunction = this->F("GetLQBinarySetting");
    const char* sCondition = "pcbDest == nullptr || (dest != nullptr && *pcbDest < 1)";
    EXPECT_REPORTS(this->m_capture,
                   {{sFunction.c_str(), sCondition, "", "lqsettings"}, {sFunction.c_str(), sCondition}});
}

// ---- Key paths ----

TYPED_TEST(Settings, AKeyPathIsCutAt259Units)
{
    const std::string sSub(300, 's');
    EXPECT_TRUE(TypeParam::SetDWORD(this->T(sSub.c_str()).c_str(), this->T("n").c_str(), 3, 0));
    const std::string sCut(259 - 25 - 1, 's');
    EXPECT_EQ(3u, TypeParam::GetDWORD(this->T(sCut.c_str()).c_str(), this->T("n").c_str(), 0));
}

// ---- Paths ----

TYPED_TEST(Settings, PathsExpandFromTheirBaseDirectory)
{
    StoreText(HKEY_LOCAL_MACHINE, nullptr, ORVTEXT("DataPath"), ORVTEXT(" C:\\Data "));
    StoreText(HKEY_CURRENT_USER, nullptr, ORVTEXT("DefaultLogPath"), ORVTEXT("D:\\Log\\"));
    const struct
    {
        const char* m_sPath;
        unsigned m_cch;
        const char* m_sExpected;
    } rows[] = {
        {"*\\log\\a.txt", 100, "C:\\Data\\log\\a.txt"},
        {"$\\x", 100, "D:\\Log\\x"},
        {"$\\", 100, "D:\\Log\\"},
        {"*\\", 100, "C:\\Data\\"},
        {"*x\\a", 100, "*x\\a"},
        {"#\\a", 100, "#\\a"},
        {"a*\\b", 100, "a*\\b"},
        {"*", 100, "*"},
        {"", 1, ""},
        {"*", 1, "*"},
        {"*\\log\\a.txt", 18, "C:\\Data\\log\\a.txt"},
        {"*\\log\\a.txt", 17, "C:\\Data\\log\\a.tx"},
        {"*\\a", 5, "C:\\D"},
        {"*\\a", 8, "C:\\Data"},
    };
    for (const auto& row : rows)
    {
        using Char = typename TypeParam::Char;
        const auto sPath = this->T(row.m_sPath);
        std::vector<Char> path(row.m_cch + 2, Char('#'));
        std::copy_n(sPath.c_str(), std::min<std::size_t>(sPath.size() + 1, row.m_cch), path.begin());
        TypeParam::Expand(path.data(), static_cast<unsigned>(row.m_cch * sizeof(Char)));
        EXPECT_EQ(Char('#'), path[row.m_cch]);
        path[row.m_cch] = 0;
        const std::basic_string<Char> sResult(path.data());
        EXPECT_EQ(row.m_sExpected, std::string(sResult.begin(), sResult.end()).substr(0, row.m_cch))
            << row.m_sPath;
    }
    EXPECT_NO_REPORTS(this->m_capture);
}

TYPED_TEST(Settings, APathWithoutBaseDirectoryStaysAndIsReported)
{
    using Char = typename TypeParam::Char;
    auto sPath = this->T("$\\x");
    TypeParam::Expand(sPath.data(), static_cast<unsigned>((sPath.size() + 1) * sizeof(Char)));
    EXPECT_EQ(this->T("$\\x"), sPath);
    TypeParam::Expand(nullptr, 10);
    TypeParam::Expand(sPath.data(), sizeof(Char) - 1);
    const std::string sFunction = this->F("ExpandPath");
    const bool bWide = std::is_same_v<TypeParam, Wide>;
    const char* sBadPath = bWide ? "cPath == nullptr || cPathSizeInBytes < sizeof (wchar_t)"
                                 : "cPath == nullptr || cPathSizeInBytes < sizeof (char)";
    EXPECT_REPORTS(
        this->m_capture,
        {{sFunction.c_str(), bWide ? "!bRes || cBaseDir[0] == L'\\0'" : "!bRes || cBaseDir[0] == '\\0'", "",
          "lqsettings"},
         {sFunction.c_str(), "$\\x", "", "lqsettings"},
         {sFunction.c_str(), sBadPath},
         {sFunction.c_str(), sBadPath}});
}

// ---- What has a wide form only ----

class WideSettings : public Settings<Wide>
{
};

TEST_F(WideSettings, ValuesAsTextOfAnyLength)
{
    const auto get = [](const WCHAR* sSub, const WCHAR* sDefault) {
        return TextOf(GetLQStrSetting(sSub, ORVTEXT("t"), sDefault));
    };
    EXPECT_EQ(Text(kRoot), TextOf(GetLQSettingsRootStr()));
    EXPECT_EQ(Text(), get(kSub, nullptr));
    EXPECT_EQ(Text(ORVTEXT(" d ")), get(kSub, ORVTEXT(" d ")));
    StoreText(HKEY_LOCAL_MACHINE, kSub, ORVTEXT("t"), ORVTEXT("\t%m% "), REG_EXPAND_SZ);
    EXPECT_EQ(Text(ORVTEXT("\t%m% ")), get(kSub, ORVTEXT("d"))) << "not trimmed";
    StoreNumber(HKEY_CURRENT_USER, kSub, ORVTEXT("t"), 1);
    EXPECT_EQ(Text(ORVTEXT("\t%m% ")), get(kSub, ORVTEXT("d")));
    StoreText(HKEY_CURRENT_USER, kSub, ORVTEXT("t"), Text(5000, ORVTEXT('u')));
    EXPECT_EQ(Text(5000, ORVTEXT('u')), get(kSub, ORVTEXT("d")));
    Store(HKEY_CURRENT_USER, kSub, ORVTEXT("t"), REG_SZ, ORVTEXT("odd"), 5);
    EXPECT_EQ(Text(ORVTEXT("od")), get(kSub, nullptr));

    const Text sLongPath = Text(200, ORVTEXT('a')) + ORVTEXT('\\') + Text(200, ORVTEXT('b'));
    StoreText(HKEY_CURRENT_USER, sLongPath.c_str(), ORVTEXT("t"), ORVTEXT("far"));
    EXPECT_EQ(Text(ORVTEXT("far")), get(sLongPath.c_str(), nullptr));
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(WideSettings, NarrowAndWideFormsShareValues)
{
    EXPECT_TRUE(SetLQStringSettingA("\xC1rv", "\xE9", "\xF6\xFC", nullptr));
    WCHAR sSub[4];
    WCHAR sName[2];
    WCHAR sValue[3];
    MultiByteToWideChar(CP_ACP, 0, "\xC1rv", 4, sSub, 4);
    MultiByteToWideChar(CP_ACP, 0, "\xE9", 2, sName, 2);
    MultiByteToWideChar(CP_ACP, 0, "\xF6\xFC", 3, sValue, 3);
    EXPECT_EQ(Text(sValue), TextOf(GetLQStrSetting(sSub, sName, nullptr)));
}

TEST_F(WideSettings, KeysThatCannotBeMadeFail)
{
    SetLQSettingsRootW(ORVTEXT("\\k"));
    EXPECT_FALSE(SetLQDWORDSettingW(nullptr, ORVTEXT("n"), 1, 0)) << "no key path begins with a backslash";
    EXPECT_FALSE(SetLQStringSettingW(nullptr, ORVTEXT("t"), ORVTEXT("x"), nullptr));
    EXPECT_FALSE(SetLQBinarySettingW(nullptr, ORVTEXT("b"), "x", 1));
    EXPECT_EQ(4u, GetLQDWORDSettingW(nullptr, ORVTEXT("n"), 4));
    EXPECT_NO_REPORTS(m_capture);
}

// ---- CRegKeyW ----

TEST_F(WideSettings, AKeyDeliversItsText)
{
    StoreText(HKEY_CURRENT_USER, nullptr, ORVTEXT("t"), ORVTEXT("abc"), REG_EXPAND_SZ);
    StoreNumber(HKEY_CURRENT_USER, nullptr, ORVTEXT("n"), 0);
    Store(HKEY_CURRENT_USER, nullptr, ORVTEXT("empty"), REG_SZ, "", 0);
    Store(HKEY_CURRENT_USER, nullptr, ORVTEXT("open"), REG_SZ, ORVTEXT("ab!!"), 4);
    Store(HKEY_CURRENT_USER, nullptr, ORVTEXT("odd"), REG_SZ, ORVTEXT("ab!!"), 3);
    CRegKeyW key;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.Open(HKEY_CURRENT_USER, ORVTEXT("Software\\none"), KEY_READ));
    EXPECT_EQ(nullptr, key.Get());
    ASSERT_EQ(ERROR_SUCCESS, key.Open(HKEY_CURRENT_USER, kRoot, KEY_READ));
    ASSERT_EQ(ERROR_SUCCESS, key.Open(HKEY_CURRENT_USER, kRoot, KEY_READ)) << "over an open one";
    const struct
    {
        const WCHAR* m_sName;
        ULONG m_nRoom;
        LSTATUS m_lExpected;
        ULONG m_nExpected;
    } rows[] = {
        {ORVTEXT("t"), 10, ERROR_SUCCESS, 4},        {ORVTEXT("t"), 4, ERROR_SUCCESS, 4},
        {ORVTEXT("t"), 3, ERROR_MORE_DATA, 0},       {ORVTEXT("none"), 10, ERROR_FILE_NOT_FOUND, 0},
        {ORVTEXT("n"), 10, ERROR_INVALID_DATA, 0},   {ORVTEXT("open"), 10, ERROR_INVALID_DATA, 0},
        {ORVTEXT("odd"), 10, ERROR_INVALID_DATA, 0}, {ORVTEXT("empty"), 10, ERROR_SUCCESS, 0},
    };
    for (const auto& row : rows)
    {
        WCHAR sBuffer[10] = {'#', '#'};
        ULONG nChars = row.m_nRoom;
        EXPECT_EQ(row.m_lExpected, key.QueryStringValue(row.m_sName, sBuffer, &nChars));
        EXPECT_EQ(row.m_nExpected, nChars);
        if (row.m_lExpected == ERROR_SUCCESS)
        {
            EXPECT_EQ(Text(row.m_nExpected == 0 ? ORVTEXT("") : ORVTEXT("abc")), Text(sBuffer));
        }
    }
    ULONG nChars = 0;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue(ORVTEXT("open"), nullptr, &nChars));
    EXPECT_EQ(2u, nChars);
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(WideSettings, AKeyReportsMisuse)
{
    CRegKeyW key;
    ULONG nChars = 5;
    EXPECT_NE(ERROR_SUCCESS, key.QueryStringValue(ORVTEXT("t"), nullptr, &nChars));
    EXPECT_EQ(0u, nChars);
    EXPECT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, kRoot, KEY_READ));
    EXPECT_NE(ERROR_SUCCESS, key.QueryStringValue(ORVTEXT("t"), nullptr, nullptr));
    EXPECT_REPORTS(m_capture, {{"CRegKeyW::QueryStringValue", "m_hKey != nullptr", "", "regkeyw"},
                               {"CRegKeyW::QueryStringValue", "pnChars != nullptr", "", "regkeyw"}});
}

} // namespace
