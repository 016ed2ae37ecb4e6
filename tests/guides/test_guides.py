"""Runs what the guides show: a reader who copies a block gets what the guide says.

Blocks of shell are run, those of one guide after another in one shell, a virtual instrument beside it as
in a terminal of its own; /tmp is a folder of the test's. Blocks of text must be found in the output,
numbers apart unless they are the same every time. Blocks of C, C++, Python, C# and CMake must be a piece of an
example, and each example is built and run by a test.
"""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["CQ_SOURCE"])
BUILD = pathlib.Path(os.environ["CQ_BUILD"])
GUIDES = sorted((SOURCE / "docs/guides").glob("*.md"))
# Their shell blocks are run beside the examples of their languages.
LANGUAGE_GUIDES = [SOURCE / f"docs/{language}.md" for language in ("cpp", "python", "csharp")]
BLOCK = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
EXAMPLES = {"c": ".c", "cpp": ".cpp", "python": ".py", "csharp": ".cs", "cmake": "CMakeLists.txt"}


# Guides whose commands print the same numbers every time: there numbers count.
EXACT = {"judging-a-difference.md"}


def blocks(guide):
    return BLOCK.findall(guide.read_text(encoding="utf-8"))


def without_numbers(line):
    """What stays the same from run to run: no numbers, and no name of a port."""
    return re.sub(r"-?\d+(\.\d+)?|#[0-9a-f]{6}|/\S+", "_", line).split()


class Guides(unittest.TestCase):
    def run_shell(self, script):
        with tempfile.TemporaryDirectory() as folder:
            hold = pathlib.Path(folder, "hold")
            os.mkfifo(hold)
            holder = os.open(hold, os.O_RDWR)
            environment = dict(
                os.environ, PATH=f"{BUILD}/bin:{os.environ['PATH']}", SOURCE=str(SOURCE),
                LIBRARY=str(BUILD), LOG=os.environ["CQ_LOG"], NO_COLOR="1")
            output = pathlib.Path(folder, "output")
            try:
                with output.open("w", encoding="utf-8") as file:
                    status = subprocess.run(
                        ["bash", "-euo", "pipefail", "-c", script.replace("/tmp/", folder + "/")],
                        env=environment, stdin=subprocess.DEVNULL, stdout=file,
                        stderr=subprocess.STDOUT, timeout=100, check=False).returncode
            finally:
                os.close(holder)
            text = output.read_text(encoding="utf-8")
        self.assertEqual(status, 0, text)
        return text

    @staticmethod
    def script_of(text):
        """What runs for a block: an instrument by itself goes on running, until `hold` is closed."""
        if not text.startswith("cq-virtual-instrument"):
            return text
        return f"{text.strip()} --until-eof < /tmp/hold > /tmp/started &\n" \
               "until [ -s /tmp/started ]; do sleep 0.05; done\n"

    def test_shell_blocks_run_and_print_what_is_shown(self):
        for guide in GUIDES:
            with self.subTest(guide.name):
                script = "\n".join(self.script_of(text) for language, text in blocks(guide)
                                   if language == "sh")
                words = str.split if guide.name in EXACT else without_numbers
                printed = [words(line) for line in self.run_shell(script).splitlines()]
                for language, text in blocks(guide):
                    for line in text.splitlines() if language == "text" else ():
                        self.assertIn(words(line), printed, line)

    def test_code_is_a_piece_of_an_example(self):
        for guide in [*GUIDES, *LANGUAGE_GUIDES]:
            for language, text in blocks(guide):
                with self.subTest(guide.name, block=text.splitlines()[0]):
                    self.assertIn(language, {*EXAMPLES, "sh", "text"}, "a block's language")
                    if language in EXAMPLES:
                        files = (SOURCE / "examples").rglob("*" + EXAMPLES[language])
                        self.assertTrue(any(text in file.read_text(encoding="utf-8") for file in files),
                                        "not in any example")

    def test_links_lead_somewhere(self):
        for page in [SOURCE / "README.md", *GUIDES, *(SOURCE / "docs").glob("*.md")]:
            for target in re.findall(r"\]\(([^)#]+)(?:#[^)]*)?\)",
                                     BLOCK.sub("", page.read_text(encoding="utf-8"))):
                if "://" not in target:
                    with self.subTest(page.name, target=target):
                        self.assertTrue((page.parent / target).exists())


if __name__ == "__main__":
    unittest.main()
