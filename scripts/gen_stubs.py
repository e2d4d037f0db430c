#!/usr/bin/env python3
"""Generates the remote interface of libztint from ztint_client/ztint_calls.def.

From the one table of calls it writes, below the output directory:

  include/ztint_api.h          public C declarations: opaque handle types and every stub
  include/ztint_signatures.h   public C declarations of the exported type lists
  ztint_opcodes.h              one opcode constant per call, ZTInt_op_<call> (internal)
  ztint_class_names.inc        the class names by type code, 21 upward (internal)
  ztint_hand_calls.h           the shared type lists of class 0 (internal)
  ztint_signatures.cpp         every type list and the call table (opcode, name, lists)
  stubs/<class>.cpp            the stubs of one class
  ztint.map                    linker version script: the exported interface, nothing else
  ztint_exports.txt            the same names, one per line, for the export check
  tests/ztint_stub_invokers.*  one test-side invoker per stub, callable from a table

`gen_stubs.py --list` prints the relative paths of those files, one per line.
The table is checked before anything is written; a bad table stops the build.
"""

import argparse
import os
import re
import sys

BASIC_TYPES = {'LONG': 3, 'BOOL': 4, 'String': 5, 'StringArray': 6}
STATUS = 1
OBJECT_BASE = 20

# Counts that the table must hold; a row lost or doubled in an edit shows up here.
EXPECTED_ROWS = 829          # table rows of classes 2 to 53
EXPECTED_DECLARED_ROWS = 102  # rows of classes 54 to 62
EXPECTED_SPECIAL_ROWS = 4    # classes 0 and 1
EXPECTED_LONGEST_IN = ('ZTAdminSession_InstallAddDbSetEx', 8)
EXPECTED_MAX_METHOD = 142
# Method numbers that an object class leaves unused; every other class numbers its calls
# 1, 2, then 4 upward without a gap (3 is the local GetObject).
EXPECTED_GAPS = {'ZTProductInfo': [7, 8, 9]}

# Headers whose ZTINT_EXPORT declarations belong to the exported interface, with the name
# patterns allowed from each.
EXPORTING_HEADERS = [
    ('include/ztint_string.h', r'ZTInt_(String|StringArray)_\w+'),
    ('ztint_base/ztint_protocol.h', r'ZTInt_rpc_\w+'),
    ('ztint_base/ztint_assert.h', r'ZTInt_abort3?'),
    ('include/ztint.h', r'\w+'),
]


class TableError(Exception):
    pass


class Call:
    def __init__(self, cls, opcode, name, params, result, kind, mark=None, names=None):
        self.cls = cls
        self.opcode = opcode
        self.name = name
        self.params = params    # type names after the handle
        self.names = names or []  # their names
        self.result = result    # type name or None
        self.kind = kind        # 'special', 'generic', 'row', 'declared'
        self.hand = mark == 'hand'  # function written by hand
        self.hook = mark == 'hook'  # stub that offers the call to ZTInt_client_<Method> first

    @property
    def method(self):
        return self.opcode % 1024

    @property
    def has_handle(self):
        return self.cls.kind != 'special' and not self.name.endswith('_Build')

    def in_types(self, table):
        head = [self.cls.code] if self.has_handle else []
        return head + [table.type_code(p) for p in self.params]

    def out_types(self, table):
        return [STATUS] + ([table.type_code(self.result)] if self.result else [])

    def list_name(self, direction):
        """Name of the in ('In') or out ('Out') list."""
        if self.cls.number == 0:
            return 'ZTInt_Special_%s_Types_%s' % (special_list_kind(self, direction), direction)
        return '%s_Types_%s' % (self.name, direction)


def special_list_kind(call, direction):
    """Class 0 shares lists named by their content: Nil, String, Status, StringArray."""
    types = call.params if direction == 'In' else ([call.result] if call.result else [])
    if not types:
        return 'Nil' if direction == 'In' else 'Status'
    if len(types) == 1 and types[0] in ('String', 'StringArray'):
        return types[0]
    raise TableError('class 0 call %s has a list with no shared name' % call.name)


