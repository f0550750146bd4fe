"""The build with all mutants in it: build/mutation, made of the sources as they are, but for the rooms' files, of which
the compiler is shown the copies with mutants (an overlay of Clang's file system)."""

import hashlib
import json
import multiprocessing
import os
import pathlib
import shlex
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "mutation"
SWITCH = ROOT / "tests" / "mutation" / "switch.h"
TARGETS = {
    "client": "client",
    "plugin": "adapter",
    "host/queue": "queue",
    "host/storage": "storage",
    "till/checkout": "till_checkout",
    "host/shop": "shop",
}  # fmt: skip
PROGRAMS = {
    "client": ["test_client", "test_plugin", "test_plugin_journey"],
    "plugin": ["test_plugin", "test_client", "test_plugin_journey"],
    "host/queue": ["test_queue", "test_storage"],
    "host/storage": ["test_storage", "rescue_test", "test_queue"],
    "till/checkout": ["test_till", "checkout_journey_test"],
    "host/shop": ["test_shop"],  # with a database server for each test: slow
}  # fmt: skip
WHOLE_TILL = ["till_journey_test"]  # some seconds for each test: for what the others do not notice
SOURCES = ["client", "host", "plugin", "stand", "till", "tests", ":!tests/mutation", ":!*.md"]
MOST = 2000  # mutants of one file: where its numbers begin does not depend on the other files


def files(room):
    return sorted(p for p in (ROOT / room).iterdir() if p.suffix in (".cpp", ".h"))


def numbered():
    return {path: at * MOST for at, path in enumerate(p for room in TARGETS for p in files(room))}


def what_tests_share():
    """All files that the programs are made of and read, but for each test's own source."""
    listed = subprocess.run(["git", "ls-files", *SOURCES], stdout=subprocess.PIPE, cwd=ROOT, check=True)
    paths = [ROOT / name for name in listed.stdout.decode().splitlines()]
    mutated = numbered()
    return [copy_of(p) if p in mutated else p for p in paths if p.is_file() and not p.name.endswith("_test.cpp")]


def write_if_other(path, content):
    """Says whether it was another: the build goes by the time of change."""
    path.parent.mkdir(parents=True, exist_ok=True)
    if path.exists() and path.read_bytes() == content:
        return False
    path.write_bytes(content)
    return True


def copy_of(path):
    return BUILD / "mutated" / path.relative_to(ROOT)


def memory_of(path):
    return BUILD / "found" / f"{path.relative_to(ROOT)}.json"


def configure():
    for path in numbered():
        copy = copy_of(path)
        if not copy.exists() or copy.stat().st_mtime < path.stat().st_mtime:  # also of a room that is not asked for
            write_if_other(copy, path.read_bytes())
            memory_of(path).unlink(missing_ok=True)
    overlay = [{"name": str(p), "type": "file", "external-contents": str(copy_of(p))} for p in numbered()]
    other = write_if_other(BUILD / "overlay.yaml", json.dumps({"version": 0, "roots": overlay}, indent=1).encode())
    if not other and (BUILD / "build.ninja").exists():
        return
    flags = f"-w -ivfsoverlay {BUILD}/overlay.yaml -include {SWITCH}"
    run(
        *("cmake", "--preset", "dev", "-B", BUILD, "-DCMAKE_CXX_COMPILER=clang++-14", f"-DCMAKE_CXX_FLAGS={flags}"),
        *("-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DKYR_WARNINGS_AS_ERRORS=OFF", "-DCCACHE_PROGRAM="),
    )


def run(*command):
    done = subprocess.run([str(c) for c in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=ROOT)
    if done.returncode:
        raise SystemExit(done.stdout.decode()[-4000:] + f"\n{command[0]} failed")


def arguments(room, build=BUILD):
    """What Clang needs to know to read a source of the room."""
    place = f"/{TARGETS[room]}.dir/"
    commands = json.loads((build / "compile_commands.json").read_text())
    words = shlex.split(next(c["command"] for c in commands if place in c["command"].rpartition(" -o ")[2]))
    kept = ["-x", "c++", "-ferror-limit=0", "-Werror=vla", "-include", str(SWITCH)]
    for at, word in enumerate(words):
        if word == "-isystem":
            kept += words[at : at + 2]
        elif word.startswith(("-D", "-I", "-std=")):
            kept.append(word)
    return kept


def made(task):
    """The mutants of one source as plain data; its copy has them all. Remembered while nothing changes."""
    from schemata import Schemata  # only where there is something to read

    path, first, args = task
    source = path.read_bytes()
    tool = b"".join((SWITCH.parent / name).read_bytes() for name in ("nodes.py", "mutants.py", "schemata.py"))
    stamp = hashlib.sha256(source + tool + repr((first, args)).encode()).hexdigest()
    memory = memory_of(path)
    if memory.exists():
        known = json.loads(memory.read_text())
        if known["stamp"] == stamp:
            return path, known["mutants"]
    schemata = Schemata(str(path), source, args, first)
    if len(schemata.mutants) > MOST:
        raise RuntimeError(f"{path} has more mutants than numbers")
    write_if_other(copy_of(path), schemata.text)
    mutants = numbered_twins([described(path, source, m) for m in schemata.mutants])
    write_if_other(memory, json.dumps({"stamp": stamp, "mutants": mutants}, ensure_ascii=False, indent=1).encode())
    return path, mutants


def numbered_twins(mutants):
    """Tells mutants of a source apart that read alike."""
    seen = {}
    for mutant in mutants:
        alike = (mutant["old"], mutant["new"], mutant["kind"])
        mutant["twin"] = seen[alike] = seen.get(alike, 0) + 1
    return mutants


def described(path, source, mutant):
    begin = source.rfind(b"\n", 0, mutant.start) + 1
    end = source.find(b"\n", mutant.end)
    old = source[begin:end]
    new = source[begin : mutant.start] + mutant.text + source[mutant.end : end]
    return {
        "number": mutant.number,
        "kind": mutant.kind,
        "file": str(path.relative_to(ROOT)),
        "line": source.count(b"\n", 0, mutant.start) + 1,
        "old": b" ".join(old.split()).decode(),
        "new": b" ".join(new.split()).decode(),
        "twin": 1,
        "fault": mutant.fault,
    }


def prepare(rooms):
    """The mutants of these rooms, each in a source of the build."""
    configure()
    first = numbered()
    tasks = [(path, first[path], arguments(room)) for room in rooms for path in files(room)]
    found = {}
    with multiprocessing.Pool(2) as pool:
        for path, mutants in pool.imap(made, tasks):
            found[path] = mutants
    return {room: [m for path in files(room) for m in found[path]] for room in rooms}


def build(programs):
    run("ninja", "-C", BUILD, f"-j{os.cpu_count()}", *programs)
