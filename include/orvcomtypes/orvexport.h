/// How names leave the library: visibility, calling conventions and the literal form of its 16-bit text.
///
/// This is the only header that knows the platform. On 32-bit Windows plain functions are stdcall and
/// exported by undecorated name through the module definition file; classes are exported member by member by
/// their C++ names.
#pragma once

#if defined(_WIN32)
#if defined(ORVCOMTYPES_BUILD)
/// Classes and C++ functions that leave the library.
#define ORV_API __declspec(dllexport)
/// Plain functions; the DLL's are listed in its module definition file.
#define ORV_FUNC
#elif defined(ORVCOMTYPES_STATIC)
#define ORV_API
#define ORV_FUNC
#else
#define ORV_API __declspec(dllimport)
#define ORV_FUNC __declspec(dllimport)
#endif
/// A template whose instantiations each module has for itself, statics included, whatever visibility it is
/// compiled with. (Statics that modules share would keep a module loaded for ever.)
#define ORV_LOCAL
#define ORVTEXT_(text) L##text
#else
#define ORV_API __attribute__((visibility("default")))
#define ORV_FUNC __attribute__((visibility("default")))
#define ORV_LOCAL __attribute__((visibility("hidden")))
#define ORVTEXT_(text) u##text
#endif

#if defined(_WIN32) && !defined(ORVCOMTYPES_BUILD)
#define ORV_EXTERN_TEMPLATE(...) static_assert(true)
#else
/// An instantiation that the library exports: this in the header that needs it, before anything uses the
/// type, and ORV_EXPORT_TEMPLATE in one source file. MinGW does not export the inline members of an
/// instantiation, so another Windows module makes its own instead of relying on the library's.
#define ORV_EXTERN_TEMPLATE(...) extern template class ORV_API __VA_ARGS__
#endif
/// Makes the instantiation that `ORV_EXTERN_TEMPLATE` promises.
#define ORV_EXPORT_TEMPLATE(...) template class __VA_ARGS__

#if defined(_M_IX86) || (defined(_WIN32) && defined(__i386__))
/// The calling conventions of plain functions, and of the three of the heap; they matter on 32-bit Windows.
#define ORVCALL __stdcall
#define ORVFASTCALL __fastcall
#else
#define ORVCALL
#define ORVFASTCALL
#endif

#if defined(__clang__)
/// Around plain functions that return one of the library's values: callers in C++ may, whatever their
/// linkage.
#define ORV_VALUES_BEGIN \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wreturn-type-c-linkage\"")
#define ORV_VALUES_END _Pragma("clang diagnostic pop")
#else
#define ORV_VALUES_BEGIN
#define ORV_VALUES_END
#endif

/// A text or character literal of `WCHAR`.
#define ORVTEXT(text) ORVTEXT_(text)

/// Plain functions carry no C++ decoration. Programs in C declare them too (`orvcapi.h`).
#if defined(__cplusplus)
#define ORV_EXTERN_C extern "C"
#define ORV_NOEXCEPT noexcept
#else
#define ORV_EXTERN_C extern
#define ORV_NOEXCEPT
#endif
