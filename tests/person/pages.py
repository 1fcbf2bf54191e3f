# SPDX-License-Identifier: GPL-3.0-or-later
"""A session with a slide that is a web page."""

import os
import xml.etree.ElementTree as ElementTree

from editor import key, word

URL = "html1/page.html"


def add_page(lecture):
    """As the second slide."""
    document = ElementTree.parse(lecture / "project.qvp")
    page = ElementTree.Element("item")
    for name, text in {"title": "A page", "recdate": "2026/1/1", "pos": "-1", "url": URL}.items():
        ElementTree.SubElement(page, name).text = text
    document.find("project/index").insert(1, page)
    document.write(lecture / "project.qvp", "UTF-8", xml_declaration=True)
    (lecture / URL).parent.mkdir()
    (lecture / URL).write_text("<!doctype html><h1>Read this</h1><a href='#a'>First</a> <a href='#b'>Last</a>")


def stand_in_for_a_browser(desk):
    """Returns where it writes what it is asked to open."""
    opener, opened = desk.work / "bin/xdg-open", desk.work / "opened"
    opener.parent.mkdir()
    opener.write_text(f'#!/bin/sh\necho "$1" > {opened}\n')
    opener.chmod(0o755)
    os.environ["PATH"] = f"{opener.parent}:{os.environ['PATH']}"
    return opened


def look_at(editor):
    editor.choose_row(2)
    editor.until(lambda: editor.all("document web", "") and not editor.stop(), "the keyboard given to the page")


def look_at_a_page(bench):
    """The program's keys work while a page has the keyboard, which it gives back; and a save keeps the page."""
    add_page(bench.lecture)
    opened = stand_in_for_a_browser(bench.desk)
    editor = bench.editor()
    editor.louder()
    look_at(editor)
    editor.until(lambda: (bench.lecture / "thumbnails/html1.jpg").exists(), "a thumbnail")
    bench.desk.show("page")
    key("F1")
    editor.until(lambda: opened.exists() and opened.read_text().endswith("/help/index.html\n"), "the manual")
    key("ctrl+z")
    editor.sees("to 0:00:15.0, 100 %")
    key("ctrl+y")
    editor.sees("to 0:00:15.0, 125 %")
    for keys, stop in ((["F6"], ("list", word("ListView"))), (["Tab"] * 3, ("push button", word("ToolbarSave")))):
        look_at(editor)
        key(*keys)
        editor.until(lambda: editor.stop() == stop, f"{keys} to {stop}")
        editor.choose_slide(1)
    look_at(editor)
    editor.save()
    editor.process.terminate()
    editor.ended()
    bench.whole()
    slides = bench.tool("info", bench.lecture).splitlines()[-6:]
    assert [slide.split()[0] for slide in slides] == list("123456") and "A page" in slides[1], slides
    document = ElementTree.parse(bench.lecture / "project.qvp")
    assert document.findall("project/index/item")[1].findtext("url") == URL
    assert "Read this" in (bench.lecture / URL).read_text()
