"""Checks that a built library exports just what its header declares and needs system libraries alone."""

import argparse
import re
import subprocess
import sys

SYSTEM_DLLS = {"kernel32.dll", "msvcrt.dll", "setupapi.dll", "shlwapi.dll", "advapi32.dll", "user32.dll"}
SYSTEM_LIBRARIES = {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1", "ld-linux-x86-64.so.2"}


def declared(header):
    with open(header, encoding="utf-8") as file:
        return set(re.findall(r"\bCQ_API\s+(?:const )?[\w*]+\s+(cq\w+)\(", file.read()))


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def inspect_dll(library, objdump):
    text = output(objdump, "-p", library)
    table = text[text.index("[Ordinal/Name Pointer] Table"):]
    exports = set(re.findall(r"^\s*\[\s*\d+\](?:\s+\+base\[\s*\d+\])?\s+(?:[0-9a-f]{4}\s+)?(\w+)$", table, re.M))
    needs = {name.lower() for name in re.findall(r"DLL Name: (\S+)", text)}
    return exports, needs - SYSTEM_DLLS


def inspect_shared_object(library, nm, objdump):
    exports = {line.split()[-1] for line in output(nm, "-D", "--defined-only", library).splitlines()}
    needs = set(re.findall(r"NEEDED\s+(\S+)", output(objdump, "-p", library)))
    sanitizers = {name for name in needs if re.match(r"lib(a|t|ub)san\.", name)}
    return exports, needs - SYSTEM_LIBRARIES - sanitizers


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for option in ("--header", "--library", "--nm", "--objdump"):
        parser.add_argument(option, required=True)
    arguments = parser.parse_args()

    expected = declared(arguments.header)
    if not expected:
        sys.exit("found no declaration in the header")
    if arguments.library.endswith(".dll"):
        exports, foreign = inspect_dll(arguments.library, arguments.objdump)
    else:
        exports, foreign = inspect_shared_object(arguments.library, arguments.nm, arguments.objdump)

    problems = [f"declared, not exported: {name}" for name in sorted(expected - exports)]
    problems += [f"exported, not declared: {name}" for name in sorted(exports - expected)]
    problems += [f"needs more than the system: {name}" for name in sorted(foreign)]
    if problems:
        sys.exit("\n".join(problems))
    print(f"{len(exports)} exports, all declared")


if __name__ == "__main__":
    main()
