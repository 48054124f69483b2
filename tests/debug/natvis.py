"""Evaluates a natvis file by GDB: the elements that resources/debuggers/orvcomtypes.natvis uses, no more.

show(value) gives the text that GDB's printers would give if the file's types were written as printers.
"""
import re
import xml.etree.ElementTree as tree

import gdb

TEMPLATE = re.compile(r'[\w:]+<')
TOKEN = re.compile(r"'[^']*'|(?:(?:->|\.|::)\s*)?[A-Za-z_]\w*(?:\(\))?|.", re.S)
FORMAT = re.compile(r'^(.*?)(?:,(?:\[(.*)\])?(su|sub|s|x|d))?$', re.S)


def path(name):
    return name.split('}')[-1]


def members(kind):
    for field in kind.fields():
        if field.is_base_class:
            yield from members(field.type)
        elif field.name:
            yield field.name


def quoted(expression):
    """The expression with the names of templates as GDB spells and reads them."""
    found = TEMPLATE.search(expression)
    if found is None:
        return expression
    end, depth = found.end(), 1
    while depth:
        depth += {'<': 1, '>': -1}.get(expression[end], 0)
        end += 1
    end = re.compile(r'(?:::\w+)*').match(expression, end).end()
    name = gdb.lookup_type(expression[found.start():end])
    return "%s'%s'%s" % (expression[:found.start()], name, quoted(expression[end:]))


class Object:
    """A value beside the natvis type that describes it."""

    def __init__(self, file, value, node, arguments):
        self.file, self.value, self.node = file, value, node
        self.arguments = arguments
        self.members = set(members(value.type.strip_typedefs()))
        self.intrinsics = {i.get('Name') + '()': i.get('Expression') for i in self.children(node, 'Intrinsic')}
        self.variables = {}

    @staticmethod
    def children(node, *names):
        return [child for child in node if path(child.tag) in names]

    def replaced(self, token):
        if token in self.intrinsics:
            return '(%s)' % self.c(self.intrinsics[token])
        if token in self.variables:
            return str(self.variables[token])
        return '$natvis->' + token if token in self.members else token

    def c(self, expression):
        """The expression as GDB understands it."""
        for i, argument in enumerate(self.arguments):
            expression = expression.replace('$T%d' % (i + 1), argument)
        return ''.join(self.replaced(token) for token in TOKEN.findall(quoted(expression)))

    def evaluate(self, expression):
        expression = self.c(expression.strip())
        gdb.set_convenience_variable('natvis', self.value.address)
        return gdb.parse_and_eval(expression)

    def holds(self, node):
        return node.get('Condition') is None or bool(self.evaluate(node.get('Condition')))

    def formatted(self, match):
        expression, length, form = FORMAT.match(match.group(1)).groups()
        value = self.evaluate(expression)
        if form is None:
            return self.file.show(value)
        if form == 'x':
            return '0x%08x' % (int(value) & 0xFFFFFFFF)
        if form == 'd':
            return str(int(value))
        if form == 's' and value.type.code == gdb.TYPE_CODE_ARRAY:
            return '"%s"' % value.string('utf-8')
        if form == 'sub':
            return value.string('utf-16-le') if int(value) else ''
        if length is None:
            return value.format_string(address=False)
        n = int(self.evaluate(length))
        return value.lazy_string(length=n).value().format_string() if n else {'su': 'u""', 's': '""'}[form]

    def summary(self):
        for node in self.children(self.node, 'DisplayString'):
            if self.holds(node):
                return re.sub(r'{([^}]*)}', self.formatted, node.text)
        raise gdb.GdbError('nothing to show of %s' % self.value.type)

    def listed(self, nodes):
        """Texts of the items that the nodes give; an Exec is i++."""
        for node in nodes:
            name = path(node.tag)
            if name in ('Item', 'If', 'ArrayItems', 'CustomListItems', 'ExpandedItem') and not self.holds(node):
                continue
            if name == 'Item':
                text = self.file.show(self.evaluate(node.text))
                yield '%s = %s' % (node.get('Name'), text) if node.get('Name') else text
            elif name == 'ExpandedItem':
                yield from self.file.object(self.evaluate(node.text)).items()
            elif name == 'ArrayItems':
                size, pointer = (self.evaluate(child.text) for child in node)
                for i in range(int(size)):
                    yield self.file.show(pointer[i])
            elif name in ('CustomListItems', 'If'):
                yield from self.listed(node)
            elif name == 'Variable':
                self.variables[node.get('Name')] = int(self.evaluate(node.get('InitialValue')))
            elif name == 'Loop':
                while self.holds(node):
                    yield from self.listed(node)
            elif name == 'Exec':
                self.variables[re.fullmatch(r'(\w+)\+\+', node.text).group(1)] += 1
            else:
                raise gdb.GdbError('unknown element %s' % name)

    def items(self):
        for node in self.children(self.node, 'Expand'):
            yield from self.listed(node)


class File:
    def __init__(self, name):
        self.types = []
        for node in tree.parse(name).getroot():
            pattern = '<(.*)>'.join(re.escape(part) for part in re.split('<[*,]*>', node.get('Name')))
            self.types.append((re.compile(pattern), node))

    def object(self, value):
        """The natvis type of the value or of the nearest base that has one; None: as GDB shows it."""
        kind = value.type.strip_typedefs().unqualified()
        if kind.code != gdb.TYPE_CODE_STRUCT:
            return None
        for pattern, node in self.types:
            match = pattern.fullmatch(kind.name or '')
            if match:
                count = node.get('Name').count('*')
                arguments = [str(kind.template_argument(i)) for i in range(count if match.groups() else 0)]
                return Object(self, value.cast(kind), node, arguments)
        for field in kind.fields():
            if field.is_base_class:
                return self.object(value.cast(field.type))
        return None

    def show(self, value):
        described = self.object(value)
        if described is None:
            return value.format_string()
        items = list(described.items())
        return described.summary() + (' = {%s}' % ', '.join(items) if items else '')
