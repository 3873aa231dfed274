"""What everybody needs who works with the parameter catalogue, parameters.json: its records expanded to the rows of the
parameter table, the indexes that a camera announces, what a value must look like, and the walk over a camera. Used by
script/parameters (documents), script/conform (checks a camera) and tests/test_catalogue.py (checks the catalogue)."""
import collections
import ipaddress
import json
import pathlib
import re
import xml.etree.ElementTree

import client

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
    words = [catalogue["codecs"][word] for word in catalogue["soundCodecs"]]
    sound = next((types.index(kind) for kind in words if kind in types), 0)
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


def highest(catalogue, bound):
    """Up to where an index is followed, whatever the camera says."""
    limit = catalogue["limits"]["index"]["max"]
    kinds = (record["type"] for record in catalogue["parameters"] if record["name"] == bound)
    return min(limit, next(kinds).get("max", limit))


def announced(catalogue, row, get):
    """All settings of a row's indexes that the camera announces; get(name) answers a parameter's value or None."""
    found = [{}]
    for index in index_names(row.record):
        bound = catalogue["indexes"][index]["bound"]
        most = highest(catalogue, bound)
        found = [{**indexes, index: number} for indexes in found for number in range(
            1, 1 + min(most, to_number(get(fill(bound, {"codec": row.codec, **indexes})))))]
    return found


def to_number(text):
    return int(text) if text and re.fullmatch(r"\d{1,9}", text) else 0


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
        return "<!" not in text and xml.etree.ElementTree.fromstring(text) is not None
    except xml.etree.ElementTree.ParseError:
        return False


