#!/usr/bin/python3
"""The assets server's console in a real browser.

Starts quorvel-assets-server on a free loopback port with fresh storage, makes a real autopilot run
with quorvel-demo, adds a run whose device name is markup and one with a broken seal, then drives
headless Chromium through the console: sign-in, the runs list, a run with its film, a run still
being judged (queued behind a slow film) with a recording, sign-out, the security headers, and the
layout at 320 px and at 200% zoom. Every check is named; exit 0 when all
pass, 1 when any fails, 77 (skipped) when Chromium or its driver is missing.

    console_test.py SERVER DEMO [--screenshots DIR]
"""
import argparse
import contextlib
import json
import os
import re
import shutil
import sys
import tempfile
import urllib.parse
import uuid

sys.dont_write_bytecode = True  # nothing left behind in the source tree
from console_harness import (  # noqa: E402 - after the line above
    SKIP, CHROMIUM, CHROMEDRIVER, APP, FILM, PAGE_SIZE, SPEAKER, SLOW_JUDGING_SECONDS, HOSTILE, SESSION_COOKIE, CSP_DIRECTIVES, Checks, http,
    set_cookies, sealed, leaves, Server, autopilot_run, slow_film, soundtrack, start_browser,
    Console, css_escape,
    VERDICT_WORDS, keyboard_pass)

# --- the checks -----------------------------------------------------------------------------------

