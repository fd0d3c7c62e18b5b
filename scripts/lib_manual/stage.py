"""Prepares what Doxygen reads: copies of the headers and documents, in the form that it understands."""

import functools
import html
import re

# Documents beside the guide, in docs/.
DOCUMENTS = ["building", "debugging", "diagnostics", "performance", "properties-format", "required-behaviour", "text",
             "threads", "wire-formats"]
# How paragraphs of the headers begin, and what Doxygen calls that.
PARAGRAPHS = [(r"Careful: ", "@warning "), (r"Throws", "@par Errors\n{indent}/// {word}"),
              (r"Thread-safety: ", "@par Threads\n{indent}/// ")]
NAME = re.compile(r"(~?\w+|operator[^\s(]+)\(")


def prepare(source, output):
    target = output / "input"
    for header in public_headers(source):
        write(target / header, header_text((source / header).read_text(), header))
    for name in DOCUMENTS:
        write(target / f"docs/{name}.md", page_text(source, source / f"docs/{name}.md", name))
    for page in sorted((source / "docs/guide").glob("*.md")):
        text = page_text(source, page, None if page.stem == "main" else f"guide-{page.stem}")
        write(target / f"docs/guide/{page.name}", re.sub(r"^- (nx::\w+::(\w+))", r'- @ref \1 "\2"', text, flags=re.M))
    write(target / "docs/guide/namespaces.dox", (source / "docs/guide/namespaces.dox").read_text())
    header = (source / "docs/manual/header.html").read_text()
    write(output / "header.html", header.replace("@NAVIGATION@", navigation(source)))


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


def public_headers(source):
    for line in (source / "tests/install/publicHeaders.txt").read_text().split():
        folder = "include/infra" if line.startswith("oss/") else "src/infra"
        yield f"{folder}/{line}"


# --- headers


def header_text(text, path):
    """Comments in Doxygen's words. An overload that follows without a comment has that of the one before it."""
    lines = text.replace("#pragma once\n", f"{file_comment(text, path)}\n#pragma once\n", 1).split("\n")
    result, comment, previous = [], [], None
    for line in lines:
        if line.strip().startswith("///") and "///<" not in line[:line.find("///") + 4]:
            comment.append(line)
            continue
        name = None if line.startswith(" " * 5) else NAME.search(line)
        if not line.strip():
            previous = None if comment == [] else previous
        if line.endswith("= delete;"):
            comment, previous = [*comment, deleted(line)], None
            result += comment
        elif comment:
            result += converted(comment)
            previous = (name.group(1), comment) if name else None
        elif name and previous and previous[0] == name.group(1):
            result += converted(previous[1])
        elif name or line.strip() == "":
            previous = None
        comment = []
        result.append(line)
    return "\n".join(result)


def file_comment(text, path):
    names = re.findall(r"^(?:class|struct) (?:KELINFRA_EXPORT )?(\w+)(?: final)?(?: : [^;]*)? \{", text, re.M)
    if not names:
        return "/// @file\n/// What the shared object exports, and what it hides.\n"
    space = "nx::util" if "/util/" in path else "nx::oss"
    return "/// @file\n/// Declares " + " and ".join(f"{space}::{name}" for name in names) + ".\n"


def deleted(line):
    what = "assigned" if "operator=" in line else "copied" if "&" in line else "made"
    return re.match(" *", line).group(0) + f"/// Not {what}."


def converted(comment):
    """Paragraphs that begin with a known word become sections of their own."""
    result, begins = [], True
    for indent, text in split_up([re.match(r"( *)/// ?(.*)", line).groups() for line in comment]):
        if begins:
            text = converted_beginning(text, indent)
        if not text.startswith("    "):
            text = re.sub(r"`([^`]+)`", code_span, text)
            text = re.sub(r"\bdocs/([\w-]+)\.md", r"@ref \1", text)
        result.append(f"{indent}/// {text}".rstrip())
        begins = text.strip() == "" or text.startswith("@name")
    return marked_code(result)


def marked_code(comment):
    """Indented lines, of which one ends as a statement does, are C++."""
    text = "\n".join([*comment, ""])
    return re.sub(r"^( */// *)\n((?: */// {5,}.*\n)(?: */// {5,}.*\n| *///\n(?= */// {5}))*)",
                  lambda m: f"{m.group(1)}\n{as_code(m.group(2))}", text, flags=re.M).split("\n")[:-1]


