#include "textviewer.h"

const WCHAR* PortTextViewer() noexcept
{
    return L"notepad.exe";
}
