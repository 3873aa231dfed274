"""What everybody needs who works with the parameter catalogue, parameters.json: its records expanded to the rows of the
parameter table, the indexes that a camera announces, what a value must look like, and the walk over a camera. Used by
script/parameters (documents), script/conform (checks a camera) and tests/test_catalogue.py (checks the catalogue)."""
import collections
import ipaddress
import itertools
import json
import pathlib
import re
import xml.etree.ElementTree

FOLDER = pathlib.Path(__file__).resolve().parent
TABLE = FOLDER.parent / "src/param/dispatch_table.cpp"

# A row of the parameter table. The template has "%d" for indexes; the codec is the platform's word, or None.
Row = collections.namedtuple("Row", "template record codec")
TableRow = collections.namedtuple("TableRow", "template writable indexes")


def load():
    return json.loads((FOLDER / "parameters.json").read_text())


def table_rows():
    found = re.findall(r'^ *\{"([^"]+)", (RW?), (\d), &\w+\},$', TABLE.read_text(), re.MULTILINE)
    return [TableRow(template, access == "RW", int(indexes)) for template, access, indexes in found]


def placeholders(text):
    return re.findall(r"\{(\w+)\}", text)


def index_names(record):
    return [word for word in placeholders(record["name"]) if word != "codec"]


def fill(text, values):
    """Puts values, by name, into the placeholders of a name or a key."""
    return re.sub(r"\{(\w+)\}", lambda match: str(values[match[1]]), text)


def expand(catalogue):
    """All rows, record by record."""
    for record in catalogue["parameters"]:
        for codec in record.get("codecs", [None]):
            yield Row(re.sub(r"\{\w+\}", "%d", record["name"].replace("{codec}", str(codec))), record, codec)


def full_name(row, indexes):
    """The name in a request; indexes by name, from 1."""
    return fill(row.record["name"], {"codec": row.codec, **indexes})


def key_values(catalogue, keys, row, indexes):
    """What the placeholders of keys stand for on a camera that has these keys."""
    zero = {index: number - 1 for index, number in indexes.items()}
    channel, count = zero.get("channel", zero.get("input", 0)), int(keys["capability_nmediastream"])
    types = [keys.get(f"videoin_c{channel}_s{stream}_codectype") for stream in range(count)]
    codec, place = catalogue["codecs"].get(row.codec), zero.get("stream", 0)
    streams = [stream for stream, kind in enumerate(types) if kind == codec]
    stream = streams[place] if place < len(streams) else 0
    sound = next((types.index(kind) for kind in ("h264", "mpeg4", "h265") if kind in types), 0)
    return {"channel": channel, "window": 0, "input": 0, "output": 0, **zero, "stream": stream, "index2": place,
            "codec": codec, "mode": keys.get(f"capability_videoin_c{channel}_mode"),
            "path": (stream if row.codec else sound) + channel * count}


def sets_of(record, keys, values, sample):
    """The keys, KEY=VALUE, that a write of the good sample sets on a camera that has these keys."""
    return [f"{fill(entry['key'], values)}={sample if entry['value'] == '{value}' else entry['value']}"
            for entry in record["writes"] if "key" in entry
            and ("if" not in entry or fill(entry["if"], values) in keys)
            and ("unless" not in entry or fill(entry["unless"], values) not in keys)]


def outside(catalogue, record, index, direction):
    """What a read or a write does for an index that is beyond the camera's."""
    defaults = catalogue["indexes"][index]["outside"]
    return record.get("outside", {}).get(index, {}).get(direction, defaults.get(direction))


def announced(catalogue, row, get):
    """All settings of a row's indexes that the camera announces; get(name) answers a parameter's value or None."""
    found = [{}]
    for index in index_names(row.record):
        bound = catalogue["indexes"][index]["bound"]
        found = [{**indexes, index: number} for indexes in found
                 for number in range(1, 1 + min(catalogue["limits"]["index"]["max"],
                                                to_number(get(fill(bound, {"codec": row.codec, **indexes})))))]
    return found


def to_number(text):
    return int(text) if text and re.fullmatch(r"\d+", text) else 0


def read_form(kind, value):
    """How a value that was written reads."""
    return kind.get("answers", {}).get(value, value)


def write_form(kind, value):
    """How a value that was read is written."""
    return next((word for word, answer in kind.get("answers", {}).items() if answer == value), value)


def is_address(text, names):
    try:
        return bool(ipaddress.ip_address(text))
    except ValueError:
        return names and re.fullmatch(r"[\w-]+(\.[\w-]+)*", text) is not None


def is_xml(text):
    try:
        return xml.etree.ElementTree.fromstring(text) is not None
    except xml.etree.ElementTree.ParseError:
        return False


