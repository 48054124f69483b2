#include "orvcomtypes/xmlstreamwrite.h"

#include "builders/xmloutput.h"
#include "builders/xmlwritestate.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/wrtstream.h"
#include "orvcomtypes/xmlvalue.h"

#include <windows.h>

#include <new>

namespace
{

/// The condition that the program has broken; null where it is the data's or the machine's fault.
const char* ConditionOf(LQXMLError eError)
{
    switch (eError)
    {
    case lqxName: return "IsName(sName)";
    case lqxNamespace: return "IsBound(sPrefix)";
    case lqxDuplicate: return "IsNew(sName)";
    case lqxNesting: return "MayStandHere()";
    default: return nullptr;
    }
}

void SetError(CXMLWriteState& state, LQXMLError eError, const char* sFunction) noexcept
{
    state.m_eError = state.m_out.GetError() != ERROR_SUCCESS ? lqxStream : eError;
    if (const char* const sCondition = ConditionOf(state.m_eError))
        ORV_REPORT(sFunction, sCondition);
}

/// Makes a call, unless an error stands or the document is finished. True when it was taken.
template <class Call>
bool Run(CXMLWriteState& state, const char* sFunction, Call call) noexcept
{
    if (state.m_eError != lqxNone)
        return false;
    LQXMLError eError = lqxNesting;
    try
    {
        if (!state.m_bFinished)
            eError = call();
    }
    catch (...)
    {
        eError = lqxMemory;
    }
    SetError(state, eError, sFunction);
    return state.m_eError == lqxNone;
}

} // namespace

CXMLStreamWrite::CXMLStreamWrite(OCT::IWrtStream& stream, const CXMLOptions& options)
    : m_pState(new (std::nothrow) CXMLWriteState(stream, options))
{
    if (m_pState == nullptr)
        LQThrowMemory(LQ_SRC_LOCATION);
}

CXMLStreamWrite::~CXMLStreamWrite()
{
    if (!m_pState->m_bFinished)
    {
        m_pState->m_out.Flush();
        if (m_pState->m_eError == lqxNone)
            ORV_REPORT("CXMLStreamWrite::~CXMLStreamWrite", "m_bFinished");
    }
    delete m_pState;
}

bool CXMLStreamWrite::StartElement(const WCHAR* sName, const WCHAR* sUri)
{
    return Run(*m_pState, "CXMLStreamWrite::StartElement",
               [&] { return m_pState->StartElement(sName, sUri); });
}

bool CXMLStreamWrite::EndElement()
{
    return Run(*m_pState, "CXMLStreamWrite::EndElement", [&] { return m_pState->EndElement(); });
}

bool CXMLStreamWrite::Element(const WCHAR* sName, const CXMLValue& value)
{
    return Run(*m_pState, "CXMLStreamWrite::Element", [&] { return m_pState->Element(sName, value); });
}

bool CXMLStreamWrite::DeclareNamespace(const WCHAR* sPrefix, const WCHAR* sUri)
{
    return Run(*m_pState, "CXMLStreamWrite::DeclareNamespace",
               [&] { return m_pState->DeclareNamespace(sPrefix, sUri); });
}

bool CXMLStreamWrite::Attribute(const WCHAR* sName, const CXMLValue& value)
{
    return Run(*m_pState, "CXMLStreamWrite::Attribute", [&] { return m_pState->Attribute(sName, value); });
}

bool CXMLStreamWrite::Text(const CXMLValue& value)
{
    return Run(*m_pState, "CXMLStreamWrite::Text",
               [&] { return m_pState->Content(value, OCT::EXMLPlace::Text); });
}

bool CXMLStreamWrite::CData(const CXMLValue& value)
{
    return Run(*m_pState, "CXMLStreamWrite::CData",
               [&] { return m_pState->Content(value, OCT::EXMLPlace::CData); });
}

bool CXMLStreamWrite::Comment(const WCHAR* sText)
{
    return Run(*m_pState, "CXMLStreamWrite::Comment", [&] { return m_pState->Comment(sText); });
}

bool CXMLStreamWrite::Instruction(const WCHAR* sTarget, const WCHAR* sData)
{
    return Run(*m_pState, "CXMLStreamWrite::Instruction",
               [&] { return m_pState->Instruction(sTarget, sData); });
}

bool CXMLStreamWrite::Flush()
{
    m_pState->m_out.Flush();
    if (m_pState->m_out.GetError() != ERROR_SUCCESS)
        m_pState->m_eError = lqxStream;
    return m_pState->m_eError == lqxNone;
}

bool CXMLStreamWrite::Finish()
{
    constexpr const char* sFunction = "CXMLStreamWrite::Finish";
    const bool bClosesOnly = m_pState->m_eError != lqxNone && !m_pState->m_bFinished;
    if (!bClosesOnly)
        return Run(*m_pState, sFunction, [&] { return m_pState->Finish(); });
    m_pState->Finish();
    return false;
}

LQXMLError CXMLStreamWrite::GetError() const noexcept
{
    return m_pState->m_eError;
}

DWORD CXMLStreamWrite::GetStreamError() const noexcept
{
    return m_pState->m_out.GetError();
}

void CXMLStreamWrite::ClearError() noexcept
{
    if (m_pState->m_eError != lqxStream)
        m_pState->m_eError = lqxNone;
}
