"""Holds script/conform against cameras that are well, cameras that are not, and servers that lie, and the reference
client that it is made of against the program."""
import contextlib
import http.server
import json
import os
import re
import signal
import socket
import subprocess
import threading

import pytest

import test_catalogue
from camera import HEADER, start_request, start_server, wait_until
from test_catalogue import BOOK, MODELS, TREE, book, model_keys

client, start = book.client, test_catalogue.start
CAMERA = "http://127.0.0.1:8080/cgi-bin/param.cgi"
VIDEO = "/etc/conf.d/config_quorvexVideo.xml"
PLAIN = "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\n"


def conform(*words):
    """The exit status; of what is wrong the first name, and the other names, the text and the request; all that was
    said."""
    done = subprocess.run([TREE / "script/conform", *words], capture_output=True, text=True)
    said = done.stdout + done.stderr
    assert re.fullmatch(r"[ -~\n]*", said), "what a camera says reached the terminal as it was"
    found = re.findall(r"^([A-Z][\w.]+)(.*)\n {4}(.*)\n {4}(.*curl .*)$", done.stdout, re.MULTILINE)
    assert f" {len(found)} wrong" in said or done.returncode == 2
    return done.returncode, [(name, more + text + curl) for name, more, text, curl in found], said


def keys_after(device, keys):
    """What the keys hold after all that the daemon was told."""
    told = (line.partition("=")[::2] for line in device.sets())
    return keys | {key: value for key, value in told if key in keys and not key.endswith("_mute")}


@pytest.mark.parametrize("model", MODELS)
def test_healthy(start, model):
    """Every camera is well, with values that some cameras have; --change leaves all that can be read as it was, and of
    the keys only those otherwise that no read shows."""
    with start(model, "key system_hostname=", "key network_router=", "key system_info_firmwareversion=KLX 0122 \xe9",
               "key videoin_c0_s1_h264_ratecontrolmode=auto") as device:
        start_server(device.emulator)
        assert conform(CAMERA)[:2] == (0, []) and all("_mute=" in line for line in device.sets())
        before = book.Camera(BOOK, device.reader.exchange)
        book.check(BOOK, before)
        keys = model_keys(model) | {"system_hostname": ""}
        assert conform(CAMERA, "--change")[:2] == (0, [])
        book.check(BOOK, device.reader)
        clock = "General.DateTime.CurrentUTCDateTime"
        assert before.answers | {clock: 0} == device.reader.answers | {clock: 0}
        changed = {key for key, value in keys_after(device, keys).items() if value != keys[key]}
        assert not [key for key in changed if not re.search("quant|bitrate|volume|image|objsize|intraperiod", key)]
        told = {line.partition("=")[0] for line in device.camera.log()[0] if line.startswith("set ")}
        assert len(told) > 50


@pytest.mark.parametrize("model", MODELS)
def test_write_changes_nothing(start, model):
    """Every key has a text of its own: numbers with a 0 in front, words that are none of the platform's."""
    keys = {key: "0" + value for key, value in model_keys(model).items() if value.isdigit() and "capability" not in key}
    keys |= {"system_hostname": "50% off", "audioin_c0_input": "linein", "audioin_c0_s0_codectype": "aac4x",
             "videoin_c0_s1_h264_prioritypolicy": "fullframerate", "videoin_c0_s1_h264_ratecontrolmode": "auto",
             "audioin_c0_s0_aac4_bitrate": "16500", "network_router": "", "audioin_c0_volume_external": "20"}
    with start(model, *(f"key {key}={value}" for key, value in keys.items())) as device:
        start_server(device.emulator)
        assert conform(CAMERA, "--write")[2].count("could not be put back:") == 0
        assert keys_after(device, model_keys(model) | keys) == model_keys(model) | keys and device.seen > 10