class Class:
    def __init__(self, kind, number, name, build):
        self.kind = kind          # 'class', 'declared', 'special'
        self.number = number
        self.name = name          # ZTSession
        self.build = build
        self.rows = []            # as read from the table

    @property
    def code(self):
        return self.number + OBJECT_BASE

    @property
    def short(self):
        return self.name[2:]      # Session

    def generic_name(self, what):
        return 'ZTInt_%s_%s' % (self.short, what)

    def calls(self):
        """Every wire call of the class in method order, generic ones included."""
        calls = []
        if self.kind == 'class':
            calls.append(Call(self, self.number * 1024 + 1, self.generic_name('Free'), [], None,
                              'generic'))
            calls.append(Call(self, self.number * 1024 + 2, self.generic_name('Duplicate'), [],
                              self.short, 'generic'))
        return calls + self.rows


# Names a parameter may not take: the generated handle and result, and the keywords of C
# and C++.
RESERVED_NAMES = {'handle', 'result', 'status', 'in', 'out', 'record'} | set('''
    alignas alignof and asm auto bool break case catch char class const constexpr continue
    default delete do double else enum explicit export extern false float for friend goto if
    inline int long mutable namespace new noexcept not nullptr operator or private protected
    public register restrict return short signed sizeof static struct switch template this
    throw true try typedef typeid typename union unsigned using virtual void volatile while
    xor'''.split())
NAME_PATTERN = re.compile(r'[a-z][a-z0-9_]*')


def parse_parameters(column, where):
    """Types and names of a parameters column: "-", or "Type" / "Type:name" items joined by ","."""
    if column == '-':
        return [], []
    types, names = [], []
    for item in column.split(','):
        type_name, _, name = item.partition(':')
        if not name:
            raise TableError('%s: parameter "%s" has no name (write Type:name)' % (where, item))
        if not NAME_PATTERN.fullmatch(name) or name in RESERVED_NAMES:
            raise TableError('%s: bad parameter name "%s"' % (where, name))
        if name in names:
            raise TableError('%s: parameter name "%s" twice' % (where, name))
        types.append(type_name)
        names.append(name)
    return types, names


class Table:
    def __init__(self, path):
        self.classes = {}
        self._read(path)
        self.by_short = {c.short: c for c in self.classes.values() if c.kind != 'special'}

    def _read(self, path):
        current = None
        with open(path, encoding='utf-8') as f:
            for number, line in enumerate(f, 1):
                fields = line.split('#', 1)[0].split()
                if not fields:
                    continue
                where = '%s:%d' % (path, number)
                if fields[0] in ('class', 'declared', 'special'):
                    if len(fields) != 4 or fields[3] not in ('build', '-'):
                        raise TableError('%s: bad class line' % where)
                    current = Class(fields[0], int(fields[1]), fields[2], fields[3] == 'build')
                    if current.number in self.classes:
                        raise TableError('%s: class %d twice' % (where, current.number))
                    self.classes[current.number] = current
                    continue
                if current is None or len(fields) not in (4, 5) or not fields[0].isdigit():
                    raise TableError('%s: bad call line' % where)
                if len(fields) == 5 and fields[4] not in ('hand', 'hook'):
                    raise TableError('%s: unknown mark %s' % (where, fields[4]))
                params, names = parse_parameters(fields[2], where)
                result = None if fields[3] == '-' else fields[3]
                kind = {'class': 'row', 'declared': 'declared', 'special': 'special'}[current.kind]
                current.rows.append(Call(current, int(fields[0]), fields[1], params, result, kind,
                                         fields[4] if len(fields) == 5 else None, names))

    def type_code(self, name):
        if name in BASIC_TYPES:
            return BASIC_TYPES[name]
        if name in self.by_short:
            return self.by_short[name].code
        raise TableError('unknown type %s' % name)

    def sorted_classes(self):
        return [self.classes[n] for n in sorted(self.classes)]

    def all_calls(self):
        return [call for cls in self.sorted_classes() for call in cls.calls()]

    def stub_classes(self):
        return [c for c in self.sorted_classes() if c.kind == 'class']

    def object_classes(self):
        return [c for c in self.sorted_classes() if c.kind != 'special']


