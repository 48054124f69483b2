/// Conversions between UTF-16 text, text of a code page ("ANSI") and UTF-8, and small text utilities.
///
/// Every conversion writes into a buffer of the caller, never past it, always terminates it and returns the
/// number of units written without the terminator. What does not fit is left out silently. The plain forms
/// read up to the terminator; the `...Ex` forms read from \p pSrcFrom up to \p pSrcTo (exclusive) or a zero
/// unit, whichever comes first. Code page 0 is the system's ANSI code page; characters that a code page lacks
/// become its default character, never a look-alike. Input that is not valid UTF-8 or UTF-16 becomes U+FFFD,
/// one for each maximal damaged part.
///
/// Room: a run of characters that are converted together (`UnicodeToANSI`, `ANSIToUnicode`, `UTF8ToUnicode`)
/// is cut behind the last character that fits whole, and the conversion ends there. The others convert one by
/// one; a character that does not fit is dropped and the conversion goes on while there is room.
///
/// Errors: nothing is thrown. A violated precondition (null text, a null destination or one of less than two
///   units, `CP_UTF8` where another code page is meant, a range that ends before it begins) is reported by
///   its own text from the function's own name (source `stringutils`), the destination becomes empty if it
///   has a unit, and the result is 0. A code page that the system does not know, or has no memory for,
///   converts ASCII only.
/// Lifetime: usable in static constructors and destructors too, and after `UninitOrvComTypes`.
/// Thread safety: all functions are reentrant. Source and destination must not overlap.
/// Units: sizes and results are units of the destination: bytes of narrow, code units of wide text.
///
///     char sName[64];
///     UnicodeToUTF8(ORVTEXT("r\u00E9sum\u00E9"), sName, sizeof sName);
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

// ---- Terminated text ----

ORV_EXTERN_C ORV_FUNC int ORVCALL UnicodeToANSI(const WCHAR* pSrc, char* pDest, unsigned cchDest,
                                                unsigned destCodePage);
/// The bytes from 0x80 on convert in runs: a trail byte below 0x80 is taken for ASCII.
ORV_EXTERN_C ORV_FUNC int ORVCALL ANSIToUnicode(const char* pSrc, WCHAR* pDest, unsigned cchDest,
                                                unsigned srcCodePage);
/// Code units convert one by one: both halves of a surrogate pair become EF BF BD.
ORV_EXTERN_C ORV_FUNC int ORVCALL UnicodeToUTF8(const WCHAR* pSrc, char* pDest, unsigned cbDest);
ORV_EXTERN_C ORV_FUNC int ORVCALL UTF8ToUnicode(const char* pSrc, WCHAR* pDest, unsigned cchDest);
/// Bytes convert one by one: double-byte code pages are not supported. Text whose code page is UTF-8 is
/// copied as it is; only an ANSI code page may be that, `CP_UTF8` itself reports "srcCodePage == CP_UTF8".
ORV_EXTERN_C ORV_FUNC int ORVCALL ANSIToUTF8(const char* pSrc, char* pDest, unsigned cbDest,
                                             unsigned srcCodePage);
/// A sequence is as long as its lead byte says, whatever follows. To a code page that is UTF-8 text is copied
/// as it is; only an ANSI code page may be that, `CP_UTF8` itself reports "destCodePage == CP_UTF8".
ORV_EXTERN_C ORV_FUNC int ORVCALL UTF8ToANSI(const char* pSrc, char* pDest, unsigned cchDest,
                                             unsigned destCodePage);

// ---- Ranges ----

/// As the function without "Ex", for a range.
ORV_EXTERN_C ORV_FUNC int ORVCALL UnicodeToANSIEx(const WCHAR* pSrcFrom, const WCHAR* pSrcTo, char* pDest,
                                                  unsigned cchDest, unsigned destCodePage);
ORV_EXTERN_C ORV_FUNC int ORVCALL ANSIToUnicodeEx(const char* pSrcFrom, const char* pSrcTo, WCHAR* pDest,
                                                  unsigned cchDest, unsigned srcCodePage);
ORV_EXTERN_C ORV_FUNC int ORVCALL UnicodeToUTF8Ex(const WCHAR* pSrcFrom, const WCHAR* pSrcTo, char* pDest,
                                                  unsigned cbDest);
ORV_EXTERN_C ORV_FUNC int ORVCALL UTF8ToUnicodeEx(const char* pSrcFrom, const char* pSrcTo, WCHAR* pDest,
                                                  unsigned cchDest);
ORV_EXTERN_C ORV_FUNC int ORVCALL ANSIToUTF8Ex(const char* pSrcFrom, const char* pSrcTo, char* pDest,
                                               unsigned cbDest, unsigned srcCodePage);
/// Reports "p > pSrcTo" when a sequence would run past the end, and converts what there is of it.
ORV_EXTERN_C ORV_FUNC int ORVCALL UTF8ToANSIEx(const char* pSrcFrom, const char* pSrcTo, char* pDest,
                                               unsigned cchDest, unsigned destCodePage);

// ---- Utilities ----

/// Decodes `\uXXXX` (exactly four hexadecimal digits); other bytes are widened as signed ones, so the input
/// should be ASCII. Anything else behind a backslash ends the text there. At most \p cchDest - 1 units and a
/// terminator are written; returns the units. A null argument or no room gives 0 and no output.
ORV_EXTERN_C ORV_FUNC int ORVCALL UCNToUnicode(const char* pSrc, WCHAR* pDest, int cchDest);

/// Decimal numbers: blanks and tabs, at most one "-", digits. Overflow wraps; anything unexpected ends the
/// number, and without a digit it is 0. Reports "p == nullptr" and gives 0.
ORV_EXTERN_C ORV_FUNC LONG ORVCALL naive_atol(const char* p);
ORV_EXTERN_C ORV_FUNC LONG ORVCALL naive_wtol(const WCHAR* p);
ORV_EXTERN_C ORV_FUNC LONGLONG ORVCALL naive_atoll(const char* p);
ORV_EXTERN_C ORV_FUNC LONGLONG ORVCALL naive_wtoll(const WCHAR* p);
/// The same as a double, with decimals behind "." or ","; no exponent. Decimals count as long as they are an
/// integer of 64 bits: the first nineteen behind leading zeros, at least.
ORV_EXTERN_C ORV_FUNC double ORVCALL naive_atof(const char* p);
ORV_EXTERN_C ORV_FUNC double ORVCALL naive_wtof(const WCHAR* p);

/// Writes two upper-case digits a byte and a terminator; returns 2 * \p cbData + 1. For null or no data it
/// returns 0 and writes nothing. From 2 GB of data on the result wraps, though the whole text is written.
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL BinaryToHex(const unsigned char* pData, unsigned cbData, WCHAR* pOut);

/// The text of a file's bytes: UTF-16 with or without a mark, UTF-8 with a mark or well-formed enough, else
/// ANSI. \p cbData 0 means: up to the first zero byte. \p pwszConverted has room for \p cbData + 1 units (its
/// length + 1 where that is 0). Returns the units written without the terminator, which is always written.
/// Reports "pszFileData == nullptr || pwszConverted == nullptr", writes nothing and gives 0.
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL GetTextFileContents(const char* pszFileData, unsigned cbData,
                                                           WCHAR* pwszConverted);

/// The Luhn check digit (0 to 9) of a text of decimal digits, or -1 for null, empty or any other text.
ORV_EXTERN_C ORV_FUNC int ORVCALL GetLuhnKey(const WCHAR* sDigits);
