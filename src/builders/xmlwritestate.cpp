#include "builders/xmlwritestate.h"

#include "builders/xmlchars.h"
#include "builders/xmloutput.h"
#include "builders/xmlscopes.h"
#include "builders/xmlshownvalue.h"
#include "core/charclass.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/wrtstream.h"
#include "orvcomtypes/xmlstreamwrite.h"
#include "orvcomtypes/xmlvalue.h"
#include "strings/textlen.h"

#include <windows.h>

#include <cstddef>

using OCT::CXMLName;
using OCT::CXMLShownValue;
using OCT::EXMLPlace;
using OCT::TextView;

namespace
{

constexpr TextView kXml = OCT::Literal(ORVTEXT("xml"));
constexpr TextView kXmlns = OCT::Literal(ORVTEXT("xmlns"));
constexpr TextView kXmlnsUri = OCT::Literal(ORVTEXT("http://www.w3.org/2000/xmlns/"));
constexpr TextView kNilPrefix = OCT::Literal(ORVTEXT("xsi"));
constexpr TextView kNilUri = OCT::Literal(ORVTEXT("http://www.w3.org/2001/XMLSchema-instance"));

TextView ViewOf(const WCHAR* s)
{
    return TextView(s, OCT::SourceLength(s, 0));
}

/// Two prefixes and their namespaces belong to XML itself, and only names without a prefix can be taken out
/// of their namespace.
LQXMLError ErrorOfBinding(TextView sPrefix, TextView sUri)
{
    if (sPrefix == kXml || sPrefix == kXmlns || sUri == OCT::kXMLUri || sUri == kXmlnsUri ||
        (!sPrefix.empty() && sUri.empty()))
        return lqxNamespace;
    return OCT::IsXMLText(sUri) ? lqxNone : lqxCharacter;
}

} // namespace

CXMLWriteState::CXMLWriteState(OCT::IWrtStream& stream, const CXMLOptions& options) noexcept
    : m_out(stream, stream.IsWide() || options.m_eEncoding == lqxUTF16),
      m_options(options),
      m_bBegun(options.m_bDeclaration)
{
    const bool bWide = stream.IsWide();
    const bool bUTF16 = bWide || options.m_eEncoding == lqxUTF16;
    if (!bWide && (bUTF16 || options.m_bUTF8Mark))
        m_out.Put(WCHAR{0xFEFF});
    if (options.m_bDeclaration)
    {
        m_out.Put(ORVTEXT("<?xml version=\"1.0\" encoding=\"UTF-"));
        m_out.Put(bUTF16 ? OCT::Literal(ORVTEXT("16\"?>")) : OCT::Literal(ORVTEXT("8\"?>")));
    }
}

// ---- What may follow ----

/// The name of an element that may stand here.
LQXMLError CXMLWriteState::SplitElementName(const WCHAR* sName, CXMLName& name) const noexcept
{
    if (!name.Split(sName))
        return lqxName;
    return m_scopes.Depth() != 0 || !m_bHasRoot ? lqxNone : lqxNesting;
}

bool CXMLWriteState::IsBound(TextView sPrefix) const noexcept
{
    return sPrefix.empty() || m_scopes.UriOf(sPrefix);
}

/// Whether a text may stand in a comment or an instruction, of whose end \p sEnd reminds.
LQXMLError CXMLWriteState::ErrorOf(TextView s, TextView sEnd) const noexcept
{
    if (m_options.m_bReplace)
        return lqxNone;
    return OCT::IsXMLText(s) && s.find(sEnd) == TextView::npos ? lqxNone : lqxCharacter;
}

// ---- Pieces ----

/// Completes the start tag.
void CXMLWriteState::EndTag() noexcept
{
    if (!m_bTagOpen)
        return;
    m_out.Put(ORVTEXT('>'));
    m_bTagOpen = false;
    m_scopes.EndTag();
}

/// What is no text begins: on a line of its own where that adds nothing to a text.
void CXMLWriteState::BeginItem() noexcept
{
    EndTag();
    if (m_bBegun && !m_scopes.HasText())
        PutLineEnd(m_scopes.Depth());
    m_bBegun = true;
    m_scopes.NoteItem();
}

void CXMLWriteState::PutTagName(const CXMLName& name) noexcept
{
    BeginItem();
    m_bHasRoot = true;
    m_out.Put(ORVTEXT('<'));
    m_out.Put(name.m_sAll);
}

