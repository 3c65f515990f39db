#!/usr/bin/env python3
"""Checks the links of a folder of HTML pages.

usage: links.py FOLDER

Each link that is not to another site leads to a file of the folder, and to a place that is there. Each manual page, and
each page made of a text, can be reached from index.html. Prints what does not and ends with 1 then.
"""

import html.parser
import pathlib
import re
import sys
import urllib.parse

# What pages are of one's own: NAME.SECTION.html, and what Doxygen calls those of texts.
OWN = re.compile(r"(.*\.[1-8]|md_.*)\.html")


class Page(html.parser.HTMLParser):
    """The links of a page, and the places in it that links can name."""

    def __init__(self, path):
        super().__init__()
        self.links = []
        self.places = {""}
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name == "id" or (tag == "a" and name == "name"):
                self.places.add(value)
            elif name in ("href", "src") and value is not None:
                self.links.append(value)


def main(folder):
    pages = {path: Page(path) for path in sorted(folder.rglob("*.html"))}
    wrong = []
    leads = {path: set() for path in pages}
    for path, page in pages.items():
        for link in page.links:
            parts = urllib.parse.urlsplit(link)
            if parts.scheme in ("http", "https", "mailto", "javascript"):
                continue
            target = path.parent / urllib.parse.unquote(parts.path) if parts.path else path
            target = pathlib.Path(target.resolve())
            if parts.scheme or parts.path.startswith("/") or not target.is_file():
                wrong.append(f"{path.relative_to(folder)}: {link} leads nowhere")
            elif target in pages:
                leads[path].add(target)
                if urllib.parse.unquote(parts.fragment) not in pages[target].places:
                    wrong.append(f"{path.relative_to(folder)}: {link} names a place that is not there")

    reached = set()
    waiting = [folder / "index.html"]
    while waiting:
        path = waiting.pop()
        if path in pages and path not in reached:
            reached.add(path)
            waiting.extend(leads[path])
    wrong += [f"{path.relative_to(folder)}: nothing leads here from index.html"
              for path in pages if OWN.fullmatch(path.name) and path not in reached]

    print("\n".join(sorted(set(wrong))) or f"{len(pages)} pages, {sum(len(p.links) for p in pages.values())} links")
    return 1 if wrong or not reached else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve()))
