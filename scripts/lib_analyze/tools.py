"""The tools that look for mistakes, and what each of them found."""

import concurrent.futures
import dataclasses
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]

# Beside -Wall -Wextra -Wpedantic -Wshadow -Wconversion, with which everything is built.
GCC_WARNINGS = """
    -Wsign-conversion -Wold-style-cast -Wuseless-cast -Wcast-qual -Wcast-align -Wdouble-promotion
    -Wnull-dereference -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wstrict-overflow=2
    -Wstringop-overflow=4 -Warray-bounds=2 -Wshift-overflow=2 -Wplacement-new=2 -Wformat=2
    -Wimplicit-fallthrough=5 -Wcatch-value=3 -Wnon-virtual-dtor -Woverloaded-virtual
    -Wsuggest-override -Wdeprecated-copy-dtor -Wmismatched-tags -Wredundant-tags -Wredundant-decls
    -Wmissing-declarations -Wextra-semi -Wundef -Wunused-macros -Wzero-as-null-pointer-constant
    -Walloca -Wvla -Wtrampolines -Wdate-time""".split()

# All that there are, but those that ask for the language of 1998.
CLANG_WARNINGS = "-Weverything -Wno-c++98-compat -Wno-c++98-compat-pedantic".split()

# What scan-build calls, with the checkers that are off by default and fit a library in C++.
CLANG_ANALYZER = """--analyze --analyzer-output text
    -Xclang -analyzer-checker=core,cplusplus,deadcode,nullability,unix,security,valist
    -Xclang -analyzer-checker=optin.cplusplus,optin.portability""".split()

DIAGNOSTIC = re.compile(r"^(\S+?):(\d+):\d+: (?:warning|error): (.*?)(?: \[([^\]]*)\])?$", re.M)

CPPCHECK = """cppcheck --enable=warning,style,performance,portability --inline-suppr --std=c++17
    --library=posix --library=gnu --suppress=missingIncludeSystem -I include -I src --quiet
    --template={file}|{line}|{id}|{message}""".split()

@dataclasses.dataclass(frozen=True, order=True)
class Finding:
    tool: str
    check: str
    file: str
    line: int
    message: str

    def text(self):
        """By what a reason knows it. Lines move, so it has none."""
        return f"{self.file}: {self.message}"


def compilations(preset):
    """Folder and command for each source of the library and the examples."""
    path = ROOT / "build" / preset / "compile_commands.json"
    for entry in json.loads(path.read_text()):
        command = shlex.split(entry["command"])
        if command[command.index("-o") + 1].startswith(("src/", "examples/")):
            yield entry["directory"], plain(command)


def plain(command):
    """The compiler with the flags that matter, and the source: writes no file."""
    if pathlib.Path(command[0]).name == "ccache":
        command = command[1:]
    result = []
    words = iter(command)
    for word in words:
        if word in ("-o", "-MF", "-MT"):
            next(words)
        elif word not in ("-c", "-MD", "-Werror"):
            result.append(word)
    return result


def in_tree(path, directory):
    path = os.path.normpath(os.path.join(directory, path))
    return os.path.relpath(path, ROOT) if path.startswith(f"{ROOT}/") else path


def compiled(tool, preset, flags, jobs):
    """What a compiler says about each source with these flags."""
    def run(compilation):
        directory, command = compilation
        done = subprocess.run([*command, *flags], cwd=directory, text=True,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        found = [Finding(tool, check or "", in_tree(file, directory), int(line), message)
                 for file, line, message, check in DIAGNOSTIC.findall(done.stderr)]
        if done.returncode != 0 and not found:
            sys.exit(f"{tool}: {shlex.join(command)}: {done.stderr}")
        return found
    sources = list(compilations(preset))
    if not sources:
        sys.exit(f"build/{preset} compiles no source of the library")
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        return sum(pool.map(run, sources), [])


def gcc(jobs):
    return compiled("g++", "release", [*GCC_WARNINGS, "-c", "-o", "/dev/null"], jobs)


def clang(jobs):
    return compiled("clang++", "clang", [*CLANG_WARNINGS, "-fsyntax-only"], jobs)


def scan_build(jobs):
    return compiled("scan-build", "clang", CLANG_ANALYZER, jobs)


def clang_tidy(_):
    done = subprocess.run(["scripts/tidy"], cwd=ROOT, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE)
    found = [Finding("clang-tidy", check, in_tree(file, ROOT), int(line), message)
             for file, line, message, check in DIAGNOSTIC.findall(done.stdout)]
    if done.returncode != 0 and not found:
        sys.exit(f"clang-tidy: {done.stdout}{done.stderr}")
    return found


def cppcheck(jobs):
    done = subprocess.run([*CPPCHECK, f"-j{jobs}", "src", "examples"], cwd=ROOT, text=True,
                          check=True, stderr=subprocess.PIPE)
    fields = [line.split("|", 3) for line in done.stderr.splitlines() if line.count("|") >= 3]
    return [Finding("cppcheck", check, file, int(line or 0), message)
            for file, line, check, message in fields]


TOOLS = {"g++": gcc, "clang++": clang, "clang-tidy": clang_tidy, "cppcheck": cppcheck,
         "scan-build": scan_build}
