"""Shows the library's types in GDB.

GDB loads this file with the library where it is installed under share/gdb/auto-load (on Windows: beside the DLL, in a
folder that "add-auto-load-safe-path" names); else "source" does. What is shown may be damaged, or come from a core
file: memory is checked before it is used, lengths are bounded by what the objects say of their blocks and by the memory
that is there, elements are read one by one as GDB prints them, and no printer raises.
"""
import datetime
import struct

import gdb
import gdb.printing

MOST_SLOTS = 1 << 16  # of a hash table that are looked at for values


class Unreadable(Exception):
    """Why an object cannot be shown."""


class Undescribed(Unreadable):
    """The program's debug information only names a class, and the library's is not there or names it otherwise."""

    def __init__(self):
        super().__init__('the debug information of the library is missing')


def memory(address, size):
    try:
        return bytes(gdb.selected_inferior().read_memory(address, size))
    except (gdb.error, OverflowError):
        raise Unreadable('no memory at %#x' % address) from None


def check_ends(pointer, count):
    """All of an array is taken to be there when its first and last byte are."""
    if count:
        memory(int(pointer), 1)
        memory(int(pointer) + count * pointer.type.target().sizeof - 1, 1)


def member(value, name):
    """A member of a class that may be known by name only."""
    try:
        return value[name]
    except gdb.error:
        raise Undescribed from None


def first(value):
    """The pointer or number that a std::unique_ptr or std::atomic consists of, whoever wrote that."""
    kind = value.type.strip_typedefs()
    if kind.code != gdb.TYPE_CODE_STRUCT:
        return value
    for field in kind.fields():
        found = first(value[field]) if hasattr(field, 'bitpos') else None  # static members have no place
        if found is not None:
            return found
    return None


def text(pointer, length):
    check_ends(pointer, length)
    return pointer.lazy_string(length=length)


def counted_length(pointer):
    """Units of a text behind the header of the counted buffers: bytes of the block, units in use, references."""
    nbytes, length = struct.unpack('<II', memory(int(pointer) - 12, 8))
    if nbytes <= 2:
        return 0
    if 2 * length + 2 > nbytes:
        raise Unreadable('%u units in %u bytes at %#x' % (length, nbytes, int(pointer)))
    return length


def counted_text(pointer):
    return text(pointer, counted_length(pointer)) if int(pointer) else 'null'


def attached_text(pointer):
    """A text that only its terminator ends."""
    if not int(pointer):
        return 'null'
    check_ends(pointer, 1)
    return pointer.lazy_string()


def short_text(string):
    """The text of a COrvStr without quotes, for use within a summary."""
    pointer = string['m_pStr']
    if not int(pointer):
        return ''
    length = min(counted_length(pointer), 260) if string['m_bOwn'] else 0
    check_ends(pointer, length)
    return memory(int(pointer), 2 * length).decode('utf-16-le', 'replace')


class Shown:
    """A printer that answers also where the object is damaged."""

    hint = None

    def __init__(self, value):
        self.value = value

    def to_string(self):
        try:
            return self.summary()
        except Exception as e:  # whatever it is: a debugger goes on
            return '<unreadable: %s>' % e

    def children(self):
        try:
            yield from self.parts()
        except Exception:
            return  # the summary has said why

    def display_hint(self):
        return self.hint

    def parts(self):
        return ()


class Str(Shown):
    def summary(self):
        pointer = self.value['m_pStr']
        return counted_text(pointer) if self.value['m_bOwn'] else attached_text(pointer)


class DBStr(Shown):
    def summary(self):
        return 'NULL' if self.value['m_bNull'] else counted_text(self.value['m_pStr'])


class LongStr(Shown):
    def summary(self):
        return counted_text(self.value['m_pStr'])


