/// Converter objects: text in another encoding for the length of an expression or a scope.
///
/// Typical texts convert inside the object; longer ones take a heap buffer that the object keeps for its next
/// text. Room is two units for each unit of the source, but never less than the inline buffer, and longer
/// results are cut silently: UTF-8 of mostly three-byte characters can be.
///
/// Ownership: the text belongs to the object and ends with it or with the next `Set`.
/// Thread safety: one object belongs to one thread at a time.
/// Errors: nothing is thrown. Without memory a constructor and `Set` report "m_p == nullptr" (from
///   "CToUTF8::Set" or "CUtf8ToWide::Set", source `orvstr`) and leave an empty text. A null text is an empty
///   one; with an \p n it is also reported, by the conversion.
/// Units: \p n counts units of the source; 0 means all up to the terminator, which also ends it before \p n.
///
///     puts(CToUTF8(ORVTEXT("r\u00E9sum\u00E9")));
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

/// The ANSI form of a text, at most 999 bytes, empty for null; uses no heap.
class ORV_API CToAnsi
{
public:
    /// Null is an empty text.
    explicit CToAnsi(const WCHAR* s);
    CToAnsi(const CToAnsi&) = delete;
    CToAnsi& operator=(const CToAnsi&) = delete;

    /// The text; never null.
    operator const char*() const { return m_sz; }

private:
    char m_sz[1000];
};

/// The UTF-8 form of wide text or of text of the ANSI code page.
class ORV_API CToUTF8
{
public:
    /// Converts \p n units.
    explicit CToUTF8(const WCHAR* s, unsigned n = 0);
    explicit CToUTF8(const char* s, unsigned n = 0);
    CToUTF8(const CToUTF8&) = delete;
    CToUTF8& operator=(const CToUTF8&) = delete;
    ~CToUTF8();

    /// Takes another text, not the object's own, and returns its UTF-8 form, or null without memory.
    const char* Set(const WCHAR* s, unsigned n = 0);
    const char* Set(const char* s, unsigned n = 0);

    /// The text; never null.
    operator const char*() const { return m_p; }

private:
    static constexpr unsigned kInline = 1024;

    char m_sz[kInline];
    char* m_p = m_sz;
    unsigned m_nCapacity = kInline;
};

/// The wide form of UTF-8 text.
class ORV_API CUtf8ToWide
{
public:
    /// Converts \p n bytes.
    explicit CUtf8ToWide(const char* s, unsigned n = 0);
    CUtf8ToWide(const CUtf8ToWide&) = delete;
    CUtf8ToWide& operator=(const CUtf8ToWide&) = delete;
    ~CUtf8ToWide();

    /// Takes another text and returns its wide form, or null without memory.
    const WCHAR* Set(const char* s, unsigned n = 0);

    /// The text; never null.
    operator const WCHAR*() const { return m_p; }

private:
    static constexpr unsigned kInline = 1024;

    WCHAR m_sz[kInline];
    WCHAR* m_p = m_sz;
    unsigned m_nCapacity = kInline;
};
