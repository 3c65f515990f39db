"""The mutants of a C++ source file: each is one small change to one place of its code.

The code is read as text, with comments, character and string literals, preprocessor lines and assertions (which are
not compiled) blanked. That is exact enough because the files are formatted by clang-format: a binary operator stands
between two blanks, which no template bracket, reference or pointer does.
"""

import re
from dataclasses import dataclass


@dataclass(frozen=True)
class Mutant:
    """Replace `old`, which stands at `offset`, by `new`."""

    path: str
    offset: int
    old: str
    new: str
    line: int
    kind: str

    def apply(self, text):
        assert text.startswith(self.old, self.offset)
        return text[: self.offset] + self.new + text[self.offset + len(self.old) :]

    def change(self):
        return f"{shorten(self.old)}  ->  {shorten(self.new) or '(deleted)'}"


def written(path, text, changes, kind):
    """Changes that somebody has written down, (what, old, new) each: as mutants by what they say; and which of them do
    not stand in the text of their file, or not once."""
    found, outdated = {}, []
    for what, old, new in changes:
        if text.count(old) == 1:
            at = text.index(old)
            found[what] = Mutant(path, at, old, new, text.count("\n", 0, at) + 1, kind)
        else:
            outdated.append(f"{path}: {what}: its code stands there {text.count(old)} times")
    return found, outdated


def shorten(code):
    code = " ".join(code.split())
    return code if len(code) <= 60 else code[:57] + "..."


BINARY = re.compile(r"(?<= )(<=|>=|==|!=|&&|\|\||\+=|-=|\*=|<|>|\+|-|\*|/|%|\||&)(?=[ \n])")
# What stands in for what, where it matches. Of the relations, each gets its neighbour at the boundary and its opposite.
EXCHANGES = [
    ("relation", BINARY, {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="],
                          "!=": ["=="]}),
    ("logic", BINARY, {"&&": ["||"], "||": ["&&"]}),
    ("arithmetic", BINARY, {"+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"], "+=": ["-="], "-=": ["+="],
                            "*=": ["/="], "|": ["&"], "&": ["|"]}),
    ("arithmetic", re.compile(r"\+\+|--"), {"++": ["--"], "--": ["++"]}),
    ("constant", re.compile(r"\b(true|false)\b"), {"true": ["false"], "false": ["true"]}),
    ("negation", re.compile(r"(?<=[( ])!(?=[\w:(*])"), {"!": [""]}),
]  # fmt: skip
NUMBER = re.compile(r"(?<![\w.])(0[xX][0-9a-fA-F]+|\d+)(?=(?:LL|UL|[uUlL])?(?![\w.]))")
CONDITION = re.compile(r"\b(?:if|while) \(")
BLANKED = re.compile(
    r"""\bassert\([^;]*\);|//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])*'|^[ \t]*\#[^\n]*(?:\\\n[^\n]*)*""",
    re.DOTALL | re.MULTILINE | re.VERBOSE,
)
# A statement that can go: a call, an assignment, a jump. Declarations and returns of a value stay, since
# without them the code would not compile or not be defined.
DELETABLE = re.compile(
    r"""(?:(?<=[;{})])|(?<=else))\s*                      # where a statement can begin
        (?P<statement>
          (?:break|continue|return)\ *;
        | (?:\+\+|--)?\*?(?:::)?[A-Za-z_][\w:.\->\[\]]*   # what is called or assigned
          (?:\([^;{}]*\)|\ *(?:[-+*|&]?=)\ [^;{}]*|\[[^;{}]*\]\ =\ [^;{}]*|(?:\+\+|--))
          [^;{}]*;
        )""",
    re.VERBOSE,
)
NO_STATEMENT = re.compile(
    r"(?:return\b.+|throw|using|namespace|static_assert|constexpr|const|case|default|if|for|while|switch|"
    r"else|delete|extern|template|virtual|explicit|static|struct|class)\b",
    re.DOTALL,
)

