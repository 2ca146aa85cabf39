# SPDX-License-Identifier: MIT
"""A PostgreSQL server in a folder."""

import os
import pathlib
import shutil
import signal
import subprocess

OPTIONS = {"fsync": "off", "log_min_messages": "log", "log_checkpoints": "off",
           "max_connections": "200", "shared_buffers": "32MB"}


def programs():
    """The folder of the programs of the newest installed version."""
    found = sorted(pathlib.Path("/usr/lib/postgresql").glob("*/bin/postgres"))
    if not found:
        raise SystemExit("PostgreSQL is not installed: apt-get install postgresql")
    return found[-1].parent


def as_user(*command):
    """PostgreSQL refuses root."""
    words = list(map(str, command))
    if os.getuid() != 0:
        return words
    return ["setpriv", "--reuid=postgres", "--regid=postgres", "--clear-groups",
            "--pdeathsig=INT", *words]


class Server:
    """A server with the user sonrel, on a Unix socket in its folder and on TCP addresses."""

    def __init__(self, folder, listen="", port=5432):
        self.folder = pathlib.Path(folder)
        self.port = port
        self.folder.mkdir()
        if os.getuid() == 0:
            shutil.chown(self.folder, "postgres", "postgres")
        data = self.folder / "data"
        subprocess.run(as_user(programs() / "initdb", "-D", data, "-U", "sonrel", "-A", "trust",
                               "-N", "-E", "UTF8", "--locale=C"),
                       check=True, cwd="/", stdout=subprocess.DEVNULL)
        if listen:
            with open(data / "pg_hba.conf", "a", encoding="ascii") as file:
                file.write("host all all all trust\n")
        options = OPTIONS | {"listen_addresses": listen, "port": port}
        words = [word for name, value in options.items() for word in ("-c", f"{name}={value}")]
        self.process = subprocess.Popen(
            as_user(programs() / "postgres", "-D", data, "-k", self.folder, *words), cwd="/",
            stderr=subprocess.PIPE, text=True)
        for line in self.process.stderr:
            if "ready to accept connections" in line:
                return
        raise SystemExit("the server does not start")

    def address(self, host=None):
        return f"postgresql://sonrel@/postgres?host={host or self.folder}&port={self.port}"

    def ask(self, sql):
        """The lines that psql prints, with | between columns."""
        return subprocess.run(
            [programs() / "psql", "-h", self.folder, "-p", str(self.port), "-U", "sonrel", "-d",
             "postgres", "-Atqc", sql], check=True, capture_output=True, text=True).stdout.splitlines()

    def stop(self):
        self.process.send_signal(signal.SIGINT)
        self.process.communicate()
