#!/usr/bin/env python3
"""Cuts the code out of the headers and the guides, so that it is compiled, and runs the programs among it.

    documentation.py cut SYSTEM FOLDER FRAGMENTS FILE...
    documentation.py run EXPECTED COMMAND...

"cut" writes into FOLDER, for each FILE, what it shows. The example at the top of a header, and a block "```cpp" of a guide
that has no main, is a fragment: NAME.inc, NAME_2.inc and so on, which the source FRAGMENTS includes at the scope that it is
written for. A block with a main is a program: programs.inc has all of them, and NAME.txt holds what it prints by the block
"```text" behind it. A block "```sh" with one behind it is a script: NAME.sh. A source file with a main is a program
already: the comment at its end says what it prints.

A program whose first line is "// On Linux" or "// On Windows" is left out when SYSTEM is another one.

"run" runs a program and compares. "..." in the text that is expected stands for anything within a line.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
MAIN = re.compile(r"^int main\(\)$", re.MULTILINE)


def example(header):
    """The example at the top of a header: what is indented by four blanks."""
    top = re.match(r"(?:///.*\n)*", header)[0].splitlines()
    lines = [line[4:] for line in top]
    return "\n".join(line[4:] for line in lines if line.startswith("    ") or not line).strip()


class Cutter:
    def __init__(self, system, folder, fragments):
        self.system = system
        self.folder, self.fragments = folder, fragments.read_text(encoding="utf-8")
        self.includes, self.bodies, self.programs, self.forking, self.scripts = set(), [], [], [], []

    def write(self, name, text):
        """Leaves a file alone that is as it should be, so that nothing is compiled for it."""
        path = self.folder / name
        if not path.exists() or path.read_text(encoding="utf-8") != text:
            path.write_text(text, encoding="utf-8")

    def fragment(self, name, code):
        if f'#include "{name}.inc"' not in self.fragments:
            raise SystemExit(f"the code {name} is not included where fragments are compiled")
        self.write(f"{name}.inc", code + "\n")

    def program(self, name, place, code, expected):
        """A program becomes a namespace, its main a function; what it includes goes to the top."""
        includes = re.compile(r"^#include .*\n", re.MULTILINE)
        self.includes.update(includes.findall(code))
        body = MAIN.sub("void Main()", includes.sub("\n", code))
        self.bodies.append(f"namespace {name}\n{{\n#line {place}\n{body}\n}}\n")
        self.programs.append(name)
        if "fork()" in code:
            self.forking.append(name)
        self.write(f"{name}.txt", expected)

    def guide(self, path):
        text = path.read_text(encoding="utf-8")
        blocks = list(FENCE.finditer(text))
        for block, shown in zip(blocks, blocks[1:]):
            if (block[1], shown[1]) == ("sh", "text"):
                self.scripts.append(f"{path.stem}_sh")
                self.write(f"{path.stem}_sh.sh", block[2])
                self.write(f"{path.stem}_sh.txt", shown[2])
        for number, block in enumerate((block for block in blocks if block[1] == "cpp"), 1):
            name = path.stem.lower() + (f"_{number}" if number > 1 else "")
            if not MAIN.search(block[2]):
                self.fragment(name, block[2])
                continue
            shown = next((b for b in blocks if b.start() > block.start()), None)
            if shown is None or shown[1] != "text":
                raise SystemExit(f"{path}: program {number} does not tell what it prints")
            only = re.match(r"// On (Linux|Windows)\n", block[2])
            if only and only[1] != self.system:
                continue
            line = text.count("\n", 0, block.start(2)) + 1
            self.program(name, f'{line} "{path}"', block[2], shown[2])

    def source(self, path):
        tail = re.search(r"\n// Prints:\n((?://.*\n)+)\Z", path.read_text(encoding="utf-8"))
        if tail is None:
            raise SystemExit(f"{path} does not tell at its end what it prints")
        name = path.parent.name if path.stem == "main" else path.stem
        self.write(f"example_{name}.txt", re.sub(r"^// ?", "", tail[1], flags=re.MULTILINE))

    def end(self):
        rows = "".join(f'    {{"{name}", {name}::Main}},\n' for name in self.programs)
        self.write("programs.inc", "".join(sorted(self.includes)) + "".join(self.bodies) +
                   f"constexpr CProgram c_programs[] = {{\n{rows}}};\n")
        self.write("programs.list", ";".join(self.programs))
        self.write("forking.list", ";".join(self.forking))
        self.write("scripts.list", ";".join(self.scripts))


def cut(system, folder, fragments, *files):
    cutter = Cutter(system, pathlib.Path(folder), pathlib.Path(fragments))
    cutter.folder.mkdir(parents=True, exist_ok=True)
    for path in map(pathlib.Path, files):
        if path.suffix == ".md":
            cutter.guide(path)
        elif path.suffix == ".cpp":
            cutter.source(path)
        elif code := example(path.read_text(encoding="utf-8")):
            cutter.fragment(path.stem, code)
    cutter.end()


def run(expected, *command):
    """In a folder and with settings of its own, by the clock of UTC. The folder's name and the locale are such that a program
    which does not write and read UTF-8 by itself comes to grief. Wine has folders and settings of its own."""
    with tempfile.TemporaryDirectory(prefix="\u0151\U0001F642", ignore_cleanup_errors=True) as folder:
        environment = dict(os.environ)
        if not command[0].endswith("run-wine"):
            environment |= dict.fromkeys(("HOME", "TMP", "TEMP", "TMPDIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"), folder)
            environment |= {"LC_ALL": "C", "TZ": "UTC", "ORVCOMTYPES_MACHINE_HIVE": folder + "/machine.reg",
                            "ASAN_OPTIONS": "allocator_may_return_null=1"}
        result = subprocess.run(command, cwd=folder, env=environment, capture_output=True, check=False)
        # What breaks a contract of the library is told there.
        reports = "".join(path.read_text(errors="replace") for path in pathlib.Path(folder).rglob("LQErrors*"))
    printed = result.stdout.decode(errors="replace").replace("\r\n", "\n")
    pattern = "[^\n]*".join(map(re.escape, pathlib.Path(expected).read_text(encoding="utf-8").rstrip("\n").split("...")))
    if reports or result.returncode or not re.fullmatch(pattern, printed.rstrip("\n")):
        sys.stderr.write(result.stderr.decode(errors="replace"))
        raise SystemExit(f"status {result.returncode}; printed:\n{printed}\nreported:\n{reports}")


{"cut": cut, "run": run}[sys.argv[1]](*sys.argv[2:])
