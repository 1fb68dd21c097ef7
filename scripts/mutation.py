"""Finds the places of a C++ file that a mutant may change. Used by mutants.py.

No compiler is asked: tokens, brackets and the layout that clang-format guarantees tell enough. What
turns out not to compile is no mutant, so a guess may be wrong.
"""

import bisect
import re
from dataclasses import dataclass

TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
      |(?P<directive>^[ \t]*\#(?:\\\n|[^\n])*)
      |(?P<text>"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])*')
      |(?P<number>(?:0[xX][0-9a-fA-F']+|[0-9][0-9']*(?:\.[0-9]*)?)[uUlL]*)
      |(?P<word>[A-Za-z_]\w*)
      |(?P<sign><<=|>>=|\.\.\.|->|::|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|[^\s\w])""",
    re.VERBOSE | re.DOTALL | re.MULTILINE)

RELATIONS = {"<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
             "==": ("!=",), "!=": ("==",)}
LOGICAL = {"&&": ("||",), "||": ("&&",)}
# With a blank on both sides these are binary: clang-format writes pointers and signs otherwise.
ARITHMETIC = {"+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("/",), "&": ("|",),
              "|": ("&",)}
ASSIGNMENTS = {"+=": ("-=",), "-=": ("+=",), "|=": ("&=",), "&=": ("|=",)}
STEPS = {"++": ("--",), "--": ("++",)}

# How likely a mutant of a kind is to be drawn, against the others of its file. Few are drawn where
# all are alike: what is logged is compared as a whole everywhere.
WEIGHT = {"relation": 1.0, "logical": 1.0, "arithmetic": 1.0, "constant": 1.0, "condition": 0.6,
          "statement": 1.0, "returned value": 0.5, "early return": 0.4, "log line": 0.15,
          "text": 0.1}

# An annotation is for the compiler, a debug line for people.
IGNORED_CALLS = {"static_assert", "LOGD", "GUARDED_BY", "PT_GUARDED_BY", "REQUIRES", "ACQUIRE",
                 "RELEASE", "EXCLUDES", "ACQUIRED_BEFORE", "ACQUIRED_AFTER", "CAPABILITY"}
NOT_REMOVABLE = {"return", "const", "constexpr", "auto", "static", "using", "typedef", "class",
                 "struct", "enum", "namespace", "template", "public", "private", "protected",
                 "friend", "goto", "throw", "case", "default", "if", "for", "while", "switch", "do",
                 "else", "try", "catch", "inline", "extern"}
CLOSING = {"(": ")", "[": "]", "{": "}"}


@dataclass(frozen=True)
class Mutant:
    path: str
    line: int
    kind: str
    before: str  # the changed place, as it was ...
    after: str   # ... and as the mutant has it
    begin: int
    end: int
    identity: str  # the same as long as the line, and those like it before, stay as they are

    def apply(self, source):
        # Every other line keeps its number, as the log tells them.
        removed = source.count("\n", self.begin, self.end) - self.after.count("\n")
        return source[:self.begin] + self.after + "\n" * removed + source[self.end:]


@dataclass
class Token:
    kind: str
    text: str
    begin: int
    end: int


class Finder:
    def __init__(self, path, source):
        self.path = path
        self.source = source
        self.tokens = [Token(match.lastgroup, match.group(), match.start(), match.end())
                       for match in TOKEN.finditer(source)
                       if match.lastgroup not in ("comment", "directive")]
        self.partner = self.match_brackets()
        self.ignored = self.find_ignored()
        self.line_starts = [0] + [match.end() for match in re.finditer("\n", source)]
        self.seen = {}
        self.mutants = []

    def find(self):
        for index, token in enumerate(self.tokens):
            if index in self.ignored:
                continue
            if token.kind == "sign":
                self.visit_sign(index, token)
            elif token.kind == "number":
                self.visit_number(index, token)
            elif token.kind == "text":
                self.visit_text(token)
            elif token.text in ("true", "false"):
                self.add("constant", token.begin, token.end,
                         "false" if token.text == "true" else "true")
            elif token.text in ("if", "while"):
                self.visit_condition(index)
            elif token.text == "return":
                self.visit_return(index)
        for index in self.partner:
            if self.text(index) == "{" and index not in self.ignored:
                kind = self.block_kind(index)
                if kind == "function":
                    self.visit_function(index)
                if kind:
                    self.visit_statements(index)
        return self.mutants

    def text(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def match_brackets(self):
        partner, open_ones = {}, []
        for index, token in enumerate(self.tokens):
            if token.kind != "sign":
                continue
            if token.text in CLOSING:
                open_ones.append(index)
            elif token.text in CLOSING.values() and open_ones:
                begin = open_ones.pop()
                partner[begin], partner[index] = index, begin
        return partner

    def find_ignored(self):
        ignored = set()
        for index, token in enumerate(self.tokens):
            if token.text in IGNORED_CALLS and self.text(index + 1) == "(":
                ignored.update(range(index, self.partner[index + 1] + 1))
            elif token.text == "enum":
                brace = index
                while self.text(brace) not in ("{", ";"):
                    brace += 1
                ignored.update(range(index, self.partner.get(brace, brace) + 1))
            elif token.text == "template":
                ignored.update(range(index, index + 2))
        return ignored

    def add(self, kind, begin, end, after):
        line = bisect.bisect_right(self.line_starts, begin)
        line_begin = self.line_starts[line - 1]
        line_text = self.source[line_begin:self.source.find("\n", end) % (len(self.source) + 1)]
        key = "|".join((self.path, kind, " ".join(line_text.split()), after))
        self.seen[key] = self.seen.get(key, 0) + 1
        before = " ".join(self.source[begin:end].split())
        self.mutants.append(Mutant(self.path, line, kind, before, after, begin, end,
                                   f"{key}|{self.seen[key]}"))

    def is_spaced(self, token):
        return (self.source[token.begin - 1].isspace() and
                self.source[token.end:token.end + 1].isspace())

    def visit_sign(self, index, token):
        if self.text(index - 1) == "operator":
            return
        for kind, table, needs_space in (("relation", RELATIONS, True), ("logical", LOGICAL, True),
                                         ("arithmetic", ARITHMETIC, True),
                                         ("arithmetic", ASSIGNMENTS, True),
                                         ("arithmetic", STEPS, False)):
            if token.text in table and (self.is_spaced(token) or not needs_space):
                for after in table[token.text]:
                    self.add(kind, token.begin, token.end, after)
        if token.text == "!":
            self.add("logical", token.begin, token.end, "")

    def visit_number(self, index, token):
        is_pure = self.text(index - 1) == "=" and self.text(index - 2) in (")", "const", "override")
        match = re.fullmatch(r"(0[xX][0-9a-fA-F]+|[0-9]+)([uUlL]*)", token.text.replace("'", ""))
        if match is None or is_pure:
            return
        value = int(match.group(1), 0)
        for changed in (value + 1, value - 1):
            if changed >= 0:
                self.add("constant", token.begin, token.end, f"{changed}{match.group(2)}")

    def visit_text(self, token):
        if token.text.startswith('"') and len(token.text) > 4:
            self.add("text", token.begin, token.end, token.text[:-1] + '~"')

    def visit_condition(self, index):
        opening = index + 1
        if self.text(opening) != "(":
            return
        first, last = opening + 1, self.partner[opening] - 1
        position = first
        while position <= last:
            if self.text(position) in CLOSING:
                position = self.partner[position]
            elif self.text(position) == ";":
                first = position + 1
            elif self.text(position) == "=" and first == opening + 1:
                if ";" not in (self.text(later) for later in range(position, last)):
                    return
            position += 1
        signs = [self.text(position) for position in range(first, last + 1)]
        if not any(sign in LOGICAL for sign in signs) and (
                signs[0] == "!" or any(sign in RELATIONS for sign in signs)):
            return  # a change of its operator says the same
        begin, end = self.tokens[first].begin, self.tokens[last].end
        self.add("condition", begin, end, f"!({self.source[begin:end]})")

    def visit_return(self, index):
        last = index + 1
        while self.text(last) != ";":
            last = self.partner[last] + 1 if self.text(last) in CLOSING else last + 1
        if last == index + 1 or self.text(index + 1) in ("true", "false", "nullptr", "{"):
            return
        if self.tokens[last - 1].kind == "number" and last <= index + 3:
            return  # 0 or -1, which are changed as constants
        self.add("returned value", self.tokens[index + 1].begin, self.tokens[last - 1].end, "{}")

    def block_kind(self, opening):
        """'function', 'block', or '' where no statements are."""
        before = opening - 1
        while self.text(before) in ("const", "noexcept", "override", "mutable"):
            before -= 1
        while self.text(before) == ")" and self.text(self.partner[before] - 1) in IGNORED_CALLS:
            before = self.partner[before] - 2
        if self.text(before) in ("else", "do", "try", ":"):
            return "block"
        if self.text(before) == "]":
            return "block"
        if self.text(before) != ")":
            return ""
        head = self.partner[before] - 1
        if self.text(head) in ("if", "for", "while", "switch", "catch", "constexpr", "]"):
            return "block"
        return "function"

    def visit_function(self, opening):
        begin = opening
        while begin > 0 and self.text(begin - 1) not in (";", "{", "}", "public", "private"):
            begin -= 1
        head = [self.text(index) for index in range(begin, opening)]
        before_name = head[:head.index("(")] if "(" in head else head
        body = self.tokens[opening + 1]
        inside = [self.text(index) for index in range(opening + 1, self.partner[opening])]
        if body.text in ("", "return") or inside.count(";") < 2:
            return  # its one statement is changed anyway
        qualifiers = {"inline", "static", "explicit", "constexpr", "virtual", ":"}
        returned = [word for word in before_name if word not in qualifiers]
        # `A::A(` constructs, `void A::f(` has nothing to return.
        is_class_own = "~" in returned or len(returned) == 1 or (
            len(returned) == 3 and returned[1] == "::" and returned[0] == returned[2])
        after = "return; " if "void" in returned or is_class_own else "return {}; "
        self.add("early return", body.begin, body.begin, after)

    def visit_statements(self, opening):
        index, closing = opening + 1, self.partner[opening]
        while index < closing:
            start = index = self.skip_heads(index, closing)
            while index < closing and self.text(index) != ";":
                if self.text(index) == "{" and self.block_kind(index) == "block" and \
                        self.text(index - 1) != "]" and index == start:
                    break
                index = self.partner[index] + 1 if self.text(index) in CLOSING else index + 1
            if index < closing and self.text(index) == ";":
                self.visit_statement(start, index)
                index += 1
            elif index < closing:
                index = self.partner[index] + 1

    def skip_heads(self, index, closing):
        while index < closing:
            word = self.text(index)
            if word in ("if", "for", "while", "switch", "catch"):
                while self.text(index) != "(":
                    index += 1
                index = self.partner[index] + 1
            elif word in ("else", "do", "try"):
                index += 1
            elif word in ("case", "default"):
                while self.text(index) != ":":
                    index += 1
                index += 1
            else:
                break
        return index

    def visit_statement(self, start, end):
        if start == end or start in self.ignored:
            return
        first = self.tokens[start]
        if first.text in NOT_REMOVABLE or not (first.kind == "word" or
                                               first.text in ("++", "--", "*")):
            return
        begin, stop = first.begin, self.tokens[end].begin
        text = self.source[begin:stop]
        if re.match(r"[\w:]+(<[^;()]*>)?[&*]?\s+[&*]?\w+\b", text):
            return  # a declaration; what it declares is changed where it is used
        self.add("log line" if re.match("LOG[EWI]$", first.text) else "statement", begin, stop, "")


def find_mutants(path, source):
    return Finder(path, source).find()
