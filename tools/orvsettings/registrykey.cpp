#include "registrykey.h"

#include "registry/registrytext.h"

const CScope g_userScope = {HKEY_CURRENT_USER, "user", "HKEY_CURRENT_USER"};
const CScope g_machineScope = {HKEY_LOCAL_MACHINE, "machine", "HKEY_LOCAL_MACHINE"};

namespace
{

constexpr DWORD g_cchMaxName = 16384;

[[noreturn]] void Fail(LSTATUS lStatus, const CScope& scope, const CText& sPath)
{
    const char* sReason = lStatus == ERROR_ACCESS_DENIED       ? "access denied"
                          : lStatus == ERROR_DISK_FULL         ? "the disk is full"
                          : lStatus == ERROR_KEY_DELETED       ? "the key has been deleted"
                          : lStatus == ERROR_BAD_PATHNAME      ? "no key can have that path"
                          : lStatus == ERROR_INVALID_PARAMETER ? "no key or value can have that name"
                                                               : "the registry failed";
    throw CToolError(eFailed, std::string(scope.m_sHiveName) + "\\" + Utf8(sPath) + ": " + sReason + " (" +
                                  std::to_string(lStatus) + ")");
}

} // namespace

std::string Utf8(const CText& sText)
{
    return OrvPort::EncodeRegText(sText, {});
}

std::optional<CToolKey> CToolKey::Open(const CScope& scope, const CText& sPath)
{
    CToolKey key(scope, sPath);
    key.m_pKey = std::make_unique<CRegKeyW>();
    const LSTATUS lStatus = key.m_pKey->Open(scope.m_hHive, sPath.c_str(), KEY_READ);
    if (lStatus == ERROR_FILE_NOT_FOUND)
        return std::nullopt;
    key.Check(lStatus);
    return key;
}

CToolKey CToolKey::Create(const CScope& scope, const CText& sPath)
{
    CToolKey key(scope, sPath);
    key.m_pKey = std::make_unique<CRegKeyW>();
    key.Check(key.m_pKey->Create(scope.m_hHive, sPath.c_str(), KEY_READ | KEY_WRITE));
    return key;
}

void CToolKey::Check(LSTATUS lStatus) const
{
    if (lStatus != ERROR_SUCCESS)
        Fail(lStatus, *m_pScope, m_sPath);
}

std::optional<CStoredValue> CToolKey::Query(const CText& sName) const
{
    CStoredValue value;
    value.m_sName = sName;
    for (;;)
    {
        DWORD cbData = static_cast<DWORD>(value.m_data.size());
        const LSTATUS lStatus =
            ::RegQueryValueExW(m_pKey->Get(), sName.c_str(), nullptr, &value.m_dwType,
                               value.m_data.empty() ? nullptr : value.m_data.data(), &cbData);
        if (lStatus == ERROR_FILE_NOT_FOUND)
            return std::nullopt;
        const bool bWasEmpty = value.m_data.empty();
        value.m_data.resize(cbData);
        if (lStatus == ERROR_SUCCESS && (!bWasEmpty || cbData == 0))
            return value;
        if (lStatus != ERROR_SUCCESS && lStatus != ERROR_MORE_DATA)
            Check(lStatus);
    }
}

std::vector<CStoredValue> CToolKey::Values() const
{
    std::vector<CStoredValue> values;
    CText sName(g_cchMaxName, 0);
    for (DWORD dwIndex = 0;; ++dwIndex)
    {
        DWORD cchName = g_cchMaxName;
        const LSTATUS lStatus = ::RegEnumValueW(m_pKey->Get(), dwIndex, sName.data(), &cchName, nullptr,
                                                nullptr, nullptr, nullptr);
        if (lStatus == ERROR_NO_MORE_ITEMS)
            return values;
        Check(lStatus);
        if (std::optional<CStoredValue> value = Query(sName.substr(0, cchName)))
            values.push_back(std::move(*value));
    }
}

std::vector<CText> CToolKey::Children() const
{
    std::vector<CText> children;
    CText sName(g_cchMaxName, 0);
    for (;;)
    {
        DWORD cchName = g_cchMaxName;
        const LSTATUS lStatus = ::RegEnumKeyExW(m_pKey->Get(), static_cast<DWORD>(children.size()),
                                                sName.data(), &cchName, nullptr, nullptr, nullptr, nullptr);
        if (lStatus == ERROR_NO_MORE_ITEMS)
            return children;
        Check(lStatus);
        children.push_back(sName.substr(0, cchName));
    }
}

void CToolKey::Set(const CStoredValue& value) const
{
    Check(::RegSetValueExW(m_pKey->Get(), value.m_sName.c_str(), 0, value.m_dwType, value.m_data.data(),
                           static_cast<DWORD>(value.m_data.size())));
}

bool CToolKey::Delete(const CText& sName) const
{
    CRegKeyW key;
    Check(key.Open(m_pKey->Get(), nullptr, KEY_SET_VALUE));
    const LSTATUS lStatus = ::RegDeleteValueW(key.Get(), sName.c_str());
    if (lStatus != ERROR_FILE_NOT_FOUND)
        Check(lStatus);
    return lStatus == ERROR_SUCCESS;
}

bool DeleteTree(const CScope& scope, const CText& sPath)
{
    {
        const std::optional<CToolKey> key = CToolKey::Open(scope, sPath);
        if (!key)
            return false;
        for (const CText& sChild : key->Children())
            DeleteTree(scope, sPath + ORVTEXT('\\') + sChild);
    }
    const LSTATUS lStatus = ::RegDeleteKeyW(scope.m_hHive, sPath.c_str());
    if (lStatus != ERROR_SUCCESS && lStatus != ERROR_FILE_NOT_FOUND)
        Fail(lStatus, scope, sPath);
    return true;
}
