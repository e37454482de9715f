"""Runs `datasrc` on text that goes from one encoding to another, and on text that outgrows its place there.

    encoding_test.py BINARY
"""

import json
import pathlib
import resource
import sys
import unittest

import tool_test
from convert_test import ConvertTest
from system_file import SystemFile
from tool_test import unsanitized

CP1252 = 1252
IBM037 = 37
DATE_LINE = "   (Entered 14-Mar-24)"
GROUP = b"\x1d"
UNIT = b"\x1f"


def latin(text):
    return text.encode("cp1252")


class EncodingTest(ConvertTest):
    def warnings_of(self, *arguments):
        """Returns the texts of the warnings, without the file, of work that must succeed."""
        done = self.run_tool(*arguments)
        self.assertEqual(0, done.returncode, done.stderr)
        lines = done.stderr.splitlines()
        for line in lines:
            self.assertTrue(line.startswith("datasrc: warning"), line)
        self.printed = done.stdout
        return [line.removeprefix("datasrc: warning: ").rpartition(": ")[0] for line in lines]

    def converted(self, file, *options, warnings=()):
        """Returns `info --json` of the file that the conversion makes."""
        out = self.folder / "converted.quav"
        self.assertEqual(list(warnings), self.warnings_of("convert", file, out, *options))
        return self.info(out)


class WideText(EncodingTest):
    """Strings whose UTF-8 text is longer than any string may be."""

    CUT = "values that were cut, because a string has at most 32767 bytes in UTF-8: "
    def wide_file(self, width, *texts, page=CP1252):
        parts = (width + 251) // 252
        widths = [255] * (parts - 1) + [width - 252 * (parts - 1)]
        file = SystemFile()
        for part in range(parts):
            file.variable(f"T{part}" if part else "T", widths[part])
        lengths = b"T=%d\0\t" % width
        file.variable("N").code_page(page).extension(13, 1, 3, b"T=t").extension(14, 1, len(lengths), lengths)
        for number, text in enumerate(texts):
            file.case(*(text[255 * part : 255 * part + widths[part]] for part in range(parts)), number)
        return self.file(file, "wide.quav")

    # The first texts fit; of the others the last character lies across the border, or past it.
    TEXTS = (
        ("x" * 13000, 13000),
        ("é" * 16383 + "x", 16384),  # 32,767 bytes
        ("é" * 16384, 16383),  # 32,768 bytes
        ("é" * 16383 + "xx", 16384),
        ("x" + "é" * 16384, 16384),  # the border is between two characters
        ("€" * 10922 + "x", 10923),
        ("€" * 10922 + "é", 10922),
        ("€" * 10922 + "€", 10922),
        ("x" + "€" * 10922, 10923),
        ("xx" + "€" * 10922, 10923),
        ("€" * 10921 + " " * 20 + "é", 10921),  # only blanks stand at the border
        ("", 0),
    )

    def expected(self):
        return [[text[:length], float(number)] for number, (text, length) in enumerate(self.TEXTS)]

    def test_values_are_cut_between_characters_and_counted(self):
        lost = sum(length != len(text) for text, length in self.TEXTS)
        file = self.wide_file(16500, *(latin(text) for text, _ in self.TEXTS))
        for form in "jsonl", "csv":
            self.assertEqual([self.CUT + str(lost)], self.warnings_of("cat", file, "--format", form, "--raw"))
        self.warnings_of("cat", file, "--format", "jsonl", "--raw")
        self.assertEqual(self.expected(), [json.loads(line) for line in self.printed.splitlines()])
        out = self.folder / "out.quav"
        for suffix in "quav", "jsonl":
            out = self.folder / ("out." + suffix)
            self.assertEqual([self.CUT + str(lost)], self.warnings_of("convert", file, out))
        self.assertEqual(self.expected(), [json.loads(line) for line in out.read_text().splitlines()])
        self.assertEqual(self.expected(), self.case_list(self.folder / "out.quav"))

    def test_rows_and_columns_are_counted_as_they_are_written(self):
        file = self.wide_file(16500, *(latin(text) for text, _ in self.TEXTS))
        self.assertEqual([self.CUT + "1"], self.warnings_of("cat", file, "--rows", "2:3", "--columns", "n,t"))
        self.assertEqual("N,t\n2," + "é" * 16383 + "\n", self.printed)
        self.assertEqual([], self.warnings_of("cat", file, "--rows", "0:2"))
        self.assertEqual([], self.warnings_of("cat", file, "--columns", "N"))

    def test_strings_that_fit_always_lose_nothing(self):
        for width in 10922, 10923:
            with self.subTest(width):
                file = self.wide_file(width, latin("€" * width), latin("€" * (width - 1)))
                lost = [] if width == 10922 else [self.CUT + "1"]
                self.assertEqual(lost, self.warnings_of("cat", file, "--columns", "t"))
                self.assertEqual("t\n" + "€" * 10922 + "\n" + "€" * (width - 1) + "\n", self.printed)

    def test_four_byte_characters_are_cut_whole(self):
        text = "\U0001d11e" * 8192  # 4 bytes in GB18030 and in UTF-8
        file = self.convert(self.csv_file("t,n\n" + text[:8190] + ",1\n"), "--encoding", "GB18030", name="gb.quav")
        self.assertEqual([[text[:8190], 1]], self.case_list(file))
        # 2 bytes in GB18030, 3 in UTF-8; the last character is across the border.
        text = "中" * 10921 + "\U0001d11e" + "xx"
        file = self.wide_file(24000, text.encode("gb18030"), page=54936)
        self.assertEqual([self.CUT + "1"], self.warnings_of("cat", file, "--columns", "t"))
        self.assertEqual("t\n" + text[:10922] + "\n", self.printed)
        text = "中" * 10921 + "x\U0001d11e"
        file = self.wide_file(24000, text.encode("gb18030"), page=54936)
        self.assertEqual([self.CUT + "1"], self.warnings_of("cat", file, "--columns", "t"))
        self.assertEqual("t\n" + text[:10922] + "\n", self.printed)

    def test_append_to_a_file_in_a_code_page_cuts_nothing(self):
        file = self.wide_file(16500)
        text = "é" * 16500
        cases = self.csv_file(f"t,N\n{text},1\n")
        self.assertEqual([], self.warnings_of("append", file, cases))
        self.assertEqual([self.CUT + "1"], self.warnings_of("cat", file))
        self.fails(1, "append", file, self.csv_file(f"t,N\n{text}é,1\n"))


