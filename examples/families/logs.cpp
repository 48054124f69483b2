// Logs: two parts of a program share a file, each with a prefix and levels of its own; errors are on the disk
// at once.
#include <orvcomtypes/octalloc.h>
#include <orvcomtypes/orvlog.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

namespace
{

void Import(const COrvLog& log)
{
    log.LogOpt(lqlInformation, "%u rows from %S", 12u, ORVTEXT("orders.csv"));
    log.SetFL("import.cpp", 40)
        .LogOpt(lqlErrors, static_cast<LONG>(0x80070005), "row %u cannot be stored", 7u);
    log.SetFL(nullptr, 0);
}

/// What the file holds, without the parts that differ from run to run.
void Show(const COrvLog& log)
{
    std::ifstream file{std::filesystem::path(static_cast<const WCHAR*>(log.GetLogFileName()))};
    for (std::string sLine; std::getline(file, sLine);)
        std::puts(sLine.substr(0, sLine.find_last_not_of('\r') + 1).c_str());
}

void Work()
{
    COrvLog log;
    if (!log.InitFileLog(ORVTEXT("#AN(TEMP)\\shop.txt"), lqlErrors | lqlWarnings, ORVTEXT("Shop")))
        std::puts("no log");
    log.SetFlushLevel(lqlErrors);       // an error is on the disk before the call returns
    log.SetFileOption(lqfKeepFiles, 5); // of each start one, the newest five
    COrvLog import(&log, lqlErrors | lqlInformation, ORVTEXT("Imp")); // the same file

    std::thread thread([&import] { Import(import); });
    thread.join();
    log.LogInf(ORVTEXT("not of interest here"));
    log.LogWarn(ORVTEXT("the shop closes"));
    if (!log.Flush(5000))
        std::puts("the disk is slow or full");
    Show(log);
    std::printf("%llu lines lost\n", static_cast<unsigned long long>(log.GetLostLines()));
}

} // namespace

int main()
{
    Work();
    UninitOrvComTypes();
}

// Prints:
// =I> Imp ... 12 rows from orders.csv
// =E> Imp ... import.cpp(40) HR: 80070005 row 7 cannot be stored
// =W> Shop ... the shop closes
// 0 lines lost
