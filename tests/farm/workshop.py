# SPDX-License-Identifier: MIT
"""The timelines, their mixes in one piece, and the faults of the mixes that schedulers make."""

import filecmp
import os
import pathlib
import subprocess

import reels

PARTS = 3
# Each node has its own cache, as on its own disk.
WRAPPER = """\
#!/bin/sh
node={folder}/caches/${{SLURMD_NODENAME-here}}
exec {program} --cache "$node" --db "$node.db" --no-log "$@"
"""


class Workshop:
    def __init__(self, program, folder):
        self.program, self.folder = str(pathlib.Path(program).resolve()), folder
        self.faults = 0
        (folder / "caches").mkdir()
        (folder / "whole").mkdir()
        self.variables = {**os.environ, "PATH": f"{self.install()}:{os.environ['PATH']}"}
        self.reels = reels.write_reels(folder / "reels")
        for reel in self.reels:
            self.mix_whole(reel)
        self.say(f"{len(self.reels)} timelines are mixed in one piece")

    def install(self):
        """The folder of a command sonrel."""
        folder = self.folder / "bin"
        folder.mkdir()
        wrapper = folder / "sonrel"
        wrapper.write_text(WRAPPER.format(folder=self.folder, program=self.program))
        wrapper.chmod(0o755)
        return folder

    def say(self, text):
        print(text, flush=True)

    def expect(self, holds, text):
        if not holds:
            self.faults += 1
            self.say(f"FAULT: {text}")

    def sonrel(self, *words):
        run = subprocess.run(["sonrel", *map(str, words)], env=self.variables, text=True, check=True,
                             stdout=subprocess.PIPE)
        return run.stdout

    def mix_whole(self, reel):
        self.sonrel("mix", reel, "-o", self.folder / "whole" / f"{reel.stem}.wav")

    def plan(self, timelines, out, parts, *options):
        """The text of a plan. Its commands use one core each."""
        return self.sonrel("plan", "mix", *timelines, "--shards", parts, "-o", out, "--pass=--jobs=1",
                           *options)

    def new_folder(self, name):
        folder = self.folder / name
        folder.mkdir()
        return folder

    def expect_mixes(self, out, timelines, parts):
        """The folder has the parts and the mixes of the timelines, with the bytes of those in one piece."""
        names = {f"{reel.stem}.wav" for reel in timelines}
        for name in sorted(names):
            whole, mix = self.folder / "whole" / name, out / name
            self.expect(mix.exists() and filecmp.cmp(whole, mix, shallow=False),
                        f"{mix} is missing or differs from {whole}")
        found = {path.name for path in out.iterdir()} - names
        self.expect(len(found) == parts * len(timelines) and all(".part-" in name for name in found),
                    f"{out} has {sorted(found)} besides the mixes")
        self.say(f"  {len(names)} mixes compared with those in one piece")