def check(table):
    """Stops on anything that would make the generated interface wrong."""
    def fail(text):
        raise TableError(text)

    numbers = sorted(table.classes)
    kinds = {n: table.classes[n].kind for n in numbers}
    if numbers != list(range(0, 63)):
        fail('classes must be 0 to 62, found %s' % numbers)
    for n in numbers:
        want = 'special' if n < 2 else 'class' if n <= 53 else 'declared'
        if kinds[n] != want:
            fail('class %d must be %s' % (n, want))
    names = set()
    for call in table.all_calls():
        if call.name in names:
            fail('%s appears twice' % call.name)
        names.add(call.name)
        cls = call.cls
        if call.opcode // 1024 != cls.number:
            fail('%s: opcode %d is not in class %d' % (call.name, call.opcode, cls.number))
        if call.method == 3 or call.method == 0:
            fail('%s: method %d is reserved' % (call.name, call.method))
        if cls.kind == 'class' and call.kind == 'row' and call.method < 4:
            fail('%s: methods 1 to 3 are generic' % call.name)
        if call.method > EXPECTED_MAX_METHOD:
            fail('%s: method %d above %d' % (call.name, call.method, EXPECTED_MAX_METHOD))
        if cls.kind != 'special':
            prefixes = ('ZT%s_' % cls.short, 'ZTInt_%s_' % cls.short)
            if not call.name.startswith(prefixes):
                fail('%s does not carry its class name %s' % (call.name, cls.name))
        if call.hand != (cls.kind == 'special'):
            fail('%s: exactly the calls of classes 0 and 1 are written by hand' % call.name)
        if call.hook and cls.kind != 'class':
            fail('%s: only a stub can have a hook' % call.name)
        call.in_types(table)   # resolves every type name
        call.out_types(table)
    for cls in table.sorted_classes():
        methods = [c.method for c in cls.calls()]
        if methods != sorted(set(methods)):
            fail('%s: methods out of order or doubled' % cls.name)
        if cls.kind != 'special':
            gaps = [m for m in range(1, methods[-1]) if m != 3 and m not in methods]
            if gaps != EXPECTED_GAPS.get(cls.name, []):
                fail('%s: methods %s are missing' % (cls.name, gaps))
        build = {c.method: c for c in cls.rows if c.name.endswith(('_Build', '_Unbuild'))}
        if cls.build:
            b, u = build.get(4), build.get(5)
            if not (b and b.name == cls.name + '_Build' and not b.params and b.result == cls.short):
                fail('%s: Build must be method 4 with the class as its result' % cls.name)
            if not (u and u.name == cls.name + '_Unbuild' and not u.params and not u.result):
                fail('%s: Unbuild must be method 5 with no parameters' % cls.name)
        elif build:
            fail('%s has Build or Unbuild but is not marked "build"' % cls.name)
    count = lambda kind: sum(1 for c in table.all_calls() if c.kind == kind)
    for kind, want in (('row', EXPECTED_ROWS), ('declared', EXPECTED_DECLARED_ROWS),
                       ('special', EXPECTED_SPECIAL_ROWS)):
        if count(kind) != want:
            fail('%d %s rows, expected %d' % (count(kind), kind, want))
    longest = max(table.all_calls(), key=lambda c: len(c.in_types(table)))
    if (longest.name, len(longest.in_types(table))) != EXPECTED_LONGEST_IN:
        fail('longest in list is %s with %d entries' % (longest.name, len(longest.in_types(table))))


# ---------------------------------------------------------------------------------------------
# C forms

def c_param_type(table, name):
    return {'LONG': 'ZTInt_LONG', 'BOOL': 'ZTInt_BOOL', 'String': 'const char*',
            'StringArray': 'char* const*'}.get(name) or 'ZT%s*' % name


def c_result_type(table, name):
    return {'LONG': 'ZTInt_LONG*', 'BOOL': 'ZTInt_BOOL*', 'String': 'char**',
            'StringArray': 'char***'}.get(name) or 'ZT%s**' % name


