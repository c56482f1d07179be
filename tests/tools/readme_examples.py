#!/usr/bin/env python3
"""Runs every command-line example of the README and compares its output.

usage: readme_examples.py README EXTRACTOR_KR

An example is a line of a ```sh block that starts with "$ extractor-kr" or
"$ echo ... | extractor-kr"; the lines after it, up to the next "$" line or
the end of the block, are its output.  Examples that start a server or use
another program are not run.
"""

import re
import shlex
import subprocess
import sys


def examples(readme):
    for block in re.findall(r"```sh\n(.*?)```", readme, re.S):
        command, output = None, []
        for line in block.splitlines() + ["$"]:
            if line.startswith("$"):
                if command is not None:
                    yield command, output
                command, output = None, []
                shown = line[1:].strip()
                if re.match(r"(echo .*\| )?extractor-kr ", shown) and not shown.endswith("&"):
                    command = shown
            elif command is not None:
                output.append(line)


def run(command, tool):
    stdin = None
    if " | " in command:
        echo, command = command.split(" | ", 1)
        stdin = shlex.split(echo)[1] + "\n"
    args = shlex.split(command)
    args[0] = tool
    done = subprocess.run(args, input=stdin, capture_output=True, text=True, timeout=60)
    return done.stdout.splitlines()


def main():
    readme_path, tool = sys.argv[1:3]
    with open(readme_path, encoding="utf-8") as f:
        readme = f.read()
    count, failed = 0, 0
    for command, want in examples(readme):
        count += 1
        got = run(command, tool)
        if got != want:
            failed += 1
            print(f"README example differs: $ {command}\n  README:\n    " + "\n    ".join(want) +
                  "\n  tool:\n    " + "\n    ".join(got))
    print(f"{count} examples, {failed} differ")
    if count == 0:
        print("no examples found")
        return 1
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
