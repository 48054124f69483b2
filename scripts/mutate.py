#!/usr/bin/env python3
"""Puts faults into the library, one at a time, and tells which of them the tests do not see.

  scripts/mutate.py [family[,family...]|all [count a family [seed]]]     default: all 5, a new seed

A family is a folder of src/. A fault is one token of code that is another one. Everything happens in a copy of the
tree in build/mutate, on the Linux target, with the tests that concern the family. Ends with the survivors, which are
to be read: those that change nothing that a user could see are equivalent, the others need a row in a test.
"""
import os
import random
import re
import shutil
import subprocess
import sys
from pathlib import Path

REPO = Path(__file__).resolve().parent.parent
COPY = REPO / "build/mutate/tree"
BUILD = COPY / "build/linux"
TIMEOUT = 120

# The tests that concern a family, as a regular expression on their names.
TESTS = {
    "builders": "memorysweep|orvsqlstr|longstr|tabbed|xmlwrite|orvdecimal|orvdbstr|oledbconvert|sqlliteral|decimal|variant|sqlhandshake|xmlparsers_internal",
    "containers": "memarray|hashmap|midint|memorysweep",
    "core": "core_pool|core_registry|core_reporter|lifecycle|numtext_internal|orvstralloc_internal|plugin|textformat_internal|threads|memorysweep",
    "errors": "lqexcept|comerror|logcrash|logviewer|sqllog|lqmessage|logfaults|logsystemfaults|memorysweep",
    "log": "orvlog|logfile_internal|logfaults|sqllog|logperiod_internal|logsystemfaults|logline_fuzz|path_fuzz|fork|logunload|threads|logcrash|memorysweep",
    "messages": "memorysweep|lqmessage|message_fuzz|languages|userlocale",
    "resources": "loadstrres|languages|restoken_fuzz|resfile_fuzz|userlocale|templates|memorysweep",
    "settings": "settings|path_fuzz|memorysweep",
    "strings": "orvstr|orvstr_model|orvstralloc_internal|stringutils|textutils|number|utf8threes_internal|convert_fuzz|tagtemplate_fuzz|number_fuzz|pageend|lqmessage|memorysweep"
               "|collationlocales|templates|nomemory",
    "time": "time|timechrono|timelocale_internal|timereports|timetext|timezone|namedzone_internal|time_fuzz|zonerules"
            "|alllocales_internal|zonehistory",
}

# A token, and what stands in its place.
SWAPS = {
    "<": ["<=", ">="], ">": [">=", "<="], "<=": ["<", ">"], ">=": [">", "<"], "==": ["!="], "!=": ["=="],
    "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "++": ["--"], "--": ["++"], "+=": ["-=", "="],
    "-=": ["+="], "<<": [">>"], ">>": ["<<"], "&": ["|"], "|": ["&"], "!": [""], "true": ["false"],
    "false": ["true"], "min": ["max"], "max": ["min"], "break": ["continue"], "continue": ["break"],
}
TOKEN = re.compile(
    r'//[^\n]*|/\*.*?\*/|^\s*#[^\n]*|R"\(.*?\)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|[A-Za-z_]\w*'
    r"|0[xX][0-9A-Fa-f']+\w*|\d[\d']*(?:\.\d+)?\w*|->|::|<<=|>>=|\+\+|--|<<|>>|<=>|[<>=!+\-*/&|^%]=|&&|\|\||.",
    re.DOTALL | re.MULTILINE)


def replacements(token, apart):
    """What may stand in the token's place; apart: there is a blank on either side."""
    if re.fullmatch(r"\d+", token):
        return [str(int(token) + 1)] + ([str(int(token) - 1)] if int(token) > 0 else [])
    if re.fullmatch(r"0[xX][0-9A-Fa-f]+", token):
        return [hex(int(token, 16) + 1), hex(int(token, 16) ^ 0x10)]
    if re.fullmatch(r"'[0-9A-Za-z]'", token):
        return ["'" + chr(ord(token[1]) + 1) + "'"]
    if re.fullmatch(r'"[^"\\%]{3,}"', token):
        return [token[:2] + token[3:]]
    # Operators have blanks around them in this tree, what belongs to types has not.
    if token in ("<", ">", "&", "-", "+", "|") and not apart:
        return []
    return SWAPS.get(token) or []


def candidates(path):
    text = path.read_text(encoding="utf-8")
    found = []
    for m in TOKEN.finditer(text):
        token, start, end = m.group(), m.start(), m.end()
        line = text[text.rfind("\n", 0, start) + 1:text.find("\n", end)]
        if re.match(r"\s*(#|using|template|static_assert|namespace|ORV_REPORT)", line):
            continue
        apart = text[start - 1:start].isspace() and text[end:end + 1].isspace()
        for other in replacements(token, apart):
            found.append((path, start, end, other))
    return found