void CXMLWriteState::PutLineEnd(std::size_t nDepth) noexcept
{
    if (m_options.m_nIndent == 0)
        return;
    m_out.Put(ORVTEXT('\n'));
    for (std::size_t n = nDepth * m_options.m_nIndent; n != 0; --n)
        m_out.Put(ORVTEXT(' '));
}

void CXMLWriteState::PutBinding(TextView sPrefix, TextView sUri) noexcept
{
    m_out.Put(ORVTEXT(" xmlns"));
    if (!sPrefix.empty())
        m_out.Put(ORVTEXT(':'));
    m_out.Put(sPrefix);
    m_out.Put(ORVTEXT("=\""));
    m_out.PutEscaped(sUri, EXMLPlace::Attribute);
    m_out.Put(ORVTEXT('"'));
}

/// All of an element behind its name.
void CXMLWriteState::PutNil() noexcept
{
    if (m_scopes.UriOf(kNilPrefix) != kNilUri)
        PutBinding(kNilPrefix, kNilUri);
    m_out.Put(ORVTEXT(" xsi:nil=\"true\"/>"));
}

void CXMLWriteState::PutEndElement() noexcept
{
    if (m_bTagOpen)
    {
        m_out.Put(ORVTEXT("/>"));
        m_bTagOpen = false;
        m_scopes.EndTag();
    }
    else
    {
        if (m_scopes.HasItems() && !m_scopes.HasText())
            PutLineEnd(m_scopes.Depth() - 1);
        m_out.Put(ORVTEXT("</"));
        m_out.Put(m_scopes.Name());
        m_out.Put(ORVTEXT('>'));
    }
    m_scopes.Pop();
}

// ---- Elements ----

LQXMLError CXMLWriteState::StartElement(const WCHAR* sName, const WCHAR* sUri)
{
    CXMLName name;
    if (const LQXMLError eError = SplitElementName(sName, name); eError != lqxNone)
        return eError;
    const TextView sNewUri = ViewOf(sUri);
    const bool bBinds = sUri != nullptr && m_scopes.UriOf(name.m_sPrefix) != sNewUri;
    if (!bBinds && !IsBound(name.m_sPrefix))
        return lqxNamespace;
    if (const LQXMLError eError = bBinds ? ErrorOfBinding(name.m_sPrefix, sNewUri) : lqxNone;
        eError != lqxNone)
        return eError;
    m_scopes.MakeRoom(name.m_sAll.size() + name.m_sPrefix.size() + sNewUri.size());
    PutTagName(name);
    m_scopes.Push(name);
    if (bBinds)
    {
        m_scopes.Bind(name.m_sPrefix, sNewUri);
        PutBinding(name.m_sPrefix, sNewUri);
    }
    m_bTagOpen = true;
    return lqxNone;
}

LQXMLError CXMLWriteState::EndElement() noexcept
{
    if (m_scopes.Depth() == 0)
        return lqxNesting;
    PutEndElement();
    return lqxNone;
}

LQXMLError CXMLWriteState::Element(const WCHAR* sName, const CXMLValue& value)
{
    CXMLName name;
    if (const LQXMLError eError = SplitElementName(sName, name); eError != lqxNone)
        return eError;
    const CXMLShownValue shown(value);
    const bool bNil = shown.IsNull() && m_options.m_eNull == lqxNil;
    // The mark of NULL has a prefix, which must stand for two namespaces if it is the element's own as well.
    const bool bTwice = bNil && name.m_sPrefix == kNilPrefix && m_scopes.UriOf(kNilPrefix) != kNilUri;
    if (bTwice || !IsBound(name.m_sPrefix))
        return lqxNamespace;
    if (const LQXMLError eError = shown.GetError(m_options.m_bReplace); eError != lqxNone)
        return eError;
    if (shown.IsNull() && !bNil)
        return lqxNone;
    PutTagName(name);
    if (bNil)
        return PutNil(), lqxNone;
    if (shown.IsEmpty())
        return m_out.Put(ORVTEXT("/>")), lqxNone;
    m_out.Put(ORVTEXT('>'));
    shown.PutTo(m_out, EXMLPlace::Text);
    m_out.Put(ORVTEXT("</"));
    m_out.Put(name.m_sAll);
    m_out.Put(ORVTEXT('>'));
    return lqxNone;
}

// ---- Behind the name of an element ----

