/// Text of code pages, converted by the system; ASCII is copied without it.
///
/// All functions read \p nSrc units, none of which is zero, write at most \p nRoom and return the number
/// written.
#pragma once

#include <windows.h>

#include <cstddef>

namespace OCT
{

/// Runs of characters beyond ASCII convert together; ends behind the last character that fits whole.
std::size_t WideToAnsi(const WCHAR* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom,
                       unsigned nCodePage);
std::size_t AnsiToWide(const char* pSrc, std::size_t nSrc, WCHAR* pDest, std::size_t nRoom,
                       unsigned nCodePage);

/// Bytes from 0x80 on convert one by one; one that does not fit is dropped.
std::size_t AnsiToUtf8(const char* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom,
                       unsigned nCodePage);

/// Sequences convert one by one, each as long as its lead byte says; one that does not fit is dropped. Where
/// the source ends within a sequence, \p ppCut, if not null, takes that sequence.
std::size_t Utf8ToAnsi(const char* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom, unsigned nCodePage,
                       const char** ppCut);

} // namespace OCT
