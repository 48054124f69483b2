// The text of a statement as a log records it.
#pragma once

#include "log/logline.h"

#include <windows.h>

#include <cstddef>
#include <memory>
#include <string_view>

/// Every line of a statement behind a label, in one terminated block that ends in "\r\n". Control characters
/// are visible, as in other lines.
class CSQLText
{
public:
    using CStatement = std::basic_string_view<WCHAR>;

    /// \p sOutcome is the line in front; \p sLabel, which is terminated, stands, with a tab, in front of
    /// every other line; \p sTail behind the statement.
    CSQLText(UINT nCodePage, std::string_view sOutcome, std::string_view sLabel, CStatement sStatement,
             std::string_view sTail);

    const char* Text() const { return m_sText; }
    unsigned Length() const { return static_cast<unsigned>(m_nLength); }

private:
    static constexpr std::size_t kStackBytes = 1988;
    static constexpr std::size_t kEndBytes = 3; ///< "\r\n" and the terminator

    void Compose(std::string_view sOutcome, CStatement sStatement, std::string_view sTail);
    void Put(std::string_view sText);
    void PutLabel();
    void PutCharacter(CStatement sCharacter);
    template <class PutBreak>
    void PutVisible(std::string_view sText, PutBreak putBreak);

    const UINT m_nCodePage; ///< CP_ACP: as narrow text is
    const CLogPage m_page;
    const std::string_view m_sLabel;
    std::unique_ptr<char[]> m_pHeap;
    char m_sStack[kStackBytes];
    char* m_sText = m_sStack;
    std::size_t m_nLimit = 0;  ///< bytes that are kept
    std::size_t m_nLength = 0; ///< bytes that were put, kept or not
};
