"""What scripts/mutation.py finds to change in a piece of code, and what it leaves alone."""

import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import mutation  # noqa: E402


def changes(body, head="int A::f(int a)"):
    """'before -> after' of all mutants of a function with this body."""
    return {f"{mutant.before} -> {mutant.after}"
            for mutant in mutation.find_mutants("a.cpp", f"{head} {{\n{body}\n}}\n")}


class Mutation(unittest.TestCase):
    def test_a_comparison_moves_its_bound_and_turns_round(self):
        found = changes("return a < b ? a : b;")
        self.assertIn("< -> <=", found)
        self.assertIn("< -> >=", found)

    def test_brackets_of_templates_and_references_are_no_operators(self):
        self.assertEqual(changes("return std::get<int>(static_cast<const T&>(*a));"),
                         {"std::get<int>(static_cast<const T&>(*a)) -> {}"})

    def test_a_condition_is_negated_unless_its_operator_says_the_same(self):
        self.assertIn("known(a) -> !(known(a))", changes("if (known(a)) { g(); }"))
        self.assertIn("a && b -> !(a && b)", changes("while (a && b) { g(); }"))
        self.assertEqual(changes("if (a == b) { return; }", "void f()"),
                         {"== -> !="})
        self.assertIn("a -> !(a)", changes("if (int b = g(); a) { h(b); }"))

    def test_a_status_changes_once_by_one_and_once_the_other_way(self):
        self.assertEqual(changes("return -1;"), {"1 -> 2", "1 -> 0"})
        self.assertEqual(changes("return true;"), {"true -> false"})

    def test_suffixes_and_separators_survive(self):
        self.assertTrue({"1'000U -> 1001U", "1'000U -> 999U"} <= changes("a = 1'000U;"))

    def test_calls_and_assignments_are_left_out_but_not_declarations(self):
        found = changes("const int b = g();\nMutexLock lock(mMutex);\nh(b);\na = b;\nreturn a;")
        self.assertIn("h(b) -> ", found)
        self.assertIn("a = b -> ", found)
        self.assertFalse({change for change in found if "lock" in change or "const" in change})

    def test_statements_are_found_behind_heads_and_in_lambdas(self):
        found = changes("if (a) g();\nfor (;;) { h(); }\nrun([this] { i(); });\n"
                        "switch (a) {\ncase 1:\nj();\nbreak;\n}")
        self.assertTrue({"g() -> ", "h() -> ", "i() -> ", "j() -> ", "break -> "} <= found)

    def test_a_function_is_left_at_once_with_what_it_returns(self):
        self.assertIn(" -> return {}; ", changes("g();\nreturn a;"))
        self.assertIn(" -> return; ", changes("g();\nh();", "void A::f() const"))
        self.assertIn(" -> return; ", changes("g();\nh();", "A::A(int a) : mA(a)"))
        self.assertEqual(changes("g();", "A::~A()"), {"g() -> "})

    def test_comments_annotations_and_debug_lines_are_left_alone(self):
        self.assertEqual(changes('// a < 1\nLOGD("x %d", 1);', "void f() REQUIRES(mMutex)"), set())
        self.assertEqual(changes("static_assert(sizeof(a) == 8);"), set())
        self.assertEqual(mutation.find_mutants("a.h", "#define A 1\nenum class B { C = 2 };\n"
                                                      "struct D { virtual int f() = 0; };\n"), [])

    def test_lines_keep_their_numbers(self):
        source = "void f() {\n    g(1,\n      2);\n    h();\n}\n"
        for mutant in mutation.find_mutants("a.cpp", source):
            self.assertEqual(mutant.apply(source).count("\n"), source.count("\n"), mutant)

    def test_equal_places_can_be_told_apart(self):
        found = mutation.find_mutants("a.cpp", "void f() {\n    ++a;\n}\nvoid g() {\n    ++a;\n}\n")
        self.assertEqual(len({mutant.identity for mutant in found}), len(found))


if __name__ == "__main__":
    unittest.main()
