#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks which libraries an installed Sonrel loads, and when.

    tools/check/check_loads.py STAGE FOLDER   an installed tree; FOLDER receives a cache and a mix
    tools/check/check_loads.py --self-test    lists of libraries with known results

`ldd` prints at most 40 libraries for libsonrel.so, and for no library and program of ours a library of
drawing, decoding, sound or a desktop. While the program runs, the dynamic linker lists every file that
it loads: `--version` loads no module, and a mix loads neither the drawing library nor the sound device.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

MAX_LIBRARIES = 40
DRAWING = r"libQt5(?!Core)|lib(GL|EGL|OpenGL)\b"
DEVICE = r"libSDL|libpulse|libasound|libjack|libpipewire"
DESKTOP = r"libX11|libxcb|libwayland"
SERVER = r"libpq\.|libldap|libgssapi|libkrb5"
FFMPEG = r"lib(av(codec|device|filter|format|util)|sw(resample|scale))\."
MODULE = r"/sonrel-[0-9.]+/\w+\.so"
RECORDING = "/usr/share/sounds/alsa/Front_Center.wav"


def forbidden(names, *patterns):
    """The names that contain one of the patterns."""
    return [name for name in names if any(re.search(pattern, name) for pattern in patterns)]


def linked(path):
    """A name for each line of ldd."""
    printed = subprocess.run(["ldd", path], check=True, capture_output=True, text=True).stdout
    return [line.split()[0] for line in printed.splitlines()]


def link_faults(name, libraries):
    faults = [f"{name} links {library}"
              for library in forbidden(libraries, DRAWING, DEVICE, DESKTOP, FFMPEG, SERVER)]
    if name.startswith("libsonrel.so") and len(libraries) > MAX_LIBRARIES:
        faults.append(f"{name}: ldd prints {len(libraries)} libraries, more than {MAX_LIBRARIES}")
    return faults


def loaded(command):
    """The paths of the files that a program loads from its start to its end."""
    with tempfile.TemporaryDirectory() as folder:
        environment = {"LD_DEBUG": "files", "LD_DEBUG_OUTPUT": f"{folder}/loads",
                       "LC_ALL": "C.UTF-8", "PATH": "/usr/bin:/bin"}
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, env=environment)
        text = "".join(path.read_text() for path in pathlib.Path(folder).iterdir())
    return re.findall(r"calling init: (\S+)", text)


def load_faults(name, files, patterns, needed):
    faults = [f"{name} loads {file}" for file in forbidden(files, *patterns)]
    return faults + [f"{name} loads no {pattern}" for pattern in needed
                     if not forbidden(files, pattern)]


def check(stage, folder):
    program = stage / "bin/sonrel"
    libraries = sorted(path for path in stage.rglob("libsonrel*.so") if path.is_file())
    faults = [f"{stage} contains no {name}" for name in ("libsonrel.so", "libsonrel-project.so")
              if name not in {path.name for path in libraries}]
    for path in [*libraries, program]:
        faults += link_faults(path.name, linked(path))
    faults += load_faults("sonrel --version", loaded([program, "--version"]),
                          [MODULE, DRAWING, DEVICE, DESKTOP, FFMPEG, SERVER], ["libsonrel.so"])
    mix = [program, "--cache", folder / "cache", "--db", folder / "cache.db", "mix", RECORDING,
           "--overwrite", "-o", folder / "mix.wav"]
    faults += load_faults("sonrel mix", loaded(mix), [DRAWING, DEVICE, "painter", "pictures", "postgresql"],
                          [r"ffmpeg\.so", FFMPEG])
    return faults


# (name, libraries, number of faults)
KNOWN = [
    ("libsonrel.so", ["libQt5Core.so.5", "libicudata.so.72", "libglib-2.0.so.0"], 0),
    ("libsonrel.so", ["libQt5Gui.so.5", "libGL.so.1", "libX11.so.6", "libSDL2-2.0.so.0"], 4),
    ("libsonrel-project.so", ["libsqlite3.so.0", "libpq.so.5"], 1),
    ("libsonrel.so", ["libavcodec.so.59", "libswresample.so.4", "libavahi-client.so.3"], 2),
    ("libsonrel.so", ["libm.so.6"] * MAX_LIBRARIES, 0),
    ("libsonrel.so", ["libm.so.6"] * (MAX_LIBRARIES + 1), 1),
    ("sonrel", ["libm.so.6"] * (MAX_LIBRARIES + 1), 0),
]


def self_test():
    faults = [f"{name} with {libraries[:4]}: {found} instead of {count} faults"
              for name, libraries, count in KNOWN
              if (found := len(link_faults(name, libraries))) != count]
    files = ["/lib/libsonrel.so.0", "/lib/sonrel-1.2.3/ffmpeg.so", "/lib/libavutil.so.57"]
    if len(load_faults("a", files, [MODULE], ["libavutil"])) != 1:
        faults.append("a loaded module is no fault")
    if len(load_faults("a", files[:1], [MODULE], ["libavutil"])) != 1:
        faults.append("a missing library is no fault")
    return faults


def main():
    arguments = sys.argv[1:]
    if arguments == ["--self-test"]:
        faults = self_test()
    elif len(arguments) == 2:
        folder = pathlib.Path(arguments[1])
        folder.mkdir(parents=True, exist_ok=True)
        faults = check(pathlib.Path(arguments[0]), folder)
    else:
        sys.exit("usage: check_loads.py STAGE FOLDER | --self-test")
    print("\n".join(faults), end="\n" if faults else "")
    print(f"loads: {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
