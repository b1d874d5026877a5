"""Classes, messages, catalogues, and what reading and writing say."""

import copy
import os
import pickle
import shutil

import kwxml
import pytest


def test_classes(pets):
    assert pets.Cat is pets.Pets.Cat is pets["Pets_Cat"] and issubclass(pets.Cat, kwxml.Message)
    assert "A cat." in pets.Cat.__doc__ and "What it is called." in pets.Cat.name.__doc__
    assert {"Cat", "Dog", "Colour", "Pets"} <= set(dir(pets)) and {"name", "lives"} <= set(dir(pets.Cat))
    assert set(pets) == {"Pets_Cat", "Pets_Dog", "Pets_Colour"} and "Pets_Cat" in pets and "Pets_Cow" not in pets
    assert set(pets.Pets) == {"Cat", "Dog", "Colour"} and pets.Pets.__doc__ == "Animals at home."
    cat = pets.Cat(name="Tom")
    assert cat.lives == 9 and pets.Cat(lives=None).lives is None and cat.mother is None and cat.tags == []
    assert repr(cat) == "Pets.Cat(name='Tom', lives=9)"
    assert cat == pets.Cat(name="Tom") != pets.Dog(name="Tom")
    assert cat["name"] == "Tom" and not cat.is_set("tags")
    assert not any(HALF in names for names in (pets, pets.Pets, cat.friends)) and not hasattr(cat, HALF)


HALF = "\ud800"  # half a character, which has no UTF-8

MISUSE = [
    (lambda p: p.Cat(nmae="x"), TypeError, "Pets.Cat has no field 'nmae'; did you mean 'name'"),
    (lambda p: p.Cat("Tom"), TypeError, "by their names"),
    (lambda p: p.Cat().nmae, AttributeError, "did you mean 'name'"),
    (lambda p: setattr(p.Cat(), "nmae", 1), AttributeError, "did you mean 'name'"),
    (lambda p: p.Cat()["nmae"], KeyError, "did you mean 'name'"),
    (lambda p: p.Cat()[1], TypeError, "named by str"),
    (lambda p: p.Catt, AttributeError, "did you mean 'Cat'"),
    (lambda p: p.Pets.Catt, AttributeError, "did you mean 'Cat'"),
    (lambda p: p.Pets["Catt"], KeyError, "did you mean 'Cat'"),
    (lambda p: p["Pets_Catt"], KeyError, "did you mean 'Pets_Cat'"),
    (lambda p: p.Cat(**{HALF: 1}), TypeError, r"Pets.Cat has no field '\ud800'"),
    (lambda p: getattr(p.Cat(), HALF), AttributeError, r"no field '\ud800'"),
    (lambda p: setattr(p.Cat(), HALF, 1), AttributeError, r"no field '\ud800'"),
    (lambda p: delattr(p.Cat(), HALF), AttributeError, r"no field '\ud800'"),
    (lambda p: p.Cat().is_set("nam" + HALF), KeyError, "did you mean 'name'"),
    (lambda p: p.Cat.from_dict({HALF: 1}), KeyError, "no field"),
    (lambda p: getattr(p, HALF), AttributeError, r"has no '\ud800'"),
    (lambda p: getattr(p.Pets, HALF), AttributeError, r"has no '\ud800'"),
    (lambda p: p["Pets_" + HALF], KeyError, "Pets_"),
    (lambda p: p.Pets[HALF], KeyError, "no class"),
    (lambda p: p.Cat(colour=HALF), ValueError, r"'\ud800' is no enumerator"),
    (lambda p: kwxml.records("/dev/null", p, layout=HALF), ValueError, r"not '\ud800'"),
    (lambda p: kwxml.records("/dev/null", p, layout=5), TypeError, "not 5"),
    (lambda p: hash(p.Cat()), TypeError, "unhashable"),
    (lambda p: iter(p.Cat()), TypeError, "not iterable"),
    (lambda p: kwxml.Message(), TypeError, "no class of a catalogue"),
    (lambda p: kwxml.Message.from_xml("<a/>"), TypeError, "no class of a catalogue"),
    (lambda p: kwxml.List(), TypeError, "cannot create"),
    (lambda p: type("Lion", (p.Cat,), {}), TypeError, "not an acceptable base"),
    (lambda p: setattr(p.Cat, "name", 1), TypeError, "immutable"),
    (lambda p: setattr(p.Cat(), "mother", p.Dog()), TypeError, "expected Pets.Cat, got Pets.Dog"),
    (lambda p: setattr(p.Cat(), "__class__", p.Dog), TypeError, "__class__"),
    (lambda p: setattr(p.Cat().tags, "__class__", kwxml.Map), TypeError, "__class__"),
    (lambda p: setattr(kwxml.records("/dev/null", p), "__class__", kwxml.RecordWriter), TypeError, "__class__"),
    (lambda p: type("Reader", (kwxml.RecordReader,), {}), TypeError, "not an acceptable base"),
    (lambda p: kwxml.RecordReader(p, "/dev/null"), TypeError, "cannot create"),
    (lambda p: kwxml.RecordReader.__new__(kwxml.RecordReader), TypeError, "not safe"),
    (lambda p: object.__new__(p.Cat), TypeError, "not safe"),
    (lambda p: object.__new__(kwxml.List), TypeError, "not safe"),
    (lambda p: p.Cat().diff(1), TypeError, "takes a message"),
    (lambda p: p.Cat.from_dict([1]), TypeError, "expected a mapping"),
    (lambda p: p.Cat.name.__get__(p.Dog()), TypeError, "doesn't apply"),
    (lambda p: kwxml.fields(p.Colour), TypeError, "class of messages"),
    (lambda p: kwxml.Catalogue(), TypeError, "schema files"),
    (lambda p: kwxml.Catalogue(1), TypeError, "PathLike"),
    (lambda p: kwxml.Catalogue("/nowhere/x.xml"), kwxml.CatalogueError, "No such file"),
    (lambda p: kwxml.Catalogue("/nowhere/x.so"), kwxml.CatalogueError, "No such file"),
    (lambda p: kwxml.Catalogue.__new__(kwxml.Catalogue), TypeError, "schema files"),
    (lambda p: kwxml.records("/nowhere", p), OSError, "No such file"),
    (lambda p: kwxml.records("/dev/null", 7), TypeError, "expected a catalogue"),
]


