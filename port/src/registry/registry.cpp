#include "process/unload.h"
#include "registry/hivefile.h"
#include "registry/registryapi.h"
#include "registry/registrydoc.h"
#include "registry/registryhive.h"
#include "registry/registrytext.h"
#include "registry/registryzones.h"
#include "threads/portlock.h"

#include <windows.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

namespace OrvPort
{
namespace
{

constexpr std::size_t kMaxKeyName = 255;

struct CRegKey
{
    CRegHive* m_pHive;
    CRegString m_sPath;
    REGSAM m_samGranted;
    std::vector<CRegEntry> m_served = {}; ///< values of a key that is in no file

    bool MayNot(REGSAM sam) const { return (m_samGranted & sam) != sam; }
    /// Whether the key was deleted after the handle was opened; the hive itself is always there.
    bool IsGone(const CRegDocument& document) const { return !document.HasKey(m_sPath); }
};

using CRegKeyPtr = std::shared_ptr<const CRegKey>;

class CRegistry
{
public:
    CRegistry();
    /// Static destructors still report and read settings.
    static CRegistry& Get();

    HKEY Add(CRegKey key);
    CRegKeyPtr Find(HKEY hKey);
    bool Remove(HKEY hKey);
    /// Gives the key the values that stand in for those of a file, when it is one that has such and is only
    /// read.
    bool Serve(CRegKey& key) const;

private:
    CRegHive m_user;
    CRegHive m_machine;
    CPortMemberLock m_lock;
    ULONG_PTR m_nLastHandle = 0;
    std::unordered_map<ULONG_PTR, CRegKeyPtr> m_keys;
    CRegKeyPtr m_pUserKey;
    CRegKeyPtr m_pMachineKey;
};

CRegistry::CRegistry()
    : m_user(0, u"HKEY_CURRENT_USER", u"HKCU", UserHiveFile),
      m_machine(1, u"HKEY_LOCAL_MACHINE", u"HKLM", MachineHiveFile),
      m_pUserKey(std::make_shared<CRegKey>(CRegKey{&m_user, {}, KEY_ALL_ACCESS, {}})),
      m_pMachineKey(std::make_shared<CRegKey>(CRegKey{&m_machine, {}, KEY_ALL_ACCESS, {}}))
{
}

CMadeOnce<CRegistry> g_registry;

CRegistry& CRegistry::Get()
{
    return const_cast<CRegistry&>(g_registry.Get());
}

HKEY CRegistry::Add(CRegKey key)
{
    const std::lock_guard guard(m_lock);
    m_nLastHandle += 4;
    m_keys.emplace(m_nLastHandle, std::make_shared<CRegKey>(std::move(key)));
    return reinterpret_cast<HKEY>(m_nLastHandle);
}

CRegKeyPtr CRegistry::Find(HKEY hKey)
{
    const std::lock_guard guard(m_lock);
    if (hKey == HKEY_CURRENT_USER)
        return m_pUserKey;
    if (hKey == HKEY_LOCAL_MACHINE)
        return m_pMachineKey;
    const auto it = m_keys.find(reinterpret_cast<ULONG_PTR>(hKey));
    return it == m_keys.end() ? nullptr : it->second;
}

bool CRegistry::Remove(HKEY hKey)
{
    const std::lock_guard guard(m_lock);
    return m_keys.erase(reinterpret_cast<ULONG_PTR>(hKey)) != 0;
}

bool CRegistry::Serve(CRegKey& key) const
{
    if (key.m_pHive == &m_machine && (key.m_samGranted & (KEY_SET_VALUE | KEY_CREATE_SUB_KEY)) == 0)
        key.m_served = ServeZoneKey(key.m_sPath);
    return !key.m_served.empty();
}

/// Runs \p call with the key of a handle; exceptions end here.
template <class Fn>
LSTATUS WithKey(HKEY hKey, Fn&& call) noexcept
{
    try
    {
        const CRegKeyPtr pKey = CRegistry::Get().Find(hKey);
        return pKey == nullptr ? ERROR_INVALID_HANDLE : call(*pKey);
    }
    catch (const std::bad_alloc&)
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

/// Adds a sub-key name to a path, as the system reads it: repeated and trailing backslashes count once.
LSTATUS JoinPath(CRegString& sPath, LPCWSTR sSubKey)
{
    CRegView sRest = sSubKey == nullptr ? CRegView() : CRegView(sSubKey);
    if (sRest.starts_with(WCHAR('\\')))
        return ERROR_BAD_PATHNAME;
    while (!sRest.empty())
    {
        const std::size_t nEnd = sRest.find(WCHAR('\\'));
        const CRegView sPart = sRest.substr(0, nEnd);
        if (sPart.size() > kMaxKeyName || !IsRegKeyName(sPart))
            return ERROR_INVALID_PARAMETER;
        if (!sPart.empty())
            sPath.append(sPath.empty() ? 0 : 1, WCHAR('\\')).append(sPart);
        sRest.remove_prefix(nEnd == sRest.npos ? sRest.size() : nEnd + 1);
    }
    return ERROR_SUCCESS;
}

CRegView ViewOf(LPCWSTR s)
{
    return s == nullptr ? CRegView() : CRegView(s);
}

LSTATUS StoreValue(const CRegKey& key, CRegView sName, DWORD dwType, CRegData data)
{
    if (key.MayNot(KEY_SET_VALUE))
        return ERROR_ACCESS_DENIED;
    return key.m_pHive->Write([&](CRegDocument& document, bool& bChanged) -> LSTATUS {
        if (key.IsGone(document))
            return ERROR_KEY_DELETED;
        bChanged = document.SetValue(key.m_sPath, sName, dwType, std::move(data));
        return ERROR_SUCCESS;
    });
}

} // namespace

LSTATUS UseRegValue(HKEY hKey, CRegView sName, RegValueUser fnUse, void* pContext) noexcept
{
    return WithKey(hKey, [&](const CRegKey& key) -> LSTATUS {
        if (key.MayNot(KEY_QUERY_VALUE))
            return ERROR_ACCESS_DENIED;
        if (!key.m_served.empty())
        {
            const CRegString sFolded = FoldRegName(sName);
            for (const CRegEntry& entry : key.m_served)
                if (entry.m_sFolded == sFolded)
                    return fnUse(pContext, entry.m_dwType, entry.m_data);
            return ERROR_FILE_NOT_FOUND;
        }
        return key.m_pHive->Read([&](const CRegDocument& document) -> LSTATUS {
            if (const CRegEntry* pEntry = document.FindValue(key.m_sPath, sName))
                return fnUse(pContext, pEntry->m_dwType, pEntry->m_data);
            return key.IsGone(document) ? ERROR_KEY_DELETED : ERROR_FILE_NOT_FOUND;
        });
    });
}

LSTATUS DeliverRegValue(DWORD dwType, const CRegData& data, LPDWORD lpType, LPBYTE lpData,
                        LPDWORD lpcbData) noexcept
{
    if (lpType != nullptr)
        *lpType = dwType;
    if (lpcbData == nullptr)
        return ERROR_SUCCESS;
    const DWORD cbRoom = std::exchange(*lpcbData, static_cast<DWORD>(data.size()));
    if (lpData == nullptr)
        return ERROR_SUCCESS;
    if (cbRoom < data.size())
        return ERROR_MORE_DATA;
    if (!data.empty())
        std::memcpy(lpData, data.data(), data.size());
    return ERROR_SUCCESS;
}

} // namespace OrvPort

void PortFreeRegistryAtUnload() noexcept
{
    OrvPort::g_registry.DestroyAtUnload();
}

using namespace OrvPort;

LSTATUS RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, REGSAM samDesired, PHKEY phkResult) noexcept
{
    if (phkResult == nullptr)
        return ERROR_INVALID_PARAMETER;
    *phkResult = nullptr;
    return WithKey(hKey, [&](const CRegKey& parent) -> LSTATUS {
        CRegKey key{parent.m_pHive, parent.m_sPath, samDesired, {}};
        if (const LSTATUS lStatus = JoinPath(key.m_sPath, lpSubKey); lStatus != ERROR_SUCCESS)
            return lStatus;
        LSTATUS lStatus = key.m_pHive->Read([&](const CRegDocument& document) -> LSTATUS {
            if (!key.IsGone(document))
                return ERROR_SUCCESS;
            return parent.IsGone(document) ? ERROR_KEY_DELETED : ERROR_FILE_NOT_FOUND;
        });
        // Also where the file cannot be read.
        if (lStatus != ERROR_SUCCESS && CRegistry::Get().Serve(key))
            lStatus = ERROR_SUCCESS;
        if (lStatus == ERROR_SUCCESS)
            *phkResult = CRegistry::Get().Add(std::move(key));
        return lStatus;
    });
}

