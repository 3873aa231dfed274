"""What a request costs on the camera's processor, in instructions of the program itself: the ARM build and the floor
under emulation, counted by a plugin of the emulator, beside a simulated camera that runs natively. Runs inside
script/sandbox; script/bench --arm builds what is needed and starts it.

usage: arm_bench.py RESULTS             the table; leaves the figures in RESULTS/instructions-arm.txt
       arm_bench.py --profile CASE      the functions in which the instructions of a case are spent
"""
import array
import bisect
import collections
import contextlib
import pathlib
import re
import shutil
import subprocess
import sys

TREE = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TREE / "tests"))
from camera import CAMERA_WELL, Camera, Program  # noqa: E402 (the folder is known only now)

RELEASE, ARM = TREE / "build/release", TREE / "build/arm"
MAP = ARM / "param.cgi.map"
# Where the programs are run: the length of a program's path, like its environment, changes the count.
PROGRAM, FLOOR = pathlib.Path("/tmp/param.cgi"), pathlib.Path("/tmp/floor")
OUTPUT, TRACE = pathlib.Path("/tmp/output"), pathlib.Path("/tmp/trace")
SEMGET, CONNECT = "299", "283"  # system calls on ARM: each lookup and each exchange with a daemon makes one
NAMES_OF_REQUEST = 60  # more do not fit
PROFILE_LINES, PROFILE_PARTS = 25, 6

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


def run(command, request, output):
    """Runs a program under the emulator for one request; the plugin writes its output to OUTPUT."""
    method, text = request.split(" ", 1)
    variable = ("CONTENT_LENGTH", str(len(text))) if method == "POST" else ("QUERY_STRING", text)
    env = dict([("SERVER_ADDR", "127.0.0.1"), ("REQUEST_METHOD", method), variable])
    plugin = f"{RELEASE}/bench/libcount_instructions.so,{output}={OUTPUT}"
    emulator = ["qemu-arm", "-strace", "-D", str(TRACE), "-plugin", plugin]
    reply, error, ending = Program([*emulator, *map(str, command)], text, env).wait()
    if (error, ending) != ("", "exit 0") or "#error" in reply.splitlines()[2]:
        sys.exit(f"arm_bench: {command[0].name}: {ending}, {error or reply}")


# What else a request makes the floor do, by how a system call in the trace begins. A connection is known by the length
# of its address, which tells the configuration daemon's from that of the PTZ daemon and that of the analytics service.
CALLS = [(r'open\("(.*)",O_RDONLY\|O_NONBLOCK\|O_CLOEXEC\) = \d+\n\d+ lseek', "read:"),
         (r'open\("(.*)",O_RDONLY\|(?:O_DIRECTORY|O_NONBLOCK)\|O_CLOEXEC\) = \d+\n\d+ flock', "lock:"),
         (r'open\("(.*)",O_RDWR\|O_CREAT', "write:"),
         (r"connect\(\d+,0x\w+,14()\) = 0", "ptz:"), (r"connect\(\d+,0x\w+,16()\) = 0", "analytics:")]


def count(command, request):
    """Returns the instructions, and what the floor has to do for the same request."""
    run(command, request, "counts")
    lines = [line.split() for line in OUTPUT.read_text().splitlines()]
    calls = collections.Counter({words[1]: int(words[2]) for words in lines if words[0] == "call"})
    trace = TRACE.read_text()
    words = [word + path for expression, word in CALLS for path in re.findall(expression, trace)]
    exchanges = calls[CONNECT] - sum(word in ("ptz:", "analytics:") for word in words)
    return int(lines[0][1]), [f"{calls[SEMGET]}+{lines[-1][1]}+{exchanges}", *words]


def channel_changes(case):
    channels = ",".join(map(str, range(case.channels)))
    changes = [f"key capability_nvideoin={case.channels}", f"key videoin_c{{{channels}}}_s{{0,1,2}}_codectype=h264"]
    return changes if channels != "0" else []


@contextlib.contextmanager
def camera(case):
    models = TREE / "simcam/models"
    started = Camera(str(RELEASE / "simcam/simcam"), f"{models}/{case.model}.model", channel_changes(case))
    yield
    ended = started.stop()
    if ended != CAMERA_WELL:
        sys.exit(f"arm_bench: simcam: {ended}")


