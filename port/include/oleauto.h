// OLE Automation. Strings are declared with the rest in windows.h; the name is here because Windows keeps
// them apart.
#pragma once

#include <oaidl.h>
