"""A few mutants of one source of the client, against the client's own tests: what can be tried within seconds.

  sample.py BUILD        the everyday build (by Clang), with test_client in it

KYR_SEED says which source and which mutants; without it the day does.
"""

import datetime
import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import survivors
import trial
import workshop
from schemata import Schemata

HOW_MANY = 8


def relinked(build, folder, path, text):
    """test_client with this text in the place of the source."""
    copy = folder / path.name
    copy.write_bytes(text)
    overlay = {"version": 0, "roots": [{"name": str(path), "type": "file", "external-contents": str(copy)}]}
    (folder / "overlay.yaml").write_text(json.dumps(overlay))
    commands = subprocess.run(
        ["ninja", "-C", str(build), "-t", "commands", "test_client"], stdout=subprocess.PIPE, check=True
    )
    commands = commands.stdout.decode().splitlines()
    compiled = next(c for c in commands if c.rpartition(" -o ")[2].startswith("client/CMakeFiles/client.dir/"))
    words = compiled.split()
    where = words.index("-o") + 1
    words[where] = str(folder / "client.o")
    with_mutants = ["-ivfsoverlay", str(folder / "overlay.yaml"), "-include", str(workshop.SWITCH)]
    words[where - 1 : where - 1] = ["-w", *with_mutants]
    # The list of what it depends on is the build's.
    for option in ("-MF", "-MT"):
        del words[words.index(option) : words.index(option) + 2]
    words.remove("-MD")
    linked = commands[-1].replace(" client/libclient.a", f" {folder}/client.o").replace(
        "-o bin/test_client", f"-o {folder}/test_client"
    )
    for command in (" ".join(words), linked):
        subprocess.run(command, shell=True, check=True, cwd=build, env={**os.environ, "CCACHE_DISABLE": "1"})


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    seed = int(os.environ.get("KYR_SEED") or datetime.date.today().toordinal())
    chance = random.Random(seed)
    path = chance.choice([p for p in workshop.files("client") if p.suffix == ".cpp"])
    name = path.relative_to(workshop.ROOT)
    schemata = Schemata(str(path), path.read_bytes(), workshop.arguments("client", build), 1)
    mutants = workshop.numbered_twins([workshop.described(path, schemata.source, m) for m in schemata.mutants])
    mutants = [m for m in mutants if not m["fault"]]
    listed = survivors.read(workshop.ROOT / "tests" / "mutation" / "survivors.txt")
    mutants = chance.sample(mutants, min(HOW_MANY, len(mutants)))
    print(f"{len(mutants)} mutants of {name}; again with KYR_SEED={seed}", flush=True)
    survived = 0
    libraries = {"LD_LIBRARY_PATH": str(build / "lib")}
    with tempfile.TemporaryDirectory() as folder:
        relinked(build, pathlib.Path(folder), path, schemata.text)
        runner = trial.Runner(folder)
        try:
            failed, took = runner.run("test_client", ["*"], 120, **libraries)
            if failed:
                raise SystemExit(f"{failed} fails without a mutant")
            for mutant in mutants:
                chosen = {"KYR_MUTANT": str(mutant["number"]), **libraries}
                by, _ = runner.run("test_client", ["*"], 10 + 4 * took, **chosen)
                if not by and survivors.key(mutant) not in listed:
                    survived += 1
                    print(f"survives: line {mutant['line']} of {survivors.key(mutant)}")
        finally:
            runner.close()
    print(f"{len(mutants) - survived} noticed, or in the list of those that cannot be")
    return 1 if survived else 0


sys.exit(main())
