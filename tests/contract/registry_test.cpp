#include "orvcomtypes/orvexport.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

namespace
{

using Text = std::basic_string<WCHAR>;
using Data = std::vector<BYTE>;

struct Value
{
    LSTATUS m_lStatus;
    DWORD m_dwType;
    Data m_data;
    bool operator==(const Value&) const = default;
};

Data Bytes(const Text& s)
{
    Data data;
    for (WCHAR c : s)
    {
        data.push_back(LOBYTE(c));
        data.push_back(HIBYTE(c));
    }
    return data;
}

constexpr const WCHAR* kRoot = ORVTEXT("Software\\OrvComTypes contract");

void DeleteTree(HKEY hParent, const WCHAR* sName)
{
    HKEY hKey;
    if (RegOpenKeyExW(hParent, sName, 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return;
    WCHAR sChild[256];
    DWORD cchChild = 256;
    while (RegEnumKeyExW(hKey, 0, sChild, &cchChild, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS)
    {
        DeleteTree(hKey, sChild);
        cchChild = 256;
    }
    RegCloseKey(hKey);
    RegDeleteKeyW(hParent, sName);
}

class Registry : public testing::Test
{
protected:
    Registry()
    {
        DeleteTree(HKEY_CURRENT_USER, kRoot);
        m_hKey = Create(HKEY_CURRENT_USER, kRoot);
    }
    ~Registry() override
    {
        for (HKEY hKey : m_opened)
            RegCloseKey(hKey);
        DeleteTree(HKEY_CURRENT_USER, kRoot);
    }

    HKEY Create(HKEY hParent, const WCHAR* sName, REGSAM sam = KEY_ALL_ACCESS)
    {
        HKEY hKey = nullptr;
        EXPECT_EQ(ERROR_SUCCESS,
                  RegCreateKeyExW(hParent, sName, 0, nullptr, 0, sam, nullptr, &hKey, nullptr));
        m_opened.push_back(hKey);
        return hKey;
    }
    HKEY Open(HKEY hParent, const WCHAR* sName, REGSAM sam = KEY_ALL_ACCESS)
    {
        HKEY hKey = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(hParent, sName, 0, sam, &hKey));
        m_opened.push_back(hKey);
        return hKey;
    }
    LSTATUS OpenStatus(HKEY hParent, const WCHAR* sName)
    {
        HKEY hKey = nullptr;
        const LSTATUS lStatus = RegOpenKeyExW(hParent, sName, 0, KEY_READ, &hKey);
        if (lStatus == ERROR_SUCCESS)
            RegCloseKey(hKey);
        return lStatus;
    }

    LSTATUS Set(const WCHAR* sName, DWORD dwType, const Data& data)
    {
        // Windows looks behind unterminated text and takes a terminator that happens to stand there along.
        Data guarded = data;
        guarded.insert(guarded.end(), {0xFF, 0xFF});
        return RegSetValueExW(m_hKey, sName, 0, dwType, guarded.data(), static_cast<DWORD>(data.size()));
    }
    static Value Get(HKEY hKey, const WCHAR* sName)
    {
        Value value{0, 0, Data(2'000'000)};
        DWORD cb = static_cast<DWORD>(value.m_data.size());
        value.m_lStatus = RegQueryValueExW(hKey, sName, nullptr, &value.m_dwType, value.m_data.data(), &cb);
        value.m_data.resize(value.m_lStatus == ERROR_SUCCESS ? cb : 0);
        return value;
    }
    Value Get(const WCHAR* sName) { return Get(m_hKey, sName); }
    Value GetA(const char* sName)
    {
        Value value{0, 0, Data(100)};
        DWORD cb = static_cast<DWORD>(value.m_data.size());
        value.m_lStatus = RegQueryValueExA(m_hKey, sName, nullptr, &value.m_dwType, value.m_data.data(), &cb);
        value.m_data.resize(value.m_lStatus == ERROR_SUCCESS ? cb : 0);
        return value;
    }

    HKEY m_hKey = nullptr;
    std::vector<HKEY> m_opened;
};

TEST_F(Registry, KeepsTypeAndBytesOfEveryValue)
{
    const struct
    {
        const char* m_sCase;
        DWORD m_dwType;
        Data m_data;
    } rows[] = {
        {"text", REG_SZ, Bytes(Text(ORVTEXT("a \"quoted\" C:\\path\\;#=[x]\0"), 26))},
        {"empty text", REG_SZ, {0, 0}},
        {"text of no bytes", REG_SZ, {}},
        {"unterminated text", REG_SZ, {'a', 0, 'b', 0}},
        {"odd length", REG_SZ, {'a', 0, 'b'}},
        {"text with a NUL inside", REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0}},
        {"two terminators", REG_SZ, {'a', 0, 0, 0, 0, 0}},
        {"line ends and tab", REG_SZ, Bytes(Text(ORVTEXT("a\r\nb\tc\x01\0"), 8))},
        {"beyond ASCII", REG_SZ, Bytes(Text(ORVTEXT("\x0150r\x0171\x4E2D\xD83D\xDE00\0"), 7))},
        {"lone surrogates", REG_SZ, {0x00, 0xDC, 'x', 0, 0x00, 0xD8, 0, 0}},
        {"expandable", REG_EXPAND_SZ, Bytes(Text(ORVTEXT("%TEMP%\\x\0"), 9))},
        {"several texts", REG_MULTI_SZ, Bytes(Text(ORVTEXT("a\0b\0\0"), 5))},
        {"number", REG_DWORD, {0x78, 0x56, 0x34, 0xF2}},
        {"number of the wrong size", REG_DWORD, {1, 2, 3}},
        {"long number", REG_QWORD, {1, 2, 3, 4, 5, 6, 7, 0xF8}},
        {"bytes", REG_BINARY, Data(1000, 0xA5)},
        {"no bytes", REG_BINARY, {}},
        {"no type", REG_NONE, {1, 2}},
        {"a type of its own", 0x12345, {7}},
    };
    for (const auto& row : rows)
    {
        ASSERT_EQ(ERROR_SUCCESS, Set(ORVTEXT("v"), row.m_dwType, row.m_data)) << row.m_sCase;
        EXPECT_EQ((Value{ERROR_SUCCESS, row.m_dwType, row.m_data}), Get(ORVTEXT("v"))) << row.m_sCase;
    }
}

TEST_F(Registry, HoldsAMegabyte)
{
    Data data(1 << 20);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<BYTE>(i * 7 + (i >> 8));
    ASSERT_EQ(ERROR_SUCCESS, Set(ORVTEXT("big"), REG_BINARY, data));
    EXPECT_TRUE(Get(ORVTEXT("big")).m_data == data);
}

TEST_F(Registry, AsksForTheSizeAndRefusesShortBuffers)
{
    Set(ORVTEXT("v"), REG_BINARY, {1, 2, 3});
    DWORD dwType = 99;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(m_hKey, ORVTEXT("v"), nullptr, &dwType, nullptr, nullptr));
    EXPECT_EQ(REG_BINARY, dwType);
    DWORD cb = 0;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(m_hKey, ORVTEXT("v"), nullptr, nullptr, nullptr, &cb));
    EXPECT_EQ(3u, cb);
    BYTE buffer[4] = {};
    cb = 2;
    dwType = 99;
    EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExW(m_hKey, ORVTEXT("v"), nullptr, &dwType, buffer, &cb));
    EXPECT_EQ(3u, cb);
    EXPECT_EQ(REG_BINARY, dwType);
    cb = 3;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(m_hKey, ORVTEXT("v"), nullptr, &dwType, buffer, &cb));
    EXPECT_EQ(3, buffer[2]);
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
              RegQueryValueExW(m_hKey, ORVTEXT("v"), nullptr, nullptr, buffer, nullptr));
}