class Labels(EncodingTest):
    """Text of the dictionary that is longer in the encoding of the output."""

    def test_file_label_is_cut_to_64_bytes(self):
        warning = "labels of the data set that were cut to 64 bytes: 1"
        for label, kept in (
            ("é" * 32, 32),
            ("é" * 32 + "x", 32),
            ("x" + "é" * 31 + "x", 33),
            ("x" + "é" * 32, 32),
            ("€" * 21 + "x", 22),
            ("€" * 22, 21),
            ("x" * 63 + "€", 63),
        ):
            with self.subTest(label=label):
                file = self.file(SystemFile(label=latin(label)).variable("A").code_page(CP1252).case(1))
                self.assertEqual(label, self.info(file)["label"])
                info = self.converted(file, warnings=[] if kept == len(label) else [warning])
                self.assertEqual(label[:kept], info["label"])
                self.assertEqual([], self.warnings_of("cat", file))

    def test_value_labels_are_cut_to_255_bytes(self):
        for label, kept in (
            ("é" * 127 + "x", 128),
            ("é" * 127 + "xx", 128),
            ("é" * 128, 127),
            ("€" * 85, 85),
            ("€" * 86, 85),
            ("xx" + "€" * 85, 86),
            ("x" * 255, 255),
        ):
            with self.subTest(label=label):
                file = SystemFile().variable("A").variable("B").variable("S", 2).code_page(CP1252)
                file.value_labels([(1.0, latin(label)), (2.0, latin("ü"))], [1, 2]).value_labels([(b"s", latin(label))], [3])
                file = self.file(file.case(1, 1, b"s"))
                lost = [] if kept == len(label) else ["value labels that were cut to 255 bytes: 2"]
                self.assertEqual([[1, label], [2, "ü"]], self.info(file)["variables"][0]["value_labels"])
                info = self.converted(file, warnings=lost)
                for column in 0, 1:
                    self.assertEqual([[1, label[:kept]], [2, "ü"]], info["variables"][column]["value_labels"])
                self.assertEqual([["s", label[:kept]]], info["variables"][2]["value_labels"])
                self.assertEqual(label, self.out("cat", file, "--labels", "--columns", "A").splitlines()[1])

    def test_labels_of_wide_strings_and_of_variables_have_no_limit(self):
        label = "é" * 250
        text = b"\1\0\0\0S\t\0\0\0\1\0\0\0\1\0\0\0s" + len(label).to_bytes(4, sys.byteorder) + latin(label)
        file = SystemFile().variable("S", 9, label=latin(label)).code_page(CP1252).extension(21, 1, len(text), text)
        variable = self.converted(self.file(file.case(b"s")))["variables"][0]
        self.assertEqual((label, [["s", label]]), (variable["label"], variable["value_labels"]))

    def attributes_file(self, *names, variable=False):
        text = "".join(f"{name}('{number}'\n)" for number, name in enumerate(names))
        text = latin(("A:" if variable else "") + text)
        file = SystemFile().variable("A").code_page(CP1252).extension(18 if variable else 17, 1, len(text), text)
        return self.file(file.case(1))

    def test_names_of_attributes_are_cut_to_64_bytes(self):
        cut = "names of attributes that were cut to 64 bytes: 1"
        omitted = "attributes that were omitted, because their names have more than 64 bytes: 1"
        for names, kept, warnings in (
            (["é" * 32], ["é" * 32], []),
            (["é" * 32 + "x"], ["é" * 32], [cut]),
            (["x" + "é" * 32], ["x" + "é" * 31], [cut]),
            (["x" * 63 + "é"], ["x" * 63], [cut]),
            (["x" * 60 + "._" + "é"], ["x" * 60 + "._é"], []),
            (["x" * 61 + "._" + "é"], ["x" * 61], [cut]),
            (["é" * 32 + "x", "É" * 32, "b"], ["É" * 32, "b"], [omitted]),
            (["é" * 32 + "x", "é" * 32 + "y"], ["é" * 32], [cut, omitted]),
            (["x" * 62 + "€"], ["x" * 62], [cut]),
        ):
            for variable in False, True:
                with self.subTest(names=names, variable=variable):
                    file = self.attributes_file(*names, variable=variable)
                    values = {name: [str(number)] for number, name in enumerate(names)}
                    found = self.info(file)
                    found = found["variables"][0]["attributes"] if variable else found["attributes"]
                    self.assertEqual([list(pair) for pair in values.items()], found)
                    info = self.converted(file, warnings=warnings)
                    found = info["variables"][0]["attributes"] if variable else info["attributes"]
                    self.assertEqual(kept, [name for name, _ in found])

    def test_attributes_whose_names_are_not_legal_in_the_encoding_are_omitted(self):
        for variable in False, True:
            file = self.attributes_file("Länge", "b", variable=variable)
            out = self.folder / "out.quav"
            warnings = self.warnings_of("convert", file, out, "--encoding", "windows-1251")
            self.assertIn("attributes that were omitted, because their names are not legal in windows-1251: 1", warnings)
            info = self.info(out)
            self.assertEqual([["b", ["1"]]], info["variables"][0]["attributes"] if variable else info["attributes"])

    def test_missing_values_that_grow_are_counted(self):
        warning = "missing values of strings that do not fit into 8 bytes in UTF-8: "
        file = SystemFile().variable("S", 8, missing=[latin("é" * 4), latin("é" * 4 + "x"), latin("€€xx")])
        file = self.file(file.variable("T", 8, missing=[latin("€€€")]).code_page(CP1252).case(b"", b""))
        self.assertEqual([warning + "2"], self.warnings_of("info", "--json", file))
        values = json.loads(self.printed)["variables"][0]["missing"]["values"]
        self.assertEqual(["é" * 4, "€€xx"], values)
        self.assertEqual([warning + "2"], self.warnings_of("info", file))
        self.assertEqual(values, self.converted(file, warnings=[warning + "2"])["variables"][0]["missing"]["values"])
        self.assertEqual([], self.warnings_of("cat", file))

    def test_missing_values_of_chosen_columns_are_not_lost(self):
        file = SystemFile().variable("A", missing=[1.0, 2.0]).variable("B").variable("C", missing=[3.0])
        file = self.file(file.variable("S", 4, missing=[b"x"]).case(1, 2, 3, b"x"))
        for columns in ("B", "A", "B,A", "C,B,A", "S,A", "S,C,B,A", "A,B,C"):
            for name in ("out.quav", "out.arrow", "out.csv"):
                with self.subTest(columns=columns, name=name):
                    out = self.folder / name
                    self.assertEqual([], self.warnings_of("convert", file, out, "--columns", columns))

    def test_missing_values_that_grow_are_counted_of_chosen_columns(self):
        file = SystemFile().variable("A", missing=[1.0]).variable("S", 8, missing=[latin("é" * 4 + "x")])
        file = self.file(file.variable("B").code_page(CP1252).case(1, b"", 2))
        warning = "missing values of strings that do not fit into 8 bytes in UTF-8: 1"
        out = self.folder / "out.quav"
        for columns, warnings in (("B,A", []), ("B,S", [warning]), ("S", [warning]), ("B,S,A", [warning])):
            with self.subTest(columns=columns):
                self.assertEqual(warnings, self.warnings_of("convert", file, out, "--columns", columns))

    def test_append_keeps_text_that_would_grow_in_utf8(self):
        names = "x" * 63 + "é", "b"
        text = latin("".join(f"{name}('1'\n)" for name in names))
        file = SystemFile(label=latin("é" * 64)).variable("A").value_labels([(1.0, latin("é" * 255))], [1])
        file.code_page(CP1252).documents(latin("ä" * 80), DATE_LINE).extension(17, 1, len(text), text)
        file = self.file(file.case(1))
        before = self.info(file)
        self.assertEqual([], self.warnings_of("append", file, self.csv_file("A\n2\n")))
        after = self.info(file)
        self.assertEqual({**before, "cases": 2}, {**after, "cases": 2})
        self.assertEqual([[1], [2]], self.case_list(file))

    def test_names_that_a_code_page_cannot_have_are_counted(self):
        out = self.folder / "out.quav"
        warnings = self.warnings_of("convert", self.csv_file("a@b,c\n1,2\n"), out, "--encoding", "IBM037")
        self.assertEqual(["names of variables that are not possible in IBM037 and were replaced: 1"], warnings)


