"""The examples' runner notices what it is there to notice."""

import contextlib
import io
import pathlib
import sys
import tempfile
import unittest
from unittest import mock

import examples
import run_examples
from blocks import manBlocks, markdownBlocks


def document(*lines, kind="console"):
    return "\n".join([f"```{kind}", *lines, "```"]) + "\n"


def text(*lines):
    return "\n".join(lines) + "\n"


def manPage(*lines):
    return text(".Sh EXAMPLES", ".Bd -literal -offset indent", *lines, ".Ed")


class Finding(unittest.TestCase):
    def assertBlocks(self, document, *expected, find=markdownBlocks):
        """Each block's first line, and its lines; writing them again changes nothing."""
        blocks = find(document)
        self.assertEqual([(block.begin, block.lines) for block in blocks], list(expected))
        for block in blocks:
            self.assertEqual(block.written(block.lines), document.splitlines()[block.begin:block.end])

    def test_fenced_blocks(self):
        self.assertBlocks(text("words", "```console", "$ a", "", "    b", "```", "~~~~", "```", "~~~~"),
                          (2, ["$ a", "", "    b"]), (7, ["```"]))
        self.assertEqual([block.kind for block in markdownBlocks("```usage a b\n```\n```\n```\n")],
                         ["usage a b", ""])

    def test_indented_blocks(self):
        self.assertBlocks(text("    $ a", "      b", "", "", "    c", "", "words", "", "    d"),
                          (0, ["$ a", "  b", "", "", "c"]), (8, ["d"]))
        self.assertBlocks(text("# Heading", "    $ a"), (1, ["$ a"]))

    def test_lines_that_go_on_with_a_paragraph_are_no_block(self):
        self.assertBlocks(text("words", "    words", "", "- item", "", "    goes on", "      still", "",
                               "10. item", "    goes on", "", "    goes on"))

    def test_blocks_in_list_items(self):
        self.assertBlocks(text("- item", "", "  ```console", "  $ a", "", "  b", "  ```", "", "      $ c", "",
                               "  1. inner", "", "         $ d", "", "- ```", "  $ e", "  ```", "",
                               "words", "", "    $ f"),
                          (3, ["$ a", "", "b"]), (8, ["$ c"]), (12, ["$ d"]), (15, ["$ e"]), (20, ["$ f"]))

    def test_displays_of_manual_pages(self):
        self.assertBlocks(manPage("$ printf '\\en' | a \\-b", "\\&...", "\\&.c"),
                          (2, [r"$ printf '\n' | a -b", "...", ".c"]), find=manBlocks)

    def test_code_that_would_be_overlooked_is_refused(self):
        for document in ("see ```a```", "> words", "<pre>", "```console\n$ a"):
            with self.assertRaises(ValueError, msg=document):
                markdownBlocks(document)
        for document in (".Dl $ a\n.Ed", ".Bd -literal\n$ a", ".Bd -literal\n.Nm\n.Ed"):
            with self.assertRaises(ValueError, msg=document):
                manBlocks(document)


class Matching(unittest.TestCase):
    def test_dots_stand_for_any_lines_and_any_text(self):
        answer = ["one", "two", "three 3 ms", "four"]
        for expected in (answer, ["..."], ["one", "..."], ["...", "four"], ["one", "...", "four"],
                         ["one", "two", "three ... ms", "four"], ["...", *answer, "..."]):
            self.assertTrue(examples.matches(expected, answer), expected)
        for expected in ([], ["one"], ["one", "...", "two"], ["one", "two", "three ...", "five"],
                         ["...", "one", "...", "one", "..."], ["t...", "..."], [*answer, "five"]):
            self.assertFalse(examples.matches(expected, answer), expected)

    def test_blanks_at_line_ends_do_not_count(self):
        self.assertTrue(examples.matches(["one"], ["one   "]))
        self.assertFalse(examples.matches(["one"], [" one"]))

    def test_other_signs_stand_for_themselves(self):
        self.assertFalse(examples.matches(["a.c (*)"], ["abc (*)"]))
        self.assertTrue(examples.matches(["a.c (*)"], ["a.c (*)"]))


