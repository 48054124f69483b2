#include "support/registry_values.h"
#include "support/test_registry.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace
{

const Text kRoot = ORVTEXT("Software\\OrvComTypes contract");

class Registry : public testing::Test
{
protected:
    ~Registry() override
    {
        for (HKEY hKey : m_opened)
            RegCloseKey(hKey);
    }

    /// Opens a key below the user's hive, made where it is missing.
    HKEY Key(const Text& sPath, REGSAM sam = KEY_ALL_ACCESS)
    {
        HKEY hKey = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, sPath.c_str(), 0, nullptr, 0, sam,
                                                 nullptr, &hKey, nullptr));
        m_opened.push_back(hKey);
        return hKey;
    }
    static LSTATUS Open(HKEY hParent, const WCHAR* sName)
    {
        HKEY hKey = nullptr;
        const LSTATUS lStatus = RegOpenKeyExW(hParent, sName, 0, KEY_READ, &hKey);
        if (lStatus == ERROR_SUCCESS)
            RegCloseKey(hKey);
        return lStatus;
    }
    static LSTATUS Set(const WCHAR* sName, const RegistryValue& value)
    {
        return StoreValue(HKEY_CURRENT_USER, kRoot, sName, value);
    }
    static std::optional<RegistryValue> Get(const WCHAR* sName)
    {
        return ReadValue(HKEY_CURRENT_USER, kRoot, sName);
    }
    static LSTATUS SetByte(HKEY hKey)
    {
        const BYTE byte = 1;
        return RegSetValueExW(hKey, ORVTEXT("v"), 0, REG_BINARY, &byte, 1);
    }
    static LSTATUS Query(HKEY hKey, const WCHAR* sName)
    {
        return RegQueryValueExW(hKey, sName, nullptr, nullptr, nullptr, nullptr);
    }

    const RegistryValue m_byte{REG_BINARY, "1"};
    CTestRegistry m_registry;
    std::vector<HKEY> m_opened;
    const HKEY m_hKey = Key(kRoot);
};

TEST_F(Registry, KeepsTypeAndBytesOfEveryValue)
{
    std::string sMegabyte(1 << 20, '\0');
    for (std::size_t i = 0; i < sMegabyte.size(); ++i)
        sMegabyte[i] = static_cast<char>(i * 7 + (i >> 8));
    const std::pair<const char*, RegistryValue> rows[] = {
        {"text", TextValue(ORVTEXT("a \"quoted\" C:\\path\\;#=[x]"))},
        {"empty text", TextValue(ORVTEXT(""))},
        {"text of no bytes", {REG_SZ, ""}},
        {"unterminated text", {REG_SZ, std::string("a\0b\0", 4)}},
        {"odd length", {REG_SZ, std::string("a\0b", 3)}},
        {"text with a NUL inside", TextValue(Text(ORVTEXT("a\0b"), 3))},
        {"two terminators", TextValue(Text(ORVTEXT("a\0"), 2))},
        {"line ends and tab", TextValue(ORVTEXT("a\r\nb\tc\x01"))},
        {"beyond ASCII", TextValue(ORVTEXT("\x0150r\x0171\x4E2D\xD83D\xDE00"))},
        {"lone surrogates", TextValue(ORVTEXT("\xDC00x\xD800"))},
        {"expandable", TextValue(ORVTEXT("%TEMP%\\x"), REG_EXPAND_SZ)},
        {"several texts", TextValue(Text(ORVTEXT("a\0b\0"), 4), REG_MULTI_SZ)},
        {"number", NumberValue(0xF2345678)},
        {"number of the wrong size", {REG_DWORD, "123"}},
        {"long number", NumberValue(0xF807060504030201)},
        {"bytes", {REG_BINARY, sMegabyte}},
        {"no bytes", {REG_BINARY, ""}},
        {"no type", {REG_NONE, "12"}},
        {"a type of its own", {0x12345, "7"}},
    };
    for (const auto& [sCase, value] : rows)
    {
        ASSERT_EQ(ERROR_SUCCESS, Set(ORVTEXT("v"), value)) << sCase;
        EXPECT_TRUE(value == Get(ORVTEXT("v"))) << sCase;
    }
}

TEST_F(Registry, AsksForTheSizeAndRefusesShortBuffers)
{
    Set(ORVTEXT("v"), {REG_BINARY, "123"});
    DWORD dwType = 99;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(m_hKey, ORVTEXT("v"), nullptr, &dwType, nullptr, nullptr));
    EXPECT_EQ(REG_BINARY, dwType);
    BYTE buffer[3] = {};
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              RegQueryValueExW(m_hKey, ORVTEXT("v"), nullptr, nullptr, buffer, nullptr));
    const std::tuple<LPBYTE, DWORD, LSTATUS> rows[] = {
        {nullptr, 0, ERROR_SUCCESS}, {buffer, 2, ERROR_MORE_DATA}, {buffer, 3, ERROR_SUCCESS}};
    for (const auto& [pBuffer, cbRoom, lExpected] : rows)
    {
        DWORD cb = cbRoom;
        dwType = 99;
        EXPECT_EQ(lExpected, RegQueryValueExW(m_hKey, ORVTEXT("v"), nullptr, &dwType, pBuffer, &cb));
        EXPECT_EQ(3u, cb);
        EXPECT_EQ(REG_BINARY, dwType);
    }
    EXPECT_EQ('3', buffer[2]);
}