def measure(case):
    """Returns the instructions of all requests of a case on a fresh camera, and those of the floor."""
    program = floor = 0
    with camera(case):
        for request in case.requests:
            found, work = count([PROGRAM], request)
            program += found
            floor += count([FLOOR, *work], "POST -")[0]
    return program, floor


def stripped_size():
    """Returns the bytes of the file that a camera gets."""
    subprocess.run(["arm-linux-gnueabi-strip", "-o", "/tmp/stripped", PROGRAM], check=True)
    return pathlib.Path("/tmp/stripped").stat().st_size


def print_table(results):
    last = dict(line.split() for line in (TREE / "bench/instructions-arm.txt").read_text().splitlines())
    row = "{:<20} {:>12} {:>12} {:>8} {:>12} {:>16}"
    print(row.format("case", "now", "last change", "change", "floor", "param.cgi/floor"))
    with open(results / "instructions-arm.txt", "w") as kept:
        for name in [*CASES, "file-bytes"]:
            now, floor = measure(CASES[name]) if name in CASES else (stripped_size(), 0)
            change = f"{100 * now / int(last[name]) - 100:+.1f}%" if name in last else "new"
            ratio = f"{now / floor:.2f}" if floor else "-"
            print(row.format(name, now, last.get(name, "-"), change, floor or "-", ratio), flush=True)
            print(f"{name:<20} {now:>12}", file=kept)


Function = collections.namedtuple("Function", "start end name is_own")


def functions():
    """Returns the functions in the order of their addresses, from the link map. One of a C library has the name of its
    object."""
    line = r"^ \.(?:text|init|fini)(\S*)\s+0x([0-9a-f]+)\s+0x([0-9a-f]+)\s+(\S+)$"
    found = []
    for section, start, size, where in re.findall(line, MAP.read_text(), re.MULTILINE):
        start, size, is_own = int(start, 16), int(size, 16), where.startswith("src/")
        name = re.sub(r"^\.(unlikely\.|startup\.)?", "", section) if is_own else re.sub(r".*[/(]|\.\w+\)?$", "", where)
        if start > 0 and size > 0:
            found.append(Function(start, start + size, name, is_own))
    return sorted(found)


def print_profile(case):
    """A function of the C library counts for the function of the program that has called it, directly or not. Who has
    called whom follows from the order of the blocks: one that is the start of a function is a call, another one in
    another function a return."""
    table, owner = functions(), {}
    spent = collections.defaultdict(collections.Counter)
    with camera(case):
        for request in case.requests:
            run([PROGRAM], request, "order")
            stack = []
            blocks = array.array("I", OUTPUT.read_bytes())
            for address, instructions in zip(blocks[::2], blocks[1::2]):
                if address not in owner:
                    owner[address] = table[bisect.bisect(table, address, key=lambda function: function.start) - 1]
                function = owner[address]
                if address == function.start or function not in stack:
                    stack.append(function)
                while stack[-1] != function:
                    stack.pop()
                caller = next((entry for entry in reversed(stack) if entry.is_own), stack[0])
                spent[caller.name][function.name] += instructions
    total = sum(map(collections.Counter.total, spent.values()))
    lines = []
    for name, parts in sorted(spent.items(), key=lambda item: -item[1].total())[:PROFILE_LINES]:
        itself = parts.pop(name, 0)
        sum_of_all = itself + parts.total()
        rest = "".join(f", {part} {number}" for part, number in parts.most_common(PROFILE_PARTS))
        lines.append(f"{sum_of_all:>10} {100 * sum_of_all / total:5.1f}%  {name} : itself {itself}{rest}")
    print(subprocess.run("c++filt", input="\n".join(lines), capture_output=True, text=True, check=True).stdout)


if __name__ == "__main__":
    shutil.copy(ARM / "param.cgi", PROGRAM)
    shutil.copy(ARM / "bench/floor", FLOOR)
    match sys.argv[1:]:
        case ["--profile", name] if name in CASES:
            print_profile(CASES[name])
        case ["--profile", *_]:
            sys.exit(f"arm_bench: which case? There are: {' '.join(CASES)}")
        case [results]:
            print_table(pathlib.Path(results))
        case _:
            sys.exit(__doc__)
