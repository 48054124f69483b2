// Hive files: what is read is written back as what reads the same, also after changes, and a change is read
// back as it was made. Where a line is broken it may have lost a quote, and what that takes with it depends
// on all that follows; then nothing but the reading is tried.
#include "fuzzing.h"
#include "registry/registrydoc.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

using namespace OrvPort;
/// Every key's values: name, type, data.
using CContent = std::map<CRegString, std::vector<std::tuple<CRegString, DWORD, CRegData>>>;

CContent ContentOf(const CRegDocument& document)
{
    CContent content;
    std::vector<CRegString> paths(1); // the hive itself
    while (!paths.empty())
    {
        const CRegString sPath = paths.back();
        paths.pop_back();
        Require(sPath.empty() || document.HasKey(sPath));
        auto& values = content[sPath];
        for (const CRegEntry* pEntry : document.Values(sPath))
        {
            values.emplace_back(pEntry->m_sName, pEntry->m_dwType, pEntry->m_data);
            Require(document.FindValue(sPath, pEntry->m_sName) == pEntry);
        }
        for (const CRegString& sChild : document.Children(sPath))
            paths.push_back(sPath.empty() ? sChild : sPath + ORVTEXT('\\') + sChild);
    }
    return content;
}

CRegDocument Loaded(std::string_view sBytes)
{
    CRegDocument document(ORVTEXT("HKEY_CURRENT_USER"), ORVTEXT("HKCU"));
    document.Load(sBytes);
    return document;
}

CContent CheckStored(const CRegDocument& document)
{
    const std::string sStored = document.Store();
    const CRegDocument again = Loaded(sStored);
    CContent content = ContentOf(document);
    Require(content == ContentOf(again) && sStored == again.Store());
    return content;
}

/// Changes what the input names, in a copy: a value is stored, one is removed, a key goes with all below.
void CheckChanges(const CRegDocument& before, const CContent& content, std::string_view sBytes)
{
    const auto nKey =
        static_cast<std::ptrdiff_t>(static_cast<unsigned char>(sBytes.front()) % content.size());
    const CRegString sPath = std::next(content.begin(), nKey)->first;
    const std::string sNarrow = std::string(sBytes).c_str(); // up to the first zero
    const CRegString sName(sNarrow.begin(), sNarrow.end());
    const CRegData data(sBytes.begin(), sBytes.end());
    const DWORD dwType = static_cast<unsigned char>(sBytes.back()) % 12;
    CRegDocument document = before;
    document.SetValue(sPath, sName, dwType, data);
    CheckStored(document);
    const CRegDocument again = Loaded(document.Store());
    const CRegEntry* const pEntry = again.FindValue(sPath, sName);
    Require(pEntry != nullptr && pEntry->m_dwType == dwType && pEntry->m_data == data);
    Require(document.DeleteValue(sPath, sName) && document.FindValue(sPath, sName) == nullptr);
    CheckStored(document);
    if (!sPath.empty())
        Require(document.DeleteKey(sPath) && !document.HasKey(sPath));
    CheckStored(document);
    Require(ContentOf(before) == content); // a copy shares nothing that changes
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const std::string_view sBytes(reinterpret_cast<const char*>(pData), nSize);
    const CRegDocument document = Loaded(sBytes);
    if (!document.BadLines().empty())
    {
        ContentOf(Loaded(document.Store()));
        return 0;
    }
    const CContent content = CheckStored(document);
    if (!sBytes.empty())
        CheckChanges(document, content,
                     sBytes.substr(sBytes.size() - std::min<std::size_t>(sBytes.size(), 40)));
    return 0;
}
