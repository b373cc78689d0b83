"""Turns the words that doxygen collected for a search server into a script for docs/site/search.js.

    search_words.py SEARCHDATA.XML HTML_FOLDER
"""

import html
import json
import pathlib
import re
import sys
import xml.etree.ElementTree


def title(page):
    """Returns the title of a page, without the library's name ahead of it."""
    text = re.search("<title>[^:]*: (.*)</title>", page.read_text(encoding="utf-8"))
    return html.unescape(text[1]) if text else page.stem


def main(searchdata, folder):
    entries = {}
    for doc in xml.etree.ElementTree.parse(searchdata).iter("doc"):
        entry = {field.get("name"): field.text or "" for field in doc.iter("field")}
        if "Impl" in entry["name"]:
            continue  # says what the class in front of it says
        if entry["type"] == "page":
            entry["name"] = title(pathlib.Path(folder, entry["url"]))
        # An enumerator and its enumeration share one address, and so do a record and its typedef.
        entries.setdefault(entry["url"], {key: entry[key] for key in ("type", "name", "url", "text")})
    print("const searchWords =", json.dumps(list(entries.values())), ";")


main(*sys.argv[1:])
