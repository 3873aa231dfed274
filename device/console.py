"""A device that script/device has booted, with a shell on its console; for its test, and for what measures on it."""
import os
import pathlib
import re
import resource
import shlex
import signal
import socket
import subprocess

TREE = pathlib.Path(__file__).resolve().parents[1]
PROGRAM = "/usr/share/www/cgi-bin/param.cgi"
NO_PACKAGES = 77  # the exit status of script/device where there are none
TIME_LIMIT = 60  # seconds, for a reply and for the device's end
CHUNK = 1000  # bytes of a file at a time: a terminal takes lines of 4095

# A line comes only when the one before is done, so that no terminal has to keep more than one.
LOOP = ('stty -echo -onlcr; echo g""o; '
        'while IFS= read -r line; do eval "$line" </dev/null 2>&1; echo "<<$?>>"; done')


class Device:
    """The status is None once it is there, and that of script/device where it ended instead."""

    def __init__(self, log, *options):
        with socket.create_server(("127.0.0.1", 0)) as probe:
            port = str(probe.getsockname()[1])
        self.url = f"http://127.0.0.1:{port}/cgi-bin/param.cgi"
        self.text, self.status = b"", None
        resource.setrlimit(resource.RLIMIT_FSIZE, [resource.RLIM_INFINITY] * 2)  # packages are large
        with open(log, "w") as messages:
            self.process = subprocess.Popen([TREE / "script/device", "--console", *options, port], bufsize=0,
                                            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=messages,
                                            start_new_session=True)
        try:
            self.read(b"device: ready")
            self.read(b"# ")  # a shell that prints its prompt throws away what was typed before
            self.run(LOOP, b"go\n")
        except EOFError:
            self.status = self.process.wait()

    def read(self, end):
        """What the console says up to a text, which is an expression, and that text."""
        while not (found := re.search(end, self.text)):
            piece = os.read(self.process.stdout.fileno(), 65536)
            if not piece:
                raise EOFError("the device has ended: " + self.text.decode("latin-1"))
            self.text += piece
        said, self.text = self.text[:found.start()].decode("latin-1"), self.text[found.end():]
        return said, found[0].decode()

    def run(self, command, end=rb"<<\d+>>\n"):
        """What a command prints, and its exit status."""
        self.process.stdin.write(command.encode("latin-1") + b"\n")
        said, mark = self.read(end)
        return said, mark.strip("<>\n")

    def as_user(self, command):
        return f"su -s /bin/sh www -c {shlex.quote(command)}"

    def put(self, path, text):
        """Writes a file."""
        self.run(f": >{path}")
        for i in range(0, len(text), CHUNK):
            escaped = text[i:i + CHUNK].replace("\\", r"\\").replace("\r", r"\r").replace("\n", r"\n")
            self.run(f"printf %b {shlex.quote(escaped)} >>{path}")

    def ask(self, line):
        """The program by hand, for a read or, with a line NAME=VALUE, a write. Returns what it prints, and the seconds
        that passed on the device's clock."""
        method, text = ("POST", line + r"\r\n") if "=" in line else ("GET", f"req={line}&")
        quoted = shlex.quote(text)
        command = (f"printf {quoted} | SERVER_ADDR=127.0.0.1 REQUEST_METHOD={method} CONTENT_LENGTH={len(line) + 2} "
                   f"QUERY_STRING={quoted} {PROGRAM}")
        first, *said, _, last = self.run(
            f"cat /proc/uptime; {self.as_user(command)}; echo; cat /proc/uptime")[0].splitlines()
        return "\n".join(said), float(last.split()[0]) - float(first.split()[0])

    def start_camera(self, model, *changes):
        words = " ".join("--change " + shlex.quote(change) for change in changes)
        said, status = self.run(f"camera start /usr/share/models/{model}.model {words}")
        assert status == "0", said

    def stop(self):
        """Returns the exit status of script/device."""
        if self.process.poll() is None:
            try:
                self.process.stdin.write(b"poweroff -f\n")
                self.process.wait(TIME_LIMIT)
            except (OSError, subprocess.TimeoutExpired):
                os.killpg(self.process.pid, signal.SIGTERM)
        return self.process.wait(TIME_LIMIT)