TEST_F(Registry, ComparesNamesWithoutCase)
{
    Set(ORVTEXT("N\x00E9v \x0105"), REG_DWORD, {1, 0, 0, 0});
    Set(ORVTEXT("n\x00C9V \x0104"), REG_DWORD, {2, 0, 0, 0});
    EXPECT_EQ((Data{2, 0, 0, 0}), Get(ORVTEXT("N\x00E9V \x0105")).m_data);
    WCHAR sName[20];
    DWORD cchName = 20;
    EXPECT_EQ(ERROR_SUCCESS, RegEnumValueW(m_hKey, 0, sName, &cchName, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(Text(ORVTEXT("N\x00E9v \x0105")), Text(sName, cchName)) << "the first spelling stays";
    cchName = 20;
    EXPECT_EQ(ERROR_NO_MORE_ITEMS,
              RegEnumValueW(m_hKey, 1, sName, &cchName, nullptr, nullptr, nullptr, nullptr));

    Create(m_hKey, ORVTEXT("\x00C1rv\x00EDz"));
    EXPECT_EQ(ERROR_SUCCESS, OpenStatus(m_hKey, ORVTEXT("\x00E1RV\x00CDZ")));
    EXPECT_EQ(ERROR_SUCCESS, OpenStatus(HKEY_CURRENT_USER, ORVTEXT("SOFTWARE\\ORVCOMTYPES CONTRACT")));
}

TEST_F(Registry, TheNamelessValueHasTwoNames)
{
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Get(nullptr).m_lStatus);
    Set(ORVTEXT(""), REG_BINARY, {5});
    EXPECT_EQ(Data{5}, Get(nullptr).m_data);
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(m_hKey, nullptr));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Get(ORVTEXT("")).m_lStatus);
}