# Numbers that mean the same when changed, by the rules of whom they are handed to; and which change is left out:
# this one, or each.
HARMLESS = [
    (re.compile(r"/\*(?:comma|fullPath|kind|parents|withDirs)=\*/(1)\b"), "2"),  # any number but 0 says so
    (re.compile(r"nullptr, /\*maxErrorLines=\*/-(1)\b"), None),  # the limit of a list that is not asked for
    (re.compile(r'\bwaitpid\("common\.cpp", (\d+)'), None),  # the caller's line, which is printed nowhere
    (re.compile(r"\bhasEndedWithin\(\w+, (\d+)"), None),  # hands it on to waitpid
    (re.compile(r"\bint (?:fd|pid) = (0);"), None),  # s_popen sets it first
]


def blank(text):
    """The text with everything that is no code replaced by blanks, at unchanged places."""
    return BLANKED.sub(lambda found: re.sub(r"[^\n]", " ", found.group()), text)


def closing(code, opening):
    """The place of the bracket that closes the one at `opening`."""
    depth = 0
    for place in range(opening, len(code)):
        depth += {"(": 1, ")": -1}.get(code[place], 0)
        if depth == 0:
            return place
    raise ValueError("unbalanced brackets")


def inside_function(code):
    """For each place, whether it is within the body of a function."""
    inside = bytearray(len(code))
    stack = []
    for place, char in enumerate(code):
        if char == "{":
            before = code[:place].rstrip()
            head = before[max(before.rfind(";"), before.rfind("}"), before.rfind("{")) + 1 :]
            is_scope = re.search(r"\b(?:namespace|struct|class|enum)\b", head) is not None
            stack.append((bool(stack) and stack[-1]) or not is_scope)
        elif char == "}" and stack:
            stack.pop()
        inside[place] = bool(stack) and stack[-1]
    return inside


def changed_number(digits):
    """The numbers to try instead: 0 and 1 for each other, and the next one."""
    octal = len(digits) > 1 and digits.isdigit() and digits[0] == "0"
    value = int(digits, 8 if octal else 0)
    if value in (0, 1):
        return [str(1 - value)] + (["2"] if value == 1 else [])
    if octal:
        return [f"0{value + 1:o}"]
    return [hex(value + 1) if digits[:2].lower() == "0x" else str(value + 1)]


def mutants_of(path, text):
    """All mutants of a file, in the order of their places."""
    code = blank(text)
    inside = inside_function(code)
    found = []

    def add(offset, old, new, kind):
        line = text.count("\n", 0, offset) + 1
        found.append(Mutant(path, offset, old, new, line, kind))

    for kind, pattern, others in EXCHANGES:
        for match in pattern.finditer(code):
            for other in others.get(match.group(), []):
                add(match.start(), match.group(), other, kind)
    harmless = {(match.start(1), new) for rule, new in HARMLESS for match in rule.finditer(text)}
    for match in NUMBER.finditer(code):
        for other in changed_number(match.group()):
            if not harmless & {(match.start(), None), (match.start(), other)}:
                add(match.start(), match.group(), other, "constant")
    for match in CONDITION.finditer(code):
        start, end = match.end(), closing(code, match.end() - 1)
        condition = text[start:end]
        # A single relation or a leading "!" is negated above already; a declaration cannot be.
        if re.search(r"&&|\|\|", condition) or not re.search(r"==|!=| [<>]=? | = |^!", code[start:end]):
            add(start, condition, f"!({condition})", "negation")
    for match in DELETABLE.finditer(code):
        statement = match.group("statement")
        if not inside[match.start("statement")] or NO_STATEMENT.match(statement):
            continue
        start, end = match.span("statement")
        add(start, text[start:end], ";", "deletion")
    return sorted(found, key=lambda mutant: (mutant.offset, mutant.kind, mutant.new))
