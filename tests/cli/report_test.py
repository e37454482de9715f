"""Runs `datasrc report`, reads its page as a program, and opens it in a browser where there is one.

    report_test.py BINARY

The browser is Debian's chromium; without it these tests are skipped.
"""

import base64
import hashlib
import html.parser
import json
import os
import pathlib
import random
import re
import resource
import shutil
import struct
import subprocess
import sys
import unittest

import tool_test
from system_file import SystemFile, format_word, late_variable
from tool_test import IS_SANITIZED, TIMEOUT, ToolTest, unsanitized

BROWSER = shutil.which("chromium")

HOSTILE = (
    "<script>document.title='run'</script>",
    "<img src=x onerror=\"document.title='run'\">",
    "</title></style></script><svg onload=\"document.title='run'\">",
    "\" onmouseover=\"document.title='run'",
    "' autofocus onfocus='run' x='",
    "<!-- --><![CDATA[ &lt;b&gt; &#60;script",
    "</td></table></section></main><h1>run</h1>",
    "javascript:run",
)


class Page(html.parser.HTMLParser):
    """The elements of a page: for each a tag, its attributes, and all text in it up to the next element."""

    VOID = {"meta", "input", "path", "rect", "img", "br", "link"}

    def __init__(self, text):
        super().__init__(convert_charrefs=True)
        self.elements = []
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attributes):
        self.elements.append([tag, dict(attributes), ""])

    def handle_data(self, data):
        if self.elements and data != "\n":
            self.elements[-1][2] += data

    def all(self, tag, **attributes):
        return [e for e in self.elements if e[0] == tag and all(e[1].get(k) == v for k, v in attributes.items())]

    def sections(self):
        """Returns the elements of each variable."""
        starts = [i for i, e in enumerate(self.elements) if e[0] == "section" and "id" in e[1]]
        ends = [*starts[1:], len(self.elements)]
        return [self.elements[start:end] for start, end in zip(starts, ends)]


def facts(section):
    """Returns the terms and descriptions of a section; a figure is its exact value."""
    found = {}
    term = None
    for tag, attributes, text in section:
        if tag == "dt":
            term = text
        elif tag == "dd" and text:
            found[term] = text
        elif tag == "data":
            found[term] = attributes["value"]
    return found


def rows(section):
    """Returns the cells of the rows of a section's table, without the head."""
    found = []
    inside = False
    for tag, attributes, text in section:
        inside = (inside or tag == "tbody") and tag != "figure"
        if not inside:
            continue
        if tag == "tr":
            found.append([])
        elif tag == "td":
            found[-1].append(text.strip())
        elif tag == "rect":
            found[-1][-1] = attributes["width"]
        elif tag == "i":
            found[-1][-1] = text
    return found


def people():
    generator = random.Random(4)
    system_file = SystemFile(label="Ages & towns")
    system_file.variable("AGREE", print_format=format_word(5, 1), label="Agrees", missing=[8.0, 9.0])
    system_file.variable("INCOME", print_format=format_word(3, 10, 2))
    system_file.variable("AGE", print_format=format_word(5, 3), missing=[999.0])
    system_file.variable("TOWN", 8).variable("BORN", print_format=format_word(20, 11)).variable("NOTHING")
    system_file.value_labels([(1.0, "no"), (2.0, "perhaps"), (3.0, "yes"), (8.0, "refused")], [1])
    system_file.value_labels([(999.0, "no answer")], [3])
    system_file.documents("First wave <in March>", "   (Entered 05-Mar-2024)")
    for _ in range(400):
        system_file.case(
            generator.choice((1, 2, 2, 3, 8, 9, None)),
            round(generator.lognormvariate(8, 1), 2),
            generator.choice((999, *range(18, 90))),
            generator.choice((b"Ulm", b"Bonn", b"")),
            13000000000 + 86400 * generator.randrange(9000),
            None,
        )
    return system_file


class ReportTest(ToolTest):
    def file(self, system_file, name="data.quav"):
        return super().file(system_file, name)

    def page(self, system_file):
        return self.out("report", self.file(system_file), "-o", "-")


