#include "support/test_registry.h"

#include <windows.h>

#include <stdexcept>
#include <string>

namespace
{

std::wstring RootKey()
{
    return L"Software\\OrvComTypesTest\\" + std::to_wstring(GetCurrentProcessId());
}

HKEY CreateKey(const std::wstring& sName)
{
    HKEY hKey = nullptr;
    const LSTATUS iStatus = RegCreateKeyExW(HKEY_CURRENT_USER, (RootKey() + sName).c_str(), 0, nullptr, 0,
                                            KEY_ALL_ACCESS, nullptr, &hKey, nullptr);
    if (iStatus != ERROR_SUCCESS)
        throw std::runtime_error("RegCreateKeyExW");
    return hKey;
}

} // namespace

CTestRegistry::CTestRegistry()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, RootKey().c_str());
    HKEY hMachine = CreateKey(L"\\Machine");
    HKEY hUser = CreateKey(L"\\User");
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, hMachine);
    RegOverridePredefKey(HKEY_CURRENT_USER, hUser);
    RegCloseKey(hMachine);
    RegCloseKey(hUser);
}

CTestRegistry::~CTestRegistry()
{
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, RootKey().c_str());
}
