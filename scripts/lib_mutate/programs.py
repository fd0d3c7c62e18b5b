"""The test programs: what each runs, its copies that may be changed, and running one within limits."""

import copy
import json
import math
import os
import pathlib
import re
import resource
import select
import shutil
import signal
import subprocess
import threading
import time

# Run long or many times over, or again what another program runs in another locale.
LEFT_OUT = re.compile(r"-endurance-|-exhaustive-|-in-[a-z]{2}_[A-Z]{2}\.")
# The same random cases each time, a fiftieth of the usual number: without optimisation they take long.
RANDOM = {"KELINFRA_SEED": "1", "KELINFRA_CASES": "2000"}
SHARED_OBJECT = "libkelinfra.so.1"
# What counts instructions, and the script that compares them with a list.
PROBE = pathlib.Path("bench", "instructions", "kelInstructionProbe")
COMPARE = pathlib.Path(__file__).resolve().parents[1] / "instructions"
# Seconds of processor time without optimisation: the tests of a program run in pieces of this length, and
# longer tests by themselves or not at all. A command may name so many.
PIECE, TOO_LONG, MANY = 0.1, 3.0, 500
MEMORY = 10 << 30
FILE_SIZE = 8 << 30
PASSED, FAILED, CRASHED, TIMED_OUT = "passed", "failed", "crashed", "timed out"


class Program:
    """A test program, or those of its tests that a filter names."""

    is_last_resort = False

    def __init__(self, name, path, arguments, folder):
        self.name = self.of = name
        self.path = pathlib.Path(path)
        self.arguments = arguments
        self.is_google_test = "--gtest_brief=1" in self.arguments
        self.folder = folder
        self.is_shared = SHARED_OBJECT.encode() + b"\0" in self.path.read_bytes()
        self.environment = {} if "-signals" in self.name else RANDOM
        self.processor_time = self.time = 0.0

    def only(self, tests):
        """The part that runs these tests, all of them when there is no name."""
        part = copy.copy(self)
        if tests:
            part.name = f"{self.name} {tests[0]}"
            part.arguments = self.arguments + ["--gtest_fail_fast", "--gtest_filter=" + ":".join(tests)]
        return part

    def took(self, processor_time, time):
        """How long it takes without any change."""
        self.processor_time, self.time = processor_time, time

    def limits(self):
        """What it may take when the library is changed."""
        return Limits(3 * self.processor_time + 0.3, 4 * self.time + 3)

    def command(self, path):
        """Runs a copy of it."""
        return [path] + self.arguments

    def check(self, path):
        """Passes while nothing is wrong with a copy of it."""
        return self.command(path)


class InstructionCounts(Program):
    """Notices what makes a hot operation take more instructions, though its result is right."""

    is_last_resort = True

    def __init__(self, build, folder):
        super().__init__("kelinfra-instruction-counts", build / PROBE, [], folder)
        self.list = folder / "instructions.txt"
        subprocess.run([COMPARE, "--record", *self.options(self.path)], check=True, stdout=subprocess.DEVNULL)

    def options(self, path):
        return ["--probe", path, "--list", self.list]

    def took(self, processor_time, time):
        """Counting takes longer than running."""
        super().took(max(processor_time, self.processor_time), max(time, self.time))

    def check(self, path):
        return [COMPARE, *self.options(path)]


def list_programs(build, folder):
    """Those of ctest, but for scripts and what is left out; and the one that counts instructions."""
    tests = json.loads(subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"],
                                      check=True, capture_output=True).stdout)["tests"]
    return [*map(program_of, filter(lambda test: is_program_of(build, test), tests)),
            InstructionCounts(build, folder)]


def program_of(test):
    properties = {entry["name"]: entry["value"] for entry in test["properties"]}
    return Program(test["name"], test["command"][0], test["command"][1:], properties["WORKING_DIRECTORY"])


def is_program_of(build, test):
    return is_elf_file_in(str(build), test.get("command", [""])[0]) and not LEFT_OUT.search(test["name"])


