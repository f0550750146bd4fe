"""Which tests come to a mutant, and whether one of them notices it."""

import concurrent.futures
import hashlib
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

FIRST = 0.5  # so many seconds of tests are given to the first process, twice as many to the next,
SHARE = 8  # and at most so many
KEEN = 6  # tests of a file are tried before the others: those that noticed its mutants last
KEPT = "kyr-postgres-*"  # a database server as it is made, which tests/support/postgres.cpp begins with


def hash_of(paths):
    return hashlib.sha256(b"".join(pathlib.Path(path).read_bytes() for path in paths)).hexdigest()


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
        self.kept = self.scratch / "kept"
        self.kept.mkdir()
        self.keen = {}  # the tests that noticed mutants, by file, the last one first

    def close(self):
        shutil.rmtree(self.scratch, ignore_errors=True)

    def run(self, program, tests, seconds, **environment):
        """The name of the test that failed, "a hang", "a crash", or "" when all passed; and the time that it took."""
        folder = pathlib.Path(tempfile.mkdtemp(dir=self.scratch))
        folder.chmod(0o755)
        for one in self.kept.glob(KEPT):
            subprocess.run(["cp", "-al", one, folder], check=True)
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
        for one in folder.glob(KEPT):
            if re.search(r"-\d+$", one.name) and not (self.kept / one.name).exists():
                one.rename(self.kept / one.name)
        shutil.rmtree(folder, ignore_errors=True)
        failed = re.search(r"\[  FAILED  \] (\S+?),? ", said + " ")
        if status == 0 and "[  PASSED  ]" in said and not failed:
            return "", took
        return ("a hang" if status is None else failed[1] if failed else "a crash"), took

    # Who comes where

    def tests_of(self, program):
        """The names of the tests, each with its source."""
        listed = self.scratch / "tests.json"
        subprocess.run(
            [self.bin / program, "--gtest_list_tests", f"--gtest_output=json:{listed}"],
            stdout=subprocess.DEVNULL, cwd=self.scratch, check=True,
        )  # fmt: skip
        suites = json.loads(listed.read_text())["testsuites"]
        return {f"{suite['name']}.{test['name']}": test["file"] for suite in suites for test in suite["testsuite"]}

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
        """For each test how long it takes and which mutants it comes to; remembered while neither the test's own
        source changes nor what the stamp stands for."""
        tests = []
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for program in programs:
                memory = BUILD / "comes" / f"{program}.json"
                known = json.loads(memory.read_text()) if memory.exists() else []
                known = {(test["test"], test["stamp"]): test for test in known}
                now = [(name, stamp + hash_of([source])) for name, source in self.tests_of(program).items()]
                new = [test for test in now if test not in known]
                if new:
                    say(f"{program}: what {len(new)} tests come to")
                    reached = pool.map(lambda test: self.reached_by(program, test[0], count), new)
                    known.update({test: {**found, "stamp": test[1]} for test, found in zip(new, reached)})
                    # Mutants are tried by many tests in one process: what these do to each other is not to count.
                    together = [name for name, stamp in now if not known[name, stamp]["failed"]]
                    failed, _ = self.run(program, together, 600)
                    if failed:
                        raise SystemExit(f"{program}: {failed} fails without a mutant when the tests share a process")
                    memory.parent.mkdir(parents=True, exist_ok=True)
                    memory.write_text(json.dumps([known[test] for test in now]))
                # To begin takes most of the time of a small test, and many in one process begin once.
                begin = min((known[test]["took"] for test in now), default=0)
                tests += [{**known[test], "took": max(known[test]["took"] - begin, 0.001)} for test in now]
        return tests

    # Who notices

    def in_shares(self, tests, keen, budget):
        """Tests for one process after the other: first those that are keen, then the fastest. To begin takes its time,
        too: so few are first, and then more and more."""
        share, took, most, spent = [], 0, FIRST, 0
        for test in sorted(tests, key=lambda t: (t["test"] not in keen or t["took"] > 4 * FIRST, t["took"])):
            if spent and spent + test["took"] > budget:
                break
            if share and took + test["took"] > most:
                yield share, took
                share, took, most = [], 0, min(2 * most, SHARE)
            share.append(test)
            took += test["took"]
            spent += test["took"]
        if share:
            yield share, took

    def notice(self, mutant, tests, budget):
        """Who noticed it, or "" when none of these tests did."""
        keen = self.keen.get(mutant["file"], [])
        for share, took in self.in_shares(tests, keen, budget):
            for program in dict.fromkeys(test["program"] for test in share):
                names = [test["test"] for test in share if test["program"] == program]
                failed, _ = self.run(program, names, self.slack + 4 * took, KYR_MUTANT=str(mutant["number"]))
                if failed:
                    self.keen[mutant["file"]] = [failed, *(k for k in keen if k != failed)][:KEEN]
                    return f"{program} {failed}" if failed.startswith("a ") else failed
        return ""
