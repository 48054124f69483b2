#!/usr/bin/env python3
"""Says what became of each test of a build, for scripts/test.sh.

    read_reports.py BUILD OUTPUT

BUILD is the build's folder, OUTPUT a file with what ctest printed. Prints a line for each test, its fields separated by
tabs: "passed NAME", "skipped NAME REASON" or "failed NAME REASON". A test program of GoogleTest counts by the report
that it wrote; one that wrote none, or that ended badly after its tests, failed.
"""
import json
import re
import subprocess
import sys
import xml.etree.ElementTree as xml
from pathlib import Path

# How ctest ends: a line "<number> - <name> (<how>)" for each test that failed.
FAILED = re.compile(r"^\s*\d+ - (?P<name>\S+) \((?P<how>[^)]+)\)", re.MULTILINE)
ENDS = {"Timeout": "timed out", "Failed": "ended with an error", "Not Run": "could not be started"}


def tests_of(build):
    """The names of the tests, each with its report; None for a test that is no program of GoogleTest."""
    listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True, capture_output=True)
    option = "--gtest_output=xml:"
    for test in json.loads(listing.stdout)["tests"]:
        reports = [word.removeprefix(option) for word in test.get("command", []) if word.startswith(option)]
        yield test["name"], Path(build, reports[0]) if reports else None


def cases_of(report):
    """What became of each case of a report; nothing when the report is missing or cut."""
    try:
        root = xml.parse(report).getroot()
    except (OSError, xml.ParseError):
        return
    for case in root.iter("testcase"):
        name = f"{case.get('classname')}.{case.get('name')}"
        skip = case.find("skipped")
        if case.find("failure") is not None:
            yield "failed", name, ""
        elif skip is not None:
            yield "skipped", name, skip.get("message", "").split("\n")[-1]
        elif case.get("status") == "notrun":
            yield "skipped", name, "disabled"
        else:
            yield "passed", name, ""


def outcomes(name, report, end):
    """What to count for a test; END tells how it ended when it did not end well."""
    if report is None:
        return [("failed", name, end) if end else ("passed", name, "")]
    cases = list(cases_of(report))
    if not cases:
        return [("failed", name, end or "wrote no report")]
    if end and not any(kind == "failed" for kind, _, _ in cases):
        cases.append(("failed", name, f"{end} after its tests"))
    return cases


def main():
    build, output = sys.argv[1:]
    ends = {match["name"]: ENDS.get(match["how"], match["how"])
            for match in FAILED.finditer(Path(output).read_text(errors="replace").rpartition("tests passed,")[2])}
    for name, report in tests_of(build):
        for outcome in outcomes(name, report, ends.get(name)):
            print("\t".join(outcome))


main()