def run_checks(checks, arguments, folder, started):
    key = "console-" + uuid.uuid4().hex
    server = started["server"] = Server(arguments.server, folder, key)

    # The runs: a real one, one whose device name is markup (its film claimed with another start
    # code, so it fails), and the real one's data with a broken seal.
    response = autopilot_run(arguments.demo, server, folder)
    real = response["uploaded_results_info"]["filename"]
    real_run = server.judged(real)
    checks.check("autopilot run's film is judged pass by the runs API",
                 real_run.get("verdicts", {}).get(FILM, {}).get("verdict") == "pass",
                 json.dumps(real_run.get("verdicts", {}).get(FILM)))
    with open(os.path.join(server.storage, APP, real), "rb") as stored:
        data = json.loads(stored.read())["data"]
    hostile_data = json.loads(json.dumps(data))
    hostile_data["device_info"]["device_name"] = HOSTILE
    hostile_data["tests_results"][FILM]["start_qr_code"] = "start;imei=000000000000000;x"
    hostile = server.upload("jsonResults.json", sealed(hostile_data), "application/json")
    unsealed = server.upload("jsonResults.json",
                             sealed(data).replace(b'"sha256":"', b'"sha256":"00', 1),
                             "application/json")
    hostile_run, unsealed_run = server.judged(hostile), server.judged(unsealed)
    checks.check("hostile run's film is judged fail by the runs API",
                 hostile_run.get("verdicts", {}).get(FILM, {}).get("verdict") == "fail",
                 json.dumps(hostile_run.get("verdicts")))
    runs = {real: real_run, hostile: hostile_run, unsealed: unsealed_run}
    secrets = [real, hostile, unsealed, data["device_info"]["device_name"], HOSTILE,
               data["tests_results"][FILM]["start_qr_code"]]
    real_path = f"/console/run?app={APP}&results={urllib.parse.quote(real)}"

    driver = started["driver"] = start_browser(folder)
    console = Console(driver, server.origin)

    # Signed out: the pages are the sign-in page and hold none of the runs' data.
    for path in ("/console/runs", real_path):
        with checks.step(f"signed out, {path} shows no data"):
            console.open(path)
            shown = [s for s in secrets if s in driver.page_source]
            checks.check(f"signed out, {path} leads to the sign-in page", console.on_sign_in_page(),
                         driver.current_url)
            checks.check(f"signed out, {path} shows no run data", not shown, f"shows {shown}")
    with checks.step("signed out, /console/api/runs answers 401"):
        status, body = console.fetch(f"/console/api/runs?app={APP}")
        checks.check("signed out, /console/api/runs answers 401 without data",
                     status == 401 and real not in body, f"{status} {body[:200]}")

    # A wrong key: refused, with the sign-in page and its alert again.
    with checks.step("a wrong key is refused"):
        console.sign_in("not-" + key)
        console.until("const e = document.getElementById('sign-in-error');"
                      "return e && e.getClientRects().length > 0;")
        alert = console.js("return document.getElementById('sign-in-error').getAttribute('role')")
        checks.check("a wrong key shows #sign-in-error (role=alert) on the sign-in page",
                     alert == "alert" and console.on_sign_in_page(), f"role={alert}")
        checks.check("a wrong key sets no session cookie",
                     driver.get_cookie(SESSION_COOKIE) is None, str(driver.get_cookie(SESSION_COOKIE)))
        console.open("/console/runs")
        checks.check("a wrong key does not sign in", console.on_sign_in_page() and
                     real not in driver.page_source, driver.current_url)

    # The right key: the runs page, every run with its verdicts as the API has them.
    with checks.step("the key signs in to the runs page"):
        console.sign_in(key)
        console.until("return document.querySelector(arguments[0])",
                      f'#runs tr[data-results="{css_escape(real)}"]')
        checks.check("the key signs in to /console/runs", urllib.parse.urlparse(
            driver.current_url).path == "/console/runs", driver.current_url)
        if console.js("return document.getElementById('app').value") != APP:
            console.js("const s = document.getElementById('app'); s.value = arguments[0];"
                       "s.dispatchEvent(new Event('change', {bubbles: true}));", APP)
        console.until("return document.querySelectorAll('#runs tr[data-results]').length >= 3")
        checks.check("runs page lists the three runs", set(console.rows()) == set(runs),
                     str(console.rows()))
        film = console.verdicts(f'#runs tr[data-results="{css_escape(real)}"]') or {}
        checks.check("autopilot run's row shows its film verdict pass, in words",
                     film.get(FILM, [None])[0] == "pass" and "pass" in film[FILM][1].lower(),
                     str(film))
        shown = {name: console.verdicts(f'#runs tr[data-results="{css_escape(name)}"]')
                 for name in runs}
        wrong = {name: (shown[name], run.get("verdicts")) for name, run in runs.items()
                 if {k: v[0] for k, v in (shown[name] or {}).items()} !=
                 {k: v["verdict"] for k, v in run.get("verdicts", {}).items()} or
                 any(VERDICT_WORDS[v[0]] not in v[1].lower() for v in (shown[name] or {}).values())}
        checks.check("each row's verdicts are the API's, in words", not wrong, str(wrong))
        link = console.js("const a = document.querySelector(arguments[0]); return a && a.href;",
                          f'#runs tr[data-results="{css_escape(real)}"] a.run-link')
        checks.check("the row links to its run page", link == server.origin + real_path or (
            link and urllib.parse.parse_qs(urllib.parse.urlparse(link).query).get("results")
            == [real]), str(link))
        os.makedirs(arguments.screenshots, exist_ok=True)
        driver.save_screenshot(os.path.join(arguments.screenshots, "console-runs.png"))

    signed_in = driver.get_cookie(SESSION_COOKIE) is not None

    def require_session():
        if not signed_in:
            raise RuntimeError("not run: the browser could not sign in")

    with checks.step("failed only filters the runs"):
        require_session()
        failing = {name for name, run in runs.items()
                   if any(v.get("verdict") == "fail" for v in run.get("verdicts", {}).values())}
        driver.find_element("css selector", "#failed-only").click()
        console.until("return document.getElementById('failed-only').checked")
        try:
            console.until("return arguments[0].length === document.querySelectorAll("
                          "'#runs tr[data-results]').length", sorted(failing))
        except Exception:  # noqa: BLE001 - the check below says what is shown
            pass
        checks.check("failed only shows just the runs with a fail verdict",
                     set(console.rows()) == failing, f"{console.rows()} instead of {failing}")
        driver.find_element("css selector", "#failed-only").click()
        console.until("return document.querySelectorAll('#runs tr[data-results]').length >= 3")
        checks.check("unchecking failed only shows every run again",
                     set(console.rows()) == set(runs), str(console.rows()))

    # Headers, sessions and CSRF, seen by a plain client.
    session = driver.get_cookie(SESSION_COOKIE)
    cookie = f"{SESSION_COOKIE}={session['value']}" if session else ""
    check_headers(checks, server, cookie, real_path)
    check_sign_in_guards(checks, server, key)

    # The autopilot run's page: the device, every result with its verdict, the seal, the film.
    seal = ""
    with checks.step("the run page shows the run"):
        require_session()
        console.open(real_path)
        console.until("const d = document.getElementById('device');"
                      "return d && d.textContent.includes(arguments[0]);",
                      data["device_info"]["device_name"])
        console.until("return document.querySelectorAll('#results article.result').length >= "
                      "arguments[0]", len(data["tests_results"]))
        heading = console.js("const h = document.querySelector('h1'); return h && h.textContent")
        checks.check("run page's <h1> names the run", heading and real in heading, str(heading))
        device = console.js("return document.getElementById('device').textContent")
        missing = [leaf for leaf in leaves(data["device_info"]) if leaf not in device]
        checks.check("#device lists every field of the device record", not missing,
                     f"missing {missing[:5]}")
        articles = console.js("return [...document.querySelectorAll('#results article.result')]"
                              ".map(a => a.dataset.key)")
        checks.check("#results has one article per result",
                     sorted(articles) == sorted(data["tests_results"]), str(articles))
        check_result_verdicts(checks, console, real_run, "autopilot run")
        seal = console.js("const s = document.getElementById('seal'); return s && s.textContent")
        checks.check("#seal is shown", bool(seal and seal.strip()), str(seal))
        check_film(checks, console, real_run)
        # The whole page, the film showing the frame of its start code.
        console.js("const b = document.querySelector('button.code-frame'); if (b) b.click();"
                   "window.scrollTo(0, 0);")
        console.until("const v = document.getElementById('film'),"
                      "      b = document.querySelector('button.code-frame');"
                      "return !v || !b || (v.paused && !v.seeking && v.readyState >= 2 &&"
                      "  Math.abs(v.currentTime - parseFloat(b.dataset.at)) < 0.05);")
        height = min(4000, max(900, console.js("return document.documentElement.scrollHeight")))
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": 1280, "height": height, "deviceScaleFactor": 1, "mobile": False})
        console.js("window.scrollTo(0, 0);")
        driver.save_screenshot(os.path.join(arguments.screenshots, "console-run.png"))
        driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})

    with checks.step("the broken seal is told apart"):
        require_session()
        console.open(f"/console/run?app={APP}&results={urllib.parse.quote(unsealed)}")
        console.until("const s = document.getElementById('seal');"
                      "return s && s.textContent.trim() && "
                      "document.querySelectorAll('#results article.result').length > 0")
        broken = console.js("return document.getElementById('seal').textContent")
        checks.check("#seal says something else for a broken seal",
                     broken.strip() != seal.strip(), f"both say {broken!r}")
        check_result_verdicts(checks, console, unsealed_run, "broken-seal run")

    # The hostile device name is text, never markup.
    with checks.step("a device name that is markup stays text"):
        require_session()
        console.open(f"/console/run?app={APP}&results={urllib.parse.quote(hostile)}")
        # Filled: the record's other fields are there, whatever became of the name.
        console.until("const d = document.getElementById('device');"
                      "return d && d.textContent.includes(arguments[0]) && "
                      "document.querySelectorAll('#results .verdict').length > 0;",
                      next(v for k, v in data["device_info"].items()
                           if k != "device_name" and isinstance(v, str) and len(v) >= 3))
        # Give a stray element's load error its moment to fire before looking.
        console.driver.execute_async_script("setTimeout(arguments[0], 500)")
        checks.check("hostile device name is shown literally in #device", console.js(
            "return document.getElementById('device').textContent.includes(arguments[0])",
            HOSTILE))
        checks.check("hostile device name ran no script",
                     console.js("return typeof window.__hit") == "undefined")
        images = console.js("return [...document.querySelectorAll('img')]"
                            ".filter(i => i.getAttribute('src') === 'x' || i.hasAttribute('onerror'))"
                            ".length")
        checks.check("hostile device name made no <img>", images == 0, f"{images} found")
        check_result_verdicts(checks, console, hostile_run, "hostile run")

    with checks.step("a run still being judged updates by itself"):
        require_session()
        check_pending_run(checks, console, server, data, folder)

    with checks.step("the runs page pages through every run"):
        require_session()
        check_paging(checks, console, server, data)

    with checks.step("no script or policy errors in the browser"):
        errors = [entry["message"] for entry in driver.get_log("browser")
                  if "Content Security Policy" in entry["message"] or "Uncaught" in
                  entry["message"]]
        checks.check("no script or Content-Security-Policy errors in the browser", not errors,
                     "; ".join(errors[:3]))

    # Narrow and zoomed: no sideways scrolling, every control reachable by Tab with a name.
    for label, width, height, scale in (("320 px wide", 320, 640, 1), ("200% zoom", 640, 450, 2)):
        with checks.step(f"runs page at {label}"):
            require_session()
            console.open("/console/runs")
            driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": width, "height": height, "deviceScaleFactor": scale, "mobile": False})
            console.until("return document.querySelectorAll('#runs tr[data-results]').length >= 3")
            overflow = console.js("const e = document.documentElement;"
                                  "return [e.scrollWidth, e.clientWidth];")
            checks.check(f"runs page at {label} has no horizontal scroll",
                         overflow[0] <= overflow[1], f"scrollWidth {overflow[0]} > {overflow[1]}")
            controls, stops = keyboard_pass(console)
            reached = {stop["probe"] for stop in stops}
            unreached = [c["id"] or c["tag"] for i, c in enumerate(controls)
                         if str(i) not in reached]
            checks.check(f"runs page at {label}: every control is reached by Tab",
                         not unreached and len(controls) > 0, f"not reached: {unreached}")
            unnamed = [c["id"] or c["tag"] for c in controls if not c["name"]]
            checks.check(f"runs page at {label}: every control has an accessible name",
                         not unnamed, f"unnamed: {unnamed}")
            unseen = [s["id"] or s["tag"] for s in stops if not s["visible"]]
            checks.check(f"runs page at {label}: focus is visible on every control",
                         not unseen, f"no focus ring on {unseen}")
            driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})

    # Signing out ends the session, for the browser and for anyone holding its cookie.
    with checks.step("sign-out ends the session"):
        require_session()
        status, _, _ = http("GET", f"{server.origin}/console/api/runs?app={APP}",
                            {"Cookie": cookie})
        checks.check("the session cookie works for a plain client while signed in",
                     status == 200, f"{status}")
        console.open("/console/runs")
        console.until("return document.getElementById('sign-out')")
        driver.find_element("css selector", "#sign-out").click()
        console.until("return !!document.querySelector('form#sign-in #key')")
        checks.check("sign-out leads to /console", urllib.parse.urlparse(
            driver.current_url).path == "/console", driver.current_url)
        for path in ("/console/runs", real_path):
            console.open(path)
            shown = [s for s in secrets if s in driver.page_source]
            checks.check(f"signed out again, {path} shows the sign-in page and no data",
                         console.on_sign_in_page() and not shown, f"shows {shown}")
        status, body = console.fetch(f"/console/api/runs?app={APP}")
        checks.check("signed out again, /console/api/runs answers 401", status == 401,
                     f"{status} {body[:200]}")
        status, _, _ = http("GET", f"{server.origin}/console/api/runs?app={APP}",
                            {"Cookie": cookie})
        checks.check("the old session cookie replayed gets 401", status == 401, f"{status}")


