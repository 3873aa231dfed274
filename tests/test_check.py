"""camera-check on cameras in good health, with one thing wrong, and behind a web server; and what it explains and records."""
import contextlib
import fcntl
import os
import pathlib
import re
import shutil
import sys
import urllib.request

import pytest

from camera import CAMERA_WELL, Camera, Program, start_request, start_server

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "catalogue"))
import catalogue as book  # noqa: E402

MODELS = ("dome", "ptz", "encoder")
SIDE = pathlib.Path("/etc/conf.d")
VIDEO, MOTION, SYSTEM = (f"{SIDE}/config_quorvex{name}.xml" for name in ("Video", "Motion", "System"))


@pytest.fixture
def start(pytestconfig):
    @contextlib.contextmanager
    def run(model, *changes):
        path = model if "/" in model else f"{pytestconfig.option.models}/{model}.model"
        camera = Camera(pytestconfig.option.simcam, path, changes)
        assert camera.is_ready()
        files = [file.read_bytes() for file in sorted(SIDE.iterdir())]
        try:
            yield camera
        finally:
            ended = camera.stop()
        assert ended[1:] == CAMERA_WELL[1:] and [file.read_bytes() for file in sorted(SIDE.iterdir())] == files
    return run


@pytest.fixture
def check(pytestconfig):
    def run(*arguments, env=None):
        option = pytestconfig.option
        words = [option.emulator] if option.emulator else []
        output, error, ending = Program([*words, option.tool, *arguments], env=env or {}).wait()
        assert error == ""
        return output, ending
    return run


def bad_lines(answer):
    lines = answer[0].splitlines()
    assert {line[:6] for line in lines} <= {"good  ", "bad   "}
    bad = [line[6:] for line in lines if line.startswith("bad")]
    assert answer[1] == ("exit 1" if bad else "exit 0")
    return bad


# A line of the model, what the first bad line begins with and holds. A fault of a service has a second one.
WRONG = {
    "fault configer close": ("daemon: an empty answer", "start"), "fault configer denied": ("daemon: no answer", "let this user"),
    "fault semaphore absent": ("semaphore: there is none", "start"), "fault semaphore denied": ("semaphore: id", "let configer"),
    "fault semaphore taken": ("semaphore: id", "(simcam)"), "fault snapshot absent": ("segment: there is none", "start"),
    "fault snapshot denied": ("segment: id", "this user"), "fault snapshot small": ("segment: id", "4 bytes"),
    "fault snapshot loop": ("tree: 1 damaged", "back into the tree"), "fault snapshot wild-texts": ("tree: ", "a text"),
    "fault snapshot wild-next": ("tree: ", '"system_hostname": a link leads out'), "fault syslog absent": ("system log: nobody", "start"),
    "fault snapshot alias-loop": ("system_hostname: cannot", "alias"), "fault analytics close": ("analytics: no answer", "false"),
    "fault analytics refuse": ("analytics: no answer", "internal error"),
    "fault ptz refuse": ("PTZ daemon: no version", "45 seconds"), "fault ptz garbage": ("PTZ daemon: no version", "has none"),
    "no system_hostname": ("system_hostname: missing; General.UnitName: internal error", "give"),
    "no capability_videoin_h264_maxframerate": ("capability_videoin_c0_h264_maxframerate: missing; ", " or for capability_videoin_h264_max"),
    "no videoin_c0_s2_codectype": ("videoin_c0_s2_codectype: missing; every request: ", "all behind it"),
    "no network_rtsp_s1": ("network_rtsp_s1_accessname: missing; VideoInput.1.h264.1.Rtsp.Abs", "an empty text; AudioInput.1."),
    "key motion_c0_win_i1_enable=10": ("motion_c0_win_i1_enable: longer than 1 ", "Motion.ROI.2.Enabled: internal"),
    "key capability_nvideoin=no": ("shape: 0 video inputs", "tell"),
    "key system_timezoneindex=": ("system_timezoneindex: empty; ", "nothing to go by"),
    "ptz pidfile=no": ("PTZ pid file: ", "answers 0"), "file /var/run/ptzcgid.pid=99999": ("PTZ pid file: ", "left over"),
    f"nofile {MOTION}": (MOTION, "No such file"), f"file {VIDEO}=<root>": (VIDEO, "nest"), f"readonly {VIDEO}": (VIDEO, "not kept"),
    f"file {SYSTEM}=<root><quorvex><ntpinterval>1</ntpinterval></quorvex></root>": (SYSTEM, "storage/c0/devicenum is missing"),
    "bitrate c0 h264=none": ("/etc/CDF.xml: root/videoin/c0/s0/h264/", "4 and 8000"),
    'bitrate c0 h264=a,"9~3"': ("/etc/CDF.xml: root/videoin/c0/s0/h264/", "cannot use"),
}


