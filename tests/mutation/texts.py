"""Texts that a test reads in the source (tests/contract/texts_test.cpp), where a compiled mutant does not show."""

import re
import xml.etree.ElementTree

NOTICED_BY = "Languages/Texts.OfTheSourcesAreAllTranslatedWithTheSamePlaceholders/en"


def translated(root):
    """Every identifier and Russian text of the table that the sources are compared with."""
    messages = xml.etree.ElementTree.parse(root / "translations" / "kyr_en.ts").iter("message")
    return {text for m in messages for text in (m.get("id"), m.findtext("source"))}


def literals(line):
    joined = re.sub(r'"\s+u?"', "", line)  # one text in two pieces
    return re.findall(r'"((?:[^"\\]|\\.)*)"', joined)


def noticed_by_reading(mutant, table):
    if mutant["kind"] != "text":
        return ""
    changed = [was for was, is_ in zip(literals(mutant["old"]), literals(mutant["new"])) if was != is_]
    return NOTICED_BY if len(changed) == 1 and changed[0] in table else ""
