"""Runs `datasrc stats` as people and scripts do, and computes its figures once more with fractions.

    stats_test.py BINARY
"""

import csv
import io
import json
import math
import pathlib
import random
import resource
import struct
import sys
import unittest
from collections import Counter
from fractions import Fraction

import tool_test
from system_file import SYSTEM_MISSING, SystemFile, format_word, late_variable
from tool_test import IS_SANITIZED, MARCH_14, ToolTest, unsanitized

CLOSE = Fraction(1, 10**12)

MEMBERS = ["name", "n", "system_missing", "user_missing", "blank", "min", "max", "mean", "sd", "sum", "distinct", "values"]


def is_missing(value, missing, code):
    """Returns whether a number is user-missing."""
    if code >= 0:
        return any(struct.pack("d", value) == struct.pack("d", one) for one in missing)
    return missing[0] <= value <= missing[1] or (code == -3 and value == missing[2])


def weight_of(value):
    return Fraction(value) if value is not None and math.isfinite(value) and value > 0 else None


def figures_of_numbers(values, weights, missing=(), code=0):
    """Returns figures of a numeric variable; moments as fractions. `weights` is None for a variable without weights."""
    pairs = [(value, Fraction(1)) for value in values]
    if weights is not None:
        pairs = [(value, weight_of(weight)) for value, weight in zip(values, weights, strict=True)]
    pairs = [(value, weight) for value, weight in pairs if weight is not None]
    present = [pair for pair in pairs if pair[0] is not None]
    valid = [pair for pair in present if not is_missing(pair[0], missing, code)]
    exact = [(Fraction(value), weight) for value, weight in valid]
    total = sum(weight for _, weight in exact)
    found = {
        "n": len(valid),
        "system_missing": len(pairs) - len(present),
        "user_missing": len(present) - len(valid),
        "blank": None,
        "min": min((value for value, _ in valid), default=None),
        "max": max((value for value, _ in valid), default=None),
        "mean": None,
        "sd": None,
        "sum": None,
        "distinct": len({struct.pack("d", value) for value, _ in present}),
    }
    if exact:
        found["sum"] = sum(value * weight for value, weight in exact)
        found["mean"] = found["sum"] / total
        if total > 1:
            squares = sum(weight * (value - found["mean"]) ** 2 for value, weight in exact)
            found["sd"] = root(squares / (total - 1))
    counts = Counter(value for value, _ in present)
    sums = Counter()
    for value, weight in present:
        sums[value] += weight
    found["counts"] = {value: (counts[value], sums[value]) for value in counts}
    return found