# What a camera may lack, as others stand in, or nobody asks.
ALIKE = ["no image_c0_saturationpercent", "no capability_serialptz", "key capability_tamperingmode=",
         "no capability_videoin_c0_resolution"]


@pytest.mark.parametrize("change", [*WRONG, *ALIKE])
def test_what_is_wrong(start, check, change):
    with start("ptz", change):
        bad = bad_lines(check())
    assert bool(bad) == (change in WRONG) and len(bad) <= 1 + change.startswith("fault"), bad
    assert all(bad[0].startswith(begin) and word in bad[0] for begin, word in [WRONG.get(change, ("", ""))] if bad), bad


def test_what_is_no_fault_of_a_model(start, check):
    """A full disk, a lock, no ftok file."""
    with start("dome"):
        room, folder = os.statvfs(SIDE), os.open(SIDE, os.O_RDONLY)
        (SIDE / "filler").write_bytes(bytes(room.f_bavail * room.f_bsize))
        assert ["0 bytes are left" in line for line in bad_lines(check())] == [True]
        (SIDE / "filler").unlink()
        fcntl.flock(folder, fcntl.LOCK_EX)
        assert ["somebody holds the lock" in line for line in bad_lines(check())] == [True]
        os.close(folder)
        os.rename("/usr/sbin/configer", "/usr/sbin/configer.away")
        assert bad_lines(check())[0].startswith("ftok file: /usr/sbin/configer: No such file")
        os.rename("/usr/sbin/configer.away", "/usr/sbin/configer")


def test_behind_a_web_server(start, check, pytestconfig):
    """The same as text, and nothing else, whatever it is asked: over the network nobody gets the camera's keys."""
    program = shutil.copy(pytestconfig.option.tool, "/usr/share/www/cgi-bin/camera-check.cgi")
    start_server(pytestconfig.option.emulator)
    with start("dome"), urllib.request.urlopen("http://127.0.0.1:8080/cgi-bin/camera-check.cgi") as reply:
        body = reply.read().decode()
        assert reply.headers["Content-Type"] == "text/plain" and "good  environment: SERVER_ADDR=127.0.0.1\n" in body
        assert bad_lines((body, "exit 0")) == []
        text = check("--record", env={"REQUEST_METHOD": "POST"})[0]
        assert [f"bad   environment: {name} is not set" in text for name in ("SERVER_ADDR", "CONTENT_LENGTH")] == [True] * 2
    os.unlink(program)


def read_all():
    """All that a camera answers, but for its clock."""
    def exchange(names):
        asked.append(start_request("GET", "&".join("req=" + name for name in names)).wait()[0])
        return asked[-1].partition("\r\n\r\n")[2].split("\r\n")[:-1]
    asked = []
    book.check(book.load(), book.Camera(book.load(), exchange))
    return re.sub("(UTCDateTime=).*", r"\1", "".join(asked))