def check_pending_run(checks, console, server, data, folder):
    """A run queued behind a slow judgement: its page says so, plays its recording, and takes each
    verdict in place as it arrives, without reloading or restarting its media."""
    film = data["tests_results"][FILM]
    slow = json.loads(json.dumps(data))
    slow["tests_results"][FILM]["url"] = server.asset_url(
        server.upload("rendered-Video.mp4", slow_film(folder), "video/mp4"))
    stored_film = os.path.join(server.storage, APP, film["url"].rsplit("/", 1)[1])
    recording = server.upload("recording.m4a", soundtrack(folder, stored_film), "audio/mp4")
    waiting = json.loads(json.dumps(data))
    waiting["tests_results"][SPEAKER] = {"success": True, "timestamp": film["timestamp"],
                                         "url": server.asset_url(recording), "version": "1"}
    server.upload("jsonResults.json", sealed(slow), "application/json")
    results = server.upload("jsonResults.json", sealed(waiting), "application/json")

    console.open(f"/console/run?app={APP}&results={urllib.parse.quote(results)}")
    console.until("return document.querySelectorAll('#results article.result').length >= "
                  "arguments[0]", len(waiting["tests_results"]))
    shown = console.js("return [...document.querySelectorAll('#results .verdict')]"
                       ".map(v => [v.dataset.verdict, v.textContent])")
    note = console.js("const n = document.getElementById('pending-note'); return n && n.textContent")
    checks.check("a run queued behind a slow film shows its verdicts pending, in words, with a note",
                 len(shown) == sum("url" in r for r in waiting["tests_results"].values()) and note
                 and all(
                     v == "pending" and VERDICT_WORDS["pending"] in words.lower()
                     for v, words in shown) and "judged" in note,
                 f"{shown}, note {note!r} (judged before the page showed it? a longer slow film)")
    console.js("window.__samePage = true; document.getElementById('film').__same = true;"
               "document.querySelector('audio.recording').__same = true;")
    playing = console.plays("audio.recording")
    checks.check("the recording plays in the browser", playing == "playing", str(playing))

    console.until("return !document.getElementById('pending-note') && [...document.querySelectorAll("
                  "'#results .verdict')].every(v => v.dataset.verdict !== 'pending')",
                  seconds=SLOW_JUDGING_SECONDS)
    kept = console.js("return [window.__samePage === true,"
                      "        document.getElementById('film').__same === true,"
                      "        document.querySelector('audio.recording').__same === true]")
    checks.check("the verdicts arrive in the same page, its film and recording elements kept",
                 kept == [True, True, True], f"page, film, recording kept: {kept}")
    check_result_verdicts(checks, console, server.judged(results), "the run judged while shown")


