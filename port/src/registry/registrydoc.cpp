#include "registry/registrydoc.h"

#include <windows.h>

#include <algorithm>
#include <utility>

namespace OrvPort
{
namespace
{

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

} // namespace

CRegString FoldRegName(CRegView sName)
{
    CRegString s(sName);
    CharUpperBuffW(s.data(), static_cast<DWORD>(s.size()));
    return s;
}

CRegEntry::CRegEntry(CRegView sName, DWORD dwType, CRegData data, CRegString sText)
    : m_sText(std::move(sText)),
      m_bValue(true),
      m_sName(sName),
      m_sFolded(FoldRegName(sName)),
      m_dwType(dwType),
      m_data(std::move(data))
{
}

const CRegEntry* CRegDocument::CSection::Find(CRegView sName) const
{
    const auto it = m_values.find(FoldRegName(sName));
    return it == m_values.end() ? nullptr : &*it->second;
}

void CRegDocument::CSection::Put(CRegEntry entry)
{
    if (const auto it = m_values.find(entry.m_sFolded); it != m_values.end())
    {
        *it->second = std::move(entry);
        return;
    }
    m_entries.push_back(std::move(entry));
    m_values.emplace(m_entries.back().m_sFolded, std::prev(m_entries.end()));
}

void CRegDocument::CSection::Erase(CRegView sName)
{
    if (const auto it = m_values.find(FoldRegName(sName)); it != m_values.end())
    {
        m_entries.erase(it->second);
        m_values.erase(it);
    }
}

void CRegDocument::Load(std::string_view sBytes, const BadLine& onBadLine)
{
    m_index.clear();
    m_sections.clear();
    CRegTextReader reader(sBytes);
    CRegTextItem item;
    CSection* pSection = nullptr;
    m_tail.clear();
    while (reader.Next(item))
        LoadItem(item, pSection, onBadLine);
    m_encoding = reader.Encoding();
}

/// Lines that are no values wait in the tail until it is known whether they stand inside a key or lead to the
/// next.
void CRegDocument::LoadItem(CRegTextItem& item, CSection*& pSection, const BadLine& onBadLine)
{
    const bool bOfKey = item.m_eKind == CRegTextItem::eKey || item.m_eKind == CRegTextItem::eDeleteKey;
    const bool bOfValue = item.m_eKind == CRegTextItem::eValue || item.m_eKind == CRegTextItem::eDeleteValue;
    const std::optional<CRegString> sPath = bOfKey ? PathBelowRoot(item.m_sName) : std::nullopt;
    const bool bOfHive = item.m_eKind == CRegTextItem::eDeleteKey && sPath && sPath->empty();
    if (item.m_eKind == CRegTextItem::eMalformed || (bOfKey && !sPath) || bOfHive ||
        (bOfValue && pSection == nullptr))
        onBadLine(item.m_nLine, item.m_sText);
    if (item.m_eKind == CRegTextItem::eSignature)
        return;
    if (bOfKey)
        pSection = nullptr;
    // The line stays: it also ends the key before, for values that stand behind it.
    if (item.m_eKind == CRegTextItem::eDeleteKey && sPath)
        DeleteKey(*sPath);
    if (item.m_eKind == CRegTextItem::eKey && sPath)
    {
        pSection = &AddSection(*sPath, std::move(item.m_sText));
        return;
    }
    if (!bOfValue || pSection == nullptr)
    {
        m_tail.push_back(std::move(item.m_sText));
        return;
    }
    TakeTail(*pSection);
    if (item.m_eKind == CRegTextItem::eDeleteValue)
        pSection->Erase(item.m_sName);
    else
        pSection->Put(
            CRegEntry(item.m_sName, item.m_dwType, std::move(item.m_data), std::move(item.m_sText)));
}

/// The section of a key, led by the waiting lines. They do not go inside, as there may be headers of other
/// hives among them.
CRegDocument::CSection& CRegDocument::AddSection(CRegView sPath, CRegString sHeader)
{
    if (CSection* pSection = FindSection(sPath))
    {
        std::move(m_tail.begin(), m_tail.end(), std::back_inserter(pSection->m_lead));
        m_tail.clear();
        return *pSection;
    }
    CSection& section = m_sections.emplace_back();
    section.m_lead = std::exchange(m_tail, {});
    section.m_sHeader = std::move(sHeader);
    section.m_sPath = sPath;
    m_index.emplace(FoldPath(sPath), std::prev(m_sections.end()));
    return section;
}

void CRegDocument::TakeTail(CSection& section)
{
    for (CRegString& sText : m_tail)
        section.m_entries.emplace_back(std::move(sText));
    m_tail.clear();
}

/// The part of a full name behind this hive's root; nothing for other roots and for names the registry cannot
/// have.
std::optional<CRegString> CRegDocument::PathBelowRoot(CRegView sName) const
{
    const std::size_t nEnd = sName.find(WCHAR('\\'));
    const CRegString sRoot = FoldRegName(sName.substr(0, nEnd));
    if (sRoot != m_sRoot && sRoot != m_sShortRoot)
        return std::nullopt;
    const CRegView sPath = nEnd == sName.npos ? CRegView() : sName.substr(nEnd + 1);
    const bool bEmptyPart =
        sPath.starts_with(WCHAR('\\')) || sPath.ends_with(WCHAR('\\')) || sPath.find(u"\\\\") != sPath.npos;
    if (bEmptyPart || sPath.find(WCHAR(0)) != sPath.npos)
        return std::nullopt;
    return CRegString(sPath);
}

std::string CRegDocument::Store() const
{
    CRegString sText(RegTextSignature());
    sText.push_back('\n');
    const auto put = [&](const CRegString& sLine) { sText.append(sLine).push_back('\n'); };
    for (const CSection& section : m_sections)
    {
        std::for_each(section.m_lead.begin(), section.m_lead.end(), put);
        put(section.m_sHeader);
        for (const CRegEntry& entry : section.m_entries)
            put(entry.m_sText);
    }
    std::for_each(m_tail.begin(), m_tail.end(), put);
    return EncodeRegText(sText, m_encoding);
}

CRegDocument::CSection* CRegDocument::FindSection(CRegView sPath) const
{
    const auto it = m_index.find(FoldPath(sPath));
    return it == m_index.end() ? nullptr : &*it->second;
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

std::optional<CRegString> CRegDocument::ChildName(CRegView sPath, std::size_t nIndex) const
{
    const CRegString sPrefix = sPath.empty() ? CRegString() : FoldPath(sPath) + WCHAR(0);
    for (auto it = m_index.upper_bound(sPrefix); it != m_index.end() && it->first.starts_with(sPrefix);
         --nIndex)
    {
        const std::size_t nEnd = it->first.find(WCHAR(0), sPrefix.size());
        if (nIndex == 0)
            return it->second->m_sPath.substr(sPrefix.size(),
                                              nEnd == CRegString::npos ? nEnd : nEnd - sPrefix.size());
        it = m_index.lower_bound(it->first.substr(0, nEnd) + WCHAR(1));
    }
    return std::nullopt;
}

const CRegEntry* CRegDocument::FindValue(CRegView sPath, CRegView sName) const
{
    const CSection* pSection = FindSection(sPath);
    return pSection == nullptr ? nullptr : pSection->Find(sName);
}

const CRegEntry* CRegDocument::ValueAt(CRegView sPath, std::size_t nIndex) const
{
    const CSection* pSection = FindSection(sPath);
    if (pSection != nullptr)
        for (const CRegEntry& entry : pSection->m_entries)
            if (entry.m_bValue && nIndex-- == 0)
                return &entry;
    return nullptr;
}

void CRegDocument::CreateKey(CRegView sPath)
{
    if (!HasKey(sPath))
        NewSection(sPath);
}

CRegDocument::CSection& CRegDocument::NewSection(CRegView sPath)
{
    if (m_tail.empty() || !m_tail.back().empty())
        m_tail.emplace_back();
    CRegString sHeader = u"[" + m_sRoot;
    if (!sPath.empty())
        sHeader.append(1, WCHAR('\\')).append(sPath);
    return AddSection(sPath, sHeader + WCHAR(']'));
}

void CRegDocument::SetValue(CRegView sPath, CRegView sName, DWORD dwType, CRegData data)
{
    CSection* pSection = FindSection(sPath);
    CSection& section = pSection != nullptr ? *pSection : NewSection(sPath);
    const CRegEntry* pEntry = section.Find(sName);
    const CRegString sKeptName(pEntry == nullptr ? sName : CRegView(pEntry->m_sName));
    CRegString sText = FormatRegValue(sKeptName, dwType, data);
    section.Put(CRegEntry(sKeptName, dwType, std::move(data), std::move(sText)));
}

void CRegDocument::DeleteValue(CRegView sPath, CRegView sName)
{
    if (CSection* pSection = FindSection(sPath))
        pSection->Erase(sName);
}

/// Its lead, unless it only separates the keys, goes on to what follows.
void CRegDocument::EraseSection(Sections::iterator itSection)
{
    const std::vector<CRegString> lead = std::move(itSection->m_lead);
    const auto itNext = m_sections.erase(itSection);
    std::vector<CRegString>& target = itNext == m_sections.end() ? m_tail : itNext->m_lead;
    if (!std::all_of(lead.begin(), lead.end(), [](const CRegString& s) { return s.empty(); }))
        target.insert(target.begin(), lead.begin(), lead.end());
}

void CRegDocument::DeleteKey(CRegView sPath)
{
    if (sPath.empty() || !HasKey(sPath))
        return;
    const CRegString sKey = FoldPath(sPath);
    const auto itBegin = m_index.lower_bound(sKey);
    const auto itEnd = m_index.lower_bound(sKey + WCHAR(1));
    for (auto it = itBegin; it != itEnd; ++it)
        EraseSection(it->second);
    m_index.erase(itBegin, itEnd);
    CreateKey(ParentPath(sPath));
}

} // namespace OrvPort
