/// `COrvStr`, the text value of nearly every interface.
///
/// A value is a pointer to terminated 16-bit text and a flag. Owned text is a counted buffer (orvstralloc.h)
/// that copies share and that is made private before it is changed; attached text belongs to somebody else
/// and is only looked at until the first change copies it. Empty values point at one static text, so they
/// cost nothing.
///
/// Ownership: an owned value holds one reference; attached text must outlive the value. Copying or assigning
///   attached text detaches the copy, constructing by move and `Attach(const COrvStr&)` keep it attached.
/// Thread safety: one object belongs to one thread at a time; objects that share a buffer may live in
///   different threads.
/// Errors: misuse is reported (source `orvstr`) and changes nothing: "sDest != nullptr" from
///   "COrvStr::CopyTo", "dest == nullptr || cbDest < 1" from "COrvStr::GetANSI", "sToFind == nullptr" from
///   "COrvStr::FindSubStr", "sToFind == nullptr || sReplaceTo == nullptr" from "COrvStr::Replace",
///   "Load(uID, hInstance)" from "COrvStr::COrvStr", "sFormat.IsEmpty()" and
///   "ClientFunc == nullptr || pData == nullptr || sFrm == nullptr" from "COrvStr::FormatStr"; "iPaddedLen <=
///   256" and "iPaddedLen >= -256" from "COrvStr::AppendNum", which then does not fill up. A heap buffer that
///   cannot be had leaves a value that points at null: it reads as empty, measuring it is reported ("s ==
///   nullptr"), and it can be assigned anew.
/// Units: lengths, counts and positions are code units, those of narrow text bytes; `nLen` 0 means up to the
///   terminator. Text always ends at a terminator that comes before `nLen`.
///
/// Comparison is the system's collation, not the order of code units: "equal" means equal to a reader.
///
///     COrvStr sPath(ORVTEXT("C:\\data"));
///     sPath.AddPath(ORVTEXT("report.txt"), ORVTEXT('\\'));
///     COrvStr sCopy = sPath;          // shares the buffer
///     sCopy.RemoveExt(ORVTEXT('.'));  // sPath stays as it was
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstralloc.h"
#include "orvcomtypes/strconvert.h" // IWYU pragma: export

#include <windows.h>

#include <cstdint>
#include <type_traits>

class COrvDBStr;

namespace OCT
{

/// What converts to narrow text and not to wide text too, as 0 and `nullptr` do.
template <class Source>
concept NarrowText =
    std::is_convertible_v<const Source&, const char*> && !std::is_convertible_v<const Source&, const WCHAR*>;

} // namespace OCT

class ORV_API COrvStr
{
public:
    COrvStr() noexcept : m_pStr(ORVS_GetDefaultEmptyString()), m_bOwn(true) {}
    COrvStr(const COrvStr& str) : m_pStr(str.m_pStr), m_bOwn(true)
    {
        if (str.m_bOwn)
            OCT::AddStrRef(m_pStr);
        else
            CopyForeign(str.m_pStr);
    }
    COrvStr(COrvStr&& str) noexcept : m_pStr(str.m_pStr), m_bOwn(str.m_bOwn) { str.Forget(); }
    /// Null or empty text gives an empty value; \p bCopy false attaches \p s.
    COrvStr(const WCHAR* s, bool bCopy = true);
    /// From the ANSI code page. Bytes below 0x80 are always ASCII, in a double-byte page too: a character
    /// whose second byte is one is lost (see `ANSIToUnicode`).
    template <OCT::NarrowText Source>
    COrvStr(const Source& s) : COrvStr()
    {
        if (const char* const sNarrow = s; sNarrow != nullptr && *sNarrow != 0)
            Copy(sNarrow);
    }
    /// Shares the database string's buffer.
    COrvStr(const COrvDBStr& str);
    /// String resource \p uID of \p hInstance, null for the current language's module; a missing one is
    /// reported.
    COrvStr(unsigned uID, HINSTANCE hInstance);
    ~COrvStr()
    {
        if (m_bOwn)
            OCT::ReleaseStrRef(m_pStr);
    }

