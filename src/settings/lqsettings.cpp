#include "orvcomtypes/lqsettings.h"

#include "core/memoryerror.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/regkeyw.h"
#include "orvcomtypes/stringutils.h"
#include "registryreading.h"
#include "settingsform.h"
#include "strings/wholetext.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

namespace
{

WCHAR s_lqSettingsRoot[kSettingsPathChars] = ORVTEXT("Software\\Orvanex\\Lumatrek");

constexpr REGSAM kReadRights = READ_CONTROL | KEY_QUERY_VALUE;
constexpr REGSAM kCompareRights = READ_CONTROL | KEY_QUERY_VALUE | KEY_SET_VALUE;
constexpr REGSAM kWriteRights = READ_CONTROL | KEY_SET_VALUE;

/// Where settings are read, in this order.
const HKEY kHives[] = {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE};

/// What a copy that does not fit reports.
constexpr DWORD kInsufficientBuffer = 0x8007007A;

bool IsText(DWORD dwType)
{
    return dwType == REG_SZ || dwType == REG_EXPAND_SZ;
}

/// What a hive says about a value. Without memory it does not say whether it has one.
enum class Found
{
    eYes,
    eMissing,
    eNoMemory
};

/// What it is when a call of the registry has failed.
Found FoundByFailed(LSTATUS lStatus)
{
    return OCT::IsShortOfMemory(static_cast<DWORD>(lStatus)) ? Found::eNoMemory : Found::eMissing;
}

// ---- Key paths ----

struct CKeyPath
{
    WCHAR m_sText[kSettingsPathChars];

