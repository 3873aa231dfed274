"""Holds the parameter catalogue against the table, the sources and the documents, and plays every record of it through
the real program on the simulated cameras: what it reads and writes, refuses and lacks, and what it does beyond its
indexes."""
import contextlib
import json
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree

import jsonschema
import pytest

from camera import CAMERA_WELL, Camera, start_request

TREE = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TREE / "catalogue"))
import catalogue as book  # noqa: E402
from universe import MODELS, RICH, RowUniverse, model_keys  # noqa: E402

BOOK = book.load()
ROWS = list(book.expand(BOOK))
TABLE = {row.template: row for row in book.table_rows()}
FIRST = {row.template: dict.fromkeys(book.index_names(row.record), 1) for row in ROWS}
NAMES = {row.template: book.full_name(row, FIRST[row.template]) for row in ROWS}
REFUSED, FAILED, LOCKED = "An illegal setting parameter", "Internal error", "Parameter is readOnly"
KEY = r"(?:audioin|capability|do|image|motion|network|system|tampering|videoin)_[a-z0-9_%]+"


class Device:
    def __init__(self, option, model, changes):
        self.camera = Camera(option.simcam, f"{option.models}/{model}.model", changes)
        self.emulator, self.seen = option.emulator, 0
        self.reader = book.Camera(BOOK, lambda names: self.ask("GET", "&".join("req=" + name for name in names)))

    def ask(self, method, text):
        output, *rest = start_request(method, text, emulator=self.emulator).wait()
        assert rest == ["", "exit 0"], text
        return output.partition("\r\n\r\n")[2].split("\r\n")[:-1]

    def sets(self):
        """What the daemon was told since the last call."""
        lines = [line[4:] for line in self.camera.log()[0] if line.startswith("set ")]
        self.seen, new = len(lines), lines[self.seen:]
        return new

    def write(self, name, value):
        """The value that is echoed, or an error's message; and what the daemon was told."""
        self.sets()
        line, = self.ask("POST", f"{name}={value}\r\n")
        return re.sub(rf"^#error\.{re.escape(name)}=501:|^{re.escape(name)}=", "", line), self.sets()

    def read(self, name):
        """The value, or an error's message."""
        line, = self.ask("GET", "req=" + name)
        return re.sub(rf"^#error\.{re.escape(name)}=501:|^{re.escape(name)}=", "", line)


@pytest.fixture
def start(request):
    @contextlib.contextmanager
    def run(model, *changes):
        device = Device(request.config.option, model, dict.fromkeys(changes))
        try:
            yield device
        finally:
            assert device.camera.stop() == CAMERA_WELL
    return run


def good_value(device, row, indexes):
    good = row.record["good"]
    if isinstance(good, str):
        return good
    return device.read(book.fill(good["from"], {"codec": row.codec, **indexes})).split(",")[-1]


def test_schema():
    schema = json.loads((TREE / "catalogue/parameters.schema.json").read_text())
    jsonschema.Draft7Validator.check_schema(schema)
    jsonschema.validate(BOOK, schema)


def test_table():
    assert sorted(TABLE.keys() - NAMES.keys()) == [], "rows without a record"
    assert sorted(NAMES.keys() - TABLE.keys()) == [], "records without a row"
    assert len(ROWS) == len(TABLE), "a row with two records"
    sources = "".join(path.read_text() for path in (TREE / "src").rglob("*.cpp"))
    assert sorted(set(re.findall(r"^const DispatchRecord (\w+)", sources, re.M))
                  - set(re.findall(r"&(\w+)}", book.TABLE.read_text()))) == [], "dispatch records that no row names"
    order = {template: place for place, template in enumerate(TABLE)}
    first = [min(order[row.template] for row in ROWS if row.record is record) for record in BOOK["parameters"]]
    assert first == sorted(first), "records that stand in another order than their rows"
    for row in ROWS:
        assert TABLE[row.template].indexes == len(FIRST[row.template]), row.template
        assert TABLE[row.template].writable == (row.record["access"] == "read-write"), row.template


def test_waits():
    """Those of the catalogue are those of the code."""
    code = (TREE / "src/common/wait.cpp").read_text() + (TREE / "src/mapping/ptz_io.cpp").read_text()
    assert {word: [int(1000 * wait["together"]), int(1000 * wait["each"])] for word, wait in BOOK["waits"].items()} == {
        word: [int(together), int(each)] for together, each, word in re.findall(r"\{(\d+), (\d+)\}, +// (\w+)", code)}
    figures = dict(re.findall(r"constexpr .*(ATTEMPTS|SECONDS) = (\d+);", code))
    retry = BOOK["retries"]["ptz"]
    assert figures == {"ATTEMPTS": str(retry["times"] + 1), "SECONDS": str(retry["seconds"])}


