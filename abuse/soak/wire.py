"""The client's end of a pipe, by the wire protocol, and the jobs that are sent through it."""
import os
import socket
import struct
import time

SHUTDOWN, ENCODE, ENCODE_AND_SHUTDOWN, ADD_ENCODER, KEEP_ALIVE = 0x100, 0x200, 0x201, 0x300, 0x302
SUCCESS, UNKNOWN_MESSAGE, ENCODE_FAILED, PIPE_CREATE_FAILED = 0, 200002, 200003, 200005
MAX_PAYLOAD = 16 << 20

# What must never be seen outside of the simulated tags. The data are those of writes that succeed.
PASSWORDS = ("5EC0DE5A", "B19BADCA")
DATA = "DA7A5EC12E7B0C41"


class Closed(Exception):
    """The server has closed the pipe."""


class Silent(Exception):
    """There was no reply in time."""


def header(message_type, length, magic=b"#@BK"):
    return struct.pack("<4sIII", magic, message_type, length, 0)


class Pipe:
    def __init__(self, root, name, patience=5.0):
        """Connects as soon as the pipe is there; raises OSError when it does not come."""
        end = time.monotonic() + patience
        while True:
            self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
            try:
                self.socket.connect(os.path.join(root, "pipe", name.lower()))
                return
            except FileNotFoundError:
                self.close()
                if time.monotonic() > end:
                    raise
                time.sleep(0.002)
            except OSError:
                self.close()
                raise

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.close()

    def close(self):
        self.socket.close()

    def write(self, data, seconds=60):
        """Raises Closed when the server has gone, Silent when it does not read."""
        self.socket.settimeout(seconds)
        try:
            self.socket.sendall(data)
        except TimeoutError as error:
            raise Silent from error
        except OSError as error:
            raise Closed from error

    def reply(self, seconds=60):
        self.socket.settimeout(seconds)
        data = b""
        try:
            while len(data) < 16:
                piece = self.socket.recv(16 - len(data))
                if not piece:
                    raise Closed
                data += piece
        except TimeoutError as error:
            raise Silent from error
        except ConnectionError as error:
            raise Closed from error
        magic, message_type, length, status = struct.unpack("<4sIII", data)
        if magic != b"#@BK" or length != 0:
            raise ValueError("no reply: {}".format(data.hex()))
        return message_type, status

    def request(self, message_type, payload=b"", seconds=60):
        """The status of the reply, which is to this request."""
        self.write(header(message_type, len(payload)) + payload, seconds)
        answered, status = self.reply(seconds)
        if answered != message_type:
            raise ValueError("a reply to {:#x} instead of {:#x}".format(answered, message_type))
        return status


def job(address, *operations):
    printer = '<printer port_type="1" port_address="{}"/>'.format(address)
    return "<zsdk_job>{}{}</zsdk_job>".format(printer, "".join(operations)).encode("ascii")


def random_job(random, address):
    """A job that can be carried out, at a printer whose tag may refuse it by now."""
    kinds = (
        '<write segment="1" data="{}"/>'.format(DATA),
        '<write segment="3" offset="{}" data="{}"/>'.format(random.randrange(30), DATA),
        '<setpassword type="1" password="{}"/>'.format(PASSWORDS[0]),
        '<setpassword type="2" password="{}"/>'.format(PASSWORDS[1]),
        '<lock lock_action="131200" password="{}"/>'.format(PASSWORDS[1]),
        '<unlock lock_action="131200" password="{}"/>'.format(PASSWORDS[1]),
    )
    return job(address, *random.choices(kinds, k=random.randrange(1, 5)))