class Outputs(ReportTest):
    def test_page_stands_beside_the_file_by_default(self):
        for name in ("data.quav", "data", "my.data.set"):
            file = self.file(people(), name)
            self.assertEqual("", self.out("report", file))
            self.assertTrue(file.with_suffix(".html").read_text(encoding="utf-8").startswith("<!DOCTYPE html>"))

    def test_output_option_names_the_page(self):
        out = self.folder / "book.html"
        self.out("report", self.file(people()), "-o", out)
        self.assertEqual(self.page(people()), out.read_text(encoding="utf-8"))
        self.assertEqual(["book.html", "data.quav"], sorted(os.listdir(self.folder)))

    def test_page_of_standard_input_goes_to_standard_output(self):
        file = self.file(people())
        with open(file, "rb") as given:
            done = self.run_tool("report", "-", stdin=given)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertIn("standard input", done.stdout)
        self.assertEqual(self.page(people()), done.stdout.replace("standard input", "data.quav"))
        self.assertEqual(["data.quav"], os.listdir(self.folder))

    def test_file_is_never_replaced_by_its_page(self):
        file = self.file(people(), "data.html")
        before = file.read_bytes()
        self.assertIn("would replace", self.fails(1, "report", file))
        self.assertEqual(before, file.read_bytes())

    def test_failed_work_leaves_no_page_and_keeps_the_old_one(self):
        file = self.file(people().bytes()[:-1])
        self.assertIn("error 1205", self.fails(1, "report", file))
        self.assertEqual(["data.quav"], os.listdir(self.folder))
        (self.folder / "data.html").write_text("old")
        self.fails(1, "report", file)
        self.assertEqual("old", (self.folder / "data.html").read_text())
        self.assertIn("No space left", self.fails(1, "report", self.file(people()), "-o", "/dev/full"))
        self.assertIn("the cases cannot be read", self.fails(1, "report", self.file(late_variable())))
        self.fails(2, "report")

    def test_closed_pipe_is_no_failure(self):
        system_file = SystemFile()
        for k in range(200):
            system_file.variable(f"V{k}", 0, label="a label that is not short")
        self.closes_early("report", self.file(system_file.case(*range(200))), "-o", "-")

    def test_full_disk_leaves_no_page_and_keeps_an_old_one(self):
        file = self.file(people())
        out = self.folder / "page.html"
        for old in (None, "old"):
            if old is not None:
                out.write_text(old)
            status, line = self.limited(512, "report", file, "-o", out)
            self.assertEqual(1, status)
            self.assertRegex(line, r"\Adatasrc: error.*File too large.*page\.html\n\Z")
            self.assertEqual(old, out.read_text() if out.exists() else None)
            self.assertEqual({file.name} | ({out.name} if old else set()), set(os.listdir(self.folder)))

    def test_threads_do_not_change_the_page(self):
        file = self.file(people())
        self.assertEqual(self.out("report", file, "-o", "-", "--threads", "1"),
                         self.out("report", file, "-o", "-", "--threads", "3"))


