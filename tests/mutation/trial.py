"""Which tests come to a mutant, and whether one of them notices it."""

import concurrent.futures
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import tempfile
import time

from workshop import BUILD

SHARE = 8  # so many seconds of tests are given to one process


def limit():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 28, 1 << 28))  # one that writes without end


class Runner:
    slack = 15  # seconds beyond what the tests took without a mutant, before a run counts as hanging

    def __init__(self, bin_folder=BUILD / "bin"):
        self.bin = pathlib.Path(bin_folder)
        memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="kyr-mutants.", dir=memory))
        self.scratch.chmod(0o755)

    def close(self):
        shutil.rmtree(self.scratch, ignore_errors=True)

    def run(self, program, tests, seconds, **environment):
        """The name of the test that failed, "a hang", "a crash", or "" when all passed; and the time that it took."""
        folder = pathlib.Path(tempfile.mkdtemp(dir=self.scratch))
        folder.chmod(0o755)
        env = {**os.environ, "TMPDIR": str(folder), **environment, "GTEST_FILTER": ":".join(tests)}
        began = time.monotonic()
        with open(folder / "output", "w+b") as output:
            process = subprocess.Popen(
                [self.bin / program, "--gtest_fail_fast", "--gtest_color=no"],
                env=env, cwd=folder, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
                start_new_session=True, preexec_fn=limit,
            )  # fmt: skip
            try:
                status = process.wait(seconds)
            except subprocess.TimeoutExpired:
                status = None
            try:
                os.killpg(process.pid, signal.SIGKILL)  # and what it has started
            except ProcessLookupError:
                pass
            process.wait()
            took = time.monotonic() - began
            output.seek(0)
            said = output.read().decode(errors="replace")
        shutil.rmtree(folder, ignore_errors=True)
        failed = re.search(r"\[  FAILED  \] (\S+?),? ", said + " ")
        if status == 0 and "[  PASSED  ]" in said and not failed:
            return "", took
        return ("a hang" if status is None else failed[1] if failed else "a crash"), took

    # Who comes where

    def tests_of(self, program):
        said = subprocess.run([self.bin / program, "--gtest_list_tests"], stdout=subprocess.PIPE, cwd=self.scratch)
        suite, tests = "", []
        for line in said.stdout.decode().splitlines():
            name = line.split("#")[0].rstrip()
            if line.startswith("  "):
                tests.append(suite + name.strip())
            elif name.endswith("."):
                suite = name
        return tests

    def reached_by(self, program, test, count):
        fd, path = tempfile.mkstemp(dir=self.scratch)
        os.ftruncate(fd, count)
        os.fchmod(fd, 0o666)  # some give up the rights of root
        os.close(fd)
        failed, took = self.run(program, [test], 120, KYR_MUTANTS_REACHED=path)
        bytes_ = pathlib.Path(path).read_bytes()
        os.unlink(path)
        return {
            "program": program, "test": test, "took": round(took, 3), "failed": failed,
            "reached": [at for at, byte in enumerate(bytes_) if byte],
        }  # fmt: skip

    def record(self, programs, count, stamp, say):
        """For each test how long it takes and which mutants it comes to; remembered while nothing changes."""
        tests = []
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for program in programs:
                memory = BUILD / "reached" / f"{program}.json"
                now = f"{stamp} {(self.bin / program).stat().st_mtime_ns}"
                known = json.loads(memory.read_text()) if memory.exists() else {}
                if known.get("stamp") != now:
                    names = self.tests_of(program)
                    say(f"{program}: what {len(names)} tests come to")
                    known = {"stamp": now, "tests": [*pool.map(lambda t: self.reached_by(program, t, count), names)]}
                    # Mutants are tried by many tests in one process: what these do to each other is not to count.
                    together = [t["test"] for t in known["tests"] if not t["failed"]]
                    failed, _ = self.run(program, together, 600)
                    if failed:
                        raise SystemExit(f"{program}: {failed} fails without a mutant when the tests share a process")
                    memory.parent.mkdir(parents=True, exist_ok=True)
                    memory.write_text(json.dumps(known))
                # To begin takes most of the time of a small test, and many in one process begin once.
                begin = min((t["took"] for t in known["tests"]), default=0)
                tests += [{**t, "took": max(t["took"] - begin, 0.001)} for t in known["tests"]]
        return tests

    # Who notices

    def notice(self, mutant, tests, budget):
        """Who noticed it, or "" when none of these tests did."""
        shares, spent = [], 0
        for test in sorted(tests, key=lambda t: t["took"]):
            if shares and spent + test["took"] > budget:
                break
            spent += test["took"]
            share = next((s for s in shares if s[0] == test["program"] and s[2] + test["took"] <= SHARE), None)
            if share is None:
                share = [test["program"], [], 0]
                shares.append(share)
            share[1].append(test["test"])
            share[2] += test["took"]
        for program, names, took in sorted(shares, key=lambda s: s[2]):
            failed, _ = self.run(program, names, self.slack + 4 * took, KYR_MUTANT=str(mutant["number"]))
            if failed:
                return f"{program} {failed}" if failed.startswith("a ") else failed
        return ""
