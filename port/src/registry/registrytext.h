// The text format of exported registry files: a reader that yields one item at a time, and the writing of
// values.
//
// Both "Windows Registry Editor Version 5.00" and REGEDIT4 are read, as UTF-8, UTF-16 of either byte order
// or, line by line where the bytes are not UTF-8, in the ANSI code page. Lone surrogates survive as three
// bytes each. Nothing here depends on where the text came from, and nothing is lost: every item carries its
// text as it stood.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace OrvPort
{

using CRegString = std::basic_string<WCHAR>;
using CRegView = std::basic_string_view<WCHAR>;
using CRegData = std::vector<BYTE>;

/// How a registry text is stored in bytes.
struct CRegEncoding
{
    bool m_bUtf16 = false;
    bool m_bCrLf = false;
    bool m_bBigEndian = false; ///< UTF-16 only
};

/// One header, value, comment, blank or unreadable line of a registry text, with its continuation lines.
struct CRegTextItem
{
    enum Kind
    {
        eSignature,
        eOther, ///< blank or comment
        eKey,
        eDeleteKey,
        eValue,
        eDeleteValue,
        eMalformed
    };

    Kind m_eKind = eOther;
    unsigned m_nLine = 0; ///< number of its first line, from 1
    CRegString m_sText;   ///< as it stood, lines separated by one LF, without the last line end
    CRegString m_sName;   ///< whole path of a key, unescaped name of a value (empty: the key's default value)
    DWORD m_dwType = 0;
    CRegData m_data;
};

class CRegTextReader
{
public:
    explicit CRegTextReader(std::string_view sBytes);

    /// False at the end of the text.
    bool Next(CRegTextItem& item);
    const CRegEncoding& Encoding() const { return m_encoding; }

private:
    bool ReadLine(CRegString& sLine);
    void Classify(CRegTextItem& item);
    void ParseKey(CRegTextItem& item, CRegView sLine) const;
    void ParseValue(CRegTextItem& item, CRegView sLine);
    bool ParseData(CRegTextItem& item, CRegView sText);
    bool ParseHex(CRegTextItem& item, CRegView sText);
    bool ParseContinuation(CRegTextItem& item, bool& bContinues);
    bool ParseHexLine(CRegView sText, CRegData& data, bool& bContinues) const;

    std::string_view m_sRest;
    CRegEncoding m_encoding;
    unsigned m_nLine = 0;
    bool m_bNarrowData = false; ///< REGEDIT4: expandable and multiple texts are stored in the ANSI code page
};

/// `"name"=data` as the reader reads it back, lines separated by one LF.
CRegString FormatRegValue(CRegView sName, DWORD dwType, const CRegData& data);

/// Text of the ANSI code page.
CRegString RegFromAnsi(std::string_view s);

/// First line of a registry text.
CRegString RegTextSignature();

/// A text with LF line ends in its stored form; UTF-16 gets its mark.
std::string EncodeRegText(CRegView sText, const CRegEncoding& encoding);

} // namespace OrvPort
