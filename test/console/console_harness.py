"""What the console's browser test runs on: the server and the demo as processes, plain HTTP on
loopback, sealed results documents, and headless Chromium with the console's pages in it."""
import contextlib
import hashlib
import json
import os
import re
import signal
import subprocess
import time
import urllib.error
import urllib.request
import uuid

SKIP = 77
CHROMIUM = "/usr/bin/chromium"
CHROMEDRIVER = "/usr/bin/chromedriver"
APP = "demo"
FILM = "device_front_video"
SPEAKER = "speaker_recording"
HOSTILE = '<img src=x onerror="window.__hit=1">'
SESSION_COOKIE = "quorvel_console"
PAGE_SIZE = 20  # runs on a page of the console
# What a /console answer must carry, whatever it is.
CSP_DIRECTIVES = {
    "default-src": "'none'", "script-src": "'self'", "style-src": "'self'",
    "img-src": "'self' data:", "media-src": "'self'", "connect-src": "'self'",
    "form-action": "'self'", "frame-ancestors": "'none'", "base-uri": "'none'",
}
# Bounds, generous for sanitized builds on a busy machine: waits end as soon as things happen.
DEMO_SECONDS = 300
JUDGING_SECONDS = 60
BROWSER_SECONDS = 45
# A film of this length with no codes in it keeps the server's one judging thread busy for some
# seconds (about one per second of film in a release build, more under the sanitizers), so a run
# queued behind it is seen pending.
SLOW_FILM_SECONDS = 20
SLOW_JUDGING_SECONDS = 300
FFMPEG = "/usr/bin/ffmpeg"


class Checks:
    """Named checks; a failure is reported and counted, and the run goes on."""

    def __init__(self):
        self.failed = []
        self.passed = 0

    def check(self, name, ok, detail=""):
        if ok:
            self.passed += 1
            print(f"ok    {name}", flush=True)
        else:
            self.failed.append(f"{name}: {detail}" if detail else name)
            print(f"FAIL  {name}" + (f": {detail}" if detail else ""), flush=True)
        return bool(ok)

    @contextlib.contextmanager
    def step(self, name):
        """A group of checks: an error inside fails it under its name instead of ending the test."""
        try:
            yield
        except Exception as error:  # noqa: BLE001 - any error is this step's failure
            message = str(error).strip().splitlines()
            self.check(name, False, f"{type(error).__name__}: {message[0] if message else ''}")


# --- HTTP on loopback, without redirects or proxies ---------------------------------------------

class _NoRedirect(urllib.request.HTTPRedirectHandler):
    def redirect_request(self, *args, **kwargs):
        return None


_OPENER = urllib.request.build_opener(urllib.request.ProxyHandler({}), _NoRedirect)


def http(method, url, headers=None, body=None):
    """(status, headers, body bytes) of one request; redirects are answers, not followed."""
    request = urllib.request.Request(url, data=body, headers=headers or {}, method=method)
    try:
        with _OPENER.open(request, timeout=30) as response:
            return response.status, response.headers, response.read()
    except urllib.error.HTTPError as error:
        return error.code, error.headers, error.read()


def set_cookies(headers):
    """name -> (value, attributes in lower case) of each Set-Cookie."""
    cookies = {}
    for line in headers.get_all("Set-Cookie") or []:
        first, _, rest = line.partition(";")
        name, _, value = first.strip().partition("=")
        cookies[name] = (value, [a.strip().lower() for a in rest.split(";") if a.strip()])
    return cookies


def sealed(data):
    """A results document as the SDK seals it: SHA-256 of the text of data, then the app ID."""
    text = json.dumps(data, separators=(",", ":"), ensure_ascii=False)
    digest = hashlib.sha256((text + APP).encode()).hexdigest()
    return ('{"sha256":"%s","data":%s}' % (digest, text)).encode()


