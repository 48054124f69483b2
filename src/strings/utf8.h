/// UTF-8 itself: sequences of one character, and whole texts to and from UTF-16.
///
/// The library decodes by itself: every target then gives the same result for damaged text and for text that
/// does not fit, and no call into the system is paid for each short run of foreign letters.
#pragma once

#include <windows.h>

#include <cstddef>

namespace OCT
{

constexpr char32_t kReplacementChar = 0xFFFD;

/// Decodes the sequence at \p p, of which \p n > 0 bytes are there, and sets \p nUsed to its length. A
/// damaged one is U+FFFD and as long as its maximal part that could begin a character, at least one byte.
char32_t DecodeUtf8(const unsigned char* p, std::size_t n, unsigned& nUsed);

/// The length that a lead byte promises; 1 for any other byte.
constexpr unsigned Utf8LengthByLead(unsigned char b)
{
    return b < 0xC0 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : b < 0xF8 ? 4 : 1;
}

/// The bytes that a code unit takes by itself; a surrogate counts as U+FFFD.
constexpr unsigned Utf8LengthOfUnit(WCHAR c)
{
    return c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
}

/// Encodes a code unit by itself, writing its length of bytes.
inline void EncodeUnitAsUtf8(WCHAR c, char* pDest)
{
    if (c < 0x80)
    {
        pDest[0] = static_cast<char>(c);
        return;
    }
    if (c < 0x800)
    {
        pDest[0] = static_cast<char>(0xC0 | c >> 6);
        pDest[1] = static_cast<char>(0x80 | (c & 0x3F));
        return;
    }
    const unsigned n = (c & 0xF800) == 0xD800 ? static_cast<unsigned>(kReplacementChar) : c;
    pDest[0] = static_cast<char>(0xE0 | n >> 12);
    pDest[1] = static_cast<char>(0x80 | (n >> 6 & 0x3F));
    pDest[2] = static_cast<char>(0x80 | (n & 0x3F));
}

/// Encodes the two halves of a character beyond U+FFFF, writing four bytes.
inline void EncodePairAsUtf8(WCHAR cHigh, WCHAR cLow, char* pDest)
{
    const unsigned c = 0x10000 + ((cHigh & 0x3FFu) << 10 | (cLow & 0x3FFu));
    pDest[0] = static_cast<char>(0xF0 | c >> 18);
    pDest[1] = static_cast<char>(0x80 | (c >> 12 & 0x3F));
    pDest[2] = static_cast<char>(0x80 | (c >> 6 & 0x3F));
    pDest[3] = static_cast<char>(0x80 | (c & 0x3F));
}

// Of the two, no source unit is zero.

/// Decodes \p nSrc bytes into at most \p nRoom units and returns the units written. Ends before the first
/// character that does not fit whole.
std::size_t Utf8ToWide(const char* pSrc, std::size_t nSrc, WCHAR* pDest, std::size_t nRoom);

/// Encodes \p nSrc units one by one into at most \p nRoom bytes and returns the bytes written. A unit beyond
/// ASCII that does not fit is dropped. The byte behind the result, where the terminator goes, may change.
std::size_t WideToUtf8(const WCHAR* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom);

} // namespace OCT
