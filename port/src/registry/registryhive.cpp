#include "registry/registryhive.h"

#include "registry/hivefile.h"
#include "registry/registrydoc.h"
#include "registry/registrytext.h"
#include "registryreading.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>

__thread CRegistryReading* CRegistryReading::t_pCurrent;

namespace OrvPort
{
namespace
{

void ReportBadLines(const std::string& sFile, const CRegDocument& document)
{
    for (const CRegBadLine& line : document.BadLines())
    {
        std::string sMessage = sFile + "(" + std::to_string(line.m_nLine) + "): registry line ignored, ";
        sMessage += std::string(line.m_sFault) + ": " + EncodeRegText(line.m_sText, {}) + "\n";
        std::replace(sMessage.begin(), sMessage.end(), '\0', '?');
        OutputDebugStringA(sMessage.c_str());
    }
}

} // namespace

CRegHive::CRegHive(int nHive, CRegView sRoot, CRegView sShortRoot, std::string (*fnFile)())
    : m_nHive(nHive), m_empty(sRoot, sShortRoot), m_fnFile(fnFile)
{
}

const CHiveFile& CRegHive::File()
{
    const std::lock_guard guard(m_lock);
    if (m_file.Name().empty())
        m_file = CHiveFile(m_fnFile(), m_nHive == 0);
    return m_file;
}

LSTATUS CRegHive::ReadDocument(Document& pDocument)
{
    CRegistryReading* const pReading = CRegistryReading::Current();
    if (pReading == nullptr)
        return Refresh(pDocument);
    auto& pSeen = pReading->Seen(m_nHive);
    pDocument = std::static_pointer_cast<const CRegDocument>(pSeen);
    if (pDocument != nullptr)
        return ERROR_SUCCESS;
    const LSTATUS lStatus = Refresh(pDocument);
    pSeen = pDocument;
    return lStatus;
}

/// The document of the file as it is now.
LSTATUS CRegHive::Refresh(Document& pDocument)
{
    const std::lock_guard guard(m_lock);
    CHiveStamp stamp;
    const CHiveFile& file = File();
    const bool bReadable = file.Look(stamp) == ERROR_SUCCESS;
    if (bReadable && m_pDocument != nullptr && stamp == m_stamp)
    {
        pDocument = m_pDocument;
        return ERROR_SUCCESS;
    }
    m_pDocument = nullptr;
    const auto pNew = std::make_shared<CRegDocument>(m_empty);
    bool bSettled;
    const LSTATUS lStatus = file.Load(*pNew, m_stamp, bSettled);
    if (lStatus != ERROR_SUCCESS)
        return lStatus;
    ReportBadLines(file.Name(), *pNew);
    pDocument = pNew;
    if (bSettled)
        m_pDocument = pDocument;
    return ERROR_SUCCESS;
}

LSTATUS CRegHive::Write(const Change& change)
{
    CHiveWriter writer(File());
    return RetryWhileLocked([&]() -> LSTATUS {
        const std::lock_guard guard(m_writeLock);
        LSTATUS lStatus = writer.TryBegin();
        if (lStatus == ERROR_SUCCESS)
            lStatus = WriteInTurn(writer, change);
        writer.End();
        return lStatus;
    });
}

LSTATUS CRegHive::WriteInTurn(CHiveWriter& writer, const Change& change)
{
    Document pOld;
    LSTATUS lStatus = Refresh(pOld);
    if (lStatus != ERROR_SUCCESS)
        return lStatus;
    const auto pNew = std::make_shared<CRegDocument>(*pOld);
    bool bChanged = false;
    lStatus = change(*pNew, bChanged);
    if (lStatus == ERROR_SUCCESS && bChanged)
    {
        lStatus = writer.Prepare(pNew->Store());
        if (lStatus == ERROR_SUCCESS)
            lStatus = writer.Commit();
        if (lStatus == ERROR_SUCCESS)
        {
            const std::lock_guard guard(m_lock);
            m_pDocument = pNew;
            m_stamp = writer.Stamp();
        }
    }
    return lStatus;
}

} // namespace OrvPort
