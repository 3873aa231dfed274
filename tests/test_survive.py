"""What must survive, inside script/sandbox: the side files, whatever happens to a setter, to the daemon or to the disk
meanwhile; a wait, when the process is stopped and continued; everybody else, when a request is ended in its midst."""
import ctypes
import fcntl
import itertools
import os
import pathlib
import random
import re
import signal
import threading
import time

import pytest

from camera import (CAMERA_WELL, HEADER, PROGRAM, SIDE_FOLDER, Camera, Program, make_query, read, start_read,
                    start_request, start_write, take_reply, wait_until)

NAMES = [f"VideoInput.{channel}.{name}" for channel in range(1, 5) for name in (
    "Brightness", "Contrast", "h264.1.GopSize", "Motion.ROI.2.MotionOnThreshold", "Storage.DeviceNum")]


@pytest.fixture
def make_camera(pytestconfig):
    cameras = []

    def make(model, *changes):
        option = pytestconfig.option
        cameras.append(Camera(option.simcam, f"{option.models}/{model}.model", changes))
        assert cameras[-1].is_ready()
        return cameras[-1]
    yield make
    assert [camera.stop() for camera in cameras] == [CAMERA_WELL]


def read_shapes():
    """The side files without their values, but for what is no number, and without the end that a cut would take."""
    return [re.sub(r">\d+<", "><", path.read_text()).rstrip() for path in sorted(SIDE_FOLDER.glob("*.xml"))]


def test_a_daemon_that_restarts_in_order_costs_no_setting(make_camera):
    camera = make_camera("encoder")
    shapes = read_shapes()
    for value in range(40):
        setters = [start_write(f"{name}={value % 2}") for name in random.sample(NAMES, 4)]
        time.sleep(random.random() / 50)
        assert camera.stop()[1:] == CAMERA_WELL[1:]
        for setter in setters:
            setter.wait()
        assert read_shapes() == shapes, "the camera's shape was guessed while nobody could tell it"
        camera.start()  # lays the files out anew


@pytest.fixture
def filling_disk():
    """The disk of the side files runs full and has room again, over and over."""
    ended = threading.Event()
    filler = SIDE_FOLDER / "filler"

    def fill():
        for size in itertools.cycle(range(0, 1 << 16, 999)):
            if ended.is_set():
                return
            try:
                filler.write_bytes(bytes(size))
            except OSError:
                filler.unlink()
    thread = threading.Thread(target=fill)
    thread.start()
    yield
    ended.set()
    thread.join()
    filler.unlink(missing_ok=True)


@pytest.mark.parametrize("disk", ["roomy", "full"])
def test_a_setter_that_is_killed_leaves_the_old_value_or_the_new_one(make_camera, request, pytestconfig, disk):
    make_camera("dome")
    shapes = read_shapes()
    if disk == "full":
        request.getfixturevalue("filling_disk")
    names = ["VideoInput.1.Brightness", "Network.Services.Ntp.PollInterval",
             "VideoInput.1.Motion.ROI.4.MotionOnThreshold"]
    killed = 0
    for number in range(pytestconfig.option.kills):
        line = f"{names[number % 3]}={random.choice([7, 77, 100])}\r\n"
        setter = start_request("POST", line, emulator=pytestconfig.option.emulator)
        time.sleep(2**random.uniform(-13, -5))
        setter.process.send_signal(random.choice([signal.SIGKILL, signal.SIGTERM]))
        killed += setter.wait()[2].startswith("crash")
        assert read_shapes() == shapes
    assert killed, "none was alive any more"


@pytest.mark.parametrize("items", [
    ["General.DateTime.CurrentUTCDateTime", "Network.1.MacAddress", "VideoInput.1.h264.1.Capabilities.MaxBitrate",
     "VideoInput.1.Brightness", "PTZ.1.Capabilities.CommandList", "CustomEvents.Capabilities.EventList",
     "VideoInput.Capabilities.PeopleCountingSupported", "General.Brand.ModelName"],
    ["General.DateTime.CurrentUTCDateTime=2026-11-22T10:00:00.000Z", "VideoInput.1.Brightness={}",
     "VideoInput.1.Motion.ROI.1.MotionOnThreshold={}", "Network.Services.Ntp.PollInterval={}",
     "VideoInput.1.h264.1.GopSize={}"]], ids=["read", "written"])
def test_a_call_that_the_system_refuses_fails_one_item_at_most(make_camera, pytestconfig, items):
    """Each call in turn: every item has its line, the files stay whole, and the next request finds all well. (What an
    item does without may be another answer.)"""
    make_camera("ptz", "no system_info_serialnumber", "request system_info_extendedmodelname=KP-930")
    shapes, refused = read_shapes(), pathlib.Path("/tmp/refused")
    for number in itertools.count(1):
        lines = [item.replace("{}", "5" if number % 2 else "99") for item in items]
        method, text = ("POST", "\r\n".join([*lines, ""])) if "=" in items[0] else ("GET", make_query(items))
        environment = [f"LD_PRELOAD={pytestconfig.option.refused}", f"REFUSED_CALL={number}"]
        output, _, ending = start_request(method, text, environment).wait()
        if not refused.exists():
            break
        names = re.findall(r"(?m)^(?:#error\.)?([^=\r\n]*)=.*\r$", output.partition(HEADER)[2])
        assert (names, ending) == ([item.partition("=")[0] for item in items], "exit 0"), refused.read_text() + output
        assert output.count("#error.") <= 1 and read_shapes() == shapes, (number, refused.read_text(), output)
        refused.unlink()
    assert number > 100 and output.startswith(HEADER) and "#error" not in output, output
    assert "#error" not in str(take_reply(start_request(method, text)))


