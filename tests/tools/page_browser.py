#!/usr/bin/env python3
"""Reads pages of tanexics-log with a browser, and compares what it shows with what was put in.

usage: page_browser.py PAGE_SAMPLE FOLDER

PAGE_SAMPLE writes the pages; they and pictures of them stay in FOLDER.
"""

import base64
import collections
import html.parser
import json
import os
import pathlib
import select
import shutil
import subprocess
import sys
import tempfile
import time

SECONDS = 120
TITLE = "tanexics: what became of the reports"
VERDICTS = ["delivered", "partly", "refused", "not-sent", "unknown"]
MOST_RUNS = 5000
MOST_DAYS = 92

# All elements that the page is made of.
ELEMENTS = set(
    "html head meta title style body main header section h1 h2 h3 p time table caption thead tbody tr th td "
    "svg defs pattern rect circle line text g figure figcaption details summary div span bdi dl dt dd i ol ul "
    "li code label input".split()
)
VOID = {"meta", "input"}


class Browser:
    """A headless Chromium that is told what to do through two pipes, as its DevTools protocol has it."""

    def __init__(self, profile):
        theirs_in, self.to_browser = os.pipe()
        self.from_browser, theirs_out = os.pipe()
        flags = ["--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run", "--hide-scrollbars",
                 "--disable-dev-shm-usage", "--remote-debugging-pipe", f"--user-data-dir={profile}"]
        self.errors = open(f"{profile}/errors", "w+b")
        self.process = subprocess.Popen(
            ["bash", "-c", f'exec chromium "$@" 3<&{theirs_in} 4>&{theirs_out}', "chromium", *flags, "about:blank"],
            pass_fds=(theirs_in, theirs_out), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=self.errors, env={**os.environ, "HOME": profile})
        os.close(theirs_in)
        os.close(theirs_out)
        self.rest = b""
        self.last = 0
        self.session = None
        self.events = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network", "Log"):
            self.call(f"{domain}.enable")

    def receive(self):
        deadline = time.monotonic() + SECONDS
        while b"\0" not in self.rest:
            ready, _, _ = select.select([self.from_browser], [], [], deadline - time.monotonic())
            piece = os.read(self.from_browser, 1 << 20) if ready else b""
            if not piece:
                self.errors.seek(0)
                raise SystemExit(f"the browser does not answer: {self.errors.read().decode(errors='replace')}")
            self.rest += piece
        message, self.rest = self.rest.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, **params):
        self.last += 1
        message = {"id": self.last, "method": method, "params": params}
        if self.session:
            message["sessionId"] = self.session
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self.to_browser, data):]
        while True:
            answer = self.receive()
            if answer.get("id") == self.last:
                if "error" in answer:
                    raise SystemExit(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def open(self, path, width=1280, height=900, scheme="light", media="screen"):
        """Loads a page. Gives the addresses that it asked for, and what the browser complained about."""
        self.events = []
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                  mobile=width < 500)
        self.call("Emulation.setEmulatedMedia", media=media,
                  features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.call("Page.navigate", url=f"file://{path}")
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.receive())
        asked = [event["params"]["request"]["url"] for event in self.events
                 if event.get("method") == "Network.requestWillBeSent"]
        complaints = [event["params"]["entry"]["text"] for event in self.events
                      if event.get("method") == "Log.entryAdded"]
        return asked, complaints

    def evaluate(self, expression):
        return self.call("Runtime.evaluate", expression=expression, returnByValue=True)["result"].get("value")

    def picture(self, path):
        data = self.call("Page.captureScreenshot", format="png")["data"]
        pathlib.Path(path).write_bytes(base64.b64decode(data))

    def close(self):
        try:
            os.write(self.to_browser, b'{"id":0,"method":"Browser.close"}\0')
            self.process.wait(10)
        except (OSError, subprocess.TimeoutExpired):
            self.process.kill()
            self.process.wait()
        self.errors.close()


class Node:
    def __init__(self, tag, attributes):
        self.tag = tag
        self.attributes = attributes
        self.children = []

    def classes(self):
        return (self.attributes.get("class") or "").split()

    def text(self):
        return "".join(child if isinstance(child, str) else child.text() for child in self.children)

    def all(self, tag, name=None):
        """The elements below this one, in their order."""
        for child in self.children:
            if isinstance(child, str):
                continue
            if child.tag == tag and (name is None or name in child.classes()):
                yield child
            yield from child.all(tag, name)

    def one(self, tag, name=None):
        return next(self.all(tag, name), None)


class Tree(html.parser.HTMLParser):
    """The elements of a document that a browser has written, every one of them closed."""

    def __init__(self, text):
        super().__init__()
        self.root = Node("", {})
        self.open = [self.root]
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attrs):
        node = Node(tag, dict(attrs))
        self.open[-1].children.append(node)
        if tag not in VOID:
            self.open.append(node)

    def handle_endtag(self, tag):
        check("closed", self.open.pop().tag, tag)

    def handle_data(self, data):
        self.open[-1].children.append(data)


failures = 0


def check(what, actual, expected):
    global failures
    if actual == expected:
        return
    failures += 1
    print(f"{what}:\n  is       {str(actual)[:600]}\n  and not  {str(expected)[:600]}")