    COrvStr& operator=(const COrvStr& str);
    /// Takes an owned buffer over; attached text is copied, like any other that is assigned.
    COrvStr& operator=(COrvStr&& str);
    COrvStr& operator=(const COrvDBStr& str);
    COrvStr& operator=(const WCHAR* s);
    template <OCT::NarrowText Source>
    COrvStr& operator=(const Source& s)
    {
        Copy(static_cast<const char*>(s));
        return *this;
    }

    /// Gives the buffer up; attached text is let go.
    void Empty();
    void Clear() { Empty(); }
    /// Looks at \p s from now on, or becomes empty when \p s is null; true exactly then.
    bool Attach(const WCHAR* s);
    /// Shares an owned buffer, or looks at the same attached text.
    void Attach(const COrvStr& str);
    void Attach(const COrvDBStr& str);

    // ---- Length and raw access ----

    unsigned GetLength() const
    {
        return m_bOwn && m_pStr != nullptr ? OCT::StrHeader(m_pStr).nStrLen : MeasureLength();
    }
    unsigned Length() const { return GetLength(); }
    bool IsEmpty() const noexcept { return m_pStr == nullptr || *m_pStr == 0; }
    /// The terminated text; valid until the value changes.
    operator const WCHAR*() const noexcept { return m_pStr; }

    // ---- Copying in ----

    void Copy(const WCHAR* s, unsigned nLen = 0);
    void Copy(const char* s, unsigned nLen = 0);
    /// Copies the text also where an assignment would share it.
    void Copy(const COrvStr& str) { Copy(str.m_pStr); }
    void SetUTF8(const char* s, unsigned nLen = 0);

    void Append(const WCHAR* s, unsigned nLen = 0);
    void Append(const char* s, unsigned nLen = 0);
    void AppendUTF8(const char* s, unsigned nLen = 0);
    /// Appends a string resource, or nothing when it is missing.
    void Append(unsigned uID, HINSTANCE hInstance);
    /// Appends one code unit; 0 appends nothing.
    void AppendChar(WCHAR c)
    {
        WCHAR* const pStr = m_pStr;
        if (m_bOwn && pStr != nullptr && c != 0)
        {
            OrvStrHeader& header = OCT::StrHeader(pStr);
            const std::uint32_t nLen = header.nStrLen;
            if (OCT::IsSoleStrOwner(pStr, sizeof(WCHAR) * (std::uint64_t{nLen} + 2)))
            {
                pStr[nLen] = c;
                pStr[nLen + 1] = 0;
                header.nStrLen = nLen + 1;
                return;
            }
        }
        const WCHAR cCopy = c; // c itself stays in its register above
        Append(&cCopy, 1);
    }

    // ---- Numbers appended, alike in every locale ----

    void AppendNum(int n);
    void AppendNum(unsigned n);
    void AppendNum(std::uint64_t n);
    /// Filled up at the left to \p iPaddedLen units (at most 256) with blanks, or to -\p iPaddedLen with
    /// zeros. The zeros stand before the sign as well: -5 and -4 give "00-5".
    void AppendNum(int n, int iPaddedLen);
    void AppendNum(unsigned n, int iPaddedLen);
    void AppendNum(std::uint64_t n, int iPaddedLen);
    /// "0x" and eight digits.
    void AppendHex(unsigned n);
    /// "0x" and sixteen digits.
    void AppendHex(std::uint64_t n);
    /// Without "0x", filled up at the left with blanks to \p iWidth units, or with zeros to -\p iWidth. After
    /// 63 units the text is cut.
    void AppendHex(unsigned n, int iWidth);
    void AppendHex(std::uint64_t n, int iWidth);
    /// "0x" and the digits of an address: eight or sixteen.
    void AppendPtr(const void* p);
    /// With \p iPrec decimals, 0 to 9. From 10 on, and at most 16, the ones digit alone counts: 12 gives two
    /// decimals. After 63 units the text is cut. What is no number is "nan" or "-nan", "inf" or "-inf".
    void AppendDouble(double d, int iPrec);