def test_a_wait_goes_on_behind_a_stop(make_camera):
    make_camera("ptz", "fault analytics late:700", "fault ptz late:700")
    names = {"VideoInput.Capabilities.PeopleCountingSupported": "true", "PTZ.1.Capabilities.CommandList": "RunPattern",
             "CustomEvents.Capabilities.EventList": "FieldDetect"}
    readers = {name: start_read([name]) for name in names}
    for _ in range(8):
        time.sleep(0.2)
        for number in (signal.SIGSTOP, signal.SIGCONT):
            for reader in readers.values():
                reader.process.send_signal(number)
    for name, word in names.items():
        assert word in take_reply(readers[name])[0]


LIBC = ctypes.CDLL(None, use_errno=True)


def get_semaphore():
    return LIBC.semget(LIBC.ftok(b"/usr/sbin/configer", 99), 1, 0)


def move_semaphore(step):
    assert LIBC.semop(get_semaphore(), (ctypes.c_short * 3)(0, step, 0), 1) == 0, os.strerror(ctypes.get_errno())


def test_a_wait_for_the_semaphore_goes_on_behind_a_stop(make_camera):
    make_camera("dome")
    move_semaphore(-1)
    reader = start_read(["General.Brand.ModelName"])
    time.sleep(0.3)
    reader.process.send_signal(signal.SIGSTOP)
    reader.process.send_signal(signal.SIGCONT)
    time.sleep(0.1)
    move_semaphore(1)
    assert take_reply(reader) == ["General.Brand.ModelName=KD-120"]


def test_nothing_is_waited_for_with_the_semaphore(make_camera):
    """Without a segment a request keeps it: a daemon that comes back needs it, and so may the one who has the lock."""
    last_process, value = 11, 12  # GETPID and GETVAL of semctl
    camera = make_camera("dome", "fault snapshot absent", "fault analytics hang")
    lock = os.open(SIDE_FOLDER / "config_quorvexVideo.xml", os.O_RDONLY)
    fcntl.flock(lock, fcntl.LOCK_EX)
    for start in (lambda: start_write("VideoInput.1.Brightness=61"),
                  lambda: start_read(["VideoInput.Capabilities.PeopleCountingSupported"])):
        request = start()
        wait_until(lambda: LIBC.semctl(get_semaphore(), 0, last_process) == request.process.pid)
        wait_until(lambda: LIBC.semctl(get_semaphore(), 0, value) == 1)
        assert request.process.poll() is None and not [line for line in camera.log()[0] if line.startswith("set ")]
        request.process.kill()
        request.wait()
    os.close(lock)


def test_a_chain_of_aliases_in_a_large_tree(make_camera):
    """Every hop passes those in front of it."""
    front = f"key chain_x{{{','.join(map(str, range(600)))}}}=0"
    chain = [f"alias chain_{i}=chain_{i + 1}" for i in range(400)]
    make_camera("dome", "snapshot size=1048576", front, *chain, "key chain_400=end", "alias system_ntp=chain_0")
    assert read(["Network.Services.Ntp.ServerAddress"]) == ["Network.Services.Ntp.ServerAddress=end"]


def test_a_closed_standard_input_is_no_other_file(make_camera):
    """The system log's socket would have its number, and be read as the body, for good."""
    make_camera("dome", "no capability_nmediastream")
    env = {"SERVER_ADDR": "::", "REQUEST_METHOD": "POST", "CONTENT_LENGTH": "10"}
    assert take_reply(Program(["sh", "-c", f"exec {PROGRAM} <&-"], env=env)) == ["Get the post body failed"]


def test_a_file_that_may_not_be_written_to_its_end_stays(make_camera):
    """A write that begins at the limit would be answered with a signal; one across it is cut short."""
    make_camera("dome")
    name, before = "VideoInput.1.Motion.ROI.1.MotionOnThreshold", read_shapes()
    for value in "100", "15":
        line = f"{name}={value}"
        env = {"SERVER_ADDR": "::", "REQUEST_METHOD": "POST", "CONTENT_LENGTH": str(len(line) + 2),
               "LLVM_PROFILE_FILE": "/dev/null"}  # where script/coverage would have more written
        request = Program(["prlimit", "--fsize=200", PROGRAM], line + "\r\n", env)
        assert (take_reply(request), read([name]), read_shapes()) == ([line], [f"{name}=10"], before)


def test_a_named_pipe_in_the_place_of_a_file_holds_nobody(make_camera):
    make_camera("dome", "ptz pidfile=no")
    pipe = "/var/run/ptzcgid.pid"
    os.mkfifo(pipe)
    assert read(["PTZ.Capabilities.EntityCount"]) == ["PTZ.Capabilities.EntityCount=1"]
    os.unlink(pipe)


def test_a_request_that_the_server_ends_leaves_nothing_behind(make_camera):
    camera = make_camera("dome", "fault configer hang")
    shapes = read_shapes()
    setter = start_write("VideoInput.1.Brightness=61\r\nVideoInput.1.Brightness=62")
    wait_until(lambda: camera.log()[0])
    setter.process.terminate()
    assert setter.wait()[2] == "crash: Terminated"
    folder = os.open(SIDE_FOLDER, os.O_RDONLY)
    fcntl.flock(folder, fcntl.LOCK_EX | fcntl.LOCK_NB)
    os.close(folder)
    assert read_shapes() == shapes
    assert read(["VideoInput.1.Brightness"]) == ["VideoInput.1.Brightness=61"]