@pytest.mark.parametrize("model", MODELS)
def test_a_recorded_camera_answers_alike(start, check, pytestconfig, tmp_path, model):
    """A camera in good health, with keys of every kind; without its secrets, unless they are asked for."""
    played, answers = tmp_path / "played.model", read_all
    if pytestconfig.option.emulator:
        answers = str  # the recordings tell; the reads would take half a minute
    with start(model, "alias system_ntp=system_hostname", "key system_ntp=hidden", "key system_hostname=\\\\a=b \\n\\xe9",
               "key network_rtsp=below", "request system_info_firmwareversion=once", "key system_info_firmwareversion=kept",
               "request system_info_extendedmodelname=asked", "key network_ddns_password=1234", "side ntpinterval=7"):
        assert bad_lines(check()) == []
        recorded, ending = check("--record")
        secrets, before = set(check("--record", "--all")[0].split("\n")), answers()
    assert ending == "exit 0" and secrets - set(recorded.split("\n")) == {"key network_ddns_password=1234"}
    played.write_text(recorded)
    with start(str(played)):
        assert check("--record")[0] == re.sub("# left out, .*\n", "", recorded), "something is lost, or in another order"
        assert answers() == before


# A read or a write, and what is told of it behind the keys of every request; with "#": the answer is an error.
EXPLAINED = {
    "VideoInput.1.h264.1.Bitrate": ['key   videoin_c0_s0_h264_ratecontrolmode = "vbr"', "key   videoin_c0_s0_h264_maxvbrbitrate: missing"],
    "AudioInput.Capabilities.EntityCount": ['key   capability_naudioin = "1"', 'set   (not sent) "audioin_c0_mute=0"'],
    "VideoInput.1.Brightness=40": [f'keep  image/c0/brightness in {VIDEO} (not written) "40"',
                                   'set   (not sent) "image_c0_brightness=100"', 'set   (not sent) "image_c0_brightnesspercent=40"'],
    "VideoInput.1.Motion.ROI.2.MotionOnThreshold=25": [
        f'side  motion/c0/i1/window in {MOTION} = "0,0,1,1"', f'keep  motion/c0/i1/threshold in {MOTION} (not written) "25"',
        'set   (not sent) "motion_c0_win_i1_objsize=50"'],
    "VideoInput.1.h264.9.GopSize": [f'side  image/c0/s0/h264/gop in {VIDEO} = "30"'],
    "VideoInput.1.h264.1.Capabilities.MaxBitrate": ["range c0 h264 in /etc/CDF.xml = 20000 to 40000000"],
    "Network.1.StaticIpAddress": ["other SERVER_ADDR, the address at which the request came in"],
    "#VideoInput.1.Tampering.Enabled": ["key   tampering_c0_enable: not read, longer than the 3 characters that have room"],
    "#General.UnitName=a%0Ab": [r'set   refused, there is a line end in or nothing left of "system_hostname=a\nb"'],
    "#VideoInput.1.Storage.DeviceNum=1": [f"keep  storage/c0/devicenum in {SYSTEM}: fails, this user cannot write to the file"],
}


def test_what_a_request_looks_at(start, check):
    with start("dome", "no videoin_c0_s0_h264_maxvbrbitrate", "key tampering_c0_enable=1000", f"readonly {SYSTEM}") as camera:
        for item, lines in EXPLAINED.items():
            name = item.lstrip("#")
            output, ending = check("--explain", name)
            told, _, answer = output.partition(f" of {name}:\n")[2].partition("answer:\n")
            assert [line.strip() for line in told.splitlines()] == lines and ending == f"exit {int(item != name)}"
            assert answer.startswith("#error." if item != name else name.split("=")[0] + "="), answer
        sent, log = camera.log()
        assert log == [] and [line for line in sent if line.startswith("set ")] == []


def test_a_setter_that_somebody_adds(start, pytestconfig):
    """It is shown like the others, and no file changes."""
    program = pathlib.Path(pytestconfig.option.tool).parent / "tests/added_setter"
    if pytestconfig.option.emulator:
        pytest.skip("is built for the host")
    with start("dome"):
        assert Program([str(program)]).wait() == (f'  keep  ntpinterval in {SYSTEM} (not written) "77"\n', "", "exit 0")
