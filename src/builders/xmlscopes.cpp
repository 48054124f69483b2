#include "builders/xmlscopes.h"

#include "builders/xmlchars.h"
#include "orvcomtypes/orvexport.h"
#include "strings/textlen.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

namespace OCT
{
namespace
{

template <class Item>
void MakeRoomForOne(std::vector<Item>& items)
{
    if (items.size() == items.capacity())
        items.reserve(2 * items.size() + 16);
}

} // namespace

CXMLScopes::CSpan CXMLScopes::Add(TextView s, CText& sTexts)
{
    const CSpan span{sTexts.size(), s.size()};
    sTexts.append(s);
    return span;
}

CXMLScopes::CNameSpan CXMLScopes::Add(const CXMLName& name, CText& sTexts)
{
    return {Add(name.m_sAll, sTexts), name.m_sPrefix.size()};
}

// ---- Elements ----

void CXMLScopes::MakeRoom(std::size_t nUnits)
{
    MakeRoomForOne(m_elements);
    MakeRoomForOne(m_bindings);
    if (m_sTexts.capacity() - m_sTexts.size() < nUnits)
        m_sTexts.reserve(2 * m_sTexts.size() + nUnits);
}

void CXMLScopes::Push(const CXMLName& name) noexcept
{
    m_elements.push_back({Add(name, m_sTexts), m_bindings.size(), false, false});
}

void CXMLScopes::Bind(TextView sPrefix, TextView sUri) noexcept
{
    m_bindings.push_back({Add(sPrefix, m_sTexts), Add(sUri, m_sTexts)});
}

void CXMLScopes::Pop() noexcept
{
    const CElement& element = m_elements.back();
    m_bindings.resize(element.m_nBindings);
    m_sTexts.resize(element.m_name.m_all.m_nStart);
    m_elements.pop_back();
}

// ---- Namespaces ----

std::optional<TextView> CXMLScopes::UriOf(TextView sPrefix) const noexcept
{
    for (std::size_t i = m_bindings.size(); i-- > 0;)
        if (View(m_bindings[i].m_prefix, m_sTexts) == sPrefix)
            return View(m_bindings[i].m_uri, m_sTexts);
    if (sPrefix.empty())
        return TextView();
    return sPrefix == Literal(ORVTEXT("xml")) ? std::optional(kXMLUri) : std::nullopt;
}

bool CXMLScopes::IsUsedInTag(TextView sPrefix) const noexcept
{
    const CElement& element = m_elements.back();
    return Prefix(element.m_name, m_sTexts) == sPrefix ||
           std::any_of(
               m_bindings.begin() + static_cast<std::ptrdiff_t>(element.m_nBindings), m_bindings.end(),
               [&](const CBinding& binding) { return View(binding.m_prefix, m_sTexts) == sPrefix; }) ||
           std::any_of(m_attributes.begin(), m_attributes.end(), [&](const CNameSpan& name) {
               return name.m_nPrefix != 0 && Prefix(name, m_sAttributes) == sPrefix;
           });
}

// ---- Attributes ----

bool CXMLScopes::IsNewAttribute(const CXMLName& name) const noexcept
{
    return std::none_of(m_attributes.begin(), m_attributes.end(), [&](const CNameSpan& other) {
        const TextView sAll = View(other.m_all, m_sAttributes);
        if (sAll == name.m_sAll)
            return true;
        if (name.m_sPrefix.empty() || other.m_nPrefix == 0 || !sAll.ends_with(name.m_sLocal))
            return false;
        return sAll.size() == other.m_nPrefix + 1 + name.m_sLocal.size() &&
               UriOf(Prefix(other, m_sAttributes)) == UriOf(name.m_sPrefix);
    });
}

void CXMLScopes::AddAttribute(const CXMLName& name)
{
    MakeRoomForOne(m_attributes);
    m_attributes.push_back(Add(name, m_sAttributes));
}

} // namespace OCT
