#!/usr/bin/env python3
"""libztint.so exports exactly its C interface and nothing of what lies beneath it.

usage: check_exports.py <nm> <libztint.so> <export list>

The dynamic symbols that the library defines must be the names of the export list that
the build generates from the table of calls, and that list must itself have the shape of
the interface: one function per table row and generic call, two type lists per call of
classes 1 to 62, the string helpers, the error calls, three local no-ops, the codec and
the abort functions.
"""
import re
import subprocess
import sys

ROWS = 829                  # table rows of classes 2 to 53
STUB_CLASSES = 52           # classes 2 to 53, each with Free, Duplicate and GetObject
LISTED_CALLS = ROWS + 2 * STUB_CLASSES + 102 + 2   # rows, generic calls, classes 54-62, class 1
STRING_HELPERS = {
    'ZTInt_String_New', 'ZTInt_String_Duplicate', 'ZTInt_String_Alloc', 'ZTInt_String_Free',
    'ZTInt_String_Is_Empty', 'ZTInt_String_Length', 'ZTInt_String_Append',
    'ZTInt_StringArray_Size', 'ZTInt_StringArray_Alloc', 'ZTInt_StringArray_Set',
    'ZTInt_StringArray_At', 'ZTInt_StringArray_At_Ref', 'ZTInt_StringArray_Duplicate',
    'ZTInt_StringArray_New', 'ZTInt_StringArray_Free'}
LOCAL_CALLS = {'ZTInt_GetError', 'ZTInt_SetError', 'ZTInt_Check_Booleans',
               'libztintsvr_print_verid', 'libztintsvr_sprintf_verid'}
CODEC = re.compile(r'ZTInt_rpc_\w+|ZTInt_abort3?')


def defined_dynamic_symbols(nm, library):
    run = subprocess.run([nm, '-D', '--defined-only', library], capture_output=True, text=True,
                         check=True)
    names = set()
    for line in run.stdout.splitlines():
        fields = line.split()
        if len(fields) == 3:
            names.add(fields[2].split('@')[0])
    return names


def shape_errors(names):
    """What is wrong with the export list as an interface, independent of the generator."""
    errors = []
    lists_in = {n for n in names if n.endswith('_Types_In')}
    lists_out = {n for n in names if n.endswith('_Types_Out')}
    generic = {n for n in names
               if re.fullmatch(r'ZTInt_(?!String_|StringArray_)[A-Z][A-Za-z]*_'
                               r'(Free|Duplicate|GetObject)', n)}
    rows = {n for n in names - lists_in - lists_out if re.fullmatch(r'ZT(?!Int_)\w+_\w+', n)}
    codec = {n for n in names if CODEC.fullmatch(n)}
    for what, found, want in (('in lists', len(lists_in), LISTED_CALLS),
                              ('out lists', len(lists_out), LISTED_CALLS),
                              ('generic calls', len(generic), 3 * STUB_CLASSES),
                              ('row functions', len(rows), ROWS)):
        if found != want:
            errors.append('%d %s, expected %d' % (found, what, want))
    for name in sorted(lists_in):
        if name[:-len('_Types_In')] + '_Types_Out' not in lists_out:
            errors.append('%s has no out list' % name)
    for name in sorted((STRING_HELPERS | LOCAL_CALLS) - names):
        errors.append('%s is missing' % name)
    if not {'ZTInt_rpc_Encode', 'ZTInt_rpc_Decode', 'ZTInt_abort3'} <= codec:
        errors.append('the codec or the abort functions are missing')
    rest = names - lists_in - lists_out - generic - rows - codec - STRING_HELPERS - LOCAL_CALLS
    for name in sorted(rest):
        errors.append('%s is not part of the interface' % name)
    return errors


def main(nm, library, export_list):
    with open(export_list, encoding='utf-8') as f:
        expected = {line.strip() for line in f if line.strip()}
    found = defined_dynamic_symbols(nm, library)
    errors = ['export list: ' + e for e in shape_errors(expected)]
    errors += ['exported but not in the list: %s' % n for n in sorted(found - expected)]
    errors += ['in the list but not exported: %s' % n for n in sorted(expected - found)]
    for line in errors[:50]:
        print(line)
    if errors:
        print('%d problems' % len(errors))
        return 1
    print('%d symbols exported, as listed' % len(found))
    return 0


if __name__ == '__main__':
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