@pytest.mark.parametrize("change, name, text, options", [
    ("key videoin_c0_s0_resolution=1x1", "VideoInput.1.h264.1.Resolution", "is not in", []),
    ("key network_subnet=\\x1b]0;x", "Network.1.StaticSubnetMask", "is no address", []),
    ("key videoin_c0_s1_h264_bitrate=50000000", "VideoInput.1.h264.2.Bitrate", "beyond", []),
    ("side motion_c0_i2_window=0.6,0.2,0.5,0.6", "VideoInput.1.Motion.ROI.3.Position", "far corner", []),
    ("side motion_c0_i2_window=\\{90*0}", "VideoInput.1.Motion.ROI.3.Position", "no rectangle", []),
    (f"nofile {VIDEO}", "VideoInput.1.Brightness", f"5 parameters .* need {VIDEO}", []),
    ("fault semaphore absent", "General.FirmwareVersion", "20 parameters .* no setting", []),
    ("key capability_naudioout=x", "AudioOutput.Capabilities.EntityCount", "is no number", []),
    ("key capability_videoin_resolution=640x360", "VideoInput.1.mjpeg.1.Resolution", "3 writes .*ill", ["--change"]),
    ("fail tampering_c0_duration", "VideoInput.1.Tampering.TriggerDuration", "Internal error", ["--write"]),
    ("key system_hostname=a\\r\\nb", "General.UnitName", "answers nothing more: 'b'.*Version&", ["--write"]),
    (f"readonly {VIDEO}", "VideoInput.1.Brightness", f"5 writes .*done .*belong to {VIDEO}", ["--change"]),
    ("fault configer reset", "General.UnitName", "55 writes .*'Internal error'", ["--change"])])
def test_camera_that_is_not_well(start, change, name, text, options):
    with start("dome", change.replace("\\{90*0}", "0" * 90)) as device:
        start_server(device.emulator)
        status, found, said = conform(CAMERA, *options)
        assert status == 1 and any(first == name and re.search(text, told) for first, told in found), said
        assert len(found) <= 3 and "could not be put back:" not in said, said
        assert "system_hostname=a" not in device.sets(), "a part of a value was written"


def test_counts_that_are_not_followed(start):
    with start("dome", "key capability_naudioout=150", "no capability_ndo") as device:
        start_server(device.emulator)
        said = conform(CAMERA)[2]
        assert "AudioOutput.Capabilities.EntityCount is 150: of what it counts, 99 were asked" in said
        assert "OutputPin.Capabilities.EntityCount tells no number" in said
        assert re.search("time is up|no whole reply", conform(CAMERA, "--limit", "0.05")[2])
    for words in (["http://[::1"], [CAMERA, "--limit", "nan"], [CAMERA, "--request-limit", "-1"]):
        status, _, said = conform(*words)
        assert status == 2 and "usage: " in said, said


class Server(http.server.ThreadingHTTPServer):
    """Between conform and the program: lie(ask, method, text) gives the text of a reply, header included."""

    def __init__(self, lie):
        self.lie = lie
        super().__init__(("127.0.0.1", 0), Handler)


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        body = self.rfile.read(int(self.headers.get("Content-Length", 0))).decode("latin-1")
        reply = self.server.lie(lambda method, text: start_request(method, text).wait()[0], self.command,
                                body or self.path.partition("?")[2])
        self.wfile.write(("HTTP/1.0 200 OK\r\n" + reply).encode("latin-1"))

    do_POST = do_GET

    def log_message(self, *_):
        pass


@contextlib.contextmanager
def serve(lie):
    with Server(lie) as server:
        threading.Thread(target=server.serve_forever, daemon=True).start()
        yield f"http://127.0.0.1:{server.server_port}/"
        server.shutdown()


def swap(old, new):
    return lambda ask, method, text: ask(method, text).replace(old, new)


def echo(ask, method, text):
    return f"Content-type: text/plain\r\n\r\n{text}" if method == "POST" and "NoSuch" not in text else ask(method, text)


def other_key(ask, method, text):
    return ask(method, text.replace("Contrast", "Brightness")).replace("Brightness", "Contrast") \
        if method == "POST" else ask(method, text)


def turn(ask, method, text):
    return HEADER + "".join(line + "\r\n" for line in ask(method, text).split("\r\n")[-2:1:-1])


def nothing(ask, method, text):
    return HEADER + "#error.X=501:Bad\r\n" if method == "POST" else ask(method, text)