def as_code(lines):
    if not re.search(r"[;{]$", lines, re.M):
        return lines
    lead = re.match(r" *///", lines).group(0)
    body = re.sub(r"^( *///) {5}", r"\1 ", lines, flags=re.M)
    return f"{lead} @code{{.cpp}}\n{body}{lead} @endcode\n"


def split_up(lines):
    """Warnings and errors within a paragraph, but not in a list, begin a paragraph."""
    result, listed, above = [], False, ""
    for indent, text in lines:
        listed = text.startswith("- ") or (listed and text != "")
        if listed or text.startswith("    "):
            result.append((indent, text))
        else:
            for i, part in enumerate(re.split(r"(?<=\.) (?=Careful: |Throws )", text)):
                known = re.match("Careful: |Throws ", part)
                if i > 0 or (known and above.endswith(".")):
                    result.append((indent, ""))
                result.append((indent, part))
        above = text
    return result


def converted_beginning(text, indent):
    for pattern, replacement in PARAGRAPHS:
        match = re.match(pattern, text)
        if match:
            begin = replacement.format(indent=indent, word=match.group(0))
            return begin + text[match.end():match.end() + 1].upper() + text[match.end() + 1:]
    return text


# --- documents


def page_text(source, path, name):
    """A document, with names for its headings, its links made Doxygen's, and its pictures inside."""
    text = path.read_text()
    contents = len(re.findall(r"^## ", text, re.M)) > 2
    return "\n".join(BLOCKS[kind](source, path, name, contents, "\n".join(lines))
                     for kind, lines in blocks(text.split("\n")))


def blocks(lines):
    """What belongs together: fenced and indented code, headings, pictures, and paragraphs with their lists."""
    found, fenced = [], False
    for line in lines:
        fence = re.match(r"```+\w*\s*$", line)
        if fenced or fence:
            kind = "fenced"
        elif line.startswith("    ") and (not found or found[-1][0] in ("blank", "indented")):
            kind = "indented"
        else:
            kind = ("heading" if re.match("#+ ", line) else "picture" if re.match(r"!\[.*\.svg\)$", line)
                    else "text" if line.strip() else "blank")
        if found and found[-1][0] == kind and kind not in ("heading", "picture") and not (fence and not fenced):
            found[-1][1].append(line)
        else:
            found.append((kind, [line]))
        fenced = fenced != bool(fence)
    return found


def fenced_code(_source, _path, _name, _contents, text):
    language, rest = re.match(r"```+(\w*)(.*)", text, re.S).groups()
    return "```{.cpp}" + rest if language in ("cpp", "c++") else "```{.unparsed}" + rest


def heading(_source, _path, name, contents, line):
    line = line.rstrip()
    if name is None:
        return line
    first = line.startswith("# ")
    if "{#" not in line:
        line += f" {{#{name}}}" if first else f" {{#{name}-{slug(line.lstrip('# '))}}}"
    line = re.sub(r"`([^`]+)`", code_span, line)
    return f"{line}\n\n[TOC]" if first and contents else line


def paragraph(source, path, name, _contents, text):
    text = re.sub(r"`([^`]+)`", lambda m: code_span(m, source), links(text, path, name))
    return re.sub(r"(?<!\\)\*\*(?=\S)([^*]*?<code>.*?)(?<!\\)\*\*", r"<b>\1</b>", text, flags=re.S)


def picture(_source, path, _name, _contents, line):
    """Inside the page, so that it follows the choice between dark and light."""
    caption, file = re.match(r"!\[([^]]*)\]\(([^)]*)\)", line).groups()
    svg = re.sub(r"<style>(.*?)</style>", lambda m: f"<style>{scoped(m.group(1))}</style>",
                 (path.parent / file).read_text(), flags=re.S)
    return (f"@htmlonly[block]\n<figure class=\"picture\">{svg.strip()}"
            f"<figcaption>{html.escape(caption)}</figcaption></figure>\n@endhtmlonly")


def unchanged(_source, _path, _name, _contents, text):
    return text


BLOCKS = {"fenced": fenced_code, "indented": unchanged, "blank": unchanged, "heading": heading, "picture": picture,
          "text": paragraph}


