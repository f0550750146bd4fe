"""What a source is taken apart into, and what can be changed in it. Places are counted in bytes."""

import dataclasses


@dataclasses.dataclass
class Mutant:
    """Bytes from start to end become `text`."""

    kind: str
    start: int
    end: int
    text: bytes
    number: int = -1
    fault: str = ""  # why it cannot be tried


@dataclasses.dataclass
class Expression:
    """Something with a value; `instead` has pairs of a mutant and the other expression."""

    start: int
    end: int
    instead: list = dataclasses.field(default_factory=list)
    is_condition: bool = False
    tested: bytes = b""  # a variable that is declared in a condition, which ends here


@dataclasses.dataclass
class Statement:
    start: int
    end: int
    instead: list = dataclasses.field(default_factory=list)  # (mutant, what is done in its place)
    absent: list = dataclasses.field(default_factory=list)  # with these mutants it is not done here
    before: list = dataclasses.field(default_factory=list)  # (mutant, what is done first)
    after: list = dataclasses.field(default_factory=list)
    is_declaration: bool = False


@dataclasses.dataclass
class Constant:
    """The word `constexpr` (or `const` of a number): with a mutant in it, it is made when the program runs."""

    start: int
    end: int
    instead: bytes
    whole: tuple  # where the variable or function begins and ends
