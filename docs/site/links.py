"""Fails on a link of the site that leads nowhere: links.py FOLDER. What lies outside the site is not asked."""

import pathlib
import re
import sys
import urllib.parse

folder = pathlib.Path(sys.argv[1])
pages = {page: page.read_text(encoding="utf-8") for page in folder.rglob("*.html")}
anchors = {page: set(re.findall(r'\b(?:id|name)="([^"]+)"', text)) for page, text in pages.items()}
broken, count = [], 0
for page, text in pages.items():
    for link in re.findall(r'\b(?:href|src)="([^"]+)"', text):
        parts = urllib.parse.urlsplit(link)
        if parts.scheme or parts.netloc:
            continue
        count += 1
        target = (page.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else page.resolve()
        known = next((anchors[other] for other in pages if other.resolve() == target), None) \
            if target.suffix == ".html" else set()
        if not target.exists() or (parts.fragment and known and urllib.parse.unquote(parts.fragment) not in known):
            broken.append(f"{page.relative_to(folder)}: {link}")
print(f"{len(pages)} pages, {count} links", *broken, sep="\n")
sys.exit(bool(broken) or count == 0)
