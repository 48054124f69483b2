#include "support/report_capture.h"

#include "support/pattern.h"
#include "support/temp_dir.h"

#include <algorithm>

namespace
{

CapturedReport ParseLine(const std::string& sLine)
{
    constexpr const char* sForm = R"(^\d{4}-\d\d-\d\d [ \d]\d:\d\d:\d\d (.*)\(\d+\) \$\$\$ in function )"
                                  R"('(.*?)'(?:, (\d+|0x[0-9A-F]{8}))?!(?: Message: ([\s\S]*))?$)";
    auto parts = PartsThatFit(sLine, sForm);
    EXPECT_FALSE(parts.empty()) << "not a report: " << sLine;
    parts.resize(1, std::vector<std::string>(5));
    return {sLine, parts[0][1], parts[0][2], parts[0][3], parts[0][4]};
}

bool Agrees(const std::string& sActual, const char* sExpected)
{
    return sExpected == nullptr || sActual == sExpected;
}

bool Matches(const CapturedReport& actual, const ExpectedReport& expected)
{
    const std::string_view function = expected.m_sFunction;
    return (function.starts_with("::") ? actual.m_sFunction.ends_with(function)
                                       : actual.m_sFunction == function) &&
           Agrees(actual.m_sCondition, expected.m_sCondition) && Agrees(actual.m_sValue, expected.m_sValue) &&
           Agrees(actual.m_sSource, expected.m_sSource);
}

} // namespace

CReportCapture::CReportCapture() : CReportCapture(TestReportFolder()) {}

CReportCapture::CReportCapture(const std::filesystem::path& folder)
    : m_file(folder / ("LQErrors_3.8.2_" + TestProgram().stem().string() + ".log")),
      m_nTaken(ReadBytes(m_file).size())
{
}

std::vector<CapturedReport> CReportCapture::Take()
{
    const std::string sNew = ReadBytes(m_file, m_nTaken); // what others left in front may be much
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
    auto result = testing::AssertionFailure() << "made:\n";
    for (const auto& report : reports)
        result << "  " << report.m_sLine << '\n';
    result << "expected:\n";
    const auto text = [](const char* s) { return s != nullptr ? s : "(any)"; };
    for (const auto& report : expected)
        result << "  " << text(report.m_sSource) << ": " << text(report.m_sFunction) << ", value '"
               << text(report.m_sValue) << "', condition '" << text(report.m_sCondition) << "'\n";
    return result;
}
