"""The simulated camera as others use it, outside of the sandbox: script/demo in a tree of its own, a served camera that
is changed while it runs, and by whom, seeds, and what is said where something is missing."""
import json
import os
import pathlib
import re
import shlex
import shutil
import socket
import subprocess

import pytest

from camera import TIME_LIMIT

TREE = pathlib.Path(__file__).resolve().parents[1]
BANNER, CLOCK = "The camera answers", "General.DateTime.CurrentUTCDateTime"
MODEL, UNIT, FIRMWARE, CONTRAST = ("cgi-bin/param.cgi?req=" + name for name in (
    "General.Brand.ModelName", "General.UnitName", "General.FirmwareVersion", "VideoInput.1.Contrast"))


def run(*words, **options):
    """Returns the exit status and what was printed."""
    done = subprocess.run([str(word) for word in words], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=3 * TIME_LIMIT, **options)
    return done.returncode, done.stdout


def run_in_fresh_root(tree, command):
    """In a file system with the host's programs, the tree and nothing else, and a network of its own."""
    links = [word for path in pathlib.Path("/").iterdir() if path.is_symlink() and os.readlink(path).startswith("usr/")
             for word in ("--symlink", os.readlink(path), path)]
    shared = "--ro-bind /usr /usr --ro-bind /etc/alternatives /etc/alternatives --dev /dev --bind /proc /proc"
    return run("bwrap", "--unshare-user", "--unshare-net", "--die-with-parent", "--uid", "0", *links, *shared.split(),
               "--dir", "/tmp", "--bind", tree, tree, "--chdir", tree, "--clearenv", "--setenv", "PATH",
               "/usr/sbin:/usr/bin", "bash", "-c", command)


@pytest.fixture(scope="module")
def tree(tmp_path_factory):
    """A copy of this tree, built by the steps of the Containerfile."""
    tree = tmp_path_factory.mktemp("demo") / "a tree"
    ignored = [line.strip("/") for line in (TREE / ".dockerignore").read_text().splitlines()]
    shutil.copytree(TREE, tree, ignore=shutil.ignore_patterns(*ignored))
    for step in re.findall("(?m)^RUN (.*)", (tree / "Containerfile").read_text()):
        status, output = run_in_fresh_root(tree, step)
        assert status == 0, f"{step}: {output}"
    return tree


