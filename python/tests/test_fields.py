"""Values of all field types: what is taken, what is refused, and what the forms keep."""

import datetime
import enum
import math

import kwxml
import pytest

UTC = datetime.timezone.utc
MOMENT = datetime.datetime(2026, 1, 31, 7, 5, 0, tzinfo=UTC)
LEAF = {"number": 7, "text": "leaf"}

# Field of Types_AllTypes, values that it takes, and whether the binary form does not keep them.
VALUES = [
    ("intValue", [0, -(2**31), 2**31 - 1, True], False),
    ("uintValue", [0, 2**32 - 1], False),
    ("longValue", [-(2**63), 2**63 - 1], True),
    ("ulongValue", [2**64 - 1], True),
    ("longlongValue", [-(2**63), 2**63 - 1], False),
    ("ulonglongValue", [2**64 - 1], True),
    ("boolValue", [True, False], False),
    ("stringValue", ["x", "Käse ✓ \U0001f600", "a\nb\t"], False),
    ("wstringValue", ["Käse ✓ \U0001f600"], True),
    ("doubleValue", [0.1, -0.0, math.inf, 5e-324, 7], False),
    ("floatValue", [0.5, -math.inf, 3], False),
    ("bstringValue", [b"ab\xff", bytearray(b"xy"), memoryview(b"abc")[1:], memoryview(b"abcde")[::-2]], False),
    ("time32Value", [0, -(2**31)], False),
    ("time64Value", [2**40], False),
    ("enumValue", [0, "MIDDLE", -3, 2**31 - 1], False),
    ("objectValue", [LEAF, {}], False),
    ("pstringValue", ["secret"], False),
    ("intList", [[1, -1], (2,), range(3)], False),
    ("uintList", [[2**32 - 1]], False),
    ("longList", [[2**63 - 1]], True),
    ("ulongList", [[2**64 - 1]], True),
    ("longlongList", [[-(2**63)]], False),
    ("ulonglongList", [[2**64 - 1]], True),
    ("stringList", [["a", "ü"]], False),
    ("wstringList", [["a", "ü"]], True),
    ("bstringList", [[b"a", b"\xff"]], False),
    ("boolList", [[True, False]], False),
    ("floatList", [[0.5, -1.5]], False),
    ("doubleList", [[0.1, 1e300]], False),
    ("enumList", [["LOW", 5, -3]], False),
    ("objectList", [[LEAF, {"number": 2}]], False),
    ("longlongLonglongMap", [{1: 2, -(2**63): 2**63 - 1}], False),
    ("longlongStringMap", [{5: "five"}], False),
    ("longlongObjectMap", [{5: LEAF}], False),
    ("stringLonglongMap", [{"a": 1, "ü": 2}], False),
    ("stringStringMap", [{"a": "b"}], False),
    ("stringObjectMap", [{"a": LEAF}], False),
    ("objectObjectMap", [[({"key": "k"}, LEAF)]], False),
]


def plain(value):
    """A value as it reads: as what it was set to, in Python's own types."""
    if isinstance(value, kwxml.Message):
        return {name: plain(part) for name, part in value.to_dict().items()}
    if isinstance(value, kwxml.List):
        return [plain(element) for element in value]
    if isinstance(value, kwxml.Map):
        entries = [(plain(key), plain(element)) for key, element in value.items()]
        return entries if any(isinstance(key, dict) for key, _ in entries) else dict(entries)
    return value


def expected(cls, value):
    if isinstance(value, (tuple, range)):
        value = list(value)
    if isinstance(value, str) and issubclass(cls, enum.IntEnum):
        return cls[value]
    if isinstance(value, list) and issubclass(cls, enum.IntEnum):
        return [expected(cls, element) for element in value]
    return bytes(value) if isinstance(value, (bytearray, memoryview)) else value


@pytest.mark.parametrize("name, values, lossy", VALUES, ids=[row[0] for row in VALUES])
def test_every_type_is_kept(sample, types, name, values, lossy):
    level = types.Level if "enum" in name else object
    for value in values:
        message = types.AllTypes(**{name: value})
        assert message.is_set(name) and message[name] is not None
        assert plain(getattr(message, name)) == expected(level, value)
        if name.startswith("wstring"):  # which XML does not have
            with pytest.raises(kwxml.EncodeError, match=name):
                message.to_xml(check=True)
        else:
            assert types.AllTypes.from_xml(message.to_xml(enum_names=True, check=True)) == message
            assert types.AllTypes.from_xml(message.to_xml(elements=True, enum_names=True)) == message
        assert sample.from_json(message.to_json()) == message
        assert types.AllTypes.from_dict(message.to_dict()) == message
        assert message.copy() == message and message.copy() is not message
        if lossy:
            with pytest.raises(kwxml.EncodeError, match=name):
                message.to_bytes(check=True)
        else:
            assert sample.from_bytes(message.to_bytes(check=True)) == message
        setattr(message, name, None)
        assert not message.is_set(name) and message == types.AllTypes()


EMPTY = {"stringValue": "", "wstringValue": "", "bstringValue": b"", "stringList": ["a", ""], "intList": [], "objectList": []}


@pytest.mark.parametrize("name, value", EMPTY.items())
def test_empty_is_not_unset(types, name, value):
    message = types.AllTypes(**{name: value})
    assert message[name] == value and message.is_set(name) and message != types.AllTypes()
    assert types.AllTypes.from_json(message.to_json()) == message


def test_all_types_are_in_the_table(types):
    names = {field.name for field in kwxml.fields(types.AllTypes)}
    assert names == {row[0] for row in VALUES}