class Carried(EncodingTest):
    """Documents, the formatting of the data editor, and the sort index."""

    def latin_file(self):
        index = b"0:1:5!" + GROUP + latin("Größe") + UNIT + b"1" + GROUP + latin("Höhe1") + UNIT + b"7"
        formatting = latin("fünf €")
        file = SystemFile().variable("S", 5).variable("N").code_page(CP1252)
        file.documents(latin("Müller schrieb 5 €"), DATE_LINE, "", latin("zwei ä"), DATE_LINE)
        file.extension(23, 1, len(index), index).extension(24, 1, len(formatting), formatting)
        return self.file(file.case(b"x", 1))

    def check(self, info):
        lines = [[line.rstrip() for line in one["lines"]] for one in info["documents"]]
        self.assertEqual([["Müller schrieb 5 €", DATE_LINE], ["zwei ä", DATE_LINE]], lines)
        self.assertEqual("fünf €", info["data_editor_formatting"])

    def test_info_shows_converted_text(self):
        info = self.info(self.latin_file())
        self.check(info)
        self.assertEqual([["Größe", 1], ["Höhe1", 7]], info["sort_index"])
        self.assertIn("Müller schrieb 5 €", self.out("info", self.folder / "people.quav"))

    def test_text_that_could_be_utf8_is_converted_too(self):
        file = SystemFile().variable("A").code_page(CP1252).documents(latin("Ã©"), DATE_LINE)
        file = self.file(file.case(1))
        self.assertEqual("Ã©", self.info(file)["documents"][0]["lines"][0])
        self.assertEqual("Ã©", self.converted(file)["documents"][0]["lines"][0])

    def test_conversions_convert_it(self):
        file = self.latin_file()
        for encoding, length in ("windows-1252", 5), ("ISO-8859-15", 5), ("windows-1250", 5), ("UTF-8", 7):
            with self.subTest(encoding):
                info = self.info(self.convert(file, "--encoding", encoding))
                self.check(info)
                self.assertEqual([["Größe", 1], ["Höhe1", 7]], info["sort_index"])
                self.assertEqual([[0, 1, length]], info["sort_keys"])
        raw = self.convert(file, "--encoding", "windows-1252").read_bytes()
        self.assertIn(latin("Müller schrieb 5 €"), raw)
        self.assertIn(latin("fünf €"), raw)
        self.assertIn(latin("Größe"), raw)
        self.assertIn("Müller schrieb 5 €".encode(), self.convert(file).read_bytes())

    def test_there_and_back_keeps_it(self):
        utf8 = self.folder / "utf8.quav"
        file = SystemFile().variable("S", 5).code_page(CP1252).documents(latin("ä" * 20), DATE_LINE)
        file = self.file(file.extension(24, 1, 2, latin("ä€")).case(b"x"))
        self.warnings_of("convert", file, utf8)
        for encoding in ["windows-1252", "GB18030", "IBM01140", "IBM01147"]:
            with self.subTest(encoding):
                there = self.convert(utf8, "--encoding", encoding, name="there.quav")
                for one in self.info(there), self.info(self.convert(there, name="back.quav")):
                    self.assertEqual([["ä" * 20, DATE_LINE]], [one["lines"] for one in one["documents"]])
                    self.assertEqual("ä€", one["data_editor_formatting"])

    def test_losses_are_counted(self):
        index = b"0:1:4!" + GROUP + latin("10€x") + UNIT + b"1" + GROUP + b"abcd" + UNIT + b"2"
        file = SystemFile().variable("S", 4).code_page(CP1252).documents(latin("5 €"), latin("€"), "x", DATE_LINE)
        file = self.file(file.extension(23, 1, len(index), index).extension(24, 1, 3, latin("€xx")).case(b"x"))
        lost = "that lost text in ISO-8859-1: "
        warnings = [
            "lines of documents " + lost + "2",
            "formatting texts of the data editor " + lost + "1",
            "keys of the sort index " + lost + "1",
        ]
        self.converted(file, "--encoding", "ISO-8859-1", warnings=warnings)

    def test_sort_keys_follow_the_cells_and_the_text(self):
        """The strings of a UTF-8 file are three times as wide, so the cells of later columns move."""
        number = b"%041.16f" % 12.5
        index = b"2:1:0!0:-1:3!" + GROUP + number + latin("für") + UNIT + b"3"
        file = SystemFile().variable("S", 9).variable("N").code_page(CP1252).extension(23, 1, len(index), index)
        file = self.file(file.case(b"x", 1))
        self.assertEqual([[2, 1, 0], [0, -1, 3]], self.info(file)["sort_keys"])
        info = self.converted(file)
        self.assertEqual([[4, 1, 0], [0, -1, 4]], info["sort_keys"])
        self.assertEqual([[number.decode() + "für", 3]], info["sort_index"])

    def test_all_but_the_last_piece_of_a_sort_key_are_padded(self):
        """The search finds a piece by its place. A file keeps the index only up to the first blank."""
        white = "sort_index contains white space: a system file keeps it only up to there"
        for texts, kept, warnings in ((("für1a", "grün2"), 2, []), (("für1a", "grün1"), 2, []), (("aber1", "grün2"), 1, [white])):
            with self.subTest(texts=texts):
                index = b"0:1:4!1:1:1!"
                for number, text in enumerate(texts):
                    index += GROUP + latin(text.ljust(5)) + UNIT + b"%d" % number
                file = SystemFile().variable("S", 4).variable("T", 1).code_page(CP1252).extension(23, 1, len(index), index)
                info = self.converted(self.file(file.case(b"x", b"x")), warnings=warnings)
                self.assertEqual(kept, len(info["sort_index"]))

    def test_keys_that_do_not_have_the_lengths_of_the_sort_keys_are_converted_whole(self):
        index = b"0:1:0!" + GROUP + latin("für") + UNIT + b"3"
        file = SystemFile().variable("N").code_page(CP1252).extension(23, 1, len(index), index)
        info = self.converted(self.file(file.case(1)))
        self.assertEqual(([[0, 1, 0]], [["für", 3]]), (info["sort_keys"], info["sort_index"]))

    def test_sort_index_of_a_file_that_is_not_kept_gets_a_warning(self):
        need = "sort_keys and sort_index need each other: a system file does not keep one alone"
        white = "sort_index contains white space: a system file keeps it only up to there"
        for index, warning in (b"0:1:8!", need), (b"0:1:8!" + GROUP + b"ab cd" + UNIT + b"1", white):
            with self.subTest(index=index):
                file = self.file(SystemFile().variable("S", 8).extension(23, 1, len(index), index).case(b"x"))
                self.converted(file, warnings=[warning])

    def lines_of(self, info):
        return info["documents"][0]["lines"]

    def test_long_lines_of_documents_are_wrapped(self):
        wrapped = "lines of documents that were wrapped, because a line has 80 bytes: 1"
        for line, lines in (
            ("ä" * 40, ["ä" * 40]),
            ("ä" * 40 + "x", ["ä" * 40, "x"]),
            ("x" + "ä" * 40, ["x" + "ä" * 39, "ä"]),
            ("ä" * 80, ["ä" * 40, "ä" * 40]),
            ("€" * 80, ["€" * 26, "€" * 26, "€" * 26, "€€"]),
            ("x" * 40 + " " + "ä" * 39, ["x" * 40, "ä" * 39]),
            ("x" * 40 + "   " + "ä" * 37, ["x" * 40, "ä" * 37]),
            ("  " + "ä" * 40, ["  " + "ä" * 39, "ä"]),
            ("ä" * 40 + " x", ["ä" * 40, "x"]),
        ):
            with self.subTest(line=line):
                file = self.file(SystemFile().variable("A").code_page(CP1252).documents(latin(line), "y", DATE_LINE).case(1))
                self.assertEqual([line, "y", DATE_LINE], self.lines_of(self.info(file)))
                info = self.converted(file, warnings=[] if len(lines) == 1 else [wrapped])
                self.assertEqual([*lines, "y", DATE_LINE], self.lines_of(info))

    def test_long_date_line_is_cut_so_that_the_next_document_stays_whole(self):
        line = DATE_LINE + "ä" * 58
        file = SystemFile().variable("A").code_page(CP1252).documents("y", latin(line), "", "z", DATE_LINE)
        info = self.converted(self.file(file.case(1)), warnings=["lines of documents that lost text in UTF-8: 1"])
        lines = [one["lines"] for one in info["documents"]]
        self.assertEqual([["y", DATE_LINE + "ä" * 29], ["z", DATE_LINE]], lines)

    def test_line_that_becomes_like_a_date_line_ends_no_document(self):
        line = "   (Entered nonsense".encode("cp037")
        file = SystemFile().variable("\u0081").code_page(IBM037).documents(line, DATE_LINE)
        file = self.file(file.case(1))
        self.assertEqual(["  (Entered nonsense", DATE_LINE], self.lines_of(self.info(file)))
        self.assertEqual(["  (Entered nonsense", DATE_LINE], self.lines_of(self.converted(file)))

    def test_documents_of_a_file_in_the_same_encoding_stay_as_they_are(self):
        file = SystemFile().variable("A").code_page(CP1252).documents(b"\x81\x8d", DATE_LINE, "no date line")
        self.assertIn(b"\x81\x8d".ljust(80), self.convert(self.file(file.case(1)), "--encoding", "cp1252").read_bytes())