def is_elf_file_in(folder, path):
    if not path.startswith(f"{folder}/"):
        return False
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def parts_of(report, processor_time):
    """Lists of the tests in a program's report in JSON, each a piece of work that is not too long; and
    what is too long by itself."""
    times = {f"{suite['name']}.{case['name']}": float(case["time"].rstrip("s"))
             for suite in json.loads(report.read_text())["testsuites"] for case in suite["testsuite"]}
    scale = processor_time / max(sum(times.values()), processor_time)  # it had to wait, too
    parts, left_out, length = [], [], 0.0
    for test, seconds in times.items():
        seconds *= scale
        if seconds > TOO_LONG:
            left_out.append(test)
            continue
        if not parts or length + seconds > PIECE or len(parts[-1]) == MANY:
            parts.append([])
            length = 0.0
        parts[-1].append(test)
        length += seconds
    return parts, left_out


class Limits:
    """For a process and those it starts. The processor time is measured where the process begins."""

    def __init__(self, processor_time, wall_time):
        self.processor_time = processor_time
        self.wall_time = wall_time

    def impose(self):
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_SIZE, FILE_SIZE))
        seconds = math.ceil(self.processor_time) + 1
        resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
        signal.setitimer(signal.ITIMER_PROF, self.processor_time)


def run(command, folder, environment, limits):
    """Runs a command in a group of its own, of which nothing is left. Returns the outcome, processor time
    and time."""
    start = time.monotonic()
    process = subprocess.Popen(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               start_new_session=True, preexec_fn=limits.impose)
    ended = wait_for(process.pid, limits.wall_time)
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = status
    elapsed = time.monotonic() - start
    return outcome(ended, status), usage.ru_utime + usage.ru_stime, elapsed


def wait_for(pid, seconds):
    """Whether the process ends in time."""
    descriptor = os.pidfd_open(pid)
    try:
        poller = select.poll()
        poller.register(descriptor, select.POLLIN)
        return bool(poller.poll(1000 * seconds))
    finally:
        os.close(descriptor)


def outcome(ended, status):
    if not ended or os.WIFSIGNALED(status) and os.WTERMSIG(status) in (signal.SIGPROF, signal.SIGXCPU):
        return TIMED_OUT
    if os.WIFSIGNALED(status):
        return CRASHED
    return PASSED if status == 0 else FAILED


class Copies:
    """The programs and the shared object in a folder of their own, without debug information."""

    def __init__(self, folder, shared_object):
        self.folder = folder
        self.original = shared_object
        self.shared_object = folder / "lib" / SHARED_OBJECT
        shutil.rmtree(folder, ignore_errors=True)
        self.shared_object.parent.mkdir(parents=True)
        self.make(shared_object, self.shared_object)
        self.paths = {}

    def path(self, program):
        if program.of not in self.paths:
            self.paths[program.of] = self.folder / program.of
            self.make(program.path, self.paths[program.of])
        return self.paths[program.of]

    def make(self, path, result):
        """Stripping takes longer than copying: it is done once for all folders."""
        stripped = self.folder.parent / "stripped" / path.name
        if not stripped.exists() or stripped.stat().st_mtime_ns < path.stat().st_mtime_ns:
            stripped.parent.mkdir(exist_ok=True)
            unfinished = stripped.with_name(f"{path.name}.{os.getpid()}.{threading.get_ident()}")
            subprocess.run(["strip", "--strip-debug", "-o", unfinished, path], check=True)
            unfinished.rename(stripped)
        shutil.copy(stripped, result)

    def run(self, program, command, limits, **environment):
        """The command: a method of the program, which gets the path of its copy."""
        variables = dict(os.environ, **program.environment, **environment,
                         LD_LIBRARY_PATH=str(self.shared_object.parent))
        return run(command(self.path(program)), program.folder, variables, limits)

    def images(self, program):
        """The files whose code the program runs."""
        return [self.path(program)] + ([self.shared_object] if program.is_shared else [])
