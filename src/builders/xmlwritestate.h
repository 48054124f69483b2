/// Where a document stands, and what may follow.
#pragma once

#include "builders/xmlchars.h"
#include "builders/xmloutput.h"
#include "builders/xmlscopes.h"
#include "orvcomtypes/wrtstream.h"
#include "orvcomtypes/xmlstreamwrite.h"
#include "orvcomtypes/xmlvalue.h"
#include "strings/textlen.h"

#include <windows.h>

#include <cstddef>

namespace OCT
{

class CXMLShownValue;

} // namespace OCT

/// The public calls. Each checks everything first, and writes nothing when it returns an error or throws,
/// which only missing memory does.
class CXMLWriteState
{
public:
    CXMLWriteState(OCT::IWrtStream& stream, const CXMLOptions& options) noexcept;

    LQXMLError StartElement(const WCHAR* sName, const WCHAR* sUri);
    LQXMLError EndElement() noexcept;
    LQXMLError Element(const WCHAR* sName, const CXMLValue& value);
    LQXMLError DeclareNamespace(const WCHAR* sPrefix, const WCHAR* sUri);
    LQXMLError Attribute(const WCHAR* sName, const CXMLValue& value);
    LQXMLError Content(const CXMLValue& value, OCT::EXMLPlace ePlace);
    LQXMLError Comment(const WCHAR* sText);
    LQXMLError Instruction(const WCHAR* sTarget, const WCHAR* sData);
    /// Closes what is open and gives all on.
    LQXMLError Finish() noexcept;

    LQXMLError m_eError = lqxNone;
    bool m_bFinished = false;
    OCT::CXMLOutput m_out;

private:
    using TextView = OCT::TextView;

    LQXMLError SplitElementName(const WCHAR* sName, OCT::CXMLName& name) const noexcept;
    bool IsBound(TextView sPrefix) const noexcept;
    LQXMLError ErrorOf(TextView s, TextView sEnd) const noexcept;

    void EndTag() noexcept;
    void BeginItem() noexcept;
    void PutTagName(const OCT::CXMLName& name) noexcept;
    void PutLineEnd(std::size_t nDepth) noexcept;
    void PutBinding(TextView sPrefix, TextView sUri) noexcept;
    void PutNil() noexcept;
    void PutEndElement() noexcept;

    const CXMLOptions m_options;
    bool m_bBegun;           ///< something stands before what comes next
    bool m_bTagOpen = false; ///< of the innermost element
    bool m_bHasRoot = false;
    OCT::CXMLScopes m_scopes;
};
