"""Holds the parameter catalogue against the table, the sources and the documents, and plays every record of it through
the real program on the simulated cameras: what it reads and writes, refuses and lacks, and what it does beyond its
indexes."""
import contextlib
import functools
import json
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree

import jsonschema
import pytest

from camera import CAMERA_WELL, Camera, start_request, start_server
from conftest import expand

TREE = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TREE / "catalogue"))
import catalogue as book  # noqa: E402

BOOK = book.load()
ROWS = list(book.expand(BOOK))
TABLE = {row.template: row for row in book.table_rows()}
MODELS = ("dome", "ptz", "encoder")
RICH = "ptz"  # the model that has a stream of each codec
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
        """The reply's line, without the name and with an error's message alone, and what the daemon was told."""
        self.sets()
        line, = self.ask("POST", f"{name}={value}\r\n")
        return re.sub(rf"^#error\.{re.escape(name)}=501:|^{re.escape(name)}=", "", line), self.sets()

    def read(self, name):
        """The value, or an error's line."""
        line, = self.ask("GET", "req=" + name)
        return line[len(name) + 1:] if line.startswith(name + "=") else line


@pytest.fixture
def start(request):
    @contextlib.contextmanager
    def run(model, *changes):
        device = Device(request.config.option, model, changes)
        try:
            yield device
        finally:
            assert device.camera.stop() == CAMERA_WELL
    return run


@functools.cache
def model_keys(model):
    """The keys of a model file and their values."""
    keys = {}
    for line in (TREE / f"simcam/models/{model}.model").read_text().splitlines():
        word, _, text = line.partition(" ")
        name, _, value = text.partition("=")
        if word == "include":
            keys |= model_keys(text.removesuffix(".model"))
        elif word in ("key", "request", "alias"):
            keys |= dict.fromkeys(expand(name), value)
    return keys


def key_values(keys, row, indexes):
    """What the placeholders of keys stand for."""
    zero = {index: number - 1 for index, number in indexes.items()}
    channel, count = zero.get("channel", zero.get("input", 0)), int(keys["capability_nmediastream"])
    types = [keys.get(f"videoin_c{channel}_s{stream}_codectype") for stream in range(count)]
    codec, place = BOOK["codecs"].get(row.codec), zero.get("stream", 0)
    streams = [stream for stream, kind in enumerate(types) if kind == codec]
    stream = streams[place] if place < len(streams) else 0
    sound = next((types.index(kind) for kind in ("h264", "mpeg4", "h265") if kind in types), 0)
    return {"channel": channel, "window": 0, "input": 0, "output": 0, **zero, "stream": stream, "index2": place,
            "codec": codec, "mode": keys.get(f"capability_videoin_c{channel}_mode"),
            "path": (stream if row.codec else sound) + channel * count}


def first_indexes(row):
    return dict.fromkeys(book.index_names(row.record), 1)


def good_value(device, row, indexes):
    good = row.record["good"]
    return good if isinstance(good, str) else device.read(book.fill(good["from"], {"codec": row.codec, **indexes})).split(",")[-1]


def expected_sets(record, keys, values, value, lacks=()):
    """What a write of the good sample tells the daemon."""
    has = [key for key in keys if key not in lacks]
    return [f"{book.fill(entry['key'], values)}={value if entry['value'] == '{value}' else entry['value']}"
            for entry in record["writes"] if "key" in entry
            and ("if" not in entry or book.fill(entry["if"], values) in has)
            and ("unless" not in entry or book.fill(entry["unless"], values) not in has)]


def side_files():
    return [path.read_bytes() for path in sorted(pathlib.Path("/etc/conf.d").iterdir())]


# The catalogue, the table and the sources.


def test_schema():
    schema = json.loads((TREE / "catalogue/parameters.schema.json").read_text())
    jsonschema.Draft7Validator.check_schema(schema)
    jsonschema.validate(BOOK, schema)


def test_table():
    assert not {row.template for row in ROWS} ^ TABLE.keys(), "rows without a record, or records without a row"
    assert len(ROWS) == len(TABLE), "a row with two records"
    order = {template: place for place, template in enumerate(TABLE)}
    first = {record["name"] + str(record.get("codecs")): min(order[row.template] for row in ROWS if row.record is record)
             for record in BOOK["parameters"]}
    assert list(first) == sorted(first, key=first.get), "records that stand in another order than their rows"
    for template, row in TABLE.items():
        record = next(row.record for row in ROWS if row.template == template)
        assert row.indexes == len(book.index_names(record)), template
        assert row.writable == ("good" in record), f"{template}: samples for what is read-only, or none for what is not"
        assert not set(record.get("outside", {})) - set(book.index_names(record)), template


