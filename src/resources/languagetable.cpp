#include "resources/languagetable.h"

#include "core/charclass.h"
#include "core/lifecycle.h"
#include "core/memoryerror.h"
#include "core/neverdestroyed.h"
#include "orvcomtypes/resourcehandler.h"
#include "orvcomtypes/smartcls.h"
#include "resources/lqresloader.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iterator>
#include <new>
#include <string_view>

namespace
{

CNeverDestroyed<CLanguageTable> g_languages;

/// Also when no language was chosen yet: none is, from then on.
void DestroyResourceHandler()
{
    CResourceHandler::DestroyGlobal();
    CResourceHandler::DestroyThreadLocal();
}

} // namespace

CLanguageName::CLanguageName(const WCHAR* sName) noexcept
{
    std::size_t n = 0;
    for (; sName != nullptr && sName[n] != 0; ++n)
    {
        const WCHAR c = sName[n] == '_' ? WCHAR('-') : OCT::ToLowerAscii(sName[n]);
        const bool bAllowed = (c >= 'a' && c <= 'z') || OCT::IsDigit(c) || c == '-';
        if (!bAllowed || n + 1 == std::size(m_sName))
        {
            m_sName[0] = 0;
            return;
        }
        m_sName[n] = c;
    }
    m_sName[n] = 0;
}

void CLanguageName::Widen() noexcept
{
    const std::size_t n = std::basic_string_view<WCHAR>(m_sName).rfind('-');
    m_sName[n != std::basic_string_view<WCHAR>::npos ? n : 0] = 0;
}

bool CLanguageName::operator==(const CLanguageName& other) const noexcept
{
    return OCT::IsSameText(m_sName, other.m_sName);
}

CLanguageTable& CLanguageTable::Instance() noexcept
{
    return g_languages.Get();
}

void CLanguageTable::CreateLoader(HMODULE hModule) noexcept
{
    const OCT::CCritSectGuard guard(&m_lock);
    m_pLoader = new (std::nothrow) CLQResLoader;
    if (m_pLoader != nullptr && hModule != nullptr)
        m_pLoader->Init(hModule);
    g_TeardownHooks.m_fnDestroyResourceHandler.store(DestroyResourceHandler, std::memory_order_release);
}

void CLanguageTable::DestroyLoader() noexcept
{
    const OCT::CCritSectGuard guard(&m_lock);
    delete m_pLoader;
    m_pLoader = nullptr;
}

void CLanguageTable::SetOwner(HMODULE hModule, const WCHAR* sName, DWORD dwVersion) noexcept
{
    const OCT::CCritSectGuard guard(&m_lock);
    ++m_nOwner;
    m_nAnswers = 0;
    if (m_pLoader != nullptr)
        m_pLoader->Init(hModule, sName, dwVersion);
}

const CLanguage* CLanguageTable::Find(const CLanguageName& name) noexcept
{
    const OCT::CCritSectGuard guard(&m_lock);
    SetLastError(ERROR_SUCCESS);
    for (unsigned i = 0; i < m_nAnswers; ++i)
        if (m_answers[i].m_name == name)
            return m_answers[i].m_pLanguage;
    const CLanguage* const pLanguage = Search(name);
    const bool bFinal = pLanguage != nullptr || !OCT::IsShortOfMemory(GetLastError());
    if (bFinal && m_nAnswers < std::size(m_answers))
        m_answers[m_nAnswers++] = {name, pLanguage};
    return pLanguage;
}

const CLanguage* CLanguageTable::Search(CLanguageName name) noexcept
{
    for (; !name.IsEmpty(); name.Widen())
        if (const CLanguage* const pLanguage = Open(name))
            return pLanguage;
    return nullptr;
}

CLanguage* CLanguageTable::Open(const CLanguageName& name) noexcept
{
    CLanguage* const pEnd = m_languages + m_nCount;
    CLanguage* const pLanguage = std::find_if(m_languages, pEnd, [&](const CLanguage& language) {
        return language.m_nOwner == m_nOwner && language.m_name == name;
    });
    if (pLanguage != pEnd && pLanguage->m_hModule.load(std::memory_order_relaxed) != nullptr)
        return pLanguage;
    if (pLanguage == std::end(m_languages) || m_pLoader == nullptr)
        return nullptr;
    const HMODULE hModule = m_pLoader->Open(name.Text());
    if (hModule == nullptr)
        return nullptr;
    if (pLanguage == pEnd)
    {
        pLanguage->m_name = name;
        pLanguage->m_nOwner = m_nOwner;
        ++m_nCount;
    }
    pLanguage->m_hModule.store(hModule, std::memory_order_release);
    return pLanguage;
}

void CLanguageTable::CloseAll() noexcept
{
    const OCT::CCritSectGuard guard(&m_lock);
    m_nAnswers = 0;
    for (unsigned i = 0; i < m_nCount; ++i)
        if (const HMODULE hModule = m_languages[i].m_hModule.exchange(nullptr))
            FreeLibrary(hModule);
}
