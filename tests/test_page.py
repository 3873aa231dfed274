"""The page in a real browser, in front of the real program behind the real web server: stories of somebody at a
keyboard and a mouse. The one of the motion window leaves the README's picture at --picture."""
import json
import pathlib
import re
import resource

import pytest
from selenium import webdriver
from selenium.webdriver import ActionChains, Keys
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.wait import WebDriverWait

from camera import CAMERA_WELL, TIME_LIMIT, Camera, Program, start_server, wait_until

NAME, BRIGHTNESS, STREAM = "General.UnitName", "VideoInput.1.Brightness", "VideoInput.1.h264.1"
POSITION, AUDIO = "VideoInput.1.Motion.ROI.1.Position", "AudioInput.Capabilities.EntityCount"


class Page:
    """The browser. What is looked for may not be there yet, or be made anew, so everything is waited for."""

    def __init__(self, option):
        resource.setrlimit(resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY,) * 2)  # its files are large
        options = webdriver.ChromeOptions()
        for word in ("headless=new", "no-sandbox", "disable-gpu", "no-first-run"):
            options.add_argument("--" + word)
        self.driver, self.option = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options), option

    def start(self, model, *changes):
        self.camera = Camera(self.option.simcam, f"{self.option.models}/{model}.model", changes)
        self.open()

    def open(self, link=""):
        self.resize(1320, 780)
        self.driver.get("about:blank")
        self.driver.get("http://127.0.0.1:8080/" + link)
        self.wait("#summary", "read")

    def shown(self):
        return [row.get_attribute("data-name") for row in self.driver.find_elements("css selector", ".row")]

    def in_place_of_the_server(self, script):
        """From the next page on, until what is returned is called."""
        made = self.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": script})
        return lambda: self.driver.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", made)

    def change(self, lines):
        self.driver.execute_async_script("""
            fetch("/camera", {method: "POST", body: arguments[0]}).then(arguments[1])""", lines)

    def resize(self, width, height):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})

    def find(self, css, name=None, wanted=lambda element: True):
        """The element, of the parameter's row if there is a name, once it is as wanted."""
        def look(driver):
            element = driver.find_element("css selector", f"[data-name='{name}'] {css}" if name else css)
            return wanted(element) and element
        return WebDriverWait(self.driver, TIME_LIMIT, 0.02, [Exception]).until(look, f"{name or ''} {css}")

    def wait(self, css, text, name=None):
        self.find(css, name, lambda element: text in element.text)

    def wait_value(self, name, value, css="input"):
        self.find(css, name, lambda element: element.get_attribute("value") == value)

    def show(self, search):
        self.find("#search").clear()
        self.find("#search").send_keys(search, Keys.ENTER)

    def enter(self, name, value):
        self.find("input", name).send_keys(Keys.CONTROL, "a", Keys.NULL, Keys.BACKSPACE, value, Keys.ENTER)

    def press(self, *keys):
        ActionChains(self.driver).send_keys(*keys).perform()


def wait_for(file):
    wait_until(lambda: pathlib.Path(file).exists())
    return pathlib.Path(file).read_text()


@pytest.fixture(scope="module")
def browser(pytestconfig):
    start_server("")
    browser = Page(pytestconfig.option)
    yield browser
    browser.driver.quit()


@pytest.fixture
def page(browser):
    browser.camera = None
    yield browser
    assert browser.camera is None or browser.camera.stop() == CAMERA_WELL


def test_find_read_and_change(page):
    page.start("dome")
    page.find("#clear").click()
    page.find("#search").send_keys("image_c0_brightnesspercent")
    page.wait("#search-count", "1 of")
    page.press(Keys.TAB, Keys.TAB, Keys.END, Keys.SPACE)  # over the button into the tree, to the leaf
    page.wait_value(BRIGHTNESS, "50")
    page.enter(BRIGHTNESS, "61")
    page.wait(".message", "Written.", BRIGHTNESS)
    page.wait("#log-lines", "set image_c0_brightnesspercent=61")
    page.enter(BRIGHTNESS, "101" + Keys.ENTER)
    page.wait(".message", "An illegal setting parameter\n"
              "The value is refused; the camera was told nothing. It takes: 0 to 100.", BRIGHTNESS)
    page.find("#exchange-choice").send_keys(Keys.DOWN)  # from the read back to the write
    page.wait("#exchange-curl", f"printf '%s\\r\\n' '{BRIGHTNESS}=101' | curl --data-binary @- 'http://127.0.0.1:8080/")
    page.show(STREAM + ".Bitrate")
    page.wait_value(STREAM + ".Bitrate", "8000")
    page.wait("#exchange-curl", "=101'")  # what was chosen stays
    page.wait(".hint", "20 to 40000", STREAM + ".Bitrate")
    page.show(STREAM + ".Capabilities.MinBitrate")
    page.wait("output", "20", STREAM + ".Capabilities.MinBitrate")  # read-only


