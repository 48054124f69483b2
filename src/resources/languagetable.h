// The languages whose libraries have been opened.
#pragma once

#include "core/ownlock.h"
#include "resources/lqresloader.h"

#include <windows.h>

#include <atomic>

/// A language's name in the form that files are named by: small letters, digits and "-", so that it cannot
/// leave the folder. Empty for anything else.
class CLanguageName
{
public:
    constexpr CLanguageName() = default;
    explicit CLanguageName(const WCHAR* sName) noexcept;

    bool IsEmpty() const noexcept { return m_sName[0] == 0; }
    const WCHAR* Text() const noexcept { return m_sName; }
    /// Makes "pt" of "pt-br", and nothing of "pt".
    void Widen() noexcept;

    bool operator==(const CLanguageName& other) const noexcept;

private:
    WCHAR m_sName[LOCALE_NAME_MAX_LENGTH] = {};
};

/// A language with its library. It stays where it is for good, so that threads may keep its address; the
/// library is null once it was closed.
struct CLanguage
{
    CLanguageName m_name;
    unsigned m_nOwner = 0; ///< counts the owners whose libraries were asked for
    std::atomic<HMODULE> m_hModule = nullptr;
};

/// What a name was found to mean.
struct CLanguageAnswer
{
    CLanguageName m_name;
    const CLanguage* m_pLanguage = nullptr;
};

/// Opens each library once. Every function may be called from any thread.
class CLanguageTable
{
public:
    static CLanguageTable& Instance() noexcept;

    /// The steps of process attach and detach.
    void CreateLoader(HMODULE hModule) noexcept;
    void DestroyLoader() noexcept;
    void SetOwner(HMODULE hModule, const WCHAR* sName, DWORD dwVersion) noexcept;

    /// The language itself, else the one that it is a kind of; null when neither has a library, and the last
    /// error then.
    const CLanguage* Find(const CLanguageName& name) noexcept;
    void CloseAll() noexcept;

private:
    const CLanguage* Search(CLanguageName name) noexcept;
    CLanguage* Open(const CLanguageName& name) noexcept;

    OCT::COwnLock m_lock;
    CLQResLoader* m_pLoader = nullptr; ///< from process attach to process detach
    unsigned m_nOwner = 0;
    unsigned m_nCount = 0;
    CLanguage m_languages[64];
    /// Names are looked for on the disk once, as a service may choose a language for each request; those that
    /// come when the list is full, each time.
    CLanguageAnswer m_answers[64];
    unsigned m_nAnswers = 0;
};