def test_documents():
    done = subprocess.run([TREE / "script/parameters", "--check"], capture_output=True, text=True)
    assert (done.returncode, done.stdout + done.stderr) == (0, "")


def test_keys():
    """Every key format of the sources is declared, and every declared one is there. A "%s" at the end of a format is one
    of the items that calls name."""
    text = "".join(path.read_text() for folder in ("mapping", "param", "sidestore")
                   for path in sorted((TREE / "src" / folder).glob("*.cpp")))
    formats, words = set(re.findall(rf'"({KEY})"', text)), set(re.findall(r'"([a-z]+)"', text))
    entries = [entry for record in BOOK["parameters"] for part in ("reads", "writes", "readWrites")
               for entry in record.get(part, [])] + BOOK["shared"]
    declared = {re.sub(r"\{(?:codec|mode)\}", "%s", entry["key"]) for entry in entries if "key" in entry}
    declared = {re.sub(r"\{\w+\}", "%d", key) for key in declared}
    used = {(key, form) for key in declared for form in formats for item in [re.fullmatch(
        re.escape(form).replace("%s", "%s", 1).replace("_%s", "_([a-z]+|%s)").replace("mode%s", "mode(%s)"), key)]
        if item and all(word == "%s" or word in words for word in item.groups())}
    assert declared == {key for key, _ in used}, "declared, but no source has them"
    assert formats == {form for _, form in used}, "keys of the sources that no record declares"
    items = set(re.findall(r'(?:StreamKey|StreamValue|Write_Percent)\([^;]*?"([a-z]+)"', text))
    assert not items - {key.rsplit("_", 1)[-1] for key in declared}


# Every record through the program.


@pytest.mark.parametrize("model", MODELS)
def test_reads(start, model):
    """Every answer is of its type, also for indexes that this camera does not announce."""
    with start(model) as device:
        _, wrong = book.check(BOOK, device.reader)
        assert wrong == []
        inputs = int(model_keys(model)["capability_naudioin"])
        assert device.sets() == [f"audioin_c{number}_mute=0" for number in range(inputs)]
        for row in ROWS:
            value = device.read(book.full_name(row, first_indexes(row)))
            known = row.record.get("constant", "127.0.0.1" if "SERVER_ADDR" in row.record.get("source", "") else value)
            assert value == ("::" if "StaticPrefix" in row.template else known), row.template


def test_read_only(start):
    names = [book.full_name(row, first_indexes(row)) for row in ROWS if "good" not in row.record]
    with start(RICH) as device:
        for name in names:
            assert device.write(name, "1") == (LOCKED, []), name


@pytest.mark.parametrize("model", MODELS)
@pytest.mark.parametrize("row", [row for row in ROWS if "good" in row.record], ids=lambda row: row.template)
def test_writes(start, model, row):
    record, keys = row.record, model_keys(model)
    with start(model) as device:
        found = book.announced(BOOK, row, device.reader.get) or ([] if row.codec else [first_indexes(row)])
        if not found:
            return  # no stream of this codec
        indexes = found[-1]
        name, values, value = book.full_name(row, indexes), key_values(keys, row, indexes), good_value(device, row, indexes)
        if "mayFail" in record and "#error" in device.read(name):
            assert device.write(name, value) == (REFUSED, [])
            return
        assert device.write(name, value) == (value, expected_sets(record, keys, values, value))
        back = record.get("back", value)
        assert back is None or device.read(name) == back
        for entry in record["writes"]:
            if "file" in entry:
                tree = xml.etree.ElementTree.parse(BOOK["files"][entry["file"]])
                assert tree.findtext("quorvex/" + book.fill(entry["element"], values)) == entry["value"]
        if record["bad"] is not None:
            bad, kept = record["bad"], side_files()
            text, problem = (bad, REFUSED) if isinstance(bad, str) else (bad["value"], FAILED)
            assert device.write(name, text) == (problem, []) and side_files() == kept