def rows_of(table):
    """{head of the row: its other cells}."""
    return {row.one("th").text(): [cell.text() for cell in row.all("td")] for row in table.one("tbody").all("tr")}


def day_of(run):
    return run["first"][:10]


def in_words(counts):
    return ", ".join(f"{counts[verdict]} {verdict}" for verdict in VERDICTS if counts[verdict])


def expected_exchange(exchange):
    return {"kind": exchange["kind"], "request": exchange["request"],
            "part": None if exchange["part"] is None else f"part {exchange['part']}",
            "code": "no answer in the log" if exchange["code"] is None else f"code {exchange['code']}",
            "path": exchange["path"], "error": exchange["error"] or None}


def shown_exchange(item):
    def text(name):
        return next((node.text() for tag in ("span", "code", "bdi") for node in item.all(tag, name)), None)
    return {name: text(name) for name in ("kind", "request", "part", "code", "path", "error")}


def expected_run(run):
    return {"verdict": run["verdict"], "time": run["first"], "pid": f"pid {run['pid']}", "why": run["reason"],
            "identity": run["identity"], "host": run["host"] or None, "Mode": run["mode"] or "not in the log",
            "Log": run["log"], "exchanges": [expected_exchange(one) for one in run["exchanges"]],
            "missing": run["missing"]}


def shown_run(element):
    summary = element.one("summary")
    fields = {row.one("dt").text(): row.one("dd").text() for row in element.one("dl").all("div")}
    timeline = element.one("ol")
    missing = element.one("ul", "missing")

    def text(tag, name):
        node = summary.one(tag, name)
        return node and node.text()
    return {"verdict": text("span", "verdict").split()[1], "time": summary.one("time").attributes["datetime"],
            "pid": text("span", "pid"), "why": text("bdi", "why"), "identity": text("bdi", "identity"),
            "host": text("bdi", "host"), "Mode": fields["Mode"], "Log": fields["Log"],
            "exchanges": [shown_exchange(item) for item in timeline.all("li")] if timeline else [],
            "missing": [item.text() for item in missing.all("li")] if missing else []}


def check_page(name, root, runs):
    for node in walk(root):
        check(f"{name}: element", node.tag in ELEMENTS, True)
        for attribute in node.attributes:
            check(f"{name}: attribute {attribute}",
                  attribute.startswith("on") or attribute in ("href", "src", "style", "srcdoc"), False)
    check(f"{name}: title", root.one("title").text(), TITLE)

    counts = collections.Counter(run["verdict"] for run in runs)
    totals = {head.split()[1]: cells[0] for head, cells in rows_of(root.one("table", "totals")).items()}
    check(f"{name}: totals", totals, {verdict: str(counts[verdict]) for verdict in VERDICTS})
    if not runs:
        check(f"{name}: chart", root.one("svg", "chart"), None)
        check(f"{name}: runs", list(root.all("details", "run")), [])
        return

    days = collections.defaultdict(collections.Counter)
    for run in runs:
        days[day_of(run)][run["verdict"]] += 1
    own = sorted(days)[-MOST_DAYS:]
    bars = [title.text() for title in root.one("svg", "chart").all("title")]
    check(f"{name}: bars", bars, [f"{day}: {in_words(days[day])}" for day in own])
    for group, day in zip((g for g in root.one("svg", "chart").all("g") if g.one("title")), own):
        fills = [part.attributes["fill"] for part in group.all("rect")]
        check(f"{name}: parts of {day}", fills, [f"url(#fill-{one})" for one in VERDICTS if days[day][one]])
    table = {day: [str(days[day][verdict]) for verdict in VERDICTS] + [str(sum(days[day].values()))] for day in own}
    earlier = sum((days[day] for day in sorted(days)[:-MOST_DAYS]), collections.Counter())
    if earlier:
        table["earlier"] = [str(earlier[verdict]) for verdict in VERDICTS] + [str(sum(earlier.values()))]
    check(f"{name}: table of days", rows_of(root.one("table", "days")), table)

    latest = sorted(enumerate(runs), key=lambda one: (one[1]["first"], one[0]))[::-1][:MOST_RUNS]
    shown = [shown_run(element) for element in root.all("details", "run")]
    check(f"{name}: number of runs", len(shown), len(latest))
    for actual, (_, expected) in zip(shown, latest):
        check(f"{name}: run", actual, expected_run(expected))
    rest = [node.text() for node in root.one("section", "runs").all("p", "rest")]
    left_out = len(runs) - len(latest)
    check(f"{name}: left out", rest[:1],
          [f"The latest {len(latest)} runs of {len(runs)}; {left_out} not listed."] if left_out else [])


def walk(node):
    for child in node.children:
        if not isinstance(child, str):
            yield child
            yield from walk(child)


def changed(page, name, *replacements):
    """A copy of a page in which each first text stands as the second one."""
    text = page.read_text(encoding="utf-8")
    for old, new in replacements:
        check(f"{name}: has {old}", old in text, True)
        text = text.replace(old, new)
    copy = page.with_name(f"{name}.html")
    copy.write_text(text, encoding="utf-8")
    return copy


