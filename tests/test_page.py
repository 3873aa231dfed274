"""The page in a real browser, in front of the real program behind the real web server: stories of somebody at a keyboard
and a mouse. The one of the motion window leaves the README's picture at --picture."""
import pathlib
import resource

import pytest
from selenium import webdriver
from selenium.webdriver import ActionChains, Keys
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.wait import WebDriverWait

from camera import CAMERA_WELL, TIME_LIMIT, Camera, Program, start_server

NAME, BRIGHTNESS, STREAM = "General.UnitName", "VideoInput.1.Brightness", "VideoInput.1.h264.1"
POSITION, AUDIO = "VideoInput.1.Motion.ROI.1.Position", "AudioInput.Capabilities.EntityCount"


class Page:
    """The browser. What is looked for may not be there yet, or be made anew, so everything is waited for."""

    def __init__(self, option):
        resource.setrlimit(resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))  # its files are large
        options = webdriver.ChromeOptions()
        for word in ("headless=new", "no-sandbox", "disable-gpu", "no-first-run"):
            options.add_argument("--" + word)
        self.driver, self.option = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options), option

    def start(self, model, *changes):
        self.camera = Camera(self.option.simcam, f"{self.option.models}/{model}.model", changes)
        self.open()

    def open(self):
        self.resize(1320, 780)
        self.driver.get("about:blank")
        self.driver.get("http://127.0.0.1:8080/")
        self.wait("#summary", "read")

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
        self.find("input", name).clear()
        self.find("input", name).send_keys(value, Keys.ENTER)

    def press(self, *keys):
        ActionChains(self.driver).send_keys(*keys).perform()


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
    page.enter(BRIGHTNESS, "101")
    page.wait(".message", "An illegal setting parameter\nThe value is refused; the camera was told nothing. It takes: 0 to 100.", BRIGHTNESS)
    page.find("#exchange-choice").send_keys(Keys.DOWN)  # from the read back to the write
    page.wait("#exchange-curl", f"printf '%s\\r\\n' '{BRIGHTNESS}=101' | curl --data-binary @- 'http://127.0.0.1:8080/cgi-bin/")
    page.show(STREAM + ".Bitrate")
    page.wait_value(STREAM + ".Bitrate", "8000")
    page.wait(".hint", "20 to 40000", STREAM + ".Bitrate")
    page.show(STREAM + ".Capabilities.MinBitrate")
    page.wait("output", "20", STREAM + ".Capabilities.MinBitrate")  # read-only


def test_what_reads_otherwise_than_written_and_a_read_that_changes_the_camera(page):
    page.start("ptz")
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


def test_a_dead_daemon_and_a_lost_camera_come_back(page):
    page.start("dome")
    page.find("[data-service=configer] button:nth-child(2)").click()
    page.wait("#log-lines", "change fault configer absent")
    page.enter(NAME, "Lobby")
    page.wait(".message", "Internal error\nThe camera lacks the key or the index, or its daemon did not take the write.\n"
              "The program printed something in front of its header", NAME)
    page.find("#reset").click()
    page.find("[data-service=configer] button[aria-pressed=true]:first-child")
    page.driver.set_network_conditions(offline=True, latency=0, throughput=0)
    page.find("#read-all").click()
    page.wait("#camera-state", "The camera does not answer.")
    page.wait("output", "1.00", "General.ProtocolVersion")  # still the last that it said
    page.driver.delete_network_conditions()
    page.find("input", NAME).send_keys(Keys.ENTER)
    page.wait(".message", "Written.", NAME)
    page.wait("#log-lines", "set system_hostname=Lobby")


def test_a_motion_window_by_mouse_and_by_keyboard(page):
    page.start("dome")
    page.find("#clear").click()
    for search in (STREAM + ".Bitrate", STREAM + ".Resolution", BRIGHTNESS, POSITION):
        page.show(search)
    page.enter(BRIGHTNESS, "101")
    page.wait(".message", "An illegal", BRIGHTNESS)  # which moves the window down, away from under a pointer
    page.wait_value(POSITION, "1", "label:nth-child(3) input")
    canvas = page.find("canvas", POSITION)
    wide, high = canvas.size["width"], canvas.size["height"]
    ActionChains(page.driver, 0).move_to_element_with_offset(canvas, 2 - wide // 2, 2 - high // 2).click_and_hold().move_by_offset(
        wide // 4, high // 2).release().perform()  # from near the upper left corner
    canvas.send_keys(Keys.SHIFT, *[Keys.ARROW_LEFT] * 4, Keys.NULL, Keys.ARROW_DOWN, Keys.ARROW_LEFT)
    page.find("button[type=submit]", POSITION).click()
    page.wait(".message", "Written.", POSITION)
    fields = page.driver.find_elements("css selector", f"[data-name='{POSITION}'] input")
    left, top, right, bottom = [float(field.get_attribute("value")) for field in fields]
    assert 0.23 < left < 0.27 and 0.49 < top < 0.55 and (right, bottom) == (0.95, 1)
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
        [...document.querySelectorAll("html, body, main, #rows, #tree, aside")].filter((e) => e.scrollWidth > e.clientWidth)
    """) == "Camera parameters0"


def test_the_server_forbids_scripts_in_markup_and_in_replies(page):
    page.start("dome")
    assert page.driver.execute_async_script("""
        document.addEventListener("securitypolicyviolation", (event) => arguments[0](event.effectiveDirective));
        document.body.insertAdjacentHTML("beforeend", "<b onclick='location = 1'></b>");""") == "script-src-attr"
    assert page.driver.execute_async_script("""
        fetch("/cgi-bin/param.cgi").then((reply) => arguments[0](reply.headers.get("X-Content-Type-Options")));""") == "nosniff"


WRITE = """document.body.innerHTML = "<form method=post enctype=text/plain><input name=General.UnitName value=owned></form>";
    document.forms[0].action = "http://127.0.0.1:8080/cgi-bin/param.cgi"; document.forms[0].submit();"""
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
        for attack, answer in (WRITE, "The request comes from another site"), (READ, "403"):
            page.driver.get(site)
            page.driver.execute_script(attack)
            page.wait("body", answer)
    assert "owned" not in str(page.camera.log()) and "mute" not in str(page.camera.log())


# In place of a server that cuts its answers, and that has neither log nor control.
HALF = r"""const text = "connect failed!\r\nGeneral.UnitName=<b>half</b>\r\nGeneral.FirmwareVersion=KL", load = fetch;
fetch = async (url) => url.includes("/camera") ? new Response("", {status: 404}) : !url.includes(".cgi") ? load(url) :
    new Response(url.includes("UnitName") ? text : new ReadableStream({pull: (stream) => stream.error(new TypeError())}));"""


def test_half_answers_are_told_and_whole_lines_kept(page):
    script = page.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": HALF})
    page.open()
    page.wait(".message", "The reply leaves this parameter out.\nThe reply also says: connect failed!", "General.FirmwareVersion")
    page.wait(".message", "The answer broke off.", "General.DateTime.Mode")
    page.wait_value(NAME, "<b>half</b>")
    assert not page.find("#log").is_displayed() and not page.find("#simulator").is_displayed()
    page.driver.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", script)
