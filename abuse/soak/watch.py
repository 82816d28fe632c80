"""What must hold of the files of a state root: one job at a time, and no password anywhere."""
import collections
import json
import os
import pathlib
import socket
import threading

import wire

SECRETS = [text.encode(code) for text in (*wire.PASSWORDS, wire.DATA)
           for code in ("ascii", "utf-16-le")]


class Watch:
    """Looks at what the program wrote and takes it away, again and again, so that nothing grows."""

    def __init__(self, root, report):
        self.root = pathlib.Path(root)
        self.report = report
        self.calls = 0
        self.jobs = 0
        self.dumps = 0
        self.debug_lines = 0
        self._job = None
        self._earlier_jobs = set()
        self._latest_calls = collections.deque(maxlen=24)
        self._turn = 0
        self._record = self.root / "simulator/calls.jsonl"
        self._record.parent.mkdir(parents=True, exist_ok=True)
        self._record.touch()
        self._debug = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._debug.bind(str(self.root / "debug"))
        threading.Thread(target=self._read_debug_output, daemon=True).start()

    def look(self):
        """What was moved aside the last time has no writer any more."""
        for path in sorted(self.root.glob("moved-*")):
            content = path.read_bytes()
            self._search(path.name, content)
            if path.name.endswith("-calls.jsonl"):
                self._check_calls(content)
            path.unlink()
        self._turn += 1
        for path in (*self.root.glob("eventlog/*.jsonl"), *self.root.glob("drive_c/Log Files/*")):
            self._move_aside(path)
        for path in self.root.glob("drive_c/ProgramData/Brennick/Drivers/Dump/*.dmp"):
            self.dumps += 1
            self._move_aside(path)
        # There is a record at every moment. A full disk leaves everything as it is.
        fresh = self.root / "simulator/fresh-record"
        fresh.touch()
        os.link(self._record, self._aside(self._record))
        fresh.rename(self._record)

    def _aside(self, path):
        return self.root / "moved-{:06}-{}".format(self._turn, path.name)

    def _move_aside(self, path):
        path.rename(self._aside(path))

    def _search(self, name, content):
        for secret in SECRETS:
            place = content.find(secret)
            if place >= 0:
                self.report("{} holds {!r}: {!r}".format(
                    name, secret, content[max(0, place - 200):place + 100]))

    def _read_debug_output(self):
        while True:
            line = self._debug.recv(1 << 16)
            self.debug_lines += 1
            self._search("the debugger output", line)

    def _check_calls(self, content):
        """The calls of a job follow one another without those of another between them."""
        for line in content.splitlines():
            try:
                call = json.loads(line)
            except ValueError:
                continue  # The disk was full.
            # What comes before the component's object is made and after the job has ended.
            if call["member"] in ("TestManagedCodeAccessible", "Dispose"):
                continue
            self.calls += 1
            self._latest_calls.append(line.decode("ascii", "replace"))
            job = (call["process"], call["object"])
            # A process may have the id of one that has ended.
            begins = call["member"] == "ZebraSDK" and call["event"] == "begin"
            if job == self._job and not begins:
                continue
            if job in self._earlier_jobs and not begins:
                self.report("two jobs at once: {} and {}\n  {}".format(
                    job, self._job, "\n  ".join(self._latest_calls)))
            self._earlier_jobs.add(job)
            self._job = job
            self.jobs += 1
