/// A static object that is constructed but never destroyed, so that threads and static destructors may use it
/// until the process ends. It stands in the module itself: a module that is unloaded leaves nothing behind.
#pragma once

#include <new>

template <class T>
class CNeverDestroyed
{
public:
    CNeverDestroyed() { ::new (m_storage) T; }
    CNeverDestroyed(const CNeverDestroyed&) = delete;
    CNeverDestroyed& operator=(const CNeverDestroyed&) = delete;

    T& Get() noexcept { return *std::launder(reinterpret_cast<T*>(m_storage)); }
    /// At an unload, when nobody can come any more: gives back what it holds outside of the module.
    void DestroyAtUnload() noexcept { Get().~T(); }

private:
    alignas(T) unsigned char m_storage[sizeof(T)];
};
