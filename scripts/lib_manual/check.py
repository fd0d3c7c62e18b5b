"""Looks a manual over: every public name has its page, links lead somewhere, nothing comes from elsewhere."""

import html.parser
import re
import sys
import urllib.parse

import stage


class Page(html.parser.HTMLParser):
    """Anchors of a page, and what it links to or loads."""

    def __init__(self, text):
        super().__init__()
        self.anchors, self.links, self.loaded, self.headings = set(), [], [], []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.anchors |= {attributes[key] for key in ("id", "name") if attributes.get(key)}
        if tag == "h1":
            self.headings.append(attributes.get("class"))
        for key in ("href", "src", "data"):
            target = attributes.get(key)
            if target and (tag == "a" and key == "href"):
                self.links.append(target)
            elif target and not target.startswith("#"):
                self.loaded.append(target)


def broken_links(pages, folder):
    for name, page in pages.items():
        for target in page.links + page.loaded:
            address = urllib.parse.urlparse(target)
            if address.scheme:
                continue
            file = urllib.parse.unquote(address.path) or name
            if not (folder / file).is_file():
                yield f"{name}: there is no {file}"
            elif address.fragment and file in pages and address.fragment not in pages[file].anchors:
                yield f"{name}: {file} has no #{address.fragment}"


def remote_resources(pages, folder):
    for name, page in pages.items():
        for target in page.loaded:
            if urllib.parse.urlparse(target).scheme or target.startswith("//"):
                yield f"{name} loads {target}"
    for path in [*folder.glob("*.css"), *folder.glob("*.js")]:
        if path.name != "search-index.js" and re.search(r"@import|(?:https?:)?//[\w.-]+\.\w+/", path.read_text()):
            yield f"{path.name} loads something from elsewhere"


def missing_pages(source, pages):
    for header in stage.public_headers(source):
        file = header.rsplit("/", 1)[-1].replace(".h", "_8h.html")
        if file not in pages:
            yield f"{header} has no page"
        text = (source / header).read_text()
        space = "nx::util" if "/util/" in header else "nx::oss"
        for kind, name in re.findall(r"^(class|struct) (?:KELINFRA_EXPORT )?(\w+)[^;]*\{", text, re.M):
            if f"{kind}{space.replace('::', '_1_1')}_1_1{name}.html" not in pages:
                yield f"{space}::{name} has no page"
    guide = {path.stem for path in (source / "docs/guide").glob("*.md")} - {"main"}
    for name in [*(f"guide-{stem}" for stem in guide), *stage.DOCUMENTS]:
        if f"{name}.html" not in pages:
            yield f"{name} has no page"


def missing_in_contents(source, pages):
    """Every page of a class, of the guide and of a document stands in the contents beside the text."""
    contents = stage.navigation(source)
    for name in pages:
        nested = name.count("_1_1") > 2
        if re.match(r"class|guide-", name) and not nested and f"^{name}\"" not in contents:
            yield f"docs/guide/main.md does not list {name}"


def check(source, output):
    folder = output / "html"
    pages = {path.name: Page(path.read_text()) for path in sorted(folder.glob("*.html"))}
    problems = [*broken_links(pages, folder), *remote_resources(pages, folder), *missing_pages(source, pages),
                *missing_in_contents(source, pages)]
    problems += [f"{name} has no heading, or several" for name, page in pages.items() if page.headings != ["title"]]
    # A check of nothing would pass.
    links = sum(len(page.links) for page in pages.values())
    if len(pages) < 60 or links < 3000:
        problems.append(f"only {len(pages)} pages and {links} links")
    if any(str(source) in path.read_text() for path in folder.iterdir()):
        problems.append("a page names the folder of the sources")
    if problems:
        sys.exit("\n".join(problems))
    print(f"{len(pages)} pages, {links} links")