def test_what_reads_otherwise_than_written_and_a_read_that_changes_the_camera(page):
    page.start("ptz", "readonly /etc/conf.d/config_quorvexVideo.xml")
    page.enter(NAME, "Gate%41")
    page.wait(".message", "Accepted, reads GateA.", NAME)
    page.show("AudioInput")
    page.wait("output", "<BitRateList>", "AudioInput.1.AAC.Capabilities.BitRateList")
    page.wait_value("AudioInput.1.AAC.BitRate", "32")  # which the catalogue has behind it
    page.find("#read-all").click()
    page.wait(".message", "Reading it changes the camera", AUDIO)
    assert "mute" not in str(page.camera.log())
    page.find("button", AUDIO).click()
    page.wait("#log-lines", "set audioin_c0_mute=0")
    page.show(BRIGHTNESS)
    page.wait_value(BRIGHTNESS, "50")
    page.enter(BRIGHTNESS, "33")
    lost = page.find(".message", BRIGHTNESS, lambda message: "but the camera still has 50." in message.text)
    page.find("[aria-label^=Read]", BRIGHTNESS).click()
    page.wait_value(BRIGHTNESS, "50")
    page.find(".age", BRIGHTNESS, lambda age: age.text == "now")
    assert "still has 50" in lost.text and page.find(f"[data-name='{BRIGHTNESS}'].wrong")


def test_a_dead_daemon_and_a_lost_camera_come_back(page):
    page.start("dome")
    page.find("[data-service=configer] button:nth-child(2)").click()
    page.wait("#log-lines", "change fault configer absent")
    page.enter(NAME, "Lobby")
    page.wait(".message", "Internal error\nThe camera lacks the key or the index, or its daemon did not take the write."
              "\nThe program printed something in front of its header", NAME)
    page.find("#reset").click()
    page.find("[data-service=configer] button[aria-pressed=true]:first-child")
    page.driver.set_network_conditions(offline=True, latency=0, throughput=0)
    page.find("#read-all").click()
    page.wait("#camera-state", "The camera does not answer.")
    page.wait("output", "1.00", "General.ProtocolVersion")  # still the last that it said
    page.driver.delete_network_conditions()
    page.find("input", NAME).send_keys(Keys.ENTER)
    page.wait(".message", "Written at", NAME)  # the camera is looked at again
    page.wait("#log-lines", "set system_hostname=Lobby")


