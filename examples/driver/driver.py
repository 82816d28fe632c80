"""A driver in Python, written from the wire protocol's document alone: starts tagwright, connects,
encodes three cards, shuts it down and looks at its exit code.   driver.py PROGRAM"""
import os
import socket
import struct
import subprocess
import sys
import time
import uuid

SHUTDOWN, ENCODE = 0x100, 0x200
JOB = """<zsdk_job>
  <printer port_type="1" port_address="USB003"/>
  <write segment="1" data="300833B2DDD901400000{:04X}"/>
</zsdk_job>"""


def open_pipe(name):
    if sys.platform == "win32":
        return open(r"\\.\pipe\{}".format(name), "r+b", buffering=0)
    home = os.path.expanduser("~/.local/state")
    root = (os.environ.get("TAGWRIGHT_ROOT")
            or os.path.join(os.environ.get("XDG_STATE_HOME") or home, "tagwright"))
    client = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    # Through a descriptor, because the address of a socket has room for 107 bytes only.
    file = os.open(os.path.join(root, "pipe", name.lower()), os.O_PATH)
    try:
        client.connect("/proc/self/fd/{}".format(file))
    finally:
        os.close(file)
    return client.makefile("rwb", buffering=0)


def connect(name, process):
    while True:
        try:
            return open_pipe(name)
        except FileNotFoundError:
            if process.poll() is not None:
                raise EOFError("the program ended before its pipe was there")
            time.sleep(0.002)


def read_exactly(pipe, size):
    data = b""
    while len(data) < size:
        piece = pipe.read(size - len(data))
        if not piece:
            raise EOFError("the server went away")
        data += piece
    return data


def write_exactly(pipe, data):
    while data:
        data = data[pipe.write(data):]


def send(pipe, message_type, payload=b""):
    write_exactly(pipe, struct.pack("<4sIII", b"#@BK", message_type, len(payload), 0) + payload)
    magic, answered_type, length, status = struct.unpack("<4sIII", read_exactly(pipe, 16))
    if (magic, answered_type, length) != (b"#@BK", message_type, 0):
        raise ValueError("not a reply to this request")
    return status


def main(program):
    name = "driver-" + uuid.uuid4().hex
    with subprocess.Popen([program, "/n", name]) as process:
        pipe = connect(name, process)
        statuses = [send(pipe, ENCODE, JOB.format(card).encode("ascii")) for card in (1, 2, 3)]
        print("cards:", statuses)
        statuses.append(send(pipe, SHUTDOWN))
        exit_code = process.wait(timeout=15)
        print("tagwright ended with exit code", exit_code)
    return 0 if exit_code == 0 and not any(statuses) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