TEST_F(Registry, ReadsPathsPartByPart)
{
    Create(m_hKey, ORVTEXT("a\\b\\c"));
    EXPECT_EQ(ERROR_SUCCESS, OpenStatus(m_hKey, ORVTEXT("a\\b")));
    EXPECT_EQ(ERROR_SUCCESS, OpenStatus(m_hKey, ORVTEXT("a\\b\\")));
    EXPECT_EQ(ERROR_SUCCESS, OpenStatus(m_hKey, ORVTEXT("")));
    EXPECT_EQ(ERROR_SUCCESS, OpenStatus(m_hKey, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, OpenStatus(m_hKey, ORVTEXT("a\\\\b")));
    EXPECT_EQ(ERROR_BAD_PATHNAME, OpenStatus(m_hKey, ORVTEXT("\\a")));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, OpenStatus(m_hKey, ORVTEXT("a\\x")));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, OpenStatus(m_hKey, ORVTEXT("b")));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, OpenStatus(m_hKey, ORVTEXT("a\\b\\c!")));
}

TEST_F(Registry, GrantsWhatTheHandleWasOpenedFor)
{
    const HKEY hRead = Open(m_hKey, nullptr, READ_CONTROL | KEY_QUERY_VALUE);
    const BYTE byte = 1;
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegSetValueExW(hRead, ORVTEXT("v"), 0, REG_BINARY, &byte, 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteValueW(hRead, ORVTEXT("v")));
    const HKEY hWrite = Open(m_hKey, nullptr, READ_CONTROL | KEY_SET_VALUE);
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(hWrite, ORVTEXT("v"), 0, REG_BINARY, &byte, 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, Get(hWrite, ORVTEXT("v")).m_lStatus);
    WCHAR sName[20];
    DWORD cchName = 20;
    EXPECT_EQ(ERROR_ACCESS_DENIED,
              RegEnumKeyExW(hRead, 0, sName, &cchName, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(hWrite, ORVTEXT("v")));
}

TEST_F(Registry, DeletesValues)
{
    Set(ORVTEXT("v"), REG_BINARY, {1});
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(m_hKey, ORVTEXT("V")));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, Get(ORVTEXT("v")).m_lStatus);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueW(m_hKey, ORVTEXT("v")));
}

TEST_F(Registry, NarrowCallsSpeakTheAnsiCodePage)
{
    const char sAnsi[] = "Aut\xF3 \xE9";
    WCHAR sWide[sizeof sAnsi];
    ASSERT_EQ(static_cast<int>(sizeof sAnsi),
              MultiByteToWideChar(CP_ACP, 0, sAnsi, sizeof sAnsi, sWide, sizeof sAnsi));
    const Data ansi(sAnsi, sAnsi + sizeof sAnsi);
    const Data wide = Bytes(Text(sWide, sizeof sAnsi));

    Set(sWide, REG_EXPAND_SZ, wide);
    EXPECT_EQ((Value{ERROR_SUCCESS, REG_EXPAND_SZ, ansi}), GetA(sAnsi));
    DWORD cb = 0;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(m_hKey, sAnsi, nullptr, nullptr, nullptr, &cb));
    EXPECT_EQ(sizeof sAnsi, cb);
    BYTE buffer[sizeof sAnsi];
    cb = sizeof sAnsi - 1;
    EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExA(m_hKey, sAnsi, nullptr, nullptr, buffer, &cb));
    EXPECT_EQ(sizeof sAnsi, cb);

    const auto setA = [&](DWORD dwType) {
        return RegSetValueExA(m_hKey, sAnsi, 0, dwType, reinterpret_cast<const BYTE*>(sAnsi), sizeof sAnsi);
    };
    EXPECT_EQ(ERROR_SUCCESS, setA(REG_SZ));
    EXPECT_EQ((Value{ERROR_SUCCESS, REG_SZ, wide}), Get(sWide));
    EXPECT_EQ(ERROR_SUCCESS, setA(REG_BINARY));
    EXPECT_EQ((Value{ERROR_SUCCESS, REG_BINARY, ansi}), Get(sWide));
    EXPECT_EQ((Value{ERROR_SUCCESS, REG_BINARY, ansi}), GetA(sAnsi));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueA(m_hKey, sAnsi));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueA(m_hKey, sAnsi));
}

