#!/usr/bin/python3
"""The report list and a report page of a real vorna-backend, looked at in headless Chromium.

Checks what the browser rendered, not the HTML text: the thumbnail and the screenshot decoded,
the charts have a size and their axis labels are shown, the search form filters when it is
submitted, an uploaded HTML or SVG file is downloaded rather than shown, and the console holds
no error and no refused content. Page scripts are switched off in the browser's profile, since
the pages must work without them.

    triage_pages_test.py --backend build/backend/vorna-backend
                         [--vorna-report build/examples/vorna-report/vorna-report]
                         [--pictures DIR]

Exits 0 when every check passed, 1 when one failed, and 77 (skipped) only when Chromium cannot
be started here.
"""

import argparse
import datetime
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request

SKIPPED = 77
CLIENT_ID = "browser-client"
CLIENT_SECRET = "browser-secret"
BUNDLE_ID = "com.example.orderdesk"
OTHER_BUNDLE_ID = "com.example.fieldnotes"
THIRD_BUNDLE_ID = "com.example.stockroom"


class Failure(Exception):
    pass


def check(condition, message):
    if not condition:
        raise Failure(message)
    print("ok:", message)


# ---------------------------------------------------------------------------------------------
# The backend and what it is sent, as the kit sends it.

class Backend:
    def __init__(self, executable, root):
        self.data = os.path.join(root, "data")
        self.log = open(os.path.join(root, "backend.log"), "wb")
        self.process = subprocess.Popen(
            [executable, "--host", "127.0.0.1", "--port", "0", "--data-dir", self.data,
             "--client", CLIENT_ID + ":" + CLIENT_SECRET, "--client", "demo-client:demo-secret"],
            stdout=subprocess.PIPE, stderr=self.log)
        line = self.process.stdout.readline().decode()
        prefix = "vorna-backend listening on "
        if not line.startswith(prefix):
            self.stop()
            raise Failure("vorna-backend did not start: " + line)
        self.url = line[len(prefix):].strip()
        self.token = self.request("POST", "auth/oauth2/token",
                                  ("grant_type=client_credentials&client_id=%s&client_secret=%s"
                                   % (CLIENT_ID, CLIENT_SECRET)).encode(),
                                  {"Content-Type": "application/x-www-form-urlencoded"}
                                  )[1]["access_token"]

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            self.process.wait(timeout=30)
        self.log.close()
        with open(self.log.name, errors="replace") as log:
            return log.read()

    def request(self, method, path, body=None, headers=None):
        request = urllib.request.Request(self.url + path, data=body, method=method,
                                         headers=headers or {})
        try:
            with urllib.request.urlopen(request, timeout=30) as answer:
                data = answer.read()
                kind = answer.headers.get("Content-Type", "")
                return answer, (json.loads(data) if kind.startswith("application/json") else data)
        except urllib.error.HTTPError as error:
            raise Failure("%s %s answered %d: %s" % (method, path, error.code, error.read()))

    def upload(self, name, mime_type, data):
        boundary = "Boundary-6F1C2A7E-3B0D-4E59-9A41-C5D2E8F70B13"
        body = (("--%s\r\nContent-Disposition: form-data; name=\"file\"; filename=\"%s\"\r\n"
                 "Content-Type: %s\r\n\r\n") % (boundary, name, mime_type)).encode()
        body += data + ("\r\n--%s--\r\n" % boundary).encode()
        return self.request("POST", "api/1.0/files", body, {
            "Content-Type": "multipart/form-data; boundary=%s, application/json" % boundary,
            "Authorization": "Bearer " + self.token})[1]["url"]

    def report(self, bundle_id, document):
        body = json.dumps(document, indent=2).encode()
        return self.request("POST", "api/1.0/issue_tracking/apps/" + bundle_id, body, {
            "Accept": "application/json", "Content-Type": "application/json",
            "Authorization": "Bearer " + self.token})[1]["id"]


def stamp(moment):
    """The kit's time format, with the offset of the tester's device (+01:00)."""
    return moment.astimezone(datetime.timezone(datetime.timedelta(hours=1))).strftime(
        "%Y-%m-%dT%H:%M:%S+01:00")