def param_names(call):
    """The row's parameter names (the table names every parameter)."""
    return call.names


def c_parameters(call):
    """The C parameter list of a stub: handle, result address, then the row's parameters."""
    parts = []
    if call.has_handle:
        parts.append('%s* handle' % call.cls.name)
    if call.result:
        parts.append('%s result' % c_result_type(None, call.result))
    for type_name, name in zip(call.params, param_names(call)):
        parts.append('%s %s' % (c_param_type(None, type_name), name))
    return ', '.join(parts) if parts else 'void'


def c_prototype(call):
    return 'int32_t %s(%s)' % (call.name, c_parameters(call))


def getobject_prototype(cls):
    return 'int32_t %s(%s* handle, void** result)' % (cls.generic_name('GetObject'), cls.name)


# ---------------------------------------------------------------------------------------------
# Writers

HEAD = 'Generated by scripts/gen_stubs.py from ztint_client/ztint_calls.def. Do not edit.'


def write_api_header(table):
    out = ['/* %s */' % HEAD,
           '/* The declarations of every stub; include ztint.h, not this file. */',
           '#ifndef ZTINT_API_H', '#define ZTINT_API_H', '',
           '#ifndef ZTINT_H', '#error "include ztint.h instead of ztint_api.h"', '#endif', '',
           '#ifdef __cplusplus', 'extern "C" {', '#endif', '',
           '/* Handles: each class is its own opaque type. */']
    for cls in table.object_classes():
        out.append('typedef struct %s %s;' % (cls.name, cls.name))
    for cls in table.stub_classes():
        out += ['', '/* %s: class %d, type code %d.%s */' % (
            cls.name, cls.number, cls.code, ownership_note(table, cls))]
        for call in cls.calls():
            out.append('ZTINT_EXPORT %s;' % c_prototype(call))
            if call.method == 2:
                out.append('ZTINT_EXPORT %s;' % getobject_prototype(cls))
    out += ['', '#ifdef __cplusplus', '}', '#endif', '', '#endif', '']
    return '\n'.join(out)


def ownership_note(table, cls):
    """What the caller owns of the results of a class's calls, and how it frees them."""
    results = {call.result for call in cls.calls() if call.result}
    notes = []
    if 'String' in results:
        notes.append('strings (ZTInt_String_Free)')
    if 'StringArray' in results:
        notes.append('string arrays (ZTInt_StringArray_Free)')
    if any(r in table.by_short for r in results):
        notes.append('handles (the ZTInt_<Class>_Free of their class)')
    if not notes:
        return ' Its calls return numbers only.'
    return ' The caller owns what its calls return: %s.' % ', '.join(notes)


def exported_lists(table):
    """Every list that is exported: all calls of classes 1 to 62."""
    return [(call, d) for call in table.all_calls() if call.cls.number != 0 for d in ('In', 'Out')]


def write_signatures_header(table):
    out = ['/* %s */' % HEAD,
           '/* The exported type lists: <call>_Types_In and <call>_Types_Out, each ended by 0. */',
           '#ifndef ZTINT_SIGNATURES_H', '#define ZTINT_SIGNATURES_H', '',
           '#include <stdint.h>', '', '#include "ztint_export.h"', '',
           '#ifdef __cplusplus', 'extern "C" {', '#endif', '']
    for call, direction in exported_lists(table):
        out.append('ZTINT_EXPORT extern const int32_t %s[];' % call.list_name(direction))
    out += ['', '#ifdef __cplusplus', '}', '#endif', '', '#endif', '']
    return '\n'.join(out)


def special_lists(table):
    """The shared lists of class 0 with their contents, the StringArray pair included."""
    lists = {'ZTInt_Special_Nil_Types_In': [], 'ZTInt_Special_String_Types_In': [5],
             'ZTInt_Special_Status_Types_Out': [1], 'ZTInt_Special_StringArray_Types_In': [6],
             'ZTInt_Special_StringArray_Types_Out': [1, 6]}
    for call in table.classes[0].rows:
        for direction, types in (('In', call.in_types(table)), ('Out', call.out_types(table))):
            if lists.get(call.list_name(direction)) != types:
                raise TableError('%s does not fit %s' % (call.name, call.list_name(direction)))
    return lists