LSTATUS RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, LPWSTR, DWORD, REGSAM samDesired,
                        const SECURITY_ATTRIBUTES*, PHKEY phkResult, LPDWORD lpdwDisposition) noexcept
{
    if (phkResult == nullptr)
        return ERROR_INVALID_PARAMETER;
    *phkResult = nullptr;
    const LSTATUS lOpen = RegOpenKeyExW(hKey, lpSubKey, 0, samDesired, phkResult);
    if (lpdwDisposition != nullptr)
        *lpdwDisposition = REG_OPENED_EXISTING_KEY;
    if (lOpen != ERROR_FILE_NOT_FOUND)
        return lOpen;
    // What the parent was opened for does not matter here, nor where keys are deleted.
    return WithKey(hKey, [&](const CRegKey& parent) -> LSTATUS {
        CRegKey key{parent.m_pHive, parent.m_sPath, samDesired, {}};
        JoinPath(key.m_sPath, lpSubKey);
        const LSTATUS lStatus = key.m_pHive->Write([&](CRegDocument& document, bool& bChanged) -> LSTATUS {
            if (parent.IsGone(document))
                return ERROR_KEY_DELETED;
            bChanged = document.CreateKey(key.m_sPath);
            if (bChanged && lpdwDisposition != nullptr)
                *lpdwDisposition = REG_CREATED_NEW_KEY;
            return ERROR_SUCCESS;
        });
        if (lStatus == ERROR_SUCCESS)
            *phkResult = CRegistry::Get().Add(std::move(key));
        return lStatus;
    });
}

