#!/usr/bin/env python3
"""No source file outside the call table and its generator writes an opcode as a number.

Code that names a call uses the generated constant ZTInt_op_<call>; a number that equals
the opcode of a row of the table (outside comments and string literals) is reported with
its place. The calls of class 0 have opcodes 1 and 2, which no check can tell from other
numbers; they are left out.

usage: check_opcode_literals.py <source root>
"""
import os
import re
import sys

ROOT = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else
                       os.path.join(os.path.dirname(__file__), '..', '..'))
sys.path.insert(0, os.path.join(ROOT, 'scripts'))
import gen_stubs  # noqa: E402

SKIPPED_FILES = {'ztint_client/ztint_calls.def', 'scripts/gen_stubs.py',
                 'tests/ztint_stubs/check_opcode_literals.py',
                 'tests/ztint_stubs/gen_stubs_test.py'}
SKIPPED_DIRS = {'.git', 'build'}
# Where calls are named: the RPC layers, the server, the tools and their tests. The
# foundation is left out: its numbers (path lengths, years) are not calls.
CHECKED_DIRS = ('ztint_base', 'ztint_utils', 'ztint_client', 'server', 'tools', 'examples',
                'bench', 'fuzz', 'include', 'tests/ztint_base', 'tests/ztint_utils',
                'tests/ztint_client', 'tests/ztint_stubs', 'tests/server', 'tests/e2e',
                'tests/tools', 'tests/support')
SUFFIXES = ('.c', '.cpp', '.h', '.inc', '.py', '.sh')

# Comments and string or character literals of C, C++, Python and shell, blanked out
# before numbers are looked for.
C_LIKE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.S)
SCRIPT = re.compile(r'#[^\n]*|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'')
NUMBER = re.compile(r'(?<![\w.])\d+(?![\w.])')


def blank(match):
    return re.sub(r'[^\n]', ' ', match.group(0))


def literals(path, opcodes):
    text = open(path, encoding='utf-8', errors='replace').read()
    pattern = SCRIPT if path.endswith(('.py', '.sh')) else C_LIKE
    code = pattern.sub(blank, text)
    for number, line in enumerate(code.split('\n'), 1):
        for match in NUMBER.finditer(line):
            if int(match.group(0)) in opcodes:
                yield number, match.group(0)


def checked_files():
    """Relative paths of the files to check."""
    for top in CHECKED_DIRS:
        for directory, dirs, files in os.walk(os.path.join(ROOT, top)):
            dirs[:] = [d for d in dirs if d not in SKIPPED_DIRS]
            for name in files:
                relative = os.path.relpath(os.path.join(directory, name), ROOT)
                if name.endswith(SUFFIXES) and relative not in SKIPPED_FILES:
                    yield relative


def main():
    table = gen_stubs.Table(os.path.join(ROOT, 'ztint_client', 'ztint_calls.def'))
    opcodes = {call.opcode: call.name for call in table.all_calls() if call.opcode >= 1024}
    found = ['%s:%d: %s is the opcode of %s; use ZTInt_op_%s' % (
                 relative, line, number, opcodes[int(number)], opcodes[int(number)])
             for relative in sorted(checked_files())
             for line, number in literals(os.path.join(ROOT, relative), opcodes)]
    print('\n'.join(found) if found else 'no opcode literal outside the table')
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
