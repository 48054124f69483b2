// The system's registry.
#include "store.h"

#include "orvcomtypes/regkeyw.h"

namespace
{

constexpr DWORD kMaxName = 16384;

HKEY RootOf(const CScope& scope)
{
    return scope.m_nHive == 0 ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
}

void Check(LSTATUS lStatus, const CScope& scope, const CText& sPath)
{
    if (lStatus != ERROR_SUCCESS)
        throw CToolError(eFailed,
                         std::string(scope.m_sHiveName) + "\\" + Utf8(sPath) + ": " + StatusText(lStatus));
}

/// False when there is no such key.
bool OpenKey(CRegKeyW& key, const CScope& scope, const CText& sPath, REGSAM samDesired)
{
    const LSTATUS lStatus = key.Open(RootOf(scope), sPath.c_str(), samDesired);
    if (lStatus != ERROR_FILE_NOT_FOUND)
        Check(lStatus, scope, sPath);
    return lStatus == ERROR_SUCCESS;
}

/// Whether a change may be made is asked before the first of them is: the key, or what is there of its path.
void CheckAccess(const CScope& scope, CText sPath)
{
    REGSAM samDesired = KEY_READ | KEY_WRITE;
    for (CRegKeyW key; !OpenKey(key, scope, sPath, samDesired) && !sPath.empty();)
    {
        const std::size_t nEnd = sPath.rfind(L'\\');
        sPath.resize(nEnd == CText::npos ? 0 : nEnd);
        samDesired = KEY_CREATE_SUB_KEY;
    }
}

bool IsSameKey(const CChange& a, const CChange& b)
{
    return a.m_pScope == b.m_pScope && a.m_sPath == b.m_sPath;
}

/// ERROR_SUCCESS, or ERROR_FILE_NOT_FOUND when there is no such value.
LSTATUS QueryValue(const CRegKeyW& key, CStoredValue& value)
{
    LSTATUS lStatus;
    DWORD cbData = 64;
    do
    {
        value.m_data.resize(cbData);
        lStatus = ::RegQueryValueExW(key.Get(), value.m_sName.c_str(), nullptr, &value.m_dwType,
                                     value.m_data.data(), &cbData);
    }
    while (lStatus == ERROR_MORE_DATA);
    value.m_data.resize(lStatus == ERROR_SUCCESS ? cbData : 0);
    return lStatus;
}

/// The names that an enumeration gives.
template <class Enum>
std::vector<CText> Names(const CRegKeyW& key, Enum enumerate, LSTATUS& lStatus)
{
    std::vector<CText> names;
    CText sName(kMaxName, 0);
    for (;;)
    {
        DWORD cchName = kMaxName;
        lStatus = enumerate(key.Get(), static_cast<DWORD>(names.size()), sName.data(), &cchName, nullptr,
                            nullptr, nullptr, nullptr);
        if (lStatus != ERROR_SUCCESS)
            break;
        names.push_back(sName.substr(0, cchName));
    }
    if (lStatus == ERROR_NO_MORE_ITEMS)
        lStatus = ERROR_SUCCESS;
    return names;
}

} // namespace

struct CStore::CHive
{
};

CStore::CStore() = default;
CStore::~CStore() = default;

CHiveState CStore::State(const CScope& scope)
{
    return {scope.m_sHiveName, true, {}};
}

std::optional<CStoredKey> CStore::ReadKey(const CScope& scope, const CText& sPath)
{
    CRegKeyW hKey;
    if (!OpenKey(hKey, scope, sPath, KEY_READ))
        return std::nullopt;
    CStoredKey key;
    LSTATUS lStatus;
    key.m_children = Names(hKey, ::RegEnumKeyExW, lStatus);
    Check(lStatus, scope, sPath);
    const std::vector<CText> names = Names(hKey, ::RegEnumValueW, lStatus);
    Check(lStatus, scope, sPath);
    for (const CText& sName : names)
    {
        CStoredValue value{sName};
        lStatus = QueryValue(hKey, value);
        if (lStatus == ERROR_FILE_NOT_FOUND)
            continue; // gone meanwhile
        Check(lStatus, scope, sPath);
        key.m_values.push_back(std::move(value));
    }
    return key;
}

std::optional<CStoredValue> CStore::ReadValue(const CScope& scope, const CText& sPath, const CText& sName)
{
    CRegKeyW key;
    CStoredValue value{sName};
    if (!OpenKey(key, scope, sPath, KEY_READ))
        return std::nullopt;
    const LSTATUS lStatus = QueryValue(key, value);
    if (lStatus == ERROR_FILE_NOT_FOUND)
        return std::nullopt;
    Check(lStatus, scope, sPath);
    return value;
}

/// A key stays open for as long as the changes are its own.
void CStore::Apply(const std::vector<CChange>& changes, const ToolProgress& progress)
{
    for (std::size_t i = 0; i < changes.size(); ++i)
        if (i == 0 || !IsSameKey(changes[i], changes[i - 1]))
            CheckAccess(*changes[i].m_pScope, changes[i].m_sPath);
    CRegKeyW key;
    for (std::size_t i = 0; i < changes.size(); ++i)
    {
        const CChange& change = changes[i];
        const CStoredValue& value = change.m_value;
        LSTATUS lStatus = ERROR_SUCCESS;
        if (change.m_eKind == CChange::eDeleteKey)
        {
            key.Close();
            lStatus = ::RegDeleteTreeW(RootOf(*change.m_pScope), change.m_sPath.c_str());
        }
        else if (key.Get() == nullptr || !IsSameKey(change, changes[i - 1]))
            Check(key.Create(RootOf(*change.m_pScope), change.m_sPath.c_str(), KEY_READ | KEY_WRITE),
                  *change.m_pScope, change.m_sPath);
        if (change.m_eKind == CChange::eSetValue)
            lStatus = ::RegSetValueExW(key.Get(), value.m_sName.c_str(), 0, value.m_dwType,
                                       value.m_data.data(), static_cast<DWORD>(value.m_data.size()));
        else if (change.m_eKind == CChange::eDeleteValue)
            lStatus = ::RegDeleteValueW(key.Get(), value.m_sName.c_str());
        if (lStatus != ERROR_FILE_NOT_FOUND) // nothing to delete
            Check(lStatus, *change.m_pScope, change.m_sPath);
        progress(i + 1, changes.size());
    }
}