REFUSED = [
    ("intValue", 2**31, OverflowError, "-2147483648 to 2147483647"),
    ("intValue", 10**30, OverflowError, "out of range"),
    ("uintValue", -1, OverflowError, "0 to 4294967295"),
    ("ulongValue", 2**64, OverflowError, "0 to 18446744073709551615"),
    ("ulonglongValue", -1, OverflowError, "out of range"),
    ("time32Value", 2**31, OverflowError, "out of range"),
    ("intValue", 1.0, TypeError, "Types.AllTypes.intValue: expected int, got float"),
    ("intValue", "1", TypeError, "expected int, got str"),
    ("boolValue", 1, TypeError, "expected bool, got int"),
    ("stringValue", b"x", TypeError, "expected str, got bytes"),
    ("stringValue", "\ud800", UnicodeEncodeError, "surrogate"),
    ("doubleValue", "1", TypeError, "expected float, got str"),
    ("floatValue", 1e39, OverflowError, "out of range"),
    ("bstringValue", "x", TypeError, "expected bytes, got str"),
    ("enumValue", "LOWER", ValueError, "'LOWER' is no enumerator; did you mean 'LOW'"),
    ("enumValue", 2**31, OverflowError, "out of range"),
    ("enumValue", True, TypeError, "expected"),
    ("objectValue", 7, TypeError, "expected Types.Leaf, got int"),
    ("objectValue", {"numbr": 1}, KeyError, "did you mean 'number'"),
    ("intList", [1, "x"], TypeError, "expected int, got str"),
    ("intList", 5, TypeError, "expected list, got int"),
    ("stringList", "abc", TypeError, "expected list, got str"),
    ("stringStringMap", {"a": 1}, TypeError, "expected str, got int"),
    ("stringStringMap", {1: "a"}, TypeError, "expected str, got int"),
    ("stringStringMap", 5, TypeError, "expected dict, got int"),
    ("stringStringMap", [("a",)], TypeError, "pairs"),
    ("objectObjectMap", [({"key": "a"}, {}), ({"key": "b"}, {})], ValueError, "one entry"),
]


@pytest.mark.parametrize("name, value, error, text", REFUSED)
def test_refused(types, name, value, error, text):
    message = types.AllTypes(stringValue="kept")
    before = message.copy()
    with pytest.raises(error) as raised:
        setattr(message, name, value)
    assert text in str(raised.value)
    assert message == before
    with pytest.raises(error):
        types.AllTypes(**{name: value})


def test_enumerations(types, pets):
    message = types.AllTypes(enumValue=types.Level.HIGH)
    assert message.enumValue is types.Level.HIGH and isinstance(types.Level.HIGH, enum.IntEnum)
    message.enumValue = 4711  # of a later version, say
    assert message.enumValue == 4711 and type(message.enumValue) is int
    with pytest.raises(TypeError, match="expected Level, got Colour"):
        message.enumValue = pets.Colour.RED
    assert pets.Colour.mro_ == 3 and pets.Colour.__doc__ == "Of the fur."


def test_dates(types, pets):
    cat = pets.Cat(born=MOMENT)
    assert cat.born == MOMENT and cat.born.tzinfo is UTC
    cat.born = MOMENT.astimezone(datetime.timezone(datetime.timedelta(hours=-5)))
    assert cat.born == MOMENT
    cat.born = 0
    assert cat.born == datetime.datetime(1970, 1, 1, tzinfo=UTC)
    cat.born = -62135596800
    assert cat.born.year == 1
    cat.born = 2**60  # no year of Python's
    assert cat.born == 2**60
    for wrong in (MOMENT.replace(tzinfo=None), MOMENT.replace(microsecond=1), MOMENT.date(), "2026"):
        with pytest.raises(TypeError, match="time zone"):
            cat.born = wrong
    with pytest.raises(OverflowError):
        types.Annotated(dateOnly=datetime.datetime(2100, 1, 1, tzinfo=UTC))


def test_passwords(types):
    message = types.AllTypes(pstringValue="secret")
    assert message.pstringValue == "secret" and "secret" not in repr(message) + repr(message.pstringValue)
    assert message.pstringValue.type is kwxml.PasswordType.PLAIN_TEXT
    assert "secret" not in message.to_xml(mask_passwords=True) + message.to_json(mask_passwords=True)
    protected = kwxml.Password("text", kwxml.PasswordType.SESSION_ENCRYPTION)
    message.pstringValue = protected
    assert message.pstringValue.type is kwxml.PasswordType.SESSION_ENCRYPTION
    for write in (message.to_xml, message.to_json, message.to_bytes):  # nobody here can undo what protects it
        with pytest.raises(kwxml.EncodeError, match="1 value cannot be written"):
            write()
        assert write(lenient=True)
    report = types.Report(secretWord="hush", secretWords=["hush"], secretLevel=100, title="t")
    assert "hush" not in repr(report) + repr(report.secretWords) and "100" not in repr(report)
    assert "title='t'" in repr(report)


def test_bytes_that_are_no_text(types):
    leaf = types.Leaf.from_bytes(types.Leaf(text="abc").to_bytes().replace(b"abc", b"a\xffc"))
    assert leaf.text == "a\udcffc"
    again = types.Leaf(text=leaf.text)
    assert again == leaf and again.to_bytes() == leaf.to_bytes()
    with pytest.raises(kwxml.EncodeError):
        leaf.to_xml()


def test_names_that_are_no_identifiers(types):
    names = types.Names(**{"two-words": 1, "class": "c", "reset": 2})
    assert names["two-words"] == getattr(names, "two-words") == 1 and names["class"] == "c"
    names["two.words"] = 3
    del names["class"]
    assert names.to_dict() == {"reset": 2, "two-words": 1, "two.words": 3}
    assert types["class"]["default"] == 1
