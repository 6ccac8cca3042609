"""All documents as one HTML page that needs nothing beside it."""
import re

import links

ORDER = ("tour", "installing", "connecting", "careful-host", "reference", "errors",
         "troubleshooting", "not-checked", "security", "simulated-plc", "performance",
         "reliability", "windows-checklist")
STYLE = """
body { font: 16px/1.5 sans-serif; max-width: 60em; margin: 2em auto; padding: 0 1em; color: #222; }
pre { background: #f4f4f4; padding: .7em; overflow-x: auto; font-size: 13px; line-height: 1.35; }
code { background: #f4f4f4; } pre code { background: none; }
table { border-collapse: collapse; } td, th { border: 1px solid #ccc; padding: .2em .6em; }
td, th { text-align: left; vertical-align: top; } a { color: #00508c; }
section { border-top: 2px solid #ccc; margin-top: 3em; }
"""


def inside(text, name, titles):
    """The document's links as links within the page; what leads elsewhere in the tree as text."""
    def link(match):
        words, target = match[1], match[2]
        if re.match(r"[a-z]+:", target):
            return match[0]
        path, _, heading = target.partition("#")
        document = path.removesuffix(".md") if path else name
        if document not in ORDER:
            return words
        if words == path:
            words = titles[document]
        return f"[{words}](#{document}{'--' + heading if heading else ''})"

    return re.sub(r"\[([^\]]*)\]\(([^)\s]+)\)", link, text)


def page(root, version):
    import markdown  # Debian's python3-markdown; what else script/docs does needs nothing

    documents = {path.stem for path in (root / "docs").glob("*.md")}
    assert documents == set(ORDER), f"ORDER of help_page.py and docs/ differ: {documents ^ set(ORDER)}"
    texts = {name: re.sub(r"^<!--.*?-->\n", "",
                          (root / "docs" / f"{name}.md").read_text(encoding="utf-8"),
                          flags=re.MULTILINE) for name in ORDER}
    titles = {name: re.match(r"# (.*)", text)[1] for name, text in texts.items()}
    contents, sections = [], []
    for name in ORDER:
        text = inside(texts[name], name, titles)
        toc = {"slugify": lambda heading, _, name=name: f"{name}--{links.anchor(heading)}"}
        body = markdown.markdown(text, extensions=["tables", "fenced_code", "toc"],
                                 extension_configs={"toc": toc})
        contents.append(f'<li><a href="#{name}">{titles[name]}</a></li>')
        sections.append(f'<section id="{name}">\n{body}\n</section>')
    html = (f'<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8">'
            f"<title>Plexum {version}</title><style>{STYLE}</style></head><body>\n"
            f"<h1>Plexum {version}</h1>\n<ul>\n" + "\n".join(contents) + "\n</ul>\n"
            + "\n".join(sections) + "\n</body></html>\n")
    missing = set(re.findall(r'href="#([^"]+)"', html)) - set(re.findall(r'id="([^"]+)"', html))
    assert not missing, f"the page has no {missing}"
    assert "```" not in html, "a fence was taken for text"
    return html
