/// String resources, read in place from the string tables of a module, and texts that refer to them.
///
/// Where no module is given, the current language's is asked for (`CResourceHandler::GetHandle`). Texts that
/// come from elsewhere, such as database rows, refer to a string by a token: "##7##" is string 7.
///
/// Ownership: text read in place belongs to the module and is valid while that stays loaded, in the case of a
///   language until `CResourceHandler::DestroyGlobal`; a `BSTR` belongs to the caller (`SysFreeString`).
/// Lifetime: after `UninitOrvComTypes` there is no language until one is chosen anew.
/// Thread safety: every function may be called from any thread.
/// Errors: nothing is thrown. Reports have the source `loadstrres`; where there is no module at all, every
///   function reports "hInstance == nullptr" from "LoadStringResImage", and the string does not exist.
/// Units: lengths are code units, those of narrow text bytes. Text read in place has no terminator.
///
///     WCHAR sBuffer[200];
///     unsigned nLength;
///     const WCHAR* sText = ReplaceTokenW(ORVTEXT("State: ##7##"), &nLength, sBuffer, 200);
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>
#include <oleauto.h> // IWYU pragma: keep

/// The first code unit of string \p uID inside the module's image, and its length; null, and length 0, when
/// the string does not exist. \p pnLength may be null.
ORV_EXTERN_C ORV_FUNC const WCHAR* ORVCALL LoadStringResImage(HINSTANCE hInstance, unsigned uID,
                                                              unsigned* pnLength);

/// A copy of string \p uID, or null when it does not exist or without memory. The length, also when only
/// memory is missing, goes to \p pnLength, which may be null.
ORV_EXTERN_C ORV_FUNC BSTR ORVCALL LoadStringRes(HINSTANCE hInstance, unsigned uID, unsigned* pnLength);

/// Replaces text that begins with a token, whatever follows it, by its string, or by "Error: Resource string
/// could not be loaded!"; false, and nothing written, for other text and null. \p sDest, which may be \p
/// sSrc, has room for any resource text: deliberately only its size's being zero is looked at.
ORV_EXTERN_C ORV_FUNC bool ORVCALL LoadDBStringResW(const WCHAR* sSrc, WCHAR* sDest, unsigned nDestChars);
/// The same for text of the ANSI code page. Reports "sConversionBuffer.GetSize () < reguiredLen" without
/// memory and gives false.
ORV_EXTERN_C ORV_FUNC bool ORVCALL LoadDBStringResA(const char* sSrc, char* sDest, unsigned nDestChars);

/// Text with every token replaced. Reports "sRes == nullptr" with the id of a missing string, and puts
/// "!Resource does not exist!" there. A source that is one token gives the resource text itself, not
/// terminated, and leaves the buffer alone; else the result is written to \p sBuffer, cut at \p nBufferChars
/// and terminated, and a replacement that does not fit is left out. \p pnLength may be null. Reports "sSrc ==
/// nullptr || sBuffer == nullptr", writes nothing and gives null. The buffer must not overlap the source.
ORV_EXTERN_C ORV_FUNC const WCHAR* ORVCALL ReplaceTokenW(const WCHAR* sSrc, unsigned* pnLength,
                                                         WCHAR* sBuffer, unsigned nBufferChars);
