#!/usr/bin/env python3
"""Looks at sources and headers with clang-tidy; tidy.sh calls it.

  tidy.py BUILD CACHE [file...]      BUILD has compile_commands.json; default: all of src, include, port, tools

Sources are held to all checks of .clang-tidy. Headers by themselves are held to includes alone: the rest is seen where
sources include them. What is clean is not looked at again until it, what it includes, or a check changes: CACHE has an
empty file for it, named by the contents of all that. Prints what is found, then "N passed, M failed"; status 1 when
something is.
"""
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

TIDY = "clang-tidy-19"
FOLDERS = ("src", "include", "port", "tools")
# What Windows alone compiles, and what windows.h is made of.
UNSEEN = ("port/windows/", "tools/orvsettings/windows/", "port/include/")


def flags_of_sources(build):
    """For each source what its compilation is told of language and folders. Warnings are the builds'."""
    flags = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path, words = os.path.relpath(entry["file"]), shlex.split(entry["command"])
        if path.startswith(FOLDERS):
            flags[path] = ["-w"] + [word for word in words[1:words.index("-o")] if not word.startswith("-W")]
    return flags


def flags_for(path, flags):
    """A header has those of the source whose path is most like its own; the library's, where none is."""
    if path in flags:
        return flags[path]
    near = max(flags, key=lambda source: (len(os.path.commonprefix([source, path])), source.startswith("src/")))
    return flags[near] + ["-x", "c++"]


class Tree:
    """The files of the folders: what each includes of them, and whether that was clean before."""

    def __init__(self, cache):
        patterns = [f"{folder}/*.{kind}" for kind in ("cpp", "h", "inc") for folder in FOLDERS]
        listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", *patterns],
                                capture_output=True, text=True, check=True).stdout.splitlines()
        self.text = {path: pathlib.Path(path).read_bytes() for path in listed if os.path.exists(path)}
        self.named, self.cache = collections.defaultdict(list), cache
        for path in self.text:
            self.named[os.path.basename(path).encode()].append(path)
        self.includes = {path: [other for name in re.findall(rb'#\s*include\s*[<"](?:[^>"]*/)?([^>"/]+)', text)
                                for other in self.named[name]] for path, text in self.text.items()}

    def mark(self, path):
        """The file that says that PATH is clean: its name stands for all that PATH is made of."""
        reached, ahead = set(), [path]
        while ahead:
            if (file := ahead.pop()) not in reached:
                reached.add(file)
                ahead += self.includes[file]
        parts = [TIDY.encode(), pathlib.Path(".clang-tidy").read_bytes(), path.encode()]
        return self.cache / hashlib.sha256(b"\0".join(parts + [self.text[file] for file in sorted(reached)])).hexdigest()


def look(path, flags, mark):
    """What clang-tidy says of a file; nothing when it is clean."""
    if mark.exists():
        return ""
    checks = ["--checks=-*,misc-include-cleaner"] if path.endswith(".h") else []
    found = subprocess.run([TIDY, "--quiet", *checks, path, "--", *flags], capture_output=True, text=True, check=False)
    if found.returncode == 0:
        mark.touch()
        return ""
    return found.stdout or found.stderr


def main():
    build, cache = map(pathlib.Path, sys.argv[1:3])
    # It only warns of a .clang-tidy that it cannot read, and then looks with other checks.
    subprocess.run([TIDY, "--verify-config"], check=True, stdout=subprocess.DEVNULL)
    cache.mkdir(parents=True, exist_ok=True)
    tree, flags = Tree(cache), flags_of_sources(build)
    paths = [path for path in sys.argv[3:] or tree.text if path.endswith((".cpp", ".h")) and not path.startswith(UNSEEN)]
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for path, said in zip(paths, pool.map(lambda path: look(path, flags_for(path, flags), tree.mark(path)), paths)):
            if said:
                failed += 1
                print(f"FAILED {path}\n{said}", flush=True)
    print(f"{len(paths) - failed} passed, {failed} failed")
    return 1 if failed or not paths else 0


sys.exit(main())
