"""Processes of the program, each started by a parent of its own that can be killed."""
import resource
import signal
import subprocess
import time
import uuid

import wire

LONGEST_END = 25  # seconds; the program ends itself by force after 22


def awaits(condition, seconds):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.01)
    return True


class Process:
    """tagwright in a folder of programs, with a client on its first pipe."""

    def __init__(self, folder, root, *switches):
        self.root = root
        self.name = "soak-" + uuid.uuid4().hex
        start = '"$@" & echo $!; read -r end'
        self.parent = subprocess.Popen(
            ["sh", "-c", start, "sh", folder + "/tagwright", "/n", self.name, *switches],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.id = int(self.parent.stdout.readline())
        self.pipe = wire.Pipe(root, self.name)

    def is_running(self):
        try:
            with open("/proc/{}/stat".format(self.id), encoding="latin-1") as stat:
                return stat.read().rpartition(")")[2].split()[0] not in "ZX"
        except (FileNotFoundError, ProcessLookupError):
            return False

    def kill_parent(self):
        self.parent.send_signal(signal.SIGKILL)
        self.parent.wait()

    def has_ended(self):
        """Within the time in which it must; the parent is gone afterwards."""
        ended = awaits(lambda: not self.is_running(), LONGEST_END)
        self.kill_parent()
        self.parent.stdin.close()
        self.parent.stdout.close()
        self.pipe.close()
        return ended

    def usage(self):
        """Threads, descriptors, and resident memory in KiB without the files'."""
        with open("/proc/{}/status".format(self.id), encoding="ascii") as status:
            fields = dict(line.split(":", 1) for line in status)
        descriptors = int(subprocess.check_output(
            ["sh", "-c", "ls /proc/{}/fd | wc -l".format(self.id)]))
        return int(fields["Threads"]), descriptors, int(fields["RssAnon"].split()[0])

    def limit_descriptors(self, spare):
        """Leaves so many free, or takes the limit back with None; what was to be had before."""
        _, hard = resource.prlimit(self.id, resource.RLIMIT_NOFILE)
        soft = hard if spare is None else self.usage()[1] + spare
        resource.prlimit(self.id, resource.RLIMIT_NOFILE, (min(soft, hard), hard))


class Controller(Process):
    def __init__(self, folder, root):
        super().__init__(folder, root, "/c")
        self.added = 0

    def add_encoder(self):
        """The new pipe; None when there can be none now. One thread at a time."""
        self.added += 1
        name = "{}-{}".format(self.name, self.added)
        status = self.pipe.request(wire.ADD_ENCODER, name.encode("ascii") + b"\0")
        if status == wire.PIPE_CREATE_FAILED:
            return None
        if status != wire.SUCCESS:
            raise ValueError("eAddEncoder is answered with {}".format(status))
        return wire.Pipe(self.root, name)