class Rewriting(unittest.TestCase):
    def test_what_holds_is_left_alone(self):
        self.assertEqual(examples.rewritten(["one", "..."], ["one", "two"]), ["one", "..."])

    def test_as_many_lines_are_kept_on_both_sides_of_the_dots(self):
        self.assertEqual(examples.rewritten(["a", "b", "...", "c"], ["1", "2", "3", "4", "5"]),
                         ["1", "2", "...", "5"])
        self.assertEqual(examples.rewritten(["a", "b", "...", "c"], ["1", "2"]), ["1", "2"])

    def test_lines_that_still_match_keep_their_dots(self):
        self.assertEqual(examples.rewritten(["up ... ms", "old"], ["up 7 ms", "new"]),
                         ["up ... ms", "new"])

    def test_words_that_change_by_themselves_give_way_to_dots(self):
        self.assertEqual(examples.steady(["up 7 ms", "same"], ["up 12 ms", "same"]),
                         ["up ... ms", "same"])
        merged = examples.steady(["id      9  x"], ["id     10  x"])
        self.assertEqual(merged, ["id ...  x"])
        for line in ("id      9  x", "id     10  x", "id 123456  x"):
            self.assertTrue(examples.matches(merged, [line]))
        self.assertEqual(examples.steady(["a b"], ["a b c"]), ["a b..."])
        self.assertEqual(examples.steady(["one"], ["one", "two"]), ["one"])

    def test_answers_that_have_grown_long_are_cut_too(self):
        lines = [str(number) for number in range(100)]
        self.assertEqual(examples.rewritten(["none"], lines), [*lines[:10], "...", "98", "99"])
        # Who wrote down a long one wants it long.
        self.assertEqual(examples.rewritten(lines[:50], lines), lines)

    def test_new_examples_are_cut_to_a_readable_length(self):
        lines = [str(number) for number in range(100)]
        self.assertEqual(examples.rewritten([], lines), [*lines[:10], "...", "98", "99"])
        self.assertEqual(examples.rewritten([], lines[:5]), lines[:5])
        [line] = examples.rewritten([], ["x" * 1000])
        self.assertTrue(line.endswith("x...") and len(line) < 130)
        self.assertTrue(examples.matches([line], ["x" * 1000]))


