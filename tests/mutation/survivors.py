"""The list of mutants that no test notices, each with the reason why that is right.

An entry is found by what it says, not by the line's number:

    client/receipt.cpp (operator)
    - the line, or lines, as they are
    + as the mutant has them
      why no test can notice it
"""

import re


def key(mutant):
    twin = f", {mutant['twin']}" if mutant["twin"] > 1 else ""
    return f"{mutant['file']} ({mutant['kind']}{twin})\n- {mutant['old']}\n+ {mutant['new']}".rstrip()


def read(path):
    """The reason by the key."""
    listed = {}
    for block in re.split(r"\n\s*\n", path.read_text() if path.exists() else ""):
        lines = [line for line in block.strip("\n").splitlines() if not line.startswith("#")]
        if not lines:
            continue
        what = [line.rstrip() for line in lines if not line.startswith("  ")]
        reason = " ".join(line.strip() for line in lines if line.startswith("  "))
        if len(what) != 3 or what[1][:1] != "-" or what[2][:1] != "+":
            raise SystemExit(f"{path}: not an entry:\n{block}")
        if not reason:
            raise SystemExit(f"{path}: no reason:\n{block}")
        if "\n".join(what) in listed:
            raise SystemExit(f"{path}: twice:\n{block}")
        listed["\n".join(what)] = reason
    return listed


def compare(listed, outcomes, existing):
    """What is to be said: survivors that are not listed; entries whose mutant is noticed; entries without a mutant."""
    unlisted = [k for k, noticed_by in outcomes.items() if not noticed_by and k not in listed]
    noticed = [(k, by) for k, by in outcomes.items() if by and k in listed]
    gone = [k for k in listed if k not in existing and k.split(" ")[0].rpartition("/")[0] in existing.values()]
    return unlisted, noticed, gone