class LongAStr(Shown):
    """In front of the text: the block's bytes and the address of the terminator, a word each."""

    def summary(self):
        pointer = self.value['m_pStr']
        word = pointer.type.sizeof
        words = memory(int(pointer) - 2 * word, 2 * word)
        nbytes, = struct.unpack_from('<I', words)
        end = int.from_bytes(words[word:], 'little')
        length = end - int(pointer)
        if length != 0 and not 0 < length < nbytes:
            raise Unreadable('a text in %u bytes at %#x ends at %#x' % (nbytes, int(pointer), end))
        return text(pointer, length)


class Array(Shown):
    hint = 'array'
    unit = 'elements'

    def array(self):
        """The address of the first element and their number."""
        pointer, count = member(self.value, 'm_pElement'), int(member(self.value, 'm_iSize'))
        if count and not int(pointer):
            raise Unreadable('%u elements nowhere' % count)
        check_ends(pointer, count)
        return pointer, count

    def summary(self):
        return '%u %s' % (self.array()[1], self.unit)

    def parts(self):
        pointer, count = self.array()
        for i in range(count):
            yield str(i), pointer[i]


class IdArray(Array):
    unit = 'IDs'

    def array(self):
        try:
            return super().array()
        except Undescribed:  # known all the same: the table of virtual functions, the number, the address
            word = gdb.lookup_type('void').pointer().sizeof
            data = memory(int(self.value.address) + word, 2 * word)
            pointer = gdb.Value(int.from_bytes(data[word:], 'little'))
            pointer = pointer.cast(gdb.lookup_type('unsigned int').pointer())
            count, = struct.unpack_from('<I', data)
            check_ends(pointer, count)
            return pointer, count


class HashMap(Shown):
    """A header, then the buckets' slots, then those of nodes that were put aside; an empty slot holds 0."""

    hint = 'array'
    unit = 'items'

    def storage(self):
        pointer = first(self.value['m_pStorage'])
        if not int(pointer):
            return None
        check_ends(pointer, 1)
        storage = pointer.dereference()
        size, fresh, slots = (int(storage[name]) for name in ('m_nSize', 'm_nFresh', 'm_nSlots'))
        if not size <= fresh <= slots:
            raise Unreadable('%u items in %u of %u slots' % (size, fresh, slots))
        node = gdb.lookup_type('%s::CNode' % pointer.type.target().strip_typedefs().unqualified())
        nodes = (pointer + 1).cast(node.pointer())
        check_ends(nodes, slots)
        return size, nodes, fresh

    def summary(self):
        storage = self.storage()
        return '%u %s' % (storage[0] if storage else 0, self.unit)

    def parts(self):
        size, nodes, fresh = self.storage() or (0, None, 0)
        shown = 0
        for i in range(min(fresh, MOST_SLOTS)):
            if shown == size:
                return
            item = nodes[i]['data']
            if int(item) != 0:
                yield str(shown), item
                shown += 1
        if shown < size:
            yield str(shown), '(%u that are not among the first %u slots)' % (size - shown, min(fresh, MOST_SLOTS))


class IdSet(HashMap):
    unit = 'IDs'

    def storage(self):
        pointer = first(self.value['m_pMap'])
        if not int(pointer):
            return None
        check_ends(pointer, 1)
        return HashMap(pointer.dereference()).storage()


class ByteSet(Shown):
    hint = 'array'

    def items(self):
        flags = self.value['m_aFlags']
        return [i for i in range(1, 256) if int(flags[i])]

    def summary(self):
        items, count = self.items(), int(self.value['m_nCount'])
        if len(items) != count:
            raise Unreadable('counts %u items, has %u' % (count, len(items)))
        return '%u items' % count

    def parts(self):
        for i, item in enumerate(self.items()):
            yield str(i), item


class Time(Shown):
    def summary(self):
        seconds = int(self.value['m_iTime'])
        if seconds == 0:
            return 'null'
        if seconds < 0:
            return 'invalid (%d)' % seconds
        time = datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=seconds)
        return time.strftime('%Y-%m-%d %H:%M:%SZ')


