/// `CResourceHandler`, the language in which texts are shown.
///
/// The string tables of a language stand in a library of their own beside the module whose texts they are:
/// "shop.hu.dll", elsewhere "shop.hu.res". docs/languages.md tells how one is made. Unless a program names
/// libraries of its own, those of OrvComTypes are taken, which hold the generic messages of exceptions.
///
/// A language is chosen for the process and, where one program serves people of several languages, for single
/// threads. A name is of the form "hu" or "pt-BR"; case does not matter and "_" is "-". What is asked for
/// "pt-BR" is looked for as "pt-br", as "pt", and at last as "en". Until somebody chooses, the process has
/// the language that the user prefers: that of the system, elsewhere of LANGUAGE, LC_ALL, LC_MESSAGES, LANG.
///
/// A library is looked for in the owner's folder, then in the folder that the setting "InstallPath" names. It
/// must be of the owner's version but for the patch number. Where the setting "UseResourceDLL" is 0, none is
/// looked for. What was looked for is not looked for again until `DestroyGlobal`. Without a library texts are
/// what the functions that load them document for missing ones.
///
/// Ownership: the handler opens libraries, each once, and keeps them until `DestroyGlobal`, so that texts
///   that other threads have read in place outlive a change of language.
/// Thread safety: every function may be called from any thread, also while others load texts; but
///   `SetOwner` and `DestroyGlobal` are for the beginning and the end.
/// Errors: source `lqresloader`; "hModule != nullptr" with the system's code for a library that exists and
///   cannot be opened, "dwVersion == m_owner.m_dwVersion" with the version found for one of another version.
///
///     CResourceHandler::SetOwner(nullptr, ORVTEXT("shop"), 1, 4);
///     CResourceHandler::SetLanguage(nullptr);                      // as the user prefers
///     const CThreadLanguage german(ORVTEXT("de-AT"));              // for this request
///     COrvStr sText = CLQMessage(26100, 0).Format(nullptr);
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

class ORV_API CResourceHandler
{
public:
    /// The library of this thread's language, else of the process's; null when there is none.
    static HINSTANCE GetHandle() noexcept;

    /// Names the libraries of a program: they lie beside \p hOwner (null is the program itself), are called
    /// \p sName and have the version \p wMajor . \p wMinor. Languages that were chosen before are forgotten.
    static void SetOwner(HMODULE hOwner, const WCHAR* sName, WORD wMajor, WORD wMinor) noexcept;

    /// Chooses the process's language; null or empty for the one that the user prefers. True when there is a
    /// library of that language; false when English took its place, or nothing.
    static bool SetLanguage(const WCHAR* sLanguage) noexcept;
    /// The same for the calling thread; null or empty for the process's language.
    static bool SetThreadLanguage(const WCHAR* sLanguage) noexcept;
    /// The language that `GetHandle` answers with, as its library is named; empty when there is none.
    static COrvStr GetLanguage();

    /// Closes all libraries. From then on there is no language until one is chosen.
    static void DestroyGlobal() noexcept;
    /// The calling thread has the process's language again.
    static void DestroyThreadLocal() noexcept;
};

/// A language of the thread for the lifetime of the object, which ends on that thread.
class ORV_API CThreadLanguage
{
public:
    /// As `SetThreadLanguage`; the former language comes back at the end.
    explicit CThreadLanguage(const WCHAR* sLanguage) noexcept;
    CThreadLanguage(const CThreadLanguage&) = delete;
    CThreadLanguage& operator=(const CThreadLanguage&) = delete;
    ~CThreadLanguage();

private:
    const void* m_pFormer;
};
