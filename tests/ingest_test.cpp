// The example service without a database: arguments, exit codes, statements and input files.
#include "support/ingest_program.h"

namespace
{

using IngestTest = CIngestTest;

const char kThreeLines[] = "2024-05-06 07:08:09 startup archives unpack\n"
                           "2024-05-06 07:08:10 upgrade x');DROP--:amd64 <none> 1'0\r\n"
                           "\n"
                           "2024-05-06 07:08:10 status installed libc6:amd64 2.36-10\n";

} // namespace

TEST_F(IngestTest, DryRunPrintsEveryStatementInOrder)
{
    const char* const sNothing = "ON CONFLICT (log_name, event_time, event_order) DO NOTHING;";
    const struct
    {
        const char* m_sDialect;
        const char* m_sEnd;
        const char* m_sBegin = "INSERT INTO package_event";
        const char* m_sValues = "'upgrade', '', 'x'');DROP--', 'amd64', '', '1''0'";
    } rows[] = {
        {"sqlite", sNothing},
        {"postgresql", sNothing},
        {"mariadb", "ON DUPLICATE KEY UPDATE event_order = VALUES(event_order);"},
        {"mssql", "event.version_from, event.version_to);\n", "MERGE INTO package_event",
         "N'upgrade', N'', N'x'');DROP--', N'amd64', N'', N'1''0'"},
    };
    for (const auto& row : rows)
    {
        const auto sOutput = Ingest(IngestDone, kThreeLines, {"--dry-run", "--dialect", row.m_sDialect});
        EXPECT_TRUE(Has(sOutput, row.m_sBegin, 3));
        EXPECT_TRUE(Has(sOutput, row.m_sValues));
        EXPECT_TRUE(Has(sOutput, row.m_sEnd, 3));
        EXPECT_TRUE(Has(sOutput, "lines read:      3 (0 malformed)"));
        EXPECT_LT(sOutput.find(", 1, "), sOutput.find(", 2, ")) << "the second event of its second\n"
                                                                << sOutput;
    }
}

TEST_F(IngestTest, MalformedLinesAreNamedAndLoseNoGoodLine)
{
    const std::string sZero("2024-05-06 07:08:10 purge a\0:all 1 2\n", 37);
    const auto sOutput = Ingest(IngestPartly,
                                "2024-05-06 07:08:10 install a:all <none> 1\n"
                                "2024-05-06 7:08 install a:all <none> 1\n"
                                "2024-05-06 07:08:10 conjure a:all <none> 1\n"
                                "2024-05-06 07:08:10 install a:all\n"
                                "2024-05-06 07:08:10 install a:all 1 2 3\n"
                                "2024-13-06 07:08:10 install a:all 1 2\n" +
                                    sZero + "2024-05-06 07:08:10 purge " + std::string(70000, 'a') +
                                    ":all 1 2\n"
                                    "2024-05-06 07:08:10 purge a:all 1 <none>",
                                {"--dry-run"});
    EXPECT_TRUE(Has(sOutput, "INSERT INTO", 2));
    for (const char* sReason : {":2: no date and time", ":3: unknown action 'conjure'", ":4: too few fields",
                                ":5: wrong number of fields", ":6: no date and time",
                                ":7: a zero byte in the line", ":8: line too long"})
        EXPECT_TRUE(Has(sOutput, m_Input.string() + sReason));

    std::string sMany;
    for (int i = 0; i < 100; ++i)
        sMany += "nonsense\n";
    const auto sLimited = Ingest(IngestPartly, sMany, {"--dry-run"});
    EXPECT_TRUE(Has(sLimited, "too few fields", 10));
    EXPECT_TRUE(Has(sLimited, "90 more malformed lines"));
}

TEST_F(IngestTest, WrongArgumentsShowTheUsage)
{
    for (const ChildArguments& args : {ChildArguments{"--threads", "0"},
                                       {"--threads"},
                                       {"--dialect", "x"},
                                       {"--batch", "-1"},
                                       {"--what"},
                                       {"a", "b"}})
        EXPECT_TRUE(Has(Run(IngestUsage, args), "Usage: ingest")) << args.front();
}

TEST_F(IngestTest, InputThatIsNoLogIsRefused)
{
    const auto refuse = [&](const std::filesystem::path& input, const char* sReason,
                            ChildArguments more = {}) {
        more.insert(more.end(), {"--dry-run", input.string()});
        EXPECT_TRUE(Has(Run(IngestNothingDone, more), sReason));
    };
    refuse(m_Dir / "missing", "cannot read");
    refuse(m_Dir.Path(), "is a folder");
    WriteBytes(m_Input, "\xFD"
                        "7zXZ\0\0");
    refuse(m_Input, "compressed by xz");
    WriteBytes(m_Input, "\x1F\x8B\x08");
    refuse(m_Input, "cannot be followed", {"--follow"});
}

TEST_F(IngestTest, FileNamesAreUnicodeInEveryLocale)
{
    const std::u8string sName = u8"Őrült été 日本 😀.log";
    m_Input = m_Dir / sName;
    const auto sOutput = Ingest(IngestPartly, std::string(kThreeLines) + "x\n", {"--dry-run"});
    EXPECT_TRUE(Has(sOutput, "VALUES ('" + Name(sName) + "'", 3));
    EXPECT_TRUE(Has(sOutput, Name(m_Input) + ":5: too few fields"));
    EXPECT_TRUE(Has(Run(IngestNothingDone, {"--dry-run", Name(m_Dir / u8"ő")}),
                    "cannot read " + Name(m_Dir / u8"ő")));
    EXPECT_TRUE(Has(Ingest(IngestDone, kThreeLines, {"--dry-run", "--source", Name(u8"ß😀")}),
                    "('" + Name(u8"ß😀") + "'", 3));
}
