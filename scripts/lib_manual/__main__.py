"""The manual: `build` makes it from headers and documents, `check` looks it over, `pictures` draws its pictures.

    python3 scripts/lib_manual build --version 1.0.0 FOLDER     input, HTML and index below FOLDER
    python3 scripts/lib_manual check FOLDER                     links, pages, nothing from elsewhere
    python3 scripts/lib_manual pictures [--check]               writes or compares docs/guide/pictures
"""

import argparse
import pathlib
import shutil
import subprocess
import sys

import check
import finish
import pictures
import stage

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BRIEF = "Operating-system services, text and network infrastructure in C++"


def run_doxygen(output, version):
    """What Doxygen says goes to the caller; a warning fails."""
    settings = (SOURCE / "docs/Doxyfile.in").read_text()
    for name, value in {"VERSION": version, "BRIEF": BRIEF, "SOURCE": SOURCE, "OUTPUT": output,
                        "INPUT": output / "input"}.items():
        settings = settings.replace(f"@{name}@", str(value))
    (output / "Doxyfile").write_text(settings)
    result = subprocess.run(["doxygen", output / "Doxyfile"], check=False, cwd=output)
    if result.returncode != 0:
        sys.exit("the manual has warnings; lines count in the prepared files that they name")


def build(output, version):
    for folder in ("input", "html"):
        shutil.rmtree(output / folder, ignore_errors=True)
    output.mkdir(parents=True, exist_ok=True)
    stage.prepare(SOURCE, output)
    run_doxygen(output, version)
    finish.finish(output)


def main():
    parser = argparse.ArgumentParser(prog="lib_manual", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="command", required=True)
    command = commands.add_parser("build")
    command.add_argument("--version", required=True)
    command.add_argument("folder", type=pathlib.Path)
    command = commands.add_parser("check")
    command.add_argument("folder", type=pathlib.Path)
    command = commands.add_parser("pictures")
    command.add_argument("--check", action="store_true")
    arguments = parser.parse_args()
    if arguments.command == "build":
        build(arguments.folder.resolve(), arguments.version)
    elif arguments.command == "check":
        check.check(SOURCE, arguments.folder.resolve())
    else:
        pictures.draw_all(SOURCE / "docs/guide/pictures", arguments.check)


main()
