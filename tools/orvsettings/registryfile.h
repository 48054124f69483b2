// Registry files, as they are imported.
#pragma once

#include "commands.h"
#include "store.h"

#include <vector>

/// What a file says, and what of it is not understood.
struct CRegistryFile
{
    std::vector<CChange> m_changes;
    std::vector<CBadLine> m_badLines;
};

/// Reads a whole file. \p pScope: the hive for all keys, null for the one that each key names.
CRegistryFile ReadRegistryFile(const CText& sFile, const CScope* pScope);

/// A path without needless backslashes, as registry texts have it.
CText CleanPath(const CText& sPath);

/// Why no key can have that path, or null.
const char* PathFault(const CText& sPath);

/// The failure of a file, with the reason that the system gave last.
CToolError FileError(ToolResult result, const char* sWhat, const CText& sFile);