def write_hand_header(table):
    out = ['// %s' % HEAD,
           '// What the hand-written calls take from the table: the type lists of the',
           '// connection-level calls (class 0), which are shared by content.',
           '#pragma once', '', '#include <cstdint>', '', '#include "ztint_opcodes.h"', '']
    for name in special_lists(table):
        out.append('extern const int32_t %s[];' % name)
    return '\n'.join(out) + '\n'


def opcode_constant(call):
    return 'ZTInt_op_%s' % call.name


def write_opcodes_header(table):
    out = ['// %s' % HEAD,
           '// The opcode of every call in the table, class * 1024 + method, by the call\'s name.',
           '// Code that names a call uses these; a name that is not in the table does not compile.',
           '#pragma once', '', '#include <cstdint>', '', 'enum ZTInt_opcode : int32_t {']
    for call in sorted(table.all_calls(), key=lambda c: c.opcode):
        out.append('    %s = %d,' % (opcode_constant(call), call.opcode))
    out += ['};', '']
    return '\n'.join(out)


def write_class_names(table):
    """The names of classes 1 to 62, one per line in type-code order (21 to 82), as the
    initialisers of a table of names by type code."""
    out = ['// %s' % HEAD]
    out += ['"%s",  // %d' % (cls.name, cls.code) for cls in table.sorted_classes() if cls.number > 0]
    return '\n'.join(out) + '\n'


def c_list(types):
    return '{%s}' % ', '.join(str(t) for t in types + [0])


def write_signatures_source(table):
    out = ['// %s' % HEAD, '#include "ztint_signatures.h"', '#include "ztint_hand_calls.h"',
           '#include "ztint_client/ztint_call_table.h"', '']
    for name, types in special_lists(table).items():
        out.append('const int32_t %s[] = %s;' % (name, c_list(types)))
    out += ['', 'extern "C" {']
    for call, direction in exported_lists(table):
        types = call.in_types(table) if direction == 'In' else call.out_types(table)
        out.append('const int32_t %s[] = %s;' % (call.list_name(direction), c_list(types)))
    out += ['}', '', 'const ZTInt_call_entry ZTInt_Call_Table[] = {']
    kinds = {'special': 'ZTInt_call_Special', 'generic': 'ZTInt_call_Generic',
             'row': 'ZTInt_call_Row', 'declared': 'ZTInt_call_Declared'}
    for call in sorted(table.all_calls(), key=lambda c: c.opcode):
        out.append('    {%s, "%s", %s, %s, %d, %d, %s},' % (
            opcode_constant(call), call.name, call.list_name('In'), call.list_name('Out'),
            len(call.in_types(table)), len(call.out_types(table)), kinds[call.kind]))
    out += ['};', '',
            'const int32_t ZTInt_Call_Table_Size = %d;' % len(table.all_calls()), '']
    return '\n'.join(out)


