// The tool orvsettings: reads and changes settings of the user and of the machine.
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <string>
#include <vector>

using CText = std::basic_string<WCHAR>;

enum ToolResult
{
    eDone = 0,
    eNotFound = 1, ///< no such value, key or file
    eBadUsage = 2, ///< the arguments make no sense; nothing was done
    eFailed = 3,   ///< the registry refused, or a file could not be read or written
    eBadLines = 4  ///< imported, except for lines that could not be used
};

/// Runs the tool with the arguments behind its name. What it prints is UTF-8, for the standard output and for
/// the error stream.
ToolResult RunTool(const std::vector<CText>& args, std::string& sOutput, std::string& sErrors);