def code_span(match, source=None):
    """Doxygen looks for commands in `code` as well. Given the sources, names of classes and members lead to them."""
    code = match.group(1)
    name = re.fullmatch(r"(?:nx::\w+::)?(\w+)(?:::(~?\w+))?(\(\))?", code)
    if source and name and name.group(1) in classes(source):
        space, text = classes(source)[name.group(1)]
        if not name.group(2):
            return f"<code>@ref {space}::{name.group(1)} \"{name.group(1)}\"</code>"
        if re.search(rf"\b{name.group(2)}\(", text):
            return f"<code>@ref {space}::{name.group(1)}::{name.group(2)} \"{code}\"</code>"
    code = html.escape(code, quote=False)
    return "<code>" + re.sub(r"---?|::|[\\\"@%#*_\[\]]", lambda m: "\\" + m.group(0), code) + "</code>"


@functools.lru_cache(maxsize=1)
def classes(source):
    """The public classes: their namespaces and the public part of their headers."""
    found = {}
    for header in public_headers(source):
        text = (source / header).read_text()
        space = "nx::util" if "/util/" in header else "nx::oss"
        for match in re.finditer(r"^class KELINFRA_EXPORT (\w+)[^;{]*\{.*?^(?:  private:|\};)", text, re.M | re.S):
            found[match.group(1)] = (space, match.group(0))
    return found


def slug(text):
    return re.sub(r"[^\w -]", "", text.lower()).strip().replace(" ", "-")


def links(line, path, name):
    """Links between documents and within one; those to other files of the sources become plain text."""
    def replaced(match):
        text, target = match.groups()
        if "://" in target:
            return match.group(0)
        file, _, anchor = target.partition("#")
        stem = file.rsplit("/", 1)[-1].removesuffix(".md") or name
        if file and not known(path, file):
            return text
        if file and (path.parent / file).resolve().parent.name == "guide":
            stem = "guide-" + stem
        if anchor and not anchor.startswith(stem):
            anchor = f"{stem}-{anchor}"
        return f"[{text}](#{anchor or stem})"
    return re.sub(r"(?<!!)\[([^]]*)\]\(([^)]+)\)", replaced, line)


def known(path, file):
    found = (path.parent / file).resolve()
    return found.parent.name in ("docs", "guide") and found.stem in DOCUMENTS + guide_names(path)


def guide_names(path):
    folder = path.parent if path.parent.name == "guide" else path.parent / "guide"
    return [page.stem for page in folder.glob("*.md")]


def scoped(style):
    """The rules of a picture for pictures alone, and those for the dark also where dark is chosen."""
    dark = re.search(r"@media \(prefers-color-scheme: dark\) \{(.*)\}", style, re.S)
    rules = prefixed(style.replace(dark.group(0), "") if dark else style, ".picture")
    if dark:
        rules += ("@media (prefers-color-scheme: dark) {" + prefixed(dark.group(1), "html:not(.light) .picture")
                  + "}\n" + prefixed(dark.group(1), "html.dark .picture"))
    return rules


def prefixed(rules, prefix):
    result = []
    for selectors, body in re.findall(r"([^{}]+)\{([^{}]*)\}", rules):
        names = ", ".join(f"{prefix} {selector.strip()}" for selector in selectors.split(","))
        result.append(f"{names} {{{body}}}\n")
    return "".join(result)


# --- navigation


def navigation(source):
    """The contents beside each page: the lists of the main page."""
    result = []
    for line in (source / "docs/guide/main.md").read_text().split("\n"):
        section = re.match(r"## (.*?)(?: \{#.*\})?$", line)
        page = re.match(r"- \\subpage (\S+)", line)
        name = re.match(r"- (nx::\w+::(\w+))", line)
        if section:
            result += ["</ul>"] * bool(result) + [f"<h2>{html.escape(section.group(1))}</h2>", "<ul>"]
        elif page:
            result.append(entry(page.group(1) + ".html", page_title(source, page.group(1))))
        elif name:
            result.append(entry(f"class{name.group(1).replace('::', '_1_1')}.html", name.group(2)))
    return "\n".join(result + ["</ul>"])


def entry(target, title):
    return f"<li><a href=\"$relpath^{target}\">{html.escape(title)}</a></li>"


def page_title(source, name):
    stem = name.removeprefix("guide-")
    path = source / ("docs/guide" if name.startswith("guide-") else "docs") / f"{stem}.md"
    return re.sub(r"\s*\{#.*\}", "", path.read_text().split("\n", 1)[0].removeprefix("# "))