def root(fraction):
    """Returns the square root to 30 digits."""
    scale = 10**60
    return Fraction(math.isqrt(fraction.numerator * scale // fraction.denominator), 10**30)


class StatsTest(ToolTest):
    def file(self, system_file, name="data.quav"):
        return super().file(system_file, name)

    def json(self, system_file, *arguments):
        file = system_file if isinstance(system_file, pathlib.Path) else self.file(system_file)
        # Long whole numbers are the shortest text of a double, and no integers.
        return json.loads(self.out("stats", file, "--json", *arguments), parse_int=float)

    def variables(self, system_file, *arguments):
        return self.json(system_file, *arguments)["variables"]

    def assert_close(self, wanted, found, what):
        if wanted is None:
            self.assertIsNone(found, what)
            return
        self.assertIsNotNone(found, what)
        # A double is at best the nearest one.
        self.assertLessEqual(abs(Fraction(found) - wanted), CLOSE * abs(wanted), f"{what}: {float(wanted)} {found}")

    def assert_figures(self, wanted, found):
        name = found["name"]
        for member in ("n", "system_missing", "user_missing", "blank", "min", "max", "distinct"):
            self.assertEqual(wanted[member], found[member], f"{name}.{member}")
        for member in ("mean", "sd", "sum"):
            self.assert_close(wanted[member], found[member], f"{name}.{member}")
        if found["values"] is None:
            self.assertGreater(wanted["distinct"], 50)
            return
        counted = {one["value"]: one for one in found["values"] if one["n"] != 0}
        self.assertEqual({value: n for value, (n, _) in wanted["counts"].items()},
                         {value: one["n"] for value, one in counted.items()}, name)
        for value, (_, weight) in wanted["counts"].items():
            self.assert_close(weight, counted[value]["weighted"], f"{name}: {value}")


def random_column(generator, rows):
    """Returns the values of a numeric variable, its missing values and their code."""
    kind = generator.randrange(9)
    make = (
        lambda: float(generator.randrange(5)),
        lambda: float(generator.randrange(-3, 300)),
        lambda: generator.gauss(0, 1),
        lambda: generator.gauss(1e9, 1),
        lambda: generator.uniform(-1e-3, 1e-3),
        lambda: math.exp(generator.gauss(0, 8)),
        lambda: MARCH_14 + generator.randrange(86400 * 30),
        lambda: generator.choice((0.5, -0.5, 2.0**60, 7.0)),
        lambda: float(generator.randrange(100000)),
    )[kind]
    share = generator.choice((0, 0.01, 0.5, 1))
    values = [None if generator.random() < share else make() for _ in range(rows)]
    some = [value for value in values if value is not None] or [1.0]
    code = generator.choice((0, 0, 1, 3, -2, -3))
    if code == -2 or code == -3:
        low = generator.choice(some)
        missing = [low, low + abs(low) / 10] + [generator.choice(some)] * (code == -3)
    else:
        missing = list(dict.fromkeys(generator.choice(some) for _ in range(code)))
        code = len(missing)
    return values, missing, code


class Figures(StatsTest):
    def test_random_numbers_have_the_figures_of_exact_arithmetic(self):
        seed = random.randrange(2**32)
        generator = random.Random(seed)
        for turn in range(3 if IS_SANITIZED else 12):
            rows = generator.choice((1, 2, 255, 256, 257, 3000))
            columns = [random_column(generator, rows) for _ in range(8)]
            weights = [generator.choice((1.0, 0.1, 2.5, generator.random(), 0.0, -1.0, None)) for _ in range(rows)]
            system_file = SystemFile()
            for place, (_, missing, code) in enumerate(columns):
                system_file.variable(f"V{place}", missing=missing, missing_code=code)
            system_file.variable("W")
            for row in range(rows):
                system_file.case(*(values[row] for values, _, _ in columns), weights[row])
            file = self.file(system_file)
            for options, used in (((), None), (("--weight", "W"), weights)):
                with self.subTest(seed=seed, turn=turn, options=options):
                    found = self.variables(file, *options)
                    for place, (values, missing, code) in enumerate(columns):
                        self.assert_figures(figures_of_numbers(values, used, missing, code), found[place])

    def test_sums_keep_their_digits_when_values_cancel_each_other_out(self):
        values = [1e15, 0.25, -1e15] * 1000
        system_file = SystemFile().variable("A")
        for value in values:
            system_file.case(value)
        found = self.variables(system_file)[0]
        self.assertEqual((250.0, 250.0 / 3000), (found["sum"], found["mean"]))

    def test_equal_values_have_no_deviation(self):
        system_file = SystemFile().variable("A").variable("B")
        for _ in range(1000):
            system_file.case(0.1, 1e300)
        for found in self.variables(system_file):
            self.assertEqual(0, found["sd"])

    def test_figures_do_not_depend_on_the_number_of_threads(self):
        generator = random.Random(5)
        system_file = SystemFile().variable("A").variable("B", 5).variable("C").variable("W")
        for _ in range(70000):
            system_file.case(generator.gauss(0, 1), b"%d" % generator.randrange(200), generator.randrange(9), generator.random())
        file = self.file(system_file)
        one = self.out("stats", file, "--json", "--weight", "w", "--threads", "1")
        for threads in (2, 3, 64):
            self.assertEqual(one, self.out("stats", file, "--json", "--weight", "w", "--threads", threads))

    def test_every_member_is_there_in_order(self):
        found = self.json(SystemFile().variable("A").variable("B", 3).case(1, b"x"))
        self.assertEqual(["cases", "weight", "variables"], list(found))
        for variable in found["variables"]:
            self.assertEqual(MEMBERS, list(variable))
            self.assertEqual(["value", "label", "n", "weighted", "missing"], list(variable["values"][0]))

    def test_one_case_has_a_mean_and_no_deviation(self):
        found = self.variables(SystemFile().variable("A").case(2.5))[0]
        self.assertEqual((1, 2.5, 2.5, 2.5, None, 2.5), tuple(found[m] for m in ("n", "min", "max", "mean", "sd", "sum")))

    def test_variable_without_valid_values_has_no_figures(self):
        found = self.variables(SystemFile().variable("A", missing=[9.0]).case(None).case(9))[0]
        self.assertEqual((0, 1, 1), (found["n"], found["system_missing"], found["user_missing"]))
        self.assertEqual([None] * 5, [found[m] for m in ("min", "max", "mean", "sd", "sum")])
        self.assertEqual(1, found["distinct"])
        self.assertEqual([{"value": 9, "label": None, "n": 1, "weighted": 1, "missing": True}], found["values"])

    def test_file_without_cases_has_no_figures(self):
        found = self.json(SystemFile().variable("A").variable("B", 3))
        self.assertEqual(0, found["cases"])
        self.assertEqual([0, 0], [one["distinct"] for one in found["variables"]])
        self.assertEqual([[], []], [one["values"] for one in found["variables"]])

    def test_file_without_variables_has_none(self):
        self.assertEqual({"cases": 0, "weight": None, "variables": []}, self.json(SystemFile()))

    def test_special_numbers_are_values(self):
        infinity = math.inf
        cases = [(math.nan, infinity, 0.0), (1.0, 2.0, -0.0), (2.0, 5.0, 1.0)]
        system_file = SystemFile().variable("A").variable("B").variable("C")
        for case in cases:
            system_file.case(*case)
        a, b, c = self.variables(system_file)
        self.assertEqual((3, 1, 2, "NaN", "NaN", "NaN"), tuple(a[m] for m in ("n", "min", "max", "mean", "sd", "sum")))
        self.assertEqual([1, 2, "NaN"], [one["value"] for one in a["values"]])
        self.assertEqual((2, "Infinity", "Infinity", "NaN", "Infinity"), tuple(b[m] for m in ("min", "max", "mean", "sd", "sum")))
        self.assertEqual([2, 5, "Infinity"], [one["value"] for one in b["values"]])
        self.assertEqual(["-0.0", "0.0", "1.0"], [repr(float(one["value"])) for one in c["values"]])
        self.assertEqual(3, c["distinct"])


class Values(StatsTest):
    def test_labels_and_missing_values_are_told(self):
        system_file = SystemFile().variable("A", missing=[9.0, -1.0])
        system_file.value_labels([(1.0, "one"), (3.0, "three"), (9.0, "none"), (SYSTEM_MISSING, "nothing")], [1])
        for value in (1, 2, 1, 9, None, -1):
            system_file.case(value)
        found = self.variables(system_file)[0]
        self.assertEqual(
            [(-1, None, 1, True), (1, "one", 2, False), (2, None, 1, False), (3, "three", 0, False), (9, "none", 1, True)],
            [(one["value"], one["label"], one["n"], one["missing"]) for one in found["values"]],
        )
        self.assertEqual((3, 1, 2, 4), tuple(found[m] for m in ("n", "system_missing", "user_missing", "distinct")))

    def test_variable_with_fifty_values_lists_them_and_one_with_more_does_not(self):
        for count in (50, 51):
            for width, make in ((0, lambda i: i), (0, lambda i: i + 0.5), (4, lambda i: b"%d" % i)):
                system_file = SystemFile().variable("A", width)
                for i in range(count):
                    system_file.case(make(i))
                found = self.variables(system_file)[0]
                self.assertEqual(count, found["distinct"])
                self.assertEqual(count == 50, found["values"] is not None)

    def test_variable_with_labels_lists_all_its_values(self):
        numbers = SystemFile().variable("A").value_labels([(999.0, "refused"), (5000.0, "much")], [1])
        texts = SystemFile().variable("A", 4).value_labels([(b"999", "refused"), (b"5000", "much")], [1])
        for i in range(2000):
            numbers.case(i)
            texts.case(b"%d" % i)
        found = self.variables(numbers)[0]
        self.assertEqual([*map(float, range(2000)), 5000.0], [one["value"] for one in found["values"]])
        self.assertEqual({999: "refused", 5000: "much"}, {one["value"]: one["label"] for one in found["values"] if one["label"]})
        found = self.variables(texts)[0]
        self.assertEqual(sorted({*map(str, range(2000)), "5000"}), [one["value"] for one in found["values"]])

    def test_distinct_values_are_counted_up_to_65536(self):
        limit = 65536
        for count in (limit, limit + 1):
            plain = SystemFile().variable("A").variable("B", 8).variable("C").variable("D", 8)
            plain.value_labels([(7.5, "a"), (-1.0, "b"), (3.0, "c")], [3]).value_labels([(b"7.5", "a"), (b"x", "b")], [4])
            for i in range(count):
                plain.case(i + 0.25 if i % 2 else i, b"%d" % i, i / 2, b"%.1f" % (i / 2))
            found = self.variables(plain)
            self.assertEqual([count if count <= limit else None] * 4, [one["distinct"] for one in found])
            self.assertEqual([None, None], [one["values"] for one in found[:2]])
            labelled = [[(v["value"], v["label"], v["n"]) for v in one["values"] if v["label"]] for one in found[2:]]
            self.assertEqual([[(-1, "b", 0), (3, "c", 1), (7.5, "a", 1)], [("7.5", "a", 1), ("x", "b", 0)]], labelled)
            if count > limit:
                self.assertEqual([3, 2], [len(one["values"]) for one in found[2:]])
            exact = figures_of_numbers([i / 2 for i in range(count)], None)
            for member in ("mean", "sd", "sum"):
                self.assert_close(exact[member], found[2][member], member)

    def test_values_after_the_limit_count(self):
        """Labelled values are counted, and figures go on, when values are no longer told apart."""
        system_file = SystemFile().variable("A", missing=[0.5]).variable("B", 6)
        system_file.value_labels([(0.5, "half"), (9e9, "late")], [1]).value_labels([(b"late", "later")], [2])
        values = [i + 0.5 for i in range(70000)] + [0.5, 9e9, 1.0, None]
        for i, value in enumerate(values):
            system_file.case(value, b"late" if i >= 70000 else b"%d" % i)
        a, b = self.variables(system_file)
        self.assert_figures({**figures_of_numbers(values, None, [0.5], 1), "distinct": None,
                             "counts": {0.5: (2, 2), 9e9: (1, 1)}}, a)
        self.assertEqual((70004, None, "0", "late"), (b["n"], b["distinct"], b["min"], b["max"]))
        self.assertEqual([("late", "later", 4, 4)], [(v["value"], v["label"], v["n"], v["weighted"]) for v in b["values"]])


class Texts(StatsTest):
    def test_texts_have_counts_and_order(self):
        system_file = SystemFile().variable("A", 10, missing=[b"?"])
        for text in (b"b", b"", b"?", "Ä".encode(), b"b", b" c"):
            system_file.case(text)
        found = self.variables(system_file)[0]
        self.assertEqual((5, 0, 1, 1, "", "Ä"), tuple(found[m] for m in MEMBERS[1:7]))
        self.assertEqual([None] * 3, [found[m] for m in ("mean", "sd", "sum")])
        self.assertEqual([("", 1, False), (" c", 1, False), ("?", 1, True), ("b", 2, False), ("Ä", 1, False)],
                         [(v["value"], v["n"], v["missing"]) for v in found["values"]])

    def test_text_is_missing_by_its_first_eight_bytes_as_the_library_says(self):
        system_file = SystemFile().variable("A", 12, missing=[b"refused "]).variable("B", 8, missing=[b"a", b"b"])
        system_file.case(b"refused", b"a").case(b"refused so", b"ab").case(b"refusedso", b"b")
        a, b = self.variables(system_file)
        self.assertEqual((1, 2), (a["n"], a["user_missing"]))
        self.assertEqual((1, 2), (b["n"], b["user_missing"]))

    def test_texts_of_another_encoding_are_shown_in_utf_8(self):
        system_file = SystemFile().variable("A", 5, missing=[b"\xc4"], label=b"Stra\xdfe").code_page(1252)
        system_file.value_labels([(b"\xfc", b"\xdcber")], [1])
        system_file.case(b"\xfc").case(b"\xc4").case(b"\xdf\xe9").case(b"z")
        found = self.variables(system_file)[0]
        self.assertEqual([("z", None, False), ("Ä", None, True), ("ßé", None, False), ("ü", "Über", False)],
                         [(v["value"], v["label"], v["missing"]) for v in found["values"]])
        self.assertEqual(("z", "ü", 1), (found["min"], found["max"], found["user_missing"]))

    def test_invalid_bytes_become_the_replacement_character(self):
        found = self.variables(SystemFile().variable("A", 2).case(b"\xff").case(b"\xfe").case(b"a"))[0]
        self.assertEqual(["a", "\ufffd"], [v["value"] for v in found["values"]])


class Weights(StatsTest):
    def weighted(self, weights, missing=(), weight_slot=2):
        system_file = SystemFile().variable("A").variable("W", missing=missing)
        for i, weight in enumerate(weights):
            system_file.case(i + 1, weight)
        text = bytearray(system_file.bytes())
        text[76:80] = struct.pack("=i", weight_slot)
        return bytes(text)

    def test_weight_of_the_file_counts_unless_told_otherwise(self):
        file = self.file(self.weighted([2.0, 1.0, 0.5]))
        found = self.json(file)
        self.assertEqual("w", found["weight"])
        a = found["variables"][0]
        self.assertEqual((3, 5.5, 5.5 / 3.5), (a["n"], a["sum"], a["mean"]))
        self.assertEqual([(1, 2), (1, 1), (1, 0.5)], [(v["n"], v["weighted"]) for v in a["values"]])
        found = self.json(file, "--unweighted")
        self.assertIsNone(found["weight"])
        self.assertEqual(2, found["variables"][0]["mean"])
        found = self.json(file, "--weight", "A")
        self.assertEqual(("a", 14 / 6), (found["weight"], found["variables"][0]["mean"]))

    def test_case_without_a_positive_weight_counts_for_nothing(self):
        file = self.file(self.weighted([None, 0.0, -3.0, 9.0, math.nan, math.inf, 1.5], missing=[9.0]))
        found = self.json(file)
        self.assertEqual(7, found["cases"])
        a, w = found["variables"]
        self.assertEqual((1, 0, 7, 1), (a["n"], a["system_missing"], a["mean"], a["distinct"]))
        self.assertEqual((1, 0, 0, 1.5), (w["n"], w["system_missing"], w["user_missing"], w["mean"]))
        self.assertIn("count for nothing: 6", self.out("stats", file))

    def test_weights_up_to_one_give_no_deviation(self):
        self.assertIsNone(self.variables(self.weighted([0.5, 0.5]))[0]["sd"])
        self.assertIsNotNone(self.variables(self.weighted([0.5, 0.75]))[0]["sd"])

    def test_weight_that_is_text_is_an_error_or_a_warning(self):
        system_file = SystemFile().variable("A").variable("T", 3).case(1, b"x").case(2, b"y")
        self.assertRegex(self.fails(1, "stats", self.file(system_file), "--weight", "t"), "the weight variable t is text: ")
        text = bytearray(system_file.bytes())
        text[76:80] = struct.pack("=i", 2)
        done = self.run_tool("stats", self.file(bytes(text)), "--json")
        self.assertEqual(0, done.returncode)
        self.assertRegex(done.stderr, r"\Adatasrc: warning: the weight variable t is text: the figures are not weighted: ")
        self.assertEqual((None, 1.5), (json.loads(done.stdout)["weight"], json.loads(done.stdout)["variables"][0]["mean"]))

    def test_unknown_weight_is_error_1507(self):
        self.assertIn("error 1507", self.fails(1, "stats", self.file(SystemFile().variable("A")), "--weight", "b"))


class Forms(StatsTest):
    def file_of_people(self):
        system_file = SystemFile().variable("AGE", label="the age").variable("TOWN", 6).variable("BORN", print_format=format_word(20, 11))
        system_file.value_labels([(18.0, "just of age")], [1])
        for age, town, born in ((18, b"Ulm", MARCH_14), (20, b'a,"b"', MARCH_14 + 86400), (18, b"", None)):
            system_file.case(age, town, born)
        return self.file(system_file)

    def test_csv_has_a_line_for_each_variable(self):
        file = self.file_of_people()
        lines = list(csv.DictReader(io.StringIO(self.out("stats", file, "--csv"))))
        found = self.variables(file)
        for line, variable in zip(lines, found, strict=True):
            self.assertEqual(MEMBERS[:-1], list(line))
            for member, text in line.items():
                value = variable[member]
                self.assertEqual("" if value is None else value, text if isinstance(value, str) or text == "" else float(text))
        self.assertEqual('a,"b"', lines[1]["max"])

    def test_table_shows_figures_as_people_write_them(self):
        text = self.out("stats", self.file_of_people())
        self.assertRegex(text, r"\ACases +3\n\nName +N +Missing +Min +Max +Mean +SD +Distinct +Label\n")
        self.assertRegex(text, r"(?m)^age +3 +0 +18\.00 +20\.00 +18\.667 +1\.1547 +2 +the age$")
        self.assertRegex(text, r"(?m)^born +2 +1 +2024-03-14 +2024-03-15 +2024-03-14 12:00:00 +0\.70711 days +2$")
        self.assertNotIn("just of age", text)

    def test_columns_option_selects_variables_and_shows_their_values(self):
        file = self.file_of_people()
        text = self.out("stats", file, "--columns", "TOWN,age")
        self.assertNotIn("born", text)
        self.assertLess(text.index("town"), text.index("age"))
        self.assertRegex(text, r"(?m)^ *18\.00  just of age +2 +66\.7 % +66\.7 %$")
        self.assertEqual(["town", "age", "town"], [one["name"] for one in self.variables(file, "--columns", "town,AGE,town")])
        self.assertIn("error 1507", self.fails(1, "stats", file, "--columns", "age,nobody"))

    def test_control_characters_do_not_reach_the_terminal(self):
        file = self.file(SystemFile().variable("A", 8, label="a\x1b[2J").case(b"\x1b[2J\n\t"))
        self.assertNotIn("\x1b", self.out("stats", file, "--columns", "a"))

    def test_wrong_command_line_exits_with_status_2(self):
        file = self.file_of_people()
        for arguments in (
            ["stats"],
            ["stats", file, "--json", "--csv"],
            ["stats", file, "--unweighted", "--weight", "age"],
            ["stats", file, "--columns", "age,,town"],
            ["stats", file, "--threads", "0"],
            ["stats", file, "--threads", "two"],
            ["stats", file, "--threads", "-1"],
        ):
            with self.subTest(arguments=arguments):
                self.fails(2, *arguments)

    def test_faults_are_told_and_nothing_is_printed(self):
        whole = SystemFile().variable("A").case(1).case(2).bytes()
        done = self.run_tool("stats", self.file(whole[:-1]), "--json")
        self.assertEqual((1, ""), (done.returncode, done.stdout))
        self.assertRegex(done.stderr, r"\Adatasrc: error 1205: [^\n]*\n\Z")
        self.assertIn("error 1201", self.fails(1, "stats", self.folder / "nothing"))
        self.assertIn("the cases cannot be read", self.fails(1, "stats", self.file(late_variable())))

    def test_full_standard_output_is_an_error(self):
        for form in ("--json", "--csv", "--unweighted"):
            with open("/dev/full", "wb") as full:
                self.assertIn("No space left", self.fails(1, "stats", self.file_of_people(), form, stdout=full))

    def test_closed_pipe_is_no_failure(self):
        system_file = SystemFile()
        for k in range(3000):
            system_file.variable(f"V{k}", 0, label="a label that is not short")
        file = self.file(system_file.case(*range(3000)))
        for form in ("--json", "--csv", "--unweighted"):
            self.closes_early("stats", file, form)

    @unsanitized
    def test_memory_does_not_grow_with_the_cases(self):
        """The limit is one of address space, which threads take much of, too."""
        row = struct.pack("=2d", 1.5, 2.5)
        head = SystemFile(cases=-1).variable("A").variable("B").bytes()
        path = self.folder / "large.quav"
        with open(path, "wb") as file:
            file.write(head)
            for _ in range(64):
                file.write(row * 65536)
        limit = 400 << 20
        done = self.run_tool("stats", path, "--json", "--threads", "1",
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertEqual(64 * 65536, json.loads(done.stdout)["cases"])


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=1)