def changes_of(entry, values, text):
    """The lines of the model with which a key or an element holds a text, or is not there (None)."""
    if "key" in entry:
        key = book.fill(entry["key"], values)
        return [f"no {key}"] * (key in model_keys(RICH)) + ([] if text is None else [f"key {key}={text}"])
    if text is None:
        return [f"nofile {BOOK['files'][entry['file']]}"]
    element = book.fill(entry["element"], values)
    return [f"bitrate {'{0} {2}'.format(*element.split('/'))}={text}" if entry["file"] == "ranges"
            else f"side {element.replace('/', '_')}={text}"]


def sample(entry):
    return entry.get("holds", "7"), entry.get("answers", entry.get("holds", "7"))


@pytest.mark.parametrize("row, entry", [(row, entry) for row in ROWS for entry in row.record.get("reads", [])],
                         ids=lambda part: part.template if isinstance(part, book.Row) else part.get("key", part.get("file")))
def test_sources(start, row, entry):
    """What each key or element of a file makes of the answer, and what happens when it is missing or does not fit."""
    indexes, record, missing = first_indexes(row), row.record, entry["missing"]
    name, purpose, keys = book.full_name(row, indexes), entry.get("for", "answer"), model_keys(RICH)
    values = key_values(keys, row, indexes)
    alike = [other for other in record["reads"] if other.get("for", "answer") == purpose]
    before = alike[:alike.index(entry)]
    base = [line for other in before if other["missing"] == "next" for line in changes_of(other, values, None)]
    base += [f"key {book.fill(key, values)}={text}" for key, text in entry.get("with", {}).items()]
    following = alike[alike.index(entry) + 1] if missing == "next" else None

    def answers_as_missing(lines):
        with start(RICH, *base, *lines, *(changes_of(following, values, sample(following)[0]) if following else [])) as device:
            if purpose == "write":
                value = good_value(device, row, indexes)
                if missing == "other keys":
                    lacks = [book.fill(entry["key"], values)]
                    assert device.write(name, value) == (value, expected_sets(record, keys, values, value, lacks))
                else:
                    assert device.write(name, value) == (FAILED if missing == "error" else REFUSED, [])
            elif missing == "part":
                assert entry["part"] not in device.read(name).split(",")
            else:
                wanted = {"error": f"#error.{name}=501:{FAILED}", "next": sample(following)[1] if following else None}
                assert device.read(name) == (missing["answer"] if isinstance(missing, dict) else wanted[missing])

    answers_as_missing(changes_of(entry, values, None))
    if "key" in entry and not isinstance(missing, dict):
        answers_as_missing(changes_of(entry, values, "1" * entry.get("size", 512)))
    if purpose == "answer":
        with start(RICH, *base, *changes_of(entry, values, sample(entry)[0])) as device:
            answer = device.read(name)
            assert answer == sample(entry)[1] if "part" not in entry else entry["part"] in answer.split(",")
    if "size" in entry and missing in ("error", "part") and purpose != "write":
        longest = entry.get("holds", "1").ljust(entry["size"] - 1, ",")
        with start(RICH, *base, *changes_of(entry, values, longest)) as device:
            assert not device.read(name).startswith("#error")


@pytest.mark.parametrize("row", [row for row in ROWS if book.index_names(row.record)], ids=lambda row: row.template)
def test_outside(start, row):
    """What an index does that is one more than the camera announces."""
    record, keys, inside = row.record, model_keys(RICH), book.full_name(row, first_indexes(row))
    for index in book.index_names(record):
        bound = BOOK["indexes"][index]["bound"]
        read, write = (book.outside(BOOK, record, index, direction) for direction in ("read", "write"))
        with start(RICH) as device:
            count = int(device.read(book.fill(bound, {"codec": row.codec, **first_indexes(row)})))
            indexes = {**first_indexes(row), index: count + 1}
            name, values = book.full_name(row, indexes), key_values(keys, row, indexes)
            if read == "ignored":
                assert device.read(name).replace(name, inside) == device.read(inside)
            elif isinstance(read, dict) or read == "error":
                assert device.read(name) == (read["answer"] if read != "error" else f"#error.{name}=501:{FAILED}")
            if "good" in record:
                value = good_value(device, row, first_indexes(row))
                assert device.write(name, value) == {
                    "refused": (REFUSED, []), "error": (FAILED, [])}.get(
                        write, (value, expected_sets(record, keys, values, value)))
        if read in ("stream 0", "same number"):
            place = next(entry for entry in record["reads"] if entry.get("for", "answer") == "answer")
            held = [f"key {book.fill(key, values)}={text}" for key, text in place.get("with", {}).items()]
            with start(RICH, *held, *changes_of(place, values, sample(place)[0])) as device:
                assert device.read(name) == sample(place)[1]