def leaves(value):
    """The texts of every field of a JSON value, nested ones included."""
    if isinstance(value, dict):
        return [leaf for item in value.values() for leaf in leaves(item)]
    if isinstance(value, list):
        return [leaf for item in value for leaf in leaves(item)]
    if isinstance(value, float) and value.is_integer():
        value = int(value)  # as JavaScript writes it: 76773.0 is "76773"
    return [value if isinstance(value, str) else json.dumps(value)]


class Server:
    def __init__(self, program, folder, key):
        self.key = key
        self.output = os.path.join(folder, "server.out")
        self.errors = os.path.join(folder, "server.err")
        self.storage = os.path.join(folder, "storage")
        env = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")
        with open(self.output, "wb") as out, open(self.errors, "wb") as err:
            self.process = subprocess.Popen(
                # One judging thread: runs are judged one after the other, in upload order.
                [program, "--port", "0", "--storage", self.storage, "--api-key", key,
                 "--judging-threads", "1"],
                stdout=out, stderr=err, stdin=subprocess.DEVNULL, env=env)
        deadline = time.monotonic() + 60
        self.origin = None
        while self.origin is None:
            with open(self.output, encoding="utf-8", errors="replace") as out:
                found = re.search(r"listening on (http://127\.0\.0\.1:\d+)", out.read())
            if found:
                self.origin = found.group(1)
            elif self.process.poll() is not None or time.monotonic() > deadline:
                raise RuntimeError("the server did not start: " + self.stderr())
            else:
                time.sleep(0.1)

    def stderr(self):
        with open(self.errors, encoding="utf-8", errors="replace") as err:
            return err.read()

    def api(self, path):
        status, _, body = http("GET", f"{self.origin}/v3/applications/{APP}/{path}",
                               {"Authorization": f"Bearer {self.key}"})
        return status, json.loads(body) if status == 200 else body

    def upload(self, name, content, media_type):
        boundary = uuid.uuid4().hex
        body = (f'--{boundary}\r\nContent-Disposition: form-data; name="content"; '
                f'filename="{name}"\r\nContent-Type: {media_type}\r\n\r\n').encode() + content + \
            f"\r\n--{boundary}--\r\n".encode()
        status, _, answer = http("POST", f"{self.origin}/v3/applications/{APP}/asset-upload",
                                 {"Authorization": f"Bearer {self.key}",
                                  "Content-Type": f"multipart/form-data; boundary={boundary}"},
                                 body)
        if status != 200:
            raise RuntimeError(f"upload of {name}: {status} {answer[:200]!r}")
        return json.loads(answer)["filename"]

    def asset_url(self, name):
        return f"{self.origin}/assets/{APP}/{name}"

    def judged(self, results, seconds=JUDGING_SECONDS):
        """The run once none of its verdicts is pending (or the bound has passed)."""
        deadline = time.monotonic() + seconds
        while True:
            status, run = self.api(f"runs/{results}")
            pending = status != 200 or any(v.get("verdict") == "pending"
                                           for v in run.get("verdicts", {}).values())
            if not pending or time.monotonic() > deadline:
                return run if status == 200 else {}
            time.sleep(0.5)

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(timeout=20)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        return self.process.returncode


def autopilot_run(program, server, folder):
    """The completion response of one real unattended demo run against the server."""
    documents = os.path.join(folder, "documents")
    os.makedirs(documents)
    env = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "WAYLAND_DISPLAY")}
    env.update(QT_QPA_PLATFORM="offscreen", XDG_DOCUMENTS_DIR=documents,
               ASAN_OPTIONS="detect_leaks=0")
    demo = subprocess.run([program, "--autopilot", "--assets-host", server.origin, "--app-id", APP,
                           "--api-key", server.key], env=env, capture_output=True,
                          stdin=subprocess.DEVNULL, timeout=DEMO_SECONDS)
    lines = [line for line in demo.stdout.decode().splitlines() if line.strip()]
    if demo.returncode != 0 or not lines:
        raise RuntimeError(f"the demo exited with {demo.returncode}: {demo.stderr.decode()[-500:]}")
    return json.loads(lines[-1])