@pytest.mark.parametrize("lie, name, text, options", [
    (turn, "General.FirmwareVersion", "another order than the names", []),
    (nothing, "General.FirmwareVersion", "answered 'nothing' instead of 'Parameter is readOnly'", ["--change"]),
    (nothing, "General.FirmwareVersion", "written in a request for 7 names.*'#error.X.*Model.*=1", ["--change"]),
    (swap(f"{HEADER}General.F", f"{HEADER}connect failed!{HEADER}General.F"), "General.FirmwareVersion",
     "in a request for 7 names, .* behind words.*UnitName", []),
    (swap("Content-t", "connect failed!Content-t"), "General.Brand.CompanyName", r"without a .* header\)curl", []),
    (swap("Incorrect query", "Incorrect Query"), "General.NoSuchParameter", r"without req=.*\?General", []),
    (swap("text/plain", "text/html"), "General.Brand.CompanyName", "text/html", []),
    (swap("h264.Capabilities.StreamCount=2", "h264.Capabilities.StreamCount=0"),
     "VideoInput.1.h264.Capabilities.StreamCount", "CodecList", []),
    (swap("Supported=true", "Supported=false"), "VideoInput.1.Motion.Capabilities.RoiCount", "MotionSupported", []),
    (swap("Network.1.Dhcp=false", "#error.Network.1.Dhcp=501:Parameter is not supported"), "Network.1.Dhcp",
     "is no parameter of this program", []),
    (swap("CurrentSubnetMask=255", "CurrentSubnetMask=10"), "Network.1.CurrentSubnetMask", "StaticSubnetMask", []),
    (swap("Rotation=0,90", "Rotation=0,45"), "VideoInput.Capabilities.Rotation", "'45', which no write", []),
    (swap("#error.General.NoSuch", "#error.\x1b[2J"), "General.NoSuchParameter", "x1b", []),
    (swap("An illegal", "Illegal"), "VideoInput.1.Storage.DeviceNum", "Illegal", ["--change"]),
    (echo, "General.UnitName", "writes are answered as done and not found", ["--change"]),
    (other_key, "VideoInput.1.Contrast", "Brightness now reads", ["--change"])])
def test_server_that_lies(start, lie, name, text, options):
    with start("dome") as device, serve(lie) as url:
        before = book.Camera(BOOK, device.reader.exchange)
        before.read(names := ["VideoInput.1.Brightness", "VideoInput.1.Contrast"])
        status, found, said = conform(url, *options)
        assert status == 1 and any(first == name and re.search(text, told) for first, told in found), said
        device.reader.read(names)
        assert before.answers == device.reader.answers


@pytest.mark.parametrize("reply, words", [
    ([None], "no whole reply"), ([PLAIN[:40], None], "no whole reply"), ([PLAIN] + ["x"] * 500, "no whole reply"),
    ([], "closed"), (["\x1b[2J\r\n\r\n"], "x1b"), ([PLAIN + "x" * 70000], "longer"),
    ([PLAIN + "<html>"], "not answered. Does the address"), (["HTTP/1.0 401 \x1b[2J\r\n\r\n"], r"401 \x1b"),
    (["HTTP/1.0 302 Found\r\nLocation: http://[::1\r\n\r\n"], "302 Found"),
    (["HTTP/1.0 401 No\r\nWWW-Authenticate: Negotiate\r\n\r\n"], "login that this client does not know"),
    ([PLAIN[:-2] + "Content-Length: 9\r\n\r\nx"], "8 bytes"), ([PLAIN + client.CONSTANT + "=x\n"], "in LF alone")])
def test_server_that_is_none(reply, words):
    """What it sends, in pieces a moment apart; None: nothing more, and the connection stays open."""
    def answer():
        with contextlib.suppress(OSError):
            while True:
                connection = listener.accept()[0]
                kept.append(connection)
                connection.recv(4096)
                for piece in filter(None, reply):
                    connection.sendall(piece.encode("latin-1"))
                    is_over.wait(0.02)
                if None not in reply:
                    connection.close()
    kept, is_over = [], threading.Event()
    with socket.create_server(("127.0.0.1", 0)) as listener:
        threading.Thread(target=answer, daemon=True).start()
        url = f"http://127.0.0.1:{listener.getsockname()[1]}/"
        status, _, said = conform(url, "--request-limit", "0.5", "--limit", "5")
        assert status == 2 and words in said, said
        is_over.set()


@pytest.mark.parametrize("number, told", [(signal.SIGINT, "system_hostname=Front door"),
                                          (signal.SIGTERM, "motion_c0_win_i0_enable=0")])
def test_interruption(start, number, told):
    """Everything is as it was when a run ends early."""
    with start("ptz", "key motion_c0_win_i1_enable=1") as device:
        start_server(device.emulator)
        book.check(BOOK, before := book.Camera(BOOK, device.reader.exchange))
        with subprocess.Popen([TREE / "script/conform", CAMERA, "--change"], stdout=subprocess.PIPE) as run:
            wait_until(lambda: f"set {told}" in device.camera.log()[0])
            run.send_signal(number)
            said = run.communicate()[0].decode()
        assert run.returncode == 128 + number and "interrupted" in said and " 0 wrong" in said
        book.check(BOOK, device.reader)
        clock = "General.DateTime.CurrentUTCDateTime"
        assert before.answers | {clock: 0} == device.reader.answers | {clock: 0}
        assert not any(line.startswith("set audioin_c0_volume") for line in device.camera.log()[0])