class Contents(ReportTest):
    def test_figures_are_those_of_stats(self):
        weighted = bytearray(people().bytes())
        weighted[76:80] = struct.pack("=i", 3)
        for system_file in (people(), bytes(weighted)):
            page = Page(self.page(system_file))
            found = json.loads(self.out("stats", self.folder / "data.quav", "--json"))
            self.assertEqual(len(found["variables"]), len(page.sections()))
            for section, variable in zip(page.sections(), found["variables"], strict=True):
                shown = facts(section)
                self.assertEqual(variable["name"], section[2][2].split(" ", 1)[1])
                self.assertEqual(f"{variable['n']:,}", shown["Valid"])
                missing = variable["system_missing"] + variable["user_missing"]
                self.assertEqual(str(missing), shown["Missing"].split()[0])
                self.assertEqual(f"{variable['distinct']:,}", shown["Distinct"])
                for term, member in (("Minimum", "min"), ("Maximum", "max"), ("Mean", "mean"), ("Standard deviation", "sd")):
                    value = None if isinstance(variable[member], str) else variable[member]
                    self.assertEqual(value, float(shown[term]) if term in shown else None, (variable["name"], term))
                self.check_rows(rows(section), variable, found["weight"])

    def check_rows(self, shown, variable, weight):
        values = variable["values"] or []
        if variable["name"] == "age":
            values = [one for one in values if one["label"]]
        self.assertEqual(len(values), len(shown), variable["name"])
        total = sum(one["weighted"] for one in values if not one["missing"])
        for cells, value in zip(shown, values, strict=True):
            text = str(value["value"]) if isinstance(value["value"], str) else f"{value['value']:g}"
            self.assertEqual([text or "blank", value["label"] or "", f"{value['n']:,}"], cells[:3])
            if weight:
                self.assertEqual(value["weighted"], float(cells[3].replace(",", "")))
            share = "missing" if value["missing"] else f"{100 * value['weighted'] / total:.1f} %"
            self.assertEqual(share, cells[-2])

    def test_longest_bar_belongs_to_the_most_frequent_value(self):
        section = Page(self.page(people())).sections()[0]
        bars = {cells[1]: float(cells[-1].rstrip("%")) for cells in rows(section) if cells[-1]}
        counts = {cells[1]: int(cells[2]) for cells in rows(section) if cells[-1]}
        self.assertEqual({"no", "perhaps", "yes"}, set(bars))
        for label, width in bars.items():
            self.assertAlmostEqual(100 * counts[label] / max(counts.values()), width, delta=0.01)

    def test_numbers_with_many_values_have_a_histogram(self):
        charts = [e for e in Page(self.page(people())).all("svg") if e[1].get("role") == "img"]
        self.assertEqual(["income", "age", "born"], [re.match("Histogram of ([a-z]+):", e[1]["aria-label"])[1] for e in charts])

    def test_bars_of_a_histogram_are_the_counts_of_its_bins(self):
        system_file = SystemFile().variable("A", missing=[100.0])
        values = [*range(20)] * 2 + [7] * 4 + [100.0] * 50 + [None]
        for value in values:
            system_file.case(value)
        page = Page(self.page(system_file))
        path = page.all("path")[0][1]["d"]
        bars = [(float(x), float(y)) for x, y in re.findall(r"M([\d.]+) 60V([\d.]+)h", path)]
        self.assertEqual(20, len(bars))
        for i, (x, y) in enumerate(bars):
            self.assertAlmostEqual(i * 12, x, delta=0.01)
            self.assertAlmostEqual(60 * (1 - (6 if i == 7 else 2) / 6), y, delta=0.01)
        self.assertIn("20 bins, the fullest with 6", page.all("figcaption")[0][2] + "".join(e[2] for e in page.all("span")))

    def test_everything_of_the_dictionary_is_there(self):
        system_file = SystemFile(label="The label").variable("A", missing=[1.0, 5.0, 9.0], missing_code=-3, label="about A")
        system_file.variable("B").documents("A note.", "   (Entered 05-Mar-2024)")
        for subtype, contents in (
            (5, b"all= A B\n"),
            (7, b"$many=C 5 Label A B\n"),
            (17, b"source('a form'\n)"),
            (18, b"A:unit('metres'\n)"),
        ):
            system_file.extension(subtype, 1, len(contents), contents)
        text = self.page(system_file.case(1, 2))
        for part in ("The label", "about A", "missing 1.00 to 5.00, 9.00", "A note.", "2024-03-05", "all", "$many",
                     "source", "a form", "unit = metres", "made by a test"):
            self.assertIn(part, text)

    def test_file_without_variables_or_cases_has_a_page(self):
        self.assertEqual([], Page(self.page(SystemFile())).sections())
        self.assertEqual(1, len(Page(self.page(SystemFile().variable("A", 4))).sections()))


