// One hive in memory: its keys and values, and the text they came from. What is not changed is written back
// as it stood, comments, order and unreadable lines included.
#pragma once

#include "registry/registrytext.h"

#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace OrvPort
{

/// A name as the registry compares it: case folded unit by unit.
CRegString FoldRegName(CRegView sName);

/// A line group of a key: a value, or text that is none (comment, blank, unreadable).
struct CRegEntry
{
    explicit CRegEntry(CRegString sText) : m_sText(std::move(sText)) {}
    CRegEntry(CRegView sName, DWORD dwType, CRegData data, CRegString sText = {});
    bool IsNamed(CRegView sFolded) const { return m_bValue && m_sFolded == sFolded; }

    CRegString m_sText;
    bool m_bValue = false;
    CRegString m_sName;
    CRegString m_sFolded;
    DWORD m_dwType = 0;
    CRegData m_data;
};

class CRegDocument
{
public:
    /// Told the number and the text of a line that could not be used.
    using BadLine = std::function<void(unsigned nLine, CRegView sText)>;

    /// \p sRoot is the hive's name, \p sShortRoot the short form that is also read.
    CRegDocument(CRegView sRoot, CRegView sShortRoot) : m_sRoot(sRoot), m_sShortRoot(sShortRoot) {}

    void Load(std::string_view sBytes, const BadLine& onBadLine);
    std::string Store() const;

    // Paths are relative to the hive, parts separated by one backslash; the empty path is the hive itself.
    bool HasKey(CRegView sPath) const;
    /// Name of the child with that index in sorted order.
    std::optional<CRegString> ChildName(CRegView sPath, std::size_t nIndex) const;
    const CRegEntry* FindValue(CRegView sPath, CRegView sName) const;
    const CRegEntry* ValueAt(CRegView sPath, std::size_t nIndex) const;

    void CreateKey(CRegView sPath);
    void SetValue(CRegView sPath, CRegView sName, DWORD dwType, CRegData data);
    void DeleteValue(CRegView sPath, CRegView sName);
    /// Deletes the key and everything below it.
    void DeleteKey(CRegView sPath);

private:
    struct CSection
    {
        std::vector<CRegString> m_lead; ///< lines between the key before and the header
        CRegString m_sHeader;
        CRegString m_sPath;
        std::list<CRegEntry> m_entries;
        std::map<CRegString, std::list<CRegEntry>::iterator> m_values; ///< by folded name

        const CRegEntry* Find(CRegView sName) const;
        void Put(CRegEntry entry);
        void Erase(CRegView sName);
    };
    using Sections = std::list<CSection>;

    std::optional<CRegString> PathBelowRoot(CRegView sName) const;
    void LoadItem(CRegTextItem& item, CSection*& pSection, const BadLine& onBadLine);
    CSection& AddSection(CRegView sPath, CRegString sHeader);
    CSection& NewSection(CRegView sPath);
    CSection* FindSection(CRegView sPath) const;
    void TakeTail(CSection& section);
    void EraseSection(Sections::iterator itSection);

    CRegString m_sRoot;
    CRegString m_sShortRoot;
    CRegEncoding m_encoding;
    Sections m_sections;
    std::vector<CRegString> m_tail; ///< lines behind the last key
    std::map<CRegString, Sections::iterator> m_index;
};

} // namespace OrvPort
