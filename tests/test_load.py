"""The program under load, inside script/sandbox: many requests at a time through a real web server, a configuration
daemon that is killed under them, and setters of the side files side by side."""
import concurrent.futures
import contextlib
import fcntl
import os
import pathlib
import random
import re
import signal
import time

import pytest

from camera import (CAMERA_WELL, HEADER, SIDE_FOLDER, Camera, ask_server, make_query, read, start_read, start_server,
                    start_write, take_reply, take_server_errors, wait_until, write)

AT_ONCE = 8
WRITES = 250  # of a batch, and as many reads
READS = [  # answered from constants, the snapshot, the daemon and the side files
    "General.Brand.CompanyName", "General.FirmwareVersion", "VideoInput.4.h264.1.Bitrate", "VideoInput.2.Brightness",
    "VideoInput.1.hevc.1.Rtsp.AbsolutePath", "Network.Services.Ntp.PollInterval", "Network.1.MacAddress",
    "VideoInput.1.Motion.ROI.3.Position", "General.NoSuchName"]
SIDE_NAMES = ["Network.Services.Ntp.PollInterval="] + [  # one for every place of the side files; a number completes it
    f"VideoInput.{channel}.{name}" for channel in range(1, 5) for name in (
        "Brightness=", "Contrast=", "Saturation=", "hevc.1.GopSize=", "h264.1.GopSize=",
        "Motion.ROI.1.MotionOnThreshold=", "Motion.ROI.1.Position=0.1,0.2,0.5,0.",
        "Motion.ROI.2.MotionOnThreshold=", "Motion.ROI.2.Position=0.1,0.2,0.5,0.")]
# What stands in front of the header when the daemon goes away under a request.
DIAGNOSTICS = re.compile(
    r"((write socket \d+ byte, but return -1|Read failed \(104\)\. Connection reset by peer)\n)+" + HEADER)

pool = concurrent.futures.ThreadPoolExecutor(AT_ONCE)


def is_any_request_left():
    for path in pathlib.Path("/proc").glob("[0-9]*/comm"):
        with contextlib.suppress(OSError):
            if path.read_text() == "param.cgi\n":
                return True
    return False


@pytest.fixture
def camera(pytestconfig):
    """Four channels, and keys for more of them to write. Around every test it is well. Its attribute "quiet" is what it
    answers to READS when nothing else happens; a test that changes some of it sets it anew."""
    start_server("")
    channels = ",".join(map(str, range(WRITES)))
    camera = Camera(pytestconfig.option.simcam, f"{pytestconfig.option.models}/encoder.model",
                    [f"key tampering_c{{{channels}}}_duration=100"])
    assert camera.is_ready()
    camera.quiet = read(READS)
    assert len(camera.quiet) == len(READS) and "Internal error" not in str(camera.quiet)
    yield camera
    wait_until(lambda: not is_any_request_left())
    assert read(READS) == camera.quiet
    assert take_server_errors() == ""
    assert camera.stop() == CAMERA_WELL
    assert not [line for line in camera.log()[0] if line.startswith(("semaphore ", "attached "))], "not given back"


def start_batch(camera, number):
    """Sends reads of two parameters and writes of another one each through the web server, AT_ONCE at a time. Returns
    for every request what it is to be answered, and the answer that there will be."""
    jobs = []
    for i in range(WRITES):
        places = i % len(READS), i // len(READS) % len(READS)
        query = make_query(READS[place] for place in places)
        jobs.append(([camera.quiet[place] for place in places], pool.submit(ask_server, "GET", query)))
        line = f"VideoInput.{i + 1}.Tampering.TriggerDuration={100 + number}"
        jobs.append(([line], pool.submit(ask_server, "POST", line + "\r\n")))
    return jobs


def take_lines(job):
    return DIAGNOSTICS.sub("", job.result()[0]).removesuffix("\r\n").split("\r\n")


