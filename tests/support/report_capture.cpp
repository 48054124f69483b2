#include "support/report_capture.h"

#include "support/test_environment.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <string_view>

namespace
{
std::uintmax_t SizeOf(const std::filesystem::path& file)
{
    std::error_code error;
    const auto nSize = std::filesystem::file_size(file, error);
    return error ? 0 : nSize;
}

CapturedReport ParseLine(const std::string& sLine)
{
    static const std::regex s_form(R"(\d{4}-\d\d-\d\d [ \d]\d:\d\d:\d\d (.*)\((\d+)\) \$\$\$ in function )"
                                   R"('(.*?)'(?:, (\d+|0x[0-9A-F]{8}))?!(?: Message: ([\s\S]*))?)");
    std::smatch match;
    CapturedReport report;
    if (!std::regex_match(sLine, match, s_form))
    {
        ADD_FAILURE() << "not a report: " << sLine;
        return report;
    }
    report.m_sSource = match[1];
    report.m_iLine = std::stoi(match[2]);
    report.m_sFunction = match[3];
    report.m_sValue = match[4];
    report.m_sCondition = match[5];
    return report;
}

bool FunctionMatches(std::string_view actual, std::string_view expected)
{
    if (!expected.starts_with("::"))
        return actual == expected;
    const auto nTail = actual.rfind("::");
    return nTail != actual.npos && actual.substr(nTail) == expected;
}

bool TextMatches(const std::string& sActual, const char* sExpected)
{
    return sExpected == nullptr || sActual == sExpected;
}

bool Matches(const CapturedReport& actual, const ExpectedReport& expected)
{
    return (expected.m_sFunction == nullptr || FunctionMatches(actual.m_sFunction, expected.m_sFunction)) &&
           TextMatches(actual.m_sCondition, expected.m_sCondition) &&
           TextMatches(actual.m_sValue, expected.m_sValue) &&
           TextMatches(actual.m_sSource, expected.m_sSource);
}

std::string Quoted(const char* sText)
{
    return sText == nullptr ? "anything" : "'" + std::string(sText) + "'";
}

std::string Described(const CapturedReport& report)
{
    return report.m_sSource + "(" + std::to_string(report.m_iLine) + ") '" + report.m_sFunction +
           "' value '" + report.m_sValue + "' condition '" + report.m_sCondition + "'";
}
} // namespace

CReportCapture::CReportCapture() : CReportCapture(TestReportFolder()) {}

CReportCapture::CReportCapture(const std::filesystem::path& folder)
    : m_file(folder / ("LQErrors_3.8.2_" + TestProgram().stem().string() + ".log")), m_nTaken(SizeOf(m_file))
{
}

std::vector<CapturedReport> CReportCapture::Take()
{
    std::ifstream file(m_file, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(m_nTaken));
    const std::string sNew(std::istreambuf_iterator<char>(file), {});
    m_nTaken += sNew.size();

    std::vector<CapturedReport> reports;
    for (std::size_t nStart = 0; nStart < sNew.size();)
    {
        const auto nEnd = std::min(sNew.find("\r\n", nStart), sNew.size());
        reports.push_back(ParseLine(sNew.substr(nStart, nEnd - nStart)));
        nStart = nEnd + 2;
    }
    return reports;
}

testing::AssertionResult ReportsMatch(const std::vector<CapturedReport>& reports,
                                      std::initializer_list<ExpectedReport> expected)
{
    if (std::equal(reports.begin(), reports.end(), expected.begin(), expected.end(), Matches))
        return testing::AssertionSuccess();
    auto result = testing::AssertionFailure() << "the reports differ\nmade:";
    for (const auto& report : reports)
        result << "\n  " << Described(report);
    result << "\nexpected:";
    for (const auto& report : expected)
        result << "\n  " << Quoted(report.m_sFunction) << " value " << Quoted(report.m_sValue)
               << " condition " << Quoted(report.m_sCondition) << " source " << Quoted(report.m_sSource);
    return result;
}