class TimeDiff(Shown):
    def summary(self):
        seconds = int(self.value['m_iSpan'])
        if seconds == -1 << 31:
            return 'invalid'
        minutes, s = divmod(abs(seconds), 60)
        hours, m = divmod(minutes, 60)
        return '%s%ud %02u:%02u:%02u' % ('-' if seconds < 0 else '', hours // 24, hours % 24, m, s)


class Log(Shown):
    def summary(self):
        prefix = self.value['m_sPrefix'].string('utf-8', 'replace')
        return 'log "%s"%s' % (prefix, '' if int(first(self.value['m_pHandler'])) else ' (writes nowhere)')

    def parts(self):
        options = first(self.value['m_nOptions'])
        try:
            options = options.cast(gdb.lookup_type('LQLogOption'))
        except gdb.error:
            pass  # the program knows the number only
        yield 'options', options
        yield 'flushed from', first(self.value['m_nFlushLevel'])
        yield 'workers', self.value['m_WorkerDBIds']
        yield 'handler', first(self.value['m_pHandler'])


class Except(Shown):
    def summary(self):
        return 'error 0x%08x at %s:%d' % (int(self.value['m_iErrorCode']) & 0xFFFFFFFF,
                                          short_text(self.value['m_sFile']), int(self.value['m_iLine']))

    def parts(self):
        yield 'messages', self.value['m_messages']


class ListBehindPointer(Array):
    """The array at a pointer that is null when there is nothing; the library's debug information knows its type."""

    def array(self):
        pointer = self.value[self.member]
        if not int(pointer):
            return pointer, 0
        memory(int(pointer), 1)
        return Array(pointer.dereference()).array()


class Messages(ListBehindPointer):
    member = 'm_pMessages'
    unit = 'messages'


class Message(ListBehindPointer):
    member = 'm_pParams'

    def summary(self):
        self.array()
        return 'message %u, code 0x%08x' % (int(self.value['m_uResId']), int(self.value['m_iCode']) & 0xFFFFFFFF)


class MessageParam(Shown):
    members = {1: 'm_iValue', 2: 'm_dValue', 3: 'm_sValue', 4: 'm_time', 5: 'm_time', 6: 'm_time'}

    def summary(self):
        kind = int(self.value['paramType'])
        if kind == 7:
            return 'resource %u' % int(self.value['m_uResId'])
        if kind not in self.members:
            raise Unreadable('parameter of type %d' % kind)
        value = self.value[self.members[kind]]
        return value if kind >= 3 else value.format_string()


PRINTERS = {
    'COrvStr': Str,
    'COrvDBStr': DBStr,
    'COrvLongStrBase': LongStr,
    'COrvLongAStr': LongAStr,
    'CMarrayBase': Array,
    'CMIDINTArray': IdArray,
    'OCT::CPrtvHashMap': HashMap,
    'CMIDINTSet': IdSet,
    'CSimpleByteSet': ByteSet,
    'COrvTime': Time,
    'COrvTimeDiff': TimeDiff,
    'COrvLog': Log,
    'CLQExcept': Except,
    'CLQMessages': Messages,
    'CLQMessage': Message,
    'CLQMessageParam': MessageParam,
}


class Finder(gdb.printing.PrettyPrinter):
    """Finds the printer of a type, or of what it derives from where it adds no members."""

    def __init__(self):
        super().__init__('OrvComTypes')

    def __call__(self, value):
        kind = value.type.strip_typedefs().unqualified()
        while kind.code == gdb.TYPE_CODE_STRUCT:
            printer = PRINTERS.get((kind.tag or '').split('<')[0])
            if printer is not None:
                return printer(value)
            fields = [field for field in kind.fields() if hasattr(field, 'bitpos') and not field.artificial]
            bases = [field for field in fields if field.is_base_class and field.type.fields()]
            if len(bases) != 1 or any(not field.is_base_class for field in fields):
                return None
            kind = bases[0].type.strip_typedefs().unqualified()
        return None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Finder(), replace=True)
