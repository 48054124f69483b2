/// String resources, read in place from the string tables of a module.
///
/// Where no module is given, the current language's is asked for (`CResourceHandler::GetHandle`).
///
/// Ownership: text read in place belongs to the module and is valid while that stays loaded; a `BSTR`
///   belongs to the caller (`SysFreeString`).
/// Thread safety: every function may be called from any thread.
/// Errors: source `loadstrres`; "hInstance == nullptr" from "LoadStringResImage" when there is no module.
/// Units: lengths are code units. Text read in place has no terminator.
#pragma once

#include "orvcomtypes/octassert.h"

#include <oleauto.h>

/// The first code unit of string \p uID inside the module's image, and its length; null, and length 0, when
/// the string does not exist. \p pnLength may be null.
ORV_EXTERN_C ORV_FUNC const WCHAR* ORVCALL LoadStringResImage(HINSTANCE hInstance, unsigned uID,
                                                              unsigned* pnLength);

/// A copy of string \p uID, or null when it does not exist. \p pnLength may be null.
ORV_EXTERN_C ORV_FUNC BSTR ORVCALL LoadStringRes(HINSTANCE hInstance, unsigned uID, unsigned* pnLength);
