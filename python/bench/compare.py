"""Messages in Python beside xml.etree, lxml and protobuf, in one run. Prints times and ratios.

PYTHONPATH=<build>/python python3 python/bench/compare.py

The documents have the content of bench/Documents.cpp: W1 flat, W2 an order with 100 items, W3 long lists and a map. A
time is the processor time of the fastest of many short repetitions, whose order is mixed at random.
"""

import gc
import importlib
import pathlib
import random
import string
import subprocess
import sys
import tempfile
import time
import xml.etree.ElementTree as etree

import kwxml

try:
    import lxml.etree as lxml
except ImportError:
    lxml = None

BENCH = pathlib.Path(__file__).resolve().parents[2] / "bench"
REPETITIONS = 25
SECONDS = 0.02


def documents():
    """The values of W1, W2 and W3, as dicts."""
    choose = random.Random(20)
    letters = string.ascii_letters + string.digits + " "

    def words(length):
        return "".join(choose.choice(letters) for _ in range(length))

    def number():
        return choose.randrange(-1_000_000, 1_000_000)

    def stamp():
        return 1_700_000_000_000 + choose.randrange(1_000_000_000)

    def amount():
        return choose.randrange(1_000_000) / 100

    def item():
        return {"name": words(12), "price": amount(), "state": choose.randint(1, 3),
                "labels": [words(8) for _ in range(3)], "stock": stamp()}

    flat = {name: number() for name in ("id", "version", "priority", "retries", "line", "channel")}
    flat |= {name: stamp() for name in ("created", "modified", "bytesSent", "bytesReceived")}
    flat |= {"active": True, "urgent": False, "archived": True, "ratio": amount(), "amount": amount(), "state": 1,
             "origin": 3, "code": words(12), "title": words(24), "remark": words(48)}
    address = {"street": words(20), "city": words(12), "postcode": 10_000, "verified": True}
    order = {"number": stamp(), "state": 2, "customer": words(20), "total": amount(), "paid": True, "address": address,
             "items": [item() for _ in range(100)]}
    bulk = {"counts": [number() for _ in range(1000)], "samples": [amount() for _ in range(1000)],
            "names": [words(20) for _ in range(200)], "entries": {words(10): words(10) for _ in range(200)}}
    return {"W1 Flat": flat, "W2 Order": order, "W3 Bulk": bulk}


def protobuf_module(folder):
    """The classes that protoc makes of bench/Bench.proto, and the name of the back end; None where there is none."""
    try:
        from google.protobuf.internal import api_implementation

        subprocess.run(["protoc", f"--proto_path={BENCH}", f"--python_out={folder}", "Bench.proto"], check=True)
    except (ImportError, OSError, subprocess.CalledProcessError) as error:
        print(f"without protobuf: {error}")
        return None, None
    sys.path.insert(0, folder)
    return importlib.import_module("Bench_pb2"), api_implementation.Type()


def walk(message):
    """Reads every field of an order."""
    count = 0
    for one in message.items:
        count += len(one.name) + (one.price > 0) + one.state + one.stock % 2 + len(one.labels[0])
    return count


def converters(cls):
    """For typed(): of each field what makes its value of a text, and the converters of nested messages."""
    plain = {"int": int, "enum": int, "float": float, "bool": "true".__eq__, "str": str}
    return {field.name: (field.holds, plain.get(field.kind) or converters(field.cls)) for field in kwxml.fields(cls)}


def typed(element, table):
    """An element of etree as a dict of values of their types: what a program makes of the tree."""
    out = {name: table[name][1](value) for name, value in element.attrib.items()}
    for child in element:
        holds, convert = table[child.tag]
        if holds == "list":
            value = typed(child, convert) if isinstance(convert, dict) else convert(child.get("val"))
            out.setdefault(child.tag, []).append(value)
        elif holds:
            out.setdefault(child.tag, {})[child[0].get("val")] = child[1].get("val")
        else:
            out[child.tag] = typed(child, convert)
    return out


def measure(tasks):
    """The least processor time of a call of each task, in microseconds."""
    counts = {}
    for name, task in tasks.items():
        begin = time.process_time()
        rounds = 0
        while time.process_time() - begin < SECONDS:
            task()
            rounds += 1
        counts[name] = rounds
    best = dict.fromkeys(tasks, float("inf"))
    order = [name for name in tasks for _ in range(REPETITIONS)]
    random.shuffle(order)
    gc.disable()
    for name in order:
        task = tasks[name]
        begin = time.process_time()
        for _ in range(counts[name]):
            task()
        best[name] = min(best[name], (time.process_time() - begin) / counts[name] * 1e6)
    gc.enable()
    return best


def tasks_of(catalogue, proto, name, values):
    """The tasks of one document: {(what, who): task}. The first of each `what` is ours."""
    cls = catalogue[f"Bench_{name}"]
    message = cls.from_dict(values)
    text = message.to_xml()
    data = message.to_bytes(check=True)
    table = converters(cls)
    assert cls.from_xml(text) == message and typed(etree.fromstring(text), table) == values
    keywords = {key: value for key, value in values.items() if not isinstance(value, (dict, list))}
    tasks = {
        ("read XML", "kwxml"): lambda: cls.from_xml(text),
        ("read XML", "etree, tree alone"): lambda: etree.fromstring(text),
        ("read XML", "etree, typed values"): lambda: typed(etree.fromstring(text), table),
        ("write XML", "kwxml"): message.to_xml,
    }
    tree = etree.fromstring(text)
    tasks["write XML", "etree, of its tree"] = lambda: etree.tostring(tree)
    if lxml is not None:
        encoded = text.encode()
        lxml_tree = lxml.fromstring(encoded)
        tasks["read XML", "lxml, tree alone"] = lambda: lxml.fromstring(encoded)
        tasks["write XML", "lxml, of its tree"] = lambda: lxml.tostring(lxml_tree)
    tasks["read bytes", "kwxml"] = lambda: cls.from_bytes(data)
    tasks["write bytes", "kwxml"] = message.to_bytes
    tasks["make of keywords", "kwxml"] = lambda: cls(**keywords)
    if proto is not None:
        other_cls = getattr(proto, name)
        other = other_cls(**values)
        other_data = other.SerializeToString()
        assert len(other.SerializeToString()) > 0 and other_cls.FromString(other_data) == other
        tasks["read bytes", "protobuf"] = lambda: other_cls.FromString(other_data)
        tasks["write bytes", "protobuf"] = other.SerializeToString
        tasks["make of keywords", "protobuf"] = lambda: other_cls(**keywords)
        if name == "Order":
            tasks["walk", "kwxml"] = lambda: walk(message)
            tasks["walk", "protobuf"] = lambda: walk(other)
            assert walk(message) == walk(other)
    return tasks


def main():
    catalogue = kwxml.Catalogue(BENCH / "Bench.xml")
    with tempfile.TemporaryDirectory() as folder:
        proto, back_end = protobuf_module(folder)
        print(f"Python {sys.version.split()[0]}, protobuf back end: {back_end}, lxml: {lxml is not None}")
        print(f"{'':10}{'':18}{'':26}{'us':>10}{'of ours':>10}")
        for title, values in documents().items():
            tasks = tasks_of(catalogue, proto, title.split()[1], values)
            best = measure(tasks)
            for what in dict.fromkeys(what for what, _ in tasks):
                for (task, who), microseconds in best.items():
                    if task == what:
                        ratio = microseconds / best[what, "kwxml"]
                        print(f"{title:10}{what:18}{who:26}{microseconds:10.2f}{ratio:10.2f}")


if __name__ == "__main__":
    main()