TEST_F(Registry, ComparesNamesWithoutCase)
{
    Set(ORVTEXT("N\x00E9v \x0105"), NumberValue(1));
    Set(ORVTEXT("n\x00C9V \x0104"), NumberValue(2));
    EXPECT_EQ(NumberValue(2), Get(ORVTEXT("N\x00E9V \x0105")));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(m_hKey, ORVTEXT("n\x00C9V \x0104")));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Query(m_hKey, ORVTEXT("N\x00E9v \x0105")));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueW(m_hKey, ORVTEXT("n\x00C9V \x0104")));

    Key(kRoot + ORVTEXT("\\\x00C1rv\x00EDz"));
    EXPECT_EQ(ERROR_SUCCESS, Open(m_hKey, ORVTEXT("\x00E1RV\x00CDZ")));
    EXPECT_EQ(ERROR_SUCCESS, Open(HKEY_CURRENT_USER, ORVTEXT("SOFTWARE\\ORVCOMTYPES CONTRACT")));
}

TEST_F(Registry, TheNamelessValueHasTwoNames)
{
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Query(m_hKey, nullptr));
    Set(ORVTEXT(""), m_byte);
    EXPECT_EQ(m_byte, Get(nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(m_hKey, nullptr));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Query(m_hKey, ORVTEXT("")));
}

TEST_F(Registry, ReadsPathsPartByPart)
{
    Key(kRoot + ORVTEXT("\\a\\b\\c"));
    for (const WCHAR* sPath : {ORVTEXT("a\\b"), ORVTEXT("a\\b\\"), ORVTEXT("a\\\\b"), ORVTEXT("")})
        EXPECT_EQ(ERROR_SUCCESS, Open(m_hKey, sPath)) << testing::PrintToString(Text(sPath));
    EXPECT_EQ(ERROR_SUCCESS, Open(m_hKey, nullptr));
    EXPECT_EQ(ERROR_BAD_PATHNAME, Open(m_hKey, ORVTEXT("\\a")));
    for (const WCHAR* sPath : {ORVTEXT("a\\x"), ORVTEXT("b"), ORVTEXT("a\\b\\c!")})
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, Open(m_hKey, sPath)) << testing::PrintToString(Text(sPath));
}

TEST_F(Registry, GrantsWhatTheHandleWasOpenedFor)
{
    const HKEY hRead = Key(kRoot, READ_CONTROL | KEY_QUERY_VALUE);
    const HKEY hWrite = Key(kRoot, READ_CONTROL | KEY_SET_VALUE);
    EXPECT_EQ(ERROR_SUCCESS, SetByte(hWrite));
    EXPECT_EQ(ERROR_ACCESS_DENIED, SetByte(hRead));
    EXPECT_EQ(ERROR_SUCCESS, Query(hRead, ORVTEXT("v")));
    EXPECT_EQ(ERROR_ACCESS_DENIED, Query(hWrite, ORVTEXT("v")));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteValueW(hRead, ORVTEXT("v")));
    HKEY hKey = nullptr;
    EXPECT_EQ(ERROR_SUCCESS,
              RegCreateKeyExW(hRead, ORVTEXT("x"), 0, nullptr, 0, KEY_READ, nullptr, &hKey, nullptr));
    m_opened.push_back(hKey);
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(hWrite, ORVTEXT("v")));
}

TEST_F(Registry, NarrowCallsSpeakTheAnsiCodePage)
{
    const WCHAR* const sWide = ORVTEXT("\u20AC\u20AC\u20AC \u00E9");
    const std::string sText = Narrow(sWide) + '\0';
    const auto cbText = static_cast<DWORD>(sText.size());
    const char* sName = sText.c_str();
    const auto set = [&](DWORD dwType) {
        return RegSetValueExA(m_hKey, sName, 0, dwType, reinterpret_cast<const BYTE*>(sName), cbText);
    };
    DWORD cb = 0;
    const auto get = [&](DWORD cbRoom) {
        RegistryValue value(0, std::string(20, '\0'));
        const auto pData = reinterpret_cast<LPBYTE>(value.second.data());
        cb = cbRoom;
        const LSTATUS lStatus =
            RegQueryValueExA(m_hKey, sName, nullptr, &value.first, cb != 0 ? pData : nullptr, &cb);
        value.second.resize(cb);
        return lStatus == ERROR_SUCCESS ? std::optional(value) : std::nullopt;
    };
    Set(sWide, TextValue(sWide, REG_EXPAND_SZ));
    EXPECT_EQ(RegistryValue(REG_EXPAND_SZ, sText), get(cbText));
    EXPECT_EQ(RegistryValue(REG_EXPAND_SZ, std::string(cbText, '\0')), get(0)) << "asks for the size";
    EXPECT_EQ(std::nullopt, get(cbText - 1));
    EXPECT_EQ(cbText, cb);

    EXPECT_EQ(ERROR_SUCCESS, set(REG_SZ));
    EXPECT_EQ(TextValue(sWide), Get(sWide));
    EXPECT_EQ(ERROR_SUCCESS, set(REG_BINARY));
    EXPECT_EQ(RegistryValue(REG_BINARY, sText), Get(sWide));
    EXPECT_EQ(RegistryValue(REG_BINARY, sText), get(20));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueA(m_hKey, sName));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueA(m_hKey, sName));
}

TEST_F(Registry, RefusesHandlesThatAreNone)
{
    EXPECT_EQ(ERROR_INVALID_HANDLE, Query(nullptr, ORVTEXT("v")));
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(nullptr));
    EXPECT_EQ(ERROR_INVALID_HANDLE, Open(nullptr, ORVTEXT("x")));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(HKEY_CURRENT_USER));
}

} // namespace