class LossWatch(EncodingTest):
    def test_ascii_loses_nothing_where_it_has_other_bytes(self):
        rows = "".join(f"x,{chr(code)}y\n" for code in range(1, 127) if chr(code) not in '\n\r",')
        for encoding in "IBM037", "IBM1026", "IBM01147", "IBM864", "windows-1252":
            with self.subTest(encoding):
                out = self.folder / "out.quav"
                self.assertEqual([], self.warnings_of("convert", self.csv_file("a,b\n" + rows), out, "--encoding", encoding))
                self.assertEqual(126 - 4, len(self.case_list(out)))

    def test_values_that_grow_are_cut_between_characters(self):
        """In GB18030, the character has 4 bytes; in UTF-8, it has 2."""
        for text, kept in (
            ("xxä", "xx"),  # the field of 4 bytes has cells with room for 8
            ("ää", "ä"),
            ("xä", "x"),
            ("xäx", "x"),
            ("xxxxää", "xxxxä"),
            ("xxxxxää", "xxxxxä"),
            ("xxxxäxx", "xxxxä"),
            ("中ä", "中"),
        ):
            with self.subTest(text=text):
                out = self.folder / "out.quav"
                file = self.csv_file(f"a,b\n{text},1\n")
                warnings = self.warnings_of("convert", file, out, "--encoding", "GB18030")
                self.assertEqual(["values that lost text in GB18030: 1"], warnings)
                self.assertEqual([[kept, 1]], self.case_list(out))
                self.assertEqual([[kept, 1]], self.case_list(self.convert(out, name="again.quav")))

    def test_values_that_lose_text_in_ebcdic_are_counted(self):
        out = self.folder / "out.quav"
        warnings = self.warnings_of("convert", self.csv_file("a,b\nx,Ω\nyé,\t\n"), out, "--encoding", "IBM037")
        self.assertEqual(["values that lost text in IBM037: 1"], warnings)


