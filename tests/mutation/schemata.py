"""Writes a source anew with all of its mutants in it, each behind its number (switch.h), as far as they compile."""

import re

from clang import cindex

from mutants import Finder
from nodes import Constant, Expression, Statement

OPTIONS = cindex.TranslationUnit.PARSE_PRECOMPILED_PREAMBLE | 0x100  # the preamble from the first time on
NUMBER = re.compile(rb"mutation::is\((\d+)\)")


class Schemata:
    """`mutants` of a source; `text` is what is to be compiled in its place."""

    def __init__(self, path, source, arguments, first):
        self.path, self.source = path, source
        self.unit = cindex.Index.create().parse(
            path, args=arguments, unsaved_files=[(path, source.decode())], options=OPTIONS
        )
        if self.faults():
            raise RuntimeError(f"{path}: {self.faults()[0][1]}")
        finder = Finder(self.unit, path, source)
        self.mutants = finder.mutants()
        for at, mutant in enumerate(self.mutants):
            mutant.number = first + at
        self.nodes = [*finder.expressions.values(), *finder.statements.values()]
        self.constants = self.changeable(finder.constants)
        for constant in finder.constants:
            if constant not in self.constants:
                for mutant in self.mutants:
                    if constant.whole[0] <= mutant.start <= mutant.end <= constant.whole[1]:
                        mutant.fault = "the compiler needs the value"
        self.settle()

    # What compiles

    def faults(self):
        return [
            (d.location.offset, d.spelling)
            for d in self.unit.diagnostics
            if d.severity >= cindex.Diagnostic.Error
        ]

    def compile(self, text):
        self.unit.reparse(unsaved_files=[(self.path, text.decode())], options=OPTIONS)
        return self.faults()

    def changeable(self, constants):
        """Those that may as well be made when the program runs."""
        if self.path.endswith(".h"):  # a header's are needed by others
            return []

        # Others of its mutants may not compile for reasons of their own.
        simple = [n for n in self.nodes if n.instead and n.instead[0][0].kind in ("constant", "text")]

        def compiles(some):
            inside = [n for n in simple if any(c.whole[0] <= n.start and n.end <= c.whole[1] for c in some)]
            return not self.compile(self.render(inside, some))

        if not constants or compiles(constants):
            return constants
        kept = []
        for constant in constants:
            if compiles([*kept, constant]):
                kept.append(constant)
        return kept

    def settle(self):
        while True:
            self.text = self.render(self.nodes, self.constants)
            faults = self.compile(self.text)
            if not faults:
                return
            by_number = {m.number: m for m in self.mutants}
            found = 0
            for offset, what in faults:
                here = NUMBER.search(self.text, offset, offset + 40)
                if not here or here.start() > offset + 1:
                    here = None
                    for here in NUMBER.finditer(self.text, max(0, offset - 4000), offset):
                        pass
                mutant = by_number.get(int(here[1])) if here else None
                if mutant and not mutant.fault:
                    mutant.fault = what
                    found += 1
            if not found:
                raise RuntimeError(f"{self.path}: with mutants it does not compile: {faults[0]}")

    # The text

    def render(self, nodes, constants):
        root = Statement(0, len(self.source))
        root.inner = []
        stack = [root]
        for node in sorted([*nodes, *constants], key=lambda n: (n.start, -n.end, isinstance(n, Expression))):
            while not (stack[-1].start <= node.start and node.end <= stack[-1].end):
                if node.start < stack[-1].end:
                    break
                stack.pop()
            if node.end > stack[-1].end:
                continue  # they cross: it is no part of the other
            node.inner = []
            stack[-1].inner.append(node)
            stack.append(node)
        return self.within(root)

    def within(self, node):
        out, at = [], node.start
        for child in node.inner:
            out += [self.source[at : child.start], self.write(child)]
            at = child.end
        return b"".join([*out, self.source[at : node.end]])

    def write(self, node):
        if isinstance(node, Constant):
            return node.instead
        written = self.within(node)
        instead = [(m.number, text) for m, text in node.instead if not m.fault]
        if isinstance(node, Expression):
            written = node.tested or written
            if not instead:
                return b"" if node.tested else written
            if node.is_condition:
                written = b"static_cast<bool>(%s)" % written
            others = b"".join(b"mutation::is(%d) ? (%s) : " % one for one in instead)
            return (b"; " if node.tested else b"") + b"(%s(%s))" % (others, written)
        if node.is_declaration:
            before, after = (
                b"".join(b"if (mutation::is(%d)) { %s } " % (m.number, t) for m, t in some if not m.fault)
                for some in (node.before, node.after)
            )
            return before + written + (b" " + after if after else b"")
        absent = b" || ".join(b"mutation::is(%d)" % m.number for m in node.absent if not m.fault)
        if absent:
            written = b"if (!(%s)) { %s }" % (absent, written)
        for one in reversed(instead):
            written = b"if (mutation::is(%d)) { %s } else { %s }" % (*one, written)
        return b"{ " + written + b" }" if absent or instead else written
