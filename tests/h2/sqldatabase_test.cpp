// What the statement builder writes, read by a database that its authors did not write: H2 in the mode of SQL
// Server. All statements go to one run of it.
#include "orvcomtypes/orvdecimal.h"
#include "orvcomtypes/orvsqlstr.h"
#include "support/child_process.h"
#include "support/random.h"
#include "support/temp_dir.h"
#include "support/text.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>

namespace
{

std::string Hex(std::uint64_t n, int iWidth)
{
    char s[20];
    std::snprintf(s, sizeof s, "%0*llX", iWidth, static_cast<unsigned long long>(n));
    return s;
}

// ---- Values as the database answers them ----

std::string Answer(TextView text)
{
    std::string s = "T";
    for (const WCHAR c : text)
        s += Hex(c, 4);
    return s;
}

std::string Answer(const std::vector<unsigned char>& bytes)
{
    std::string s = "B";
    for (const unsigned char b : bytes)
        s += Hex(b, 2);
    return s;
}

template <std::integral Int>
std::string Answer(Int n)
{
    return "N" + std::to_string(n);
}

/// A double as its 15 digits read back.
std::string Answer(double d)
{
    char s[40];
    std::snprintf(s, sizeof s, "%.15g", d);
    return "D" + Hex(std::bit_cast<std::uint64_t>(std::strtod(s, nullptr) + 0.0), 16);
}

class CSqlScript
{
public:
    explicit CSqlScript(const CTempDir& folder)
        : m_statementFile(folder / "statements"),
          m_answerFile(folder / "answers"),
          m_statements(m_statementFile, std::ios::binary)
    {
    }

    /// The statement is to be answered by \p sAnswer.
    void Add(const COrvSQLStr& sql, const std::string& sAnswer)
    {
        const TextView text(sql);
        m_statements << Answer(text).substr(1) << '\n';
        m_expected.push_back({Text(text.substr(0, 300)), sAnswer});
    }
    void Add(const WCHAR* sql, const std::string& sAnswer = {}) { Add(COrvSQLStr(sql), sAnswer); }