def ffmpeg(folder, name, *arguments):
    """The bytes of a media file that ffmpeg makes from the arguments."""
    path = os.path.join(folder, name)
    made = subprocess.run([FFMPEG, "-nostdin", "-loglevel", "error", "-y", *arguments, path],
                          capture_output=True, timeout=120)
    if made.returncode != 0:
        raise RuntimeError(f"ffmpeg could not make {name}: {made.stderr.decode()[-300:]}")
    with open(path, "rb") as made_file:
        return made_file.read()


def slow_film(folder):
    """A grey film with sound and no codes: the judge looks hard for them, and fails it."""
    seconds = str(SLOW_FILM_SECONDS)
    return ffmpeg(folder, "slow-Video.mp4", "-f", "lavfi", "-i",
                  f"color=c=gray:s=720x1280:r=30:d={seconds}", "-f", "lavfi", "-i",
                  f"sine=d={seconds}", "-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac",
                  "-shortest")


def soundtrack(folder, film):
    """The sound of a film as a recording, the way the SDK uploads one (AAC in an .m4a)."""
    return ffmpeg(folder, "recording.m4a", "-i", film, "-vn", "-c:a", "copy")


# --- the browser ----------------------------------------------------------------------------------

def start_browser(folder):
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service

    options = webdriver.ChromeOptions()
    options.binary_location = CHROMIUM
    for argument in ("--headless=new", "--window-size=1280,900",
                     "--autoplay-policy=no-user-gesture-required", "--disable-dev-shm-usage",
                     "--no-proxy-server", "--no-first-run", "--disable-extensions",
                     "--force-device-scale-factor=1", f"--user-data-dir={folder}/profile"):
        options.add_argument(argument)
    if os.geteuid() == 0:
        options.add_argument("--no-sandbox")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service(CHROMEDRIVER, log_path=f"{folder}/chromedriver.log"),
                              options=options)
    driver.set_page_load_timeout(BROWSER_SECONDS)
    driver.set_script_timeout(BROWSER_SECONDS)
    return driver


class Console:
    """The browser on the console of one server."""

    def __init__(self, driver, origin):
        from selenium.webdriver.support.ui import WebDriverWait
        self.driver = driver
        self.origin = origin
        self.wait = WebDriverWait(driver, BROWSER_SECONDS, poll_frequency=0.1)

    def open(self, path):
        self.driver.get(self.origin + path)
        self.wait.until(lambda d: d.execute_script("return document.readyState") == "complete")

    def js(self, script, *args):
        return self.driver.execute_script(script, *args)

    def until(self, script, *args, seconds=BROWSER_SECONDS):
        """Waits (bounded) until the script returns something true, and returns it."""
        from selenium.common.exceptions import TimeoutException
        from selenium.webdriver.support.ui import WebDriverWait
        wait = self.wait if seconds == BROWSER_SECONDS else \
            WebDriverWait(self.driver, seconds, poll_frequency=0.2)
        try:
            return wait.until(lambda d: d.execute_script(script, *args))
        except TimeoutException:
            raise RuntimeError(f"waited {seconds} s on {self.driver.current_url} for: "
                               + " ".join(script.split())[:120]) from None

    def fetch(self, path):
        return self.driver.execute_async_script(
            "const done = arguments[1];"
            "fetch(arguments[0], {credentials: 'same-origin'})"
            "  .then(r => r.text().then(t => done([r.status, t])))"
            "  .catch(e => done([0, String(e)]));", path)

    def plays(self, selector):
        """'playing' once the media element (muted) plays and its time moves, else what stopped it."""
        outcome = self.driver.execute_async_script("""
            const done = arguments[1], m = document.querySelector(arguments[0]);
            if (!m) { done('no ' + arguments[0]); return; }
            const timer = setTimeout(() => done('no playing event; readyState ' + m.readyState +
                                                (m.error ? ', error ' + m.error.message : '')), 30000);
            m.muted = true;
            m.addEventListener('playing', () => { clearTimeout(timer); done('playing'); }, {once: true});
            m.play().catch(e => { clearTimeout(timer); done('play() refused: ' + e); });""", selector)
        if outcome == "playing":
            start = self.js("return document.querySelector(arguments[0]).currentTime", selector)
            self.until("const m = document.querySelector(arguments[0]);"
                       "return !m.paused && m.currentTime > arguments[1];", selector, start)
        return outcome

    def on_sign_in_page(self):
        return self.js("return !!document.querySelector('form#sign-in #key')")

    def sign_in(self, key):
        self.open("/console")
        field = self.driver.find_element("css selector", "#key")
        field.clear()
        field.send_keys(key)
        self.driver.find_element("css selector", "#sign-in-submit").click()

    def rows(self):
        return self.js("return [...document.querySelectorAll('#runs tbody tr[data-results]')]"
                       ".map(r => r.dataset.results)")

    def verdicts(self, scope):
        """key -> [data-verdict, text] of the .verdict elements inside the scope."""
        return self.js(
            "const s = document.querySelector(arguments[0]); if (!s) return null;"
            "const out = {}; for (const v of s.querySelectorAll('.verdict'))"
            "  out[v.dataset.key] = [v.dataset.verdict, v.textContent.trim()];"
            "return out;", scope)


