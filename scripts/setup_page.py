#!/usr/bin/python3
"""Goes the whole way through telvane-setup's page in headless Chromium, as a technician would.

setup_page.py <telvane-setup> <folder for screenshots> <width>-<light|dark>...

For each width and colour scheme: aim, drag marks, measure, take over, try, keep. Each thing that is as it must be is a
line, each that is not a line with FAILED; the last line counts them.
"""
import base64
import os
import re
import signal
import subprocess
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.actions import interaction
from selenium.webdriver.common.actions.action_builder import ActionBuilder
from selenium.webdriver.common.actions.pointer_input import PointerInput
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

passed = failed = 0


def expect(what, good, found=""):
    global passed, failed
    if good:
        passed += 1
        print(f"  {what}")
    else:
        failed += 1
        print(f"  {what}: {found}  FAILED")
    return good


def wait(condition, seconds=30):
    """What the condition gives once it is something, or its last answer."""
    end = time.time() + seconds
    while True:
        found = condition()
        if found or time.time() > end:
            return found
        time.sleep(0.05)


class Pass:
    def __init__(self, program, folder, width, dark):
        self.width, self.touch = width, width < 600
        self.name = f"{width}-{'dark' if dark else 'light'}"
        self.folder = folder
        self.complaints = []
        self.own = tempfile.TemporaryDirectory()
        self.config = os.path.join(self.own.name, "wheel.toml")
        self.program = subprocess.Popen(
            [os.path.abspath(program), "--listen", "127.0.0.1:0", "--config", "wheel.toml"], cwd=self.own.name,
            stdout=subprocess.PIPE, text=True,
            preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
        self.link = next(m.group(0) for m in (re.search(r"http://\S+", line) for line in self.program.stdout) if m)

        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for word in ("--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--hide-scrollbars", "--user-data-dir=" + os.path.join(self.own.name, "browser")):
            options.add_argument(word)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        command = self.browser.execute_cdp_cmd
        command("Emulation.setDeviceMetricsOverride",
                {"width": width, "height": 760 if self.touch else 900, "deviceScaleFactor": 1, "mobile": self.touch})
        command("Emulation.setTouchEmulationEnabled", {"enabled": self.touch})
        command("Emulation.setEmulatedMedia",
                {"features": [{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})
        command("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": self.own.name})

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.browser.quit()
        if self.program.poll() is None:
            self.program.kill()
        self.program.wait()
        self.own.cleanup()

    def get(self, name):
        return self.browser.find_element(By.ID, name)

    def run(self, script, *words):
        return self.browser.execute_script(script, *words)

    def click(self, name):
        self.run("document.getElementById(arguments[0]).scrollIntoView({block: 'nearest'})", name)
        self.get(name).click()

    def press(self, name):
        """A button that can be pressed when nothing else is under way."""
        expect(f"{name} can be pressed", wait(lambda: self.run("return isAble(arguments[0]) && films", name)))
        self.click(name)

    def field(self, name):
        return self.run("return document.querySelector(`[name='${arguments[0]}']`).value", name)

    def complain(self):
        self.complaints += [entry["message"] for entry in self.browser.get_log("browser") if entry["level"] == "SEVERE"]

    def shoot(self, step):
        picture = self.browser.execute_cdp_cmd("Page.captureScreenshot", {"format": "png"})["data"]
        with open(os.path.join(self.folder, f"{self.name}-{step}.png"), "wb") as file:
            file.write(base64.b64decode(picture))

    def drag(self, handle, dx, dy):
        """Moves a handle by pixels of the screen, by finger or mouse."""
        place = self.run("const r = document.querySelector(`[data-handle='${arguments[0]}'] .dot`)"
                         ".getBoundingClientRect(); return [r.x + r.width / 2, r.y + r.height / 2]", handle)
        pointer = PointerInput(interaction.POINTER_TOUCH if self.touch else interaction.POINTER_MOUSE, "pointer")
        actions = ActionBuilder(self.browser, mouse=pointer, duration=30)
        x, y = round(place[0]), round(place[1])
        action = actions.pointer_action
        action.move_to_location(x, y)
        action.pointer_down()
        action.move_to_location(x + dx // 2, y + dy // 2)
        action.move_to_location(x + dx, y + dy)
        action.pointer_up()
        actions.perform()

    def aim(self):
        self.browser.get(self.link)
        expect("the link leads to the page itself", self.browser.current_url.endswith("/"), self.browser.current_url)
        shown = wait(lambda: self.run("const i = document.getElementById('live');"
                                      "return document.getElementById('nothing').hidden && i.naturalWidth"))
        expect("the live picture is shown", shown == 1280, shown)
        expect("sharpness has a bar", wait(lambda: "% of the best" in self.get("sharp").text), self.get("sharp").text)
        expect("the camera's state is told", self.get("camera").text == "The camera films.", self.get("camera").text)
        wide = self.run("return document.documentElement.scrollWidth")
        expect("nothing is wider than the window", wide <= self.width, wide)
        self.shoot("aim")
        self.figures()

    def figures(self):
        """Figures of every kind, as the page shows what /state holds."""
        def shown(**figures):
            given = {"sharpness": 5, "best": 10, "clipped": 0, "dark": 0, "speed": None, "nearHalf": False, **figures}
            return self.run("""showFigures(arguments[0]);
                const text = name => document.getElementById(name).textContent;
                window.tops = (window.tops || new Set).add(document.getElementById('best').offsetTop);
                const [zone, mark] = document.getElementById('speed-bar').children;
                return { sharp: text('sharp'), clipped: text('clipped'), dark: text('dark'), speed: text('speed'),
                    bar: document.getElementById('sharp-bar').firstElementChild.style.width,
                    zone: [zone.style.left, zone.style.width], mark: mark.hidden ? null : mark.style.left };""", given)
        found = shown(clipped=0.02, dark=0.6)
        expect("sharpness is told beside the best", found["sharp"] == "5.0; 50 % of the best so far, 10.0"
               and found["bar"] == "50%", found)
        expect("light that is too much and too little as well",
               [found["clipped"], found["dark"]] == ["2.0 %: less light", "60 %: more light"], found)
        expect("without a speed none is told", found["mark"] is None and found["speed"] == "once the circles are set",
               found)
        found = shown(clipped=0.01, dark=0.5, speed=-1)
        expect("at their limits neither is much", [found["clipped"], found["dark"]] == ["1.0 %", "50 %"], found)
        expect("a speed has its place among the good ones", found["mark"] == "25%" and found["zone"] == ["5%", "57.5%"],
               found)
        for speed, words in ((0.04, "they stand still"),
                             (0.19, "0.19 pixels a frame, clockwise: slow, compare frames that lie further apart"),
                             (0.2, "0.20 pixels a frame, clockwise: good"),
                             (-2.5, "2.50 pixels a frame, counter-clockwise: good"),
                             (2.51, "2.51 pixels a frame, clockwise: fast")):
            found = shown(speed=speed)["speed"]
            expect(f"{speed} pixels are in words", found == words, found)
        found = shown(nearHalf=True)["speed"]
        expect("half a tooth is, too", found == "about half a tooth a frame: too fast to tell", found)
        expect("no button moves when figures change", self.run("return tops.size") == 1, self.run("return [...tops]"))
        words = [self.run("""refused = true;
            showCamera({ camera: { state: 'films', text: 'It films.' }, viewers: arguments[0] });
            refused = false;
            return document.getElementById('nothing').textContent""", viewers) for viewers in (7, 8)]
        expect("who finds no place is told why", words == ["It films.", "Eight others look on already. Trying again."], words)
        self.click("best")
        expect("the best can be forgotten", wait(lambda: self.run(
            "return performance.getEntriesByType('resource').some(e => e.name.endsWith('/best'))")))
        asked = "return window.asked"
        self.run("window.asked = 0; const was = ask; ask = (...all) => (window.asked++, was(...all))")
        show = """Object.defineProperty(document, 'hidden', { value: arguments[0], configurable: true });
            document.dispatchEvent(new Event('visibilitychange'));"""
        self.run(show, True)
        wait(lambda: not self.run("return looking"))
        before = self.run(asked)
        time.sleep(0.6)
        found = [self.run(asked) - before, self.run("return document.getElementById('live').hasAttribute('src')")]
        expect("a page that nobody sees asks for nothing", found == [0, False], found)
        self.run(show, False)
        expect("and goes on when it is seen", wait(lambda: self.run(asked) > before)
               and self.run("return document.getElementById('live').hasAttribute('src')"))

    def read_off(self):
        self.click("place")
        self.run("window.scrollTo(0, 0)")
        scale = 1280 / self.run("return document.getElementById('picture').clientWidth")
        before = [int(self.field("centre.0")), int(self.field("centre.1")), int(self.field("outer"))]
        self.drag("centre", 12, -7)
        moved = [int(self.field("centre.0")) - before[0], int(self.field("centre.1")) - before[1]]
        expect("the centre follows " + ("a finger" if self.touch else "the mouse"),
               abs(moved[0] - 12 * scale) <= 1 and abs(moved[1] + 7 * scale) <= 1, moved)
        self.drag("outer", -10, 0)
        smaller = before[2] - int(self.field("outer"))
        expect("so does a circle", abs(smaller - 10 * scale) <= 2, smaller)
        expect("and nothing scrolls with it", self.run("return scrollY") == 0)
        region = int(self.field("region.0"))
        self.drag("region-end", -6, -6)
        expect("so does a corner of the region", abs(region - int(self.field("region.0")) - 6 * scale) <= 1)
        drawn = self.run("""const rect = () => document.querySelector('#marks rect').outerHTML, was = rect();
            const place = wheel['centre-in-region'];
            wheel.region = place.map(part => 2 * part);
            draw();
            const given = rect();
            wheel['centre-in-region'] = null;
            draw();
            return [was !== given, rect() === given]""")
        expect("without a place of the centre in it that is its middle", drawn == [True, True], drawn)
        self.run("wheel['centre-in-region'] = inRegion(); changed()")

        handle = self.browser.find_element(By.CSS_SELECTOR, "[data-handle=inner]")
        inner = int(self.field("inner"))
        self.run("arguments[0].focus()", handle)
        ActionChains(self.browser).send_keys(Keys.ARROW_UP, Keys.ARROW_RIGHT).perform()
        ActionChains(self.browser).key_down(Keys.SHIFT).send_keys(Keys.ARROW_LEFT).key_up(Keys.SHIFT).perform()
        expect("arrow keys move a mark", int(self.field("inner")) == inner + 2 - 10, self.field("inner"))
        expect("and are told to those who hear it", handle.get_attribute("aria-valuenow") == str(inner - 8))

        self.click("add-mask")
        width = self.browser.find_element(By.NAME, "mask.0.2")
        width.clear()
        width.send_keys("77")
        expect("what is typed is drawn", self.run(
            "return [...document.querySelectorAll('#marks rect')].some(r => r.getAttribute('width') === '77')"))
        expect("and reaches the command line", wait(lambda: "--mask 40,40,77,120" in self.run(
            "return document.getElementById('line-run').value")))
        self.shoot("marks")
        self.click("add-mask")
        self.click("add-mask")
        expect("three masks are enough", not self.get("add-mask").is_enabled())
        for number in (3, 2, 1):
            button = self.browser.find_element(By.XPATH, f"//button[text()='Remove mask {number}']")
            self.run("arguments[0].scrollIntoView({block: 'center'})", button)
            button.click()
        expect("a mask can be removed", wait(lambda: "--mask" not in self.run(
            "return document.getElementById('line-run').value")))

        tree = self.browser.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
        nameless = [node["role"]["value"] for node in tree if not node.get("ignored")
                    and any(p["name"] == "focusable" and p["value"].get("value") for p in node.get("properties", []))
                    and not node.get("name", {}).get("value") and node["role"]["value"] != "RootWebArea"]
        expect("everything that takes the keyboard has a name", not nameless, nameless)

        self.press("measure")
        expect("measuring ends", wait(lambda: self.run("return document.getElementById('take') !== null")))
        expect("what was found is told in words", re.search(
            r"The wheel turns clockwise, 0\.40° a frame, about 652\.\d, 471\.\d\..* there are 40\.", self.get("measured").text),
            self.get("measured").text)
        expect("and the button keeps the keyboard", self.run("return document.activeElement.id") == "measure")
        self.shoot("measured")
        self.click("take")
        found = {name: self.field(name) for name in ("inner", "outer", "teeth", "sense", "centre.0", "centre.1")}
        expect("the radii are the wheel's", abs(int(found["inner"]) - 216) <= 3 and abs(int(found["outer"]) - 250) <= 3,
               found)
        expect("so are teeth and sense", found["teeth"] == "40" and found["sense"] == "cw", found)
        expect("and the centre", found["centre.0"] == "652" and found["centre.1"] == "472", found)
        expect("the teeth's speed is told",
               wait(lambda: re.match(r"1\.6\d pixels a frame, clockwise: good$", self.get("speed").text)),
               self.get("speed").text)
        self.click("motion")
        expect("motion is laid over the picture",
               wait(lambda: self.run("return document.getElementById('live').naturalWidth") == 640))
        expect("with what its colours mean", self.get("motion-legend").is_displayed())
        time.sleep(0.3)
        self.shoot("motion")
        self.click("motion")

    def try_out(self):
        self.press("try")
        expect("trying ends", wait(lambda: self.run("return document.getElementById('tried').dataset.job !== 'on'"
                                                    " && document.querySelector('#tried .result') !== null"), 90))
        text = self.get("tried").text
        expect("the verdict is good", text.startswith("good\n"), text)
        expect("and looks so", self.browser.find_elements(By.CSS_SELECTOR, "#tried .result.good"))
        self.shoot("tried")
        links = self.browser.find_elements(By.CSS_SELECTOR, "#tried a[href='/report']")
        if not expect("there is a report", len(links) == 1, text):
            return
        page = self.browser.current_window_handle
        links[0].click()
        wait(lambda: len(self.browser.window_handles) == 2)
        self.browser.switch_to.window(next(w for w in self.browser.window_handles if w != page))
        expect("it opens", wait(lambda: self.browser.title != "" and self.browser.find_elements(By.TAG_NAME, "h1")))
        broken = self.run("return [...document.images].filter(i => !(i.naturalWidth > 0)).length")
        expect("with all its pictures", broken == 0, broken)
        self.shoot("report")
        self.browser.close()
        self.browser.switch_to.window(page)

    def keep(self):
        self.complain()
        teeth = self.browser.find_element(By.NAME, "teeth")
        teeth.clear()
        expect("what is missing is told by the page's words", self.run(
            "return inWords('--inner must be given')") == "Inner radius must be given")
        teeth.send_keys("4000")
        self.click("keep")
        problem = "teeth: 4000 is not a whole number from 0 to 1000"
        expect("what is wrong is not written", wait(lambda: self.get("kept").text == problem)
               and not os.path.exists(self.config), self.get("kept").text)
        self.browser.get_log("browser")  # has the refusals
        teeth.clear()
        teeth.send_keys("40")
        self.click("keep")
        expect("the file is written", wait(lambda: self.get("kept").text == "Written."), self.get("kept").text)
        with open(self.config, encoding="utf-8") as file:
            kept = file.read()
        expect("with the wheel in it", "\nteeth = 40\n" in kept and '\nsense = "cw"\n' in kept, kept)
        os.rename(self.config, self.config + ".written")
        self.click("download")
        expect("it can be downloaded", wait(lambda: os.path.exists(self.config)))
        time.sleep(0.2)
        with open(self.config, encoding="utf-8") as file:
            expect("and is the same", file.read() == kept)
        lines = [self.run("return document.getElementById(arguments[0]).value", name)
                 for name in ("line-run", "line-telvane")]
        expect("both command lines are shown",
               lines[0].startswith("telvane-run --inner 21") and lines[1].startswith("Telvane -n 15 "), lines)
        expect("and when they can have the camera", "once telvane-setup has ended" in self.get("missing").text)
        self.run("document.getElementById('keep-heading').scrollIntoView()")
        self.shoot("keep")
        wide = self.run("return document.documentElement.scrollWidth")
        expect("nothing is wider than the window", wide <= self.width, wide)
        self.complain()
        expect("the browser has nothing to complain of", not self.complaints, self.complaints)

    def end(self):
        self.program.send_signal(signal.SIGINT)
        status = wait(lambda: self.program.poll() is not None) and self.program.returncode
        expect("Ctrl-C ends the program", status == 0, status)
        expect("and the page says so", wait(lambda: "does not answer" in self.get("camera").text),
               self.get("camera").text)


def main():
    program, folder = sys.argv[1:3]
    for what in sys.argv[3:]:
        width, scheme = what.split("-")
        print(f"== {width} pixels wide, {scheme}")
        with Pass(program, folder, int(width), scheme == "dark") as page:
            page.aim()
            page.read_off()
            page.try_out()
            page.keep()
            page.end()
    print(f"\n{passed} passed, {failed} failed")
    return 0 if failed == 0 and passed > 0 else 1


sys.exit(main())