def kit_document(description, email, reported, screenshot_url, file_urls):
    """A report shaped as the kit builds it: text facts, numbers, and the black box's last
    minute sampled every half second and every two seconds."""
    cpu, memory, disk = [], [], []
    for i in range(120):
        moment = reported - datetime.timedelta(seconds=60 - i * 0.5)
        busy = 40 <= i < 54
        cpu.append({"value": "%.3f" % ((82.0 + (i % 5) * 3) if busy else 4.0 + (i * 7) % 6),
                    "time_occurred": stamp(moment)})
        memory.append({"value": "%.3f" % (182.4 + i * 0.21 + (38.0 if i >= 46 else 0)),
                       "time_occurred": stamp(moment)})
        disk.append({"value": "%.3f" % (187679.8 + i * 0.013), "time_occurred": stamp(moment)})
    battery, network, orientation = [], [], []
    for i in range(30):
        moment = reported - datetime.timedelta(seconds=60 - i * 2)
        battery.append({"status": "unplugged", "level": "%.3f" % (62.0 - i * 0.04),
                        "time_occurred": stamp(moment)})
        if 14 <= i < 19:
            network.append({"type": "Offline", "name": "", "time_occurred": stamp(moment)})
        else:
            network.append({"type": "wifi", "name": "Office", "time_occurred": stamp(moment)})
        orientation.append({"value": "portrait" if i < 22 else "landscape",
                            "time_occurred": stamp(moment)})
    sessions = [("0", 3600), ("1", 1500), ("2", 1499), ("0", 420)]
    document = {
        "title": description, "description": description, "tester_email": email,
        "os_version": "12", "app_version": "2.4.1", "build_version": "318",
        "device": "x86_64", "locale": "en_GB", "timezone": "Europe/Berlin",
        "issue_reported_time": stamp(reported), "battery_level": "0.62",
        "battery_status": "1", "available_disk_space": "258019.61328125",
        "used_disk_space": 187680.25390625, "available_memory": 24105.09765625,
        "used_memory": 2523.38671875, "used_application_memory": 231.6875,
        "device_orientation": 1, "screen_height": 844, "screen_width": 390,
        "network_name": "Office", "connection_type": "wifi", "current_view": "OrderDeskWindow",
        "network_type": "wifi", "quick_facts": "Signed in as a store manager",
        "authentication": 1, "os_build_version": "linux",
        "permissions": [{"name": "camera", "state": "on"},
                        {"name": "location", "state": "only_while_using_the_app"}],
        "platform": "iOS", "os": "iOS", "report_type": "manual",
        "sessions": [{"state": state, "time_occurred":
                      stamp(reported - datetime.timedelta(seconds=ago))}
                     for state, ago in sessions],
        "blackbox": {"cpu_usage_history": cpu, "memory_usage_history": memory,
                     "disk_space_usage_history": disk, "battery_usage_history": battery,
                     "network_usage_history": network, "device_orientation_history": orientation},
        "screenshot_url": screenshot_url,
    }
    if file_urls:
        document["files"] = [{"url": url} for url in file_urls]
    return document


# An application screen for the report's screenshot, with the tester's red marks on it as the
# kit's annotation screen draws them.
APP_SCREEN = """<!DOCTYPE html><html><head><meta charset="utf-8"><style>
body { margin: 0; font: 15px/1.4 sans-serif; background: #f3f4f7; color: #222; }
.top { background: #23395d; color: #fff; padding: 18px 16px; font-size: 19px; font-weight: 600; }
.order { background: #fff; margin: 10px 12px; padding: 12px 14px; border-radius: 8px;
         display: flex; justify-content: space-between; box-shadow: 0 1px 2px #0002; }
.total { margin: 18px 12px; padding: 14px; background: #fff; border-radius: 8px;
         font-size: 20px; display: flex; justify-content: space-between; font-weight: 600; }
.save { margin: 12px; padding: 14px; text-align: center; background: #2f6fde; color: #fff;
        border-radius: 8px; font-weight: 600; }
svg { position: absolute; left: 0; top: 0; }
</style></head><body><div class="top">Order 1042</div>
<div class="order"><span>Espresso beans 1 kg</span><span>3 &times; 12.00</span></div>
<div class="order"><span>Paper filters</span><span>1 &times; 4.50</span></div>
<div class="order"><span>Milk frother</span><span>1 &times; 29.90</span></div>
<div class="total"><span>Total</span><span>12.00</span></div>
<div class="save">Save order</div>
<svg width="390" height="780"><path d="M250 236 C 300 214, 372 222, 370 252 C 368 284, 290 290,
 258 276 C 232 262, 236 236, 262 230" fill="none" stroke="#e8222a" stroke-width="5"
 stroke-linecap="round"/><path d="M210 330 L 300 330" stroke="#e8222a" stroke-width="5"
 stroke-linecap="round"/></svg></body></html>"""


