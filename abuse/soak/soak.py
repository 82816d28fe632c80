"""Keeps two controllers under abuse for a while and looks whether they have kept their promises:
soak.py PROGRAMS ROOT MINUTES SEED. The exit code is 1 when one is broken."""
import collections
import contextlib
import json
import os
import pathlib
import random
import sys
import threading
import time

import stranger
import wire
from processes import Controller, Process, awaits
from watch import Watch

ENCODERS = 8  # of each controller
PRINTERS = ["USB{:03}".format(number) for number in range(1, 13)]
MAX_GROWTH_KIB = 16384


def faults():
    """What goes wrong at which printer; USB001 to USB004 are good."""
    throws = ["throw-managed", "throw-framework", "throw-standard", "throw-unknown"]
    crashes = ["crash-read", "crash-divide", "crash-illegal", "crash-stack", "crash-noexcept"]
    at = {"USB005": ["false"], "USB006": ["partial-write", "erased-word", "tag-leaves"],
          "USB007": throws, "USB008": crashes}
    rules = [{"fault": fault, "port_address": address, "probability": 0.2, "seed": number}
             for address, names in at.items() for number, fault in enumerate(names)]
    rules.append({"fault": "delay", "delay_ms": 30, "port_address": "USB009"})
    hang = {"fault": "hang", "port_address": "HANG"}
    return {"WriteEPC": [*rules, hang], "WriteUserMemory": rules, "SetAccessPassword": rules,
            "Connect": [{"fault": "false", "port_address": "USB010", "every": 3}]}


