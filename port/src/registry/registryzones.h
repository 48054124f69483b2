// The time-zone keys of the machine's hive, where its file has none.
#pragma once

#include "registry/registrydoc.h"
#include "registry/registrytext.h"

#include <vector>

namespace OrvPort
{

/// The values of the time-zone key with that path below HKEY_LOCAL_MACHINE; empty when it is none.
std::vector<CRegEntry> ServeZoneKey(CRegView sPath);

} // namespace OrvPort
