"""Prepares a file for Doxygen, and prints it: filter.py FILE.

Markdown: gives each heading the anchor that other readers of Markdown give it, turns links to other pages
into Doxygen's, and marks code in a link's text, where Doxygen knows no backticks. Headers: turns the lines
that divide them into groups.
"""

import os
import pathlib
import re
import sys

DOCS = pathlib.Path("docs")
CHANGES = pathlib.Path("CHANGELOG.md")


def anchor(page, heading=""):
    """The identifier of a page or of a heading on it, unique on the site."""
    name = re.sub(r"\W", "-", pathlib.Path(page).stem)
    slug = re.sub(r"[^\w\- ]", "", re.sub(r"`|\\", "", heading.strip().lower())).replace(" ", "-")
    return f"page-{name}--{slug}" if slug else f"page-{name}"


def link(page, match):
    text, target, _, fragment = match.groups()
    if "://" in target or target.endswith((".svg", ".png")):
        return match.group(0)
    if target.endswith((".h", ".hpp")):
        return f"[{text}](@ref {pathlib.Path(target).name})"
    if target and not target.endswith(".md"):
        return text  # a file that is not on the site
    file = pathlib.Path(os.path.normpath(page.parent / target))
    if target and DOCS not in file.parents and file != CHANGES:
        return text
    reference = f"[{text.replace('`', '')}](@ref {anchor(target or page, fragment or '')})"
    return f'<span class="code">{reference}</span>' if "`" in text else reference


def markdown(page):
    in_code = False
    for number, line in enumerate(page.read_text(encoding="utf-8").splitlines()):
        if line.startswith("```"):
            in_code = not in_code
        elif not in_code and not line.startswith("    "):
            line = re.sub(r"\[([^\]]*)\]\(([^)#\s]*)(#([^)\s]*))?\)",
                          lambda match: link(page, match), line)
            if heading := re.match(r"(#+) (.*)", line):
                name = anchor(page, heading[2] if heading[1] != "#" else "")
                line += f" {{#{name}}}"
        yield line


def header(path):
    text = re.sub(r"^/\* -+ (\w.*?) \*/$", r"/** @} */\n/** @name \1\n * @{ */",
                  path.read_text(encoding="utf-8"), flags=re.MULTILINE)
    text = text.replace("/** @} */\n", "", 1)
    if "/** @name" in text:
        text = text.replace("#ifdef __cplusplus\n}\n", "/** @} */\n#ifdef __cplusplus\n}\n")
    yield text


def main():
    path = pathlib.Path(sys.argv[1])
    relative = pathlib.Path(path.resolve()).relative_to(pathlib.Path.cwd())
    for part in (markdown if path.suffix == ".md" else header)(relative):
        print(part)


main()
