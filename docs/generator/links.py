"""Links of the documents: each must lead to a file, and to a heading where it names one."""
import re

LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ +(.*?) *$", re.MULTILINE)


def anchor(heading):
    """As readers of Markdown make it."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def anchors(path):
    text = re.sub(r"^```.*?^```$", "", path.read_text(encoding="utf-8"), flags=re.M | re.S)
    return {anchor(heading) for heading in HEADING.findall(text)}


def documents(root):
    return [root / "README.md", root / "CONTRIBUTING.md", root / "examples" / "README.md",
            *sorted((root / "docs").glob("*.md"))]


def broken(root):
    failures = []
    for document in documents(root):
        if not document.exists():
            continue
        for link in LINK.findall(document.read_text(encoding="utf-8")):
            if re.match(r"[a-z]+:", link):
                continue
            name, _, heading = link.partition("#")
            path = (document.parent / name).resolve() if name else document
            if not path.exists():
                failures.append(f"{document.relative_to(root)}: no {link}")
            elif heading and heading not in anchors(path):
                failures.append(f"{document.relative_to(root)}: no heading {link}")
    return failures