class Soak:
    def __init__(self, programs, root, minutes, seed):
        self.programs, self.root, self.seed = programs, root, seed
        self.start = time.monotonic()
        self.end = self.start + 60 * minutes
        self.counts = collections.Counter()
        self.faults = []
        self.lock = threading.Lock()
        self.names = collections.deque(maxlen=4)  # pipes that the stranger may try
        self.short_until = 0  # when there are descriptors for everybody again
        self.victims = {}  # why each process was started
        self.killed = []  # the names of processes that could not end in order
        simulator = pathlib.Path(root, "simulator")
        simulator.mkdir(parents=True)
        (simulator / "faults.json").write_text(json.dumps(faults()), encoding="ascii")
        self.stranger = stranger.start(root, seed) if os.geteuid() == 0 else None
        self.watch = Watch(root, self.report)
        self.controllers = [Controller(programs, root) for _ in range(2)]
        self.control_locks = [threading.Lock() for _ in range(2)]

    def report(self, text):
        with self.lock:
            self.faults.append(text)
            print("FAULT after {:.1f} s: {}".format(time.monotonic() - self.start, text), flush=True)

    def count(self, name):
        with self.lock:
            self.counts[name] += 1

    def is_over(self):
        return time.monotonic() > self.end

    def pause(self, seconds):
        time.sleep(max(0, min(seconds, self.end - time.monotonic())))

    # The clients, one thread an encoder.

    def play_client(self, place, number):
        chance = random.Random("{} client {} {}".format(self.seed, place, number))
        while not self.is_over():
            try:
                pipe = self.new_encoder(place)
                if pipe is not None:
                    with pipe:
                        self.misbehave(chance, pipe, place)
            except (wire.Closed, OSError) as error:
                # Who is promised a pipe when there is no descriptor for him a moment later is not let in.
                if place == 0 and time.monotonic() > self.short_until:
                    self.report("a pipe of the controller that lives on is gone: {!r}".format(error))
                self.count("clients told by a closed pipe")
                time.sleep(0.05)
            except wire.Silent:
                self.report("a client waited in vain")
            except ValueError as error:
                self.report(str(error))

    def new_encoder(self, place):
        with self.control_locks[place]:
            controller = self.controllers[place]
            pipe = controller.add_encoder()
        if place == 1:
            self.names.append("{}-{}".format(controller.name, controller.added + 1))
        self.count("pipes" if pipe else "pipes refused")
        return pipe

    def misbehave(self, chance, pipe, place):
        for _ in range(chance.randrange(1, 12)):
            if self.is_over():
                break
            time.sleep(chance.random() * 0.05)
            chance.choices([self.encode, self.send_wrong_magic, self.send_too_much, self.send_unknown],
                           weights=[80, 10, 1, 9])[0](chance, pipe)
        # Whose client leaves without a word is served to the end of the process, and keeps its thread.
        ways = [self.shut_down, self.encode_and_leave, self.break_off, self.never_read]
        if place == 0:
            ways = ways[:2]
        chance.choice(ways)(chance, pipe)

    def encode(self, chance, pipe, message_type=wire.ENCODE):
        self.count("jobs sent")
        payload = wire.random_job(chance, chance.choice(PRINTERS))
        try:
            status = pipe.request(message_type, payload)
        except wire.Closed:
            self.count("jobs told by a closed pipe")
            raise
        if status not in (wire.SUCCESS, wire.ENCODE_FAILED):
            raise ValueError("a job is answered with {}".format(status))
        self.count("jobs done" if status == wire.SUCCESS else "jobs failed")

    def send_wrong_magic(self, chance, pipe):
        pipe.write(wire.header(wire.ENCODE, chance.randrange(1 << 32), b"#@BX"))
        self.send_unknown(chance, pipe)

    def send_too_much(self, chance, pipe):
        length = wire.MAX_PAYLOAD + 1 + chance.randrange(1000)
        pipe.write(wire.header(wire.ENCODE, length) + bytes(length))
        self.send_unknown(chance, pipe)

    def send_unknown(self, chance, pipe):
        self.count("bad requests")
        payload = bytes(chance.randrange(2000))
        if pipe.request(0x301 + chance.randrange(1, 1 << 16), payload) != wire.UNKNOWN_MESSAGE:
            raise ValueError("an unknown message is not answered as one")

    def shut_down(self, chance, pipe):
        if chance.random() < 0.3:
            self.encode(chance, pipe, wire.ENCODE_AND_SHUTDOWN)
        elif pipe.request(wire.SHUTDOWN) != wire.SUCCESS:
            raise ValueError("eShutdown is not answered with success")

    def encode_and_leave(self, chance, pipe):
        self.count("clients that left their job")
        payload = wire.random_job(chance, chance.choice(PRINTERS))
        pipe.write(wire.header(wire.ENCODE_AND_SHUTDOWN, len(payload)) + payload)

    def break_off(self, chance, pipe):
        self.count("clients that broke off")
        pipe.write(wire.header(wire.ENCODE, 1000) + bytes(chance.randrange(1000)))

    def never_read(self, chance, pipe):
        self.count("clients that never read")
        with contextlib.suppress(wire.Silent):
            pipe.write(wire.header(0x301, 0) * 100000, chance.random())

    # What happens around them, each in a thread of its own.

    def play_victims(self):
        """Processes with one pipe that hang or crash, whose parents are killed, or they themselves."""
        chance = random.Random("{} victims".format(self.seed))
        allocator = ["overflow while allocating", "free twice", "throw from noexcept", "abort"]
        crash = '<zsdk_job><write segment="1" data="{}"/></zsdk_job>'
        hang = wire.job("HANG", '<write segment="1" data="0000"/>')
        while not self.is_over():
            kind = chance.choice(["hang", "kill", "orphan", "crashing", "stillborn", "hanging"])
            payload = {"hang": hang, "hanging": hang, "stillborn": hang,
                       "crashing": crash.format(chance.choice(allocator)).encode("ascii"),
                       }.get(kind, wire.random_job(chance, chance.choice(PRINTERS)))
            folder = self.programs
            if kind in ("crashing", "stillborn", "hanging"):
                folder += "/" + kind
            victim = Process(folder, self.root)
            self.victims[victim.id] = kind
            self.play_victim(chance, kind, victim, payload)
            self.count("victims: " + kind)
            self.pause(chance.random() * 2)

    def play_victim(self, chance, kind, victim, payload):
        if kind not in ("hang", "orphan"):
            self.killed.append(victim.name)
        victim.pipe.write(wire.header(wire.ENCODE, len(payload)) + payload)
        if kind in ("hang", "hanging", "orphan", "kill"):
            time.sleep(chance.random() * 0.2)
        if kind == "kill":
            os.kill(victim.id, 9)
        elif kind not in ("crashing", "stillborn"):
            victim.kill_parent()
        try:
            while True:  # A job may have been quicker.
                victim.pipe.reply(30)
        except wire.Closed:
            pass
        except wire.Silent:
            self.report("the client of a process with '{}' waited in vain".format(kind))
        if not victim.has_ended():
            self.report("process {} with '{}' does not end".format(victim.id, kind))

    def play_orphans(self):
        """The second controller loses its parent again and again, and another takes its place."""
        chance = random.Random("{} orphans".format(self.seed))
        while not self.is_over():
            self.pause(5 + chance.random() * 20)
            old = self.controllers[1]
            old.kill_parent()
            if not old.has_ended():
                self.report("controller {} outlives its parent".format(old.id))
            with self.control_locks[1]:
                self.controllers[1] = Controller(self.programs, self.root)
            self.count("controllers whose parent was killed")

    def play_shortages(self):
        chance = random.Random("{} shortages".format(self.seed))
        while not self.is_over():
            self.pause(3 + chance.random() * 10)
            if os.path.ismount(self.root) and chance.random() < 0.5:
                self.fill_disk(chance)
            else:
                self.take_descriptors(chance, self.controllers[0])
                self.count("descriptor shortages")

    def take_descriptors(self, chance, controller):
        self.short_until = float("inf")
        controller.limit_descriptors(chance.randrange(4))
        self.pause(chance.random() * 2)
        controller.limit_descriptors(None)
        self.short_until = time.monotonic() + 1

    def fill_disk(self, chance):
        filler = pathlib.Path(self.root, "filler")
        with contextlib.suppress(OSError), open(filler, "wb", buffering=0) as file:
            while file.write(bytes(65536)) == 65536:
                pass
        self.pause(chance.random() * 2)
        filler.unlink()
        self.count("disk shortages")

    def play_stranger(self):
        while not self.is_over():
            targets = [("pipe", name) for name in self.names]
            targets += [("file", path) for path in pathlib.Path(self.root).glob("mutex/*")]
            for target in targets:
                self.stranger.send(target)
                self.counts["acts of another user"] += self.stranger.recv()
            self.pause(0.2)
        self.stranger.send(None)

    def play_watch(self):
        while not self.is_over():
            with contextlib.suppress(OSError):  # The disk is full.
                self.watch.look()
            self.pause(2)

    # The whole.

    def guarded(self, play, *arguments):
        try:
            play(*arguments)
        except Exception as error:  # pylint: disable=broad-except
            self.report("{} ended with {!r}".format(play.__name__, error))

    def run(self):
        survivor = self.controllers[0]
        with survivor.add_encoder() as pipe:
            self.encode(random, pipe, wire.ENCODE_AND_SHUTDOWN)
        before = survivor.usage()
        plays = [(self.play_client, place, number) for place in range(2) for number in range(ENCODERS)]
        plays += [(self.play_victims,), (self.play_orphans,), (self.play_shortages,), (self.play_watch,)]
        if self.stranger:
            plays.append((self.play_stranger,))
        threads = [threading.Thread(target=self.guarded, args=play) for play in plays]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.check_usage(survivor, before)
        for controller in self.controllers:
            if controller.pipe.request(wire.SHUTDOWN) != wire.SUCCESS or not controller.has_ended():
                self.report("controller {} does not end".format(controller.id))
        self.check_files()

    def check_usage(self, survivor, before):
        names = ("threads", "descriptors", "KiB")
        limits = (before[0], before[1], before[2] + MAX_GROWTH_KIB)
        # Ended pipes keep their descriptors until these are scarce.
        survivor.limit_descriptors(0)
        pipe = survivor.add_encoder()
        survivor.limit_descriptors(None)
        if pipe is not None:
            # Who left without a word, once he was let in, would be served to the end of the process.
            with pipe, contextlib.suppress(wire.Closed, OSError):
                pipe.request(wire.SHUTDOWN)
        awaits(lambda: all(now <= limit for now, limit in zip(survivor.usage(), limits)), 20)
        for name, was, now, limit in zip(names, before, survivor.usage(), limits):
            self.counts["{} before and after".format(name)] = "{}, {}".format(was, now)
            if now > limit:
                self.report("{} {} in place of {}".format(now, name, was))

    def check_files(self):
        """Who was killed or crashed leaves its pipes' files behind, and nobody else."""
        for _ in range(2):
            self.watch.look()
        left = [path.name for folder in ("pipe", "pipe/.lock")
                for path in pathlib.Path(self.root, folder).iterdir() if path.name != ".lock"]
        for name in left:
            if not name.startswith(tuple(self.killed)):
                self.report("the pipe {} is left behind".format(name))

    def tell(self):
        watch = self.watch
        self.counts.update({"jobs recorded": watch.jobs, "calls recorded": watch.calls,
                            "dumps": watch.dumps, "lines of debugger output": watch.debug_lines})
        for name, count in sorted(self.counts.items()):
            print("{:38} {}".format(name, count))
        print("clean" if not self.faults else "{} faults".format(len(self.faults)))


def main(programs, root, minutes, seed):
    soak = Soak(programs, root, float(minutes), seed)
    soak.run()
    soak.tell()
    return 1 if soak.faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
