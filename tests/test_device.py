"""A whole ARM device in the emulator (script/device): a kernel of the camera's kind answers for semaphores, shared
memory, sockets and memory, the root is read-only, and a web server's unprivileged user asks. One device, booted once; a
shell on its console is the way in, beside the port that it serves."""
import pathlib
import re
import subprocess
import sys
import urllib.request

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "device"))
from console import NO_PACKAGES, PROGRAM, TIME_LIMIT, TREE, Device  # noqa: E402

NO_TESTS = 5  # which skips this one
CLIENTS, REQUESTS = 16, 4  # at once, and of each
KILLS = 30
LEAK = 1500  # KiB that may be missing later: what was logged, and what the kernel keeps for the next time
BRIGHTNESS, UNIT = "VideoInput.1.Brightness", "General.UnitName"


@pytest.fixture(scope="module")
def device(tmp_path_factory):
    log = tmp_path_factory.mktemp("device") / "log"
    device = Device(log)
    if device.status is not None:
        pytest.exit(f"the device does not start:\n{log.read_text()}", NO_TESTS if device.status == NO_PACKAGES else 1)
    yield device
    device.stop()


def left_over(device):
    """Processes, segments, semaphores and their undos; and the memory that is available."""
    said = device.run("ps | grep -c [p]aram.cgi; cut -c 1-60 /proc/sysvipc/shm; cut -c 1-60 /proc/sysvipc/sem; "
                      "SERVER_ADDR=127.0.0.1 camera-check | grep semaphore")[0]
    memory = device.run("echo 3 >/proc/sys/vm/drop_caches; sed -n 's/^MemAvailable: *//p' /proc/meminfo")[0]
    return re.sub(r"(?m)^( *\d+ +\d+ +\d+ +\d+ +\d+ ) *\d+", r"\1", said), int(memory.split()[0])


def test_a_healthy_camera(device):
    assert device.run("touch /x /usr/share/www/cgi-bin/x")[0].count("Read-only file system") == 2
    assert device.run("ps | grep -c 'www .*[l]ighttpd'")[0] == "1\n"
    for model in "ptz", "encoder", "dome":
        device.start_camera(model)
        assert f"{UNIT}=" in device.ask(UNIT)[0]  # whatever is started is in memory by now
        check, _ = device.run(device.as_user("SERVER_ADDR=127.0.0.1 camera-check"))
        assert [line for line in check.splitlines() if not line.startswith("good ")] == [], model
        assert check.count("\n") > 15
    done = subprocess.run([TREE / "script/conform", device.url, "--write"], capture_output=True, text=True)
    assert done.returncode == 0 and "written back: " in done.stdout, done.stdout + done.stderr
    with urllib.request.urlopen(f"{device.url}?req=Network.1.CurrentIpAddress", timeout=TIME_LIMIT) as reply:
        assert reply.read() == b"Network.1.CurrentIpAddress=10.0.2.15\r\n"


@pytest.mark.parametrize("fault, line, said, seconds", [
    ("snapshot absent", UNIT, "shmat attach faile. errno = 22 Invalid argument", 0),
    ("snapshot denied", UNIT, "shmat attach faile. errno = 13 Permission denied", 0),
    ("semaphore absent", UNIT, "semget: No such file or directory", 0),
    ("semaphore taken", UNIT, "semop", 10),
    ("configer absent", UNIT + "=A", "connect failed!", 0), ("configer hang", UNIT + "=A", "Read timeout", 10)])
def test_words_in_front_of_a_reply(device, fault, line, said, seconds):
    device.start_camera("dome", "fault " + fault)
    reply, waited = device.ask(line)
    assert said in reply and f"#error.{UNIT}=501:Internal error" in reply
    assert seconds - 1 < waited < 3 * seconds + 6


def test_writers_that_are_killed(device):
    """At any moment: what is left of them blocks nobody and is a whole file."""
    device.start_camera("dome")
    before = left_over(device)[0]
    body = f"{BRIGHTNESS}=61\\r\\nVideoInput.1.Motion.ROI.1.Threshold=20\\r\\n" * 20  # takes longer than the last waits
    device.run(f"printf '{body}' >/tmp/body; export REQUEST_METHOD=POST CONTENT_LENGTH=$(stat -c %s /tmp/body)")
    device.run(f"for i in $(seq {KILLS}); do SERVER_ADDR=127.0.0.1 {PROGRAM} </tmp/body >/dev/null & "
               f"usleep $((i * 4000)); kill -9 $!; wait $!; tail -q -n 1 /etc/conf.d/*; done >/tmp/ends")
    assert device.run("sort /tmp/ends | uniq -c | tr -s ' '")[0] == f" {3 * KILLS} </root>\n"
    reply, waited = device.ask(BRIGHTNESS + "=62")
    assert f"{BRIGHTNESS}=62" in reply and waited < 6 and left_over(device)[0] == before


def test_a_server_that_does_not_tell_its_address(device):
    """Has the documented script in front of the program."""
    script = re.search("```sh\n(#!/bin/sh\n.*?)```", (TREE / "docs/firmware.md").read_text(), re.DOTALL)[1]
    device.run("mkdir -p /tmp/www/cgi-bin")
    device.put("/tmp/www/cgi-bin/param.cgi", script.replace("/usr/libexec/param.cgi", PROGRAM))
    said = device.run("chmod +x /tmp/www/cgi-bin/param.cgi; httpd -f -p 8080 -h /tmp/www & sleep 1; wget -qO - "
                      "'http://127.0.0.1:8080/cgi-bin/param.cgi?req=Network.1.CurrentIpAddress'; kill $!")[0]
    assert said == "Network.1.CurrentIpAddress=10.0.2.15\r\n"


def test_many_clients(device):
    """Nothing is left of them."""
    write, read = f"{UNIT}=Lobby\\r\\n", f"/cgi-bin/param.cgi?req={UNIT}&req={BRIGHTNESS}"
    device.run(f"printf 'POST /cgi-bin/param.cgi HTTP/1.0\\r\\nContent-Length: {len(write) - 2}\\r\\n\\r\\n{write}' "
               f">/tmp/write; printf 'GET {read} HTTP/1.0\\r\\n\\r\\n' >/tmp/read")

    def load():
        device.run(f"for c in $(seq {CLIENTS}); do for i in $(seq {REQUESTS}); do nc 10.0.2.15 80 </tmp/write; "
                   "nc 10.0.2.15 80 </tmp/read; done >/tmp/said.$c & done; wait")
        assert device.run(f"cat /tmp/said.* | grep -c '^{UNIT}=Lobby'")[0] == f"{2 * CLIENTS * REQUESTS}\n"
        return left_over(device)
    device.start_camera("dome")
    before, memory = load()
    after, later = load()
    assert after == before and memory - later < LEAK


def test_the_kernel_says_nothing_and_the_device_ends(device):
    said = device.run("dmesg")[0]
    assert not re.search("(?i)segfault|oops|bug|unhandled|out of memory|warning|blocked for|param.cgi", said), said
    assert device.stop() == 0