def test_every_request_is_answered_and_every_write_arrives(camera, pytestconfig):
    batches = range(pytestconfig.option.batches)
    for number in batches:
        for expected, job in start_batch(camera, number):
            assert job.result() == ("".join(line + "\r\n" for line in expected), "200", "text/plain")
    sets = sorted(line for line in camera.log()[0] if line.startswith("set "))
    assert sets == sorted(f"set tampering_c{i}_duration={100 + number}" for number in batches for i in range(WRITES))


def test_requests_survive_a_daemon_that_is_killed(camera):
    """The daemon leaves its segment, semaphore and socket file behind and finds them again; a write to it, or a read
    that it answers, may fail meanwhile."""
    jobs = start_batch(camera, 0)
    for mark in (100, 300):
        jobs[mark][1].result()
        assert camera.stop(signal.SIGKILL)[2] == "crash: Killed"
        jobs[mark + 100][1].result()
        camera.start()
    failed = 0
    for expected, job in jobs:
        for line, actual in zip(expected, take_lines(job), strict=True):
            assert actual in (line, f"#error.{line.split('=')[0]}=501:Internal error")
            failed += actual != line
    assert failed, "the daemon was never missed"


def test_setters_lose_nothing_and_readers_see_whole_values(camera):
    order = random.Random(1)
    for name in SIDE_NAMES:
        assert write(f"{name}10") == [f"{name}10"]
    for value in range(11, 21):
        names = order.sample(SIDE_NAMES, len(SIDE_NAMES))
        for some in (names[i:i + AT_ONCE] for i in range(0, len(names), AT_ONCE)):
            lines, plain_names = [f"{name}{value}" for name in some], [name.split("=")[0] for name in some]
            setters = [start_write(line) for line in lines]
            readers = [start_read(plain_names) for _ in range(AT_ONCE // 2)]
            for reader in readers:
                for seen, name in zip(take_reply(reader), some, strict=True):
                    assert seen in (f"{name}{value - 1}", f"{name}{value}")
            assert [take_reply(setter) for setter in setters] == [[line] for line in lines]
            assert read(plain_names) == lines, "an update is lost"
    camera.quiet = read(READS)


PAIRS = [("VideoInput.1.Brightness", "image_c0_brightnesspercent", 1),  # stored first
         ("Network.Services.Ntp.PollInterval", "system_updateinterval", 60)]  # sent first


def test_camera_and_platform_agree_behind_two_writes_at_once(camera, pytestconfig):
    for number in range(20 * pytestconfig.option.batches):
        name, key, factor = PAIRS[number % 2]
        for writer in [start_write(f"{name}={value}") for value in (10, 90)]:
            writer.wait()
        sent = [int(line.partition("=")[2]) for line in camera.log()[0] if line.startswith(f"set {key}=")]
        assert read([name]) == [f"{name}={sent[-1] // factor}"]
    camera.quiet = read(READS)


@contextlib.contextmanager
def locked_side_files():
    folder = os.open(SIDE_FOLDER, os.O_RDONLY)
    fcntl.flock(folder, fcntl.LOCK_EX)
    yield
    os.close(folder)


def test_a_reader_waits_for_a_setter_that_has_emptied_the_file(camera):
    file = SIDE_FOLDER / "config_quorvexVideo.xml"
    content = file.read_text()
    with locked_side_files():
        file.write_text("")
        reader = start_read(["VideoInput.1.Brightness"])
        time.sleep(0.2)  # so that it is there; one that is later only makes the test weaker
        file.write_text(content)
    assert take_reply(reader) == ["VideoInput.1.Brightness=50"]


def test_a_lock_that_somebody_else_keeps_holds_nobody_up_for_good(camera):
    """Everything goes on without the lock when its time is over. What the two do is in different files."""
    with locked_side_files():
        reader = start_read(["VideoInput.1.Motion.ROI.1.Position"])
        assert write("VideoInput.1.Brightness=77") == ["VideoInput.1.Brightness=77"]
        assert take_reply(reader) == ["VideoInput.1.Motion.ROI.1.Position=0,0,1,1"]
    assert read(["VideoInput.1.Brightness"]) == ["VideoInput.1.Brightness=77"]