def test_documents():
    done = subprocess.run([TREE / "script/parameters", "--check"], capture_output=True, text=True)
    assert not done.returncode, done.stdout + done.stderr


def test_keys():
    """Every key of the sources is declared, and every declared one is there. A "%s" of a format that is neither codec
    nor mode is a word that a source names."""
    text = "".join(path.read_text() for folder in ("mapping", "param", "sidestore")
                   for path in sorted((TREE / "src" / folder).glob("*.cpp")))
    formats, words = set(re.findall(rf'"({KEY})"', text)), {"%s", *re.findall(r'"([a-z]+)"', text)}
    entries = [entry for record in BOOK["parameters"] for part in ("reads", "writes", "readWrites")
               for entry in record.get(part, [])] + BOOK["shared"]
    declared = {re.sub(r"\{\w+\}", "%d", re.sub(r"\{(?:codec|mode)\}", "%s", entry["key"]))
                for entry in entries if "key" in entry}
    found = {(key, form): re.fullmatch(form.replace("%s", "([a-z]+?|%s)"), key) for key in declared for form in formats}
    pairs = [pair for pair, match in found.items() if match and {*match.groups()} <= words]
    assert declared == {key for key, _ in pairs}, "declared, but in no source"
    assert formats == {form for _, form in pairs}, "in the sources, but in no record"
    items = set(re.findall(r'(?:StreamKey|StreamValue|Write_Percent)\([^;]*?"([a-z]+)"', text))
    assert items <= {key.rsplit("_", 1)[-1] for key in declared}, "in the sources, but in no record"


@pytest.mark.parametrize("model", MODELS)
def test_reads(start, model):
    """Every answer is of its type, and a read tells the daemon nothing, but for counting the audio inputs."""
    with start(model) as device:
        assert book.check(BOOK, device.reader)[1] == []
        inputs = int(model_keys(model)["capability_naudioin"])
        assert device.sets() == [f"audioin_c{number}_mute=0" for number in range(inputs)]
        device.reader.read(NAMES.values())
        for row in ROWS:
            value, source = device.reader.get(NAMES[row.template]), row.record.get("source", "")
            known = row.record.get("constant", "127.0.0.1" if "SERVER_ADDR" in source else value)
            assert value == ("::" if "StaticPrefix" in row.template else known), row.template


@pytest.mark.parametrize("model", MODELS)
@pytest.mark.parametrize("row", [row for row in ROWS if "good" in row.record], ids=lambda row: row.template)
def test_writes(start, model, row):
    record, keys = row.record, model_keys(model)
    with start(model) as device:
        found = book.announced(BOOK, row, device.reader.get) or ([] if row.codec else [FIRST[row.template]])
        if not found:
            return  # no stream of this codec
        name, values = book.full_name(row, found[-1]), book.key_values(BOOK, keys, row, found[-1])
        value = good_value(device, row, found[-1])
        if "mayFail" in record and device.read(name) == FAILED:
            assert device.write(name, value) == (REFUSED, [])
            return
        assert device.write(name, value) == (value, book.sets_of(record, keys, values, value))
        assert record.get("back", value) in (None, device.read(name))
        for entry in record["writes"]:
            if "file" in entry:
                tree = xml.etree.ElementTree.parse(BOOK["files"][entry["file"]])
                assert tree.findtext("quorvex/" + book.fill(entry["element"], values)) == entry["value"]
        bad, kept = record["bad"], [path.read_bytes() for path in pathlib.Path("/etc/conf.d").iterdir()]
        if bad is not None:
            text, problem = (bad, REFUSED) if isinstance(bad, str) else (bad["value"], FAILED)
            assert device.write(name, text) == (problem, [])
            assert kept == [path.read_bytes() for path in pathlib.Path("/etc/conf.d").iterdir()]


def test_read_only(start):
    names = [NAMES[template] for template, row in TABLE.items() if not row.writable]
    with start(RICH) as device:
        for some in (names[i::4] for i in range(4)):
            assert device.ask("POST", "".join(name + "=1\r\n" for name in some)) == [
                f"#error.{name}=501:{LOCKED}" for name in some]
        assert device.sets() == []


def changes(row, entry, text, indexes=None):
    """The lines of the model with which a key or an element holds a text, or is not there (None)."""
    return RowUniverse(BOOK, row, RICH).hold(entry, text, indexes)


def sample(entry):
    return entry.get("holds", "7"), entry.get("answers", entry.get("holds", "7"))


