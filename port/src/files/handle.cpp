#include "files/handle.h"

#include <windows.h>

BOOL CloseHandle(HANDLE hObject) noexcept
{
    auto* pObject = CPortObject::Of<CPortObject>(hObject);
    if (pObject)
        pObject->Release();
    return pObject != nullptr;
}