class Running(unittest.TestCase):
    def run_on(self, text, *options, name="page.md"):
        """Exit status, what was printed, and the document afterwards."""
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / name
            path.write_text(text)
            printed = io.StringIO()
            with mock.patch.object(sys, "argv", ["run_examples.py", *options, str(path)]), \
                    contextlib.redirect_stdout(printed):
                status = run_examples.main()
            return status, printed.getvalue(), path.read_text()

    def test_true_example_passes(self):
        status, printed, _ = self.run_on(document("$ korvoctl agent chips", "0 Linecard3/0", "..."))
        self.assertEqual((status, printed), (0, ""))

    def test_wrong_example_fails_and_shows_what_is_true(self):
        status, printed, _ = self.run_on(document("$ korvoctl agent chips", "0 Linecard9/9", "..."))
        self.assertEqual(status, 1)
        self.assertIn("-0 Linecard9/9\n+0 Linecard3/0\n", printed)

    def test_missing_answer_is_a_wrong_one(self):
        self.assertEqual(self.run_on(document("$ korvoctl agent chips"))[0], 1)
        self.assertEqual(self.run_on(document("$ true", "words"))[0], 1)

    def test_wrong_example_is_noticed_wherever_it_stands(self):
        places = {
            "indented": text("words", "", "    $ echo true", "    wrong"),
            "fenced in a list item": text("- item", "", "  ```console", "  $ echo true", "  wrong", "  ```"),
            "indented in a list item": text("1. item", "", "       $ echo true", "       wrong"),
            "manual page": manPage("$ echo true", "wrong"),
        }
        for place, document in places.items():
            name = "page.8" if place == "manual page" else "page.md"
            status, printed, _ = self.run_on(document, name=name)
            self.assertEqual(status, 1, place)
            self.assertRegex(printed, r"\n- *wrong\n\+ *true\n", place)
            updated = self.run_on(document, "--update", name=name)[2]
            self.assertEqual(updated, document.replace("wrong", "true"), place)
            self.assertEqual(self.run_on(updated, name=name)[:2], (0, ""), place)

    def test_manual_page_is_written_as_such(self):
        updated = self.run_on(manPage("$ printf '.a\\e-b\\en'"), "--update", name="page.1")[2]
        self.assertEqual(updated, manPage("$ printf '.a\\e\\-b\\en'", "\\&.a\\e\\-b"))
        self.assertEqual(self.run_on(updated, name="page.1")[:2], (0, ""))

    def test_update_writes_what_is_true(self):
        status, _, text = self.run_on(document("$ korvoctl agent chips"), "--update")
        self.assertEqual(status, 0)
        self.assertEqual(text, document("$ korvoctl agent chips", "0 Linecard3/0", "1 Linecard3/1",
                                        "2 Linecard4/0"))

    def test_update_leaves_out_what_changes_by_itself(self):
        text = self.run_on(document("$ korvoctl agent status | head -n 1"), "--update")[2]
        self.assertRegex(text, r"\nuptime +\.\.\. ms\n")
        self.assertEqual(self.run_on(text)[:2], (0, ""))

    def test_commands_of_a_block_share_a_shell_with_its_exit_statuses(self):
        text = document("$ x=7", "$ korvoctl show nonsense 2>/dev/null", "$ echo $? $x", "2 7",
                        "$ echo one \\", "> two", "one two", "$ echo out; echo err >&2", "out", "err",
                        "$ printf 'no line end'", "no line end")
        self.assertEqual(self.run_on(text)[:2], (0, ""))

    def test_block_may_run_an_agent_of_its_own(self):
        text = document("$ korvo-l2-agent --socket /tmp/korvo.sock --chips 1 &",
                        "ready /tmp/korvo.sock", "$ korvoctl agent chips", "0 Linecard3/0")
        self.assertEqual(self.run_on(text)[:2], (0, ""))
        self.assertFalse(pathlib.Path(examples.kSocket).exists())

    def test_agent_behind_a_pipe_is_ended_with_its_block(self):
        document = text("    $ bridge -j fdb show | korvo-l2-agent --socket /tmp/korvo.sock --bridge-json - &",
                        "    ready /tmp/korvo.sock",
                        "    $ korvoctl agent status --json | jq -c '.tables.swMacTable > 0'", "    true")
        self.assertEqual(self.run_on(document)[:2], (0, ""))

    def test_each_block_begins_with_the_same_switch(self):
        block = document("$ korvoctl agent requests | tail -n 1 | cut -d ' ' -f 1", "1")
        self.assertEqual(self.run_on(block + block)[:2], (0, ""))

    def test_usage_is_compared_with_the_command_table(self):
        true = ["korvoctl show vxlan vlan [--detail] [--json]", "  --detail  Show more of each entry",
                "  --json    Answer in JSON instead of text"]
        self.assertEqual(self.run_on(document(*true, kind="usage show vxlan vlan"))[0], 0)
        self.assertEqual(self.run_on(document(*true[:2], kind="usage show vxlan vlan"))[0], 1)
        status, printed, _ = self.run_on(document(kind="usage show nonsense"))
        self.assertEqual(status, 1)
        self.assertIn("there is no command 'show nonsense'", printed)

    def test_data_is_left_alone(self):
        self.assertEqual(self.run_on(document("$ echo x", kind="json"))[:2], (0, ""))

    def test_block_that_is_neither_run_nor_listed_is_told(self):
        for other in (document("ls", kind="text"), document("$ ls", kind="sh"), document("ls", kind=""),
                      text("words", "", "    ls")):
            status, printed, _ = self.run_on(other)
            self.assertEqual(status, 1, other)
            self.assertIn("the block is neither run nor listed", printed)

    def test_listed_block_is_left_alone_in_its_document_only(self):
        listed = {"docs/page.md": {"$ echo x": "a reason"}}
        block = document("$ echo x", "y")
        with tempfile.TemporaryDirectory() as folder, \
                mock.patch.object(examples, "kSource", pathlib.Path(folder).resolve()), \
                mock.patch.object(examples, "kNotRun", listed):
            source = examples.kSource
            self.assertEqual(examples.renewed(source / "docs" / "page.md", block, {}), block)
            self.assertNotEqual(examples.renewed(source / "page.md", block, {}), block)

    def test_block_that_is_none_is_told(self):
        for text in (document("words first", "$ true"), "```console\n$ true\n",
                     document("$ exit 3", "$ true"), document("$ true", "...")):
            self.assertEqual(self.run_on(text)[0], 1)


if __name__ == "__main__":
    unittest.main()
