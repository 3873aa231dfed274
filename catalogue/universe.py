"""The universe of script/answers: for every row of the parameter table the states of a camera and the requests that
show what the program does with it, made from the catalogue. The interesting values stand there; how they are put
together stands here. Everything is made in a fixed order."""
import collections
import functools
import itertools
import pathlib

import catalogue as book

MODELS = ("ptz", "encoder", "dome")
RICH = MODELS[0]  # has a stream of each codec, and every capability
FOLDER = pathlib.Path(__file__).resolve().parent.parent / "simcam/models"
SET_ROOM = 127  # characters of KEY=VALUE that the daemon is told
VALUE_ROOM = 383  # characters of a value that is taken
FAR = {"channel": (2, 4, 5, 8, 9, 10, 100), "stream": (2, 3, 5, 6), "window": (2, 4, 5, 6, 10, 100)}
ODD_NUMBERS = ("0", "-1", "01", "+1", " 1", "1x", "", "2147483647", "2147483648", "99999999999")
# Less and less of the elements is there.
PARTS = ("<contrast>1</contrast>", "<brightness>2</brightness>", "<saturation>3</saturation>")
BROKEN_FILES = ("", "\\n<root><quorvex></quorvex></root>", "<root><quorvex>", "x", *(
    f"<root><quorvex><image><c0>{''.join(PARTS[:count])}</c0></image><motion><c0><i0><window>4</window></i0></c0>"
    "</motion></quorvex></root>" for count in (3, 2, 1)))

# Requests, pairs of method and text, to a camera of a model that some of its lines and variables of the program's
# environment make another one. They are sent one after the other.
Play = collections.namedtuple("Play", "template model camera environment requests")


@functools.cache
def model_keys(model):
    """The keys of a model file and their values."""
    keys = {}
    for line in (FOLDER / f"{model}.model").read_text().splitlines():
        word, _, text = line.partition(" ")
        name, _, value = text.partition("=")
        if word == "include":
            keys |= model_keys(text.removesuffix(".model"))
        elif word in ("key", "request", "alias"):
            keys |= dict.fromkeys(expand_braces(name), value)
    return keys


def expand_braces(text):
    """All texts that "a{b,c}d" stands for."""
    head, brace, rest = text.partition("{")
    if not brace:
        return [text]
    middle, _, tail = rest.partition("}")
    return [head + word + end for word in middle.split(",") for end in expand_braces(tail)]


def expand_tries(catalogue, tries):
    """The values of a list in which "@WORD" stands for the pool of that name."""
    return [value for item in tries for value in (catalogue["pools"][item[1:]] if item[:1] == "@" else [item])]


def escape(text):
    return text.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r")


def read(*names):
    return [("GET", "req=" + name) for name in names]


def write(*lines):
    return ("POST", "".join(line + "\r\n" for line in lines))