# None of these goes back over a text: a camera may answer anything.
FORMS = {"boolean": r"true|false", "number": r"-?\d{1,10}", "version": r"[\w.+-]+", "path": r"[\w./-]*", "text": r".+",
         "time": r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z"}


def judge_rectangle(value):
    parts = value.split(",")
    if len(parts) != 4 or not all(re.fullmatch(r"\d+(\.\d*)?|\.\d+", part) for part in parts):
        return "is no rectangle"
    left, top, right, bottom = map(float, parts)
    if max(left, top, right, bottom) > 1:
        return "has a corner outside the image"
    return "is a rectangle from its far corner to its near one: no motion is ever large enough" \
        if (right - left) * (bottom - top) < 0 else None


def judge(kind, value, get):
    """What is wrong with the answer to a parameter of this type, or None. get(name) answers the parameters that the
    type names, whose placeholders are filled in."""
    word = kind["kind"]
    if value == "" and kind.get("empty"):
        return None
    if word in FORMS and not re.fullmatch(kind.get("pattern", FORMS[word]), value):
        return f"is no {word}"
    if word == "rectangle":
        return judge_rectangle(value)
    if word == "address" and not is_address(value, kind.get("names", False)):
        return "is no address"
    if word == "list":
        return judge_list(kind, value)
    if kind.get("others") or value == "0" and is_idle(kind, get):
        return None
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
        is_text = entry and entry == entry.strip()
        if not is_text or kind.get("of") == "number" and not re.fullmatch(FORMS["number"], entry):
            return f"has {entry!r}, which is no {kind.get('of', 'text')}"
    return None


def not_followed(catalogue, counts):
    """Sentences about counts that are none, or too high to be followed."""
    for name, value in sorted(counts.items()):
        bound = next(entry["bound"] for entry in catalogue["indexes"].values()
                     if re.fullmatch(re.sub(r"\\\{\w+\\\}", r"\\w+", re.escape(entry["bound"])), name))
        most = highest(catalogue, bound)
        if value is None or not re.fullmatch(r"\d{1,9}", value):
            yield f"{name} tells no number: what it counts was not asked for"
        elif int(value) > most:
            yield f"{name} is {value}: of what it counts, {most} were asked for"


def is_idle(kind, get):
    return "idle" in kind and get(kind["idle"]["name"]) not in kind["idle"]["words"]


def is_put_back(kind, written, get):
    """Whether a write of what was read, in its write form, can only set what was there."""
    return not ("%" in written or kind.get("others") and written not in kind["words"] or is_idle(kind, get)
                or "writeMin" in kind and to_number(written) < kind["writeMin"])


def other_values(row, indexes, value, get):
    """Values to write in place of the one that was read: all others of a list that says which there are, else one."""
    kind, good = resolve(row.record["type"], {"codec": row.codec, **indexes}), row.record["good"]
    if "list" in kind:
        listed = filter(None, (get(kind["list"]) or "").split(","))
        choices = [entry for entry in listed if entry in kind.get("words", [entry])]
    elif "words" in kind:
        choices = kind["words"]
    elif kind["kind"] == "boolean":
        choices = ["true", "false"]
    elif kind["kind"] == "number":
        choices = [good, *(str(to_number(value) + step) for step in (1, -1))]
        choices = [choice for choice in choices if judge(kind, choice, get) is None]
    else:
        choices = [good, "0,0,1,1" if kind["kind"] == "rectangle" else good + "2"]
    others = [choice for choice in choices if choice != write_form(kind, value)]
    return others if "list" in kind and not kind.get("open") else others[-1:] if "list" in kind else others[:1]


def resolve(kind, values):
    """A type whose names of other parameters are filled in."""
    found = {field: fill(text, values) if field in ("list", "min", "max") and isinstance(text, str) else text
             for field, text in kind.items()}
    return found | ({"idle": kind["idle"] | {"name": fill(kind["idle"]["name"], values)}} if "idle" in kind else {})


def disagreements(catalogue, found, get):
    """Answers that contradict each other: a name, what is wrong, and what it is held against."""
    for row, indexes in found:
        name, values, record = full_name(row, indexes), {"codec": row.codec, **indexes}, row.record
        if "same" in record:
            other = fill(record["same"], values)
            if get(name) != get(other):
                yield name, f"{get(name)!r} is another answer than that of {other}, {get(other)!r}", [other]
        kind = resolve(record["type"], values)
        if "list" in kind and "words" in kind:
            for entry in (get(kind["list"]) or "").split(","):
                if entry and entry not in kind["words"]:
                    yield kind["list"], f"lists {entry!r}, which no write of {name} takes", []
    for channel in range(1, 1 + to_number(get("VideoInput.Capabilities.EntityCount"))):
        place = f"VideoInput.{channel}."
        codecs = (get(place + "Capabilities.CodecList") or "").split(",")
        for codec in catalogue["codecs"]:
            count = f"{place}{codec}.Capabilities.StreamCount"
            if (to_number(get(count)) > 0) != (codec in codecs):
                yield (count, f"is {get(count)}, but CodecList is {','.join(codecs)!r}",
                       [place + "Capabilities.CodecList"])
        if (get(place + "Motion.Capabilities.MotionSupported") == "true") != (
                to_number(get(place + "Motion.Capabilities.RoiCount")) > 0):
            yield (place + "Motion.Capabilities.RoiCount", "does not match MotionSupported",
                   [place + "Motion.Capabilities.MotionSupported"])
    if (get("Storage.Capabilities.RecordingControlSupported") == "true") != (
            to_number(get("Storage.Device.Capabilities.EntityCount")) > 0):
        yield ("Storage.Device.Capabilities.EntityCount", "does not match RecordingControlSupported",
               ["Storage.Capabilities.RecordingControlSupported"])


def find_misfit(names, lines):
    """Where the lines of a read do not go with its names, one for each and in order: a name and a sentence, or None."""
    seen = []
    for line in lines:
        name = next(iter(client.take_read(names, [line])[0]), None)
        if name is None or name in seen:
            place = "is followed by" if seen else "is answered behind"
            return seen[-1] if seen else names[0], f"{place} a line that answers nothing more: {line!r}"
        seen.append(name)
    for name, told in zip(names, seen + [None] * len(names)):
        if name not in seen:
            return name, "is not answered"
        if name != told:
            return name, "is not answered in its place: the lines have another order than the names"
    return None


class Camera:
    """A camera's answers, asked for as they are needed and kept. exchange(names) sends one read and gives its lines."""

    def __init__(self, catalogue, exchange):
        self.exchange, self.answers = exchange, {}
        self.garbled = []  # requests whose lines do not go with their names: those names, and a misfit
        self.counts = {}  # what was asked for to learn how many there are of something

    def read(self, names):
        for batch in client.batches(name for name in names if name not in self.answers):
            lines = self.exchange(batch)
            answers = client.take_read(batch, lines)[0]
            if misfit := find_misfit(batch, lines):
                self.garbled.append((batch, *misfit))
            self.answers |= {name: answers.get(name, client.Answer(None, None)) for name in batch}

    def answer(self, name):
        if name not in self.answers:
            self.read([name])
        return self.answers[name]

    def get(self, name):
        """The value; None for an error line."""
        return self.answer(name).value

    def count(self, name):
        self.counts[name] = self.get(name)
        return self.counts[name]

    def forget(self, names):
        for name in names:
            self.answers.pop(name, None)


# What is wrong with a parameter. The cause is what others that are wrong may share: (what, of what).
Finding = collections.namedtuple("Finding", "name text cause")


def sources(catalogue, record):
    """What a read cannot do without: camera keys and files."""
    return [catalogue["files"][entry["file"]] if "file" in entry else entry["key"] for entry in record.get("reads", [])
            if entry["missing"] in ("error", "next") and entry.get("for") != "write"]


def judge_answer(catalogue, camera, row, indexes):
    """The finding of one parameter, or None."""
    name, record, answer = full_name(row, indexes), row.record, camera.answer(full_name(row, indexes))
    if answer.error == client.FAILED:
        cause = ("read", *sources(catalogue, record))
        return None if "mayFail" in record else Finding(name, "is an internal error", cause)
    if answer.error == client.NOT_SUPPORTED:
        return Finding(name, "is no parameter of this program", ("unknown",))
    if answer.error is not None:
        return Finding(name, f"is answered by an error that is none: {answer.error!r}", ("words", answer.error))
    if answer.value is None:
        return Finding(name, "is not answered", ("silence",))
    if len(answer.value) > catalogue["limits"]["answer"]["max"]:
        return Finding(name, f"is answered by {len(answer.value)} characters", ("length",))
    problem = judge(resolve(record["type"], {"codec": row.codec, **indexes}), answer.value, camera.get)
    if "constant" in record:
        problem = f"is not {record['constant']!r}" if record["constant"] != answer.value else None
    return problem and Finding(name, f"{answer.value!r} {problem}", (record["name"], problem))


def check(catalogue, camera):
    """Reads every parameter for every index that the camera announces. Answers pairs of row and indexes, and what is
    wrong: findings."""
    found = [(row, indexes) for row in expand(catalogue) for indexes in announced(catalogue, row, camera.count)]
    camera.read([full_name(row, indexes) for row, indexes in found])
    wrong = [Finding(name, text, ("garbled", *batch)) for batch, name, text in camera.garbled]
    wrong += filter(None, (judge_answer(catalogue, camera, row, indexes) for row, indexes in found))
    doubtful = list(disagreements(catalogue, found, camera.get))
    if doubtful:  # somebody may have changed the camera in between
        camera.forget([name for first, _, others in doubtful for name in (first, *others)])
        again = disagreements(catalogue, found, camera.get)
        wrong += dict.fromkeys(Finding(name, text, ("disagree", text)) for name, text, _ in again)
    return found, wrong
