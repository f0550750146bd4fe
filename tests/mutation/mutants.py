"""Finds where a source can be changed in one place, as Clang reads it."""

import bisect
import re

from clang.cindex import CursorKind as Kind
from clang.cindex import TokenKind, TypeKind

from nodes import Constant, Expression, Mutant, Statement

OTHER = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*",
    "&": "|", "|": "&", "<<": ">>", ">>": "<<",
    "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|=",
    "++": "--", "--": "++",
}  # fmt: skip
LOG_LEVELS = {"debug", "info", "warn", "error", "fatal"}
BODIES_FOLLOW = {
    Kind.IF_STMT, Kind.FOR_STMT, Kind.WHILE_STMT, Kind.DO_STMT, Kind.CXX_FOR_RANGE_STMT, Kind.CASE_STMT,
    Kind.DEFAULT_STMT, Kind.LABEL_STMT,
}  # fmt: skip
LEAVES = (Kind.BREAK_STMT, Kind.CONTINUE_STMT, Kind.RETURN_STMT, Kind.CXX_THROW_EXPR)
ELSEWHERE = {Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.CXX_ACCESS_SPEC_DECL, Kind.TEMPLATE_NON_TYPE_PARAMETER}
DECLARED = {
    Kind.VAR_DECL, Kind.FIELD_DECL, Kind.PARM_DECL, Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONVERSION_FUNCTION,
}  # fmt: skip
SETS_ONE = re.compile(rb"[\w.>-]+?(?=(?:->|\.)(?:set[A-Z]\w*|insert)\()")


def is_number(type_):
    kind = type_.get_canonical().kind
    return kind == TypeKind.ENUM or TypeKind.BOOL.value <= kind.value <= TypeKind.INT128.value


