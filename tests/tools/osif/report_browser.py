#!/usr/bin/env python3
"""Opens a page that "osif report" made in a real browser and uses it as people do: with keys, on a telephone, in the dark.

    report_browser.py PAGE NAME...      each NAME is one thing to look at (the functions named look_at_...)
    report_browser.py PAGE pictures DIR

Speaks WebDriver (https://www.w3.org/TR/webdriver2/) to a chromedriver that it starts itself, on a port of the loopback
that chromedriver picks. Ends with 0 when all is as it should be, 1 with a message when not, and 77 where there is no browser.
"""
import base64
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
KEYS = {"Tab": "\ue004", "Enter": "\ue007", "Space": "\ue00d"}


class Driver:
    """A chromedriver of our own, and one browser in it."""

    def __init__(self, program, folder):
        self.process = subprocess.Popen(
            [program, "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.session = None
        for line in self.process.stdout:
            found = re.search(r"started successfully on port (\d+)", line)
            if found:
                break
        else:
            raise RuntimeError("chromedriver did not start")
        self.address = "http://127.0.0.1:" + found.group(1)
        self.folder = folder

    def start(self, *arguments):
        if self.session:
            self.call("DELETE", "")
        options = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                   "--disable-background-networking", "--no-first-run", "--force-device-scale-factor=1",
                   "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1", *arguments]
        self.session = ""
        answer = self.call("POST", "/session", {"capabilities": {"alwaysMatch": {
            "browserName": "chrome", "pageLoadStrategy": "normal", "goog:loggingPrefs": {"browser": "ALL"},
            "goog:chromeOptions": {"args": options}}}}, whole=True)
        self.session = answer["sessionId"]

    def call(self, method, path, body=None, whole=False):
        url = self.address + (path if whole else "/session/" + self.session + path)
        data = None if method in ("GET", "DELETE") else json.dumps(body or {}).encode()
        request = urllib.request.Request(url, data, {"Content-Type": "application/json"}, method=method)
        try:
            with urllib.request.urlopen(request, timeout=100) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(error.read().decode(errors="replace")[:2000]) from error

    def end(self):
        try:
            if self.session:
                self.call("DELETE", "")
        finally:
            self.process.terminate()
            self.process.wait(20)

    # ---- What the tests say ------------------------------------------------------------------------------

    def open(self, page):
        self.call("POST", "/url", {"url": pathlib.Path(page).resolve().as_uri()})

    def run(self, script, *arguments):
        return self.call("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def command(self, name, **parameters):
        """One of the browser's own (DevTools)."""
        return self.call("POST", "/goog/cdp/execute", {"cmd": name, "params": parameters})

    def press(self, *keys):
        actions = []
        for key in keys:
            for letter in [KEYS[key]] if key in KEYS else key:
                actions += [{"type": "keyDown", "value": letter}, {"type": "keyUp", "value": letter}]
        self.call("POST", "/actions", {"actions": [{"type": "key", "id": "keys", "actions": actions}]})

    def focused(self):
        return self.run("const e = document.activeElement; return e.id || e.getAttribute('href') || e.localName;")

    def visible(self, selector):
        """The texts of the elements that are shown."""
        return self.run(
            "return [...document.querySelectorAll(arguments[0])].filter(e => e.checkVisibility())"
            ".map(e => e.textContent);", selector)

    def complaints(self):
        return [entry["message"] for entry in self.call("POST", "/se/log", {"type": "browser"})]

    def narrow(self, width=360, height=740):
        self.command("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=True)

    def scheme(self, name):
        self.command("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": name}])

    def picture(self, file):
        pathlib.Path(file).write_bytes(base64.b64decode(self.call("GET", "/screenshot")))


def expect(found, wanted, what):
    if found != wanted:
        raise AssertionError(f"{what}: {found!r} instead of {wanted!r}")


def tab_to(browser, wanted, most=60):
    for _ in range(most):
        if browser.focused() == wanted:
            return
        browser.press("Tab")
    raise AssertionError(f"no way to {wanted} with the Tab key; the focus is on {browser.focused()}")


# ---- What is looked at -----------------------------------------------------------------------------------

def look_at_search(browser):
    """The contacts of the page are Ann Lee, Jörg Müßig (+1 555 0177) and more."""
    everyone = browser.visible(".letter li > .name")
    tab_to(browser, "wanted")
    browser.press("mussig")
    expect(browser.visible(".letter li > .name"), ["Jörg Müßig"], "by the letters of another keyboard")
    browser.run("document.getElementById('wanted').value = '';")
    browser.press("5550177")
    expect(browser.visible(".letter li > .name"), ["Jörg Müßig"], "by a number without blanks")
    expect(browser.visible(".letter > h3"), ["J"], "letters that have something")
    expect(browser.visible("#found"), ["1 contact found."], "what is told")
    browser.run("document.getElementById('wanted').value = '';")
    browser.press("nobody of this name")
    expect(browser.visible(".letter li"), [], "nobody")
    expect(browser.visible("#found"), ["No contact found."], "what is told of nobody")
    browser.run("const f = document.getElementById('wanted'); f.value = ''; f.dispatchEvent(new Event('input'));")
    expect(browser.visible(".letter li > .name"), everyone, "all again")


def look_at_months(browser):
    """The page's month is 2026-11."""
    expect(browser.visible(".month > h3"), ["November 2026"], "the first month")
    tab_to(browser, "next-month")
    browser.press("Enter")
    expect(browser.visible(".month > h3"), ["December 2026"], "after the button for the next one")
    expect(browser.visible("#shown-month"), ["December 2026"], "what is told")
    for _ in range(20):
        browser.press("Space")
    expect(browser.visible(".month > h3"), ["November 2027"], "the last month")
    expect(browser.focused(), "next-month", "the focus on a button that leads no further")
    expect(browser.run("return document.getElementById('next-month').getAttribute('aria-disabled')"), "true",
           "the button that leads no further")
    browser.run("document.getElementById('previous-month').focus();")
    browser.press("Enter", "Enter")
    expect(browser.visible(".month > h3"), ["September 2027"], "back")


def look_at_keyboard(browser):
    browser.press("Tab")
    expect(browser.focused(), "#content", "the first stop")
    expect(browser.run("return getComputedStyle(document.activeElement).outlineStyle"), "solid", "the focus is seen")
    expect(browser.run("return document.activeElement.getBoundingClientRect().top >= 0"), True, "the skip link is seen")
    browser.press("Enter")
    expect(browser.focused(), "content", "after the skip link")
    browser.press("Tab")
    expect(browser.focused(), "wanted", "the first stop of the content")
    tab_to(browser, "summary")
    browser.press("Enter")
    expect(browser.run("return document.activeElement.parentElement.open"), True, "a message opened by a key")


def look_at_structure(browser):
    for landmark in ("header", "nav[aria-label]", "main"):
        expect(browser.run("return document.querySelectorAll(arguments[0]).length", landmark), 1, landmark)
    expect(browser.run("return document.querySelectorAll('h1').length"), 1, "headings of the first level")
    skipped = browser.run("""
      const levels = [...document.querySelectorAll('h1, h2, h3, h4')].map(h => Number(h.localName[1]));
      return levels.filter((level, i) => i > 0 && level > levels[i - 1] + 1).length;""")
    expect(skipped, 0, "headings that skip a level")
    nameless = browser.run("""
      return [...document.querySelectorAll('button, input, a, section')]
        .filter(e => !(e.textContent.trim() || e.labels?.length || e.getAttribute('aria-labelledby'))).length;""")
    expect(nameless, 0, "elements without a name")
    broken = browser.run("""
      return [...document.querySelectorAll('a[href]')]
        .filter(a => !document.getElementById(a.getAttribute('href').slice(1))).length;""")
    expect(broken, 0, "links to nowhere")
    double = browser.run("""
      const ids = [...document.querySelectorAll('[id]')].map(e => e.id);
      return ids.length - new Set(ids).size;""")
    expect(double, 0, "ids that are there twice")


def look_at_narrow(browser):
    browser.narrow()
    browser.run("for (const d of document.querySelectorAll('details')) d.open = true;")
    wide = browser.run("""
      for (const p of document.querySelectorAll('.portion')) p.style.contentVisibility = 'visible';
      for (const m of document.querySelectorAll('.month')) m.hidden = false;
      return [...document.querySelectorAll('body *')].filter(e => e.checkVisibility() &&
        !e.closest('.unseen, .skip') && e.getBoundingClientRect().right > 360.5)
        .map(e => e.localName + ': ' + e.textContent.slice(0, 60));""")
    expect(wide, [], "what is wider than 360 points")
    expect(browser.run("return document.scrollingElement.scrollWidth"), 360, "the width to scroll")


def contrast(browser, selector):
    """Of a text with what is behind it (https://www.w3.org/TR/WCAG22/#dfn-contrast-ratio)."""
    return browser.run("""
      const numbers = color => color.match(/[\\d.]+/g).map(Number);
      const light = color => numbers(color).slice(0, 3).map(v => v / 255)
        .map(v => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4)
        .reduce((sum, v, i) => sum + v * [0.2126, 0.7152, 0.0722][i], 0);
      let element = document.querySelector(arguments[0]);
      const ink = light(getComputedStyle(element).color);
      let behind = 'rgba(0, 0, 0, 0)';
      for (; element && numbers(behind)[3] === 0; element = element.parentElement)
        behind = getComputedStyle(element).backgroundColor;
      const [low, high] = [ink, light(behind)].sort((a, b) => a - b);
      return (high + 0.05) / (low + 0.05);""", selector)


def look_at_colours(browser):
    seen = {}
    for scheme in ("light", "dark"):
        browser.scheme(scheme)
        seen[scheme] = browser.run("return getComputedStyle(document.body).backgroundColor")
        for selector in ("body", "h1", "header p", "nav a", "dt", "dd", ".count", "button", ".mark", ".deleted .mark",
                         ".day time", ".day a", ".place", "th"):
            found = contrast(browser, selector)
            if found < 4.5:
                raise AssertionError(f"{selector} in {scheme}: a contrast of {found:.2f}")
    expect(seen["light"] != seen["dark"], True, "another background in the dark")


def look_at_quiet(browser):
    """Nothing is asked of anybody, and nothing of the page's own is forbidden; what is put in runs nowhere."""
    expect(browser.run("return performance.getEntriesByType('resource').map(e => e.name)"), [], "what was fetched")
    expect(browser.run("return document.querySelectorAll('img, iframe, object, embed, link, base, form').length"), 0,
           "elements that fetch or send")
    expect(browser.run("return document.scripts.length + document.querySelectorAll('style').length"), 2,
           "scripts and styles")
    expect(browser.run("return [...document.querySelectorAll('*')].filter(e => [...e.attributes]"
                       ".some(a => /^on|^style$/.test(a.name))).length"), 0, "handlers and styles of elements")
    expect(browser.run("return window.struck === undefined"), True, "no text of a store has run")
    expect(browser.complaints(), [], "the console")
    # The policy holds: a script that is put in later does not run, and a picture is not fetched.
    browser.run("""
      const script = document.createElement('script'); script.textContent = 'window.struck = 1';
      document.body.append(script);
      const picture = document.createElement('img'); picture.src = 'http://127.0.0.1:9/x.png';
      document.body.append(picture);""")
    expect(browser.run("return window.struck === undefined"), True, "a script that was put in")
    expect(sum("Content Security Policy" in line for line in browser.complaints()) >= 2, True, "what the policy forbade")


def look_at_without_scripts(browser, page):
    browser.command("Emulation.setScriptExecutionDisabled", value=True)
    browser.open(page)
    document = browser.command("DOM.getDocument")["root"]["nodeId"]

    def shown(selector):
        nodes = browser.command("DOM.querySelectorAll", nodeId=document, selector=selector)["nodeIds"]
        return sum(is_drawn(node) for node in nodes)

    def is_drawn(node):
        style = browser.command("CSS.getComputedStyleForNode", nodeId=node)["computedStyle"]
        return all(row["value"] != "none" for row in style if row["name"] == "display")

    browser.command("DOM.enable")
    browser.command("CSS.enable")
    expect(shown(".month"), 25, "months without scripts")
    expect(shown(".controls"), 0, "buttons that would do nothing")
    if shown(".letter li") < 2:
        raise AssertionError("no contacts without scripts")


def look_at_speed(browser, page):
    """20,000 contacts: the page is there, and a letter of the search answered, within a second each."""
    times = []
    for _ in range(3):
        browser.open("about:blank")
        browser.open(page)
        browser.run("return new Promise(done => requestAnimationFrame(() => setTimeout(done)))")
        times.append(browser.run("return performance.getEntriesByType('navigation')[0].loadEventEnd"))
    search = browser.run("""
      const field = document.getElementById('wanted');
      const times = [];
      for (const text of ['a', 'an', 'ann', '']) {
        const begin = performance.now();
        field.value = text;
        field.dispatchEvent(new Event('input'));
        document.body.getBoundingClientRect();
        times.push(performance.now() - begin);
      }
      return times;""")
    print("open:", [round(t) for t in times], "ms; search:", [round(t) for t in search], "ms")
    expect(browser.run("return document.querySelectorAll('.letter li').length"), 20000, "contacts")
    if min(times) > 1000 or max(search) > 1000:
        raise AssertionError("it takes longer than a second")


def take_pictures(browser, page, folder):
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    for scheme in ("light", "dark"):
        browser.scheme(scheme)
        for width in (1280, 360):
            browser.narrow(width, 900)
            browser.open(page)
            for section in ("content", "calendar", "tasks", "messages", "changes", "settings"):
                browser.run("document.getElementById(arguments[0]).scrollIntoView();", section)
                if section == "content":
                    browser.run("scrollTo(0, 0)")
                time.sleep(0.2)
                browser.picture(folder / f"{section}-{scheme}-{width}.png")


def main(page, names):
    program = shutil.which("chromedriver")
    if not program or not shutil.which("chromium"):
        print("there is no chromium with its chromedriver")
        return 77
    with tempfile.TemporaryDirectory() as folder:
        driver = Driver(program, folder)
        try:
            driver.start("--window-size=1280,900")
            if names[:1] == ["pictures"]:
                take_pictures(driver, page, names[1])
                return 0
            for name in names:
                look = globals()["look_at_" + name]
                driver.open(page)
                driver.complaints()
                if name == "quiet":
                    driver.open(page)
                look(driver, page) if name in ("speed", "without_scripts") else look(driver)
                print(name + ": as it should be")
        except (AssertionError, RuntimeError) as error:
            print(f"{names}: {error}")
            return 1
        finally:
            driver.end()
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2:]))
