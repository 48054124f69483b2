// The text of a statement as a log records it.
#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <string_view>

/// Every line of a statement behind a label, in the ANSI code page, in one terminated block that ends in
/// "\r\n".
class CSQLText
{
public:
    using CStatement = std::basic_string_view<WCHAR>;

    /// \p sLabel stands, with a tab, in front of every line; \p sTail behind the statement.
    CSQLText(std::string_view sLabel, CStatement sStatement, std::string_view sTail);

    const char* Text() const { return m_sText; }
    unsigned Length() const { return static_cast<unsigned>(m_nLength); }

private:
    static constexpr std::size_t kStackBytes = 1988;
    static constexpr std::size_t kEndBytes = 3; ///< "\r\n" and the terminator

    void Write(CStatement sStatement, std::string_view sTail);
    void Put(std::string_view sText);
    void PutLabel();
    void PutCharacter(CStatement sCharacter);

    const std::string_view m_sLabel;
    std::unique_ptr<char[]> m_pHeap;
    char m_sStack[kStackBytes];
    char* m_sText = m_sStack;
    std::size_t m_nLimit = 0;  ///< bytes that are kept
    std::size_t m_nLength = 0; ///< bytes that were put, kept or not
};
