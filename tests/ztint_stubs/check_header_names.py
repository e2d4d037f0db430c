#!/usr/bin/env python3
"""Every parameter of every declaration in the generated header has a name.

usage: check_header_names.py <ztint_api.h>
"""
import re
import sys

DECLARATION = re.compile(r'^ZTINT_EXPORT int32_t (\w+)\((.*)\);$')
# A C type of the interface followed by the parameter's name.
PARAMETER = re.compile(r'^(?:const )?\w+(?: const)?\**(?: const)?\**\s*\b([a-z_][a-z0-9_]*)$')
TYPE_WORDS = {'char', 'void', 'const', 'int32_t'}


def unnamed(header):
    """(function, parameter) pairs that lack a name, and the number of declarations read."""
    missing, count = [], 0
    for line in open(header, encoding='utf-8'):
        match = DECLARATION.match(line.strip())
        if not match:
            continue
        count += 1
        function, parameters = match.groups()
        if parameters == 'void':
            continue
        for parameter in parameters.split(', '):
            name = PARAMETER.match(parameter)
            if not name or name.group(1) in TYPE_WORDS or name.group(1).startswith('ZT'):
                missing.append((function, parameter))
    return missing, count


def main():
    missing, count = unnamed(sys.argv[1])
    for function, parameter in missing:
        print('%s: parameter "%s" has no name' % (function, parameter))
    print('%d declarations read, %d unnamed parameters' % (count, len(missing)))
    return 1 if missing or count < 900 else 0


if __name__ == '__main__':
    sys.exit(main())
