#!/usr/bin/env python3
"""Looks at the documentation site as its readers do: SITE is its folder, TREE the source tree.

No link within the site is dead, every exported plain function has its place there, each page shows itself in a browser
without an error and without scrolling sideways on a telephone, and the search finds names and guides.
"""
import html.parser
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import urllib.parse

BROWSER = "/usr/bin/chromium"
WIDTH = 360


class Page(html.parser.HTMLParser):
    """The links of a page, and the places in it that links may name."""

    def __init__(self, path):
        super().__init__()
        self.links, self.anchors = [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("href", "src"):
                self.links.append(value)
            elif name == "id" or (tag, name) == ("a", "name"):
                self.anchors.add(value)


def dead_links(site, pages):
    for path, page in pages.items():
        for link in page.links:
            url = urllib.parse.urlsplit(link)
            if url.scheme or link.startswith("javascript:"):
                continue
            target = (path.parent / urllib.parse.unquote(url.path)).resolve() if url.path else path
            if not target.is_relative_to(site) or not target.is_file():
                yield f"{path.name}: {link} leads nowhere"
            elif url.fragment and target in pages and urllib.parse.unquote(url.fragment) not in pages[target].anchors:
                yield f"{path.name}: {link} names no place there"


def seen(pages):
    """The pages that a link of another page leads to."""
    targets = {(path, path.parent / link.split("#")[0]) for path, page in pages.items() for link in page.links}
    return sorted({target for path, target in targets if target in pages and target != path})


def missing_functions(site, tree):
    """Functions that the library exports by name and that the search does not know."""
    index = "".join(path.read_text(encoding="utf-8") for path in site.glob("search/all_*.js"))
    known = set(re.findall(r"\['\w+',\['([^']+)'", index))
    for line in (tree / "src/OrvComTypes.def").read_text(encoding="utf-8").splitlines():
        name = line.split(";")[0].strip()
        if name and name != "EXPORTS" and name not in known:
            yield f"{name} is not in the index"


class Browser:
    """A browser without a window, spoken to in its own protocol."""

    def __init__(self, folder):
        ours, its_output = os.pipe()
        its_input, to_it = os.pipe()
        self.input, self.output = os.fdopen(to_it, "wb", 0), os.fdopen(ours, "rb")
        command = [BROWSER, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                   "--disable-background-networking", "--allow-file-access-from-files", "--disable-component-update", "--disable-sync",
                   f"--user-data-dir={folder}", "--remote-debugging-pipe", "about:blank"]
        # The protocol is spoken through the descriptors 3 and 4.
        self.process = subprocess.Popen(
            ["/bin/sh", "-c", f'exec "$@" 3<&{its_input} 4>&{its_output}', "sh", *command],
            pass_fds=(its_input, its_output), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(its_input)
        os.close(its_output)
        self.count, self.session, self.faults, self.loaded = 0, None, [], False
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime"):
            self.call(f"{domain}.enable")
        self.call("Emulation.setDeviceMetricsOverride", width=WIDTH, height=740, deviceScaleFactor=1, mobile=True)

    def receive(self):
        message = bytearray()
        while (byte := self.output.read(1)) != b"\0":
            if not byte:
                raise SystemExit("the browser has ended")
            message += byte
        message = json.loads(message)
        if message.get("method") == "Runtime.exceptionThrown":
            details = message["params"]["exceptionDetails"]
            self.faults.append(f"{details.get('url')}: {details['text']}")
        elif message.get("method") == "Page.loadEventFired":
            self.loaded = True
        return message

    def call(self, method, **params):
        self.count += 1
        request = {"id": self.count, "method": method, "params": params}
        if self.session:
            request["sessionId"] = self.session
        self.input.write(json.dumps(request).encode() + b"\0")
        while True:
            message = self.receive()
            if message.get("id") == self.count:
                if "error" in message:
                    raise SystemExit(f"{method}: {message['error']['message']}")
                return message["result"]

    def open(self, url):
        """Shows a page; what its scripts complain of, from now on, are the faults."""
        self.faults, self.loaded = [], False
        self.call("Page.navigate", url=url)
        while not self.loaded:
            self.receive()

    def ask(self, expression):
        """What an expression of the page's script gives, also when it promises it."""
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise SystemExit(f"{expression}: {result['exceptionDetails']['text']}")
        return result["result"].get("value")

    def end(self):
        self.call("Browser.close")
        self.process.wait()


# Shows each of URLS in a frame, which takes half the time of a page of its own. Gives for each how wide it is, whether it
# shows something, and what is too wide.
SHOW = """(async urls => {
    const frame = document.createElement('iframe'), seen = [];
    frame.style = 'width: %(width)dpx; height: 740px; border: 0';
    document.body.replaceChildren(frame);
    for (const url of urls) {
        await new Promise(done => { frame.onload = done; frame.src = url; });
        const page = frame.contentDocument, width = page.documentElement.scrollWidth;
        const wide = width <= %(width)d ? [] : [...page.querySelectorAll('body *')].filter(
            e => e.getBoundingClientRect().right > %(width)d
                && !e.closest('.fragment, .memproto, table.markdownTable, .directory'));
        seen.push([url, width, Boolean(page.querySelector('.contents')?.innerText.length),
                   wide.slice(0, 3).map(e => e.tagName + '.' + e.className).join(' ')]);
    }
    return seen;
})""" % {"width": WIDTH}


def bad_pages(browser, site, pages):
    # A page that stands in the site's folder may look into its frames.
    browser.open((site / "index.html").as_uri())
    shown = browser.ask(f"{SHOW}({json.dumps([path.as_uri() for path in pages])})")
    yield from browser.faults
    for url, width, text, widest in shown:
        if width > WIDTH:
            yield f"{url}: {width} wide, by {widest}"
        if not text:
            yield f"{url}: shows nothing"
    if len(shown) < len(pages):
        yield "not all pages were shown"


def found(browser, site, text):
    """The addresses of what the search finds for a text that is typed into its field."""
    browser.open((site / "index.html").as_uri())
    browser.ask(f"""new Promise(done => {{
        const field = document.getElementById('MSearchField');
        document.getElementById('MSearchResults').addEventListener('load', done);
        field.focus();
        field.value = {json.dumps(text)};
        field.dispatchEvent(new KeyboardEvent('keyup', {{key: 'a', keyCode: 65, bubbles: true}}));
    }}).then(() => 0)""")
    left, right = browser.ask("(box => [box.left, box.right])"
                              "(document.getElementById('MSearchResultsWindow').getBoundingClientRect())")
    if left < 0 or right > WIDTH or right - left < WIDTH / 2:
        raise SystemExit(f"what the search finds is shown from {left} to {right}")
    # The results are a page in a frame.
    browser.open(browser.call("Page.getFrameTree")["frameTree"]["childFrames"][0]["frame"]["url"])
    return browser.ask("[...document.querySelectorAll('.SRResult')].filter(e => e.offsetHeight > 0)"
                       ".flatMap(e => [...e.querySelectorAll('a[href]')]).map(a => a.href)")


def unfound(browser, site):
    for text, page in (("COrvStr", "classCOrvStr.html"), ("sqlstrsave", "orvlog_8h.html"), ("ToStdText", "stdbridge_8h.html"),
                       ("Logging", "logging.html"), ("ORVTEXT", "orvexport_8h.html")):
        if not any(page in address for address in found(browser, site, text)):
            yield f"the search for {text} does not find {page}"
    if found(browser, site, "nosuchname"):
        yield "the search finds what there is not"


def main():
    site, tree = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    pages = {path: Page(path) for path in sorted(site.glob("*.html"))}
    faults = list(dead_links(site, pages)) + list(missing_functions(site, tree))
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as folder:
        browser = Browser(folder)
        faults += bad_pages(browser, site, seen(pages))
        faults += unfound(browser, site)
        browser.end()
    print(f"{len(pages)} pages, {sum(len(page.links) for page in pages.values())} links, {len(faults)} faults")
    print("\n".join(faults))
    return 1 if faults or len(pages) < 50 else 0


sys.exit(main())
