"""A virtual game controller for a station that knows nothing of it; see tests/fakes/virtual_stick.cpp."""
import os
import socket
import struct

ENDS = (-32768, 32767)


class VirtualStick:
    """`library` is the preloaded part; `folder` gets the sockets."""

    def __init__(self, library, folder):
        self.library = library
        self.path = str(folder / "stick.socket")
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        own = str(folder / "stick.answers")
        if os.path.exists(own):
            os.unlink(own)
        self.socket.bind(own)
        self.socket.settimeout(60)

    def environment(self, base):
        """The station's surroundings with the controller in them."""
        preloaded = [str(self.library), *filter(None, [base.get("LD_PRELOAD")])]
        return dict(base, LD_PRELOAD=":".join(preloaded), SORVANE_VIRTUAL_STICK=self.path)

    def forget(self):
        """The station that is started next makes the socket anew."""
        if os.path.exists(self.path):
            os.unlink(self.path)

    def send(self, *lines):
        """All at one look of the station; returns as soon as it has looked."""
        self.socket.sendto("\n".join(lines).encode(), self.path)
        answer = self.socket.recv(64)
        if answer != b"done":
            raise RuntimeError(f"virtual stick: {answer.decode()} on {lines}")

    def plug(self, axes=6, buttons=12, hats=1, product=0x2109):
        self.send(f"plug {axes} {buttons} {hats} {product}")

    def pull(self):
        self.send("pull")

    def close(self):
        self.socket.close()


def axis(number, part):
    """part: -1 to 1."""
    return f"axis {number} {round(ENDS[1] * part) if part >= 0 else round(-ENDS[0] * part)}"


def button(number, down):
    return f"button {number} {int(down)}"


def stored_map(lists):
    """What the station's file says for {product: [row, ...]}: an array of objects, as the toolkit writes it."""
    text = "[" + ",".join('{"cmd":%s,"pid":%d}' % (str(rows).replace(" ", ""), product)
                          for product, rows in lists.items()) + "]"
    # In the toolkit's stream: the number of the type, then length and bytes.
    raw = struct.pack(">II", 144, len(text)) + text.encode()
    escaped = ""
    behind_escape = False  # a hexadecimal digit there would belong to it
    for byte in raw:
        character = chr(byte)
        if not 32 <= byte <= 126 or (behind_escape and character in "0123456789abcdefABCDEF"):
            escaped += f"\\x{byte:x}"
            behind_escape = True
        else:
            escaped += "\\" + character if character in '"\\' else character
            behind_escape = False
    return f'"@Variant({escaped})"'
