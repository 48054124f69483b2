#include "registryfile.h"
#include "commands.h"
#include "store.h"

#include "registry/registrytext.h"

#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ios>
#include <string>
#include <system_error>
#include <utility>

namespace
{

constexpr std::size_t kMaxKeyName = 255;
constexpr std::size_t kMaxValueName = 16383;

std::string ReadFile(const CText& sFile)
{
    std::ifstream file(std::filesystem::path(sFile), std::ios::binary);
    std::string sBytes;
    char buffer[65536];
    while (file.read(buffer, sizeof buffer), file.gcount() > 0)
        sBytes.append(buffer, static_cast<std::size_t>(file.gcount()));
    if (!file.is_open() || file.bad())
        throw FileError(errno == ENOENT ? eNotFound : eFailed, "cannot read ", sFile);
    return sBytes;
}

const CScope* ScopeOf(const CText& sHive)
{
    std::string s = Utf8(sHive);
    for (char& c : s)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    return s == "HKEY_CURRENT_USER" || s == "HKCU"    ? &kUserScope
           : s == "HKEY_LOCAL_MACHINE" || s == "HKLM" ? &kMachineScope
                                                      : nullptr;
}

/// The key that the lines belong to, and what they ask for.
class CReader
{
public:
    CReader(CRegistryFile& file, const CScope* pScope) : m_file(file), m_pScope(pScope) {}
    void Take(OrvPort::CRegTextItem& item);

private:
    using Item = OrvPort::CRegTextItem;

    const char* TakeKey(const Item& item);
    const char* TakeValue(Item& item);

    CRegistryFile& m_file;
    const CScope* m_pScope;
    const CScope* m_pKeyScope = nullptr; ///< null: no key
    CText m_sKeyPath;
};

void CReader::Take(Item& item)
{
    const char* sFault = item.m_sFault;
    if (item.IsOfKey())
        m_pKeyScope = nullptr;
    if (sFault == nullptr && item.IsOfKey())
        sFault = TakeKey(item);
    else if (sFault == nullptr && item.IsOfValue())
        sFault = TakeValue(item);
    if (sFault == nullptr)
        return;
    const auto isEnd = [](WCHAR c) { return c == '\n' || c == '\r'; };
    const auto itEnd = std::find_if(item.m_sText.begin(), item.m_sText.end(), isEnd);
    m_file.m_badLines.push_back({item.m_nLine, CText(item.m_sText.begin(), itEnd), sFault});
}

const char* CReader::TakeKey(const Item& item)
{
    const std::size_t nEnd = std::min(item.m_sName.find(WCHAR('\\')), item.m_sName.size());
    const CScope* pScope = ScopeOf(item.m_sName.substr(0, nEnd));
    CText sPath = CleanPath(item.m_sName.substr(nEnd));
    if (pScope == nullptr)
        return "a key of another hive";
    if (const char* sFault = PathFault(sPath))
        return sFault;
    const bool bDelete = item.m_eKind == Item::eDeleteKey;
    if (bDelete && sPath.empty())
        return "a whole hive is not deleted";
    if (m_pScope != nullptr)
        pScope = m_pScope;
    m_file.m_changes.push_back({bDelete ? CChange::eDeleteKey : CChange::eCreateKey, pScope, sPath});
    m_pKeyScope = bDelete ? nullptr : pScope;
    m_sKeyPath = std::move(sPath);
    return nullptr;
}

const char* CReader::TakeValue(Item& item)
{
    if (m_pKeyScope == nullptr)
        return "a value of no key";
    if (item.m_sName.size() > kMaxValueName)
        return "too long a name";
    const auto eKind = item.m_eKind == Item::eDeleteValue ? CChange::eDeleteValue : CChange::eSetValue;
    m_file.m_changes.push_back(
        {eKind, m_pKeyScope, m_sKeyPath, {std::move(item.m_sName), item.m_dwType, std::move(item.m_data)}});
    return nullptr;
}

} // namespace

CToolError FileError(ToolResult result, const char* sWhat, const CText& sFile)
{
    return CToolError(result, sWhat + Utf8(sFile) + ": " + std::generic_category().message(errno));
}

CText CleanPath(const CText& sPath)
{
    CText sClean;
    for (const WCHAR c : sPath)
        if (c != '\\' || (!sClean.empty() && sClean.back() != '\\'))
            sClean.push_back(c);
    if (sClean.ends_with(WCHAR('\\')))
        sClean.pop_back();
    return sClean;
}

const char* PathFault(const CText& sPath)
{
    for (std::size_t nStart = 0; nStart <= sPath.size();)
    {
        const std::size_t nEnd = std::min(sPath.find(WCHAR('\\'), nStart), sPath.size());
        const auto sName = OrvPort::CRegView(sPath).substr(nStart, nEnd - nStart);
        if (sName.size() > kMaxKeyName)
            return "too long a name";
        if (!OrvPort::IsRegKeyName(sName) || sName.find(WCHAR(0)) != sName.npos)
            return "no key can have that name";
        nStart = nEnd + 1;
    }
    return nullptr;
}

CRegistryFile ReadRegistryFile(const CText& sFile, const CScope* pScope)
{
    const std::string sBytes = ReadFile(sFile);
    OrvPort::CRegTextReader reader(sBytes);
    OrvPort::CRegTextItem item;
    CRegistryFile file;
    CReader taken(file, pScope);
    while (reader.Next(item))
        taken.Take(item);
    return file;
}