def stub_body(table, call):
    """The body of one generated stub, as lines."""
    cls = call.cls
    names = param_names(call)
    in_values = (['ZTInt_stub_Proxy(handle)'] if call.has_handle else []) + [
        'ZTInt_stub_Proxy(%s)' % n if p in table.by_short else '&%s' % n
        for p, n in zip(call.params, names)]
    object_result = call.result in table.by_short
    out_values = ['&status'] + (['&record' if object_result else 'result'] if call.result else [])
    lines = []
    is_free = call.name == cls.generic_name('Free')
    if is_free:
        lines.append('    if (handle == nullptr) return 0;')
    if call.result:
        lines.append('    if (result == nullptr) return ZTInt_client_No_Result("%s");' % call.name)
        lines.append('    *result = %s;' % ('nullptr' if object_result or 'String' in call.result
                                             else '0'))
    checks = ([('handle', cls.code, 'handle')] if call.has_handle else []) + [
        (n, table.by_short[p].code, '%s handle' % n)
        for p, n in zip(call.params, names) if p in table.by_short]
    for argument, code, what in checks:
        lines.append('    if (!ZTInt_client_Check_Handle(%s, %d, "%s", "%s")) return -1;'
                     % (argument, code, call.name, what))
    if object_result:
        lines.append('    ZTInt_obj_struct record{};')
    lines.append('    int32_t status = -1;')
    if call.hook:
        hook = 'ZTInt_client_%s' % call.name[len(cls.name) + 1:]
        arguments = ['&status', 'handle'] + (['result'] if call.result else []) + names
        lines.append('    if (%s(%s)) return status;' % (hook, ', '.join(arguments)))
    lines.append('    const void* const in[] = {%s};' % ', '.join(in_values)
                 if in_values else '    const void* const* in = nullptr;')
    lines.append('    void* const out[] = {%s};' % ', '.join(out_values))
    run = ('ZTInt_stub_Run(%s, %d, %s, in, %d, %s, out)' % (
        opcode_constant(call), len(in_values), call.list_name('In'), len(out_values),
        call.list_name('Out')))
    if is_free:
        lines.append('    if (%s && status == 0)' % run)
        lines.append('        ZTInt_obj_Free(ZTInt_stub_Record(handle));')
    elif object_result:
        lines.append('    if (%s)' % run)
        lines.append('        *result = ZTInt_stub_Local<%s>(&status, &record);'
                     % table.by_short[call.result].name)
    else:
        lines.append('    %s;' % run)
    lines.append('    return status;')
    return lines


def write_stub_source(table, cls):
    out = ['// %s' % HEAD, '// Stubs of %s: class %d, type code %d.' % (cls.name, cls.number, cls.code),
           '#include "ztint_client/ztint_stub.h"', '', 'extern "C" {', '']
    for call in cls.calls():
        if call.hand:
            continue
        out += [c_prototype(call), '{']
        out += stub_body(table, call)
        out += ['}', '']
        if call.method == 2:
            out += [getobject_prototype(cls), '{', '    (void)handle;', '    (void)result;',
                    '    ZTInt_client_Unsupported("%s");' % cls.generic_name('GetObject'),
                    '    return -1;', '}', '']
    out += ['}  // extern "C"', '']
    return '\n'.join(out)


def stub_file(cls):
    return 'stubs/%s.cpp' % cls.name.lower()


def header_exports(root):
    """Names that the hand-written headers mark ZTINT_EXPORT."""
    names = set()
    for path, pattern in EXPORTING_HEADERS:
        text = open(os.path.join(root, path), encoding='utf-8').read()
        for decl in re.findall(r'ZTINT_EXPORT\b[^;{]*?\b(\w+)\s*\(', text):
            if not re.fullmatch(pattern, decl):
                raise TableError('%s exports %s, outside %s' % (path, decl, pattern))
            names.add(decl)
    return names


def export_names(table, root):
    names = header_exports(root)
    for cls in table.stub_classes():
        names.add(cls.generic_name('GetObject'))
    for call in table.all_calls():
        if call.cls.kind == 'class' or call.cls.number == 1:
            names.add(call.name)
    for call, direction in exported_lists(table):
        names.add(call.list_name(direction))
    return sorted(names)


def write_version_script(names):
    return '\n'.join(['/* %s */' % HEAD, '{', '  global:'] + ['    %s;' % n for n in names] +
                     ['  local:', '    *;', '};', ''])


# Test-side invokers: one function per stub that takes its arguments from a block, so a
# table-driven test can call every stub.

def write_invoker_header():
    return '\n'.join([
        '// %s' % HEAD,
        '// Calls every generated stub from an argument block, for table-driven tests.',
        '#pragma once', '', '#include <cstdint>', '',
        'union ZTInt_stub_arg {',
        '    int32_t Long;            // LONG and BOOL',
        '    const char* String;',
        '    char* const* Array;',
        '    void* Object;            // a handle',
        '};', '',
        'struct ZTInt_stub_args {',
        '    void* Handle;            // the handle the call works on, if any',
        '    void* Result;            // address of the result variable, if any',
        '    ZTInt_stub_arg Params[8];',
        '};', '',
        'struct ZTInt_stub_invoker {',
        '    const char* Name;',
        '    int32_t Opcode;          // 0 for the local GetObject',
        '    int32_t (*Invoke)(const ZTInt_stub_args& args);',
        '};', '',
        'extern const ZTInt_stub_invoker ZTInt_Stub_Invokers[];',
        'extern const int ZTInt_Stub_Invokers_Size;', ''])


