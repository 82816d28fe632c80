"""Another user, who connects to the pipes whose names he is told and writes what he likes into the files that
he may write."""
import multiprocessing
import os
import random

import wire

NOBODY = 65534


def start(root, seed):
    """His end of a connection that takes ("pipe", name) and ("file", path), and None at the end; he answers
    whether he could do something with it. Call it before there are threads."""
    fork = multiprocessing.get_context("fork")
    ours, his = fork.Pipe()
    fork.Process(target=play, args=(root, seed, his), daemon=True).start()
    return ours


def play(root, seed, orders):
    os.setgroups([])
    os.setgid(NOBODY)
    os.setuid(NOBODY)
    chance = random.Random("{} stranger".format(seed))
    for kind, target in iter(orders.recv, None):
        try:
            if kind == "file":
                spoil(chance, target)
            else:
                use(chance, wire.Pipe(root, target, 0))
            orders.send(1)
        except (OSError, wire.Closed, wire.Silent):
            orders.send(0)


def use(chance, pipe):
    try:
        if chance.random() < 0.5:
            pipe.write(chance.randbytes(chance.randrange(1, 200)))
        else:
            pipe.request(wire.ENCODE, wire.random_job(chance, "USB001"), 10)
    finally:
        pipe.close()


def spoil(chance, path):
    """Locks nothing: who holds a mutex's lock keeps everybody waiting, as he may."""
    with open(path, "r+b") as file:
        file.seek(chance.randrange(4))
        file.write(chance.randbytes(chance.randrange(64)))
        if chance.random() < 0.3:
            file.truncate(chance.randrange(3))
