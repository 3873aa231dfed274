"""camera-check on cameras in good health, with one thing wrong, and behind a web server."""
import contextlib
import fcntl
import os
import pathlib
import shutil
import socket

import pytest

from camera import CAMERA_WELL, Camera, Program, start_server

MODELS = ("dome", "ptz", "encoder")
VIDEO, MOTION, SYSTEM = (f"/etc/conf.d/config_quorvex{name}.xml" for name in ("Video", "Motion", "System"))


@pytest.fixture
def start(pytestconfig):
    @contextlib.contextmanager
    def run(model, *changes):
        camera = Camera(pytestconfig.option.simcam, f"{pytestconfig.option.models}/{model}.model", changes)
        try:
            assert camera.is_ready()
            yield camera
        finally:
            assert camera.stop()[1:] == CAMERA_WELL[1:]
    return run


@pytest.fixture
def check(pytestconfig):
    def run(*arguments, env=None):
        option = pytestconfig.option
        emulator = [option.emulator] if option.emulator else []
        output, error, ending = Program([*emulator, option.tool, *arguments], env=env or {}).wait()
        assert error == ""
        return output, ending
    return run


def bad_lines(answer):
    output, ending = answer
    lines = output.splitlines()
    assert all(line[:6] in ("good  ", "bad   ") for line in lines), output
    bad = [line[6:] for line in lines if line.startswith("bad")]
    assert ending == ("exit 1" if bad else "exit 0")
    return bad


@pytest.mark.parametrize("model", MODELS)
def test_a_camera_in_good_health(start, check, model):
    with start(model) as camera:
        files = [path.read_bytes() for path in sorted(pathlib.Path("/etc/conf.d").iterdir())]
        assert bad_lines(check()) == []
        assert [path.read_bytes() for path in sorted(pathlib.Path("/etc/conf.d").iterdir())] == files
        sent, log = camera.log()
        assert not log and not [line for line in sent if line.startswith("set ")]


# What is changed, and of each bad line how it begins and a word that it must have.
FAULTS = {
    "configer absent": ("daemon: no answer", "No such file"), "configer close": ("daemon: an empty answer", "start"),
    "configer denied": ("daemon: no answer", "let this user"), "semaphore absent": ("semaphore: there is none", "start"),
    "semaphore denied": ("semaphore: id", "let configer give"), "semaphore taken": ("semaphore: id", "(simcam)"),
    "snapshot absent": ("segment: there is none", "start"), "snapshot denied": ("segment: id", "give this user"),
    "snapshot small": ("segment: id", "4 bytes"), "snapshot loop": ("tree: 1 damaged", "back into the tree"),
    "snapshot wild-next": ("tree: ", '"system_hostname": a link leads out'), "snapshot wild-texts": ("tree: ", "a text"),
    "snapshot unterminated": ("tree: ", "a name"), "snapshot alias-loop": ("system_hostname: cannot", "alias"),
    "analytics refuse": ("analytics: no answer", "internal error"), "analytics close": ("analytics: no answer", "false"),
    "ptz refuse": ("PTZ daemon: no version", "45 seconds"), "ptz garbage": ("PTZ daemon: no version", "has none"),
    "syslog absent": ("system log: nobody", "start"),
}
CHANGES = {
    "no system_hostname": ("system_hostname: missing; General.UnitName: internal error", "give"),
    "no capability_videoin_h264_maxframerate": ("capability_videoin_c0_h264_maxframerate: missing; ", "answers a default"),
    "no videoin_c0_s2_codectype": ("videoin_c0_s2_codectype: missing; every request: ", "all behind it"),
    "no network_rtsp_s1": ("network_rtsp_s1_accessname: missing", "1.h264.1.Rtsp.AbsolutePath answers an empty text; AudioInput.1"),
    "no image_c0_saturationpercent": None,
    "key motion_c0_win_i1_enable=10": ("motion_c0_win_i1_enable: longer than 1 ", "Motion.ROI.2.Enabled: internal"),
    "key system_timezoneindex=": ("system_timezoneindex: empty; ", "nothing to go by"),
    "ptz pidfile=no": ("PTZ pid file: ", "EntityCount answers 0"),
    "file /var/run/ptzcgid.pid=99999": ("PTZ pid file: ", "left over"),
    f"nofile {MOTION}": (MOTION, "No such file"), f"file {VIDEO}=<root>": (VIDEO, "nest"), f"readonly {VIDEO}": (VIDEO, "not kept"),
    f"file {SYSTEM}=<root><quorvex><ntpinterval>1</ntpinterval></quorvex></root>": (SYSTEM, "storage/c0/devicenum is missing"),
    "bitrate c0 h264=none": ("/etc/CDF.xml: root/videoin/c0/s0/h264/", "answer 4 and 8000"),
    "bitrate c0 h264=string,\"9~3\"": ("/etc/CDF.xml: root/videoin/c0/s0/h264/", "cannot use"),
}


@pytest.mark.parametrize("change", [*CHANGES, *("fault " + fault for fault in FAULTS)])
def test_what_is_wrong_is_told_with_what_to_do(start, check, change):
    wanted = {**CHANGES, **{"fault " + fault: line for fault, line in FAULTS.items()}}[change]
    with start("ptz", change):
        bad = bad_lines(check())
    first = bad[:1] if wanted else []
    assert len(bad) == len(first) or "fault" in change, bad
    assert [line.startswith(wanted[0]) and wanted[1] in line for line in first] == [True] * bool(wanted), bad


def test_what_is_no_service(start, check):
    """What the simulated camera has no fault for: a full disk, a lock, no ftok file."""
    with start("dome"):
        filler, room = pathlib.Path("/etc/conf.d/filler"), os.statvfs("/etc/conf.d")
        filler.write_bytes(bytes(room.f_bavail * room.f_bsize))
        assert ["0 bytes are left" in line for line in bad_lines(check())] == [True]
        filler.unlink()
        folder = os.open("/etc/conf.d", os.O_RDONLY)
        fcntl.flock(folder, fcntl.LOCK_EX)
        assert ["somebody holds the lock" in line for line in bad_lines(check())] == [True]
        os.close(folder)
        os.rename("/usr/sbin/configer", "/usr/sbin/configer.away")
        assert bad_lines(check())[0].startswith("ftok file: /usr/sbin/configer: No such file")
        os.rename("/usr/sbin/configer.away", "/usr/sbin/configer")


def test_behind_a_web_server(start, check, pytestconfig):
    """The same as text, whatever the query says: over the network nobody gets the camera's keys."""
    program = shutil.copy(pytestconfig.option.tool, "/usr/share/www/cgi-bin/camera-check.cgi")
    start_server(pytestconfig.option.emulator)
    with start("dome"), socket.create_connection(("127.0.0.1", 8080)) as connection:
        connection.sendall(b"GET /cgi-bin/camera-check.cgi?--record HTTP/1.0\r\n\r\n")
        reply = b"".join(iter(lambda: connection.recv(1 << 16), b"")).decode()
    os.unlink(program)
    head, _, body = reply.partition("\r\n\r\n")
    assert head.startswith("HTTP/1.0 200") and "text/plain" in head
    assert bad_lines((body, "exit 0")) == [] and "good  environment: SERVER_ADDR=127.0.0.1\n" in body
    text = check(env={"REQUEST_METHOD": "POST"})[0]
    assert "bad   environment: SERVER_ADDR is not set" in text and "bad   environment: CONTENT_LENGTH is not set" in text