    template <class Form>
    static CKeyPath Make(const typename Form::Char* subKey)
    {
        CKeyPath path;
        CopyCut(path.m_sText, kSettingsPathChars, s_lqSettingsRoot);
        if (IsEmptyText(subKey))
            return path;
        WCHAR sSubKey[kSettingsPathChars];
        Form::Widen(sSubKey, subKey);
        path.Append(ORVTEXT("\\"));
        path.Append(sSubKey);
        return path;
    }

private:
    void Append(const WCHAR* s)
    {
        const std::size_t nLength = std::char_traits<WCHAR>::length(m_sText);
        CopyCut(m_sText + nLength, kSettingsPathChars - nLength, s);
    }
};

// ---- Numbers ----

template <class Number>
constexpr DWORD kTypeOf = sizeof(Number) == 4 ? REG_DWORD : REG_QWORD;

/// Changes \p value only where the hive has one.
template <class Form, class Number>
Found ReadNumber(HKEY hHive, const CKeyPath& path, const typename Form::Char* valueName, Number& value)
{
    CRegKeyW key;
    Number stored = 0;
    DWORD dwType = REG_NONE;
    DWORD cbData = sizeof stored;
    LSTATUS lStatus = key.Open(hHive, path.m_sText, kReadRights);
    if (lStatus == ERROR_SUCCESS)
        lStatus = Form::QueryValue(key.Get(), valueName, &dwType, &stored, &cbData);
    if (lStatus != ERROR_SUCCESS)
        return FoundByFailed(lStatus);
    if (dwType != kTypeOf<Number> || cbData != sizeof stored)
        return Found::eMissing;
    value = stored;
    return Found::eYes;
}

template <class Form, class Number>
Number GetNumber(const typename Form::Char* subKey, const typename Form::Char* valueName, Number nDefault)
{
    const CRegistryReading reading;
    const CKeyPath path = CKeyPath::Make<Form>(subKey);
    Number value = nDefault;
    for (HKEY hHive : kHives)
        if (ReadNumber<Form>(hHive, path, valueName, value) == Found::eYes)
            break;
    return value;
}

/// Stores a value that differs from what holds without it, and removes one that does not.
template <class Form>
bool StoreOrInherit(const CKeyPath& path, const typename Form::Char* valueName, bool bDiffers, DWORD dwType,
                    const void* pData, DWORD cbData)
{
    CRegKeyW key;
    if (key.Create(HKEY_CURRENT_USER, path.m_sText, kCompareRights) != ERROR_SUCCESS)
        return false;
    if (bDiffers)
        return Form::SetValue(key.Get(), valueName, dwType, pData, cbData) == ERROR_SUCCESS;
    Form::DeleteValue(key.Get(), valueName);
    return Form::QueryValue(key.Get(), valueName, nullptr, nullptr, nullptr) == ERROR_FILE_NOT_FOUND;
}

template <class Form, class Number>
bool SetNumber(const char* sFunction, const typename Form::Char* subKey, const typename Form::Char* valueName,
               Number value, Number nDefault)
{
    if (IsEmptyText(valueName))
    {
        ORV_REPORT(sFunction, "valueName == nullptr || valueName[0] == L'\\0'");
        return false;
    }
    const CKeyPath path = CKeyPath::Make<Form>(subKey);
    Number reference = nDefault;
    if (ReadNumber<Form>(HKEY_LOCAL_MACHINE, path, valueName, reference) == Found::eNoMemory)
        return false;
    return StoreOrInherit<Form>(path, valueName, value != reference, kTypeOf<Number>, &value, sizeof value);
}

// ---- Text ----

/// True for blanks and all control characters.
template <class Char>
bool IsTrimmed(Char c)
{
    return static_cast<std::make_unsigned_t<Char>>(c) <= 32;
}

template <class Char>
void TrimInPlace(Char* s)
{
    Char* pEnd = s + std::char_traits<Char>::length(s);
    Char* pStart = s;
    while (pEnd != pStart && IsTrimmed(pEnd[-1]))
        --pEnd;
    while (pStart != pEnd && IsTrimmed(*pStart))
        ++pStart;
    std::char_traits<Char>::move(s, pStart, static_cast<std::size_t>(pEnd - pStart));
    s[pEnd - pStart] = 0;
}

/// Opens the key and asks for the size of a value of text.
template <class Form>
Found FindText(HKEY hHive, const WCHAR* sPath, const typename Form::Char* valueName, CRegKeyW& key,
               DWORD& cbData)
{
    DWORD dwType = REG_NONE;
    cbData = 0;
    LSTATUS lStatus = key.Open(hHive, sPath, kReadRights);
    if (lStatus == ERROR_SUCCESS)
        lStatus = Form::QueryValue(key.Get(), valueName, &dwType, nullptr, &cbData);
    if (lStatus != ERROR_SUCCESS)
        return FoundByFailed(lStatus);
    return IsText(dwType) ? Found::eYes : Found::eMissing;
}

/// Reads text into room for \p cchDest units and terminates it, because the registry keeps text as it was
/// given.
template <class Form>
bool ReadText(HKEY hKey, const typename Form::Char* valueName, typename Form::Char* dest, std::size_t cchDest)
{
    constexpr std::size_t cbUnit = sizeof(typename Form::Char);
    DWORD dwType = REG_NONE;
    DWORD cbData = static_cast<DWORD>(cchDest * cbUnit);
    if (Form::QueryValue(hKey, valueName, &dwType, dest, &cbData) != ERROR_SUCCESS || !IsText(dwType))
        return false;
    dest[std::min<std::size_t>(cbData / cbUnit, cchDest - 1)] = 0;
    return true;
}

/// Without memory for the text, not for the registry, it is `eNoMemory`.
template <class Form>
Found GetTextFrom(HKEY hHive, const CKeyPath& path, const typename Form::Char* valueName,
                  typename Form::Char* dest, DWORD cbDest)
{
    using Char = typename Form::Char;
    CRegKeyW key;
    DWORD cbData;
    if (FindText<Form>(hHive, path.m_sText, valueName, key, cbData) != Found::eYes)
        return Found::eMissing;
    const std::size_t cchDest = cbDest / sizeof(Char);
    if (cbData < cbDest)
    {
        if (!ReadText<Form>(key.Get(), valueName, dest, cchDest))
            return Found::eMissing;
        TrimInPlace(dest);
        return Found::eYes;
    }
    CSettingsBuffer<Char> buffer;
    const std::size_t cchBuffer = cbData / sizeof(Char) + 1;
    if (!buffer.ReserveSize(cchBuffer))
        return Found::eNoMemory;
    if (!ReadText<Form>(key.Get(), valueName, buffer, cchBuffer))
        return Found::eMissing;
    TrimInPlace<Char>(buffer);
    CopyCut<Char>(dest, cchDest, buffer);
    return Found::eYes;
}

template <class Form>
bool GetText(const char* sFunction, const typename Form::Char* subKey, const typename Form::Char* valueName,
             typename Form::Char* dest, DWORD cbDest, const typename Form::Char* defaultValue)
{
    if (dest == nullptr || cbDest < 2 * sizeof(dest[0]))
    {
        ORV_REPORT(sFunction, "dest == nullptr || cbDest < 2 * sizeof (dest[0])");
        return false;
    }
    const CRegistryReading reading;
    const CKeyPath path = CKeyPath::Make<Form>(subKey);
    for (HKEY hHive : kHives)
    {
        const Found found = GetTextFrom<Form>(hHive, path, valueName, dest, cbDest);
        if (found == Found::eNoMemory)
            ORV_REPORT(sFunction, "pBuf == nullptr");
        if (found != Found::eMissing)
            return found == Found::eYes;
    }
    if (IsEmptyText(defaultValue))
        dest[0] = 0;
    else
    {
        CopyCut(dest, cbDest / sizeof(dest[0]), defaultValue);
        TrimInPlace(dest);
    }
    return false;
}

/// Fills the buffer with what a reader gets without a per-user value.
template <class Form>
bool ReadReferenceText(const char* sFunction, const CKeyPath& path, const typename Form::Char* valueName,
                       const typename Form::Char* defaultValue, CSettingsBuffer<typename Form::Char>& sBuf)
{
    using Char = typename Form::Char;
    const CRegistryReading reading;
    CRegKeyW key;
    DWORD dwSize;
    const Found found = FindText<Form>(HKEY_LOCAL_MACHINE, path.m_sText, valueName, key, dwSize);
    if (found == Found::eNoMemory)
        return false;
    if (found == Found::eYes)
    {
        const std::size_t cchBuf = dwSize / sizeof(Char) + 1;
        if (!sBuf.ReserveSize(cchBuf))
            ORV_REPORT(sFunction, Form::kCannotReserve);
        else if (!ReadText<Form>(key.Get(), valueName, sBuf, cchBuf))
            ORV_REPORT(sFunction, Form::kCannotRead);
        else
            return true;
        return false;
    }
    const Char cEmpty = 0;
    const Char* sDefault = defaultValue == nullptr ? &cEmpty : defaultValue;
    const std::size_t len = std::char_traits<Char>::length(sDefault);
    if (!sBuf.ReserveSize(len + 1))
    {
        ORV_REPORT(sFunction, "!sBuf.ReserveSize (len + 1)");
        return false;
    }
    return CopyCut<Char>(sBuf, len + 1, sDefault);
}

template <class Form>
bool SetText(const char* sFunction, const typename Form::Char* subKey, const typename Form::Char* valueName,
             const typename Form::Char* value, const typename Form::Char* defaultValue)
{
    using Char = typename Form::Char;
    if (value == nullptr)
    {
        ORV_REPORT(sFunction, "value == nullptr");
        return false;
    }
    const CKeyPath path = CKeyPath::Make<Form>(subKey);
    CSettingsBuffer<Char> sReference;
    if (!ReadReferenceText<Form>(sFunction, path, valueName, defaultValue, sReference))
        return false;
    const std::basic_string_view<Char> sValue(value);
    if (sValue.size() >= std::numeric_limits<DWORD>::max() / sizeof(Char))
        return false;
    const bool bDiffers = sValue != static_cast<const Char*>(sReference);
    return StoreOrInherit<Form>(path, valueName, bDiffers, REG_SZ, value,
                                static_cast<DWORD>((sValue.size() + 1) * sizeof(Char)));
}

// ---- Bytes ----

template <class Form>
bool GetBytesFrom(HKEY hHive, const CKeyPath& path, const typename Form::Char* valueName, void* dest,
                  DWORD& cbDest)
{
    CRegKeyW key;
    DWORD dwType = REG_NONE;
    DWORD cbData = 0;
    if (key.Open(hHive, path.m_sText, kReadRights) != ERROR_SUCCESS ||
        Form::QueryValue(key.Get(), valueName, &dwType, nullptr, &cbData) != ERROR_SUCCESS ||
        dwType != REG_BINARY)
        return false;
    if (dest != nullptr)
    {
        if (cbData > cbDest)
            return false;
        cbData = cbDest;
        if (Form::QueryValue(key.Get(), valueName, &dwType, dest, &cbData) != ERROR_SUCCESS ||
            dwType != REG_BINARY)
            return false;
    }
    cbDest = cbData;
    return true;
}

template <class Form>
bool GetBytes(const char* sFunction, const typename Form::Char* subKey, const typename Form::Char* valueName,
              void* dest, DWORD* pcbDest)
{
    if (pcbDest == nullptr || (dest != nullptr && *pcbDest < 1))
    {
        ORV_REPORT(sFunction, "pcbDest == nullptr || (dest != nullptr && *pcbDest < 1)");
        return false;
    }
    const CRegistryReading reading;
    const CKeyPath path = CKeyPath::Make<Form>(subKey);
    return std::any_of(std::begin(kHives), std::end(kHives), [&](HKEY hHive) {
        return GetBytesFrom<Form>(hHive, path, valueName, dest, *pcbDest);
    });
}

template <class Form>
bool SetBytes(const typename Form::Char* subKey, const typename Form::Char* valueName, const void* data,
              DWORD cbData)
{
    const CKeyPath path = CKeyPath::Make<Form>(subKey);
    CRegKeyW key;
    return key.Create(HKEY_CURRENT_USER, path.m_sText, kWriteRights) == ERROR_SUCCESS &&
           Form::SetValue(key.Get(), valueName, REG_BINARY, data, cbData) == ERROR_SUCCESS;
}

// ---- Root ----

template <class Form>
void SetRoot(const char* sFunction, const typename Form::Char* rootPath)
{
    if (IsEmptyText(rootPath))
    {
        ORV_REPORT(sFunction, "rootPath == nullptr || *rootPath == 0");
        return;
    }
    Form::Widen(s_lqSettingsRoot, rootPath);
    const std::size_t nLength = std::char_traits<WCHAR>::length(s_lqSettingsRoot);
    if (nLength != 0 && s_lqSettingsRoot[nLength - 1] == '\\')
        s_lqSettingsRoot[nLength - 1] = 0;
    if (s_lqSettingsRoot[0] == 0)
        ORV_REPORT(sFunction, "s_lqSettingsRoot[0] != L'\\0'");
}

} // namespace