def run(command, timeout=None, **variables):
    try:
        result = subprocess.run(command, cwd=COPY, env=os.environ | variables, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=timeout,
                                text=True, errors="replace", stdin=subprocess.DEVNULL)
        return result.returncode, result.stdout
    except subprocess.TimeoutExpired:
        return -1, "timed out"


def prepare(families):
    """The copy as the tree is now, built; the tests of each family that there are."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=REPO,
                            capture_output=True, check=True).stdout.decode().split("\0")
    files = {name for name in listed if name and (REPO / name).is_file()}
    for name in files:
        source, copy = REPO / name, COPY / name
        if not copy.is_file() or copy.read_bytes() != source.read_bytes(): # others need not be compiled again
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)
    for copy in COPY.rglob("*"):
        if copy.is_file() and "build" not in copy.relative_to(COPY).parts[:1] and str(copy.relative_to(COPY)) not in files:
            copy.unlink()
    code, output = run(["cmake", "--preset", "linux", "-DORVCOMTYPES_BUILD_EXAMPLES=OFF"])
    if code != 0:
        sys.exit(output)
    names = re.findall(r"Test +#\d+: (\S+)", run(["ctest", "--test-dir", str(BUILD), "-N"])[1])
    tests = {}
    for family in families:
        pattern = re.compile("^(" + TESTS[family] + ")(_fuzz)?_test$")
        tests[family] = [n for n in names if pattern.match(n)]
    wanted = sorted({n for family in families for n in tests[family]})
    code, output = run(["cmake", "--build", str(BUILD), "--target"] + wanted)
    if code != 0:
        sys.exit(output[-4000:])
    return tests


def passes(names):
    """Builds and runs them: None when all pass, else what went wrong."""
    code, output = run(["cmake", "--build", str(BUILD), "--target"] + names)
    if code != 0:
        return "does not build"
    # Narrow text is UTF-8, and of a page of single bytes, whose tables take memory of their own.
    for page in "65001", "1252":
        code, output = run(["ctest", "--test-dir", str(BUILD), "-R", "^(" + "|".join(names) + ")$", "--stop-on-failure",
                            "-j2", "--timeout", str(TIMEOUT)], 600, ORVCOMTYPES_ACP=page)
        if code != 0:
            break
    else:
        return None
    failed = re.findall(r"\d+ - (\S+) \(", output)
    return failed[0] if failed else "timed out"


def try_fault(fault, names):
    path, start, end, other = fault
    original = path.read_text(encoding="utf-8")
    path.write_text(original[:start] + other + original[end:], encoding="utf-8")
    try:
        return passes(names)
    finally:
        path.write_text(original, encoding="utf-8")


def shown(fault):
    path, start, end, other = fault
    text = path.read_text(encoding="utf-8")
    first, last = text.rfind("\n", 0, start) + 1, text.find("\n", end)
    return "%s:%d: %s  =>  %s" % (path.relative_to(COPY), text.count("\n", 0, start) + 1, text[first:last].strip(),
                                  (text[first:start] + other + text[end:last]).strip())


def main():
    families = sorted(TESTS) if len(sys.argv) < 2 or sys.argv[1] == "all" else sys.argv[1].split(",")
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(1000000)
    print("seed %d" % seed, flush=True)
    chance = random.Random(seed)
    tests = prepare(families)
    seen, survivors = 0, []
    for family in families:
        broken = passes(tests[family])
        if broken:
            sys.exit("without any fault: " + broken)
        pool = [c for p in sorted((COPY / "src" / family).iterdir()) if p.suffix in (".cpp", ".h") for c in candidates(p)]
        left = count
        while left > 0 and pool:
            fault = pool.pop(chance.randrange(len(pool)))
            killer = try_fault(fault, tests[family])
            if killer == "does not build":
                continue # the compiler saw it
            left -= 1
            seen += killer is not None
            survivors += [] if killer else [fault]
            print("%-9s %s  [%s]" % ("seen" if killer else "SURVIVED", shown(fault), killer or ""), flush=True)
    print("\nSurvivors:" if survivors else "\nNo survivors.")
    for fault in survivors:
        print("    " + shown(fault))
    total = seen + len(survivors)
    print("%d of %d seen (%d %%)" % (seen, total, 100 * seen // max(total, 1)))


if __name__ == "__main__":
    main()
