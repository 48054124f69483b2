#include "abi/plugin.h"

namespace
{

int* g_pCounter = nullptr;

void ORVCALL Uninit()
{
    ++*g_pCounter;
}

} // namespace

ORV_EXTERN_C ORV_API void SetCounter(int* pCounter)
{
    g_pCounter = pCounter;
}

ORV_EXTERN_C ORV_API PluginUninit GetUninit()
{
    return Uninit;
}
