"""Which program reaches which site: learnt by one run of each, with a trap in place of each site."""

import pathlib
import struct
import subprocess

import programs

HERE = pathlib.Path(__file__).resolve().parent
ENTRY = struct.Struct("<Q2I")


def build_library(folder):
    library = folder / "reach.so"
    subprocess.run(["cc", "-O1", "-shared", "-fPIC", "-Wall", "-Wextra", "-Werror", "-o", library,
                    HERE / "reach.c"], check=True)
    return library


def run(program, copies, library, sites_of, found):
    """Runs the program and adds the sites that it reaches. sites_of: for each of its images, site ->
    copies."""
    places = [sorted((copy.address, copy.old[0]) for group in sites.values() for copy in group)
              for sites in sites_of]
    places += [[]] * (2 - len(places))
    traps = copies.folder / "traps"
    traps.write_bytes(struct.pack("<2Q", *map(len, places)) +
                      b"".join(ENTRY.pack(address, 0, code) for image in places for address, code in image))
    result = copies.run(
        program, program.command, programs.Limits(300, 900),
        LD_PRELOAD=str(library), KELINFRA_TRAPS=str(traps), KELINFRA_TRAPPED=str(copies.path(program)))
    entries = ENTRY.iter_unpack(traps.read_bytes()[16:])
    for image, sites in zip(places, sites_of):
        hit = {address for (address, _), (_, is_reached, _) in zip(image, entries) if is_reached}
        found.update(site for site, group in sites.items() if any(copy.address in hit for copy in group))
    return result
