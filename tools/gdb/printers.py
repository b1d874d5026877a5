# Shows messages in gdb: their class, their set fields by name, passwords masked.
#
#   source tools/gdb/printers.py        in gdb, for a build tree; an installation has it where gdb looks by itself
#
# It stands among the tools: the library does not need it, and it looks at the library's objects from outside. It calls
# nothing of the program, so that it serves for core files as well, and takes nothing in memory for granted: what is
# damaged or not yet made is shown as "<invalid: ...>".
#
# Where the members of messages and records lie is read off the debug information of whoever uses messages. Known here,
# since programs need not have it: the tables around the records (their layout has a version), the beginning of a
# ClassPlan and of a bstring, and the containers of libstdc++. What a field holds is read off its type's enumerator.
import functools
import struct

import gdb
import gdb.printing
import gdb.types

TABLES_VERSION = 2
SYSTEMS, ROW_SIZE = 206, 40
MOST_NESTING = 64
MOST_TEXT = 1 << 30
MOST_TREE_HEIGHT = 128  # of a red-black tree of 2^64 nodes
PASSWORD = functools.reduce(lambda h, byte: h * 31 + byte, b'Password', 0) & 0xFFFFFF  # nameHash()
MASK = '***'

# By the part of a field type's name: what a number is in a slot of a message, and what in a list or map.
NUMBERS = {
    'INT': ('long long', 'int'),
    'UINT': ('long long', 'unsigned int'),
    'LONG': ('long long', 'long'),
    'ULONG': ('unsigned long long', 'unsigned long'),
    'LONGLONG': ('long long', 'long long'),
    'ULONGLONG': ('unsigned long long', 'unsigned long long'),
    'BOOL': ('long long', 'unsigned int'),
    'ENUM': ('long long', 'unsigned int'),
    'DOUBLE': ('double', 'double'),
    'FLOAT': ('float', 'float'),
    'TIME32': ('long long', None),
    'TIME64': ('long long', None),
    'INT64': (None, 'long long'),
}
# The same of texts: their size, and where the std::string lies in them.
TEXTS = {'STRING': (32, 0), 'WSTRING': (32, 0), 'BSTRING': (40, 8)}


class Invalid(Exception):
    """Memory that cannot be what it should be."""


def attempt(function, *arguments):
    """What the function gives, or the text that says why there is nothing: no printer fails."""
    try:
        return function(*arguments)
    except Exception as error:  # whatever damaged memory leads to
        return f'<invalid: {error}>'


def memory(address, size):
    return bytes(gdb.selected_inferior().read_memory(address, size)) if size > 0 else b''


def word(address, index=0):
    return struct.unpack('=Q', memory(address + 8 * index, 8))[0]


def pointer(address, type_):
    return gdb.Value(address).cast(type_.pointer())


def address_of(value):
    if value.address is None:
        raise Invalid('it does not lie in memory')
    return int(value.address)


def name_at(address):
    return pointer(address, gdb.lookup_type('char')).string('utf-8', 'replace')


