"""What a request costs a camera, its kernel's part included: the ARM build and the floor on the device that
script/device boots, where an instruction takes a fixed time, so that the CPU time of a process counts instructions.
script/bench-device builds what is needed and starts it, twice: inside script/sandbox for what the floor has to do,
outside for the device.

usage: device_bench.py --work                  inside: a line "CASE REQUEST WORK" for each request
       device_bench.py RESULTS WORK-FILE       the table; leaves the figures in RESULTS/instructions-device.txt
"""
import collections
import pathlib
import shutil
import sys

TREE = pathlib.Path(__file__).resolve().parent.parent
sys.path[:0] = [str(TREE / "device"), str(TREE / "bench")]
import arm_bench  # noqa: E402 (the folders are known only now)
from console import NO_PACKAGES, PROGRAM, Device  # noqa: E402

ROUNDS = 10
SHIFT = 3  # an instruction takes 2^3 ns of the device's time, as on a processor with 125 million of them a second
ADDED = [word for name in ("process_cost", "peak_memory", "floor") for word in
         ("--add", str(TREE / "build/bench/device" / name))]

Cost = collections.namedtuple("Cost", "instructions faults memory")


def print_work():
    shutil.copy(arm_bench.ARM / "param.cgi", arm_bench.PROGRAM)
    for name, case in arm_bench.CASES.items():
        with arm_bench.camera(case):
            for place, request in enumerate(case.requests):
                print(name, place, *arm_bench.count([arm_bench.PROGRAM], request)[1])


def measure(device, request, work):
    """The costs of the program and of the floor."""
    method, text = request.split(" ", 1)
    body = text if method == "POST" else "-"
    device.put("/tmp/body", body)
    device.put("/tmp/query", text if method == "GET" else "")
    device.run(f"export SERVER_ADDR=127.0.0.1 REQUEST_METHOD={method} CONTENT_LENGTH={len(body)}")
    device.run('export QUERY_STRING="$(cat /tmp/query)"')
    reply = device.run(f"{PROGRAM} </tmp/body")[0]
    if "#error" in reply.splitlines()[2]:
        sys.exit(f"device_bench: {request[:60]}: {reply[:200]}")
    lines = device.run(f"process_cost {ROUNDS} /bin/floor {work} -- {PROGRAM} </tmp/body")[0].splitlines()
    costs = []
    for line, command in zip(lines, (f"/bin/floor {work}", PROGRAM)):
        words = line.split()
        memory = device.run(f"peak_memory {command} </tmp/body 2>&1 >/dev/null")[0]
        costs.append(Cost(float(words[3]) * 1000 / 2**SHIFT, int(words[6]), int(memory)))
    return costs[1], costs[0]


def measure_case(device, case, works):
    """The sums of all its requests, but for the memory, of which the largest counts."""
    changes = arm_bench.channel_changes(case)
    device.start_camera(case.model, *changes)
    found = [measure(device, request, work) for request, work in zip(case.requests, works)]
    return [Cost(sum(cost.instructions for cost in costs), sum(cost.faults for cost in costs),
                 max(cost.memory for cost in costs)) for costs in zip(*found)]


def print_table(device, works, results):
    row = "{:<20} {:>13} {:>13} {:>16} {:>8} {:>8} {:>8} {:>8}"
    print(row.format("", "instructions", "", "", "page faults", "", "KiB", ""))
    print(row.format("case", "param.cgi", "floor", "param.cgi/floor", "param", "floor", "param", "floor"))
    with open(results / "instructions-device.txt", "w") as kept:
        for name, case in arm_bench.CASES.items():
            program, floor = measure_case(device, case, works[name])
            ratio = f"{program.instructions / floor.instructions:.2f}"
            print(row.format(name, f"{program.instructions:.0f}", f"{floor.instructions:.0f}", ratio, program.faults,
                             floor.faults, program.memory, floor.memory), flush=True)
            print(f"{name:<20} {program.instructions:>12.0f} {ratio:>6}", file=kept)


def main():
    match sys.argv[1:]:
        case ["--work"]:
            print_work()
        case [results, work_file]:
            works = collections.defaultdict(list)
            for line in pathlib.Path(work_file).read_text().splitlines():
                works[line.split()[0]].append(line.split(" ", 2)[2])
            device = Device(pathlib.Path(results) / "device.log", "--icount", str(SHIFT), *ADDED)
            if device.status is not None:
                sys.exit("device_bench: there is no device: its packages cannot be had" if device.status == NO_PACKAGES
                         else f"device_bench: the device does not start; {results}/device.log tells why")
            try:
                print_table(device, works, pathlib.Path(results))
            finally:
                device.stop()
        case _:
            sys.exit(__doc__)


if __name__ == "__main__":
    main()