def test_a_motion_window_by_mouse_and_by_keyboard(page):
    page.start("dome")
    page.find("#clear").click()
    for search in (STREAM + ".Bitrate", STREAM + ".Resolution", BRIGHTNESS, POSITION):
        page.show(search)
    page.enter(BRIGHTNESS, "101" + Keys.ENTER)
    page.wait(".message", "An illegal", BRIGHTNESS)  # which moves the window down, away from under a pointer
    page.wait_value(POSITION, "1", "label:nth-child(3) input")
    canvas = page.find("canvas", POSITION)
    wide, high = canvas.size["width"], canvas.size["height"]

    def sides():
        fields = page.driver.find_elements("css selector", f"[data-name='{POSITION}'] input")
        return [round(float(field.get_attribute("value")) * 20) / 20 for field in fields]
    # A corner, a place inside to draw a new one from, the middle of that one: each as seen from the image's middle.
    for x, y, way, drawn in ((2 - wide // 2, 2 - high // 2, (46, 52), [0.25, 0.5, 1, 1]),
                             (-30, 10, (61, 30), [0.35, 0.6, 0.65, 0.9]), (0, 25, (22, -21), [0.45, 0.4, 0.8, 0.7])):
        ActionChains(page.driver, 0).move_to_element_with_offset(canvas, x, y).click_and_hold().move_by_offset(*way) \
            .release().perform()
        assert sides() == drawn
    canvas.send_keys(Keys.SHIFT, *[Keys.ARROW_LEFT] * 4, Keys.NULL, Keys.ARROW_DOWN, Keys.ARROW_LEFT)
    page.find("button[type=submit]", POSITION).click()
    page.wait(".message", "Written.", POSITION)
    assert sides() == [0.45, 0.4, 0.75, 0.7]
    page.wait("#log-lines", "set motion_c0_win_i0_polygonstd=")
    page.find("#search").send_keys(Keys.BACKSPACE * len("ROI.1.Position"))
    page.driver.save_screenshot(page.option.picture)


def test_what_a_camera_says_is_text_and_fits_a_phone(page):
    name = "<img src=x onerror=document.title='broken'>" + "W" * 60
    page.start("encoder")
    page.enter(NAME, name)
    page.wait("#camera-about", name)
    page.wait("#log-lines", name)
    page.show("VideoInput.4")
    page.wait_value("VideoInput.4.Brightness", "50")
    page.resize(360, 740)
    assert page.driver.execute_script("""return document.title + document.images.length +
        [...document.querySelectorAll("html, body, main, #rows, #tree, aside")]
            .filter((e) => e.scrollWidth > e.clientWidth)
    """) == name + " – KORALUX KE-404 – 127.0.0.1:80800"
    names = {node["name"]["value"] for node in page.driver.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
             if not node["ignored"] and node["role"]["value"] in ("button", "treeitem", "status")
             and "value" in node["name"]}
    assert len(names) > 20 and not [name for name in names if re.search("[▸▾●✓–↻✕]", name)]


def test_the_server_forbids_scripts_in_markup_and_in_replies(page):
    page.start("dome")
    assert page.driver.execute_async_script("""
        document.addEventListener("securitypolicyviolation", (event) => arguments[0](event.effectiveDirective));
        document.body.insertAdjacentHTML("beforeend", "<b onclick='location = 1'></b>");""") == "script-src-attr"
    assert page.driver.execute_async_script("""fetch("/cgi-bin/param.cgi").then((reply) =>
        arguments[0](reply.headers.get("X-Content-Type-Options")));""") == "nosniff"


WRITE = """document.body.innerHTML =
        "<form method=post enctype=text/plain><input name=General.UnitName value=owned></form>";
    document.forms[0].action = "http://127.0.0.1:8080/cgi-bin/param.cgi"; document.forms[0].submit();"""
CHANGE = WRITE.replace("General.UnitName", "'key system_hostname'").replace("cgi-bin/param.cgi", "camera")
READ = f"location = 'http://127.0.0.1:8080/cgi-bin/param.cgi?req={AUDIO}';"


def test_only_its_own_page_writes_to_the_camera(page):
    """As it is served, or through a proxy that tells the host. A form of another site is what a write looks like."""
    page.start("dome")
    config = pathlib.Path("/tmp/proxy.conf")
    config.write_text("""server.modules = ("mod_proxy")\nserver.port = 8081\nserver.document-root = "/tmp"
        server.upload-dirs = ("/tmp")
        proxy.server = ("" => (("host" => "127.0.0.1", "port" => 8080)))
        proxy.header = ("map-host-request" => ("-" => "camera"))""")
    assert Program(["lighttpd", "-f", str(config)]).wait()[2] == "exit 0"
    page.driver.get("http://127.0.0.1:8081/")
    page.enter(NAME, "Lobby")
    page.wait(".message", "Written.", NAME)
    page.driver.execute_cdp_cmd("Page.setBypassCSP", {"enabled": True})  # another site has a policy of its own
    for site in "http://localhost:8080/", "data:text/html,null":
        for attack, answer in ((WRITE, "The request comes from another site"), (READ, "403"),
                               (CHANGE, "the request comes from another site")):
            page.driver.get(site)
            page.driver.execute_script(attack)
            page.wait("body", answer)
    assert "owned" not in str(page.camera.log()) and "mute" not in str(page.camera.log())


# What stands behind the "#", and the parameters that are then shown.
LINKS = (
    ("#" + BRIGHTNESS, [BRIGHTNESS]), (f"#{NAME},VideoInput.1.Contrast", [NAME, "VideoInput.1.Contrast"]), ("#%", []),
    ("#VideoInput.1.Motion.ROI.2", [POSITION.replace(".1.P", ".2.").rsplit(".", 1)[0] + "." + word for word in (
        "Enabled", "Position", "MotionOnThreshold", "MotionOffThreshold", "Sensitivity")]),
    ("#?c0_brightnessp", [BRIGHTNESS]), (f"#?req={NAME}&req=VideoInput.1.Contrast", [NAME, "VideoInput.1.Contrast"]),
    ("#?%22VideoInput.1.Brightness=60%22", [BRIGHTNESS]), ("#?kd-120", ["General.Brand.ModelName"]))


def test_links(page):
    page.start("dome")
    for link, names in LINKS:
        page.driver.get("about:blank")
        page.driver.get("http://127.0.0.1:8080/" + link)
        page.find("#rows", wanted=lambda rows: page.shown() == names)
        for name in names[:1]:
            page.find(f"#tree [data-path='{name.partition('.')[0]}.'][aria-expanded=true]")
    page.driver.refresh()
    page.find("#rows", wanted=lambda rows: page.shown() == names)
    page.find("#clear").click()
    page.driver.execute_script("location.hash = '#VideoInput.9,General.Brand'")  # to a page that is open already
    page.wait("#notice", "This camera has no VideoInput.9.")
    assert page.shown() == ["General.Brand.CompanyName", "General.Brand.ModelName"]
    for back in [], names:
        page.driver.back()
        page.find("#rows", wanted=lambda rows: page.shown() == back)


# A parameter's fields, what is typed into them, and why that is not sent.
UNSENT = (
    (BRIGHTNESS, "", "Not sent.\nIt is empty; a number"), (BRIGHTNESS, "5x", "Not sent.\n“5x” is no whole number."),
    (BRIGHTNESS, "101", "Not sent yet.\nIt takes 0 to 100."), (POSITION, "0,5", "Not sent.\nFour numbers are wanted"),
    (POSITION, "1.5", "Not sent.\nIt leaves the image"), (NAME, "a%0db", "Not sent.\nA line end"),
    (NAME, "x" * 384, "Not sent.\nIt has 384 characters; at most 383"),
    (NAME, "x" * 109, "Not sent yet.\nOf more than 108"),
    (NAME, "Cafe", "Not sent yet.\nWhat the camera has are bytes that are no UTF-8"),
    ("General.DateTime.CurrentUTCDateTime", "today", "Not sent.\n“today” is no date"),
    ("Network.1.StaticSubnetMask", "255.255.0", "Not sent yet.\n“255.255.0” is not an address"))


def test_what_is_not_sent_and_what_was_sent_all_the_same(page):
    page.start("dome", r"key system_hostname=Caf\xe9")
    page.wait_value(NAME, r"Caf\xe9")
    page.wait(".message", "Its bytes are no UTF-8", NAME)
    for name in {name for name, *_ in UNSENT}:
        page.show(name)
    for name, text, reason in UNSENT:
        page.find(".age", name, lambda age: age.text and "asking" not in age.text)
        page.enter(name, text)
        page.wait(".message", reason, name)
    assert "set" not in str(page.camera.log())
    page.change("fault configer bytes:200")  # it takes what it is told, and its answer is none
    page.wait("#log-lines", "change fault configer bytes:200")  # the page looks again, and is not to do so later
    page.enter(NAME, "Lobby")
    page.find("button[type=submit]", NAME).click()
    page.wait(".message", "Internal error, but the camera now has it.", NAME)
    page.find("[data-service=configer] button[aria-pressed=false]:first-child")
    page.find("input", BRIGHTNESS).send_keys("7")
    page.change("fault configer absent\nkey system_hostname=Hall\nside image_c0_brightness=70")
    page.wait_value(NAME, "Hall")
    page.find(".message", NAME, lambda message: message.text == "")
    page.wait(".kept", "The camera has 70.", BRIGHTNESS)
    page.show("AudioInput.Alarm.Enabled")  # a read is not told of writes
    page.wait(".message", "index, or a daemon that knows it does not answer. Here it", "AudioInput.Alarm.Enabled")


def test_a_camera_that_hangs_and_another_one_at_its_address(page):
    page.start("dome")
    page.show("VideoInput")
    page.wait("#summary", "values read")
    page.change("fault semaphore taken")
    page.find("#read-all").click()
    page.wait("#camera-state", "Waiting for")
    page.wait("#progress", " of 1")
    page.find("#cancel").click()
    page.find("#summary", wanted=lambda summary: re.match(r"0 values read, \d+ not read again", summary.text))
    page.driver.refresh()
    page.find("#tree [data-path='General.']")
    page.wait("#camera-wait", "2 s")
    assert page.camera.stop() == CAMERA_WELL
    page.camera = Camera(page.option.simcam, f"{page.option.models}/encoder.model", ["fault ptz late:2000"])
    page.find("[data-service=ptz] [aria-pressed=true]:last-child[title='the true answer after 2000 milliseconds']")
    page.wait("#camera-name", "KE-404")
    page.show("VideoInput.4.Brightness")
    page.wait_value("VideoInput.4.Brightness", "50")


def test_compare_export_and_a_request_of_ones_own(page):
    page.start("dome")
    page.driver.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": "/tmp/page"})
    page.show("Contrast")
    page.show(BRIGHTNESS)
    page.find("#export summary").click()
    page.find("[data-form=csv]").click()
    page.find("#export-all").click()
    page.find("[data-form=json]").click()
    made = json.loads(wait_for("/tmp/page/Camera.json"))
    assert made["camera"] == "KORALUX KD-120" and made["values"][BRIGHTNESS] == "50" and len(made["values"]) > 130
    assert re.search(f'(?m)^{BRIGHTNESS},50,,20', wait_for("/tmp/page/Camera.csv"))
    page.find(".menu summary").click()
    page.find("#keep").click()
    page.find("#own summary").click()
    page.find("#raw-post").click()
    page.find("#raw-text").send_keys(f"{BRIGHTNESS}=51\n{NAME}=Hall\nNo.Name")
    page.find("#raw button").click()
    page.wait("#raw-reply", f"{BRIGHTNESS}=51\n{NAME}=Hall")
    page.wait("#compare-text", "2 values differ.")
    page.wait(".was", "was 50", BRIGHTNESS)
    page.find("#clear").click()
    page.find("#compare-file").send_keys("/tmp/page/Camera.json")
    page.wait("#compare-text", "KORALUX KD-120")
    page.find("#rows", wanted=lambda rows: "Hall" not in rows.text and BRIGHTNESS.rsplit(".")[-1] in rows.text)


# In place of a server that wants a login, at one address or the other, and a part of what is said about it.
PAGE = 'new Response("<!doctype html><title>Sign in</title>")'
LOGINS = (
    (".cgi", PAGE, "The web server sent a page “Sign in” instead, as for a login."),
    (".json", PAGE, "cannot start: parameters.json: The web server sent"),
    *((place, '{type: "opaqueredirect"}', "The web server leads elsewhere, as to a login page.") for place in
      (".cgi", ".json")),
    (".cgi", 'new Response("", {status: 401})', "The web server answered 401: it wants a login."))


def test_a_login_in_place_of_an_answer(page):
    for place, answer, said in LOGINS:
        end = page.in_place_of_the_server(f"""const load = fetch;
            fetch = async (url, how) => String(url).includes("{place}") ? {answer} : load(url, how);""")
        page.driver.get("about:blank")
        page.driver.get("http://127.0.0.1:8080/")
        page.wait("#camera-state", said)
        end()


# In place of a server that cuts its answers, and that has neither log nor control.
HALF = r"""const text = "connect failed!\r\nGeneral.UnitName=<b>half</b>\r\nGeneral.FirmwareVersion=KL", load = fetch;
fetch = async (url) => url.includes("/camera") ? new Response("", {status: 404}) : !url.includes(".cgi") ? load(url) :
    new Response(url.includes("UnitName") ? text
                 : new ReadableStream({pull: (stream) => stream.error(new TypeError())}));"""


def test_half_answers_are_told_and_whole_lines_kept(page):
    end = page.in_place_of_the_server(HALF)
    page.open()
    page.wait(".message", "The reply leaves this parameter out.\nThe reply also says: connect failed!",
              "General.FirmwareVersion")
    page.wait(".message", "The answer broke off.", "General.DateTime.Mode")
    page.wait_value(NAME, "<b>half</b>")
    assert not page.find("#log").is_displayed() and not page.find("#simulator").is_displayed()
    end()
