#include "report.h"

#include "chart.h"

#include <cstdio>

namespace
{

constexpr const char* kHead =
    R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy"
content="default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width">
<title>Package events and their statements</title>
<style>
body { font: 15px/1.5 sans-serif; color: #222; max-width: 72em; margin: 2em auto; padding: 0 1em; }
.charts { display: grid; grid-template-columns: 1fr 1fr; gap: 2em; }
.charts > div { position: relative; height: 18em; }
.charts > .wide { grid-column: 1 / 3; }
table { border-collapse: collapse; margin: 1em 0; }
th, td { text-align: left; vertical-align: top; padding: 0.2em 1em 0.2em 0; border-bottom: 1px solid #ddd; }
td.number { text-align: right; }
pre { margin: 0; white-space: pre-wrap; overflow-wrap: anywhere; font-size: 12px; }
</style>
</head>
<body>
<h1>Package events and their statements</h1>
)";

constexpr const char* kCharts =
    R"(<div class="charts">
<div class="wide"><canvas id="events"></canvas></div>
<div><canvas id="milliseconds"></canvas></div>
<div><canvas id="failures"></canvas></div>
</div>
)";

constexpr const char* kScript =
    R"(
Chart.defaults.animation = false;
Chart.defaults.maintainAspectRatio = false;
const colours = ['#4477aa', '#ee6677', '#228833', '#ccbb44', '#66ccee', '#aa3377', '#999933', '#882255',
  '#44aa99', '#bbbbbb'];
function chart(id, title, stacked, labels, datasets) {
  datasets.forEach((set, i) => set.backgroundColor = colours[i % colours.length]);
  new Chart(id, {
    type: 'bar',
    data: { labels, datasets },
    options: {
      plugins: { title: { display: true, text: title }, legend: { display: datasets.length > 1 } },
      scales: { x: { stacked }, y: { stacked, beginAtZero: true, ticks: { precision: 0 } } }
    }
  });
}
chart('events', 'Events a day', true, data.days, data.actions);
chart('milliseconds', 'Statements by milliseconds', false, data.buckets,
  [{ label: 'statements', data: data.milliseconds }]);
chart('failures', 'Failed statements by code', false, data.codes, [{ label: 'failed', data: data.failures }]);
)";

std::string Escaped(const std::string& sText)
{
    std::string sResult;
    for (const char c : sText)
        switch (c)
        {
        case '&': sResult += "&amp;"; break;
        case '<': sResult += "&lt;"; break;
        case '>': sResult += "&gt;"; break;
        default: sResult += static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t' ? ' ' : c;
        }
    return sResult;
}

/// A text of JavaScript that ends no script either.
std::string Quoted(const std::string& sText)
{
    std::string sResult = "\"";
    for (const char c : sText)
    {
        char sEscape[8];
        const bool bPlain = static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\' && c != '<';
        std::snprintf(sEscape, sizeof(sEscape), "\\u%04x", static_cast<unsigned char>(c));
        sResult += bPlain ? std::string(1, c) : sEscape;
    }
    return sResult + '"';
}

template <class Range, class Each>
std::string List(const Range& range, Each each)
{
    std::string sResult = "[";
    for (const auto& item : range)
        sResult += (sResult.size() > 1 ? "," : "") + each(item);
    return sResult + ']';
}

constexpr const char* kDash = "\xE2\x80\x93";

std::string Buckets()
{
    std::string sResult = "[\"0\"";
    for (std::size_t i = 1; i < CReport::kBuckets; ++i)
    {
        const std::string sFrom = std::to_string(1 << (i - 1));
        const bool bLast = i + 1 == CReport::kBuckets;
        const std::string sTo = bLast ? " and more" : i == 1 ? "" : kDash + std::to_string((1 << i) - 1);
        sResult += ",\"" + sFrom + sTo + '"';
    }
    return sResult + ']';
}

std::string Data(const CReport& report)
{
    const auto number = [](std::uint64_t n) { return std::to_string(n); };
    const auto first = [](const auto& entry) { return Quoted(entry.first); };
    const auto counts = [&](const std::string& sAction) {
        return "{\"label\":" + Quoted(sAction) + ",\"data\":" +
               List(report.m_Days,
                    [&](const auto& day) {
                        const auto it = day.second.find(sAction);
                        return number(it != day.second.end() ? it->second : 0);
                    }) +
               '}';
    };
    return "const data = {\"days\":" + List(report.m_Days, first) +
           ",\n\"actions\":" + List(report.m_Actions, counts) + ",\n\"buckets\":" + Buckets() +
           ",\n\"milliseconds\":" + List(report.m_Milliseconds, number) +
           ",\n\"codes\":" + List(report.m_Failures, first) + ",\n\"failures\":" +
           List(report.m_Failures, [&](const auto& entry) { return number(entry.second.m_nCount); }) + "};\n";
}

std::string Tables(const CReport& report)
{
    std::string sResult = "<h2>Slowest statements</h2>\n<table>\n<tr><th>ms<th>time<th>statement\n";
    for (const CReport::CStatement& statement : report.m_Slowest)
        sResult += "<tr><td class=\"number\">" + std::to_string(statement.m_iMs) + "<td>" +
                   Escaped(statement.m_sTime) + "<td><pre>" + Escaped(statement.m_sText) + "</pre>\n";
    sResult += "</table>\n<h2>Failures by code</h2>\n<table>\n<tr><th>code<th>number<th>first of them\n";
    for (const auto& [sCode, failures] : report.m_Failures)
        sResult += "<tr><td>" + Escaped(sCode) + "<td class=\"number\">" + std::to_string(failures.m_nCount) +
                   "<td>" + Escaped(failures.m_sExample) + '\n';
    sResult += "</table>\n<h2>Last failed statements</h2>\n<table>\n<tr><th>time<th>reason<th>statement\n";
    for (const CReport::CStatement& statement : report.m_LastFailed)
        sResult += "<tr><td>" + Escaped(statement.m_sTime) + "<td>" + Escaped(statement.m_sReason) +
                   "<td><pre>" + Escaped(statement.m_sText) + "</pre>\n";
    return sResult + "</table>\n";
}

} // namespace

std::string ReportPage(const CReport& report)
{
    const std::string sFacts = "<p>" + std::to_string(report.m_nEvents) + " events are stored. " +
                               std::to_string(report.m_nSucceeded) + " statements succeeded and " +
                               std::to_string(report.m_nFailed) + " failed.</p>\n";
    std::string sPage = kHead + sFacts + kCharts + Tables(report) + "<script>\n";
    sPage.append(reinterpret_cast<const char*>(g_ChartLibrary), g_nChartLibrary);
    return sPage + "\n</script>\n<script>\n" + Data(report) + kScript + "</script>\n</body>\n</html>\n";
}