@pytest.mark.parametrize("call, error, text", MISUSE)
def test_misuse(pets, call, error, text):
    with pytest.raises(error) as raised:
        call(pets)
    assert text in str(raised.value)


BAD_INPUT = [
    ("from_xml", "", 1, ""),
    ("from_xml", "<Pets_Cat", 1, ""),
    ("from_xml", "<Pets_Cow/>", 1, ""),
    ("from_xml", "<Pets_Colour/>", 0, ""),
    ("from_xml", '<Pets_Cat>\n <mother lives="x"/></Pets_Cat>', 2, "mother.lives"),
    ("from_xml", '<Pets_Cat lives="3000000000"/>', 1, "lives"),
    ("from_xml", "<Pets_Cat\0/>", 1, ""),
    ("from_xml", f"<Pets_Cat>\n<name>{HALF}</name></Pets_Cat>", 2, ""),
    ("from_json", f'{{"Pets_Cat":\n{{"name":"{HALF}"}}}}', 2, ""),
    ("from_xml", '<?xml version="1.0" encoding=""?><Pets_Cat/>', 1, ""),
    ("from_xml", '<!DOCTYPE a [<!ENTITY b "c">]><Pets_Cat name="&b;"/>', 1, ""),
    ("from_xml", "<Pets_Cat>" + "<mother>" * 100 + "</mother>" * 100 + "</Pets_Cat>", 1, None),
    ("from_json", "{", 1, ""),
    ("from_json", '{"Pets_Cat":{"lives":"x"}}', 1, "lives"),
    ("from_json", '{"Pets_Cow":{}}', 1, ""),
    ("from_bytes", b"", 0, ""),
    ("from_bytes", b"\2\0\1\0", 0, ""),
    ("from_bytes", bytes(200), 0, ""),
]


@pytest.mark.parametrize("read, data, line, path", BAD_INPUT)
def test_bad_input(pets, read, data, line, path):
    for reader in (pets, pets.Cat):
        with pytest.raises(kwxml.DecodeError) as raised:
            getattr(reader, read)(data)
        error = raised.value
        listed = []
        with pytest.raises(kwxml.DecodeError):
            getattr(reader, read)(data, problems=listed)
        assert listed == error.problems
        assert error.line == line and error.problems and str(error)
        if path is not None:
            assert error.path == path
        again = pickle.loads(pickle.dumps(error))
        assert (again.line, again.problems, str(again)) == (error.line, error.problems, str(error))


def test_every_cut_of_the_binary_form(pets):
    data = pets.Cat(name="Tom", kittens=[{"name": "a"}, {"tags": ["x"]}], friends={"b": {"lives": 1}}).to_bytes()
    for end in range(len(data)):
        problems = []
        try:
            message = pets.from_bytes(data[:end], lenient=True, problems=problems)
            assert message.to_dict() is not None
        except kwxml.DecodeError as error:
            assert error.problems
    for at in range(len(data)):
        try:
            repr(pets.from_bytes(data[:at] + bytes([data[at] ^ 255]) + data[at + 1 :]))
        except kwxml.DecodeError as error:
            assert error.problems