# ---------------------------------------------------------------------------------------------
# The browser.

def start_browser(javascript):
    try:
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service
    except ImportError as error:
        print("SKIPPED: Selenium for Python is not installed (%s); install python3-selenium"
              % error)
        sys.exit(SKIPPED)
    chromium = shutil.which("chromium") or shutil.which("chromium-browser")
    driver = shutil.which("chromedriver")
    if not chromium or not driver:
        print("SKIPPED: Chromium cannot be started here: install chromium and chromium-driver")
        sys.exit(SKIPPED)
    options = webdriver.ChromeOptions()
    options.binary_location = chromium
    for argument in ["--headless=new", "--no-sandbox", "--disable-gpu",
                     "--disable-dev-shm-usage", "--window-size=1280,900",
                     "--hide-scrollbars", "--force-device-scale-factor=1"]:
        options.add_argument(argument)
    if not javascript:
        options.add_experimental_option(
            "prefs", {"profile.managed_default_content_settings.javascript": 2})
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    try:
        return webdriver.Chrome(service=Service(driver), options=options)
    except Exception as error:  # Selenium raises its own kinds for a browser that cannot start
        print("SKIPPED: Chromium cannot be started here: %s" % str(error).splitlines()[0])
        sys.exit(SKIPPED)


def app_screenshot(path):
    """The application screen as a PNG, rendered by the same browser."""
    browser = start_browser(javascript=True)
    try:
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": 390, "height": 780, "deviceScaleFactor": 1, "mobile": False})
        page = path + ".html"
        with open(page, "w") as out:
            out.write(APP_SCREEN)
        browser.get("file://" + page)
        browser.save_screenshot(path)
    finally:
        browser.quit()
    with open(path, "rb") as png:
        return png.read()


def console_problems(browser):
    return [entry for entry in browser.get_log("browser")
            if entry["level"] in ("SEVERE", "WARNING")
            or "Content Security Policy" in entry["message"] or "Refused" in entry["message"]]


def visible_box(browser, element):
    return browser.execute_script(
        "const r = arguments[0].getBoundingClientRect();"
        "const s = getComputedStyle(arguments[0]);"
        "return {width: r.width, height: r.height,"
        "        shown: s.visibility !== 'hidden' && s.display !== 'none' && s.opacity !== '0'};",
        element)


def submit_search(browser, expected_in_url):
    """Submits the filter form with its button and waits for the list it leads to."""
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import WebDriverWait
    browser.find_element(By.CSS_SELECTOR, "form.filter button").click()
    WebDriverWait(browser, 20).until(
        lambda b: expected_in_url in b.current_url and
        b.execute_script("return document.readyState") == "complete")


def full_page_picture(browser, path):
    """The whole page, however long, as one picture 1280 pixels wide."""
    for _ in range(3):  # a taller viewport can change the layout, and so the height
        height = browser.execute_script("return document.documentElement.scrollHeight")
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": 1280, "height": min(int(height), 8000), "deviceScaleFactor": 1,
            "mobile": False})
        time.sleep(0.2)
    browser.save_screenshot(path)
    browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})


# ---------------------------------------------------------------------------------------------

def run(args, root):
    screenshot = app_screenshot(os.path.join(root, "screenshot.png"))
    backend = Backend(args.backend, root)
    try:
        result = check_pages(args, root, backend, screenshot)
    finally:
        log = backend.stop()
    # A sanitizer build of the backend reports what it found on its standard error.
    check("Sanitizer" not in log and "runtime error" not in log,
          "the backend stopped with nothing for a sanitizer to report")
    return result