TEST_F(Registry, KeysAreDeletedFromTheLeavesUp)
{
    const HKEY hChild = Create(m_hKey, ORVTEXT("a\\b"));
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyW(m_hKey, ORVTEXT("a")));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyW(m_hKey, ORVTEXT("A\\B")));
    EXPECT_EQ(ERROR_SUCCESS, OpenStatus(m_hKey, ORVTEXT("a"))) << "the parent stays";
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyW(m_hKey, ORVTEXT("a\\b")));

    EXPECT_EQ(ERROR_KEY_DELETED, Get(hChild, ORVTEXT("v")).m_lStatus);
    const BYTE byte = 1;
    EXPECT_EQ(ERROR_KEY_DELETED, RegSetValueExW(hChild, ORVTEXT("v"), 0, REG_BINARY, &byte, 1));
    EXPECT_EQ(ERROR_KEY_DELETED, RegDeleteValueW(hChild, ORVTEXT("v")));
    EXPECT_EQ(ERROR_KEY_DELETED, OpenStatus(hChild, ORVTEXT("x")));
}

TEST_F(Registry, EnumeratesChildrenInOrder)
{
    for (const WCHAR* sName :
         {ORVTEXT("b"), ORVTEXT("a\\x"), ORVTEXT("A!"), ORVTEXT("c\\y\\z"), ORVTEXT("a\\w")})
        Create(m_hKey, sName);
    std::vector<Text> names;
    WCHAR sName[4];
    DWORD cchName = 4;
    while (RegEnumKeyExW(m_hKey, static_cast<DWORD>(names.size()), sName, &cchName, nullptr, nullptr, nullptr,
                         nullptr) == ERROR_SUCCESS)
    {
        names.emplace_back(sName, cchName);
        cchName = 4;
    }
    EXPECT_EQ((std::vector<Text>{ORVTEXT("a"), ORVTEXT("A!"), ORVTEXT("b"), ORVTEXT("c")}), names);
    cchName = 2;
    EXPECT_EQ(ERROR_MORE_DATA, RegEnumKeyExW(m_hKey, 1, sName, &cchName, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_NO_MORE_ITEMS,
              RegEnumKeyExW(m_hKey, 4, sName, &cchName, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(Registry, EnumeratesValuesWithTheirData)
{
    Set(ORVTEXT("abc"), REG_BINARY, {1, 2, 3});
    WCHAR sName[20];
    DWORD cchName = 20;
    DWORD dwType = 0;
    BYTE data[4];
    DWORD cb = 4;
    EXPECT_EQ(ERROR_SUCCESS, RegEnumValueW(m_hKey, 0, sName, &cchName, nullptr, &dwType, data, &cb));
    EXPECT_EQ(Text(ORVTEXT("abc")), Text(sName, cchName));
    EXPECT_EQ(REG_BINARY, dwType);
    EXPECT_EQ(3u, cb);
    cchName = 3;
    EXPECT_EQ(ERROR_MORE_DATA, RegEnumValueW(m_hKey, 0, sName, &cchName, nullptr, nullptr, nullptr, nullptr));
    cchName = 20;
    cb = 2;
    EXPECT_EQ(ERROR_MORE_DATA, RegEnumValueW(m_hKey, 0, sName, &cchName, nullptr, nullptr, data, &cb));
    EXPECT_EQ(3u, cb);
}

TEST_F(Registry, SaysWhetherAKeyIsNew)
{
    HKEY hKey = nullptr;
    DWORD dwDisposition = 0;
    for (DWORD dwExpected : {REG_CREATED_NEW_KEY, REG_OPENED_EXISTING_KEY})
    {
        ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_hKey, ORVTEXT("n"), 0, nullptr, 0, KEY_READ, nullptr,
                                                 &hKey, &dwDisposition));
        EXPECT_EQ(dwExpected, dwDisposition);
        EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(hKey));
    }
}

TEST_F(Registry, RefusesHandlesThatAreNone)
{
    EXPECT_EQ(ERROR_INVALID_HANDLE, Get(nullptr, ORVTEXT("v")).m_lStatus);
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(nullptr));
    EXPECT_EQ(ERROR_INVALID_HANDLE, OpenStatus(nullptr, ORVTEXT("x")));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(HKEY_CURRENT_USER));
}

} // namespace
