#include "abi/plugin.h"

#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/octalloc.h"
#include "orvcomtypes/orvstr.h"

namespace
{

int* g_pCounter = nullptr;

void ORVCALL Uninit()
{
    ++*g_pCounter;
}

} // namespace

/// Not hidden, so that its pool is whatever the compiler makes of a template with such a type.
struct CPluginItem
{
    int m_nValue;
};

template <>
struct OCT::CPlexTypeName<CPluginItem>
{
    static constexpr CFixedText kText{"struct CPluginItem"};
};

using CItemPool = OCT::CPlexAlloc<CPluginItem, 4>;

PLUGIN_EXPORT void SetCounter(int* pCounter)
{
    g_pCounter = pCounter;
}

PLUGIN_EXPORT PluginUninit GetUninit()
{
    return Uninit;
}

PLUGIN_EXPORT bool Work()
{
    CPluginItem* items[10];
    for (CPluginItem*& pItem : items)
        pItem = new (CItemPool::AllocateItem()) CPluginItem{1};
    for (CPluginItem* const pItem : items)
        CItemPool::ReleaseItem(pItem);
    const COrvStr sText(ORVTEXT("text of the plugin"));
    try
    {
        LQThrowInvalidArg(LQ_SRC_LOCATION);
    }
    catch (const CLQExcept&)
    {
        return sText.GetLength() == 18;
    }
}

/// A class that only the plugin knows.
class CPluginExcept : public CLQExcept
{
public:
    using CLQExcept::CLQExcept;
    LQExcCategory GetCategory() const override { return lqeUserCancel; }
};

PLUGIN_EXPORT void Refuse()
{
    LQ_THROW(CPluginExcept, E_ABORT, GetErrorMessResId(lqeUserCancel, 0), LQ_SRC_LOCATION);
}

PLUGIN_EXPORT int CodeOf(void (*pfn)())
{
    try
    {
        pfn();
        return 0;
    }
    catch (const CLQExcept& e)
    {
        return e.GetErrorCode();
    }
}

PLUGIN_EXPORT void Close()
{
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const WCHAR*>(&Close), &hModule);
    CallPlexedAllocUninit(hModule);
}
