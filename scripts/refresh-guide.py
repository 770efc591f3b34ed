#!/usr/bin/env python3
"""Runs the examples of docs/guide.md, as its test does, and writes what they print below
each command. Usage: scripts/refresh-guide.py BIN-FOLDER (the folder of the built vkd).
Read the changes before committing them: the prose around an example must still hold."""
import os
import subprocess
import sys
import tempfile

guide = os.path.join(os.path.dirname(__file__), "..", "docs", "guide.md")
bin_folder = os.path.abspath(sys.argv[1])
lines = open(guide, encoding="utf-8").read().split("\n")
out, in_block = [], False
with tempfile.TemporaryDirectory() as folder:
    env = dict(os.environ, PATH=bin_folder + ":" + os.environ["PATH"])
    for line in lines:
        if not in_block:
            out.append(line)
            in_block = line == "```console"
        elif line == "```":
            out.append(line)
            in_block = False
        elif line.startswith("$ "):
            out.append(line)
            result = subprocess.run(["bash", "-c", "{ " + line[2:] + "\n} 2>&1"], cwd=folder,
                                    env=env, stdout=subprocess.PIPE)
            printed = result.stdout.decode("utf-8")
            if printed:
                out.extend(printed[:-1].split("\n") if printed.endswith("\n")
                           else printed.split("\n"))
open(guide, "w", encoding="utf-8").write("\n".join(out))