// ---- Exports ----

bool ORVCALL GetLQSettingsRootA(char* rootPath, unsigned cchDest) noexcept
{
    if (rootPath == nullptr || cchDest < 2)
    {
        ORV_REPORT("GetLQSettingsRootA", "rootPath == nullptr || cchDest < 2");
        return false;
    }
    char sWhole[4 * kSettingsPathChars]; // no code page has longer characters
    const int nWhole = UnicodeToANSI(s_lqSettingsRoot, sWhole, sizeof sWhole, CP_ACP);
    return UnicodeToANSI(s_lqSettingsRoot, rootPath, cchDest, CP_ACP) == nWhole;
}

bool ORVCALL GetLQSettingsRootW(WCHAR* rootPath, unsigned cchDest) noexcept
{
    if (rootPath == nullptr || cchDest < 2)
    {
        ORV_REPORT("GetLQSettingsRootW", "rootPath == nullptr || cchDest < 2");
        return false;
    }
    const bool bWhole = CopyCut<WCHAR>(rootPath, cchDest, s_lqSettingsRoot);
    if (!bWhole)
        ORV_REPORT_VALUE("GetLQSettingsRootW", nullptr, kInsufficientBuffer);
    return bWhole;
}

COrvStr ORVCALL GetLQSettingsRootStr() noexcept
try
{
    return COrvStr(s_lqSettingsRoot);
}
catch (...)
{
    return COrvStr();
}

