#!/usr/bin/env python3
"""Runs benchmarks and prints one table, ours beside the best peer; draws how cost grows. Called by bench.sh.

  bench_table.py program... [--pictures folder]
"""
import json
import re
import subprocess
import sys
from pathlib import Path

OURS = re.compile(r"^(cour.*|ours|oursnextitem|corv.*|our-.*|ourpool|courpool|cxmlstreamwrite|cwide|cnarrow)$", re.I)
# What is no peer: a floor that nobody reaches, or another form of ours.
NO_PEER = re.compile(r"floor|byte-loop|usual$|^COursNextItem$|^LineOff$")
MIN_TIME = "0.02"


def split(name):
    """A benchmark's name as the case and who runs it: Case<Who>/8, CaseOurs/8 or case/8/who."""
    name = re.sub(r"/(iterations:\d+|manual_time|real_time)", "", name)
    m = re.match(r"^(\w+)<(.+?)(?:, *EIds::(\w+))?>((?:/.*)?)$", name)
    if m:
        return m[1] + (m[3] or "") + m[4], m[2]
    m = re.match(r"^([A-Z]\w*?)(OursInBoost|Ours|Qt|Icu|Strftime|Strptime|Gmtime|Timegm|Localtime|Mktime|Fmt|Absl|Date)(/.*)?$",
                 name)
    if m:
        return m[1] + (m[3] or ""), m[2]
    head, _, who = re.sub(r"/threads:\d+", "", name).rpartition("/")
    threads = re.search(r"/threads:\d+", name)
    return (head or name) + (threads[0] if threads else ""), who if head else "ours"


def measure(program):
    options = ["--benchmark_format=json", "--benchmark_min_time=" + MIN_TIME, "--benchmark_repetitions=3",
               "--benchmark_report_aggregates_only=true"]
    output = subprocess.run([program] + options, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
    cases = {}
    for b in json.loads(output)["benchmarks"]:
        if b.get("aggregate_name") != "median" or b.get("error_occurred"):
            continue
        case, who = split(b["run_name"])
        clock = "real_time" if re.search("manual_time|real_time", b["run_name"]) else "cpu_time"
        scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[b["time_unit"]]
        # By the item where items are counted, so that sizes can be compared.
        items = b.get("items_per_second")
        cases.setdefault(case, {})[who] = 1e9 / items if items else b[clock] * scale
    return cases


def rows(cases):
    """Case, ours, the best peer and its time."""
    for case, times in cases.items():
        ours = [(t, w) for w, t in times.items() if OURS.match(w)]
        peers = [(t, w) for w, t in times.items() if not OURS.match(w) and not NO_PEER.search(w)]
        if ours and peers:
            yield case, min(ours)[0], *min(peers)


def table(program, cases):
    print("\n### %s\n\n| | ours, ns | best peer, ns | | ours / peer |\n|---|--:|--:|---|--:|" % Path(program).name)
    for case, ours, peer, who in rows(cases):
        print("| `%s` | %.4g | %.4g | %s | %.2f |" % (case, ours, peer, who, ours / peer))


def picture(cases, folder, prefix, x, unit):
    """One picture of every case that begins so: lines over the number that its name ends with."""
    lines = {}
    for case, times in cases.items():
        m = re.match(r"^(%s\w*)(?:/(\d+))?(?:/threads:(\d+))?$" % prefix, case)
        if m:
            for who, t in times.items():
                lines.setdefault((m[1], who), []).append((int(m[2] or m[3]), t))
    plots, data = [], []
    for (case, who), points in sorted(lines.items()):
        plots.append("'-' with linespoints title '%s %s'" % (case, who))
        data.append("\n".join("%d %g" % p for p in sorted(points)) + "\ne")
    script = ("set terminal svg size 760,420 background 'white'\nset output '%s/%s.svg'\nset logscale xy\nset grid\n"
              "set key outside right\nset xlabel '%s'\nset ylabel '%s'\nplot %s\n%s\n"
              % (folder, prefix.lower(), x, unit, ", ".join(plots), "\n".join(data)))
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def main():
    arguments = sys.argv[1:]
    folder = None
    if "--pictures" in arguments:
        at = arguments.index("--pictures")
        folder = Path(arguments[at + 1])
        del arguments[at:at + 2]
    slower = []
    for program in arguments:
        cases = measure(program)
        table(program, cases)
        sys.stdout.flush()
        slower += [(o / p, Path(program).name, c, w) for c, o, p, w in rows(cases) if o > 1.1 * p]
        if folder and Path(program).name == "growth_bench":
            folder.mkdir(parents=True, exist_ok=True)
            picture(cases, folder, "Set", "elements", "ns an element")
            picture(cases, folder, "Array", "elements", "ns an element")
            picture(cases, folder, "Text", "characters", "ns a character")
            picture(cases, folder, "Threads", "threads", "ns a text")
    print("\n### Slower than the best peer by more than a tenth\n")
    for ratio, program, case, who in sorted(slower, reverse=True):
        print("- %s `%s`: %.2f times %s" % (program, case, ratio, who))


if __name__ == "__main__":
    main()
