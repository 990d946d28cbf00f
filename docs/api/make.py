#!/usr/bin/env python3
"""Runs Doxygen, and fails on its warnings: make.py DOXYGEN DOXYFILE

The comment of a class or a file also describes constants, data members, constructors and operators that have none. A
class or another function without a comment is an error.
"""
import re
import subprocess
import sys

ACCEPTED = re.compile(r"warning: Member (.* \((variable|enumvalue|enumeration|typedef|macro definition)\) of |operator|"
                      r"(\w+)\(.* of (class|struct) [\w:]*\b\3\b).* is not documented\.$")

result = subprocess.run(sys.argv[1:3], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
problems = [line for line in result.stdout.splitlines() if line.strip() and not ACCEPTED.search(line)]
print("\n".join(problems), file=sys.stderr if problems else sys.stdout, end="\n" if problems else "")
sys.exit(1 if problems or result.returncode != 0 else 0)