def css_escape(text):
    return text.replace("\\", "\\\\").replace('"', '\\"')


VERDICT_WORDS = {"pass": "pass", "fail": "fail", "pending": "pending", "unknown": "unknown"}

# Controls on the page: which are tabbable and visible, which have no accessible name, whether the
# one that has focus shows it.
CONTROLS_JS = """
const controls = [...document.querySelectorAll('a[href], button, input, select, textarea')]
  .filter(e => e.type !== 'hidden' && !e.disabled && e.getClientRects().length > 0 &&
               getComputedStyle(e).visibility !== 'hidden');
const name = e => {
  if (e.getAttribute('aria-label')) return e.getAttribute('aria-label').trim();
  if (e.getAttribute('aria-labelledby'))
    return e.getAttribute('aria-labelledby').split(/\\s+/)
      .map(id => (document.getElementById(id) || {}).textContent || '').join(' ').trim();
  const labels = e.labels ? [...e.labels].map(l => l.textContent.trim()).join(' ') : '';
  if (labels) return labels;
  if (e.tagName === 'INPUT' && ['submit', 'button'].includes(e.type)) return (e.value || '').trim();
  return (e.textContent || '').trim();
};
controls.forEach((e, i) => e.setAttribute('data-tab-probe', i));
return controls.map(e => ({id: e.id, tag: e.tagName.toLowerCase(), name: name(e)}));
"""
FOCUS_JS = """
const e = document.activeElement;
if (!e || e === document.body) return null;
const s = getComputedStyle(e);
const outline = s.outlineStyle !== 'none' && parseFloat(s.outlineWidth) > 0;
return {probe: e.getAttribute('data-tab-probe'), id: e.id, tag: e.tagName.toLowerCase(),
        visible: outline || s.boxShadow !== 'none'};
"""


def keyboard_pass(console):
    """Tabs through the page once: (controls, focus stops in order)."""
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.keys import Keys
    controls = console.js(CONTROLS_JS)
    console.js("document.activeElement && document.activeElement.blur(); window.scrollTo(0, 0);")
    stops = []
    for _ in range(len(controls) + 10):
        ActionChains(console.driver).send_keys(Keys.TAB).perform()
        focus = console.js(FOCUS_JS)
        if focus is None or (stops and focus["probe"] == stops[0]["probe"]):
            break
        stops.append(focus)
    return controls, stops
