"""Runs cases/*.cases (their words: cases/README.md) inside script/sandbox: a simulated camera for every case, the
program once per request, and everything compared that either of them wrote."""
import difflib
import itertools
import pathlib
import re
import resource

import pytest

from camera import CAMERA_WELL, Camera, start_request

FILE_SIZE_LIMIT = 1 << 22  # of every file that a program writes, its standard output included
PROBLEMS = {"refuse": "An illegal setting parameter", "fail": "Internal error"}
HEADER_MARK = "\u2016"  # no byte: its place in what is expected; the type is only known when all of it is
ESCAPES = {"r": "\r", "n": "\n", "t": "\t", "\\": "\\"}


def pytest_addoption(parser):
    parser.addoption("--simcam", help="the simulated camera")
    parser.addoption("--tool", help="camera-check")
    parser.addoption("--models", help="the folder of its models")
    parser.addoption("--emulator", default="", help="what runs the program")
    parser.addoption("--variant", default="native", help='which "only" lines hold')
    parser.addoption("--batches", default=1, type=int, help="how many times 500 requests the load test sends")
    parser.addoption("--picture", default="/tmp/page.png", help="where the page's picture goes")
    parser.addoption("--refused", help="what refuses calls of the program: the library of refused_calls.cpp")
    parser.addoption("--kills", default=200, type=int, help="setters that are killed, on a roomy and on a full disk")


def pytest_configure():
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_SIZE_LIMIT, resource.RLIM_INFINITY))


def pytest_collect_file(file_path, parent):
    return CaseFile.from_parent(parent, path=file_path) if file_path.suffix == ".cases" else None


def take_word(text):
    word, *rest = re.split(r"[ \t]+", text, maxsplit=1)
    return word, "".join(rest)


def repeat(text):
    def replace(match):
        if match[0] == "\\{":
            raise ValueError(r"broken \{N*TEXT}")
        return int(match[1]) * match[2] if match[1] else match[0]
    return re.sub(r"\\\{(\d+)\*([^}]*)\}|\\.", replace, text)


def decode(text):
    def replace(match):
        if match[1] is None and match[2] not in ESCAPES:
            raise ValueError("broken escape")
        return chr(int(match[1], 16)) if match[1] else ESCAPES[match[2]]
    return re.sub(r"\\(?:x([0-9a-fA-F]{2})|(.|$))", replace, text)


def encode(text):
    return text.encode("unicode_escape").decode()


def expand(text):
    parts = re.split(r"\{([^}]*)\}", text)
    if "{" in "".join(parts[::2]):
        raise ValueError("a brace that is not closed")
    return map("".join, itertools.product(*(part.split(",") if i % 2 else [part] for i, part in enumerate(parts))))


def cut(text):
    return [encode(line) for line in re.findall(r"[^\n]*\n|[^\n]+", text)]


class Request:
    def __init__(self, line, method, text):
        self.line, self.method, self.text = line, method, text
        self.output, self.type, self.has_header, self.error, self.status = "", "text/plain", False, "", 0

    def reply(self, text):
        if not self.has_header:
            self.output += HEADER_MARK
        self.has_header = True
        self.output += text + "\r\n"

    def expected(self):
        return self.output.replace(HEADER_MARK, f"Content-type: {self.type}\r\n\r\n"), self.error, f"exit {self.status}"


