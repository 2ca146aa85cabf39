# SPDX-License-Identifier: MIT
"""A machine that disappears from the network while it makes a file.

The machine is a network namespace that is connected by two virtual devices. A program in it holds
the lock of a media file and is stopped; then its device goes down, so that the server receives no
packet about the end of the connection. Another program needs the same file.
"""

import contextlib
import os
import pathlib
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "faults"))
from figures import Figure  # noqa: E402
from makemedia import write_noise  # noqa: E402
from server import Server  # noqa: E402

MAX_SECONDS = 30  # the documented limit
SECONDS_OF_WORK = 10  # of a loaded machine, for a file of a second
PORT = 5433
HOST, GUEST = "10.253.253.1", "10.253.253.2"


def ip(*words):
    subprocess.run(["ip", *words], check=True)


@contextlib.contextmanager
def machine():
    """The name of a namespace, and of the device on our side."""
    name, ours, theirs = (f"{kind}{os.getpid()}" for kind in ("snrl", "vo", "vt"))
    ip("netns", "add", name)
    try:
        ip("link", "add", ours, "type", "veth", "peer", "name", theirs, "netns", name)
        ip("addr", "add", f"{HOST}/30", "dev", ours)
        ip("link", "set", ours, "up")
        ip("-n", name, "addr", "add", f"{GUEST}/30", "dev", theirs)
        ip("-n", name, "link", "set", theirs, "up")
        yield name, ours
    finally:
        ip("netns", "del", name)


def await_waiting(server, program):
    """Waits until a connection waits for the lock of a media file."""
    waiting = "SELECT count(*) FROM pg_locks WHERE locktype = 'advisory' AND NOT granted"
    while server.ask(waiting) == ["0"]:
        time.sleep(0.1)
        if program.poll() is not None:
            raise SystemExit(f"the second program ended: {program.communicate()}")


def conform(program, folder, address, media, prefix=()):
    environment = os.environ | {"XDG_CACHE_HOME": str(folder / "home")}
    return subprocess.Popen(
        [*prefix, program, "--cache", folder / "cache", "--db", address, "conform", media],
        env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def conform_and_stop(program, faultfs, folder, server, media, name):
    """A program in the namespace that is stopped at the first write into its cache file."""
    variables = {"FAULTFS_ROOT": folder / "cache", "FAULTFS_OPS": "write",
                 "FAULTFS_MATCH": "*.xwmc", "FAULTFS_AT": 1, "FAULTFS_MODE": "stop",
                 "LD_PRELOAD": faultfs}
    words = [f"{variable}={value}" for variable, value in variables.items()]
    holder = conform(program, folder, server.address(HOST), media,
                     ["ip", "netns", "exec", name, "env", *words])
    state = os.waitid(os.P_PID, holder.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
    if state.si_code != os.CLD_STOPPED:
        raise SystemExit(f"the first program ended: {holder.communicate()}")
    return holder


def measure(program, faultfs, folder, server, name, device):
    """The seconds that the second program needs after the first machine is gone, and a fault."""
    media = folder / "a.wav"
    write_noise(media, 44100)
    holder = conform_and_stop(program, faultfs, folder, server, media, name)
    second = conform(program, folder, server.address(), media)
    await_waiting(server, second)
    ip("link", "set", device, "down")
    start = time.monotonic()
    _, error = second.communicate(timeout=10 * MAX_SECONDS)
    seconds = time.monotonic() - start
    holder.kill()
    holder.communicate()
    return seconds, (f"exit {second.returncode}: {error}" if second.returncode else "")


def run(program, faultfs, folder):
    figure = Figure(f"a machine disappears: seconds until its lock is free, at most {MAX_SECONDS}")
    with machine() as (name, device):
        server = Server(folder / "server", listen=HOST, port=PORT)
        try:
            seconds, fault = measure(program, faultfs, folder, server, name, device)
        finally:
            server.stop()
    print(f"the lock of a machine that disappeared was free after {seconds:.1f} s")
    if seconds > MAX_SECONDS + SECONDS_OF_WORK:
        fault += f"the lock was held for {seconds:.0f} s"
    figure.add([fault] if fault else [])
    return [figure]
