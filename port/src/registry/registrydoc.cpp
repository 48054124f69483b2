#include "registry/registrydoc.h"

#include "registry/registrytext.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace OrvPort
{
namespace
{

constexpr std::size_t kShownLength = 200;

/// Sort key of a path: folded, and with NUL between the parts so that all below a key follows it directly.
CRegString FoldPath(CRegView sPath)
{
    CRegString s = FoldRegName(sPath);
    std::replace(s.begin(), s.end(), WCHAR('\\'), WCHAR(0));
    return s;
}

CRegView ParentPath(CRegView sPath)
{
    const std::size_t n = sPath.rfind(WCHAR('\\'));
    return n == sPath.npos ? CRegView() : sPath.substr(0, n);
}

bool IsLineEnd(WCHAR c)
{
    return c == '\n' || c == '\r';
}

bool EndsInBlankLine(CRegView sLines)
{
    if (sLines.ends_with(WCHAR('\n')))
        sLines.remove_suffix(1);
    else
        return false;
    if (sLines.ends_with(WCHAR('\r')))
        sLines.remove_suffix(1);
    return sLines.empty() || sLines.ends_with(WCHAR('\n'));
}

} // namespace

CRegString FoldRegName(CRegView sName)
{
    CRegString s(sName);
    CharUpperBuffW(s.data(), static_cast<DWORD>(s.size()));
    return s;
}

CRegEntry::CRegEntry(CRegString sText, CRegView sName, DWORD dwType, CRegData data)
    : m_sText(std::move(sText)),
      m_bValue(true),
      m_sName(sName),
      m_sFolded(FoldRegName(sName)),
      m_dwType(dwType),
      m_data(std::move(data))
{
}

// ---- A key's lines ----

const CRegEntry* CRegDocument::CSection::Find(CRegView sName) const
{
    const auto it = m_values.find(FoldRegName(sName));
    return it == m_values.end() ? nullptr : m_entries[it->second].get();
}

void CRegDocument::CSection::Put(std::shared_ptr<const CRegEntry> pEntry)
{
    const CRegView sFolded = pEntry->m_sFolded;
    std::size_t nPlace = m_entries.size();
    // The name that a place is found by stands in the entry there.
    if (const auto it = m_values.find(sFolded); it != m_values.end())
    {
        nPlace = it->second;
        m_values.erase(it);
    }
    else
        m_entries.emplace_back();
    m_values.emplace(sFolded, nPlace);
    m_entries[nPlace] = std::move(pEntry);
}

/// Takes lines that are no value.
void CRegDocument::CSection::PutText(CRegString& sText)
{
    if (!sText.empty())
        m_entries.push_back(std::make_shared<CRegEntry>(std::exchange(sText, {})));
}

bool CRegDocument::CSection::Erase(CRegView sName)
{
    const auto it = m_values.find(FoldRegName(sName));
    if (it == m_values.end())
        return false;
    const std::size_t nPlace = it->second;
    m_values.erase(it);
    m_entries[nPlace] = nullptr;
    return true;
}

CRegDocument::CSection& CRegDocument::Own(SectionPtr& pSection)
{
    if (pSection.use_count() > 1)
        pSection = std::make_shared<CSection>(*pSection);
    return *pSection;
}

// ---- From text and to text ----

void CRegDocument::Load(std::string_view sBytes)
{
    m_index.clear();
    m_sections.clear();
    m_sTail.clear();
    m_badLines.clear();
    CRegTextReader reader(sBytes);
    CRegTextItem item;
    CSection* pSection = nullptr;
    while (reader.Next(item))
    {
        m_encoding = reader.Encoding();
        if (!item.m_sText.ends_with(WCHAR('\n')))
            item.m_sText.append(m_encoding.LineEnd()); // the last one
        LoadItem(item, pSection);
    }
}

/// Lines that are no values wait in the tail until it is known whether they stand inside a key or lead to the
/// next.
void CRegDocument::LoadItem(CRegTextItem& item, CSection*& pSection)
{
    if (item.m_eKind == CRegTextItem::eSignature)
        return;
    CRegString sPath;
    const char* sFault = item.m_sFault;
    if (item.IsOfKey())
    {
        pSection = nullptr;
        if (sFault == nullptr)
            sFault = FindPath(item, sPath);
    }
    else if (item.IsOfValue() && pSection == nullptr && sFault == nullptr)
        sFault = "a value of no key";
    if (sFault != nullptr)
        AddBadLine(item, sFault);
    else if (item.IsOfValue())
        return LoadValue(item, *pSection);
    else if (item.m_eKind == CRegTextItem::eKey)
    {
        pSection = &AddSection(sPath, std::move(item.m_sText));
        return;
    }
    else if (item.m_eKind == CRegTextItem::eDeleteKey)
        DeleteKey(sPath);
    // The line of a deletion stays: it also ends the key before, for values that stand behind it.
    m_sTail.append(item.m_sText);
}

void CRegDocument::LoadValue(CRegTextItem& item, CSection& section)
{
    section.PutText(m_sTail);
    if (item.m_eKind == CRegTextItem::eDeleteValue)
        section.Erase(item.m_sName);
    else
        section.Put(std::make_shared<CRegEntry>(std::move(item.m_sText), item.m_sName, item.m_dwType,
                                                std::move(item.m_data)));
}

void CRegDocument::AddBadLine(const CRegTextItem& item, const char* sFault)
{
    const auto itLineEnd = std::find_if(item.m_sText.begin(), item.m_sText.end(), IsLineEnd);
    CRegString sLine(item.m_sText.begin(), itLineEnd);
    sLine.resize(std::min(sLine.size(), kShownLength));
    m_badLines.push_back({item.m_nLine, std::move(sLine), sFault});
}

/// The part of a key's full name behind this hive's root; the reason when there is none.
const char* CRegDocument::FindPath(const CRegTextItem& item, CRegString& sPath) const
{
    const CRegView sName = item.m_sName;
    const std::size_t nEnd = sName.find(WCHAR('\\'));
    const CRegString sRoot = FoldRegName(sName.substr(0, nEnd));
    if (sRoot != m_sRoot && sRoot != m_sShortRoot)
        return "a key of another hive";
    sPath = nEnd == sName.npos ? CRegView() : sName.substr(nEnd + 1);
    if (sPath.empty() && item.m_eKind == CRegTextItem::eDeleteKey)
        return "a whole hive is not deleted";
    const CRegString sAll = WCHAR('\\') + sPath + WCHAR('\\');
    constexpr WCHAR sEmptyPart[] = {'\\', '\\', 0};
    if (!sPath.empty() && (sAll.find(sEmptyPart) != sAll.npos || sAll.find(WCHAR(0)) != sAll.npos))
        return "no key has that name";
    return nullptr;
}

/// The section of a key, led by the waiting lines. They do not go inside, as there may be headers of other
/// hives among them.
CRegDocument::CSection& CRegDocument::AddSection(CRegView sPath, CRegString sHeader)
{
    if (CSection* pSection = FindOwnSection(sPath))
    {
        pSection->m_sLead.append(std::exchange(m_sTail, {}));
        return *pSection;
    }
    const unsigned nPlace = m_sections.empty() ? 0 : m_sections.rbegin()->first + 1;
    SectionPtr& pSection = m_sections[nPlace] = std::make_shared<CSection>();
    pSection->m_sLead = std::exchange(m_sTail, {});
    pSection->m_sHeader = std::move(sHeader);
    pSection->m_sPath = sPath;
    m_index.emplace(FoldPath(sPath), nPlace);
    return *pSection;
}

std::string CRegDocument::Store() const
{
    CRegString sText(RegTextSignature());
    sText.append(m_encoding.LineEnd());
    for (const auto& [nPlace, pSection] : m_sections)
    {
        sText.append(pSection->m_sLead).append(pSection->m_sHeader);
        for (const auto& pEntry : pSection->m_entries)
            if (pEntry != nullptr)
                sText.append(pEntry->m_sText);
    }
    return EncodeRegText(sText.append(m_sTail), m_encoding);
}

// ---- Reading ----

const CRegDocument::CSection* CRegDocument::FindSection(CRegView sPath) const
{
    const auto it = m_index.find(FoldPath(sPath));
    return it == m_index.end() ? nullptr : m_sections.at(it->second).get();
}

/// To be changed.
CRegDocument::CSection* CRegDocument::FindOwnSection(CRegView sPath)
{
    const auto it = m_index.find(FoldPath(sPath));
    return it == m_index.end() ? nullptr : &Own(m_sections.at(it->second));
}

bool CRegDocument::HasKey(CRegView sPath) const
{
    if (sPath.empty())
        return true;
    const CRegString sKey = FoldPath(sPath);
    const auto it = m_index.lower_bound(sKey);
    // A key that has only children in the text exists as well.
    return it != m_index.end() && it->first.starts_with(sKey) &&
           (it->first.size() == sKey.size() || it->first[sKey.size()] == 0);
}

const CRegEntry* CRegDocument::FindValue(CRegView sPath, CRegView sName) const
{
    const CSection* pSection = FindSection(sPath);
    return pSection == nullptr ? nullptr : pSection->Find(sName);
}

std::vector<const CRegEntry*> CRegDocument::Values(CRegView sPath) const
{
    std::vector<const CRegEntry*> values;
    if (const CSection* pSection = FindSection(sPath))
        for (const auto& pEntry : pSection->m_entries)
            if (pEntry != nullptr && pEntry->m_bValue)
                values.push_back(pEntry.get());
    return values;
}

std::vector<CRegString> CRegDocument::Children(CRegView sPath) const
{
    std::vector<CRegString> children;
    const CRegString sPrefix = sPath.empty() ? CRegString() : FoldPath(sPath) + WCHAR(0);
    for (auto it = m_index.upper_bound(sPrefix); it != m_index.end() && it->first.starts_with(sPrefix);)
    {
        const std::size_t nEnd = it->first.find(WCHAR(0), sPrefix.size());
        const CRegString& sChild = m_sections.at(it->second)->m_sPath;
        children.push_back(sChild.substr(sPrefix.size(), nEnd - sPrefix.size()));
        it = m_index.lower_bound(it->first.substr(0, nEnd) + WCHAR(1));
    }
    return children;
}

// ---- Changing ----

bool CRegDocument::CreateKey(CRegView sPath)
{
    if (HasKey(sPath))
        return false;
    NewSection(sPath);
    return true;
}

CRegDocument::CSection& CRegDocument::NewSection(CRegView sPath)
{
    if (!EndsInBlankLine(m_sTail))
        m_sTail.append(m_encoding.LineEnd());
    CRegString sHeader = WCHAR('[') + m_sRoot;
    if (!sPath.empty())
        sHeader.append(1, WCHAR('\\')).append(sPath);
    return AddSection(sPath, (sHeader + WCHAR(']')).append(m_encoding.LineEnd()));
}

bool CRegDocument::SetValue(CRegView sPath, CRegView sName, DWORD dwType, CRegData data)
{
    const CRegEntry* pEntry = FindValue(sPath, sName);
    if (pEntry != nullptr && pEntry->m_dwType == dwType && pEntry->m_data == data)
        return false;
    const CRegString sKeptName(pEntry == nullptr ? sName : CRegView(pEntry->m_sName));
    CRegString sText = FormatRegValue(sKeptName, dwType, data, m_encoding);
    CSection* pSection = FindOwnSection(sPath);
    if (pSection == nullptr)
        pSection = &NewSection(sPath);
    pSection->Put(std::make_shared<CRegEntry>(std::move(sText), sKeptName, dwType, std::move(data)));
    return true;
}

bool CRegDocument::DeleteValue(CRegView sPath, CRegView sName)
{
    return FindValue(sPath, sName) != nullptr && FindOwnSection(sPath)->Erase(sName);
}

/// Its lead, unless it only separates the keys, goes on to what follows.
void CRegDocument::EraseSection(unsigned nPlace)
{
    const auto it = m_sections.find(nPlace);
    const CRegString sLead = it->second->m_sLead;
    const auto itNext = m_sections.erase(it);
    if (!std::all_of(sLead.begin(), sLead.end(), IsLineEnd))
        (itNext == m_sections.end() ? m_sTail : Own(itNext->second).m_sLead).insert(0, sLead);
}

bool CRegDocument::DeleteKey(CRegView sPath)
{
    if (sPath.empty() || !HasKey(sPath))
        return false;
    const CRegString sKey = FoldPath(sPath);
    const auto itBegin = m_index.lower_bound(sKey);
    const auto itEnd = m_index.lower_bound(sKey + WCHAR(1));
    for (auto it = itBegin; it != itEnd; ++it)
        EraseSection(it->second);
    m_index.erase(itBegin, itEnd);
    CreateKey(ParentPath(sPath));
    return true;
}

} // namespace OrvPort
