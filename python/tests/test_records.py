"""Files of messages."""

import io
import os

import kwxml
import pytest


def write(path, messages, **options):
    with kwxml.record_writer(path, **options) as out:
        for message in messages:
            out.write(message)
    return path.read_bytes()


@pytest.mark.parametrize("layout", ["records", "batch"])
def test_files(pets, tmp_path, layout):
    path = tmp_path / "messages"
    cats = [pets.Cat(name=f"cat {i}", tags=["x"] * (i + 1)) for i in range(20)]
    data = write(path, cats[:15], layout=layout)
    data = write(path, cats[15:], layout=layout, append=True, durable=True)
    assert list(kwxml.records(path, pets)) == list(pets.records(path, layout=layout)) == cats
    with path.open("rb") as file:
        assert list(pets.batch(file)) == cats
        file.seek(5)
        assert list(pets.batch(file)) == cats
    spread = memoryview(b"".join(bytes([byte, 0]) for byte in data))[::2]
    for source in (path, data, bytearray(data), memoryview(data), spread, io.BytesIO(data)):
        assert list(pets.batch(source)) == cats
    reader = kwxml.records(path, pets)
    next(reader)
    first = reader.offset
    next(reader)
    assert reader.offset > first
    reader.close()
    with pytest.raises(ValueError, match="the file is closed"):
        next(reader)
    empty = tmp_path / "empty"
    empty.write_bytes(b"")
    assert list(kwxml.records(empty, pets)) == []
    assert write(empty, [], layout=layout) == b"" and list(pets.batch(empty)) == []


def test_paths_of_any_bytes(pets, tmp_path):
    path = os.fsencode(tmp_path) + b"/m\xe4\xff"
    for name in (path, os.fsdecode(path)):
        with kwxml.record_writer(name) as out:
            out.write(pets.Cat(name="Tom"))
        assert os.listdir(os.fsencode(tmp_path)) == [b"m\xe4\xff"]
        assert [cat.name for cat in kwxml.records(name, pets)] == ["Tom"]
        with pytest.raises(ValueError, match="m\udce4\udcff: the file is closed"):
            out.write(pets.Cat())
        with pytest.raises(FileNotFoundError) as raised:
            kwxml.records(name + name[-1:], pets)
        assert raised.value.filename == os.fsdecode(path) + "\udcff"


@pytest.mark.parametrize("layout", ["records", "batch"])
def test_damage(pets, tmp_path, layout):
    path = tmp_path / "messages"
    cats = [pets.Cat(name=f"cat {i}") for i in range(3)]
    data = write(path, cats, layout=layout)
    reader = pets.batch(data)
    next(reader), next(reader)
    begin_of_second = reader.offset
    for end in range(len(data)):
        got = []
        try:
            for cat in pets.batch(data[:end], layout=layout):
                got.append(cat)
        except kwxml.DecodeError as error:
            assert 0 <= error.offset <= end and f"offset {error.offset}" in str(error)
        assert got == cats[: len(got)]
    for at in range(len(data)):
        try:
            for cat in pets.batch(data[:at] + bytes([data[at] ^ 0x55]) + data[at + 1 :], lenient=True):
                repr(cat)
        except kwxml.DecodeError:
            pass
    # A record that does not decode is passed over.
    bad = bytearray(data)
    bad[begin_of_second + 8 : begin_of_second + 12] = b"\0\0\0\1"
    reader = pets.batch(bad)
    assert next(reader) == cats[0]
    with pytest.raises(kwxml.DecodeError) as raised:
        next(reader)
    assert raised.value.offset >= begin_of_second
    path.write_bytes(data[:-2])
    with kwxml.record_writer(path, layout=layout, append=True) as out:
        assert out.cut > 0
        out.write(cats[0])
    assert list(pets.records(path)) == [*cats[:2], cats[0]]


def test_misuse(pets, types, tmp_path):
    path = tmp_path / "messages"
    with pytest.raises(ValueError, match="'records' or 'batch'"):
        kwxml.record_writer(path, layout="xml")
    with pytest.raises(OSError):
        kwxml.record_writer(tmp_path)
    out = kwxml.record_writer(path, layout="batch")
    for wrong in (None, 5, b""):
        with pytest.raises(TypeError, match="expected a message"):
            out.write(wrong)
    with pytest.raises(kwxml.EncodeError, match="up to 9999"):
        out.write(pets.Cat(name="x" * 10_000))
    out.close()
    with pytest.raises(ValueError, match="closed"):
        out.write(pets.Cat())
    with pytest.raises(kwxml.DecodeError, match="neither"):
        pets.batch(b"something else entirely")
    with pytest.raises(TypeError):
        pets.batch(5)
    with pytest.raises(ValueError):
        pets.batch(b"", strict=True, lenient=True)
    mixed = write(path, [pets.Cat(), types.Leaf()])
    reader = pets.batch(mixed)
    assert next(reader) == pets.Cat()
    with pytest.raises(kwxml.DecodeError):
        next(reader)


@pytest.mark.parametrize("layout, other", [("records", "batch"), ("batch", "records")])
def test_appending_keeps_the_layout(pets, tmp_path, layout, other):
    path = tmp_path / "messages"
    with kwxml.record_writer(path, layout=layout) as out:
        out.write(pets.Cat(name="Tom"))
    before = path.read_bytes()
    with pytest.raises(ValueError, match="nothing is appended in the other layout"):
        kwxml.record_writer(path, layout=other, append=True)
    assert path.read_bytes() == before
