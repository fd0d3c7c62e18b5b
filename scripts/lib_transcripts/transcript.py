"""What the tests of one build reported."""

import json
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree as xml

ROOT = pathlib.Path(__file__).resolve().parents[2]

# What no two runs have in common, in printed lines and in the texts of reports.
VARYING = [(re.compile(pattern), name) for pattern, name in [
    (r"\(\d+ ms total\)", "(TIME)"),
    (r"\bseed([ =])\d+", r"seed\1SEED"),
    (r"\.(cpp|sh): ?(line )?\d+:", r".\1:"),  # another line of the same check
    (r"(\.\./)+tests/", "SOURCE/tests/"),
]]

# Lines of GoogleTest that say again what the reports of the cases say, or that a program was started, as
# it is again for death tests.
SUMMARY = re.compile(r"\[[ =A-Z]{10}\] .*|Running main\(\) from .*|")


def stable(text, folder):
    """The text without what differs from run to run and from folder to folder."""
    text = text.replace(str(folder), "BUILD").replace(str(ROOT), "SOURCE")
    for pattern, name in VARYING:
        text = pattern.sub(name, text)
    return text


def label_of(preset):
    """The label of the tests that the preset runs; None when it runs all."""
    for test in json.loads((ROOT / "CMakePresets.json").read_text())["testPresets"]:
        if test["name"] == preset:
            return test.get("filter", {}).get("include", {}).get("label")
    sys.exit(f"CMakePresets.json has no test preset '{preset}'")


class Transcript:
    """Labels and printed lines of each test, results of each test and of each case in it.

    A case is named "<test>: <suite>.<case>".
    """

    def __init__(self, folder):
        self.folder = folder.resolve()
        self.preset = folder.name
        self.labels = self._labels()
        self.lines = {}
        self.results = {}
        for test in self._read("junit.xml").iter("testcase"):
            self._add_test(test)
        self._require_all()

    def _labels(self):
        command = ["ctest", "--test-dir", self.folder, "--show-only=json-v1"]
        shown = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)
        return {test["name"]: {label for field in test.get("properties", [])
                               if field["name"] == "LABELS" for label in field["value"]}
                for test in shown["tests"]}

    def _read(self, name):
        path = self.folder / name
        if not path.is_file():
            sys.exit(f"there is no {path}: the tests have not run")
        return xml.parse(path).getroot()

    def _add_test(self, test):
        name = test.get("name")
        skipped = test.find("skipped")
        self.results[name] = test.get("status") if skipped is None else "skipped"
        printed = stable(test.findtext("system-out") or "", self.folder).splitlines()
        if (self.folder / "gtest" / f"{name}.xml").is_file():
            self._add_cases(name)
            printed = [line for line in printed if not SUMMARY.fullmatch(line)]
        self.lines[name] = printed

    def _add_cases(self, program):
        for case in self._read(f"gtest/{program}.xml").iter("testcase"):
            result = [case.get("status"), case.get("result")]
            if case.find("failure") is not None:
                result.append("failed")
            if (skipped := case.find("skipped")) is not None:
                result += skipped.get("message").splitlines()[1:]
            result += sorted(f"{field.get('name')}={field.get('value')}"
                             for field in case.iter("property"))
            name = f"{program}: {case.get('classname')}.{case.get('name')}"
            self.results[name] = stable(" ".join(result), self.folder)

    def _require_all(self):
        """A run of some of the tests proves nothing."""
        missing = set(self.selected(label_of(self.preset))) - set(self.lines)
        if missing:
            sys.exit(f"{self.preset}: {len(missing)} tests have not run, as {min(missing)}")

    def selected(self, label):
        return [test for test, labels in self.labels.items() if label is None or label in labels]