def check_pages(args, root, backend, screenshot):
    now = datetime.datetime.now(datetime.timezone.utc).replace(microsecond=0)
    screenshot_url = backend.upload("screenshot.png", "image/png", screenshot)
    log_url = backend.upload("console.log", "text/plain",
                             b"12:01:07 OrderDesk: total recomputed from 1 line\n")
    html_url = backend.upload("trace.html", "text/html",
                              b"<html><title>ran on the page</title><script>1</script></html>")
    svg_url = backend.upload("sketch.svg", "image/svg+xml",
                             b"<svg xmlns='http://www.w3.org/2000/svg'><title>ran on the page"
                             b"</title><script>1</script></svg>")
    placeholder_url = backend.upload("emptyScreenshot.jpg", "image/jpeg", b"\xff\xd8\xff\xe0")

    older = kit_document("Crash when rotating the notes list", "sam@example.com",
                         now - datetime.timedelta(hours=5), placeholder_url, [])
    older["blackbox"]["cpu_usage_history"] = [
        {"value": "0.000", "time_occurred": stamp(now - datetime.timedelta(hours=5, seconds=s))}
        for s in range(9, 0, -1)]
    backend.report(OTHER_BUNDLE_ID, older)
    # A few more, as a list holds them after a day of testing.
    for hours, bundle_id, description, email, picture in [
            (4, THIRD_BUNDLE_ID, "Prices show three decimals on the receipt", "", False),
            (3, BUNDLE_ID, "Search field loses focus after the first letter", "jo@example.com",
             True),
            (2, THIRD_BUNDLE_ID, "Sync never finishes on hotel Wi-Fi", "kim@example.com", True),
            (1, BUNDLE_ID, "Dark mode: the Save button cannot be seen", "", True)]:
        backend.report(bundle_id, kit_document(
            description, email, now - datetime.timedelta(hours=hours),
            screenshot_url if picture else placeholder_url, []))
    if args.vorna_report:
        made_by_kit(args.vorna_report, backend, root)
    report_id = backend.report(BUNDLE_ID, kit_document(
        "Total ignores the quantity\nThe total reads 12.00 for three bags of beans; it should be "
        "36.00 plus the rest of the order.", "alex.tester@example.com", now, screenshot_url,
        [log_url, html_url, svg_url]))
    total = 7 if args.vorna_report else 6

    browser = start_browser(javascript=False)
    try:
        from selenium.webdriver.common.by import By
        from selenium.webdriver.support.ui import Select, WebDriverWait

        browser.get("data:text/html,<title>before</title><script>document.title='ran'</script>")
        check(browser.title == "before", "the browser runs no page script")

        browser.get(backend.url)
        rows = browser.find_elements(By.CSS_SELECTOR, "table.reports tbody tr")
        check(len(rows) == total, "the list shows every report (%d rows)" % len(rows))
        first = rows[0]
        check(first.find_element(By.CSS_SELECTOR, "a.title").text == "Total ignores the quantity",
              "the newest report comes first, with its description's first line")
        thumb = first.find_element(By.CSS_SELECTOR, "img.thumb")
        check(browser.execute_script("return arguments[0].complete && arguments[0].naturalWidth",
                                     thumb) == 390, "the thumbnail's picture decoded")
        box = visible_box(browser, thumb)
        check(box["width"] == 48 and box["height"] == 72, "the thumbnail is sized by the page")
        check("alex.tester@example.com" in first.text and BUNDLE_ID in first.text,
              "the row names the application and the e-mail")
        if args.pictures:
            full_page_picture(browser, os.path.join(args.pictures, "triage-list.png"))

        Select(browser.find_element(By.NAME, "bundle_id")).select_by_value(OTHER_BUNDLE_ID)
        submit_search(browser, "bundle_id=" + OTHER_BUNDLE_ID)
        rows = browser.find_elements(By.CSS_SELECTOR, "table.reports tbody tr")
        check(len(rows) == 1 and "Crash when rotating" in rows[0].text,
              "the application filter leaves that application's report")
        check(not rows[0].find_elements(By.CSS_SELECTOR, "img"),
              "a report sent without a screenshot shows no picture")
        Select(browser.find_element(By.NAME, "bundle_id")).select_by_value("")
        search = browser.find_element(By.NAME, "q")
        search.clear()
        search.send_keys("ALEX.TESTER")
        submit_search(browser, "q=ALEX.TESTER")
        rows = browser.find_elements(By.CSS_SELECTOR, "table.reports tbody tr")
        check("q=ALEX.TESTER" in browser.current_url and len(rows) == 1 and
              "Total ignores" in rows[0].text, "the search finds the report by its e-mail")

        rows[0].find_element(By.CSS_SELECTOR, "a.title").click()
        WebDriverWait(browser, 20).until(
            lambda b: b.current_url.endswith("/reports/%d" % report_id) and
            b.find_elements(By.CSS_SELECTOR, "figure.screenshot img"))
        check(True, "the row opens its report")
        if args.pictures:
            full_page_picture(browser, os.path.join(args.pictures, "triage-report.png"))
        shot = browser.find_element(By.CSS_SELECTOR, "figure.screenshot img")
        natural = browser.execute_script("return arguments[0].naturalWidth", shot)
        shown = shot.get_property("width")
        check(natural == 390 and shown == 390,
              "the screenshot is shown at its full size (%s pixels, %s shown)" % (natural, shown))
        charts = browser.find_elements(By.CSS_SELECTOR, "svg.chart")
        check(len(charts) >= 7, "the session and the black box are drawn (%d charts)" % len(charts))
        for chart in charts:
            box = visible_box(browser, chart)
            title = chart.find_element(By.TAG_NAME, "title").get_attribute("textContent")
            check(box["width"] > 300 and box["height"] > 40, "chart %s has a size" % title)
        cpu = [c for c in charts
               if c.find_element(By.TAG_NAME, "title").get_attribute("textContent") == "CPU load"]
        check(len(cpu) == 1, "there is a CPU chart")
        labels = [t for t in cpu[0].find_elements(By.CSS_SELECTOR, ".axis.y text")]
        texts = [t.get_attribute("textContent") for t in labels]
        check("0 %" in texts and "100 %" in texts, "the CPU axis runs from 0 % to 100 %")
        check(all(visible_box(browser, t)["width"] > 0 and visible_box(browser, t)["shown"]
                  for t in labels), "the CPU axis labels are shown")
        times = cpu[0].find_elements(By.CSS_SELECTOR, ".axis.x text")
        check(len(times) >= 3 and all(visible_box(browser, t)["width"] > 0 for t in times),
              "the time axis has labelled ticks")
        facts = browser.find_element(By.CSS_SELECTOR, ".groups").text
        check("62 %" in facts and "Unplugged" in facts and "Portrait" in facts and
              "Wi-Fi · Office" in facts and "GB" in facts, "the facts are in words and units")
        attachments = browser.find_elements(By.CSS_SELECTOR, "ul.files a[download]")
        check([a.text for a in attachments] == ["console.log", "trace.html", "sketch.svg"],
              "the attachments are download links")

        for link in attachments[1:]:
            page = browser.current_url
            browser.get(link.get_attribute("href"))
            time.sleep(0.5)
            check(browser.current_url == page and "ran on the page" not in browser.page_source,
                  "%s is downloaded, not shown" % link.text)
            attachments = browser.find_elements(By.CSS_SELECTOR, "ul.files a[download]")

        if args.vorna_report:
            browser.get(backend.url + "reports")
            browser.find_element(By.PARTIAL_LINK_TEXT, "Sent by the browser test").click()
            kit_charts = browser.find_elements(By.CSS_SELECTOR, "svg.chart")
            check(len(kit_charts) >= 3 and all(visible_box(browser, c)["height"] > 40
                                               for c in kit_charts),
                  "the page of a report the kit made draws its histories")

        problems = console_problems(browser)
        check(not problems, "the console holds no error and no refused content: %s" % problems)
    finally:
        browser.quit()
    return 0


