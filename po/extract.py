#!/usr/bin/env python3
"""Prints the template of the message catalogues: every text that a person can be shown, in a fixed order.

Usage: po/extract.py > po/MERO.pot

The texts come from the tables in the sources, from the marked texts of the shipped configuration set and from the polkit
policy. A file that is named here and holds no text is an error, so that none gets lost when a table moves.
"""

import os
import re
import sys
import xml.etree.ElementTree as ElementTree

SOURCE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# All string literals of these files are texts.
TABLES = (
    "vpn/tools/MERO/MEROOffline/Linux/UserTexts.cpp",
    "vpn/tools/MERO/MEROEngine/implementations/EngineMessages.h",
)
CONFIGURATION = "data/xml/config"
POLICY = "data/polkit/com.varnel.corvane.mero.policy"

# For those who translate, in front of the text.
NOTES = {
    "Processing %s...": "%s is the description of an item, translated on its own.",
    "Clearing %s...": "%s is the description of an item, translated on its own.",
    "Still running %s, please be patient as this may take a few minutes...": "%s is the name of a program.",
    "%s files could not be packed, see %s": "How many, in digits, and the name of a file in the bundle.",
    "MERO has finished... ": "The blank at the end belongs to it.",
    "Email Address(es): ": "The blank at the end belongs to it.",
}

# For the texts of controls with the letter that presses them.
MNEMONIC = re.compile(r"_\w")
MNEMONIC_NOTE = ("The text of a button or option as translated above, with _ in front of the letter that presses it together with "
                 "Alt; or, where no letter of it can be typed, with one added as in (_N). Each on a page has its own.")

HEADER = """# Translations of MERO.
#
msgid ""
msgstr ""
"Project-Id-Version: MERO\\n"
"Language: \\n"
"MIME-Version: 1.0\\n"
"Content-Type: text/plain; charset=utf-8\\n"
"Content-Transfer-Encoding: 8bit\\n"
"""


def read(name):
    with open(os.path.join(SOURCE, name), encoding="utf-8") as file:
        return file.read()


def literals(name):
    """The string literals of a C++ file, with adjacent ones joined, as they stand between their quotes."""
    text = re.sub(r"^\s*#include.*$|//.*$", "", read(name), flags=re.MULTILINE)
    for joined in re.findall(r'(?:"(?:[^"\\\n]|\\.)*"\s*)+', text):
        yield "".join(re.findall(r'"((?:[^"\\\n]|\\.)*)"', joined))


def marked(root):
    """The texts marked for translation in a document, in its order."""
    for element in root.iter():
        for value in [*element.attrib.values(), element.text or ""]:
            found = re.search(r'_tr\("(.*?)"\)', value, re.DOTALL)
            if found:
                yield escape(found[1])


def escape(text):
    return text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n")


def sources():
    """Each file with its texts."""
    for name in TABLES:
        yield name, list(literals(name))
    folder = os.path.join(SOURCE, CONFIGURATION)
    for name in sorted(entry for entry in os.listdir(folder) if entry.endswith(".xml")):
        path = os.path.join(CONFIGURATION, name)
        yield path, list(marked(ElementTree.parse(os.path.join(SOURCE, path)).getroot()))
    policy = ElementTree.parse(os.path.join(SOURCE, POLICY)).getroot()
    yield POLICY, [escape(element.text) for element in policy.iter() if element.tag in ("description", "message")]


def collect():
    """Texts with the files that they are from, in the order of their first appearance."""
    found = {}
    for name, texts in sources():
        if not texts:
            sys.exit("extract.py: no text in " + name)
        for text in texts:
            files = found.setdefault(text, [])
            if text and name not in files:
                files.append(name)
    found.pop("", None)
    return found


def main():
    print(HEADER, end="")
    for text, files in collect().items():
        print()
        if text in NOTES:
            print("#. " + NOTES[text])
        if MNEMONIC.search(text):
            print("#. " + MNEMONIC_NOTE)
        print("#: " + " ".join(files))
        if re.search(r"%[sd]", text):
            print("#, c-format")
        print('msgid "%s"\nmsgstr ""' % text)


if __name__ == "__main__":
    main()
