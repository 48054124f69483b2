/// A value on its way into a document: narrow text is made wide, and what is wrong with it is known before
/// anything is written.
#pragma once

#include "builders/xmlchars.h"
#include "builders/xmloutput.h"
#include "orvcomtypes/xmlstreamwrite.h"
#include "orvcomtypes/xmlvalue.h"
#include "strings/textlen.h"

#include <windows.h>

namespace OCT
{

class CXMLShownValue
{
public:
    explicit CXMLShownValue(const CXMLValue& value) : m_value(value), m_eKind(value.m_eKind)
    {
        if (m_eKind == EKind::Wide)
            m_sText = TextView(static_cast<const WCHAR*>(value.m_p), value.m_n);
        else if (m_eKind == EKind::Ansi || m_eKind == EKind::UTF8)
            Widen();
        m_bSound = m_eKind != EKind::Wide || IsXMLText(m_sText);
    }
    CXMLShownValue(const CXMLShownValue&) = delete;
    CXMLShownValue& operator=(const CXMLShownValue&) = delete;

    bool IsNull() const noexcept { return m_eKind == EKind::Null; }
    bool IsEmpty() const noexcept { return m_eKind == EKind::Wide ? m_sText.empty() : m_value.m_n == 0; }

    /// Why it cannot be written. \p bReplace: forbidden characters can.
    LQXMLError GetError(bool bReplace) const noexcept
    {
        if (!m_bSound && !bReplace)
            return lqxCharacter;
        return m_eKind == EKind::None ? lqxValue : m_eKind == EKind::Memory ? lqxMemory : lqxNone;
    }

    void PutTo(CXMLOutput& out, EXMLPlace ePlace) const noexcept
    {
        switch (m_eKind)
        {
        case EKind::Wide:
            return m_bSound ? out.PutEscaped(m_sText, ePlace) : out.PutReplaced(m_sText, ePlace);
        case EKind::Base64: return out.PutBase64(static_cast<const unsigned char*>(m_value.m_p), m_value.m_n);
        case EKind::Hex: return out.PutHex(static_cast<const unsigned char*>(m_value.m_p), m_value.m_n);
        case EKind::Ids: return out.PutList(static_cast<const unsigned*>(m_value.m_p), m_value.m_n);
        default: return;
        }
    }

private:
    using EKind = CXMLValue::EKind;

    void Widen()
    {
        const auto* const s = static_cast<const char*>(m_value.m_p);
        const auto nLen = static_cast<unsigned>(m_value.m_n);
        if (nLen != 0 && m_eKind == EKind::Ansi)
            m_sWidened.Copy(s, nLen);
        else if (nLen != 0)
            m_sWidened.SetUTF8(s, nLen);
        const WCHAR* const sWide = m_sWidened;
        m_eKind = sWide != nullptr ? EKind::Wide : EKind::Memory;
        m_sText = TextView(sWide, SourceLength(sWide, 0));
    }

    const CXMLValue& m_value;
    EKind m_eKind;
    bool m_bSound; ///< no character is forbidden
    TextView m_sText;
    COrvStr m_sWidened;
};

} // namespace OCT