def check_paging(checks, console, server, data):
    """More runs than a page: Older and Newer walk them all, newest first, each once."""
    plain = {"device_info": data["device_info"], "tests_results": {
        key: result for key, result in data["tests_results"].items() if "url" not in result}}
    for _ in range(PAGE_SIZE):  # nothing in them to judge
        server.upload("jsonResults.json", sealed(plain), "application/json")
    status, listed = server.api(f"runs?limit={3 * PAGE_SIZE}")
    every = [run["results"] for run in listed["runs"]] if status == 200 else []
    console.open(f"/console/runs?app={APP}")
    pages = []
    for _ in range(len(every) // PAGE_SIZE + 1):
        console.until("return document.querySelectorAll('#runs tr[data-results]').length > 0 && "
                      "!(document.getElementById('status').textContent || '').includes('Loading')")
        pages.append(console.rows())
        if not console.js("return !document.getElementById('older').disabled"):
            break
        first = pages[-1][0]
        console.driver.find_element("css selector", "#older").click()
        console.until("const r = document.querySelector('#runs tr[data-results]');"
                      "return r && r.dataset.results !== arguments[0];", first)
    checks.check(f"Older runs walks all {len(every)} runs, newest first, {PAGE_SIZE} a page",
                 len(every) > PAGE_SIZE and [r for page in pages for r in page] == every and
                 all(len(page) == PAGE_SIZE for page in pages[:-1]),
                 f"pages of {[len(page) for page in pages]} for {len(every)} runs")
    if len(pages) > 1:
        console.driver.find_element("css selector", "#newer").click()
        console.until("const r = document.querySelector('#runs tr[data-results]');"
                      "return r && r.dataset.results === arguments[0];", pages[-2][0])
        checks.check("Newer runs goes back to the page before", console.rows() == pages[-2],
                     str(console.rows()[:3]))


def check_result_verdicts(checks, console, run, name):
    """Each verdict of the run as an article's .verdict, with the why unless it passed."""
    shown = console.js(
        "const out = {}; for (const a of document.querySelectorAll('#results article.result')) {"
        "  const v = a.querySelector('.verdict'), w = a.querySelector('.why');"
        "  out[a.dataset.key] = {verdict: v && v.dataset.verdict, words: v && v.textContent,"
        "                        why: w && w.textContent}; }"
        "return out;")
    wrong = []
    for result, verdict in run.get("verdicts", {}).items():
        got = shown.get(result) or {}
        if got.get("verdict") != verdict["verdict"] or \
                VERDICT_WORDS[verdict["verdict"]] not in (got.get("words") or "").lower():
            wrong.append(f"{result}: {got.get('verdict')} ({got.get('words')!r}) for "
                         f"{verdict['verdict']}")
        elif verdict["verdict"] != "pass" and verdict.get("why", "") not in (got.get("why") or "")\
                or verdict["verdict"] != "pass" and not got.get("why"):
            wrong.append(f"{result}: why {got.get('why')!r} for {verdict.get('why')!r}")
    checks.check(f"{name}: each result shows the API's verdict in words, and why unless passed",
                 not wrong and run.get("verdicts"), "; ".join(wrong) or "no verdicts")


def check_film(checks, console, run):
    """The film plays, and each code's button shows its frame."""
    source = console.js("const v = document.querySelector('video#film');"
                        "return v && v.getAttribute('src');")
    checks.check("the film is a video#film from /console/media/",
                 bool(source) and source.startswith("/console/media/"), str(source))
    if not source:
        return
    status, headers, _ = http("GET", console.origin + source, {"Range": "bytes=0-99"})
    checks.check("the film is not served without a session", status == 401, f"{status}")
    playing = console.plays("video#film")
    checks.check("the film plays in the browser", playing == "playing", str(playing))
    details = run.get("verdicts", {}).get(FILM, {}).get("details", {})
    expected = sorted(details[k] for k in ("start_code_at", "end_code_at") if k in details)
    frames = console.js("return [...document.querySelectorAll('button.code-frame')]"
                        ".map(b => parseFloat(b.dataset.at))")
    checks.check("a .code-frame button for each code read",
                 len(frames) == len(expected) and all(
                     abs(a - b) < 0.01 for a, b in zip(sorted(frames), expected)),
                 f"{frames} for {expected}")
    missed = []
    for index, at in enumerate(frames):
        console.driver.find_elements("css selector", "button.code-frame")[index].click()
        try:
            console.until("const v = document.getElementById('film');"
                          "return v.paused && !v.seeking && Math.abs(v.currentTime - arguments[0])"
                          " < 0.05;", at)
        except Exception:  # noqa: BLE001 - named below
            now = console.js("return document.getElementById('film').currentTime")
            missed.append(f"{at}: at {now}")
    checks.check("each .code-frame button seeks the film there and pauses",
                 frames and not missed, "; ".join(missed) or "no buttons")


def check_headers(checks, server, cookie, real_path):
    """Every /console answer's safety headers, table-driven; what needs a session gets 401."""
    with_session = {"Cookie": cookie}
    cases = [  # name, path, headers, statuses expected
        ("sign-in page", "/console", {}, {200}),
        ("runs page, signed out", "/console/runs", {}, {303}),
        ("run page, signed out", real_path, {}, {303}),
        ("runs page", "/console/runs", with_session, {200}),
        ("run page", real_path, with_session, {200}),
        ("script", "/console/static/console.js", {}, {200}),
        ("style sheet", "/console/static/console.css", {}, {200}),
        ("runs API, signed out", f"/console/api/runs?app={APP}", {}, {401}),
        ("runs API", f"/console/api/runs?app={APP}", with_session, {200}),
        ("session API, signed out", "/console/api/session", {}, {401}),
        ("apps API, signed out", "/console/api/apps", {}, {401}),
        ("run API, signed out", real_path.replace("/console/run", "/console/api/run"), {}, {401}),
        ("media, signed out", "/console/media/demo/x.mp4", {}, {401}),
    ]
    for name, path, headers, statuses in cases:
        with checks.step(f"headers of {name}"):
            status, answer, _ = http("GET", server.origin + path, headers)
            policy = {d.split()[0]: " ".join(d.split()[1:])
                      for d in (answer.get("Content-Security-Policy") or "").split(";") if d.split()}
            problems = [f"status {status}"] if status not in statuses else []
            problems += [f"CSP {d} is {policy.get(d)!r}" for d, v in CSP_DIRECTIVES.items()
                         if policy.get(d) != v]
            if "unsafe-inline" in (answer.get("Content-Security-Policy") or ""):
                problems.append("CSP allows 'unsafe-inline'")
            for header, value in (("X-Content-Type-Options", "nosniff"),
                                  ("X-Frame-Options", "DENY"),
                                  ("Referrer-Policy", "no-referrer")):
                if (answer.get(header) or "").lower() != value.lower():
                    problems.append(f"{header}: {answer.get(header)!r}")
            if "/api/" in path and "no-store" not in (answer.get("Cache-Control") or ""):
                problems.append(f"Cache-Control: {answer.get('Cache-Control')!r}")
            media = {".js": "javascript", ".css": "text/css"}
            for ending, kind in media.items():
                if path.endswith(ending) and kind not in (answer.get("Content-Type") or ""):
                    problems.append(f"Content-Type: {answer.get('Content-Type')!r}")
            checks.check(f"headers of {name} ({path})", not problems, "; ".join(problems))


def check_sign_in_guards(checks, server, key):
    """Sign-in by a plain client: the right key with a matching token signs in, and nothing else."""
    cases = [  # name, send the token cookie, token field, more headers, signs in
        ("matching token, no Origin", True, None, {}, True),
        ("matching token, same Origin", True, None, {"Origin": server.origin}, True),
        # What Chromium sends for a form on a page whose referrer policy is no-referrer.
        ("matching token, Origin null", True, None, {"Origin": "null"}, True),
        ("matching token, foreign Origin", True, None, {"Origin": "http://evil.example"}, False),
        ("matching token, cross-site fetch", True, None, {"Sec-Fetch-Site": "cross-site"}, False),
        ("token field differs from its cookie", True, "0" * 64, {}, False),
        ("no token cookie", False, None, {}, False),
    ]
    for name, send_cookie, field, more, signs_in in cases:
        with checks.step(f"sign-in, {name}"):
            _, page_headers, page = http("GET", server.origin + "/console")
            token = re.search(rb'name="csrf"[^>]*value="([^"]*)"|value="([^"]*)"[^>]*name="csrf"',
                              page)
            token = (token.group(1) or token.group(2)).decode()
            jar = set_cookies(page_headers)
            headers = {"Content-Type": "application/x-www-form-urlencoded", **more}
            if send_cookie:
                headers["Cookie"] = "; ".join(f"{n}={v}" for n, (v, _) in jar.items())
            body = urllib.parse.urlencode({"key": key, "csrf": field or token}).encode()
            status, answer, _ = http("POST", server.origin + "/console/sign-in", headers, body)
            session = set_cookies(answer).get(SESSION_COOKIE)
            if signs_in:
                attributes = session[1] if session else []
                wanted = ["httponly", "samesite=strict", "path=/console", "max-age=28800"]
                checks.check(f"sign-in, {name}: 303 to /console/runs with the session cookie",
                             status == 303 and answer.get("Location", "").endswith("/console/runs")
                             and session and len(session[0]) >= 43 and
                             all(a in attributes for a in wanted),
                             f"{status} {answer.get('Location')} {session}")
            else:
                checks.check(f"sign-in, {name}: 403 and no session", status == 403 and not session,
                             f"{status} {session}")


def main():
    parser = argparse.ArgumentParser(description="The console in a real browser.")
    parser.add_argument("server", help="path of quorvel-assets-server")
    parser.add_argument("demo", help="path of quorvel-demo")
    parser.add_argument("--screenshots", default=os.getcwd(),
                        help="folder for console-runs.png and console-run.png")
    arguments = parser.parse_args()
    for program in (CHROMIUM, CHROMEDRIVER):
        if not os.access(program, os.X_OK):
            print(f"skipped: {program} is missing (scripts/install-deps installs it)")
            return SKIP
    try:
        import selenium  # noqa: F401
    except ImportError:
        print("python3-selenium is missing for /usr/bin/python3: run scripts/install-deps")
        return 1

    checks = Checks()
    folder = tempfile.mkdtemp(prefix="quorvel-console-test-")
    started = {}  # what to stop, filled as it starts
    try:
        run_checks(checks, arguments, folder, started)
    except Exception as error:  # noqa: BLE001 - reported as the failure it is
        message = str(error).strip().splitlines()
        checks.check("the test ran to its end", False,
                     f"{type(error).__name__}: {message[0] if message else ''}")
    finally:
        if "driver" in started:
            with contextlib.suppress(Exception):
                started["driver"].quit()
        if "server" in started:
            server = started["server"]
            code = server.stop()
            reports = [line for line in server.stderr().splitlines()
                       if "Sanitizer" in line or "runtime error:" in line]
            checks.check("server stops cleanly after the run", code == 0, f"exit code {code}")
            checks.check("server reports no sanitizer errors", not reports, "; ".join(reports[:3]))
        shutil.rmtree(folder, ignore_errors=True)

    if checks.failed:
        print(f"\nconsole: {len(checks.failed)} of {len(checks.failed) + checks.passed} checks "
              "failed:\n  " + "\n  ".join(checks.failed))
        return 1
    print(f"\nconsole: all {checks.passed} checks passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
