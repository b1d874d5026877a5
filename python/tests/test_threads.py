"""Several threads: the library's work goes on beside Python's, and what is being written is not changed."""

import sys
import threading

import kwxml
import pytest


def test_writing_holds_changes_off(pets):
    """While one thread writes, others read, and changes raise BusyError or come whole before or after."""
    cat = pets.Cat(kittens=[{"name": "k" * 50, "tags": ["t"] * 20} for _ in range(2000)])
    kitten = cat.kittens[0]
    busy = []
    unexpected = []
    stop = threading.Event()

    def write():
        try:
            while not stop.is_set():
                text = cat.to_xml()
                assert text.count("<kittens") >= 1990
                pets.from_bytes(cat.to_bytes())
        except BaseException as error:
            unexpected.append(error)

    changes = [
        lambda: setattr(cat, "name", "x"),
        lambda: setattr(kitten, "name", "y"),
        lambda: cat.kittens.append({}),
        lambda: cat.kittens.pop(),
        lambda: cat.friends.update(a={}),
        lambda: kitten.tags.append("z"),
        lambda: kitten.tags.pop(),
        lambda: setattr(cat, "mother", None),
    ]
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1e-5)
    threads = [threading.Thread(target=write) for _ in range(2)]
    for thread in threads:
        thread.start()
    try:
        for step in range(100_000):
            try:
                changes[step % len(changes)]()
            except kwxml.BusyError:
                busy.append(step)
            assert len(cat.kittens) >= 1990 and kitten.lives == 9
            if len(busy) > 200:
                break
    finally:
        stop.set()
        for thread in threads:
            thread.join()
        sys.setswitchinterval(interval)
    assert busy and not unexpected
    cat.name = "free again"
    assert pets.from_xml(cat.to_xml()) == cat


def test_two_catalogues_in_two_threads(pets, sample):
    """Each call uses its own catalogue, whatever the other thread does."""
    failed = []

    def work(make, read):
        try:
            for _ in range(2000):
                message = make()
                assert read(message.to_xml()) == message
        except BaseException as error:
            failed.append(error)

    threads = [
        threading.Thread(target=work, args=(lambda: pets.Cat(name="a", kittens=[{}]), pets.from_xml)),
        threading.Thread(target=work, args=(lambda: sample.Types.Leaf(text="b"), sample.from_xml)),
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failed


def test_one_reader_in_two_threads(pets, tmp_path):
    path = tmp_path / "messages"
    with kwxml.record_writer(path) as out:
        for i in range(3000):
            out.write(pets.Cat(name=str(i)))
    reader = kwxml.records(path, pets)
    got = []
    refused = []

    def read():
        while True:
            try:
                got.append(next(reader).name)
            except kwxml.BusyError:
                refused.append(1)
            except StopIteration:
                return

    threads = [threading.Thread(target=read) for _ in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert sorted(got, key=int) == [str(i) for i in range(3000)]


def test_a_buffer_that_changes(pets):
    data = bytearray(pets.Cat(kittens=[{"name": "x"}] * 1000).to_bytes())
    stop = threading.Event()

    def change():
        while not stop.is_set():
            data[20:400] = bytes(len(data[20:400]))
            data.append(0)
            data.pop()

    thread = threading.Thread(target=change)
    thread.start()
    try:
        for _ in range(200):
            try:
                pets.from_bytes(data, lenient=True)
            except (kwxml.DecodeError, BufferError):
                pass
    finally:
        stop.set()
        thread.join()


def test_differences_while_another_thread_changes(pets):
    left = pets.Cat(kittens=[pets.Cat(name=f"k{i}") for i in range(300)])
    right = pets.Cat(kittens=[pets.Cat(name=f"z{i}") for i in range(300)])
    ended = threading.Event()

    def change():
        while not ended.is_set():
            left.kittens = [pets.Cat(name="x", tags=["y" * 60])] * 30

    thread = threading.Thread(target=change)
    thread.start()
    try:
        assert all(left.diff(right) for _ in range(30))
    finally:
        ended.set()
        thread.join()