    COrvStr& operator<<(const WCHAR* s);
    COrvStr& operator+=(const WCHAR* s);

    /// Loads a string resource into the value; false, and an empty value, when it is missing.
    bool Load(unsigned uID, HINSTANCE hInstance);

    // ---- Templates; each replaces the value and returns its length ----

    /// \p sFrm in the system's message syntax with the texts in the places of "%1" to "%4"; other places, and
    /// null texts, are empty. Empty, and 0, for an empty, null or broken format and beyond 1023 units.
    int FormatStr(const WCHAR* sFrm, const WCHAR* p1, const WCHAR* p2 = nullptr, const WCHAR* p3 = nullptr,
                  const WCHAR* p4 = nullptr);
    /// The same with string resource \p uID as format, or with the value itself when that is 0. Without a
    /// format "Missing format string", and a report.
    int FormatStr(unsigned uID, HINSTANCE hInstance, const WCHAR* p1 = nullptr, const WCHAR* p2 = nullptr,
                  const WCHAR* p3 = nullptr, const WCHAR* p4 = nullptr);

    /// Gives tag \p sName its value; \p sValue comes empty.
    using TagClient = void (*)(const WCHAR* sName, void* pData, COrvStr& sValue);
    /// \p sFrm with its tags filled by \p ClientFunc, at most 1023 units; without white space at both ends,
    /// and runs of blanks as one. None of the arguments may be null; a null one leaves the value alone.
    ///
    /// "\" makes the next character a plain one, or a line end or tab as "\n", "\r", "\t". A tag is "<" with
    /// white space and modifiers in any order, a name (white space, and units after the ninth, are left out),
    /// and ">"; without that the text ends before the tag. The modifiers, of whose first three one counts:
    ///
    /// - "+": what follows, up to "<-name>" (written so, units after the ninth apart) or the end, is there
    ///   only if the value has text
    /// - "*": what follows is there only if the value has none
    /// - "-": closes such a section
    /// - "&": a blank goes before the inserted value
    /// - "$": white space at the end of what is there so far is removed after the tag
    /// - "#5": bookmark 5, of 0 to 9, is here, before the value
    /// - "#d5": all behind bookmark 5 is removed after the tag
    /// - "#e5": the same, unless a value with text was asked for since the bookmark was set
    int FormatStr(const WCHAR* sFrm, TagClient ClientFunc, void* pData);

    /// Replaces every "##7##" by string resource 7 (see loadstrres.h); the result is cut at 4095 units.
    void ReplaceToken();

    // ---- Copying out ----

    /// Copies into \p nCch code units, cut and always terminated; from 2^31 units on only a terminator is
    /// written.
    const WCHAR* CopyTo(WCHAR* sDest, unsigned nCch) const;
    /// Converts into \p cbDest bytes of the ANSI code page without look-alikes, cut and always terminated.
    char* GetANSI(char* dest, unsigned cbDest) const;

    /// The number that the whole text is, or \p nDefault: for \p iHex 1 at most 16 hexadecimal digits, behind
    /// "0x" or not; else at most 20 decimal ones, and numbers above 2^63 - 1 count as that.
    std::uint64_t ToUInt64(int iHex, std::uint64_t nDefault) const;

    // ---- Comparison; null compares as empty ----

    bool operator<(const WCHAR* s) const;
    bool operator>(const WCHAR* s) const;
    bool operator==(const WCHAR* s) const;
    bool operator!=(const WCHAR* s) const;
    bool operator<=(const WCHAR* s) const { return !(*this > s); }
    bool operator>=(const WCHAR* s) const { return !(*this < s); }
    bool operator<(const COrvStr& str) const { return *this < str.m_pStr; }
    bool operator>(const COrvStr& str) const { return *this > str.m_pStr; }
    bool operator<=(const COrvStr& str) const { return *this <= str.m_pStr; }
    bool operator>=(const COrvStr& str) const { return *this >= str.m_pStr; }
    bool operator==(const COrvStr& str) const { return *this == str.m_pStr; }
    bool operator!=(const COrvStr& str) const { return *this != str.m_pStr; }

