// The text format of exported registry files: a reader that yields one item at a time, and the writing of
// values.
//
// Both "Windows Registry Editor Version 5.00" and REGEDIT4 are read, as UTF-8, UTF-16 of either byte order
// or, line by line where the bytes are not UTF-8, in the ANSI code page. Lone surrogates survive as three
// bytes each. Nothing here depends on where the text came from, and nothing is lost: every item carries its
// text as it stood, line ends included.
#pragma once

#include <windows.h>

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
    bool m_bCrLf = false;      ///< what ends the lines that are added
    bool m_bBigEndian = false; ///< UTF-16 only

    CRegView LineEnd() const { return CRegView(kCrLf + (m_bCrLf ? 0 : 1), m_bCrLf ? 2 : 1); }

private:
    static constexpr WCHAR kCrLf[] = {'\r', '\n'};
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
        eDeleteValue
    };

    Kind m_eKind = eOther;          ///< of a faulty line eKey, where it begins as such, else eValue
    const char* m_sFault = nullptr; ///< why the line cannot be used
    unsigned m_nLine = 0;           ///< number of its first line, from 1
    CRegString m_sText;             ///< as it stood, with its line ends; the last line may have none
    CRegString m_sName;             ///< path of a key, name of a value (empty: the key's default value)
    DWORD m_dwType = 0;
    CRegData m_data;
    unsigned m_nTextLines = 0; ///< line ends within its texts

    bool IsOfKey() const { return m_eKind == eKey || m_eKind == eDeleteKey; }
    bool IsOfValue() const { return m_eKind == eValue || m_eKind == eDeleteValue; }
};

class CRegTextReader
{
public:
    explicit CRegTextReader(std::string_view sBytes);

    /// False at the end of the text.
    bool Next(CRegTextItem& item);
    const CRegEncoding& Encoding() const { return m_encoding; }

private:
    bool ReadLine(CRegTextItem& item);
    void Classify(CRegTextItem& item);
    void ParseKey(CRegTextItem& item) const;
    void ParseValue(CRegTextItem& item);
    bool ParseNameAndData(CRegTextItem& item);
    bool ParseData(CRegTextItem& item);
    bool ParseQuoted(CRegTextItem& item, CRegString& sText);
    bool ParseHex(CRegTextItem& item);
    bool ParseContinuation(CRegTextItem& item, bool& bContinues);
    bool ParseHexLine(CRegData& data, bool& bContinues);
    bool IsAtEnd() const;

    std::string_view m_sRest;
    CRegEncoding m_encoding;
    unsigned m_nLine = 0;
    bool m_bNarrowData = false; ///< REGEDIT4: expandable and multiple texts are stored in the ANSI code page
    CRegString m_sLine;         ///< the line that was read last, without its end
    CRegString m_sLineEnd;
    CRegView m_sCursor; ///< what of it is not parsed yet
};

/// Whether a line can hold a part of a key's path: it ends at a line end and at a bracket before a comment.
bool IsRegKeyName(CRegView sName);

/// `"name"=data` as the reader reads it back, in lines that end as \p encoding says.
CRegString FormatRegValue(CRegView sName, DWORD dwType, const CRegData& data, const CRegEncoding& encoding);

/// Text of the ANSI code page; throws `std::bad_alloc` also where that finds no memory for its tables.
CRegString RegFromAnsi(std::string_view s);

/// First line of a registry text.
CRegString RegTextSignature();

/// A text in its stored form; UTF-16 gets its mark.
std::string EncodeRegText(CRegView sText, const CRegEncoding& encoding);

} // namespace OrvPort