def invoker_arguments(table, call):
    args = []
    if call.has_handle:
        args.append('static_cast<%s*>(a.Handle)' % call.cls.name)
    if call.result:
        args.append('static_cast<%s>(a.Result)' % c_result_type(table, call.result))
    for i, p in enumerate(call.params):
        field = {'LONG': 'Long', 'BOOL': 'Long', 'String': 'String',
                 'StringArray': 'Array'}.get(p)
        args.append('a.Params[%d].%s' % (i, field) if field else
                    'static_cast<ZT%s*>(a.Params[%d].Object)' % (p, i))
    return ', '.join(args)


def write_invoker_source(table):
    out = ['// %s' % HEAD, '#include "ztint_stub_invokers.h"', '', '#include "ztint.h"', '',
           'namespace {', '']
    entries = []
    for cls in table.stub_classes():
        for call in cls.calls():
            out += ['int32_t invoke_%s(const ZTInt_stub_args& a)' % call.name, '{']
            out.append('    return %s(%s);' % (call.name, invoker_arguments(table, call)))
            out.append('}')
            entries.append((call.name, call.opcode))
            if call.method == 2:
                name = cls.generic_name('GetObject')
                out += ['int32_t invoke_%s(const ZTInt_stub_args& a)' % name, '{']
                out.append('    return %s(static_cast<%s*>(a.Handle), static_cast<void**>(a.Result));'
                           % (name, cls.name))
                out.append('}')
                entries.append((name, 0))
    out += ['', '}  // namespace', '', 'const ZTInt_stub_invoker ZTInt_Stub_Invokers[] = {']
    out += ['    {"%s", %d, invoke_%s},' % (name, opcode, name) for name, opcode in entries]
    out += ['};', '', 'const int ZTInt_Stub_Invokers_Size = %d;' % len(entries), '']
    return '\n'.join(out)


def outputs(table, root):
    """Relative path -> function making its text."""
    files = {
        'include/ztint_api.h': lambda: write_api_header(table),
        'include/ztint_signatures.h': lambda: write_signatures_header(table),
        'ztint_hand_calls.h': lambda: write_hand_header(table),
        'ztint_opcodes.h': lambda: write_opcodes_header(table),
        'ztint_class_names.inc': lambda: write_class_names(table),
        'ztint_signatures.cpp': lambda: write_signatures_source(table),
        'ztint.map': lambda: write_version_script(export_names(table, root)),
        'ztint_exports.txt': lambda: '\n'.join(export_names(table, root)) + '\n',
        'tests/ztint_stub_invokers.h': write_invoker_header,
        'tests/ztint_stub_invokers.cpp': lambda: write_invoker_source(table),
    }
    for cls in table.stub_classes():
        files[stub_file(cls)] = (lambda c: lambda: write_stub_source(table, c))(cls)
    return files


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('--table', required=True, help='ztint_calls.def')
    parser.add_argument('--root', required=True, help='source root, for the exporting headers')
    parser.add_argument('--out', help='output directory')
    parser.add_argument('--list', action='store_true', help='print the output paths and stop')
    args = parser.parse_args()
    try:
        table = Table(args.table)
        check(table)
        files = outputs(table, args.root)
        if args.list:
            print('\n'.join(sorted(files)))
            return 0
        if not args.out:
            parser.error('--out is needed unless --list is given')
        texts = {path: make() for path, make in files.items()}
    except TableError as error:
        print('gen_stubs.py: %s' % error, file=sys.stderr)
        return 1
    for path, text in texts.items():
        full = os.path.join(args.out, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, 'w', encoding='utf-8') as f:
            f.write(text)
    return 0


if __name__ == '__main__':
    sys.exit(main())
