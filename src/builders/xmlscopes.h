/// The elements of a document that are open, the namespaces that hold there, and the attributes of a start
/// tag that is being written.
#pragma once

#include "builders/xmlchars.h"
#include "orvcomtypes/orvexport.h"
#include "strings/textlen.h"

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace OCT
{

/// What the prefix "xml" stands for everywhere.
constexpr TextView kXMLUri = Literal(ORVTEXT("http://www.w3.org/XML/1998/namespace"));

class CXMLScopes
{
public:
    // ---- Elements ----

    std::size_t Depth() const noexcept { return m_elements.size(); }
    /// The innermost element's name as it is written.
    TextView Name() const noexcept { return View(m_elements.back().m_name.m_all, m_sTexts); }
    bool HasText() const noexcept { return Depth() != 0 && m_elements.back().m_bText; }
    bool HasItems() const noexcept { return Depth() != 0 && m_elements.back().m_bItems; }
    void NoteText() noexcept { m_elements.back().m_bText = true; }
    void NoteItem() noexcept
    {
        if (Depth() != 0)
            m_elements.back().m_bItems = true;
    }

    /// Memory for one element or binding whose texts have up to \p nUnits; throws `std::bad_alloc`, and then
    /// nothing has changed.
    void MakeRoom(std::size_t nUnits);
    // After MakeRoom.
    void Push(const CXMLName& name) noexcept;
    void Bind(TextView sPrefix, TextView sUri) noexcept;
    void Pop() noexcept;

    // ---- Namespaces ----

    /// What a prefix stands for; the empty one stands for no namespace at first.
    std::optional<TextView> UriOf(TextView sPrefix) const noexcept;
    /// Whether the start tag being written has used or bound a prefix.
    bool IsUsedInTag(TextView sPrefix) const noexcept;

    // ---- Attributes of the start tag ----

    /// Whether no attribute has that name, also by another prefix.
    bool IsNewAttribute(const CXMLName& name) const noexcept;
    /// Throws `std::bad_alloc`, and then nothing has changed.
    void AddAttribute(const CXMLName& name);
    void EndTag() noexcept
    {
        m_attributes.clear();
        m_sAttributes.clear();
    }

private:
    using CText = std::basic_string<WCHAR>;

    struct CSpan
    {
        std::size_t m_nStart;
        std::size_t m_nUnits;
    };
    struct CNameSpan
    {
        CSpan m_all;
        std::size_t m_nPrefix;
    };
    struct CElement
    {
        CNameSpan m_name;
        std::size_t m_nBindings; ///< that hold outside of it
        bool m_bText;
        bool m_bItems;
    };
    struct CBinding
    {
        CSpan m_prefix;
        CSpan m_uri;
    };

    static TextView View(CSpan span, const CText& sTexts) noexcept
    {
        return TextView(sTexts).substr(span.m_nStart, span.m_nUnits);
    }
    static TextView Prefix(const CNameSpan& name, const CText& sTexts) noexcept
    {
        return View({name.m_all.m_nStart, name.m_nPrefix}, sTexts);
    }
    static CSpan Add(TextView s, CText& sTexts);
    static CNameSpan Add(const CXMLName& name, CText& sTexts);

    CText m_sTexts; ///< names and bindings, the innermost last
    std::vector<CElement> m_elements;
    std::vector<CBinding> m_bindings;
    CText m_sAttributes;
    std::vector<CNameSpan> m_attributes;
};

} // namespace OCT
