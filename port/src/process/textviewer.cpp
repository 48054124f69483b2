#include "textviewer.h"

#include <windows.h>

/// Opens the file with the program that the user's desktop has for text.
const WCHAR* PortTextViewer() noexcept
{
    return u"xdg-open";
}