LQXMLError CXMLWriteState::DeclareNamespace(const WCHAR* sPrefix, const WCHAR* sUri)
{
    const TextView sNewPrefix = ViewOf(sPrefix);
    const TextView sNewUri = ViewOf(sUri);
    if (!m_bTagOpen)
        return lqxNesting;
    if (!sNewPrefix.empty() && !OCT::IsXMLName(sNewPrefix))
        return lqxName;
    if (m_scopes.UriOf(sNewPrefix) == sNewUri)
        return lqxNone;
    if (m_scopes.IsUsedInTag(sNewPrefix))
        return lqxNamespace;
    if (const LQXMLError eError = ErrorOfBinding(sNewPrefix, sNewUri); eError != lqxNone)
        return eError;
    m_scopes.MakeRoom(sNewPrefix.size() + sNewUri.size());
    m_scopes.Bind(sNewPrefix, sNewUri);
    PutBinding(sNewPrefix, sNewUri);
    return lqxNone;
}

LQXMLError CXMLWriteState::Attribute(const WCHAR* sName, const CXMLValue& value)
{
    CXMLName name;
    if (!m_bTagOpen)
        return lqxNesting;
    if (!name.Split(sName) || name.m_sAll == kXmlns || name.m_sPrefix == kXmlns)
        return lqxName;
    if (!IsBound(name.m_sPrefix))
        return lqxNamespace;
    if (!m_scopes.IsNewAttribute(name))
        return lqxDuplicate;
    const CXMLShownValue shown(value);
    if (const LQXMLError eError = shown.GetError(m_options.m_bReplace); eError != lqxNone)
        return eError;
    if (shown.IsNull())
        return lqxNone;
    m_scopes.AddAttribute(name);
    m_out.Put(ORVTEXT(' '));
    m_out.Put(name.m_sAll);
    m_out.Put(ORVTEXT("=\""));
    shown.PutTo(m_out, EXMLPlace::Attribute);
    m_out.Put(ORVTEXT('"'));
    return lqxNone;
}

// ---- Content ----

LQXMLError CXMLWriteState::Content(const CXMLValue& value, EXMLPlace ePlace)
{
    if (m_scopes.Depth() == 0)
        return lqxNesting;
    const CXMLShownValue shown(value);
    if (const LQXMLError eError = shown.GetError(m_options.m_bReplace); eError != lqxNone)
        return eError;
    if (shown.IsNull() || shown.IsEmpty())
        return lqxNone;
    EndTag();
    m_scopes.NoteText();
    if (ePlace == EXMLPlace::CData)
        m_out.Put(ORVTEXT("<![CDATA["));
    shown.PutTo(m_out, ePlace);
    if (ePlace == EXMLPlace::CData)
        m_out.Put(ORVTEXT("]]>"));
    return lqxNone;
}

LQXMLError CXMLWriteState::Comment(const WCHAR* sText)
{
    const TextView s = ViewOf(sText);
    if (const LQXMLError eError = ErrorOf(s, OCT::Literal(ORVTEXT("--"))); eError != lqxNone)
        return eError;
    if (s.ends_with(ORVTEXT('-')) && !m_options.m_bReplace)
        return lqxCharacter;
    BeginItem();
    m_out.Put(ORVTEXT("<!--"));
    m_out.PutParted(s, ORVTEXT('-'), ORVTEXT('-'));
    if (s.ends_with(ORVTEXT('-')))
        m_out.Put(ORVTEXT(' '));
    m_out.Put(ORVTEXT("-->"));
    return lqxNone;
}

LQXMLError CXMLWriteState::Instruction(const WCHAR* sTarget, const WCHAR* sData)
{
    const TextView target = ViewOf(sTarget);
    const TextView data = ViewOf(sData);
    if (!OCT::IsXMLName(target) || (target.size() == kXml.size() && OCT::IsSameText(sTarget, kXml.data())))
        return lqxName;
    if (const LQXMLError eError = ErrorOf(data, OCT::Literal(ORVTEXT("?>"))); eError != lqxNone)
        return eError;
    BeginItem();
    m_out.Put(ORVTEXT("<?"));
    m_out.Put(target);
    if (!data.empty())
        m_out.Put(ORVTEXT(' '));
    m_out.PutParted(data, ORVTEXT('?'), ORVTEXT('>'));
    m_out.Put(ORVTEXT("?>"));
    return lqxNone;
}

LQXMLError CXMLWriteState::Finish() noexcept
{
    m_bFinished = true;
    while (m_scopes.Depth() != 0)
        PutEndElement();
    PutLineEnd(0);
    m_out.Flush();
    return m_bHasRoot ? lqxNone : lqxNesting;
}