class Ebcdic(EncodingTest):
    """Byte 32 is a control character in EBCDIC; the blank is byte 64."""

    PAGES = "IBM037", "IBM500", "IBM1047", "IBM01140"

    def ebcdic(self, encoding):
        tree = {
            "variables": [
                {"name": "t", "type": 5, "missing": {"code": 2, "values": ["ä", "x"]},
                 "value_labels": [["", "none"], ["x", "one"], ["ä", "two"]]},
                {"name": "u", "type": 12, "value_labels": [["y", "three"], ["äb", "four"]]},
                {"name": "w", "type": 300, "value_labels": [["", "none"], ["äöü", "five"]]},
                {"name": "n", "type": 0},
            ]
        }
        lines = '["ä","äb","äöü",1]\n["","y","",2]\n["ääx","ää bbbbbb","ä c",3]\n'
        out = self.folder / f"{encoding}.quav"
        options = "--dictionary", self.dictionary(tree), "--encoding", encoding
        self.assertEqual([], self.warnings_of("convert", self.text_file(lines, "in.jsonl"), out, *options))
        return tree, [json.loads(line) for line in lines.splitlines()], out

    def test_text_that_becomes_shorter_is_padded_with_blanks(self):
        for encoding in self.PAGES:
            with self.subTest(encoding):
                tree, cases, file = self.ebcdic(encoding)
                back = self.convert(file, name="back.quav")
                for one in file, back:
                    self.assertEqual(cases, self.case_list(one))
                    variables = self.info(one)["variables"]
                    for expected, found in zip(tree["variables"], variables):
                        labels = found["value_labels"]
                        self.assertCountEqual(expected.get("value_labels") or [], labels or [])
                    self.assertEqual(["ä", "x"], variables[0]["missing"]["values"])

    def test_a_control_character_at_the_end_that_counts_as_a_blank_is_said(self):
        out = self.folder / "out.quav"
        file = self.csv_file("a,b\nx\u0080,1\n\u0080x,2\n")
        self.assertEqual(["values that lost text in IBM037: 1"], self.warnings_of("convert", file, out, "--encoding", "IBM037"))
        self.assertEqual([["x", 1], ["\u0080x", 2]], self.case_list(out))

    def test_appended_text_is_in_the_encoding_and_padded_with_its_blanks(self):
        for encoding in self.PAGES:
            with self.subTest(encoding):
                _, cases, file = self.ebcdic(encoding)
                more = [["x", "Ann", "ä" * 20, 4], ["", "", "", None]]
                added = self.text_file("".join(json.dumps(line) + "\n" for line in more), "more.jsonl")
                self.assertEqual([], self.warnings_of("append", file, added))
                self.assertEqual(cases + more, self.case_list(file))

    def test_sort_index_is_padded_with_blanks(self):
        tree = {
            "variables": [{"name": "s", "type": 4}, {"name": "t", "type": 1}],
            "sort_keys": [[0, 1, 4], [1, 1, 1]],
            "sort_index": [["abcda", 0], ["ääa", 1]],
        }
        out = self.folder / "out.quav"
        cases = self.text_file('["abcd","a"]\n["ää","a"]\n', "in.jsonl")
        self.assertEqual([], self.warnings_of("convert", cases, out, "--dictionary", self.dictionary(tree), "--encoding", "IBM037"))
        self.assertEqual([["abcda", 0], ["ää  a", 1]], self.info(out)["sort_index"])


