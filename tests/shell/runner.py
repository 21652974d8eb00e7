# Running the built orsql, which $ORSQL names: to its end, through two pipes, or in a pseudo-terminal.

import collections
import contextlib
import fcntl
import json
import os
import pathlib
import pty
import re
import select
import socket
import subprocess
import tempfile
import termios
import time
import unittest
from io import FileIO

Run = collections.namedtuple("Run", "status out err")  # the exit status, or minus the signal that ended it
PATIENCE = 60  # seconds
ESCAPES = re.compile(rb"\x1b\[[^@-~]*[@-~]|\r")


# Runs a script with sh; $ORSQL is the program.
def run_script(script, *arguments, given=""):
    run = subprocess.run(["sh", "-c", script, "sh", *arguments], input=given.encode(), capture_output=True)
    return Run(run.returncode, run.stdout.decode(), run.stderr.decode())


def run_shell(*arguments, given=""):
    return run_script('exec $ORSQL "$@"', *arguments, given=given)


# The lines of an output in jsonl mode, each of which must be JSON.
def json_lines(out):
    *lines, end = out.split("\n")
    assert end == "" and all("kind" in json.loads(line, parse_constant=int) for line in lines), out
    return lines


# Runs with -m jsonl, whatever the status.
def run_jsonl(*arguments):
    run = run_shell("-m", "jsonl", *arguments)
    assert run.err == "", run.err
    return json_lines(run.out)


# Only the first cells of the rows of a line of JSON, such as "1 2 NULL", or its kind if it has no rows.
def first_cells(line):
    answer = json.loads(line)
    cells = ["NULL" if row[0] is None else str(row[0]) for row in answer.get("rows", [])]
    return " ".join(cells) if "rows" in answer else answer["kind"]


# The first cells of each line of a run with -m jsonl, each followed by "|".
def answers(*arguments):
    return "".join(first_cells(line) + "|" for line in run_jsonl(*arguments))


def write(name, text):
    pathlib.Path(name).write_text(text, newline="")


def read(name):
    return pathlib.Path(name).read_bytes().decode()


# Rows end at ';' or a line feed, '|' separates cells.
def table(text):
    return [[cell.strip(" ") for cell in row.split("|")] for row in re.split("[;\n]", text) if row.strip(" ")]


# A test in an empty folder of its own, without the user's settings.
class ShellTest(unittest.TestCase):
    def setUp(self):
        self.folder = os.path.realpath(self.enterContext(tempfile.TemporaryDirectory()))
        self.enterContext(contextlib.chdir(self.folder))
        for name in "XDG_STATE_HOME", "XDG_CONFIG_HOME", "NO_COLOR", "EDITOR":
            os.environ.pop(name, None)
        os.environ.update(HOME=self.folder, TERM="xterm")

    # Checks that a text fits a pattern, in which "…" stands for anything.
    def fits(self, text, pattern):
        expression = ".*".join(map(re.escape, pattern.split("…")))
        self.assertTrue(re.fullmatch(expression, text, re.DOTALL), f"{text}\ndoesn't fit\n{pattern}")

    # Checks that each line fits the pattern of its (input, pattern).
    def lines_fit(self, lines, exchanges):
        self.assertEqual(len(lines), len(exchanges), lines)
        for line, (_, pattern) in zip(lines, exchanges):
            self.fits(line, pattern)

    # The answers to lines of a script.
    def check_answers(self, script, expected, database=":memory:"):
        write("script.sql", script)
        self.assertEqual(answers(database, "-f", "script.sql"), expected)

    # An orsql that runs beside the test, in a terminal where it must show something first.
    def start(self, *arguments, first=""):
        shell = RunningShell(*arguments, is_terminal=bool(first))
        self.addCleanup(shell.kill)
        shell.wait_for(first)
        return shell


# A wait fails after a minute.
class RunningShell:
    def __init__(self, *arguments, is_terminal):
        self.ours, theirs = map(FileIO, pty.openpty()) if is_terminal else socket.socketpair()
        if is_terminal:
            self.resize(24, 100)
        self.process = subprocess.Popen([os.environ["ORSQL"], *arguments], stdin=theirs, stdout=theirs, stderr=theirs,
                                        start_new_session=True,
                                        preexec_fn=lambda: is_terminal and fcntl.ioctl(0, termios.TIOCSCTTY))
        theirs.close()
        self.unread = b""

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.ours.close()

    def send(self, text):
        data = text.encode()
        assert os.write(self.ours.fileno(), data) == len(data)

    def resize(self, lines, columns):
        termios.tcsetwinsize(self.ours, (lines, columns))

    # Reads until the output since the last wait, on either stream, contains a text, and gives that output without
    # escape sequences; what follows the text is kept for the next wait.
    def wait_for(self, text):
        while text.encode() not in (shown := ESCAPES.sub(b"", self.unread)):
            assert self.read(PATIENCE), f"waited for {text!r}, got {shown}"
        end = shown.index(text.encode()) + len(text.encode())
        self.unread = shown[end:]
        return shown[:end].decode()

    def ask(self, text, answer):
        self.send(text)
        return self.wait_for(answer)

    # Inputs, and the answer that each must get before the next.
    def talk(self, *turns):
        for typed, answer in turns:
            self.ask(typed, answer)

    # Ends the input of a program with pipes, and gives the exit status, or minus the signal, and the remaining output.
    # A key is pressed until the program leaves: it can be lost while the terminal switches to the next line.
    def wait(self, key=""):
        if isinstance(self.ours, socket.socket):
            self.ours.shutdown(socket.SHUT_WR)
        end = time.monotonic() + PATIENCE
        while (part := self.read(0.2)) != b"":
            assert time.monotonic() < end, f"waited for the end, got {self.unread}"
            if part is None and key:
                self.send(key)
        return self.process.wait(), ESCAPES.sub(b"", self.unread).decode()

    # Gives nothing if nothing comes, and no bytes at the end.
    def read(self, patience):
        if not select.select([self.ours], [], [], patience)[0]:
            return None
        part = b""
        with contextlib.suppress(OSError):  # by which a terminal ends
            part = os.read(self.ours.fileno(), 1 << 16)
        self.unread += part
        return part
