# SPDX-License-Identifier: MIT
"""A Slurm cluster in a folder of this machine: a controller and nodes of one core, on the loopback device.

Nothing outside the folder is used: the configuration, the key of munge, the states and the logs are in it.
"""

import getpass
import os
import re
import shutil
import signal
import socket
import subprocess

from running import environment, parent, processes_with, wait_for

NODE_TIMEOUT = 5  # seconds until the controller gives up a node
CONFIGURATION = """\
ClusterName=farm
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={port}
SlurmUser={user}
SlurmdUser={user}
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket={folder}/munge/socket
StateSaveLocation={folder}/state
SlurmctldPidFile={folder}/slurmctld.pid
SlurmctldLogFile={folder}/slurmctld.log
SlurmdSpoolDir={folder}/%n
SlurmdPidFile={folder}/%n.pid
SlurmdLogFile={folder}/%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
JobCompType=jobcomp/none
SchedulerParameters=sched_min_interval=100000,bf_interval=1
SlurmdTimeout={timeout}
ReturnToService=1
MinJobAge=3600
"""
NODE = "NodeName={name} NodeHostname={host} NodeAddr=127.0.0.1 Port={port} CPUs=1 State=UNKNOWN\n"
PARTITION = "PartitionName=all Nodes={names} Default=YES State=UP\n"


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for one in sockets:
        one.bind(("127.0.0.1", 0))
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


def daemon(name):
    """The path of a daemon, which may be outside the PATH of a user."""
    return shutil.which(name, path=os.environ["PATH"] + ":/usr/sbin:/sbin") or name


class Cluster:
    """Runs until the end of its with block."""

    def __init__(self, folder, nodes, variables):
        self.folder, self.nodes = folder, nodes
        self.variables = {**variables, "SLURM_CONF": str(folder / "slurm.conf")}
        self.daemons = {}

    def __enter__(self):
        self.prepare()
        try:
            self.start_munge()
            self.start("slurmctld", "-D", "-c")
            for node in self.nodes:
                self.start_node(node)
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for process in reversed(self.daemons.values()):
            process.terminate()
            process.wait()
        for process in processes_with("SLURM_CONF", self.variables["SLURM_CONF"]):
            os.kill(process, signal.SIGKILL)  # a task that was still running, or its step

    def prepare(self):
        for name in ("state", "munge", *self.nodes):
            (self.folder / name).mkdir(parents=True, mode=0o700)
        key = self.folder / "munge" / "key"
        key.write_bytes(os.urandom(128))
        key.chmod(0o600)
        host = socket.gethostname().partition(".")[0]
        controller, *ports = free_ports(1 + len(self.nodes))
        text = CONFIGURATION.format(host=host, port=controller, user=getpass.getuser(),
                                    folder=self.folder, timeout=NODE_TIMEOUT)
        for name, port in zip(self.nodes, ports):
            text += NODE.format(name=name, host=host, port=port)
        text += PARTITION.format(names=",".join(self.nodes))
        (self.folder / "slurm.conf").write_text(text)

    def start(self, name, *arguments, known_as=None):
        log = open(self.folder / f"{known_as or name}.out", "a")
        self.daemons[known_as or name] = subprocess.Popen(
            [daemon(name), *arguments], env=self.variables, stdin=subprocess.DEVNULL, stdout=log, stderr=log)

    def start_munge(self):
        folder = self.folder / "munge"
        self.start("munged", "--foreground", "--force", "--num-threads=2", f"--key-file={folder}/key",
                   f"--socket={folder}/socket", f"--pid-file={folder}/pid", f"--log-file={folder}/log",
                   f"--seed-file={folder}/seed")
        wait_for("munge", (folder / "socket").exists)

    def start_node(self, name):
        self.start("slurmd", "-D", "-N", name, known_as=name)
        wait_for(f"{name} to be idle", lambda: self.state_of_node(name) == "idle")

    def state_of_node(self, name):
        run = subprocess.run(["sinfo", "-h", "-n", name, "-o", "%T"], env=self.variables, text=True,
                             capture_output=True, check=False)
        return run.stdout.strip()

    def kill_node(self, name, task):
        """Kills a node with a task that runs on it, and the step that runs the task."""
        step = parent(task)
        self.daemons[name].kill()
        self.daemons.pop(name).wait()
        os.kill(step, signal.SIGKILL)
        os.kill(task, signal.SIGKILL)

    def call(self, *words, **more):
        """The output of a command of Slurm."""
        return subprocess.run(words, env=self.variables, text=True, check=True, stdout=subprocess.PIPE,
                              **more).stdout

    def submit(self, script, folder):
        """The numbers of the arrays that a script submits. Their logs are in a folder."""
        folder.mkdir()
        return self.call("sh", str(script), cwd=folder).split()

    def records(self, array):
        """The record of each task of an array, by its number."""
        records = {}
        for line in self.call("scontrol", "--oneliner", "show", "job", array).splitlines():
            fields = dict(re.findall(r"(\w+)=(\S*)", line))
            if fields.get("ArrayJobId") == array:
                records[fields["ArrayTaskId"]] = fields
        return records

    def states(self, array):
        """The states of the tasks of an array, by their numbers."""
        return {task: record["JobState"] for task, record in self.records(array).items()}

    def wait_until_idle(self):
        wait_for("the last task", lambda: not self.call("squeue", "-h").strip())

    def start_now(self, task):
        """Ends the waiting time of a task that is queued again."""
        self.call("scontrol", "update", f"JobId={task}", "StartTime=now")

    def repeat(self, array, tasks):
        for task in tasks:
            self.call("scontrol", "requeue", f"{array}_{task}")
            self.start_now(f"{array}_{task}")
        self.wait_until_idle()

    def runs_on(self, name):
        """A test for processes: whether they are tasks on a node of this cluster."""
        def is_on(process):
            variables = environment(process)
            return (variables.get("SLURMD_NODENAME") == name
                    and variables.get("SLURM_CONF") == self.variables["SLURM_CONF"])
        return is_on
