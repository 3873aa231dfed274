"""What the tests inside script/sandbox are made of: programs with their streams and their endings, param.cgi as a web
server runs it, the simulated camera, a real web server. In every text one character is one byte (latin-1)."""
import functools
import os
import pathlib
import re
import signal
import socket
import subprocess
import time

PROGRAM = "/usr/share/www/cgi-bin/param.cgi"
CAMERA_LOG = pathlib.Path("/var/log/camera.log")
SIDE_FOLDER = pathlib.Path("/etc/conf.d")
SERVER_LOG = pathlib.Path("/var/log/lighttpd.log")
HEADER = "Content-type: text/plain\r\n\r\n"
TIME_LIMIT = 60  # seconds, of every program: one that does not end is killed
CAMERA_WELL = ("", "simcam: ready\n", "exit 0")  # what Camera.stop returns of one that was well


def wait_until(is_reached):
    end = time.monotonic() + TIME_LIMIT
    while not is_reached():
        assert time.monotonic() < end, "waited in vain"
        time.sleep(0.001)


class Program:
    """A running program. Its standard streams are files in memory: nothing to pump, nothing that blocks."""

    def __init__(self, command, stdin="", env=None):
        self.streams = [os.memfd_create("stream") for _ in range(3)]
        os.pwrite(self.streams[0], stdin.encode("latin-1"), 0)
        self.process = subprocess.Popen(
            [word.encode("latin-1") for word in command],
            env=env and {name.encode("latin-1"): value.encode("latin-1") for name, value in env.items()},
            **dict(zip(("stdin", "stdout", "stderr"), self.streams)))

    def read(self, stream):
        return os.pread(self.streams[stream], os.fstat(self.streams[stream]).st_size, 0).decode("latin-1")

    def wait(self):
        """Returns standard output, standard error and the ending: "exit N", "crash: ..." or "hang: ..."."""
        try:
            code = self.process.wait(TIME_LIMIT)
            ending = f"exit {code}" if 0 <= code <= 128 else f"crash: {signal.strsignal(-code) if code < 0 else code}"
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            ending = f"hang: killed after {TIME_LIMIT} s"
        left = self.read(1), self.read(2), ending
        for stream in self.streams:
            os.close(stream)
        return left


def start_request(method, text, changes=(), arguments=(), emulator=""):
    """Starts the program as a web server does. The changes are environment variables, NAME=VALUE or -NAME."""
    env = {"SERVER_ADDR": "127.0.0.1", "TZ": "UTC", "REQUEST_METHOD": method}
    env |= {"CONTENT_LENGTH": str(len(text))} if method == "POST" else {"QUERY_STRING": text}
    for change in changes:
        if change[0] == "-":
            env.pop(change[1:], None)
        else:
            env.update([change.split("=", 1)])
    command = [emulator, PROGRAM, *arguments] if emulator else [PROGRAM, *arguments]
    return Program(command, text if method == "POST" else "", env)


def make_query(names):
    return "".join(f"req={name}&" for name in names)


def start_read(names):
    return start_request("GET", make_query(names))


def start_write(line):
    return start_request("POST", line + "\r\n")


def take_reply(program):
    """The lines of the reply; what else a request leaves, an ending other than the ordered one too, is one of them."""
    output, error, ending = program.wait()
    text = output.removeprefix(HEADER) + error + ("" if ending == "exit 0" else ending)
    return text.removesuffix("\r\n").split("\r\n")


def read(names):
    return take_reply(start_read(names))


def write(line):
    return take_reply(start_write(line))


class Camera:
    """A simulated camera, which finds nothing of the one before it. Stopped or killed, it can be started again."""

    def __init__(self, simcam, model, changes):
        for path in (*pathlib.Path("/etc/conf.d").iterdir(), pathlib.Path("/etc/CDF.xml"), CAMERA_LOG):
            path.unlink(missing_ok=True)
        words = [word for change in changes for word in ("--change", change)]
        self.command = [simcam, "--log", str(CAMERA_LOG), *words, model]
        self.start()

    def start(self):
        self.program = Program(self.command)
        wait_until(lambda: self.is_ready() or self.program.process.poll() is not None)

    def is_ready(self):
        return self.program.read(2) == CAMERA_WELL[1]

    def stop(self, number=signal.SIGTERM):
        """Returns what Program.wait does: CAMERA_WELL, if it was."""
        self.program.process.send_signal(number)
        return self.program.wait()

    def log(self):
        """The lines of the request log, and those of the system log."""
        lines = CAMERA_LOG.read_text().splitlines()
        return [[line for line in lines if line.startswith("log ") == is_system] for is_system in (False, True)]


server_log_seen = 0  # characters that take_server_errors has returned


@functools.cache
def start_server(emulator):
    """Once: it ends with the sandbox."""
    env = {**os.environ, "CGI_EMULATOR": emulator}
    ended = Program(["lighttpd", "-f", "/etc/lighttpd/lighttpd.conf"], env=env).wait()
    assert ended == ("", "", "exit 0"), ended
    take_server_errors()  # only says "server started"


def take_server_errors():
    """What the web server's log got since the last call; the standard error of the programs lands there as well."""
    global server_log_seen
    log = SERVER_LOG.read_text("latin-1")[server_log_seen:]
    server_log_seen += len(log)
    return log


def ask_server(method, text):
    """Returns the body of the reply, its status and its content type; the server is to be there. Like some clients it
    sends nothing behind its request, and says so: the server must not take it for one that is gone."""
    url, body = ("", text) if method == "POST" else ("?" + text, "")
    with socket.create_connection(("127.0.0.1", 8080), TIME_LIMIT) as connection:
        connection.sendall((f"{method} /cgi-bin/param.cgi{url} HTTP/1.0\r\n"
                            f"Content-Length: {len(body)}\r\n\r\n{body}").encode("latin-1"))
        connection.shutdown(socket.SHUT_WR)
        reply = b"".join(iter(lambda: connection.recv(1 << 16), b"")).decode("latin-1")
    header, _, body = reply.partition("\r\n\r\n")
    return body, header[9:12], "".join(re.findall("(?im)^content-type: *(.*?)\r?$", header))