void ORVCALL SetLQSettingsRootA(const char* rootPath) noexcept
{
    SetRoot<CNarrowForm>("SetLQSettingsRootA", rootPath);
}

void ORVCALL SetLQSettingsRootW(const WCHAR* rootPath) noexcept
{
    SetRoot<CWideForm>("SetLQSettingsRootW", rootPath);
}

DWORD ORVCALL GetLQDWORDSettingA(const char* subKey, const char* valueName, DWORD dwDefault) noexcept
{
    return GetNumber<CNarrowForm>(subKey, valueName, dwDefault);
}

DWORD ORVCALL GetLQDWORDSettingW(const WCHAR* subKey, const WCHAR* valueName, DWORD dwDefault) noexcept
{
    return GetNumber<CWideForm>(subKey, valueName, dwDefault);
}

ULONGLONG ORVCALL GetLQQWORDSettingA(const char* subKey, const char* valueName, ULONGLONG qwDefault) noexcept
{
    return GetNumber<CNarrowForm>(subKey, valueName, qwDefault);
}

ULONGLONG ORVCALL GetLQQWORDSettingW(const WCHAR* subKey, const WCHAR* valueName,
                                     ULONGLONG qwDefault) noexcept
{
    return GetNumber<CWideForm>(subKey, valueName, qwDefault);
}

bool ORVCALL GetLQStringSettingA(const char* subKey, const char* valueName, char* dest, DWORD cbDest,
                                 const char* defaultValue) noexcept
{
    return GetText<CNarrowForm>("GetLQStringSettingA", subKey, valueName, dest, cbDest, defaultValue);
}