def text(address, character='char'):
    """A std::string or std::wstring: its begin, its length, and its capacity or the characters themselves."""
    begin, length = word(address), word(address, 1)
    character = gdb.lookup_type(character)
    if length > (16 // character.sizeof - 1 if begin == address + 16 else min(word(address, 2), MOST_TEXT)):
        raise Invalid(f'a string of {length} characters')
    memory(begin, 1)
    return pointer(begin, character).lazy_string(length=length)


def list_items(vector, size):
    """The addresses of a std::vector's items."""
    begin, end = word(vector), word(vector, 1)
    if not begin <= end <= word(vector, 2) or (end - begin) % size != 0:
        raise Invalid('a damaged list')
    if begin < end:
        memory(begin, 1)
        memory(end - 1, 1)
    return range(begin, end, size)


def map_items(tree):
    """The addresses of a std::map's pairs, in order."""
    node, size, path, seen = word(tree, 2), word(tree, 5), [], set()
    while path or node != 0:
        while node != 0:
            if node in seen or len(seen) >= size or len(path) >= MOST_TREE_HEIGHT:
                raise Invalid('a damaged map')
            seen.add(node)
            path.append(node)
            node = word(node, 2)
        node = path.pop()
        yield node + 32
        node = word(node, 3)


def type_name(record):
    """The enumerator of a field's type, whatever form of numbers the user prints in."""
    number = int(record['type'])
    for enumerator in record['type'].type.strip_typedefs().fields():
        if enumerator.enumval == number:
            return enumerator.name
    raise Invalid(f'a field of type {number}')


def has_password_annotation(record):
    """Or annotations that are cut short, so that nobody can tell."""
    annotations = int(record['annotations'])
    if annotations == 0:
        return False
    data, at = memory(annotations, int.from_bytes(memory(annotations, 2), 'big')), 6
    for _ in range(data[5] if len(data) >= at else 0):
        end = at + 6 + int.from_bytes(data[at + 4:at + 6], 'big')
        if end > len(data) or int.from_bytes(data[at:at + 4], 'big') == PASSWORD:
            return True
        at = end
    return False


class Message:
    """A message whose parts agree with each other and with the catalogue that it names: what is relied on later is
    checked here. `chain` has the addresses of the messages around it."""

    def __init__(self, value, chain=()):
        self.chain = chain + (address_of(value),)
        if self.chain[-1] in chain or len(chain) >= MOST_NESTING:
            raise Invalid('messages within each other without an end')
        self.size = value.type.sizeof
        self.buffer = value['buffer_']
        self.cls = value['class_']
        self.count = 0
        self.title = '<no class>'
        if int(self.cls) != 0:
            self.check(int(value['tagId_']), int(value['classIndex_']), int(value['plan_']))

    def check(self, tag, index, plan):
        tables = word(word(plan))
        if struct.unpack('=I', memory(tables, 4))[0] != TABLES_VERSION:
            raise Invalid(f'no message, or one of tables that are not of version {TABLES_VERSION}')
        self.rows = word(tables, 3)
        if self.find_class(tag >> 24, index) != self.cls or self.cls['classId'] != tag & 0xFFFFFF:
            raise Invalid('no message, or one whose class is damaged')
        buffer, slots = self.buffer, int(self.cls['numberOfSlots'])
        self.count = int(self.cls['numberOfFields'])
        self.inline = int(buffer['inlineCount_'])
        if (buffer['bitCount_'] != self.count or buffer['slotCount_'] != slots or
                not 0 <= self.inline <= min(slots, buffer['inline_'].type.range()[1] + 1)):
            raise Invalid('a message with the storage of another class')
        self.bits = memory(int(buffer['bits_']), self.count // 8 + 1)
        self.title = name_at(word(self.row(tag >> 24))) + '::' + self.cls['name'].string('utf-8', 'replace')

    def row(self, system):
        if not 0 < system < SYSTEMS:
            raise Invalid(f'a class of system {system}')
        return self.rows + ROW_SIZE * system

    def find_class(self, system, index):
        row = self.row(system)
        if not 0 <= index < struct.unpack('=h', memory(row + 32, 2))[0]:
            raise Invalid(f'class {index} of system {system}')
        return gdb.Value(word(row, 1)).cast(self.cls.type) + index

    def slot(self, number, slots):
        if not 0 <= number <= int(self.buffer['slotCount_']) - slots:
            raise Invalid(f'slot {number}')
        if number < self.inline:
            return address_of(self.buffer['inline_']) + 8 * number
        return int(self.buffer['heap_']) + 8 * (number - self.inline)

    def fields(self):
        """The names and values of the set fields, in the order of the records."""
        for position in range(self.count):
            if self.bits[position // 8] >> position % 8 & 1:
                field = Field(self, self.cls['fields'][position])
                if field.has_storage:
                    yield field.name, attempt(field.value)


class Field:
    """A field of a message, by its record."""

    def __init__(self, message, record):
        self.message = message
        self.record = record
        _, kind, *self.parts = type_name(record).split('_')  # FIELD_MAP_INT64_OBJECT: a map, its keys, its values
        references = [kind, *self.parts].count('ENUM') + [kind, *self.parts].count('OBJECT')
        self.kind = kind
        self.name = name_at(int(record['name']) + 4 * references)
        self.slots = 4 if kind in ('STRING', 'WSTRING') else 1
        self.in_slot = self.slots == 4 or NUMBERS.get(kind, (None,))[0] is not None
        self.has_storage = self.in_slot or kind in ('LIST', 'MAP', 'OBJECT', 'BSTRING', 'PSTRING')

    def value(self):
        if self.kind == 'PSTRING' or has_password_annotation(self.record):
            return MASK
        at = self.message.slot(int(self.record['slot']), self.slots)
        if self.in_slot:
            return self.item(self.kind, at, 0)
        held = word(at)
        if held == 0:
            return 'null'
        if self.kind in ('LIST', 'MAP'):
            return hand_over(int(self.record.address), held, self.message.chain)
        return self.item(self.kind, held, 0)

    def item(self, part, address, place):
        """The value at an address; `place` is 0 in a message, 1 in a list or map."""
        if part == 'OBJECT':
            return hand_over(MESSAGE, address, self.message.chain)
        if part in TEXTS:
            return hand_over(WIDE_TEXT if part == 'WSTRING' else TEXT, address + TEXTS[part][1])
        value = pointer(address, gdb.lookup_type(NUMBERS[part][place])).dereference()
        value.fetch_lazy()
        if part == 'BOOL':
            return {0: 'false', 1: 'true'}.get(int(value), f'{int(value)}')
        return self.enumerator(int(value), place) if part == 'ENUM' else value

    def enumerator(self, number, place):
        if place == 1 and number >= 1 << 31:  # lists have the numbers of enumerators without a sign
            number -= 1 << 32
        reference = memory(int(self.record['name']), 4)
        cls = self.message.find_class(reference[0], int.from_bytes(reference[1:], 'big'))
        for position in range(int(cls['numberOfFields']) if -(1 << 31) <= number < 1 << 31 else 0):
            if cls['fields'][position]['hash'] == number & 0xFFFFFFFF:
                return f"{cls['fields'][position]['name'].string('utf-8', 'replace')} ({number})"
        return f'{number} (no enumerator)'

    def size(self, part):
        if part in TEXTS:
            return TEXTS[part][0]
        return self.message.size if part == 'OBJECT' else gdb.lookup_type(NUMBERS[part][1]).sizeof

    def list_values(self, addresses):
        for address in addresses:
            memory(address, addresses.step)
            yield attempt(self.item, self.parts[0], address, 1)

    def map_values(self, tree):
        for address in map_items(tree):
            yield attempt(self.item, self.parts[0], address, 1)
            yield attempt(self.item, self.parts[1], address + self.size(self.parts[0]), 1)


class Text:
    def __init__(self, shown):
        self.shown = shown

    def to_string(self):
        return self.shown


class Tree(Text):
    """With `children`, a function that gives pairs of name and value, or values alone where there is a hint."""

    def __init__(self, title, hint, children):
        super().__init__(title)
        self.hint = hint
        self.give_children = children

    def display_hint(self):
        return self.hint

    def children(self):
        children = self.give_children()
        try:
            for name, value in children if self.hint is None else ((f'[{i}]', v) for i, v in enumerate(children)):
                yield name, hand_over_words(value) if isinstance(value, str) else value
        except Exception as error:  # as in attempt()
            for name in ('[?]', '[? value]')[:2 if self.hint == 'map' else 1]:
                yield name, f'<invalid: {error}>'


# gdb finds printers by the type of a value alone. What a message holds is handed over to its printer in an array that no
# program has: the record of the field for a list or map, or else what it is, its address, and those of the messages
# around. So are texts: as they are, front ends would take them for arrays of characters.
CARRIER = 'volatile void ***'
MESSAGE, TEXT, WIDE_TEXT, WORDS = range(4)


def hand_over(what, address, chain=()):
    words = (what, address, *chain)
    type_ = gdb.lookup_type('void').volatile().pointer().pointer().pointer()
    return gdb.Value(struct.pack(f'={len(words)}Q', *words), type_.array(len(words) - 1))


def hand_over_words(words):
    data = words.encode()
    return hand_over(WORDS, len(data), struct.unpack(f'={len(data) // 8 + 1}Q', data.ljust(len(data) // 8 * 8 + 8)))


def show_held(value):
    what, address, *chain = (int(value[i]) for i in range(value.type.range()[1] + 1))
    if what == WORDS:
        return Text(struct.pack(f'={len(chain)}Q', *chain)[:address].decode())
    if what in (TEXT, WIDE_TEXT):
        return Text(text(address, 'char' if what == TEXT else 'wchar_t'))
    message_type = gdb.lookup_type('YMMessageBase')
    if what == MESSAGE:
        return show_message(pointer(address, message_type).dereference(), tuple(chain))
    owner = Message(pointer(chain[-1], message_type).dereference(), tuple(chain[:-1]))
    field = Field(owner, pointer(what, owner.cls['fields'].type.target()).dereference())
    if field.kind == 'MAP':
        return Tree(f'[{word(address, 5)}]', 'map', lambda: field.map_values(address))
    items = list_items(address, field.size(field.parts[0]))
    return Tree(f'[{len(items)}]', 'array', lambda: field.list_values(items))


def show_message(value, chain=()):
    message = Message(value, chain)
    return Tree(message.title, None, message.fields)


def show_message_list(value):
    items = list_items(int(value['values_']), gdb.lookup_type('YMMessageBase').sizeof)
    return Tree(f'[{len(items)}]', 'array', lambda: (hand_over(MESSAGE, item) for item in items))


def show_view(member):
    """A view shows what it is a view of, as gdb shows that."""
    return lambda value: gdb.default_visualizer(value[member].dereference())


def show_bytes(value):
    """Also of a pstring, through a pointer to its base."""
    return Text(MASK if value.dynamic_type.name == 'pstring' else text(address_of(value['text_'])))


def generic_type(type_):
    """YMMessageBase, of itself and of wrappers, which add nothing to it; None of other types."""
    if type_.name == 'YMMessageBase':
        return type_
    for base in type_.fields()[:1]:
        if base.is_base_class and base.type.sizeof == type_.sizeof:
            return generic_type(gdb.types.get_basic_type(base.type))
    return None


def printer_of(type_):
    """The function that shows a value of the type; None where gdb does as well."""
    name = type_.name or ''
    if type_.code == gdb.TYPE_CODE_ARRAY:
        return show_held if str(type_.target()) == CARRIER else None
    if type_.code != gdb.TYPE_CODE_STRUCT or not type_.fields():  # of an incomplete type nothing is known
        return None
    if name in ('bstring', 'pstring'):
        return show_bytes if name == 'bstring' else lambda _: Text(MASK)
    if name.startswith(('kwxml::MessageList<', 'kwxml::ConstMessageList<')):
        return show_message_list
    if name.startswith(('kwxml::EnumList<', 'kwxml::ConstEnumList<')):
        return show_view('values_')
    if name.startswith(('kwxml::MessageMap<', 'kwxml::ConstMessageMap<')):
        return show_view('messages_')
    generic = generic_type(type_)
    return generic and (lambda value: show_message(pointer(address_of(value), generic).dereference()))


class Printers(gdb.printing.PrettyPrinter):
    def __call__(self, value):
        show = printer_of(gdb.types.get_basic_type(value.type))
        if show is None:
            return None
        is_reference = value.type.strip_typedefs().code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF)
        shown = attempt(lambda: show(value.referenced_value() if is_reference else value))
        return Text(shown) if isinstance(shown, str) else shown


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers('KwXMLMsgsBase'), replace=True)
