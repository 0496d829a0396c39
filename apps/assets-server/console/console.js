// The console's pages, filled from /console/api. Text from devices and hosts goes in only as text
// nodes, never as markup.
"use strict";

(function () {
  const PAGE_SIZE = 20;
  const POLL_MS = 2000;
  const WORDS = {
    pass: ["\u2713", "Passed"],
    fail: ["\u2717", "Failed"],
    pending: ["\u231B", "Pending"],
    unknown: ["?", "Unknown"],
  };

  // An element with attributes and children (strings become text nodes).
  function el(tag, attributes, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes || {})) node.setAttribute(name, value);
    for (const child of children) {
      node.append(typeof child === "string" ? document.createTextNode(child) : child);
    }
    return node;
  }

  function setStatus(text) {
    document.getElementById("status").textContent = text;
  }

  async function getJson(url) {
    const response = await fetch(url, { credentials: "same-origin", cache: "no-store" });
    if (response.status === 401) {
      window.location.assign("/console");
      throw new Error("The session has ended. Sign in again.");
    }
    let body = null;
    try {
      body = await response.json();
    } catch (error) {
      body = null;
    }
    if (!response.ok) {
      throw new Error((body && body.error) || "The server answered " + response.status + ".");
    }
    return body;
  }

  function verdictElement(key, verdict) {
    const known = Object.prototype.hasOwnProperty.call(WORDS, verdict) ? verdict : "unknown";
    const [symbol, word] = WORDS[known];
    return el("span", { class: "verdict", "data-key": key, "data-verdict": known },
      el("span", { "aria-hidden": "true" }, symbol + " "), word);
  }

  function valueText(value) {
    return typeof value === "string" ? value : JSON.stringify(value);
  }

  // Every field of an object as term and description, nested ones by their dotted path.
  function fieldList(list, object, prefix) {
    for (const [name, value] of Object.entries(object || {})) {
      const path = prefix ? prefix + "." + name : name;
      if (value !== null && typeof value === "object" && Object.keys(value).length > 0) {
        fieldList(list, value, path);
      } else {
        list.append(el("dt", {}, path), el("dd", {}, valueText(value)));
      }
    }
    return list;
  }

  function when(text) {
    const date = new Date(text);
    return el("time", { datetime: text }, isNaN(date) ? text : date.toLocaleString());
  }

  async function fillSignOut() {
    const session = await getJson("/console/api/session");
    document.querySelector("#sign-out-form input[name=csrf]").value = session.csrf;
  }

  function runLink(app, results) {
    return "/console/run?app=" + encodeURIComponent(app) + "&results=" +
      encodeURIComponent(results);
  }

  // The runs page: an app's runs newest first, a page at a time.
  async function runsPage() {
    const select = document.getElementById("app");
    const failedOnly = document.getElementById("failed-only");
    const body = document.querySelector("#runs tbody");
    const older = document.getElementById("older");
    const newer = document.getElementById("newer");
    const query = new URLSearchParams(window.location.search);
    // The "before" of each page shown so far; the last is the current page's.
    let pages = [""];
    let next = null;

    async function load() {
      older.disabled = true;
      newer.disabled = true;
      setStatus("Loading\u2026");
      const parameters = new URLSearchParams({ app: select.value, limit: String(PAGE_SIZE) });
      const before = pages[pages.length - 1];
      if (before) parameters.set("before", before);
      if (failedOnly.checked) parameters.set("failed", "1");
      let answer;
      try {
        answer = await getJson("/console/api/runs?" + parameters);
      } catch (error) {
        setStatus(error.message);
        return;
      }
      body.replaceChildren();
      for (const run of answer.runs) {
        const verdicts = el("ul", { class: "verdicts" });
        for (const [key, verdict] of Object.entries(run.verdicts)) {
          verdicts.append(el("li", {}, el("span", { class: "key" }, key + ":"),
            verdictElement(key, verdict.verdict)));
        }
        if (verdicts.childElementCount === 0) verdicts.append(el("li", {}, "No evidence judged"));
        const row = el("tr", { "data-results": run.results },
          el("td", {}, el("a", { class: "run-link", href: runLink(select.value, run.results) },
            run.results)),
          el("td", {}, when(run.received_at)),
          el("td", {}, verdicts));
        body.append(row);
      }
      next = answer.next || null;
      older.disabled = !next;
      newer.disabled = pages.length < 2;
      if (answer.runs.length > 0) {
        setStatus(answer.runs.length + (answer.runs.length === 1 ? " run" : " runs") + " shown");
      } else {
        setStatus(failedOnly.checked ? "No runs with a failed verdict" : "No runs yet");
      }
    }

    function remember() {
      const state = new URLSearchParams({ app: select.value });
      if (failedOnly.checked) state.set("failed", "1");
      window.history.replaceState(null, "", "?" + state);
    }

    function restart() {
      pages = [""];
      remember();
      load();
    }

    select.addEventListener("change", restart);
    failedOnly.addEventListener("change", restart);
    older.addEventListener("click", () => {
      if (!next) return;
      pages.push(next);
      load();
    });
    newer.addEventListener("click", () => {
      if (pages.length < 2) return;
      pages.pop();
      load();
    });

    let apps;
    try {
      apps = (await getJson("/console/api/apps")).apps;
    } catch (error) {
      setStatus(error.message);
      return;
    }
    for (const app of apps) select.append(el("option", { value: app }, app));
    if (apps.length === 0) {
      setStatus("No runs yet");
      return;
    }
    if (apps.includes(query.get("app"))) select.value = query.get("app");
    failedOnly.checked = query.get("failed") === "1";
    await load();
  }

  // What the judge found, the reason of a verdict other than pass, and the buttons that show
  // where each code was read.
  function judgement(article, key, verdict) {
    const box = el("div", { class: "judgement" });
    if (!verdict) {
      box.append(el("p", {}, "No evidence of this result was judged."));
      return box;
    }
    box.append(el("p", {}, "Verdict: ", verdictElement(key, verdict.verdict)));
    if (verdict.verdict !== "pass") box.append(el("p", { class: "why" }, verdict.why || ""));
    const details = verdict.details || {};
    const codes = el("div", { class: "codes" });
    for (const [field, words] of [["start_code_at", "start"], ["end_code_at", "end"]]) {
      if (typeof details[field] !== "number") continue;
      const button = el("button", { type: "button", class: "code-frame", "data-at": String(details[field]) },
        "Show the frame where the " + words + " code was read (" + details[field] + " s)");
      button.addEventListener("click", () => {
        const film = article.querySelector("video");
        if (!film) return;
        film.pause();
        film.currentTime = details[field];
      });
      codes.append(button);
    }
    if (codes.childElementCount > 0) box.append(codes);
    if (Object.keys(details).length > 0) {
      box.append(el("h4", {}, "What the judge found"),
        fieldList(el("dl", { class: "fields" }), details, ""));
    }
    return box;
  }

  function mediaElement(key, src, filmShown) {
    if (/video/.test(key)) {
      const attributes = { controls: "", preload: "metadata", src: src };
      if (!filmShown) attributes.id = "film";
      return el("video", attributes, "Your browser cannot play this film.");
    }
    return el("audio", { class: "recording", "data-key": key, controls: "", preload: "metadata", src: src },
      "Your browser cannot play this recording.");
  }

  // The run page: one run, updated in place while verdicts are pending.
  async function runPage() {
    const query = new URLSearchParams(window.location.search);
    const app = query.get("app") || "";
    const results = query.get("results") || "";
    const which = "?app=" + encodeURIComponent(app) + "&results=" + encodeURIComponent(results);
    const url = "/console/api/run" + which;
    const section = document.getElementById("results");
    const articles = new Map();
    document.getElementById("back").href = "/console/runs?app=" + encodeURIComponent(app);

    function render(run) {
      const device = run.document.device_info;
      const name = device.device_name || device.name;
      document.getElementById("run-name").textContent = run.results;
      document.getElementById("device-name").textContent =
        typeof name === "string" && name ? "Device: " + name : "";
      document.title = run.results + " \u00b7 Quorvel runs";
      document.getElementById("seal").textContent = run.seal_valid
        ? "Seal: valid \u2014 the results are as the device sealed them."
        : "Seal: not valid \u2014 the results were changed or sealed for another app.";
      document.getElementById("received").replaceChildren("Received ", when(run.received_at));
      fieldList(document.querySelector("#device .fields"), run.document.device_info, "");
      let filmShown = false;
      for (const [key, result] of Object.entries(run.document.tests_results)) {
        const article = el("article", { class: "result", "data-key": key }, el("h3", {}, key));
        if (run.media[key]) {
          article.append(mediaElement(key, run.media[key], filmShown));
          filmShown = filmShown || /video/.test(key);
        }
        article.append(judgement(article, key, run.verdicts[key]));
        const fields = el("details", {}, el("summary", {}, "The result's fields"),
          fieldList(el("dl", { class: "fields" }), result, ""));
        article.append(fields);
        section.append(article);
        articles.set(key, article);
      }
      if (articles.size === 0) section.append(el("p", {}, "This run has no results."));
    }

    // Only the verdicts change: films and recordings keep playing where they are.
    function update(run) {
      for (const [key, article] of articles) {
        article.querySelector(".judgement").replaceWith(judgement(article, key, run.verdicts[key]));
      }
    }

    function pending(run) {
      const waiting = Object.values(run.verdicts).some((verdict) => verdict.verdict === "pending");
      let note = document.getElementById("pending-note");
      if (waiting && !note) {
        note = el("p", { id: "pending-note" },
          "Some evidence is still being judged; this page updates by itself.");
        document.getElementById("status").after(note);
      } else if (!waiting && note) {
        note.remove();
      }
      return waiting;
    }

    async function poll() {
      try {
        const run = await getJson("/console/api/verdicts" + which);
        update(run);
        if (pending(run)) window.setTimeout(poll, POLL_MS);
        else setStatus("All verdicts are in.");
      } catch (error) {
        setStatus(error.message + " Trying again shortly.");
        window.setTimeout(poll, POLL_MS);
      }
    }

    let run;
    try {
      run = await getJson(url);
    } catch (error) {
      setStatus(error.message);
      return;
    }
    render(run);
    setStatus("");
    if (pending(run)) window.setTimeout(poll, POLL_MS);
  }

  document.addEventListener("DOMContentLoaded", () => {
    fillSignOut().catch(() => {});
    const page = document.body.dataset.page;
    if (page === "runs") runsPage();
    else if (page === "run") runPage();
  });
})();
