// The hives' files, read and replaced as the library does it.
#include "store.h"
#include "commands.h"

#include "registry/hivefile.h"
#include "registry/registrydoc.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

using namespace OrvPort;

namespace
{

CHiveFile FileOf(const CScope& scope)
{
    return scope.m_nHive == 0 ? CHiveFile(UserHiveFile(), true) : CHiveFile(MachineHiveFile(), false);
}

CRegDocument EmptyDocument(const CScope& scope)
{
    return scope.m_nHive == 0 ? CRegDocument(u"HKEY_CURRENT_USER", u"HKCU")
                              : CRegDocument(u"HKEY_LOCAL_MACHINE", u"HKLM");
}

void Check(LSTATUS lStatus, const CHiveFile& file)
{
    if (lStatus != ERROR_SUCCESS)
        throw CToolError(eFailed, file.Name() + ": " + StatusText(lStatus));
}

bool ApplyOne(CRegDocument& document, const CChange& change)
{
    switch (change.m_eKind)
    {
    case CChange::eCreateKey: return document.CreateKey(change.m_sPath);
    case CChange::eDeleteKey: return document.DeleteKey(change.m_sPath);
    case CChange::eDeleteValue: return document.DeleteValue(change.m_sPath, change.m_value.m_sName);
    default:
        return document.SetValue(change.m_sPath, change.m_value.m_sName, change.m_value.m_dwType,
                                 change.m_value.m_data);
    }
}

/// The turn at one hive, for as long as its changes take.
struct CTurn
{
    explicit CTurn(const CScope& scope)
        : m_file(FileOf(scope)), m_document(EmptyDocument(scope)), m_writer(m_file)
    {
        Check(RetryWhileLocked([this] { return m_writer.TryBegin(); }), m_file);
        CHiveStamp stamp;
        bool bSettled;
        Check(m_file.Load(m_document, stamp, bSettled), m_file);
    }

    CHiveFile m_file;
    CRegDocument m_document;
    CHiveWriter m_writer;
    bool m_bChanged = false;
};

} // namespace

/// A hive as it was when it was asked for first.
struct CStore::CHive
{
    explicit CHive(const CScope& scope) : m_file(FileOf(scope)), m_document(EmptyDocument(scope))
    {
        bool bSettled;
        m_lStatus = m_file.Load(m_document, m_stamp, bSettled);
    }

    CHiveFile m_file;
    CRegDocument m_document;
    CHiveStamp m_stamp;
    LSTATUS m_lStatus;
};

CStore::CStore() = default;
CStore::~CStore() = default;

CStore::CHive& CStore::Hive(const CScope& scope)
{
    auto& pHive = m_apHives[scope.m_nHive];
    if (pHive == nullptr)
        pHive = std::make_unique<CHive>(scope);
    return *pHive;
}

CHiveState CStore::State(const CScope& scope)
{
    const CHive& hive = Hive(scope);
    const bool bReadable = hive.m_lStatus == ERROR_SUCCESS;
    CHiveState state{hive.m_file.Name(), hive.m_stamp.m_bExists || !bReadable,
                     bReadable ? "" : StatusText(hive.m_lStatus)};
    for (const CRegBadLine& line : hive.m_document.BadLines())
        state.m_badLines.push_back({line.m_nLine, line.m_sText, line.m_sFault});
    return state;
}

std::optional<CStoredKey> CStore::ReadKey(const CScope& scope, const CText& sPath)
{
    const CHive& hive = Hive(scope);
    Check(hive.m_lStatus, hive.m_file);
    if (!hive.m_document.HasKey(sPath))
        return std::nullopt;
    CStoredKey key;
    for (const CRegEntry* pEntry : hive.m_document.Values(sPath))
        key.m_values.push_back({pEntry->m_sName, pEntry->m_dwType, pEntry->m_data});
    key.m_children = hive.m_document.Children(sPath);
    return key;
}

std::optional<CStoredValue> CStore::ReadValue(const CScope& scope, const CText& sPath, const CText& sName)
{
    const CHive& hive = Hive(scope);
    Check(hive.m_lStatus, hive.m_file);
    const CRegEntry* pEntry = hive.m_document.FindValue(sPath, sName);
    if (pEntry == nullptr)
        return std::nullopt;
    return CStoredValue{pEntry->m_sName, pEntry->m_dwType, pEntry->m_data};
}

/// Both hives are locked in the same order by every process, and both are prepared before the first is in
/// force.
void CStore::Apply(const std::vector<CChange>& changes, const ToolProgress& progress)
{
    std::array<std::unique_ptr<CTurn>, 2> apTurns;
    for (const CScope* pScope : {&kUserScope, &kMachineScope})
        if (std::any_of(changes.begin(), changes.end(),
                        [&](const CChange& c) { return c.m_pScope == pScope; }))
            apTurns[pScope->m_nHive] = std::make_unique<CTurn>(*pScope);
    for (std::size_t i = 0; i < changes.size(); ++i)
    {
        CTurn& turn = *apTurns[changes[i].m_pScope->m_nHive];
        turn.m_bChanged |= ApplyOne(turn.m_document, changes[i]);
        progress(i + 1, changes.size());
    }
    for (const auto& pTurn : apTurns)
        if (pTurn != nullptr && pTurn->m_bChanged)
            Check(pTurn->m_writer.Prepare(pTurn->m_document.Store()), pTurn->m_file);
    for (const auto& pTurn : apTurns)
        if (pTurn != nullptr && pTurn->m_bChanged)
            Check(pTurn->m_writer.Commit(), pTurn->m_file);
}
