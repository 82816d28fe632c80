"""Two controllers with eight encoders each under Wine, as tagwrightctl drives them, whose processes are killed at
times: wine.py PROGRAMS PREFIX MINUTES SEED. The prefix is the state root, too. The exit code is 1 when a promise
is broken."""
import collections
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import threading
import time

import wire
from soak import PRINTERS, faults
from watch import Watch

RUN = str(pathlib.Path(__file__).resolve().parents[2] / "scripts/wine-run")
JOBS = 64  # of one life of a controller
SERVER_GONE = 6  # tagwrightctl's exit code
LONGEST_RUN = 300
LONGEST_END = 60  # seconds, of processes without a parent on a busy machine


class WineSoak:
    def __init__(self, programs, prefix, minutes, seed):
        self.programs, self.prefix = programs, pathlib.Path(prefix)
        self.seed = seed
        self.end = time.monotonic() + 60 * minutes
        self.counts = collections.Counter()
        self.faults = []
        self.environment = dict(os.environ, WINEPREFIX=prefix,
                                TAGWRIGHT_ROOT="Z:" + prefix.replace("/", "\\"))
        self.watch = Watch(prefix, self.report)
        (self.prefix / "simulator/faults.json").write_text(json.dumps(faults()), encoding="ascii")

    def report(self, text):
        self.faults.append(text)
        print("FAULT:", text, flush=True)

    def is_over(self):
        return time.monotonic() > self.end

    def play_controller(self, number):
        chance = random.Random("{} controller {}".format(self.seed, number))
        folder = self.prefix / "jobs{}".format(number)
        folder.mkdir()
        jobs = [folder / "{}.xml".format(job) for job in range(JOBS)]
        while not self.is_over():
            for path in jobs:
                path.write_bytes(wire.random_job(chance, chance.choice(PRINTERS)))
            self.run_controller([str(path.relative_to(self.prefix)) for path in jobs])

    def run_controller(self, jobs):
        command = [RUN, self.programs + "/tagwrightctl.exe", "run", "--control", "8", "--force", "--json"]
        try:
            run = subprocess.run(command + jobs, cwd=self.prefix, env=self.environment, timeout=LONGEST_RUN,
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 stderr=subprocess.DEVNULL, check=False)
        except subprocess.TimeoutExpired:
            self.report("a controller's jobs do not come to an end")
            return
        lines = [json.loads(line) for line in run.stdout.splitlines() if line.startswith(b"{")]
        answers = [line for line in lines if "job" in line]
        self.counts["controllers"] += 1
        self.counts["jobs"] += len(answers)
        for answer in answers:
            self.counts["job " + (answer.get("status_name") or "told by a closed pipe")] += 1
        is_gone = any("status" not in answer for answer in answers) or run.returncode == SERVER_GONE
        if run.returncode not in (0, 1, SERVER_GONE) or (len(answers) != len(jobs) and not is_gone):
            self.report("exit code {} after {} of {} jobs".format(run.returncode, len(answers), len(jobs)))

    def processes(self):
        """The ids of the servers in this prefix."""
        own = "WINEPREFIX={}\0".format(self.prefix).encode()
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if (b"tagwright.exe" in (folder / "cmdline").read_bytes() and
                        own in (folder / "environ").read_bytes() + b"\0"):
                    yield int(folder.name)
            except OSError:
                pass

    def play_killer(self):
        chance = random.Random("{} killer".format(self.seed))
        while not self.is_over():
            time.sleep(10 + chance.random() * 20)
            servers = list(self.processes())
            if servers:
                os.kill(chance.choice(servers), signal.SIGKILL)
                self.counts["processes killed"] += 1

    def play_watch(self):
        while not self.is_over():
            self.watch.look()
            time.sleep(2)

    def run(self):
        plays = [(self.play_controller, 1), (self.play_controller, 2), (self.play_killer,), (self.play_watch,)]
        threads = [threading.Thread(target=play[0], args=play[1:]) for play in plays]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        end = time.monotonic() + LONGEST_END
        while any(self.processes()) and time.monotonic() < end:
            time.sleep(0.5)
        if any(self.processes()):
            self.report("servers are left: {}".format(list(self.processes())))
        for _ in range(2):
            self.watch.look()
        self.counts.update({"jobs recorded": self.watch.jobs, "calls recorded": self.watch.calls,
                            "dumps": self.watch.dumps})
        for name, count in sorted(self.counts.items()):
            print("{:38} {}".format(name, count))
        print("{} faults".format(len(self.faults)) if self.faults else "clean")


def main(programs, prefix, minutes, seed):
    soak = WineSoak(programs, prefix, float(minutes), seed)
    soak.run()
    return 1 if soak.faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
