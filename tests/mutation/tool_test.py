"""Tries the tool on a source of a few lines, of which it is known what can be changed and what its tests notice."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(HERE))
import survivors
import trial
import workshop
from schemata import Schemata

SOURCE = """
#include "shop.h"
constexpr int least = 2;
constexpr int places = 3;
bool isMany(int count) { return count > least; }
std::string Shop::sell(int count)
{
    if (!isMany(count))
        return "few";
    save();
    send();
    int left = count;
    while (left > 0)
        --left;
    int shelf[places] = {};
    return "sold" + std::string(shelf[0], 'x');
}
"""
HEADER = """
#pragma once
#include <string>
bool isMany(int count);
struct Shop
{
    std::string sell(int count);
    void save() { done += "save "; }
    void send() { done += "send "; }
    std::string done;
};
"""
TESTS = """
#include "shop.h"
#include <gtest/gtest.h>
TEST(Shop, SellsThree) { EXPECT_EQ(Shop().sell(3), "sold"); }
TEST(Shop, SavesBeforeItSends)
{
    Shop shop;
    shop.sell(3);
    EXPECT_EQ(shop.done, "save send ");
}
TEST(Shop, TellsThatOneIsFew) { EXPECT_EQ(Shop().sell(1), "few"); }
TEST(Shop, KnowsThatMinusOneIsNotMany) { EXPECT_FALSE(isMany(-1)); }
"""
FLAGS = ["-std=c++20", "-Werror=vla", "-include", str(workshop.SWITCH)]


class Tool(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        path = cls.folder / "shop.cpp"
        for name, text in (("shop.h", HEADER), ("shop.cpp", SOURCE), ("tests.cpp", TESTS)):
            (cls.folder / name).write_text(text)
        cls.schemata = Schemata(str(path), SOURCE.encode(), ["-x", "c++", *FLAGS], 100)
        workshop.ROOT = cls.folder
        cls.mutants = [workshop.described(path, SOURCE.encode(), m) for m in cls.schemata.mutants]
        path.write_bytes(cls.schemata.text)
        subprocess.run(
            ["clang++-14", "-O0", *FLAGS, "shop.cpp", "tests.cpp", "-o", "shop_test", "-lgtest", "-lgtest_main"],
            cwd=cls.folder, check=True,
        )  # fmt: skip
        cls.runner = trial.Runner(cls.folder)
        cls.runner.slack = 2
        cls.addClassCleanup(cls.runner.close)
        cls.tests = [cls.runner.reached_by("shop_test", t, 200) for t in cls.runner.tests_of("shop_test")]

    def mutant(self, kind, new):
        found = [m for m in self.mutants if m["kind"] == kind and new in m["new"]]
        self.assertEqual(len(found), 1, (kind, new, [(m["kind"], m["new"]) for m in self.mutants]))
        return found[0]

    def noticed_by(self, kind, new):
        mutant = self.mutant(kind, new)
        self.assertEqual(mutant["fault"], "")
        tests = [t for t in self.tests if mutant["number"] in t["reached"]]
        return self.runner.notice(mutant, tests, 40)

    def test_changes_nothing_while_no_mutant_is_chosen(self):
        self.assertEqual([t["failed"] for t in self.tests], [""] * 4)

    def test_notices_an_operator(self):
        self.assertEqual(self.noticed_by("operator", "++left;"), "shop_test a hang")

    def test_notices_a_constant_even_where_the_compiler_was_to_know_it(self):
        self.assertEqual(self.noticed_by("constant", "least = 3;"), "Shop.SellsThree")

    def test_notices_a_text(self):
        self.assertEqual(self.noticed_by("text", '"fe#"'), "Shop.TellsThatOneIsFew")

    def test_notices_either_value_of_a_condition(self):
        self.assertEqual(self.noticed_by("condition", "if (true)"), "Shop.SellsThree")
        self.assertEqual(self.noticed_by("condition", "if (false)"), "Shop.TellsThatOneIsFew")

    def test_notices_the_order_of_calls(self):
        self.assertEqual(self.noticed_by("order", "send(); save();"), "Shop.SavesBeforeItSends")

    def test_notices_a_statement_left_out(self):
        mutant = [m for m in self.mutants if m["kind"] == "statement" and m["old"] == "send();"]
        self.assertEqual([m["new"] for m in mutant], [""])
        self.assertTrue(self.runner.notice(mutant[0], self.tests, 40))

    def test_finds_the_survivor(self):
        # Nobody asks about two.
        self.assertEqual(self.noticed_by("operator", "count >= least"), "")
        self.assertEqual(self.noticed_by("condition", "while (false)"), "")

    def test_tries_only_tests_that_come_to_the_mutant(self):
        number = self.mutant("order", "send(); save();")["number"]
        self.assertEqual(
            [t["test"] for t in self.tests if number in t["reached"]], ["Shop.SellsThree", "Shop.SavesBeforeItSends"]
        )

    def test_leaves_out_what_the_compiler_has_to_know(self):
        self.assertEqual(self.mutant("constant", "places = 4;")["fault"], "the compiler needs the value")

    def test_makes_every_kind_and_no_more(self):
        kinds = [m["kind"] for m in self.mutants if not m["fault"]]
        self.assertEqual(
            {kind: kinds.count(kind) for kind in kinds},
            {"constant": 4, "operator": 4, "condition": 3, "text": 2, "statement": 3, "order": 1},
        )


class List(unittest.TestCase):
    entry = "client/a.cpp (operator)\n- a < b\n+ a <= b"

    def read(self, text):
        with tempfile.NamedTemporaryFile("w") as file:
            file.write(text)
            file.flush()
            return survivors.read(pathlib.Path(file.name))

    def test_knows_an_entry_by_what_it_says(self):
        mutant = {"file": "client/a.cpp", "kind": "operator", "twin": 1, "old": "a < b", "new": "a <= b", "line": 7}
        self.assertEqual(survivors.key(mutant), self.entry)
        self.assertEqual(self.read(f"# about\n\n{self.entry}\n  never\n  alike\n"), {self.entry: "never alike"})

    def test_wants_a_reason(self):
        with self.assertRaises(SystemExit):
            self.read(self.entry + "\n")

    def test_tells_a_survivor_that_is_not_listed(self):
        self.assertEqual(survivors.compare({}, {self.entry: ""}, {self.entry: "client"})[0], [self.entry])
        self.assertEqual(survivors.compare({self.entry: "why"}, {self.entry: ""}, {self.entry: "client"}), ([], [], []))

    def test_tells_an_entry_that_is_noticed_now(self):
        noticed = survivors.compare({self.entry: "why"}, {self.entry: "A.B"}, {self.entry: "client"})[1]
        self.assertEqual(noticed, [(self.entry, "A.B")])

    def test_tells_an_entry_whose_line_is_another_now(self):
        self.assertEqual(survivors.compare({self.entry: "why"}, {}, {"other": "client"})[2], [self.entry])
        self.assertEqual(survivors.compare({self.entry: "why"}, {}, {"other": "plugin"})[2], [])


unittest.main()