class Safety(ReportTest):
    def hostile(self):
        system_file = SystemFile(label=HOSTILE[1][:64])
        for i, text in enumerate(HOSTILE):
            system_file.variable(f"V{i}", 64, label=text)
        system_file.documents(*HOSTILE, "   (Entered 05-Mar-2024)")
        for text in HOSTILE:
            system_file.case(*[text.encode()] * len(HOSTILE))
        return system_file

    def test_text_of_the_file_is_never_markup(self):
        numbers = SystemFile().variable("A")
        numbers.value_labels([(float(i), text) for i, text in enumerate(HOSTILE)], [1]).case(1)
        for system_file in (self.hostile(), numbers):
            text = self.page(system_file)
            page = Page(text)
            known = set("html head meta title style body a header p h1 nav ul li h2 dl div dt dd label input output table caption "
                        "thead tbody tr th td main section h3 small data svg rect path figure figcaption span i pre footer script".split())
            self.assertEqual(set(), {e[0] for e in page.elements} - known)
            self.assertEqual([], [e for e in page.elements for name in e[1] if name.startswith("on")])
            self.assertEqual(1, len(page.all("script")))
            self.assertNotIn("\0", text)

    def test_hostile_text_is_shown_as_it_is(self):
        page = Page(self.page(self.hostile()))
        labels = [section[3][2] for section in page.sections()]
        self.assertEqual(list(HOSTILE), labels)
        self.assertEqual(sorted(HOSTILE), [cells[0] for cells in rows(page.sections()[0])])

    def test_page_loads_nothing(self):
        text = self.page(people())
        self.assertIsNone(re.search(r"https?:|//[a-z]|\burl\(|@import|\bsrc=", text))

    def test_policy_of_the_page_allows_its_own_style_and_script_alone(self):
        page = Page(self.page(people()))
        policy = page.all("meta", **{"http-equiv": "Content-Security-Policy"})[0][1]["content"]
        for tag in ("style", "script"):
            digest = base64.b64encode(hashlib.sha256(page.all(tag)[0][2].encode()).digest()).decode()
            self.assertIn(f"{tag}-src 'sha256-{digest}'", policy)
        self.assertTrue(policy.startswith("default-src 'none'; "))

    def test_control_characters_are_replaced(self):
        text = self.page(SystemFile().variable("A", 8, label="a\x1b[2J\u0085b\x7f").case(b"\x01"))
        self.assertIn("a\ufffd[2J\ufffdb\ufffd", text)
        self.assertIsNone(re.search("[\0-\x08\x0b-\x1f\x7f-\x9f]", text))


class Access(ReportTest):
    def test_headings_captions_and_names_are_there(self):
        page = Page(self.page(people()))
        levels = [int(e[0][1]) for e in page.elements if re.fullmatch("h[1-6]", e[0])]
        self.assertEqual(1, levels[0])
        self.assertTrue(all(b - a <= 1 for a, b in zip(levels, levels[1:])))
        tags = [e[0] for e in page.elements]
        for place, tag in enumerate(tags):
            if tag == "table":
                self.assertEqual("caption", tags[place + 1])
        self.assertEqual("en", page.all("html")[0][1]["lang"])
        self.assertEqual("q", page.all("label")[0][1]["for"])
        ids = [e[1]["id"] for e in page.elements if "id" in e[1]]
        self.assertEqual(len(ids), len(set(ids)))
        targets = {e[1]["href"][1:] for e in page.all("a")}
        self.assertEqual(set(), targets - set(ids))

    def test_contrast_is_enough_in_both_schemes(self):
        style = Page(self.page(people())).all("style")[0][2]
        schemes = re.findall(r":root\{([^}]*)\}", style)
        self.assertEqual(3, len(schemes))
        for scheme in schemes:
            colours = dict(re.findall(r"--(\w+):(#[0-9a-f]+)", scheme))
            for back in ("back", "card"):
                for name, least in (("text", 7), ("soft", 4.5), ("link", 4.5), ("bar", 3)):
                    self.assertGreaterEqual(contrast(colours[name], colours[back]), least, (name, back, scheme))

    def test_text_of_the_file_has_its_own_direction(self):
        page = Page(self.page(SystemFile().variable("A", 8, label="שאלה").case("עיר".encode())))
        shown = [e for e in page.elements if re.search("[א-ת]", e[2])]
        self.assertGreaterEqual(len(shown), 3)
        self.assertEqual([], [e for e in shown if e[1].get("dir") != "auto"])


def contrast(a, b):
    def light(colour):
        digits = colour[1:] if len(colour) == 7 else "".join(2 * c for c in colour[1:])
        parts = [int(digits[i : i + 2], 16) / 255 for i in (0, 2, 4)]
        parts = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
        return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2]

    high, low = sorted((light(a), light(b)), reverse=True)
    return (high + 0.05) / (low + 0.05)


