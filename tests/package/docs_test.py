#!/usr/bin/env python3
"""The man page and bash completion say what the tool's --help says.

    docs_test.py TOOL DOC_DIR   (DOC_DIR holds vantrove.1 and vantrove.bash)
"""

import os
import re
import subprocess
import sys


def complete(script, words):
    """What the completion offers for the command line `words` (last = word being typed)."""
    line = " ".join(words)
    program = (f"source {script}\nCOMP_WORDS=({' '.join(repr(w) for w in words)})\n"
               f"COMP_CWORD={len(words) - 1}\nCOMP_LINE={line!r}\n_vantrove\nprintf '%s\\n' \"${{COMPREPLY[@]}}\"\n")
    out = subprocess.run(["bash", "-c", program], capture_output=True, text=True, check=True).stdout
    return set(out.split())


def main():
    tool, docs = sys.argv[1], sys.argv[2]
    man = open(os.path.join(docs, "vantrove.1"), encoding="utf-8").read().replace("\\-", "-")
    script = os.path.join(docs, "vantrove.bash")
    top = subprocess.run([tool, "--help"], capture_output=True, text=True, check=True).stdout
    commands = re.findall(r"^  ([a-z]+)\s{2,}", top.split("Subcommands:")[1], re.M)
    assert len(commands) >= 8, commands
    failures = []
    for command in commands:
        text = subprocess.run([tool, command, "--help"], capture_output=True, text=True, check=True).stdout
        summary = text.splitlines()[0]
        if summary not in man.replace("\n", " ") and summary.split(";")[0] not in man:
            failures.append(f"man page lacks the summary of {command}")
        options = set(re.findall(r"(?:^  |,)(--[a-z][\w-]*)", text, re.M)) - {"--help"}
        for option in options:
            if option not in man:
                failures.append(f"man page lacks {command} {option}")
            if option not in complete(script, ["vantrove", command, option[:4]]):
                failures.append(f"completion does not offer {command} {option}")
    if "extract" not in complete(script, ["vantrove", "ex"]):
        failures.append("completion does not offer the command extract")
    if complete(script, ["vantrove", "extract", "--chapter", "la"]) != {"layers", "layouts"}:
        failures.append("completion does not offer the chapters of extract --chapter")
    for line in failures:
        print(line)
    print(f"{len(commands)} commands checked, {len(failures)} problems")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