class Finder:
    def __init__(self, unit, path, source):
        self.source = source
        self.expressions = {}
        self.statements = {}
        self.constants = []
        self.conditions = set()  # ranges whose both values are tried already
        self.path = path
        file = unit.get_file(path)
        self.tokens = [
            (t.extent.start.offset, t.extent.end.offset, t.kind, t.spelling)
            for t in unit.get_tokens(extent=unit.get_extent(path, (0, len(source))))
            if t.kind != TokenKind.COMMENT
        ]
        self.starts = [t[0] for t in self.tokens]
        for cursor in unit.cursor.get_children():
            if cursor.location.file and cursor.location.file.name == file.name:
                self.visit(cursor)

    # What is at a place

    def range(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def text(self, start, end):
        return self.source[start:end]

    def tokens_within(self, start, end):
        return self.tokens[bisect.bisect_left(self.starts, start) : bisect.bisect_left(self.starts, end)]

    def token_at(self, start):
        at = bisect.bisect_left(self.starts, start)
        return self.tokens[at] if at < len(self.tokens) else (start, start, None, "")

    # The walk

    def visit(self, cursor):
        kind = cursor.kind
        if kind in ELSEWHERE or kind.is_attribute():
            return
        start, end = self.range(cursor)
        if end > len(self.source) or start >= end and kind != Kind.COMPOUND_STMT:
            return
        children = list(cursor.get_children())
        if kind in DECLARED:
            if kind == Kind.FIELD_DECL and cursor.is_bitfield():
                return
            name = cursor.location.offset
            children = [c for c in children if c.extent.start.offset >= name]  # before it is its type
            if kind != Kind.PARM_DECL:
                words = ["constexpr", "const"] if is_number(cursor.type) else ["constexpr"]
                self.constant(start, name, end, words, b"const" if kind == Kind.VAR_DECL else b"inline")
        elif kind in (Kind.DECL_REF_EXPR, Kind.MEMBER_REF_EXPR):
            self.enumerator(cursor)
            # What is behind the name are arguments of a template.
            children = [c for c in children if c.kind.is_expression() and kind == Kind.MEMBER_REF_EXPR][:1]
        elif kind == Kind.CASE_STMT:
            children = children[1:]
        elif kind == Kind.COMPOUND_STMT:
            self.sequence(children)
        elif kind == Kind.IF_STMT:
            children = self.condition_of(start, children, [b"true", b"false"])
        elif kind == Kind.WHILE_STMT:
            children = self.condition_of(start, children, [b"false"])
        elif kind == Kind.FOR_STMT:
            children = self.condition_of(start, children, [b"false"], part=1)
        elif kind == Kind.DO_STMT:
            self.condition(children[-1], [b"false"])
        elif kind == Kind.CONDITIONAL_OPERATOR and len(children) == 3:
            self.condition(children[0], [b"true", b"false"])
        elif kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR) and len(children) == 2:
            self.operator(start, end, *children)
        elif kind == Kind.CALL_EXPR and cursor.spelling.startswith("operator"):
            self.overloaded(cursor, start, end)
        elif kind == Kind.UNARY_OPERATOR and children:
            self.unary(start, end, children[0])
        elif kind == Kind.STRING_LITERAL:
            self.literal_text(start)
        elif kind in (
            Kind.INTEGER_LITERAL,
            Kind.FLOATING_LITERAL,
            Kind.CXX_BOOL_LITERAL_EXPR,
            Kind.CHARACTER_LITERAL,
        ):
            self.literal(start, end, kind)
        if kind in BODIES_FOLLOW and children:
            bodies = children[-2:] if kind == Kind.IF_STMT else children[:1] if kind == Kind.DO_STMT else children[-1:]
            for body in bodies:
                if body.kind != Kind.COMPOUND_STMT and not self.is_in_head(cursor, body):
                    self.sequence([body])
        for child in children:
            self.visit(child)

    def is_in_head(self, cursor, body):
        """Whether it is between the statement's own brackets, not behind them."""
        start, _ = self.range(cursor)
        return cursor.kind not in (Kind.CASE_STMT, Kind.DEFAULT_STMT, Kind.LABEL_STMT, Kind.DO_STMT) and (
            self.range(body)[0] < self.head(start)[1]
        )

    def head(self, start):
        """Where the first pair of brackets from there begins and ends, and the semicolons in it."""
        depth, begin, semicolons = 0, start, []
        for at, end, _, word in self.tokens_within(start, len(self.source)):
            if word in ("(", "{", "["):
                if depth == 0:
                    begin = end
                depth += 1
            elif word in (")", "}", "]"):
                depth -= 1
                if depth == 0:
                    return begin, at, semicolons
            elif word == ";" and depth == 1:
                semicolons.append(at)
        return start, start, []

    # Constants and texts

    def add(self, start, end, kind, text, is_condition=False):
        text = text.strip()
        if text == self.text(start, end) or start >= end:
            return
        node = self.expressions.setdefault((start, end), Expression(start, end))
        node.is_condition |= is_condition
        node.instead.append((Mutant(kind, start, end, text), text))

    def constant(self, start, name, end, words, instead):
        for at, to, _, word in self.tokens_within(start, name):
            if word in words:
                self.constants.append(Constant(at, to, instead, (start, end)))

    def enumerator(self, cursor):
        constant = cursor.referenced
        if constant is None or constant.kind != Kind.ENUM_CONSTANT_DECL:
            return
        names = [c.spelling for c in constant.semantic_parent.get_children() if c.kind == Kind.ENUM_CONSTANT_DECL]
        if len(names) < 2 or constant.spelling not in names:
            return
        other = names[(names.index(constant.spelling) + 1) % len(names)]
        start, end = self.range(cursor)
        written = self.text(start, end)
        if written.endswith(constant.spelling.encode()):
            self.add(start, end, "constant", written[: -len(constant.spelling)] + other.encode())

    def literal(self, start, end, kind):
        at, end, token, word = self.token_at(start)
        if at != start or (token != TokenKind.LITERAL and word not in ("true", "false")):
            return
        if kind == Kind.CXX_BOOL_LITERAL_EXPR:
            other = "false" if word == "true" else "true"
        elif kind == Kind.CHARACTER_LITERAL:
            one = re.fullmatch(r"\w*'([a-yA-Y0-8])'", word)  # another letter may be a meaning, as of a format
            other = re.sub("'.*'", f"'{chr(ord(one[1]) + 1)}'" if one else "'~'" if "'#'" in word else "'#'", word)
        elif kind == Kind.INTEGER_LITERAL:
            number = re.fullmatch(r"(0[xX][0-9a-fA-F']+|[0-9']+)([a-zA-Z]*\w*)", word)
            if not number:
                return
            plain = number[1].replace("'", "")
            other = str(int(plain, 16 if plain[:2].lower() == "0x" else 10) + 1) + number[2]
        else:
            other = f"({word} + 1)"
        self.add(start, end, "constant", other.encode())

    def literal_text(self, start):
        group = []
        for token in self.tokens_within(start, len(self.source)):
            if token[2] != TokenKind.LITERAL or '"' not in token[3]:
                break
            group.append(token)
        if not group or group[0][0] != start:
            return
        end = group[0][1]
        word = self.text(start, end).decode()
        raw = re.match(r'(\w*R"[^(]*\()(.*)(\)[^)"]*"\w*)$', word, re.S)
        parts = raw or re.match(r'(\w*")(.*)("\w*)$', word, re.S)
        if not parts:
            return
        before, content, after = parts.groups()
        plain = [i for i, one in enumerate(content) if one not in '\\%"' and content[i - 1] != "\\"]
        at = plain[-1] if plain else -1
        if content and at < 0:
            return
        changed = content[:at] + ("~" if content[at] == "#" else "#") + content[at + 1 :] if content else "#"
        rest = self.text(end, group[-1][1])
        self.add(start, group[-1][1], "text", (before + changed + after).encode() + rest)

    def mutants(self):
        nodes = [*self.expressions.values(), *self.statements.values()]
        found = {id(m): m for n in nodes for m, _ in n.instead}
        for node in self.statements.values():
            found.update((id(m), m) for m in [*node.absent, *(m for m, _ in node.before + node.after)])
        return sorted(found.values(), key=lambda m: (m.start, m.end, m.kind, m.text))

    # Operators and conditions

    def operator(self, start, end, left, right):
        (ls, le), (rs, re_) = self.range(left), self.range(right)
        words = [t for t in self.tokens_within(le, rs) if t[3] not in "()"]
        if not words or (ls, re_) != (start, end):
            return
        at, to, _, word = words[0]
        if word in ("&&", "||"):
            self.conditions.update([(ls, le), (rs, re_)])
            for one in (left, right):
                self.add(start, end, "condition", b"static_cast<bool>(%s)" % self.text(*self.range(one)), True)
        elif word in OTHER and not (word in ("==", "!=") and (start, end) in self.conditions):
            self.add(start, end, "operator", self.text(start, at) + OTHER[word].encode() + self.text(to, end))

    def overloaded(self, cursor, start, end):
        operands = [c for c in cursor.get_arguments() if c is not None]
        word = cursor.spelling[len("operator") :]
        if len(operands) == 2:
            left, right = operands
            self.operator(start, end, left, right)
            if word == "+":
                self.add(start, end, "operator", self.text(*self.range(left)))
        elif len(operands) == 1 and word in ("!", "++", "--"):
            self.unary(start, end, operands[0])

    def unary(self, start, end, operand):
        at, to, _, word = self.token_at(start)
        if at != start:
            return
        if word == "!" and (start, end) not in self.conditions:
            self.add(start, end, "operator", b"static_cast<bool>(%s)" % self.text(to, end), True)
        elif word == "-" and to <= operand.extent.start.offset:
            self.add(start, end, "operator", self.text(to, end))
        elif word in ("++", "--"):
            self.add(start, end, "operator", OTHER[word].encode() + self.text(to, end))
        else:
            last = self.tokens_within(operand.extent.end.offset, end)
            if last and last[-1][3] in ("++", "--"):
                self.add(start, end, "operator", self.text(start, last[-1][0]) + OTHER[last[-1][3]].encode())

    def condition(self, cursor, values):
        self.condition_at(*self.range(cursor), values)

    def condition_at(self, start, end, values):
        written = self.text(start, end).strip()
        if written in (b"true", b"false", b""):
            return
        self.conditions.add((start, end))
        words = self.top_level(start, end)
        for value in values:
            # `a && b` without a, and without b, is tried: that says more than to let it hold always.
            if not (value == b"true" and "&&" in words and "||" not in words) and not (
                value == b"false" and "||" in words and "&&" not in words
            ):
                self.add(start, end, "condition", value, True)

    def top_level(self, start, end):
        depth, words = 0, []
        for _, _, _, word in self.tokens_within(start, end):
            depth += (word in ("(", "{", "[")) - (word in (")", "}", "]"))
            if depth == 0:
                words.append(word)
        return words

    def condition_of(self, start, children, values, part=-1):
        """The condition between the brackets; gives the children that are left to look at."""
        if self.text(*self.token_at(self.token_at(start)[1])[:2]) == b"constexpr":
            return [c for c in children if self.range(c)[0] > self.head(start)[1]]
        begin, end, semicolons = self.head(start)
        bounds = [begin] + [at + 1 for at in semicolons] + [end + 1]
        if part >= len(bounds) - 1:
            return children
        from_, to = (bounds[part], bounds[part + 1] - 1) if part >= 0 else (bounds[-2], end)
        within = [c for c in children if from_ <= self.range(c)[0] < to]
        variable = next((c for c in within if c.kind == Kind.VAR_DECL), None)
        if variable is None and within:
            self.condition(within[-1], values)
        elif variable is not None and part < 0 and self.text(start, start + 2) == b"if" and not semicolons:
            # if (T x = …) becomes if (T x = …; x)
            node = Expression(end, end, is_condition=True, tested=variable.spelling.encode())
            self.expressions[end, end] = node
            node.instead = [(Mutant("condition", end, end, b"; " + value), value) for value in values]
        return [c for c in children if c.kind != Kind.VAR_DECL or c is variable]

    # Statements

    def sequence(self, cursors):
        nodes = [self.statement(c) for c in cursors]
        for (first, one), (second, two) in zip(zip(cursors, nodes), zip(cursors[1:], nodes[1:])):
            if one and two and self.order_may_matter(first, second):
                self.swap(one, two)

    def statement(self, cursor):
        start, end = self.range(cursor)
        kind = cursor.kind
        is_expression = kind.is_expression() and kind != Kind.LAMBDA_EXPR
        is_jump = kind in (Kind.BREAK_STMT, Kind.CONTINUE_STMT) or kind == Kind.RETURN_STMT and end - start == 6
        if kind == Kind.CXX_FOR_RANGE_STMT:
            node = Statement(start, end if self.source[end - 1 : end] == b"}" else self.token_at(end)[1])
        elif is_expression or is_jump:
            at, to, _, word = self.token_at(end)
            if word != ";" or self.text(start, start + 6) == b"(void)":
                return None
            node = Statement(start, to)
        elif kind == Kind.DECL_STMT and self.source[end - 1 : end] == b";":
            node = Statement(start, end, is_declaration=True)
        else:
            return None
        node = self.statements.setdefault((node.start, node.end), node)
        if not node.is_declaration:
            node.absent.append(Mutant("statement", node.start, node.end, b""))
        return node

    def calls(self, cursor):
        """The names of what is called, the outermost first."""
        found = []
        for one in cursor.walk_preorder():
            if one.kind == Kind.LAMBDA_EXPR:
                break
            if one.kind == Kind.CALL_EXPR and one.spelling and not one.spelling.startswith(("operator", "Q")):
                found.append(one.spelling)
        return found

    def order_may_matter(self, first, second):
        for one in (first, second):
            if one.kind in (*LEAVES, Kind.CXX_FOR_RANGE_STMT):
                return False
        if first.kind == Kind.DECL_STMT and second.kind == Kind.DECL_STMT:
            return False
        names = [self.calls(one) for one in (first, second)]
        if not all(names) or any(n[0] in LOG_LEVELS for n in names):
            return False
        # Members of one object, each by its own name: the order of setting them is none.
        objects = [SETS_ONE.match(self.text(*self.range(one))) for one in (first, second)]
        return not (all(objects) and objects[0][0] == objects[1][0])

    def swap(self, one, two):
        between = self.text(one.end, two.start)
        first, second = self.text(one.start, one.end), self.text(two.start, two.end)
        mutant = Mutant("order", one.start, two.end, second + between + first)
        if one.is_declaration:
            one.before.append((mutant, second))
            two.absent.append(mutant)
        elif two.is_declaration:
            one.absent.append(mutant)
            two.after.append((mutant, first))
        else:
            one.instead.append((mutant, second))
            two.instead.append((mutant, first))
