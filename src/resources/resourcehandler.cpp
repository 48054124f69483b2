#include "orvcomtypes/resourcehandler.h"

#include "core/lifecycle.h"

#include <atomic>

namespace
{

constinit std::atomic<HINSTANCE> g_hInstance = nullptr;
constinit thread_local HINSTANCE t_hInstance = nullptr;

void DestroyResourceHandler()
{
    CResourceHandler::DestroyGlobal();
    CResourceHandler::DestroyThreadLocal();
}

void EnterTeardownHook()
{
    g_TeardownHooks.m_fnDestroyResourceHandler.store(DestroyResourceHandler, std::memory_order_release);
}

} // namespace

HINSTANCE CResourceHandler::GetHandle() noexcept
{
    return t_hInstance != nullptr ? t_hInstance : g_hInstance.load(std::memory_order_acquire);
}

void CResourceHandler::SetHandle(HINSTANCE hInstance) noexcept
{
    EnterTeardownHook();
    g_hInstance.store(hInstance, std::memory_order_release);
}

void CResourceHandler::SetThreadHandle(HINSTANCE hInstance) noexcept
{
    EnterTeardownHook();
    t_hInstance = hInstance;
}
