"""The manual page and the shells' completions, made from the command line's definitions."""

import re
import shutil
import subprocess

from support import CQ, CqTest


def completions(line):
    """What bash proposes at the end of the line."""
    script = (
        f'source <("{CQ}" completion bash); COMP_LINE="$1"; read -ra COMP_WORDS <<< "$1"; '
        '[[ $1 == *" " ]] && COMP_WORDS+=(""); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); '
        'COMPREPLY=(); _cq; printf "%s\\n" "${COMPREPLY[@]}"'
    )
    done = subprocess.run(["bash", "-c", script, "bash", line], capture_output=True, text=True,
                          timeout=30)
    if done.returncode != 0 or done.stderr:
        raise AssertionError(done.stderr)
    return done.stdout.split()


class Manual(CqTest):
    def test_bash_proposes_commands_options_and_values(self):
        self.assertIn("measure", completions("cq "))
        self.assertEqual(completions("cq calibrate w"), ["white"])
        self.assertEqual(completions("cq measure trial --observer "), ["2", "10"])
        self.assertIn("--tolerance", completions("cq report --"))
        self.assertEqual(completions("cq log d"), ["decode"])
        self.assertNotIn("measure", completions("cq info "))

    def test_shells_take_their_scripts(self):
        for shell, check in (("bash", "-n"), ("zsh", "-n"), ("fish", "--no-execute")):
            script = self.folder / shell
            script.write_text(self.cq("completion", shell).stdout)
            if shutil.which(shell) is not None:
                done = subprocess.run([shell, check, script], capture_output=True, text=True)
                self.assertEqual((done.returncode, done.stderr), (0, ""), shell)

    def test_man_page(self):
        page = self.cq("man").stdout
        for command in ("measure", "log decode", "color"):
            self.assertIn(f".SS \\fBcq {command}\\fR", page)
        self.assertEqual(len(re.findall(r"\.TP\n\\fB\\-\\-port\\fR", page)), 1)
        if shutil.which("groff") is None:
            self.skipTest("groff is not installed")
        done = subprocess.run(["groff", "-man", "-ww", "-z", "-Tutf8", "-k"], input=page,
                              capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
