# SPDX-License-Identifier: MIT
"""A plan that GNU parallel runs: one job is killed, and the plan is resumed from the job log."""

import collections
import os
import signal
import subprocess

from running import catch, output_of, wait_for
from workshop import PARTS


def start(shop, lines, *options):
    process = subprocess.Popen(["parallel", "--will-cite", "--jobs", "2", *options], env=shop.variables,
                               text=True, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
    process.stdin.write(lines)
    process.stdin.close()
    return process


def exits_of(log):
    """The exit codes and signals of each job in a job log, in the order of its runs."""
    exits = collections.defaultdict(list)
    for line in log.read_text().splitlines()[1:]:
        job, _, _, _, _, _, code, killed_by, _ = line.split("\t")
        exits[int(job)].append((int(code), int(killed_by)))
    return exits


def kill_a_job(shop, out, process):
    wait_for("the first parts", lambda: len(list(out.glob("*.part-*"))) >= len(shop.reels) // 2)
    job = catch(shop.program, out)
    part = output_of(job)
    os.kill(job, signal.SIGKILL)
    code = process.wait()
    shop.expect(code != 0, "parallel succeeded, and a job was killed")
    shop.expect(not part.exists(), f"{part} exists, and its command was killed")
    shop.say(f"  killed the job of {part.name}: exit {code} after {len(list(out.glob('*.part-*')))} parts")


def expect_log(shop, first, last):
    """The jobs that succeeded ran once, and each job succeeded in the end."""
    done = {job for job, exits in first.items() if exits[-1] == (0, 0)}
    repeated = {job for job, exits in last.items() if len(exits) > 1}
    shop.expect((0, signal.SIGKILL) in [exits[-1] for exits in first.values()],
                "no job of the log was killed")
    shop.expect(not done & repeated, f"jobs {sorted(done & repeated)} had succeeded and ran again")
    shop.expect(sorted(last) == list(range(1, PARTS * len(shop.reels) + 1))
                and all(exits[-1] == (0, 0) for exits in last.values()),
                f"not every job succeeded: {dict(last)}")
    shop.say(f"  resumed: {len(done)} jobs were done, {len(last) - len(done)} ran")


def run(shop):
    out, log = shop.new_folder("parallel"), shop.folder / "parallel.log"
    lines = shop.plan(shop.reels, out, PARTS)
    shop.say(f"GNU parallel: {PARTS * len(shop.reels)} jobs, then {len(shop.reels)} joins")
    kill_a_job(shop, out, start(shop, lines, "--halt", "now,fail=1", "--joblog", str(log)))
    first = exits_of(log)
    code = start(shop, lines, "--halt", "now,fail=1", "--joblog", str(log), "--resume-failed").wait()
    shop.expect(code == 0, f"parallel --resume-failed: exit {code}")
    expect_log(shop, first, exits_of(log))
    code = start(shop, shop.plan(shop.reels, out, PARTS, "--joins"), "--halt", "now,fail=1").wait()
    shop.expect(code == 0, f"parallel of the joins: exit {code}")
    shop.expect_mixes(out, shop.reels, PARTS)
