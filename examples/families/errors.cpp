// The process log and exceptions: a failure is raised, logged where it was raised, and told to the user.
#include <orvcomtypes/lqexcept.h>
#include <orvcomtypes/octalloc.h>
#include <orvcomtypes/orvlog.h>
#include <orvcomtypes/orvsqlstr.h>
#include <orvcomtypes/resourcehandler.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

namespace
{

/// An exception of the program: a category of its own, thrown as the library's are.
class CImportExcept : public CLQExcept
{
public:
    using CLQExcept::CLQExcept;
    LQExcCategory GetCategory() const override { return lqeCustom; }
};

void Import(const WCHAR* sFile)
{
    CImportExcept except(E_FAIL, 1, LQ_SRC_LOCATION); // text 1 is "%1"
    except.GetMessages().Last().AddParam(sFile);
    LQ_THROW(CImportExcept, std::move(except));
}

void ORVCALL TellOperator(const void*, const char* sText)
{
    std::printf("operator: %s\n", sText);
}

void Work()
{
    InitFileProcessLogger(ORVTEXT("#AN(TEMP)\\errors.txt"), lqlErrors);
    RegisterExceptionLogger(TellOperator);
    try
    {
        Import(ORVTEXT("orders.csv"));
    }
    catch (const CLQExcept& e)
    {
        std::printf("user: %s\n", static_cast<const char*>(CToUTF8(e.Format(nullptr))));
    }

    const COrvStr sSystem = GetWinErrorString(ERROR_ACCESS_DENIED);
    std::printf("system: %s\n", sSystem.IsEmpty() ? "no text" : "a text");

    if (!FlushLogs(5000))
        std::puts("the disk is slow or full");
    std::ifstream file{
        std::filesystem::path(static_cast<const WCHAR*>(GetProcessLogger()->GetLogFileName()))};
    for (std::string sLine; std::getline(file, sLine);)
        std::puts(sLine.substr(0, sLine.find_last_not_of('\r') + 1).c_str());
    RegisterExceptionLogger(nullptr);
    ReleaseProcessLogger();
}

} // namespace

int main()
{
    Work();
    UninitOrvComTypes();
}

// Prints:
// operator: Exception of type "CImportExcept" occurred.
// user: orders.csv
// system: a text
// =E> ... Throwing LQ exception: Category: lqeCustom; File: errors (...); Params:  P1: orders.csv;
// ...Formatted: orders.csv;
