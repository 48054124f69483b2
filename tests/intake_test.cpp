// The example service: what it makes of jobs, and that it may be killed at any time. How systemd and Windows
// run it is in posix/intake_host.cpp and windows/intake_host.cpp.
#include "support/intake_program.h"

namespace
{

class Intake : public CIntakeTest
{
protected:
    /// Starts the service and takes its first line.
    std::unique_ptr<CChildProcess> Start()
    {
        auto child = std::make_unique<CChildProcess>(ChildProgram{Program()}, ChildArguments{"run", m_sName});
        EXPECT_EQ("Takes orders from " + m_folder.string() + " with 4 workers, in the language en.",
                  child->ReadLine());
        return child;
    }
};

} // namespace

TEST_F(Intake, MakesStatementsOfGoodFilesAndRefusesOthers)
{
    const auto child = Start();
    const std::string sOrder = "2026-11-22 10:30:00Z\tO'Brien\tP\t1\n";
    const struct
    {
        const char* m_sJob;
        std::string m_sText;
        std::string m_sTold;
        bool m_bRefused;
    } rows[] = {
        {"empty", "", "empty.orders: 0 orders, ", false},
        {"lines", "\r\n2026-11-22 10:30:00Z\t\u0150ri\t\t4294967295\r\n" + sOrder, "lines.orders: 2 orders, ",
         false},
        {"lines", sOrder, "lines.orders is refused. Line 0: another file of this name has been done.", true},
        {"fields", sOrder + "2026-11-22 10:30:00Z\ta\t1",
         "Line 2: a line has four fields of text, separated by tabs.", true},
        {"time", "2026-11-22 10:30:00x\ta\tb\t1", "Line 1: the first field is no time such as", true},
        {"number", "2026-11-22 10:30:00Z\ta\tb\t1x", "Line 1: the last field is no quantity.", true},
        {"number", sOrder + sOrder + "x", "number.orders is refused. Line 3: ", true},
    };
    for (const auto& row : rows)
    {
        Put(row.m_sJob, row.m_sText);
        const std::string sTold = child->ReadLine();
        EXPECT_NE(sTold.npos, sTold.find(row.m_sTold)) << sTold;
        const std::string sName = row.m_sJob + std::string(".orders");
        EXPECT_FALSE(Names("in").contains(sName));
        EXPECT_EQ(row.m_bRefused, Names("failed").contains(sName)) << sName;
    }
    EXPECT_EQ("BEGIN TRANSACTION;\n"
              "INSERT INTO Orders (Job, Line, Ordered, Customer, Article, Quantity) VALUES "
              "(N'lines', 2, CAST(46346.4375 AS DATETIME), N'\u0150ri', N'', 4294967295);\n"
              "INSERT INTO Orders (Job, Line, Ordered, Customer, Article, Quantity) VALUES "
              "(N'lines', 3, CAST(46346.4375 AS DATETIME), N'O''Brien', N'P', 1);\n"
              "COMMIT;\n",
              ReadBytes(m_folder / "out" / "lines.sql"));
    EXPECT_EQ((std::set<std::string>{"fields.orders", "lines.orders", "number.orders", "number.orders_",
                                     "time.orders"}),
              Names("failed"));
}

TEST_F(Intake, KilledAtAnyTimeLosesNoJobAndDoesNoneTwice)
{
    constexpr int nCount = 100;
    PutJobs(0, nCount);
    for (const int nLines : {0, 1, 30})
    {
        const auto child = Start();
        for (int i = 0; i < nLines; ++i)
            child->ReadLine();
        child->Kill();
        child->Wait();
        EXPECT_LE(nLines, ExpectNoneLost(nCount));
    }
    // As if it had been killed between two lines of the code.
    PutJobs(0, 1);
    const auto done = DoneJobs();
    const auto left = Names("in");
    const auto child = Start();
    for (std::size_t i = 0; i < left.size(); ++i)
    {
        const std::string sTold = child->ReadLine();
        const std::string sJob = sTold.substr(0, sTold.find(".orders"));
        EXPECT_TRUE(sTold.starts_with(
            sJob + (done.contains(sJob) ? ".orders was done before." : ".orders: 20 orders, ")))
            << sTold;
    }
    EXPECT_EQ(nCount, ExpectNoneLost(nCount));
    EXPECT_EQ(std::size_t(nCount), Names("out").size());
    EXPECT_TRUE(Names("in").empty());
}

TEST_F(Intake, DoesNotBeginInAFolderThatItCannotHave)
{
    const auto holder = Start();
    CChildProcess second(ChildProgram{Program()}, {"run", m_sName});
    EXPECT_EQ(0u, second.ReadLine().find("The folder " + m_folder.string() + " cannot be used: "));
    EXPECT_EQ(1, second.Wait().m_iExitCode);
    EXPECT_EQ(2, CChildProcess(ChildProgram{Program()}, {"jump"}).Wait().m_iExitCode);
}
