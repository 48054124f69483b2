// The tool orvsettings: reads and changes settings of the user and of the machine.
#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

using CText = std::basic_string<WCHAR>;
using ToolProgress = std::function<void(std::size_t nDone, std::size_t nAll)>;

enum ToolResult
{
    eDone = 0,
    eNotFound = 1, ///< no such value, key or file
    eBadUsage = 2, ///< the arguments make no sense; nothing was done
    eFailed = 3,   ///< the registry refused, or a file could not be read or written
    eBadLines = 4  ///< lines of a file are not understood
};

/// Runs the tool with the arguments behind its name. What it prints is UTF-8, for the standard output and for
/// the error stream. \p progress is told of each step of a change that has many.
ToolResult RunTool(
    const std::vector<CText>& args, std::string& sOutput, std::string& sErrors,
    const ToolProgress& progress = [](std::size_t, std::size_t) {});

/// UTF-8 of any 16-bit text.
std::string Utf8(const CText& sText);