# The protocol page, and the check of a camera.


def test_items_of_a_read(start):
    """How many items one read carries: 18, or 6 where an index holds a 0; what comes then; and no more than that."""
    short, zero = "Network.1.Dhcp", "Network.10.Dhcp"
    assert len(short) == min(len(book.full_name(row, first_indexes(row))) for row in ROWS)
    with start("dome") as device:
        def answered(names, front=""):
            lines = device.ask("GET", front + "&".join("req=" + name for name in names))
            return [line.partition("=")[0] for line in lines]
        for names, front, wanted in (
                ([short] * 18, "", 18), ([short] * 19, "", 20), ([short] * 19 + ["General.UnitName"], "", 21),
                ([short] * 17, "x", 17), ([short] * 18, "x", 19),
                ([zero] * 6, "", 6), ([zero] * 8, "", 7), ([short] * 6 + [zero, short], "", 7)):
            assert len(answered(names, front)) == wanted, (len(names), front)
        longest = max((book.full_name(row, first_indexes(row)) for row in ROWS), key=len)
        assert book.SAFE_ITEMS == 6 and 6 * (len(longest) + 1 + 511 + 2) <= 4094


def test_a_name_that_begins_another(start):
    place = "VideoInput.1.h264.1.BitRateMode"
    lines = [f"{place}Priority=fps", f"{place}=cbr"]
    with start("dome") as device:
        assert device.ask("POST", "".join(line + "\r\n" for line in lines)) == [lines[0], f"#error.{place}=501:{REFUSED}"]
        assert device.ask("POST", "".join(line + "\r\n" for line in lines[::-1])) == lines[::-1]


def conform(emulator, *options):
    start_server(emulator)
    done = subprocess.run([TREE / "script/conform", "http://127.0.0.1:8080/cgi-bin/param.cgi", *options],
                          capture_output=True, text=True)
    assert done.stderr == ""
    return done.returncode, re.findall(r"^([A-Z]\S+)\n {4}", done.stdout, re.MULTILINE), done.stdout


@pytest.mark.parametrize("model", MODELS)
def test_conform(start, model):
    with start(model, "key system_hostname=50% off") as device:
        device.reader.read([book.full_name(row, first_indexes(row)) for row in ROWS])
        before = dict(device.reader.answers)
        assert conform(device.emulator)[:2] == (0, []) and all("_mute=" in line for line in device.sets())
        assert conform(device.emulator, "--write")[:2] == (0, [])
        sets = device.sets()
        assert len(sets) > 50 and not [line for line in sets if re.match("system_(hostname|date|time|update)|network_ipaddress", line)]
        device.reader.answers.clear()
        device.reader.read(before)
        clock = "General.DateTime.CurrentUTCDateTime"
        assert {**device.reader.answers, clock: ""} == {**before, clock: ""}


@pytest.mark.parametrize("change, names, options", [
    ("key videoin_c0_s0_resolution=1x1", ["VideoInput.1.h264.1.Resolution"], []),
    ("key capability_ndo=2", ["OutputPin.2.State"], []),
    ("key network_subnet=255.255", ["Network.1.StaticSubnetMask", "Network.1.CurrentSubnetMask"], []),
    ("key videoin_c0_s1_h264_bitrate=50000000", ["VideoInput.1.h264.2.Bitrate"], []),
    ("side motion_c0_i2_window=0,0,2,1", ["VideoInput.1.Motion.ROI.3.Position"], []),
    ("fail tampering_c0_duration", ["VideoInput.1.Tampering.TriggerDuration"], ["--write"])])
def test_conform_finds(start, change, names, options):
    with start("dome", change) as device:
        status, found, output = conform(device.emulator, *options)
        assert (status, found) == (1, names) and "curl -g" in output + "curl -g" * len(options)


def test_counts_that_disagree(start):
    with start("dome") as device:
        lying = book.Camera(BOOK, lambda names: [line.replace("h264.Capabilities.StreamCount=2", "h264.Capabilities.StreamCount=0")
                                                 .replace("MotionSupported=true", "MotionSupported=false")
                                                 for line in device.reader.exchange(names)])
        assert [name for name, _ in book.check(BOOK, lying)[1]] == [
            "VideoInput.1.h264.Capabilities.StreamCount", "VideoInput.1.Motion.Capabilities.RoiCount"]