class ReplacedBytes(EncodingTest):
    """Bytes that form no character of their encoding."""

    def replaced(self, encoding, count=1):
        return f"values with bytes that are no text in {encoding}, which were replaced: {count}"

    def page_file(self, page, *texts, width=8):
        file = SystemFile().variable("T", width).variable("N").code_page(page)
        for number, text in enumerate(texts):
            file.case(text, number)
        return self.file(file, "page.quav")

    def test_they_are_counted(self):
        for page, good, bad in (
            (932, "日本".encode("shift_jis"), (b"a\xffb", b"\x93", b"a\x93\xfa\x96")),
            (51932, "日本".encode("euc_jp"), (b"a\xffb", b"\xc6\x20")),
            (51949, "한국".encode("euc_kr"), (b"a\xffb", b"\xa2\xfe")),
            (54936, "中\u00e4".encode("gb18030"), (b"a\xffb", b"\x81")),
            (28597, "Ωm".encode("iso8859-7"), (b"a\xd2b",)),
        ):
            file = self.page_file(page, good, *bad, b"plain")
            encoding = self.info(file)["encoding"]
            expected = [self.replaced(encoding, len(bad))]
            for name in "out.quav", "out.csv", "out.jsonl":
                with self.subTest(encoding=encoding, name=name):
                    self.assertEqual(expected, self.warnings_of("convert", file, self.folder / name))
            self.assertEqual(expected, self.warnings_of("cat", file))
            self.assertEqual([], self.warnings_of("cat", file, "--columns", "N"))
            self.assertEqual([], self.warnings_of("cat", file, "--rows", "0:1"))
            self.assertEqual(expected, self.warnings_of("cat", file, "--rows", "1:", "--columns", "N,T"))

    def test_a_replacement_character_in_the_file_is_text(self):
        text = "\ufffd".encode("gb18030")
        for texts, count in (((text, b"x", text), 0), ((text, b"\xff", text, text + b"\xff"), 2)):
            with self.subTest(texts=texts):
                warnings = [self.replaced("GB18030", count)] if count else []
                self.assertEqual(warnings, self.warnings_of("convert", self.page_file(54936, *texts), self.folder / "out.quav"))

    def test_text_of_a_file_in_utf8_that_is_none_is_counted_where_it_is_replaced(self):
        file = self.page_file(65001, b"a\xffb", "ä".encode(), b"\xc3")
        self.assertEqual([self.replaced("UTF-8", 2)], self.warnings_of("convert", file, self.folder / "out.csv"))
        self.assertEqual([], self.warnings_of("convert", file, self.folder / "out.quav"))

    def test_a_private_character_that_becomes_another_is_lost_text(self):
        file = self.csv_file("a,b\n\uf86f,1\n\ue000,2\n")
        warnings = self.warnings_of("convert", file, self.folder / "out.quav", "--encoding", "Shift_JIS")
        self.assertEqual(["values that lost text in Shift_JIS: 1"], warnings)