@pytest.fixture
def serve(request):
    """Starts a served demo and waits for its banner."""
    def start(*words):
        demo = subprocess.Popen([str(word) for word in words], cwd="/", stdin=subprocess.DEVNULL, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        request.addfinalizer(demo.terminate)
        said = [""]
        while BANNER not in said[-1]:
            said.append(demo.stdout.readline())
            assert said[-1], said
        return demo
    return start


def stop(demo):
    demo.terminate()
    output, _ = demo.communicate(timeout=TIME_LIMIT)
    assert (demo.returncode, output[-14:]) == (0, "demo: stopped\n"), output
    return output


def test_container(tree):
    words = shlex.join(json.loads(re.search("(?m)^ENTRYPOINT (.*)", (tree / "Containerfile").read_text())[1]))
    status, output = run_in_fresh_root(tree, f"""coproc {words} 2>&1; until [[ ${{line-}} == *'{BANNER}'* ]]; do
        read -ru ${{COPROC[0]}} line || exit; done; curl -s 127.0.0.1:8000/{{{MODEL},cgi-bin/param.cgi?req={CLOCK}}}
        date -u +%FT%H:; pid=$COPROC_PID; kill $pid; wait $pid""")
    model, read, now = output.splitlines()
    assert (status, model) == (0, "General.Brand.ModelName=KD-120") and read.startswith(f"{CLOCK}={now}")


def test_a_build_folder_of_another_tree(tree):
    for name in ("CMakeCache.txt", "build.ninja"):
        shutil.copy(TREE / "build/release" / name, tree / "build/release" / name)
    constants = tree / "src/param/fixed_value.cpp"
    constants.write_text(constants.read_text().replace("KORALUX", "OWN"))
    status, output = run(tree / "script/demo")
    assert status == 0 and "CompanyName=OWN\n" in output, output


# A change, and a part of why nothing is changed.
REFUSED = (
    ("key system_hostname=X\nfault ptz hnag", "line 2: fault: no fault \"hnag\" of ptz; there are none, "),
    ("fault pzt hang", "; there are analytics, "), ("kye a=b", "; there are key, request, "), ("fail x", "no such key"),
    ("key system_hostname = X", "holds no blanks"), ("key system_hostname=X&key system_ntp=Y", "in front of a line"),
    ("ptz pidfile=maybe", "expected yes or no"), ("alias system_ntp=nowhere", "no such key or group"),
    ("key " + "{a,b}" * 40 + "=1", "too many names"), ("#" * 65537, "at most 65536 bytes"),
    *((f"{line}", "changes no files but") for line in (
        "file /usr/share/www/cgi-bin/x.sh=x", "nofile /etc/conf.d/../passwd", "readonly /etc", "file /etc/conf.dx=")))

# Words for curl, and the status of /camera and of its log.
GATE = (
    (("Host: localhost:1",), "ok\n200", "200"), (("Host: CAM.example", "Origin: http://cam.example"), "ok\n200", "200"),
    (("Host: evil.example",), "the demo was not started for the host \"evil.example\"", "403"), (("Host:",), "", "40"),
    (("Origin: http://evil.example",), "the request comes from another site\n403", "403"),
    (("Origin: null",), "the request comes", "403"), (("Origin: http://127.0.0.1:1",), "the request comes", "403"))


def test_two_cameras_changed_while_they_run(tree, tmp_path, serve):
    (tmp_path / "mine.model").write_text(f"include {tree}/simcam/models/ptz.model\nside image_c0_contrast=61\n")
    (tmp_path / "demo").symlink_to(tree / "script/demo")
    with socket.create_server(("127.0.0.1", 0)) as probe:
        port = probe.getsockname()[1]
    mine = serve(tmp_path / "demo", "--serve", port, "--model", tmp_path / "mine.model", "--host", "Cam.Example",
                 "--change", "key system_hostname=Hall")
    other = serve(tmp_path / "demo", "--serve", port, "--bind", "127.0.0.2", "--model", "encoder")

    def ask(path, *words):
        return run("curl", "-sw", "%{http_code}", f"http://127.0.0.1:{port}/{path}", *words)[1]

    assert ask("cgi-bin/param.cgi", "--data-binary", "VideoInput.1.Contrast=70\r\n") == "VideoInput.1.Contrast=70\n200"
    for lines, said, question, answer in (
            ("fault configer refuse", "ok\n200", FIRMWARE, "#error"),
            ("fault configer none\nkey system_info_extendedmodelname=Z", "ok\n200", FIRMWARE, "=KLX-0201c"),
            ("side image_c0_brightness=7", "ok\n200", CONTRAST, "=70"),
            ("side image_c0_contrast=62\nfault ptz close", "ok\n200", CONTRAST, "=62"),
            ("fault snapshot small\nfault semaphore absent", "ok\n200", MODEL, "#error"),
            ("reset", "ok\n200", MODEL, "=KP-930"), ("key system_ntp=x", "ok\n200", CONTRAST, "=61")):
        assert ask("camera", "--data-binary", lines).startswith(said), lines
        assert answer in ask(question), lines
    for lines, why in REFUSED:
        said = ask("camera", "--data-binary", lines)
        assert why in said and said.endswith("; nothing is changed\n400"), lines
    assert ask(UNIT) == "General.UnitName=Hall\n200"
    for headers, said, status in GATE:
        words = [word for header in headers for word in ("-H", header)]
        assert ask("camera", *words, "--data", "reset").startswith(said), headers
        assert ask("camera/log", *words)[-3:].startswith(status), headers
    log = ask("camera/log")
    assert "change key system_hostname = X\n" in log and "configer\tlate:N\tthe true" in ask("camera/faults")
    assert ask("camera/log", "--range", f"{len(log) - 8}-") == log[-8:-3] + "206"
    assert "the web server: semget: " in stop(mine)
    stop(other)


@pytest.mark.parametrize("words, message", [
    ("--serve 0", "--serve 0: a port is 1 to 65535"), ("--serve 65536", "--serve 65536: a port"),
    ("--serve PORT", "Address already in use"), ("--serve 4000 --bind 192.0.2.1", "Cannot assign requested address"),
    ("--model none", "no model none"), ("--change key", "--change:1: key: expected NAME=VALUE"), ("--x 1", "no option"),
    ("--host x", "--bind and --host go with --serve"), ("--change key\ta=1\nkey", "--change:1: one line each")])
def test_what_cannot_be_served(tree, words, message):
    with socket.create_server(("127.0.0.1", 0)) as taken:
        status, output = run(tree / "script/demo", *words.replace("PORT", str(taken.getsockname()[1])).split(" "))
    assert status != 0 and message in output and BANNER not in output


def test_simcam_seeds_and_refuses(tree, tmp_path):
    simcam, model = tree / "build/release/simcam/simcam", tree / "simcam/models/dome.model"
    settings = tmp_path / "config_quorvexVideo.xml"
    assert run(simcam, "--help")[0] == 0
    # In a sandbox that says it is none, to be on the safe side.
    outside = run(tree / "script/sandbox", "env", "-u", "CAMERA_SANDBOX", "timeout", "5", simcam, model)
    assert "/usr/sbin/configer of this machine" in outside[1]
    www = "/usr/share/www"
    serving = run(tree / "script/sandbox", "--serving", "--program", simcam, "sh", "-c",
                  f'touch {www}/x {www}/html/x {www}/cgi-bin/x.sh; ls "$0"', tree)[1]
    assert (serving.count("Read-only file system"), serving.count("No such file")) == (3, 1), serving
    for change in ("nvideoin=0", "nmotion=two", "nmediastream=101", "videoin_codec=h266"):
        assert run(simcam, "--seed", tmp_path, "--change", f"key capability_{change}", model)[0] == 1
        assert not settings.exists()
    settings.write_text("<root><quorvex><image><c0><contrast>9</contrast></c0></image></quorvex></root>")
    assert run(simcam, "--seed", tmp_path, "--change", "key capability_nvideoin=2", model) == (0, "")
    seed = settings.read_text()
    assert [seed.count(text) for text in ("<contrast>9<", "<contrast>50<", "<brightness>50<")] == [1, 1, 2]
    (tmp_path / "dos.model").write_text("include " + str(model) + "\r\nkey a=b\r\n")
    assert run(simcam, "--print", tmp_path / "dos.model")[1].endswith("\nkey a=b\n")
    assert "whose value would be lost" in run(simcam, "--seed", tmp_path, model)[1] and settings.read_text() == seed


def test_what_a_machine_lacks(tree, tmp_path):
    for name in "g++ cmake ninja bash dirname realpath grep sed".split():
        (tmp_path / name).symlink_to(shutil.which(name))
    lean = {"env": {"PATH": str(tmp_path)}}
    bootstrap = "/bin/bash", tree / "script/bootstrap"
    assert run(*bootstrap, "build", **lean) == (0, "bootstrap: everything is installed (build)\n")
    status, output = run(*bootstrap, "build", "sandbox", **lean)
    assert status == 1 and output.endswith("there is no apt-get here; install by the means of this system what these "
                                           "packages of Debian hold: bubblewrap\n")
    status, output = run("unshare", "-Ur", "sh", "-c", "echo 0 >/proc/sys/user/max_user_namespaces && exec setpriv "
                         "--bounding-set=-all --inh-caps=-all \"$0\" true", tree / "script/sandbox")
    assert status == 2 and "allows no namespaces" in output


def test_options_of_scripts_and_builds(tree, tmp_path):
    for script in (path for path in (tree / "script").iterdir() if "/common.sh" in path.read_text()):
        status, output = run(script, "--help", cwd=tmp_path)
        assert status == 0 and f"usage: script/{script.name}" in output and "#" not in output[0]
    assert run("cmake", "-S", tree, "-B", tmp_path, "-G", "Ninja", "-DPARAM_BUILD_HOST_TOOLS=OFF",
               "-DCMAKE_CXX_FLAGS_RELEASE=-O1")[0] == 0
    assert set(re.findall(" -O.", (tmp_path / "compile_commands.json").read_text())) == {" -O1"}