bool ORVCALL GetLQStringSettingW(const WCHAR* subKey, const WCHAR* valueName, WCHAR* dest, DWORD cbDest,
                                 const WCHAR* defaultValue) noexcept
{
    return GetText<CWideForm>("GetLQStringSettingW", subKey, valueName, dest, cbDest, defaultValue);
}

bool ORVCALL GetLQBinarySettingA(const char* subKey, const char* valueName, void* dest,
                                 DWORD* pcbDest) noexcept
{
    return GetBytes<CNarrowForm>("GetLQBinarySettingA", subKey, valueName, dest, pcbDest);
}

bool ORVCALL GetLQBinarySettingW(const WCHAR* subKey, const WCHAR* valueName, void* dest,
                                 DWORD* pcbDest) noexcept
{
    return GetBytes<CWideForm>("GetLQBinarySettingW", subKey, valueName, dest, pcbDest);
}

COrvStr ORVCALL GetLQStrSetting(const WCHAR* subKey, const WCHAR* valueName,
                                const WCHAR* defaultValue) noexcept
try
{
    const CRegistryReading reading;
    COrvStr sPath(s_lqSettingsRoot);
    if (!IsEmptyText(subKey))
    {
        sPath.AppendChar(ORVTEXT('\\'));
        OCT::AppendWhole(sPath, subKey);
    }
    for (HKEY hHive : kHives)
    {
        CRegKeyW key;
        CSettingsBuffer<WCHAR> buffer;
        DWORD cbData;
        if (FindText<CWideForm>(hHive, sPath, valueName, key, cbData) != Found::eYes)
            continue;
        const std::size_t cchBuffer = cbData / sizeof(WCHAR) + 1;
        if (!buffer.ReserveSize(cchBuffer))
            return COrvStr();
        if (ReadText<CWideForm>(key.Get(), valueName, buffer, cchBuffer))
            return OCT::Whole(COrvStr(static_cast<const WCHAR*>(buffer)));
    }
    return IsEmptyText(defaultValue) ? COrvStr() : OCT::Whole(COrvStr(defaultValue));
}
catch (...)
{
    return COrvStr();
}

bool ORVCALL SetLQDWORDSettingA(const char* subKey, const char* valueName, DWORD dwValue,
                                DWORD dwDefault) noexcept
{
    return SetNumber<CNarrowForm>("SetLQDWORDSettingA", subKey, valueName, dwValue, dwDefault);
}

bool ORVCALL SetLQDWORDSettingW(const WCHAR* subKey, const WCHAR* valueName, DWORD dwValue,
                                DWORD dwDefault) noexcept
{
    return SetNumber<CWideForm>("SetLQDWORDSettingW", subKey, valueName, dwValue, dwDefault);
}

bool ORVCALL SetLQQWORDSettingA(const char* subKey, const char* valueName, ULONGLONG qwValue,
                                ULONGLONG qwDefault) noexcept
{
    return SetNumber<CNarrowForm>("SetLQQWORDSettingA", subKey, valueName, qwValue, qwDefault);
}

bool ORVCALL SetLQQWORDSettingW(const WCHAR* subKey, const WCHAR* valueName, ULONGLONG qwValue,
                                ULONGLONG qwDefault) noexcept
{
    return SetNumber<CWideForm>("SetLQQWORDSettingW", subKey, valueName, qwValue, qwDefault);
}

bool ORVCALL SetLQStringSettingA(const char* subKey, const char* valueName, const char* value,
                                 const char* defaultValue) noexcept
{
    return SetText<CNarrowForm>("SetLQStringSettingA", subKey, valueName, value, defaultValue);
}

bool ORVCALL SetLQStringSettingW(const WCHAR* subKey, const WCHAR* valueName, const WCHAR* value,
                                 const WCHAR* defaultValue) noexcept
{
    return SetText<CWideForm>("SetLQStringSettingW", subKey, valueName, value, defaultValue);
}

bool ORVCALL SetLQBinarySettingA(const char* subKey, const char* valueName, const void* data,
                                 DWORD cbData) noexcept
{
    return SetBytes<CNarrowForm>(subKey, valueName, data, cbData);
}

bool ORVCALL SetLQBinarySettingW(const WCHAR* subKey, const WCHAR* valueName, const void* data,
                                 DWORD cbData) noexcept
{
    return SetBytes<CWideForm>(subKey, valueName, data, cbData);
}