def check_scripts(browser, page):
    """The policy holds where a script is in the page after all, and without it the script would run."""
    script = ("<main>", "<script>document.title = 'ran'</script><main>")
    policy = ('http-equiv="Content-Security-Policy"', 'name="none"')
    browser.open(changed(page, "with-script", script))
    check("script under the policy", browser.evaluate("document.title"), TITLE)
    browser.open(changed(page, "with-script-alone", script, policy))
    check("script without the policy", browser.evaluate("document.title"), "ran")
    image = ("<main>", "<main><img src='hostile.html' onerror=\"document.title = 'ran'\">"
             "<style>main{color:red}</style>")
    browser.open(changed(page, "with-image", image))
    check("style under the policy", browser.evaluate("getComputedStyle(document.querySelector('main')).color"),
          "rgb(27, 31, 36)")
    check("handler under the policy", browser.evaluate("document.title"), TITLE)


def check_layout(browser, page, opened):
    """Everything is as wide as the screen, and what is to be seen is seen, in all four forms."""
    width = "document.documentElement.scrollWidth"
    # Each run is clipped to its place.
    wider = ("[...document.querySelectorAll('.run, .run *')].filter(one => one.scrollWidth > one.clientWidth && "
             "getComputedStyle(one).display != 'inline').map(one => one.outerHTML.slice(0, 80))")
    ground = "getComputedStyle(document.body).backgroundColor"
    for form, size, scheme in (("phone", (360, 800), "light"), ("desk", (1280, 900), "light"),
                               ("phone-dark", (360, 800), "dark"), ("dark", (1280, 900), "dark")):
        browser.open(page, *size, scheme=scheme)
        check(f"{form}: width", browser.evaluate(width), size[0])
        check(f"{form}: ground", browser.evaluate(ground),
              "rgb(255, 255, 255)" if scheme == "light" else "rgb(20, 23, 27)")
        browser.picture(page.with_name(f"{form}.png"))
        check(f"{form}: scrolled to the last day",
              browser.evaluate("(chart => chart.getBoundingClientRect().right)(document.querySelector('.chart'))")
              <= size[0], True)
        for name, other in opened.items():
            browser.open(other, *size, scheme=scheme)
            check(f"{form}: width of {name}", browser.evaluate(width), size[0])
            check(f"{form}: wider than their place in {name}", browser.evaluate(wider), [])
        browser.open(opened["everyday"], *size, scheme=scheme)
        browser.evaluate("document.querySelector('.run.partly').scrollIntoView()")
        browser.picture(page.with_name(f"{form}-run.png"))

    visible = "[...document.querySelectorAll('.run')].filter(run => run.checkVisibility()).length"
    browser.open(page)
    every = browser.evaluate(visible)
    for verdict in VERDICTS:
        count = browser.evaluate(f"document.querySelectorAll('.run.{verdict}').length")
        browser.evaluate(f"document.querySelector('#show-{verdict}').click()")
        check(f"shown of {verdict}", browser.evaluate(visible), count)
        check(f"not all are {verdict}", count < every, True)

    # On paper, what was not delivered is open, and black on white by night too.
    seen = "document.querySelector('.run.{} ol').checkVisibility({{contentVisibilityAuto: false}})"
    browser.open(page, scheme="dark", media="print")
    check("paper: ground", browser.evaluate(ground), "rgb(255, 255, 255)")
    check("paper: exchanges of a refused run", browser.evaluate(seen.format("refused")), True)
    check("paper: exchanges of a delivered run", browser.evaluate(seen.format("delivered")), False)
    paper = browser.call("Page.printToPDF", printBackground=False)["data"]
    page.with_name("paper.pdf").write_bytes(base64.b64decode(paper))


def main():
    sample, folder = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
    folder.mkdir(parents=True, exist_ok=True)
    if shutil.which("chromium") is None:
        raise SystemExit("chromium is not installed")
    profile = tempfile.mkdtemp(prefix="tanexics-page-")
    browser = None
    try:
        browser = Browser(profile)
        for name in ("everyday", "hostile", "many", "none"):
            page = folder / f"{name}.html"
            lines = subprocess.run([sample, name, page], check=True, stdout=subprocess.PIPE).stdout
            runs = [json.loads(line) for line in lines.decode().split("\n") if line]
            for run in runs:
                run["first"] = run["start"]
            asked, complaints = browser.open(page)
            check(f"{name}: asked for", asked, [f"file://{page}"])
            check(f"{name}: complaints", complaints, [])
            root = Tree(browser.evaluate("document.documentElement.outerHTML")).root
            check_page(name, root, runs)
        browser.open(folder / "hostile.html")
        browser.picture(folder / "hostile.png")
        everyday = folder / "everyday.html"
        check_scripts(browser, everyday)
        check_layout(browser, everyday, {
            name: changed(folder / f"{name}.html", f"{name}-open", ("<details class", "<details open class"))
            for name in ("everyday", "hostile")})
    finally:
        if browser:
            browser.close()
        shutil.rmtree(profile, ignore_errors=True)
    sys.exit(1 if failures else 0)


main()
