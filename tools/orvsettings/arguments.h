// The command line in 16-bit units, and the terminal, as each side has them.
#pragma once

#include "commands.h"

#include <vector>

/// The arguments behind the program's name; also makes the console show UTF-8.
std::vector<CText> ProgramArguments(int argc, char** argv);

bool IsErrorStreamATerminal();
