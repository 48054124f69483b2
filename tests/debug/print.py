"""Run by GDB, on the program or its core file: writes every local variable of the fixtures' main to the file
$ORV_PRINTED, a line NAME = TEXT each. What the file $ORV_NATVIS makes of those that are whole must be the same text. Of
the running program the core file $ORV_CORE is written, where that is set."""
import os
import re
import sys
import traceback

import gdb

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import natvis

NAMES = re.compile(r'ruin\w+|nullText|item|argc|kNowhere|aBlock|aTable|aEmptied')


def words(text):
    """What differs from run to run: addresses of objects that are there."""
    return re.sub(r'0x[0-9a-f]{9,}( <[^>]*>)?', 'ADDRESS', text)


def main():
    for line in ('pagination off', 'width 0', 'print repeats 0', 'print elements 200', 'charset UTF-8', 'confirm off'):
        gdb.execute('set ' + line)
    if gdb.selected_inferior().pid == 0:
        gdb.execute('break Ready')
        gdb.execute('run')
        if 'ORV_CORE' in os.environ:
            gdb.execute('generate-core-file ' + os.environ['ORV_CORE'])
    frame = gdb.newest_frame().older()
    frame.select()
    file = natvis.File(os.environ['ORV_NATVIS'])
    bad = False
    with open(os.environ['ORV_PRINTED'], 'w', encoding='utf-8') as out:
        for symbol in sorted(frame.block(), key=lambda symbol: symbol.line * 1000 + len(symbol.name)):
            if NAMES.fullmatch(symbol.name):
                continue
            value = frame.read_var(symbol)
            value = value.referenced_value() if value.type.code == gdb.TYPE_CODE_REF else value
            text = value.format_string()
            print(symbol.name, '=', words(text), file=out)
            if symbol.name.startswith('damaged'):
                continue
            other = file.show(value)
            if other != text:
                bad = True
                print('%s: GDB shows %s, natvis %s' % (symbol.name, text, other))
    return bad


try:
    failed = main()
except BaseException:  # GDB would go on and end well
    traceback.print_exc()
    failed = True
gdb.execute('kill inferiors 1')
gdb.execute('quit %d' % failed)