    // ---- Search: a position, or -1 ----

    int Find(WCHAR c, int iStart = 0) const;
    int ReverseFind(WCHAR c) const;
    int FindSubStr(const WCHAR* sToFind) const;

    // ---- Changing ----

    /// Replaces each unit \p cFrom.
    void Replace(WCHAR cFrom, WCHAR cTo);
    /// Replaces every occurrence, left to right without overlaps, by code units.
    void Replace(const WCHAR* sToFind, const WCHAR* sReplaceTo);
    /// Cuts to \p nLen; a greater \p nLen changes nothing.
    void Truncate(unsigned nLen);
    COrvStr SubStr(unsigned iStart, unsigned nCount) const;
    /// Removes up to \p nCount units in place, also from a shared buffer and from attached text: only for a
    /// value that the caller alone holds.
    void Erase(unsigned iStart, unsigned nCount);
    /// Changes ASCII letters only, in every locale.
    void MakeUpper();
    void MakeLower();
    void CapitalizeFirstChar();
    void TrimLeft();
    void TrimRight();
    void Trim();

    // ---- Paths; backslash and slash alike ----

    void AddBackslashToEnd();
    /// Removes one separator at the end.
    void RemoveBackslashFromEnd();
    /// Cuts at the last \p cExtSep, also when that stands in a directory's name.
    void RemoveExt(WCHAR cExtSep);
    /// Joins \p sPath with exactly one separator at the join, \p cSep if there is none yet.
    void AddPath(const WCHAR* sPath, WCHAR cSep);

private:
    friend class COrvDBStr;

    using Converter = int (*)(const char* pFrom, const char* pTo, WCHAR* pDest, unsigned cchDest);

    template <class Put>
    void AppendWritten(unsigned nMost, Put put);
    template <class Int>
    void AppendPadded(Int n, int iPaddedLen);
    void AppendHexDigits(std::uint64_t n, int iWidth);
    bool CreateOwnBuffer(std::uint64_t nLen, bool bKeep);
    unsigned MeasureLength() const;
    bool IsInside(const void* p) const noexcept;
    void CopyForeign(const WCHAR* s);
    void TakeText(const WCHAR* s, unsigned nLen, bool bKeep);
    bool AppendInPlace(const WCHAR* s, unsigned nLen);
    void TakeConverted(const char* s, unsigned nLen, bool bKeep, Converter pfnConvert);
    void SetText(WCHAR* pStr, bool bOwn);
    void Share(WCHAR* pStr);
    void Forget() noexcept
    {
        m_pStr = ORVS_GetDefaultEmptyString();
        m_bOwn = true;
    }

    WCHAR* m_pStr; ///< never null, except after a failed allocation
    bool m_bOwn;   ///< a counted buffer of ours or the empty text; else attached, never written
};

/// A number as text that formats \p n like `printf`, cut to 99 units; for parameters of messages.
class ORV_API ParamNumToStr
{
public:
    /// \p sFormat has one conversion of an int, such as "%05d".
    ParamNumToStr(int n, const WCHAR* sFormat);
    /// The text, as long as the object lives.
    operator const WCHAR*() const noexcept { return m_sText; }

private:
    WCHAR m_sText[100];
};

/// Orders texts case-sensitively; the shape of a sorting policy, whose context is not used.
class ORV_API COrvStrCmp
{
public:
    /// -1, 0 or 1.
    static int Compare(const COrvStr& a, const COrvStr& b, void* pContext);
};

/// Orders texts without regard to case.
class ORV_API COrvStrCmpNoCase
{
public:
    /// -1, 0 or 1.
    static int Compare(const COrvStr& a, const COrvStr& b, void* pContext);
};

/// -1, 0 or 1 by the system's collation; 0 also when the comparison fails. Null compares as the empty text.
ORV_EXTERN_C ORV_FUNC int ORVCALL CompareOrvString(const WCHAR* a, const WCHAR* b, bool bNoCase);
