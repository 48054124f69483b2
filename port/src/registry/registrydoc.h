// One hive in memory: its keys and values, and the text they came from. What is not changed is written back
// as it stood, comments, order and unreadable lines included. A copy shares what neither of the two changes.
#pragma once

#include "registry/registrytext.h"

#include <windows.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace OrvPort
{

/// A name as the registry compares it: case folded unit by unit.
CRegString FoldRegName(CRegView sName);

/// Lines of a key: a value, or text that is none (comment, blank, unreadable). It stays as it is made.
struct CRegEntry
{
    explicit CRegEntry(CRegString sText) : m_sText(std::move(sText)) {}
    CRegEntry(CRegString sText, CRegView sName, DWORD dwType, CRegData data);

    CRegString m_sText; ///< with its line ends
    bool m_bValue = false;
    CRegString m_sName;
    CRegString m_sFolded;
    DWORD m_dwType = REG_NONE;
    CRegData m_data;
};

/// A line that could not be used.
struct CRegBadLine
{
    unsigned m_nLine;
    CRegString m_sText; ///< without its end, at most 200 units
    const char* m_sFault;
};

class CRegDocument
{
public:
    /// \p sRoot is the hive's name, \p sShortRoot the short form that is also read.
    CRegDocument(CRegView sRoot, CRegView sShortRoot) : m_sRoot(sRoot), m_sShortRoot(sShortRoot) {}

    void Load(std::string_view sBytes);
    std::string Store() const;
    /// What Load left out.
    const std::vector<CRegBadLine>& BadLines() const { return m_badLines; }

    // Paths are relative to the hive, parts separated by one backslash; the empty path is the hive itself.
    bool HasKey(CRegView sPath) const;
    const CRegEntry* FindValue(CRegView sPath, CRegView sName) const;
    /// In the order of the text.
    std::vector<const CRegEntry*> Values(CRegView sPath) const;
    /// Names of the keys below, in their order.
    std::vector<CRegString> Children(CRegView sPath) const;

    /// False when it is there already.
    bool CreateKey(CRegView sPath);
    /// False when it is there already, with this type and data.
    bool SetValue(CRegView sPath, CRegView sName, DWORD dwType, CRegData data);
    /// False when there is none.
    bool DeleteValue(CRegView sPath, CRegView sName);
    /// Deletes the key and everything below it; false when there is none.
    bool DeleteKey(CRegView sPath);

private:
    /// A key's lines. Places count on, and stay empty when a value goes.
    struct CSection
    {
        CRegString m_sLead; ///< lines between the key before and the header
        CRegString m_sHeader;
        CRegString m_sPath;
        std::vector<std::shared_ptr<const CRegEntry>> m_entries;
        std::unordered_map<CRegView, std::size_t> m_values; ///< places by folded name

        const CRegEntry* Find(CRegView sName) const;
        void Put(std::shared_ptr<const CRegEntry> pEntry);
        void PutText(CRegString& sText);
        bool Erase(CRegView sName);
    };
    using SectionPtr = std::shared_ptr<CSection>; ///< changed only while nobody shares it

    static CSection& Own(SectionPtr& pSection);
    void LoadItem(CRegTextItem& item, CSection*& pSection);
    void LoadValue(CRegTextItem& item, CSection& section);
    void AddBadLine(const CRegTextItem& item, const char* sFault);
    const char* FindPath(const CRegTextItem& item, CRegString& sPath) const;
    CSection& AddSection(CRegView sPath, CRegString sHeader);
    CSection& NewSection(CRegView sPath);
    const CSection* FindSection(CRegView sPath) const;
    CSection* FindOwnSection(CRegView sPath);
    void EraseSection(unsigned nPlace);

    CRegString m_sRoot;
    CRegString m_sShortRoot;
    CRegEncoding m_encoding;
    std::map<unsigned, SectionPtr> m_sections; ///< by place in the text
    CRegString m_sTail;                        ///< lines behind the last key
    std::map<CRegString, unsigned> m_index;    ///< sections by folded path
    std::vector<CRegBadLine> m_badLines;
};

} // namespace OrvPort