class Sets(EncodingTest):
    LOST = "members of sets that are not kept, because their names do not come back from lower case: "

    def sets_file(self, names, sets, kind="variable_sets"):
        tree = {"variables": [{"name": name, "type": 0} for name in names], kind: sets}
        return self.text_file("[" + ",".join("1" for _ in names) + "]\n", "in.jsonl"), self.dictionary(tree)

    def made(self, cases, dictionary, *options):
        out = self.folder / "out.quav"
        return self.warnings_of("convert", cases, out, "--dictionary", dictionary, *options), self.info(out)

    def test_members_that_lower_case_changes_are_counted(self):
        kelvin = "\u212a"
        long_name = "abcdefgh" + kelvin  # the short name ends before the character
        names = ["a", kelvin, long_name, "b" + kelvin]
        for kind, one, lost in (
            ("variable_sets", {"name": "s"}, 2),
            ("mr_sets", {"name": "$s", "type": 1}, 2),
            ("mr_sets", {"name": "$s", "type": 2, "value": "1"}, 2),
            ("mr_sets", {"name": "$s", "type": 2, "value": "1", "flags": "1"}, 0),
        ):
            with self.subTest(one=one):
                cases, dictionary = self.sets_file(names, [{**one, "variables": names}], kind)
                warnings, info = self.made(cases, dictionary)
                self.assertEqual([self.LOST + str(lost)] if lost else [], warnings)
                self.assertEqual(["a", long_name] if lost else names, info[kind][0]["variables"])

    def test_members_that_come_back_give_no_warning(self):
        names = ["a", "ä", "Größe", "ΣΑΣ"]
        cases, dictionary = self.sets_file(names, [{"name": "s", "variables": names}])
        warnings, info = self.made(cases, dictionary)
        self.assertEqual(([], names), (warnings, info["variable_sets"][0]["variables"]))

    def processor_time(self, *arguments):
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
        self.out(*arguments)
        return resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before

    @unsanitized
    def test_fifty_thousand_members_take_time_in_proportion_to_their_number(self):
        times = []
        for count in 12_500, 50_000:
            names = [f"v{number}" for number in range(count)]
            cases, dictionary = self.sets_file(names, [{"name": "s", "variables": names}])
            warnings, info = self.made(cases, dictionary)
            self.assertEqual(([], names), (warnings, info["variable_sets"][0]["variables"]))
            file = self.folder / "out.quav"
            again = self.folder / "again.quav"
            times.append([self.processor_time("info", "--json", file), self.processor_time("convert", file, again)])
        for few, many in zip(*times):
            self.assertLess(many, 7 * few + 0.5)


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=1)