class Size(ReportTest):
    def test_page_of_1700_variables_is_small_and_quick(self):
        generator = random.Random(1)
        system_file = SystemFile()
        count = 1700
        for i in range(count):
            system_file.variable(f"V{i}", label=f"Question {i}: how much do you agree with what the speaker said about it?")
        for i in range(0, count, 2):
            system_file.value_labels([(float(k), f"answer number {k} of many, in words") for k in range(1, 12)], [i + 1])
        for _ in range(200):
            system_file.case(*(generator.gauss(0, 9) if i % 2 else generator.randrange(14) for i in range(count)))
        file = self.file(system_file)
        out = self.folder / "out.html"
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        self.out("report", file, "-o", out)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        # Time of the processor: other programs may keep this one waiting.
        used = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
        self.assertLess(used, 60 if IS_SANITIZED else 2)
        self.assertLessEqual(out.stat().st_size, 50_000 + 2_000 * count)

    def test_tables_are_cut_to_the_most_frequent_values_where_there_is_no_room(self):
        system_file = SystemFile()
        for i in range(100):
            system_file.variable(f"V{i}", label="about it")
        system_file.value_labels([(float(k), f"answer number {k}") for k in range(40)], range(1, 101))
        for k in range(40):
            for _ in range(1 + (k % 4 == 3)):
                system_file.case(*[k] * 100)
        text = self.page(system_file)
        self.assertLessEqual(len(text.encode()), 50_000 + 2_000 * 100)
        shown = rows(Page(text).sections()[0])
        self.assertGreaterEqual(len(shown), 10)
        self.assertLess(len(shown), 40)
        self.assertEqual({f"{k}.00" for k in range(3, 40, 4)}, {cells[0] for cells in shown if cells[2] == "2"})
        self.assertIn("The most frequent of 40 values.", text)


@unittest.skipUnless(BROWSER, "there is no chromium")
@unsanitized
class Browser(ReportTest):
    def document(self, text):
        """Returns the page as the browser has it after its script ran."""
        path = self.folder / "shown.html"
        path.write_text(text, encoding="utf-8")
        done = subprocess.run(
            [BROWSER, "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", f"--user-data-dir={self.folder}/profile",
             "--virtual-time-budget=2000", "--enable-logging=stderr", "--dump-dom", path.as_uri()],
            capture_output=True, timeout=TIMEOUT, check=False)
        self.assertEqual(0, done.returncode, done.stderr)
        return done.stdout.decode("utf-8"), done.stderr.decode("utf-8", "replace")

    def test_script_of_the_page_runs_and_no_other(self):
        text = self.page(Safety.hostile(self))
        shown, log = self.document(text)
        page = Page(shown)
        self.assertNotIn("hidden", page.all("div", id="s")[0][1])
        self.assertEqual(HOSTILE[1][:64] + " - code book", page.all("title")[0][2])
        self.assertNotIn("Content Security Policy", log)
        # The policy stops what is markup, too.
        shown, log = self.document(text.replace("</main>", "<script>document.title='run'</script></main>"))
        self.assertEqual(HOSTILE[1][:64] + " - code book", Page(shown).all("title")[0][2])
        self.assertIn("Content Security Policy", log)

    def test_search_hides_what_does_not_fit(self):
        text = self.page(people())
        for words, wanted in (("AGREES", ["v1"]), ("refused agr", ["v1"]), ("town", ["v4"]), ("nowhere", []), (" ", 6)):
            with self.subTest(words=words):
                shown, _ = self.document(text.replace("<input id=q ", f'<input id=q value="{words}" '))
                page = Page(shown)
                found = [e[1]["id"] for e in page.all("section") if "id" in e[1] and "hidden" not in e[1]]
                self.assertEqual(wanted, len(found) if wanted == 6 else found)
                listed = [e for e in page.all("tr") if "hidden" in e[1]]
                self.assertEqual(6 - len(found), len(listed))

    def test_search_stays_hidden_without_script(self):
        self.assertIn("hidden", Page(self.page(people())).all("div", id="s")[0][1])


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=1)