def test_leniency(pets):
    with pytest.raises(kwxml.DecodeError, match="line 1, column 18: lives: 'x' is no int") as raised:
        pets.from_xml("<Pets_Cat lives='x' nam='a'/>")
    assert (raised.value.column, raised.value.problems[1].severity) == (18, "warning")
    problems = []
    cat = pets.from_xml("<Pets_Cat name='a' lives='x'/>", lenient=True, problems=problems)
    assert cat.name == "a" and [p.path for p in problems] == ["lives"]
    assert pets.from_xml("<Pets_Cat nam='a'/>").name is None
    with pytest.raises(kwxml.DecodeError, match="did you mean 'name'"):
        pets.from_xml("<Pets_Cat nam='a'/>", strict=True)
    with pytest.raises(ValueError):
        pets.from_xml("<Pets_Cat/>", strict=True, lenient=True)
    with pytest.raises(TypeError):
        pets.from_xml("<Pets_Cat/>", problems=())
    with pytest.raises(kwxml.DecodeError, match="expected a Pets_Dog, found a Pets_Cat"):
        pets.Dog.from_xml("<Pets_Cat/>")
    with pytest.raises(kwxml.DecodeError, match="memory"):
        pets.from_xml("<Pets_Cat>" + "<kittens/>" * 1000 + "</Pets_Cat>", memory_limit=1000)


def test_inputs(pets):
    for data in ("<Pets_Cat name='ü'/>", "<Pets_Cat name='ü'/>".encode(), bytearray("<Pets_Cat name='ü'/>".encode()),
                 '<?xml version="1.0" encoding="UTF-8"?><Pets_Cat name="ü"/>',
                 '<?xml version="1.0" encoding="ISO-8859-1"?><Pets_Cat name="ü"/>'.encode("latin-1")):
        assert pets.from_xml(data).name == "ü"
    data = pets.Cat(name="Tom").to_bytes()
    assert pets.from_bytes(memoryview(b"".join(bytes([byte, 0]) for byte in data))[::2]).name == "Tom"
    for mark in ("", "\ufeff"):  # a str is text, whatever marks and names of encodings are left in it
        assert pets.from_xml(mark + '<?xml version="1.0" encoding="utf-8"?><Pets_Cat name="ü"/>').name == "ü"
        assert pets.from_json(mark + '{"Pets_Cat":{"name":"ü"}}').name == "ü"
        assert pets.from_xml(mark + '<?xml-stylesheet encoding="x"?><Pets_Cat name="ü"/>').name == "ü"
        for other in ("ISO-8859-1", "UTF-16"):
            with pytest.raises(kwxml.DecodeError, match="line 2, column 12: .*as bytes"):
                pets.from_xml(f'{mark}<?xml version="1.0"\n encoding="{other}"?><Pets_Cat/>')
        with pytest.raises(kwxml.DecodeError, match="line 1, column 18"):
            pets.from_xml(mark + '<Pets_Cat lives="x"/>')
    for read in (pets.from_xml, pets.from_json, pets.from_bytes):
        for wrong in (None, 5, pets.Cat()):
            with pytest.raises(TypeError, match="bytes"):
                read(wrong)


def test_outputs(pets):
    cat = pets.Cat(name="T", lives=None, colour="RED", born=1767222000)
    assert cat.to_xml(declaration=False) == '<Pets_Cat born="1767222000" colour="1" name="T"/>'
    assert "<name>T</name>" in cat.to_xml(elements=True)
    assert 'colour="RED"' in cat.to_xml(enum_names=True)
    assert cat.to_xml().startswith("<?xml") and "\n" in cat.to_json(readable=True)
    with pytest.raises(TypeError):
        cat.to_xml(True)


def test_copies(pets):
    cat = pets.Cat(name="Tom", kittens=[{"name": "a"}])
    for other in (kwxml.Message.copy(cat), copy.copy(cat), copy.deepcopy(cat), pickle.loads(pickle.dumps(cat))):
        assert other == cat and other is not cat and type(other) is type(cat)
        other.kittens[0].name = "b"
        assert cat.kittens[0].name == "a"
        assert cat.diff(other) == [kwxml.Difference("kittens[0].name", '"a"', '"b"')]
    assert cat.diff(pets.Cat(name="Tom"))[0].after is None
    cat.copy = 5  # a field of that name stands before the method
    assert cat.copy == 5 and copy.copy(cat).copy == 5
    assert copy.copy(cat.kittens) == [pets.Cat(name="a")] and copy.deepcopy(pets.Cat(friends={"a": cat}).friends)