FORMS = {"boolean": r"true|false", "number": r"-?\d+", "version": r"[\w.+-]+", "path": r"[\w./-]*", "text": r".+",
         "time": r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z", "rectangle": r"(\d*\.?\d+,){3}\d*\.?\d+"}


def judge(kind, value, get):
    """What is wrong with the answer to a parameter of this type, or None. get(name) answers the parameters that the type
    names, whose placeholders are filled in."""
    word = kind["kind"]
    if word in FORMS and not re.fullmatch(kind.get("pattern", FORMS[word]), value):
        return f"is no {word}"
    if word == "rectangle" and max(map(float, value.split(","))) > 1:
        return "has a corner outside the image"
    if word == "address" and not is_address(value, kind.get("names", False)):
        return "is no address"
    if word == "list":
        return judge_list(kind, value)
    if "words" in kind and not kind.get("open") and value not in [read_form(kind, known) for known in kind["words"]]:
        return "is none of " + ", ".join(kind["words"])
    if "list" in kind and not kind.get("open") and value not in (get(kind["list"]) or "").split(","):
        return f"is not in {kind['list']}"
    for bound, is_beyond in (("min", lambda limit: int(value) < limit), ("max", lambda limit: int(value) > limit)):
        limit = kind.get(bound)
        if isinstance(limit, str):
            limit = to_number(get(limit))
        if limit is not None and is_beyond(limit):
            return f"is beyond {kind[bound]}" + (f", {limit}" if isinstance(kind[bound], str) else "")
    return None


def judge_list(kind, value):
    if kind.get("of") == "xml":
        return None if is_xml(value) else "is no XML"
    for entry in value.split(",") if value else []:
        if "words" in kind and entry not in kind["words"]:
            return f"has {entry!r}, which is none of " + ", ".join(kind["words"])
        if not re.fullmatch(FORMS["number"] if kind.get("of") == "number" else r"\S(.*\S)?", entry):
            return f"has {entry!r}, which is no {kind.get('of', 'text')}"
    return None


def resolve(kind, values):
    """A type whose names of other parameters are filled in."""
    return {field: fill(text, values) if field in ("list", "min", "max") and isinstance(text, str) else text
            for field, text in kind.items()}


def disagreements(catalogue, get):
    """Announcements that contradict each other: names and what is wrong."""
    for channel in range(1, 1 + to_number(get("VideoInput.Capabilities.EntityCount"))):
        place = f"VideoInput.{channel}."
        codecs = (get(place + "Capabilities.CodecList") or "").split(",")
        for codec in catalogue["codecs"]:
            count = to_number(get(f"{place}{codec}.Capabilities.StreamCount"))
            if (count > 0) != (codec in codecs):
                yield f"{place}{codec}.Capabilities.StreamCount", f"is {count}, but CodecList is {','.join(codecs)!r}"
        if (get(place + "Motion.Capabilities.MotionSupported") == "true") != (
                to_number(get(place + "Motion.Capabilities.RoiCount")) > 0):
            yield place + "Motion.Capabilities.RoiCount", "does not match MotionSupported"
    if (get("Storage.Capabilities.RecordingControlSupported") == "true") != (
            to_number(get("Storage.Device.Capabilities.EntityCount")) > 0):
        yield "Storage.Device.Capabilities.EntityCount", "does not match RecordingControlSupported"


class Camera:
    """A camera's answers, asked for as they are needed and kept. exchange(names) sends one read and gives its lines."""

    def __init__(self, catalogue, exchange):
        self.exchange, self.answers, self.garbled = exchange, {}, []
        self.room = catalogue["limits"]["items"]["max"]
        # An XML answer takes the names from all that follow.
        self.alone = {row.template for row in expand(catalogue) if row.record["type"].get("of") == "xml"}

    def read(self, names):
        names = [name for name in dict.fromkeys(names) if name not in self.answers]
        alone = [name for name in names if re.sub(r"\.\d+", ".%d", name) in self.alone]
        plain = [name for name in names if name not in alone]
        for batch in [plain[i:i + self.room] for i in range(0, len(plain), self.room)] + [[name] for name in alone]:
            lines = self.exchange(batch)
            if len(lines) != len(batch):
                self.garbled.append((batch[0], f"asked in a request for {len(batch)} names, is answered by {len(lines)} lines"))
            for name, line in itertools.zip_longest(batch, lines[:len(batch)], fillvalue=""):
                self.answers[name] = self.take(name, line, name in alone)

    def take(self, name, line, is_bare):
        """The value; None for an error line."""
        if is_bare and not line.startswith("#error."):
            return line
        if line.startswith(name + "="):
            return line[len(name) + 1:]
        if not line.startswith(f"#error.{name}=501:"):
            self.garbled.append((name, f"is answered {line!r}"))
        return None

    def get(self, name):
        if name not in self.answers:
            self.read([name])
        return self.answers[name]


def check(catalogue, camera):
    """Reads every parameter for every index that the camera announces. Answers pairs of row and indexes, and what is
    wrong: pairs of a name and a text."""
    found = [(row, indexes) for row in expand(catalogue) for indexes in announced(catalogue, row, camera.get)]
    camera.read([full_name(row, indexes) for row, indexes in found])
    wrong = []
    for row, indexes in found:
        name, record = full_name(row, indexes), row.record
        value = camera.get(name)
        if value is None:
            if "mayFail" not in record:
                wrong.append((name, "is answered by an error"))
            continue
        problem = judge(resolve(record["type"], {"codec": row.codec, **indexes}), value, camera.get)
        if problem is None and record.get("constant", value) != value:
            problem = f"is not {record['constant']!r}"
        if problem is not None:
            wrong.append((name, f"{value!r} {problem}"))
    return found, camera.garbled + wrong + list(disagreements(catalogue, camera.get))