LSTATUS RegCloseKey(HKEY hKey) noexcept
{
    if (hKey == HKEY_CURRENT_USER || hKey == HKEY_LOCAL_MACHINE)
        return ERROR_SUCCESS;
    return CRegistry::Get().Remove(hKey) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD, LPDWORD lpType, LPBYTE lpData,
                         LPDWORD lpcbData) noexcept
{
    if (lpData != nullptr && lpcbData == nullptr)
        return ERROR_INVALID_PARAMETER;
    return UseRegValue(hKey, ViewOf(lpValueName), [&](DWORD dwType, const CRegData& data) {
        return DeliverRegValue(dwType, data, lpType, lpData, lpcbData);
    });
}

LSTATUS RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD, DWORD dwType, const BYTE* lpData,
                       DWORD cbData) noexcept
{
    if (lpData == nullptr && cbData != 0)
        return ERROR_NOACCESS;
    return WithKey(hKey, [&](const CRegKey& key) -> LSTATUS {
        return StoreValue(key, ViewOf(lpValueName), dwType, CRegData(lpData, lpData + cbData));
    });
}

LSTATUS RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) noexcept
{
    return WithKey(hKey, [&](const CRegKey& key) -> LSTATUS {
        if (key.MayNot(KEY_SET_VALUE))
            return ERROR_ACCESS_DENIED;
        return key.m_pHive->Write([&](CRegDocument& document, bool& bChanged) -> LSTATUS {
            if (key.IsGone(document))
                return ERROR_KEY_DELETED;
            bChanged = document.DeleteValue(key.m_sPath, ViewOf(lpValueName));
            return bChanged ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
        });
    });
}