def made_by_kit(executable, backend, root):
    """A report the kit itself makes, with its real (headless) black box."""
    environment = dict(os.environ, VORNA_API_URL=backend.url, HOME=os.path.join(root, "home"),
                       XDG_DATA_HOME=os.path.join(root, "xdg"))
    plist = os.path.join(os.path.dirname(os.path.abspath(executable)), "Info.plist")
    command = [executable, "--delay", "3", "--timeout", "60",
               "--description", "Sent by the browser test"]
    if os.path.exists(plist):
        command[1:1] = ["--info-plist", plist]
    result = subprocess.run(command, env=environment, capture_output=True, timeout=120)
    check(b"the backend accepted the report" in result.stdout,
          "vorna-report delivered a report: %s" % result.stderr[-400:])
    if result.returncode != 0:
        print("note: vorna-report exited with status %d after its report was accepted"
              % result.returncode)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--backend", required=True)
    parser.add_argument("--vorna-report")
    parser.add_argument("--pictures", help="where to save pictures of the pages")
    args = parser.parse_args()
    if args.vorna_report and not os.path.exists(args.vorna_report):
        print("note: %s is not built; the report the kit makes itself is left out"
              % args.vorna_report)
        args.vorna_report = None
    if args.pictures:
        os.makedirs(args.pictures, exist_ok=True)
    root = tempfile.mkdtemp(prefix="vorna-browser-")
    try:
        return run(args, root)
    except Failure as failure:
        print("FAILED:", failure)
        log = os.path.join(root, "backend.log")
        if os.path.exists(log):
            print("backend log:\n" + open(log, errors="replace").read()[-4000:])
        return 1
    finally:
        shutil.rmtree(root, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