class Case(pytest.Item):
    def __init__(self, *, line, defaults, **kw):
        super().__init__(**kw)
        self.line, self.model, self.changes, self.environment, self.arguments = line, "dome", [], [], []
        self.requests, self.sent, self.log, self.files = [], [], [], []
        for default in defaults:
            self.apply(*default)

    def apply(self, line, text):
        """Enters one line of the file."""
        word, text = take_word(text)
        if word == "only":
            variant, text = take_word(text)
            return self.apply(line, text) if variant == self.config.option.variant else None
        text = repeat(text)
        if word not in ("model", "camera", "args"):
            text = decode(text)
        match word:
            case "model":
                self.model = text
            case "camera":
                self.changes.append(text)
            case "env" if text.startswith("-") or "=" in text:
                self.environment.append(text)
            case "args":
                self.arguments += text.split()
            case "get" | "post":
                self.requests.append(Request(line, word.upper(), text))
            case "read" | "write" | "refuse" | "fail":
                for item in expand(text):
                    self.exchange(line, word, item)
            case "sent":
                self.sent.append(encode(text))
            case "log":
                self.log.append("log " + encode(text))
            case "file" if "=" in text:
                self.files.append((line, *text.split("=", 1)))
            case "reply" | "xml" | "output" | "error" | "exit" if not self.requests:
                raise ValueError("no request in front of it")
            case "reply":
                self.requests[-1].reply(text)
            case "xml":
                self.requests[-1].reply(text)
                self.requests[-1].type = "text/xml"
            case "output":
                self.requests[-1].output += text
            case "error":
                self.requests[-1].error += text
            case "exit":
                self.requests[-1].status = int(text)
            case _:
                raise ValueError("unknown word, or not in the word's form")

    def exchange(self, line, word, text):
        """A request about one parameter, its reply, and behind the arrows what the daemon is then told."""
        text, *told = text.split(" > ")
        self.sent += ["set " + encode(key) for key in told]
        name, equal, _ = text.partition("=")
        is_write = equal and word != "read"
        self.requests.append(Request(line, "POST", text + "\r\n") if is_write else Request(line, "GET", f"req={name}&"))
        self.requests[-1].reply(f"#error.{name}=501:{PROBLEMS[word]}" if word in PROBLEMS else text)

    def runtest(self):
        option, self.problems = self.config.option, []
        camera = Camera(option.simcam, f"{option.models}/{self.model}.model", self.changes)
        try:
            if camera.is_ready():
                self.run_requests()
        finally:
            ending = camera.stop()
        self.expect(self.line, "the simulated camera", describe(CAMERA_WELL), describe(ending))
        if ending == CAMERA_WELL:
            sent, log = camera.log()
            self.expect(self.line, "what the daemons were sent", self.sent, sent)
            self.expect(self.line, "the system log", self.log, log)
        if self.problems:
            pytest.fail("not as expected")

    def repr_failure(self, excinfo):
        return "\n".join([*self.problems, f"{self.path}:{self.line}: {excinfo.exconly()}"])

    def run_requests(self):
        for request in self.requests:
            answer = start_request(request.method, request.text, self.environment, self.arguments,
                                   self.config.option.emulator).wait()
            self.expect(request.line, f"{request.method} {encode(request.text[:200])}", describe(request.expected()),
                        describe(answer))
        for line, name, text in self.files:
            path = pathlib.Path(name)
            self.expect(line, name, cut(text), cut(path.read_text("latin-1") if path.exists() else ""))

    def expect(self, line, what, expected, actual):
        if expected != actual:
            difference = difflib.unified_diff(expected, actual, "expected", "actual", lineterm="", n=1)
            self.problems.append("\n  ".join([f"{self.path}:{line}: {what}", *itertools.islice(difference, 50)]))

    def reportinfo(self):
        return self.path, self.line - 1, self.name


def describe(answer):
    """What a request left, as lines that can be compared and shown."""
    output, error, ending = answer
    return [*cut(output), *("standard error: " + line for line in cut(error)), ending]


class CaseFile(pytest.File):
    def collect(self):
        defaults, cases, current, errors = [], [], [], []
        for line, text in enumerate(self.path.read_text("latin-1").split("\n"), 1):
            word, rest = take_word(text.strip(" \t\r"))
            if not word or word[0] == "#":
                continue
            try:
                if word == "case":
                    current = [Case.from_parent(self, name=name, line=line, defaults=defaults) for name in expand(rest)]
                    cases += current
                elif current:
                    for case in current:
                        case.apply(line, text.strip(" \t\r").replace("{}", case.name.split()[-1]))
                elif word == "default":
                    Case.from_parent(self, name=rest, line=line, defaults=[(line, rest)])  # says what is wrong with it
                    defaults.append((line, rest))
                else:
                    raise ValueError("stands before the first case")
            except ValueError as error:
                errors.append(f"{self.path}:{line}: {error}")
        errors += [f"{self.path}:{case.line}: a case without a request" for case in cases if not case.requests]
        if errors or not cases:
            raise self.CollectError("\n".join(errors or [f"{self.path}:1: no case in this file"]))
        return cases