def test_a_shelf_of_cameras(start):
    with start("dome", "no network_rtsp_port") as device, serve(lambda ask, method, text: ask(method, text)) as other:
        start_server(device.emulator)
        urls = [CAMERA, other, "http://127.0.0.1:9/"]
        status, _, said = conform(*urls)
        assert status == 2 and re.fullmatch(
            f"{CAMERA}: 155 parameters read, 1 wrong\n{other}: 155 .*, 1 wrong\n{urls[2]}: .*refused.*\nconform: "
            "3 cameras, 0 well, 2 with something wrong, 1 not checked to the end\n", said), said
        lines = [json.loads(line) for line in conform(*urls, "--json")[2].splitlines()]
        assert [(line["url"], line["status"], len(line["wrong"])) for line in lines] == [
            (CAMERA, 1, 1), (other, 1, 1), (urls[2], 2, 0)]
        terminal, end = os.openpty()
        subprocess.run([TREE / "script/conform", CAMERA], stdout=subprocess.DEVNULL, stderr=end)
        os.close(end)
        with open(terminal, "rb", buffering=0) as told:
            assert b"0 of 1 cameras done" in told.read(4096)


def test_reference_client(start):
    """It sends what it is given in the order that counts, asks again for what a reply leaves out, and takes no error
    for a success."""
    place = "VideoInput.1.h264.1."
    values = {"VideoInput.1.Motion.ROI.1.Enabled": "true", "General.UnitName": "50%41 \xe9", place + "GopSize": "5",
              place + "BitRateModePriority": "fps", place + "FrameRate": "10", place + "BitRateMode": "cbr",
              "Network.Services.Ntp.PollInterval": "15", "General.DateTime.Mode": "ntp",
              "VideoInput.1.Motion.ROI.1.MotionOffThreshold": "7", "VideoInput.1.Motion.ROI.1.Position": "0,0,1,1",
              "VideoInput.1.Motion.ROI.1.MotionOnThreshold": "25", "VideoInput.1.Motion.ROI.1.Sensitivity": "9"}
    with start("dome") as device:
        start_server(device.emulator)
        asker = client.Client(CAMERA)
        assert asker.write(values) == {name: client.Answer(value, None) for name, value in values.items()}
        assert asker.read(values) == {name: client.Answer(value, None) for name, value in values.items()} | {
            "VideoInput.1.Motion.ROI.1.MotionOffThreshold": client.Answer("25", None)}
        ordered = re.compile("updateinterval|intraperiod|_maxframe|objsize|motion.*enable")
        sets = [line for line in device.sets() if ordered.search(line)]
        assert sets == ["videoin_c0_s0_h264_maxframe=10", "system_updateinterval=3600", "system_updateinterval=900",
                        "videoin_c0_s0_h264_intraperiod=500", "motion_c0_win_i0_objsize=50",
                        "motion_c0_win_i0_enable=1", "motion_c0_enable=1"]
        shortest = ["Network.10.Dhcp"] * 9 + ["General.UnitName"]
        assert asker.read(shortest).keys() == set(shortest) and asker.others == []
        text = asker.exchange(body="General.UnitName=a\r\n\r\nNetwork.1.Dhcp=true\r\n").text
        assert text.endswith("\r\nNetwork.1.Dhcp=501:Parameter is not supported\r\n")
        assert client.take_write([("Network.1.Dhcp", "true")], client.whole_lines(text))[0] == {}
        assert client.Answer(None, client.REFUSED) in asker.write({"Network.1.Dhcp": "x"}).values()
        example = re.search("```python\n(.*?)```", (TREE / "docs/parameters.md").read_text(), re.DOTALL)[1]
        device.sets()
        exec(re.sub('http://.*cgi"', f'{CAMERA}"', example), {})
        assert device.sets() == ["system_hostname=Front door, 50% lit", "videoin_c0_s0_h264_intraperiod=3000"]
        assert asker.has_settings()
    with serve(lambda *_: "Content-type: text/plain\r\n\r\nwrite socket 9 byte, but return -1\nContent-type: "
               "text/plain\r\n\r\nGeneral.UnitName=x\r\n") as url:
        assert client.Client(url).write({"General.UnitName": "x"}) == {"General.UnitName": client.Answer(None, None)}
    with start("dome", "fault snapshot absent"):
        assert not asker.has_settings() and asker.read([client.CONSTANT])[client.CONSTANT].value