def test_recursion(pets):
    cat = pets.Cat()
    cat.mother = cat
    assert cat.mother.mother is None
    cat.kittens = [cat, cat]
    cat.friends["self"] = cat
    assert len(cat.friends["self"].kittens) == 2 and len(cat.friends["self"].friends) == 0
    loop = {}
    loop["mother"] = loop
    with pytest.raises(RecursionError):
        pets.Cat(mother=loop)
    deep = at = pets.Cat()
    for _ in range(3000):
        at.mother = {}
        at = at.mother
    for call in (repr, kwxml.Message.to_dict):
        with pytest.raises(RecursionError):
            call(deep)
    with pytest.raises(kwxml.EncodeError):
        deep.to_xml()
    assert kwxml.Message.copy(deep) == deep


def test_libraries_and_builtin(library):
    builtin = kwxml.builtin()
    assert builtin is kwxml.builtin() and "KwEntities_ProcessingInstructionInfo" in builtin
    if library:
        catalogue = kwxml.Catalogue(library)
        item = catalogue.Demo.Item(name="Saw", price=1.5, tags=["a"])
        assert catalogue.from_xml(item.to_xml()) == item and pickle.loads(pickle.dumps(item)) == item


def test_schema_errors(tmp_path):
    (tmp_path / "a.xml").write_text('<catalogue><system name="A" index="900"/></catalogue>')
    with pytest.raises(kwxml.CatalogueError) as raised:
        kwxml.Catalogue(tmp_path)
    assert any("a.xml:1:" in line for line in raised.value.lines)


def test_other_catalogues(pets, sample, tmp_path):
    twin = kwxml.Catalogue(*pets.sources[1:])
    copied = os.fsencode(tmp_path) + b"/P\xe4.xml"
    shutil.copy(pets.sources[1], copied)
    for path, text in ((copied, r"of the catalogue of .*Pets.xml, got .* of that of .*P\\udce4.xml"),
                       (os.fsdecode(copied), "that of"), (pets.sources[1], "of the same sources")):
        other = kwxml.Catalogue(path)
        with pytest.raises(TypeError, match="expected Pets.Cat .*" + text if "same" not in text else text):
            pets.Cat().mother = other.Cat()
        with pytest.raises(TypeError, match="expected Colour"):
            pets.Cat().colour = other.Colour.RED
    with pytest.raises(TypeError):
        pets.Cat(kittens=[twin.Cat()])
    assert twin.Cat() != pets.Cat() and not twin.Cat() == pets.Cat()
    assert sample.Types.Leaf(number=1).diff(pets.Cat())
    for name in sample:
        cls = sample[name]
        if issubclass(cls, kwxml.Message) and all(field.kind != "password" for field in kwxml.fields(cls)):
            message = cls()
            assert sample.from_json(message.to_json()) == message, name


def test_deep_messages(pets):
    cat = inner = pets.Cat()
    for _ in range(5000):
        inner.mother = {}
        inner = inner.mother
    other = kwxml.Message.copy(cat)
    assert cat == other and cat.diff(other) == []
    inner.name = "deep"
    (found,) = cat.diff(other)
    assert found.path == ".".join(["mother"] * 256) and found.before == "(nested too deep)"


def test_names_that_enumerations_cannot_have(tmp_path):
    names = ["mro", "mro_", "real", "None", "_F__y", "__x", "_ignore_", "same"]
    schema = tmp_path / "N.xml"
    schema.write_text(
        '<catalogue><system name="N" index="12"><enum name="F" id="0x1">'
        + "".join(f'<enumerator name="{name}" value="{i}"/>' for i, name in enumerate(names))
        + '</enum><message name="H" id="0x2"><field name="f" type="enum" class="N_F"/></message></system></catalogue>'
    )
    catalogue = kwxml.Catalogue(schema)
    for number, name in enumerate(names):
        holder = catalogue.H(f=name)
        assert holder.f == number and holder.f is catalogue.F(number)


def test_exceptions_of_the_caller_stay(pets):
    def stops():
        raise KeyboardInterrupt
        yield

    for field in ("friends", "tags", "kittens"):
        with pytest.raises(KeyboardInterrupt):
            setattr(pets.Cat(), field, stops())
    with pytest.raises(ValueError, match="zero byte"):
        kwxml.record_writer("/nowhere\0/file")
    for limit in (-1, 2**64):
        with pytest.raises(OverflowError):
            pets.from_xml("<Pets_Cat/>", memory_limit=limit)
    with pytest.raises(OverflowError, match="huge"):
        pets.Cat(lives=10**5000)