    /// Runs it all and compares the answers.
    void Run()
    {
        m_statements.close();
        const ChildResult result =
            CChildProcess(ChildProgram{ORV_TEST_JAVA},
                          {"-XX:+UseSerialGC", "-XX:TieredStopAtLevel=1", "-cp", ORV_TEST_CLASS_PATH,
                           "SqlDatabase", m_statementFile.string(), m_answerFile.string()})
                .Wait();
        ASSERT_EQ(0, result.m_iExitCode) << result.m_sOutput;
        std::ifstream answers(m_answerFile);
        for (const auto& [sStatement, sAnswer] : m_expected)
        {
            std::string sLine;
            ASSERT_TRUE(std::getline(answers, sLine));
            EXPECT_EQ(sAnswer, sLine) << testing::PrintToString(sStatement);
        }
    }

private:
    std::filesystem::path m_statementFile, m_answerFile;
    std::ofstream m_statements;
    std::vector<std::pair<Text, std::string>> m_expected; // statements, as far as they are shown, and answers
};

Text RandomText(CTestRandom& random)
{
    // Quotes and what might pass for one or for an escape, line breaks and other control characters, pairs
    // and their halves.
    constexpr TextView units =
        ORVTEXT("''''\"\\\\\r\n\t\x01\x1B\x7F;-/*%_[]NxE{}?:$ "
                "a0\u00B4\u2018\u2019\u02BC\uFF07\u0127\u2028\xD83D\xDE00\xDE00\xD83D\xFEFF\xFFFF");
    Text text(random.UpTo(3) != 0 ? random.UpTo(20) : random.UpTo(300), 0);
    for (WCHAR& c : text)
        c = random.UpTo(4) != 0 ? units[random.UpTo(units.size() - 1)]
                                : static_cast<WCHAR>(1 + random.UpTo(0xFFFE));
    return text;
}

void AddTexts(CSqlScript& script, CTestRandom& random)
{
    script.Add(ORVTEXT("CREATE TABLE Texts (Id INT, A VARCHAR, B NVARCHAR)"));
    std::string sAll;
    constexpr unsigned nRows = 3000;
    for (unsigned i = 0; i < nRows; ++i)
    {
        const Text text = RandomText(random);
        const unsigned nMaxLen = random.UpTo(1) * random.UpTo(30);
        const Text cut = nMaxLen != 0 ? text.substr(0, nMaxLen) : text;
        COrvSQLStr sql;
        (sql & ORVTEXT("INSERT INTO Texts VALUES (") & i & ORVTEXT(',') & VARCHAR{text.c_str(), 0, 0} &
         ORVTEXT(',') & NVARCHAR{text.c_str(), 0, nMaxLen} & ORVTEXT(")"));
        script.Add(sql, "");
        sAll += (i > 0 ? " " : "") + Answer(i) + " " + Answer(text) + " " + Answer(cut);
    }
    script.Add(ORVTEXT("SELECT Id, A, B FROM Texts ORDER BY Id"), sAll);
}

void AddNumbers(CSqlScript& script, CTestRandom& random)
{
    const auto Add = [&](const auto& value, const std::string& sAnswer) {
        COrvSQLStr sql(ORVTEXT("SELECT "));
        script.Add(sql & value, sAnswer);
    };
    const auto AddBoth = [&](auto n) { Add(n, Answer(n)); };
    AddBoth(std::numeric_limits<int>::min());
    AddBoth(std::numeric_limits<int>::max());
    AddBoth(std::numeric_limits<unsigned>::max());
    AddBoth(std::numeric_limits<std::int64_t>::min());
    AddBoth(std::numeric_limits<std::int64_t>::max());
    AddBoth(std::numeric_limits<std::uint64_t>::max());
    Add(static_cast<short>(-32768), "N-32768");
    Add(static_cast<unsigned char>(255), "N255");
    Add(SQLORVTIME{-1}, "N-1");
    Add(SQLMCOUNT{0x7FFFFFFFFFFFFFFF}, "N9223372036854775807");
    Add(GUID{0x0123ABCD, 4, 0xFF05, {6, 7, 8, 9, 10, 11, 12, 13}},
        Answer(TextView(ORVTEXT("{0123ABCD-0004-FF05-0607-08090A0B0C0D}"))));
    Add(std::nan(""), "null");

    script.Add(ORVTEXT("CREATE TABLE Doubles (D DOUBLE PRECISION)"));
    const auto AddDouble = [&](const auto& value, double d) {
        COrvSQLStr sql(ORVTEXT("UPDATE Doubles SET D = "));
        script.Add(sql & value, "");
        script.Add(ORVTEXT("SELECT D FROM Doubles"), Answer(d));
    };
    script.Add(ORVTEXT("INSERT INTO Doubles VALUES (NULL)"));
    // The largest one is rounded up to no double by its 15 digits.
    for (const double d : {0.0, -0.0, 12.5, 3.0, 1.0 / 3, 1e15, 123456789012345.0, 1e-5, 1.7976931348623e308,
                           std::numeric_limits<double>::min(), std::numeric_limits<double>::denorm_min()})
        AddDouble(d, d), AddDouble(-d, -d);
    for (int i = 0; i < 1000; ++i)
    {
        const double d =
            std::ldexp(static_cast<double>(random()) - 2e9, static_cast<int>(random.UpTo(200)) - 100);
        AddDouble(d, d);
        const double dDate = std::ldexp(static_cast<double>(random()), -15);
        AddDouble(MSQLDATE{dDate}, dDate - 2.0);
    }
}

/// Decimals of up to 28 digits, with the point anywhere.
void AddDecimals(CSqlScript& script, CTestRandom& random)
{
    for (int i = 0; i < 500; ++i)
    {
        std::string sText(1 + random.UpTo(27), '1');
        for (char& c : sText)
            c = static_cast<char>('1' + random.UpTo(8));
        const unsigned nScale = random.UpTo(static_cast<unsigned>(sText.size()) - 1);
        if (nScale > 0)
            sText.insert(sText.size() - nScale, 1, '.');
        if (random.UpTo(1) != 0)
            sText.insert(0, 1, '-');
        COrvDecimal dec;
        ASSERT_TRUE(dec.SetText(Text(sText.begin(), sText.end()).c_str()));
        COrvSQLStr sql(ORVTEXT("SELECT "));
        script.Add(sql & dec.Get(), "N" + sText);
    }
}

void AddBinaries(CSqlScript& script, CTestRandom& random)
{
    script.Add(ORVTEXT("CREATE TABLE Bytes (B VARBINARY)"));
    script.Add(ORVTEXT("INSERT INTO Bytes VALUES (NULL)"));
    for (unsigned i = 0; i < 200; ++i)
    {
        std::vector<unsigned char> bytes(i < 100 ? i : random.UpTo(9000));
        for (unsigned char& b : bytes)
            b = static_cast<unsigned char>(random());
        COrvSQLStr sql(ORVTEXT("UPDATE Bytes SET B = "));
        script.Add(sql & BINARY{bytes.data(), static_cast<unsigned>(bytes.size())}, "");
        script.Add(ORVTEXT("SELECT B FROM Bytes"), Answer(bytes));
    }
}

void AddIdLists(CSqlScript& script, CTestRandom& random)
{
    constexpr unsigned nIds = 60000;
    script.Add(ORVTEXT("CREATE TABLE Ids (Id BIGINT PRIMARY KEY)"));
    script.Add(ORVTEXT("INSERT INTO Ids SELECT X * 65537 FROM SYSTEM_RANGE(1, 60000)"));
    for (const unsigned nCount : {0u, 1u, 2u, 50000u})
    {
        CMIDINTArray ids;
        const unsigned nFirst = 1 + random.UpTo(nIds - nCount - 1);
        for (unsigned i = 0; i < nCount; ++i)
            ids.AddId((nFirst + i) * 65537);
        for (const bool bExclude : {false, true})
        {
            COrvSQLStr sql(ORVTEXT("SELECT COUNT(*) FROM Ids WHERE Id"));
            script.Add(sql & CSQLMIDINTArray(ids, bExclude), Answer(bExclude ? nIds - nCount : nCount));
        }
    }
}

} // namespace

TEST(SqlDatabase, ReadsBackWhatWasBound)
{
    CTempDir folder;
    CTestRandom random;
    CSqlScript script(folder);
    AddTexts(script, random);
    AddNumbers(script, random);
    AddDecimals(script, random);
    AddBinaries(script, random);
    AddIdLists(script, random);
    script.Run();
}
