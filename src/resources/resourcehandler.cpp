#include "orvcomtypes/resourcehandler.h"

#include "core/memoryerror.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"
#include "resources/languagetable.h"
#include "resources/lqresloader.h"

#include <windows.h>

#include <atomic>
#include <string>

namespace
{

/// What is chosen when there is nothing to choose from.
constinit const CLanguage c_None;

/// Null until the first choice.
constinit std::atomic<const CLanguage*> g_pProcessLanguage = nullptr;
/// Null for the process's.
constinit thread_local const CLanguage* t_pLanguage = nullptr;

/// The names of the languages that the user prefers, best first, each terminated, and an empty one.
struct CPreferred
{
    static constexpr ULONG nSize = 16 * LOCALE_NAME_MAX_LENGTH;
    WCHAR m_sNames[nSize] = {};

    CPreferred() noexcept
    {
        ULONG nNames = 0;
        ULONG nUnits = nSize;
        if (!GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &nNames, m_sNames, &nUnits))
            m_sNames[0] = 0;
    }
};

struct CChoice
{
    const CLanguage* m_pLanguage; ///< null when there is none
    bool m_bAsked;                ///< what was asked for, and not what takes its place
};

/// A language of the list \p sNames, else English.
CChoice Choose(const WCHAR* sNames) noexcept
{
    CLanguageTable& languages = CLanguageTable::Instance();
    for (; *sNames != 0; sNames += std::char_traits<WCHAR>::length(sNames) + 1)
        if (const CLanguage* const pLanguage = languages.Find(CLanguageName(sNames)))
            return {pLanguage, true};
    return {languages.Find(CLanguageName(ORVTEXT("en"))), false};
}

/// One name as a list of names.
CChoice ChooseOne(const WCHAR* sName) noexcept
{
    const CLanguageName name(sName);
    WCHAR sNames[LOCALE_NAME_MAX_LENGTH + 1] = {};
    std::char_traits<WCHAR>::copy(sNames, name.Text(), std::char_traits<WCHAR>::length(name.Text()));
    return Choose(sNames);
}

/// The process's language, when a text is asked for before somebody has chosen.
const CLanguage& ChooseAtFirstUse() noexcept
{
    const DWORD dwLastError = GetLastError();
    const CLanguage* pLanguage = Choose(CPreferred().m_sNames).m_pLanguage;
    const bool bNoMemory = OCT::IsShortOfMemory(GetLastError());
    SetLastError(dwLastError);
    if (pLanguage == nullptr && bNoMemory)
        return c_None; // next time there may be memory again
    if (pLanguage == nullptr)
        pLanguage = &c_None;
    const CLanguage* pFormer = nullptr; // another thread may have chosen meanwhile
    return *(g_pProcessLanguage.compare_exchange_strong(pFormer, pLanguage) ? pLanguage : pFormer);
}

/// The thread's, else the process's.
const CLanguage& CurrentLanguage() noexcept
{
    if (t_pLanguage != nullptr && t_pLanguage->m_hModule.load(std::memory_order_acquire) != nullptr)
        return *t_pLanguage;
    const CLanguage* const pLanguage = g_pProcessLanguage.load(std::memory_order_acquire);
    return pLanguage != nullptr ? *pLanguage : ChooseAtFirstUse();
}

bool IsGiven(const WCHAR* sLanguage) noexcept
{
    return sLanguage != nullptr && *sLanguage != 0;
}

} // namespace

HINSTANCE CResourceHandler::GetHandle() noexcept
{
    return CurrentLanguage().m_hModule.load(std::memory_order_acquire);
}

void CResourceHandler::SetOwner(HMODULE hOwner, const WCHAR* sName, WORD wMajor, WORD wMinor) noexcept
{
    CLanguageTable::Instance().SetOwner(hOwner, sName, MakeResVersion(wMajor, wMinor));
    g_pProcessLanguage.store(nullptr, std::memory_order_release);
    t_pLanguage = nullptr;
}

bool CResourceHandler::SetLanguage(const WCHAR* sLanguage) noexcept
{
    const CChoice choice = IsGiven(sLanguage) ? ChooseOne(sLanguage) : Choose(CPreferred().m_sNames);
    g_pProcessLanguage.store(choice.m_pLanguage != nullptr ? choice.m_pLanguage : &c_None,
                             std::memory_order_release);
    return choice.m_bAsked;
}

bool CResourceHandler::SetThreadLanguage(const WCHAR* sLanguage) noexcept
{
    const CChoice choice = IsGiven(sLanguage) ? ChooseOne(sLanguage) : CChoice{nullptr, true};
    t_pLanguage = choice.m_pLanguage;
    return choice.m_bAsked;
}

COrvStr CResourceHandler::GetLanguage()
{
    const CLanguage& language = CurrentLanguage();
    const bool bOpen = language.m_hModule.load(std::memory_order_acquire) != nullptr;
    return bOpen ? COrvStr(language.m_name.Text()) : COrvStr();
}

void CResourceHandler::DestroyGlobal() noexcept
{
    g_pProcessLanguage.store(&c_None, std::memory_order_release);
    CLanguageTable::Instance().CloseAll();
}

void CResourceHandler::DestroyThreadLocal() noexcept
{
    t_pLanguage = nullptr;
}

CThreadLanguage::CThreadLanguage(const WCHAR* sLanguage) noexcept : m_pFormer(t_pLanguage)
{
    CResourceHandler::SetThreadLanguage(sLanguage);
}

CThreadLanguage::~CThreadLanguage()
{
    t_pLanguage = static_cast<const CLanguage*>(m_pFormer);
}
