#!/usr/bin/env python3
"""The generator refuses a table with a lost, doubled or mistyped row.

usage: gen_stubs_test.py <source root>
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = sys.argv.pop(1) if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), '..', '..')
TABLE = os.path.join(ROOT, 'ztint_client', 'ztint_calls.def')
GENERATOR = os.path.join(ROOT, 'scripts', 'gen_stubs.py')


def generate(text):
    """Runs the generator's checks on a table text; returns (exit status, error text)."""
    with tempfile.NamedTemporaryFile('w', suffix='.def', delete=False) as f:
        f.write(text)
    try:
        run = subprocess.run([sys.executable, GENERATOR, '--table', f.name, '--root', ROOT,
                              '--list'], capture_output=True, text=True)
        return run.returncode, run.stderr
    finally:
        os.unlink(f.name)


class TableChecks(unittest.TestCase):
    def setUp(self):
        with open(TABLE, encoding='utf-8') as f:
            self.table = f.read()

    def edit(self, pattern, replacement):
        text, count = re.subn(pattern, replacement, self.table, count=1, flags=re.M)
        self.assertEqual(count, 1, pattern)
        return text

    def refused(self, text, message):
        status, error = generate(text)
        self.assertNotEqual(status, 0)
        self.assertIn(message, error)

    def test_the_table_itself_passes(self):
        status, error = generate(self.table)
        self.assertEqual((status, error), (0, ''))

    def test_a_lost_row(self):
        self.refused(self.edit(r'^39054 .*\n', ''), '828 row rows, expected 829')

    def test_a_doubled_name(self):
        self.refused(self.edit(r'ZTSession_GetEntity ', 'ZTSession_GetEntityByDbId '),
                     'ZTSession_GetEntityByDbId appears twice')

    def test_an_opcode_outside_its_class(self):
        self.refused(self.edit(r'^38926 ', '39950 '), 'opcode 39950 is not in class 38')

    def test_the_reserved_method(self):
        self.refused(self.edit(r'^38916 ', '38915 '), 'method 3 is reserved')

    def test_an_unknown_type(self):
        self.refused(self.edit(r'(^38926 +\S+ +String(?::\w+)?),LONG', r'\1,Long'),
                     'unknown type Long')

    def test_a_class_with_the_wrong_number(self):
        self.refused(self.edit(r'^class +43 +ZTResultSet', 'class    63  ZTResultSet'),
                     'classes must be 0 to 62')

    def test_build_without_its_mark(self):
        self.refused(self.edit(r'^(class +38 +ZTSession +)build', r'\1-'),
                     'ZTSession has Build or Unbuild but is not marked "build"')

    def test_a_gap_in_the_methods(self):
        # A mistyped opcode at the end of a class keeps the order and the count.
        self.refused(self.edit(r'^7188 ', '7189 '), 'ZTZentrak: methods [20] are missing')
        self.refused(self.edit(r'^38917 ', '38918 '), 'ZTSession: methods out of order or doubled')

    def test_a_row_moved_into_the_known_gap(self):
        self.refused(self.edit(r'^32778 ', '32775 '),
                     'ZTProductInfo: methods [8, 9, 10] are missing')

    def test_a_longer_in_list(self):
        self.refused(self.edit(r'(^2083 +\S+ +)', r'\1String:extra,'),
                     'longest in list is ZTAdminSession_InstallAddDbSetEx with 9 entries')

    def test_bad_parameter_names(self):
        row = r'(^38926 +\S+ +)String(?::\w+)?,LONG(?::\w+)?'
        self.refused(self.edit(row, r'\1String:class,LONG:db_id'), 'bad parameter name "class"')
        self.refused(self.edit(row, r'\1String:result,LONG:db_id'), 'bad parameter name "result"')
        self.refused(self.edit(row, r'\1String:DbId,LONG:db_id'), 'bad parameter name "DbId"')
        self.refused(self.edit(row, r'\1String:db_id,LONG:db_id'), 'parameter name "db_id" twice')
        self.refused(self.edit(row, r'\1String,LONG:db_id'), 'parameter "String" has no name')


if __name__ == '__main__':
    unittest.main()