@pytest.mark.parametrize("row, entry", [(row, entry) for row in ROWS for entry in row.record.get("reads", [])],
                         ids=lambda part: part.template if isinstance(part, book.Row) else part.get("key", "file"))
def test_sources(start, row, entry):
    """What each key or element of a file makes of the answer, and what happens when it is missing or does not fit."""
    name, record, missing, purpose = NAMES[row.template], row.record, entry["missing"], entry.get("for", "answer")
    values = book.key_values(BOOK, model_keys(RICH), row, FIRST[row.template])
    alike = [other for other in record["reads"] if other.get("for", "answer") == purpose]
    place = alike.index(entry)
    base = [line for other in alike[:place] if other["missing"] == "next" for line in changes(row, other, None)]
    base += [f"key {book.fill(key, values)}={text}" for key, text in entry.get("with", {}).items()]
    following = alike[place + 1] if missing == "next" else {}
    instead = changes(row, following, sample(following)[0]) if following else []

    def write_without(device):
        value = good_value(device, row, FIRST[row.template])
        gone = book.fill(entry.get("key", ""), values)
        sets = book.sets_of(record, model_keys(RICH).keys() - {gone}, values, value)
        answer = {"error": FAILED, "other keys": value}.get(missing, REFUSED)
        assert device.write(name, value) == (answer, sets if answer == value else [])

    def read_without(device):
        if missing == "part":
            assert entry["part"] not in device.read(name).split(",")
        else:
            known = {"error": FAILED, "next": sample(following)[1]}
            assert device.read(name) == (missing["answer"] if isinstance(missing, dict) else known[missing])

    is_cut = "key" in entry and not isinstance(missing, dict)
    for lacking in [changes(row, entry, None)] + [changes(row, entry, "1".rjust(entry.get("size", 512), "0"))] * is_cut:
        with start(RICH, *base, *lacking, *instead) as device:
            (write_without if purpose == "write" else read_without)(device)
    if purpose == "answer":
        with start(RICH, *base, *changes(row, entry, sample(entry)[0])) as device:
            answer = device.read(name)
            assert answer == sample(entry)[1] if "part" not in entry else entry["part"] in answer.split(",")
    if "size" in entry and missing in ("error", "part") and purpose != "write":
        longest = entry.get("holds", "1").ljust(entry["size"] - 1, ",")
        with start(RICH, *base, *changes(row, entry, longest)) as device:
            assert device.read(name) != FAILED


@pytest.mark.parametrize("row", [row for row in ROWS if FIRST[row.template]], ids=lambda row: row.template)
def test_outside(start, row):
    """What an index does that is one more than the camera announces."""
    record, keys, inside = row.record, model_keys(RICH), FIRST[row.template]
    for index in inside:
        read, write = (book.outside(BOOK, record, index, direction) for direction in ("read", "write"))
        with start(RICH) as device:
            bound = book.fill(BOOK["indexes"][index]["bound"], {"codec": row.codec, **inside})
            indexes = {**inside, index: 1 + int(device.read(bound))}
            name, values = book.full_name(row, indexes), book.key_values(BOOK, keys, row, indexes)
            if read not in ("stream 0", "same number"):
                known = {"error": lambda: FAILED, "ignored": lambda: device.read(NAMES[row.template])}
                assert device.read(name) == (read["answer"] if isinstance(read, dict) else known[read]())
            if "good" in record:
                value = good_value(device, row, inside)
                known = {"refused": (REFUSED, []), "error": (FAILED, [])}
                assert device.write(name, value) == known.get(write, (value, book.sets_of(record, keys, values, value)))
        if read in ("stream 0", "same number"):
            place = next(entry for entry in record["reads"] if entry.get("for", "answer") == "answer")
            with start(RICH, *changes(row, place, sample(place)[0], indexes)) as device:
                assert device.read(name) == sample(place)[1]


def test_items_of_a_read(start):
    """How many items one read carries: 18, or 7 where an index holds a 0; and what comes then."""
    short, zero, limits = "Network.1.Dhcp", "Network.10.Dhcp", BOOK["limits"]
    safe, longest = limits["items"]["max"], max(map(len, NAMES.values()))
    assert len(short) == min(map(len, NAMES.values()))
    assert safe * (longest + 3 + limits["answer"]["max"]) < limits["reply"]["max"]
    with start("dome") as device:
        for names, front, wanted in (
                ([short] * 18, "", 18), ([short] * 19, "", 20), ([short] * 17, "x", 17), ([short] * 18, "x", 19),
                ([zero] * safe, "", safe), ([zero] * (safe + 1), "", safe)):
            assert len(device.ask("GET", front + "&".join("req=" + name for name in names))) == wanted, (names, front)