class RowUniverse:
    """The plays of one row on one model."""

    def __init__(self, catalogue, row, model):
        self.catalogue, self.row, self.model, self.record = catalogue, row, model, row.record
        self.keys, self.indexes = model_keys(model), book.index_names(row.record)
        self.first = dict.fromkeys(self.indexes, 1)
        self.name, self.values = book.full_name(row, self.first), self.key_values(self.first)
        self.reads, self.plays = row.record.get("reads", []) + row.record.get("readWrites", []), []
        self.writes = row.record.get("writes", [])
        self.is_writable = "good" in row.record
        if self.is_writable:
            good = row.record["good"]
            self.good = good if isinstance(good, str) else self.last_resolution()
            own = [self.good, row.record["bad"], *expand_tries(catalogue, row.record.get("tries", []))]
            self.own_values = list(dict.fromkeys(value for value in own if value is not None))
            self.other = next((value for value in self.own_values[2:] if value), self.good)

    def last_resolution(self):
        """The good value of the one parameter whose values the camera lists."""
        keys = [book.fill(entry["key"], self.values) for entry in self.record["reads"][1:]]
        return next(self.keys[key] for key in keys if key in self.keys).split(",")[-1]

    def key_values(self, indexes):
        return book.key_values(self.catalogue, self.keys, self.row, indexes)

    def add(self, requests, camera=(), environment=()):
        lines = tuple(dict.fromkeys(camera))
        self.plays.append(Play(self.row.template, self.model, lines, tuple(environment), tuple(requests)))

    def place(self, entry, indexes=None):
        return book.fill(entry.get("key", entry.get("element")), self.key_values(indexes) if indexes else self.values)

    def hold(self, entry, text, indexes=None):
        """The lines with which a key or an element holds a text, or is not there (None)."""
        place = self.place(entry, indexes)
        if "key" in entry:
            if text is None:
                return self.without(place)
            return [f"no {place}"] * (place in self.keys) + [f"key {place}={escape(text)}"]
        if text is None:
            return ["nofile " + self.catalogue["files"][entry["file"]]]
        if entry["file"] == "ranges":
            return ["bitrate {0} {2}={text}".format(*place.split("/"), text=escape(text))]
        return [f"side {place.replace('/', '_')}={escape(text)}"]

    def without(self, key):
        """The lines with which a key is not there, nor what is another name of it."""
        return [f"no {name}" for name, value in self.keys.items() if key in (name, value)]

    def tries(self, entry):
        """What the catalogue says that a key or an element can hold."""
        own = self.catalogue["tries"].get(entry.get("key", entry.get("element")), ["@text"])
        return expand_tries(self.catalogue, own)

    def long(self, entry):
        """Texts just below, at and above the room that a key has."""
        size, sample = entry.get("size", 512), self.tries(entry)[0]
        return [text for length in (size - 1, size, size + 1) for text in (
            "1".rjust(length, "0"), sample.ljust(length, ","), sample[:length].rjust(length, "x"))]

    def interesting(self, entry):
        """All that is worth trying: the same alone and inside of other text, and long ones."""
        own = self.tries(entry)
        around = [text for value in own if value.isalnum() for text in (value + "x", "x" + value, value + ",x")]
        return list(dict.fromkeys(["", *own, *around, *self.long(entry)]))

    def announced(self):
        """The indexes of the model's camera, and for each of them one beyond."""
        counts = {"channel": "capability_nvideoin", "stream": "capability_nmediastream", "window": "capability_nmotion",
                  "input": "capability_naudioin", "output": "capability_ndo"}
        ranges = [range(1, 2 + int(self.keys.get(counts.get(index), 1))) for index in self.indexes]
        return [dict(zip(self.indexes, numbers)) for numbers in itertools.product(*ranges)]

    def make(self):
        self.add_indexes()
        self.add_distinct()
        if self.is_writable:
            self.add_written_indexes()
        if self.model != RICH or self.row.codec != self.record.get("codecs", [None])[-1]:
            self.add_few_states()
            return self.plays
        self.add_names()
        self.add_states()
        self.add_stated_cameras()
        if self.is_writable:
            self.add_values()
            self.add_refusals()
            self.add_sequences()
        return self.plays

    def full_name(self, indexes):
        return book.full_name(self.row, indexes)

    def add_indexes(self):
        near = self.announced()
        far = [self.first | {index: number} for index in self.indexes for number in FAR.get(index, (2, 9))]
        self.add(read(*dict.fromkeys(self.full_name(indexes) for indexes in near + far)))

    def add_names(self):
        names = [self.name[:-1], self.name + "x", self.name.lower(), self.name.replace(".", "..", 1)]
        names += [self.full_name(self.first | {index: number}) for index in self.indexes for number in ODD_NUMBERS]
        self.add(read(*names))
        self.add([write(f"{name}=1") for name in [*names[:2], self.name]])
        if self.row.codec and self.is_writable:  # of a name that is as long as its row in the table more may follow
            long = self.full_name(dict.fromkeys(self.indexes, 10))
            self.add([write(f"{long}.{word}={self.good}") for word in self.catalogue["codecs"]])

    def add_distinct(self):
        """What the indexes choose: the places of all hold one of two texts, in patterns that tell them apart."""
        near = self.announced()
        for entry in self.reads:
            if not self.indexes or self.place(entry, near[0]) == self.place(entry, near[-1]):
                continue
            texts = self.interesting(entry)[1:3]
            by_place = {self.place(entry, indexes): indexes for indexes in near if self.has_place(entry, indexes)}
            base = [f"key {book.fill(key, self.key_values(indexes))}={text}" for indexes in near
                    for key, text in entry.get("with", {}).items()]
            for bit in range(len(by_place).bit_length()):
                lines = [line for number, indexes in enumerate(by_place.values(), 1)
                         for line in self.hold(entry, texts[number >> bit & 1], indexes)]
                self.add(read(*map(self.full_name, near)), base + lines)

    def has_place(self, entry, indexes):
        """Whether the model's camera takes a line about it: about any key, but only about elements of its files."""
        values, path = self.key_values(indexes), entry.get("element", "")
        bounds = {"channel": "capability_nvideoin", "stream": "capability_nmediastream", "window": "capability_nmotion"}
        inside = all(values[word] < int(self.keys[key]) for word, key in bounds.items() if "{" + word + "}" in path)
        return inside and ("{codec}" not in path or values["codec"] in self.keys["capability_videoin_codec"])

    def add_written_indexes(self):
        requests = []
        for indexes in self.announced() + [self.first | {index: 0} for index in self.indexes]:
            name = self.full_name(indexes)
            requests += [write(f"{name}={self.good}"), *read(name), write(f"{name}={self.other}"), *read(name)]
        self.add(requests)

    def add_few_states(self):
        """What a model of another shape, or another codec, makes of its keys: not there, and empty."""
        entries = self.reads + self.writes + self.catalogue["shared"]
        for key in dict.fromkeys(self.place(entry) for entry in entries if "key" in entry):
            for lines in (self.without(key), [f"key {key}="]):
                self.add(self.ask(self.good if self.is_writable else None), lines)

    def ask(self, value=None):
        return read(self.name) + ([write(f"{self.name}={value}"), *read(self.name)] if value is not None else [])

    def add_states(self):
        for entry in self.reads:
            if not self.has_place(entry, self.first):
                continue
            base = [f"key {book.fill(key, self.values)}={text}" for key, text in entry.get("with", {}).items()]
            for text in [None, *self.interesting(entry)]:
                requests = read(self.name)
                if entry.get("for") == "write":
                    values = self.own_values if text in self.tries(entry) else [self.good]
                    requests = [write(f"{self.name}={value}") for value in values]
                self.add(requests, base + self.hold(entry, text))
        for one, two in itertools.combinations([entry for entry in self.reads if "key" in entry], 2):
            if self.place(one) != self.place(two):
                for texts in itertools.product(*([None, *self.interesting(entry)[:4]] for entry in (one, two))):
                    self.add(self.ask(self.good if self.is_writable else None),
                             self.hold(one, texts[0]) + self.hold(two, texts[1]))
        self.add_shared_states()

    def add_shared_states(self):
        """The keys that are looked at whatever the parameter; those for the side files only where one is written."""
        has_file = any("file" in entry for entry in self.writes)
        for entry in self.catalogue["shared"]:
            if entry["when"] == "file" and not has_file:
                continue
            is_looked_at = has_file or self.row.codec or "{path}" in str(self.reads)
            texts = [None, "", *self.tries(entry), *self.long(entry)] if is_looked_at else [None, "0"]
            for stream in range(int(self.keys["capability_nmediastream"])) if "{stream}" in entry["key"] else [0]:
                key = book.fill(entry["key"], {"channel": 0, "stream": stream})
                for text in texts:
                    lines = self.without(key) if text is None else [f"key {key}={escape(text)}"]
                    self.add(self.ask(self.good if has_file else None), lines)

    def add_stated_cameras(self):
        """Cameras, environments and requests that the record names."""
        values = [None] + (self.own_values if self.is_writable else [])
        requests = [request for value in values for request in self.ask(value)]
        for lines in self.record.get("cameras", []):
            self.add(requests, [lines] if isinstance(lines, str) else lines)
        for variable in self.record.get("environments", []):
            self.add(requests, environment=[variable])
        fill = functools.partial(book.fill, values={**self.first, "codec": self.row.codec, "name": self.name})
        for play in self.record.get("plays", []):
            requests = [write(*map(fill, lines)) if "=" in lines[0] else read(fill(lines[0]))[0] for lines in play]
            self.add(requests)
            self.add([request for request in requests for _ in range(2)])

    def add_values(self):
        kind, key = self.record["type"], next((self.place(entry) for entry in self.writes if "key" in entry), "")
        room = SET_ROOM - len(key) - 1
        bounds = [kind[bound] + step for bound in ("min", "max") if isinstance(kind.get(bound), int)
                  for step in (-1, 0, 1)]
        long = ["x" * length for length in (room - 1, room, room + 1, VALUE_ROOM, VALUE_ROOM + 1)]
        cut = ["x" * (room - left) + "%41" for left in (3, 2, 1)] + ["9" * room]
        near = [text for value in self.own_values + kind.get("words", []) for text in (value, value + "x", "x" + value)]
        texts = expand_tries(self.catalogue, ["@text"])
        for value in dict.fromkeys([*near, *map(str, bounds), *texts, *long, *cut]):
            self.add([write(f"{self.name}={value}"), *read(self.name)])

    def add_refusals(self):
        """What happens when the camera lacks something or does not take it."""
        keys = list(dict.fromkeys(self.place(entry) for entry in self.writes if "key" in entry))
        looked_at = [self.place(entry) for entry in self.reads + self.writes if "key" in entry]
        lines = [[f"fail {key}"] for key in keys] + [[f"fail {key}" for key in keys]] * (len(keys) > 1)
        if keys:
            lines += [[f"fault configer {fault}"] for fault in ("refuse", "close", "bytes:127", "bytes:128")]
        lines += [self.without(key) for key in dict.fromkeys(looked_at)]
        if any("file" in entry for entry in self.reads + self.writes):
            for word, path in self.catalogue["files"].items():
                if word != "ranges":
                    lines += [[f"readonly {path}"], [f"nofile {path}"]]
                    lines += [[f"file {path}={text}"] for text in BROKEN_FILES]
        if any("file" in entry for entry in self.writes):
            keys = [entry["key"] for entry in self.catalogue["shared"] if entry["when"] == "file"]
            lines += [[f"request {key}={self.keys[key]}", "fault configer bytes:64"] for key in keys]
            lines += [[*self.without(one), *self.without(two)] for one, two in itertools.combinations(keys, 2)]
        for camera in lines:
            self.add(self.ask(self.good), camera)

    def add_sequences(self):
        second = self.full_name(self.first | {index: 2 for index in self.indexes[-1:]})
        good, other = f"{self.name}={self.good}", f"{self.name}={self.other}"
        both = read(self.name, second)
        self.add([write(good, other), *both])
        self.add([write(other, "No.Such.Name=1", good, f"{second}={self.good}"), *both])
        self.add([write(f"{second}={self.other}", good), *both])
        self.add([write(good, "General.ProtocolVersion=2", "General.UnitName=a"), *both])
        for row in book.expand(self.catalogue):
            is_longer = row.template.startswith(self.row.template) and row.template != self.row.template
            if is_longer and "good" in row.record:
                longer = f"{book.full_name(row, self.first)}={row.record['good']}"
                self.add([write(longer, good), *both])
                self.add([write(good, longer), *both])


def make(catalogue, row):
    """All plays of a row."""
    return [play for model in MODELS for play in RowUniverse(catalogue, row, model).make()]
