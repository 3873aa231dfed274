"""What a request costs on the camera's processor, in instructions of the program itself: the ARM build and the floor
under emulation, counted by a plugin of the emulator, beside a simulated camera that runs natively. Runs inside
script/sandbox; script/bench --arm builds what is needed and starts it.

usage: arm_bench.py RESULTS             the table; leaves the figures in RESULTS/instructions-arm.txt
       arm_bench.py --profile CASE      the functions in which the instructions of a case are spent
"""
import collections
import pathlib
import re
import subprocess
import sys

TREE = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TREE / "tests"))
from camera import CAMERA_WELL, Camera, Program  # noqa: E402 (the folder is known only now)

RELEASE, ARM = TREE / "build/release", TREE / "build/arm"
PROGRAM, FLOOR, MAP = ARM / "param.cgi", ARM / "bench/floor", ARM / "param.cgi.map"
COUNTS = pathlib.Path("/tmp/counts")
SEMGET, CONNECT = "299", "283"  # system calls on ARM: each lookup and each exchange with a daemon makes one
PAGES = 3  # that a lookup touches
NAMES_OF_REQUEST = 60  # more do not fit
PROFILE_LINES = 40

Case = collections.namedtuple("Case", "model channels requests")  # requests are "GET query" or "POST body"


def reads(*names):
    return "GET " + "".join(f"req={name}&" for name in names)


def writes(*lines):
    return "POST " + "".join(f"{line}\r\n" for line in lines)


def all_names():
    table = (TREE / "src/param/dispatch_table.cpp").read_text()
    names = [name.replace("%d", "1") for name in re.findall(r'^ +\{"([^"]+)"', table, re.MULTILINE)]
    return [reads(*names[i:i + NAMES_OF_REQUEST]) for i in range(0, len(names), NAMES_OF_REQUEST)]


CONSTANT = [reads("General.Brand.CompanyName")]
KEY = "General.UnitName"
CASES = {
    "constant-1": Case("dome", 1, CONSTANT),
    "constant-8": Case("dome", 8, CONSTANT),
    "one-key": Case("dome", 1, [reads(KEY)]),
    # The place where the next item is looked for does not count the "&": these are answered 10 and 100 times.
    "ten-keys": Case("dome", 1, [reads(*[KEY] * 10)]),
    "hundred-keys": Case("dome", 1, [reads(*[KEY] * 96)]),
    **{f"brightness-{n}": Case("dome", n, [writes("VideoInput.1.Brightness=60")]) for n in (1, 2, 4, 8)},
    "eight-brightness-8": Case("dome", 8, [writes(*(f"VideoInput.{i}.Brightness=60" for i in range(1, 9)))]),
    "all-names": Case("ptz", 1, all_names()),
}


def count(command, request):
    """Returns the instructions by the address of their block, and how often each system call was made."""
    method, text = request.split(" ", 1)
    variable = ("CONTENT_LENGTH", str(len(text))) if method == "POST" else ("QUERY_STRING", text)
    env = dict([("SERVER_ADDR", "127.0.0.1"), ("REQUEST_METHOD", method), variable])
    COUNTS.unlink(missing_ok=True)
    emulator = ["qemu-arm", "-plugin", f"{RELEASE}/bench/libcount_instructions.so,counts={COUNTS}"]
    reply, error, ending = Program([*emulator, *map(str, command)], text, env).wait()
    if (error, ending) != ("", "exit 0") or "#error" in reply.splitlines()[2]:
        sys.exit(f"arm_bench: {command[0].name}: {ending}, {error or reply}")
    found = {"block": collections.Counter(), "call": collections.Counter()}
    for kind, where, number in map(str.split, COUNTS.read_text().splitlines()):
        found[kind][where] += int(number)
    return found["block"], found["call"]


def measure(case):
    """Returns the blocks of all requests of a case on a fresh camera, and the instructions of the floor."""
    channels = ",".join(map(str, range(case.channels)))
    changes = [f"key capability_nvideoin={case.channels}", f"key videoin_c{{{channels}}}_s{{0,1,2}}_codectype=h264"]
    models = TREE / "simcam/models"
    camera = Camera(str(RELEASE / "simcam/simcam"), f"{models}/{case.model}.model", changes if channels != "0" else [])
    blocks, floor = collections.Counter(), 0
    for request in case.requests:
        found, calls = count([PROGRAM], request)
        blocks += found
        work = calls[SEMGET], calls[SEMGET] * PAGES, calls[CONNECT]
        floor += count([FLOOR, "+".join(map(str, work))], "POST -")[0].total()
    ended = camera.stop()
    if ended != CAMERA_WELL:
        sys.exit(f"arm_bench: simcam: {ended}")
    return blocks, floor


def print_table(results):
    last = dict(line.split() for line in (TREE / "bench/instructions-arm.txt").read_text().splitlines())
    row = "{:<20} {:>12} {:>12} {:>8} {:>12} {:>16}"
    print(row.format("case", "now", "last change", "change", "floor", "param.cgi/floor"))
    with open(results / "instructions-arm.txt", "w") as kept:
        for name in [*CASES, "file-bytes"]:
            blocks, floor = measure(CASES[name]) if name in CASES else ({"": PROGRAM.stat().st_size}, 0)
            now = sum(blocks.values())
            change = f"{100 * now / int(last[name]) - 100:+.1f}%" if name in last else "new"
            ratio = f"{now / floor:.2f}" if floor else "-"
            print(row.format(name, now, last.get(name, "-"), change, floor or "-", ratio), flush=True)
            print(f"{name:<20} {now:>12}", file=kept)


def functions():
    """Returns the functions by address: (start, end, name, object), from the link map. A C library's function is known
    by its object."""
    line = r"^ \.(?:text|init|fini)(\S*)\s+0x([0-9a-f]+)\s+0x([0-9a-f]+)\s+\S*?([^/\n]+)$"
    for name, start, size, where in re.findall(line, MAP.read_text(), re.MULTILINE):
        start, size = int(start, 16), int(size, 16)
        if start > 0 and size > 0:
            yield start, start + size, name.removeprefix(".unlikely").lstrip("."), where


def print_profile(case):
    blocks, _ = measure(case)
    table = list(functions())
    spent = collections.Counter()
    for address, number in blocks.items():
        owner = next((entry[2:] for entry in table if entry[0] <= int(address) < entry[1]), ("", "elsewhere"))
        spent[owner] += number
    lines = [f"{number:>12} {100 * number / spent.total():5.1f}%  {where}  {name}"
             for (name, where), number in spent.most_common(PROFILE_LINES)]
    print(subprocess.run("c++filt", input="\n".join(lines), capture_output=True, text=True, check=True).stdout)


if __name__ == "__main__":
    match sys.argv[1:]:
        case ["--profile", name] if name in CASES:
            print_profile(CASES[name])
        case ["--profile", *_]:
            sys.exit(f"arm_bench: which case? There are: {' '.join(CASES)}")
        case [results]:
            print_table(pathlib.Path(results))
        case _:
            sys.exit(__doc__)
