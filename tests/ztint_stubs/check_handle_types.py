#!/usr/bin/env python3
"""Handles of different classes are distinct types in C and in C++.

usage: check_handle_types.py <c compiler> <c++ compiler> <source> <include dir>...

Compiles the source with each compiler twice: as it stands it must compile, and with
ZTINT_MIX_HANDLES defined (an entity handle passed for a session) it must fail, naming the
entity type. The first compile shows that the second fails for the mix-up alone.
"""
import subprocess
import sys


def compile_source(command, source, includes, mix):
    args = command + ['-fsyntax-only'] + ['-I' + d for d in includes]
    args += (['-DZTINT_MIX_HANDLES'] if mix else []) + [source]
    return subprocess.run(args, capture_output=True, text=True)


def main(c_compiler, cxx_compiler, source, *includes):
    languages = [('C99', [c_compiler, '-std=c99', '-pedantic-errors', '-Wall', '-Werror']),
                 ('C++20', [cxx_compiler, '-x', 'c++', '-std=c++20', '-Wall', '-Werror'])]
    failures = 0
    for name, command in languages:
        good = compile_source(command, source, includes, mix=False)
        if good.returncode != 0:
            print('%s: the correct use does not compile:\n%s' % (name, good.stderr))
            failures += 1
            continue
        mixed = compile_source(command, source, includes, mix=True)
        if mixed.returncode == 0:
            print('%s: an entity handle passed for a session compiles' % name)
            failures += 1
        elif 'ZTEntity' not in mixed.stderr:
            print('%s: fails for another reason:\n%s' % (name, mixed.stderr))
            failures += 1
        else:
            print('%s: the mix-up is refused' % name)
    return 1 if failures else 0


if __name__ == '__main__':
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
