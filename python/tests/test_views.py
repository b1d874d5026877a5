"""Lists, maps and nested messages as views, and how long they hold."""

import gc
import random
import weakref
from collections.abc import MutableMapping, MutableSequence

import kwxml
import pytest


def names(cats):
    return [cat.name for cat in cats]


def test_lists_are_lists(pets):
    """Every operation beside the same on a list of Python."""
    cat = pets.Cat()
    ours, theirs = cat.tags, []
    assert isinstance(ours, MutableSequence)
    choose = random.Random(7)
    index = lambda: choose.choice([None, *range(-6, 7)])
    operations = [
        lambda x, i, j, k, v: x.append(v),
        lambda x, i, j, k, v: x.extend([v, v + "+"]),
        lambda x, i, j, k, v: x.insert(i or 0, v),
        lambda x, i, j, k, v: x[i or 0],
        lambda x, i, j, k, v: x.__setitem__(i or 0, v),
        lambda x, i, j, k, v: x.__delitem__(i or 0),
        lambda x, i, j, k, v: x[i:j:k],
        lambda x, i, j, k, v: x.__setitem__(slice(i, j), [v, v]),
        lambda x, i, j, k, v: x.__setitem__(slice(i, j, k), [v] * len(x[i:j:k])),
        lambda x, i, j, k, v: x.__setitem__(slice(i, j, k), [v]),
        lambda x, i, j, k, v: x.__delitem__(slice(i, j, k)),
        lambda x, i, j, k, v: x.pop(i or 0),
        lambda x, i, j, k, v: x.remove(v),
        lambda x, i, j, k, v: x.index(v),
        lambda x, i, j, k, v: x.count(v),
        lambda x, i, j, k, v: v in x,
        lambda x, i, j, k, v: x.reverse(),
        lambda x, i, j, k, v: list(reversed(x)),
        lambda x, i, j, k, v: x.__iadd__([v]),
        lambda x, i, j, k, v: x.sort(key=(lambda text: text[::-1]) if k else None, reverse=i == j),
        lambda x, i, j, k, v: x.copy() + [i] + (x + x) + ([v] + x),
    ]
    for step in range(6000):
        operation = choose.choice(operations)
        arguments = (index(), index(), choose.choice([None, 1, 2, -1, -2, 0]), choose.choice("abc"))
        results = []
        for values in (ours, theirs):
            try:
                results.append(operation(values, *arguments))
            except Exception as error:
                results.append(type(error))
        if not isinstance(results[1], list) or results[1] is not theirs:
            assert results[0] == results[1], (step, arguments)
        assert ours == theirs and len(ours) == len(theirs) and list(cat.tags) == theirs
        if len(theirs) > 12:
            ours.clear()
            theirs.clear()
    assert cat == pets.Cat(tags=theirs)


def test_lists_of_messages_keep_their_elements(pets):
    """An element that somebody holds stays the same element wherever the list moves it, and its own once removed."""
    cat = pets.Cat()
    theirs = []
    held = {}
    choose = random.Random(3)
    for step in range(3000):
        size = len(theirs)
        i = choose.randrange(size) if size else 0
        name = str(step)
        action = choose.randrange(10)
        if action < 3:
            cat.kittens.insert(i, pets.Cat(name=name))
            theirs.insert(i, name)
        elif action == 3:
            cat.kittens.append({"name": name})
            theirs.append(name)
        elif action == 4:
            j = min(size, i + choose.randrange(3))
            cat.kittens[i:j] = [pets.Cat(name=name), pets.Cat(name=name + "b")]
            theirs[i:j] = [name, name + "b"]
        elif action == 5:
            del cat.kittens[i::3]
            del theirs[i::3]
        elif action == 6 and size:
            kitten = cat.kittens[i]
            kitten.tags.append(name)
            held[kitten.name] = kitten
        elif action == 7:
            cat.kittens.reverse()
            theirs.reverse()
        elif action == 8:
            cat.kittens.sort(key=lambda kitten: kitten.name[-1:], reverse=size % 2)
            theirs.sort(key=lambda name: name[-1:], reverse=size % 2)
        elif size:
            del cat.kittens[i]
            del theirs[i]
        assert names(cat.kittens) == theirs
        for name, kitten in held.items():
            assert kitten.name == name
            if name in theirs:
                assert cat.kittens[theirs.index(name)] is kitten
        if len(held) > 10:
            held.pop(next(iter(held)))
    assert any(name not in theirs for name in held)


def test_sorting(pets):
    cat = pets.Cat(kittens=[{"name": "b"}, {"name": "a"}, {}])
    before = kwxml.Message.copy(cat)
    refused = [
        (lambda x: x.sort(), TypeError, "'<' not supported"),
        (lambda x: x.sort(key=lambda kitten: kitten.name), TypeError, "NoneType"),
        (lambda x: x.sort(key=lambda kitten: x.append({}) or 1), ValueError, "has changed"),
        *((lambda x, wrong=wrong: x._arrange(wrong), ValueError, "has changed") for wrong in ([], [0, 0, 1], [0, 1, 3])),
        (lambda x: x._arrange([0, 1, -1]), OverflowError, "negative"),
    ]
    for call, error, text in refused:
        with pytest.raises(error, match=text):
            call(cat.kittens)
        del cat.kittens[3:]
        assert cat == before
    tags = pets.Cat(tags=["c", "a", "b"]).tags
    with pytest.raises(ValueError, match="has changed"):  # by a change that leaves its length
        tags.sort(key=lambda tag: tags.reverse() or tag)
    unset = pets.Cat()
    unset.tags.sort()
    unset.tags.reverse()
    assert not unset.is_set("tags")


def test_maps(pets, types):
    friends = pets.Cat().friends
    assert isinstance(friends, MutableMapping) and friends == {} and "a" not in friends
    friends["a"] = {"name": "A"}
    a = friends["a"]
    friends.setdefault("a", {}).name = "B"
    assert a.name == "B"
    a.name = "A"
    assert a is friends["a"] and a.name == "A" and list(friends) == ["a"] and friends.get("b") is None
    friends["a"] = {"name": "other"}
    assert a.name == "A" and friends["a"].name == "other"
    friends.update(b={"name": "B"})
    b = friends.pop("b")
    assert b.name == "B" and 5 not in friends and friends.pop("b", 7) == friends.pop("b", default=7) == 7
    with pytest.raises(KeyError):
        friends.pop("b")
    for wrong in ("b", "\ud800", 5, None):
        with pytest.raises(KeyError):
            friends[wrong]
        with pytest.raises(KeyError):
            del friends[wrong]
    assert [key for key in friends if not friends.clear()] == ["a"] and len(friends) == 0
    numbers = types.AllTypes(longlongStringMap={2: "b", 1: "a"}).longlongStringMap
    assert 2**64 not in numbers and numbers == {1: "a", 2: "b"} != {1: "a"} and repr(numbers) == "{1: 'a', 2: 'b'}"
    assert numbers.setdefault(3, "c") == numbers.setdefault(3, "d") == "c" and numbers.popitem()[0] in (1, 2, 3)
    node = types.Node(byNode=[({"label": "k"}, {"label": "v"})])
    key = next(iter(node.byNode))
    assert node.byNode[key].label == "v" and key in node.byNode and types.Node() not in node.byNode
    with pytest.raises(ValueError):
        node.byNode[types.Node()] = {}
    assert types.Node.from_dict(node.to_dict()) == node


def test_views_outlive_what_they_show(pets):
    cat = pets.Cat(mother={"name": "m", "mother": {"name": "g"}}, kittens=[{"name": "k"}], friends={"f": {"name": "f"}})
    views = [cat.mother, cat.mother.mother, cat.kittens[0], cat.friends["f"]]
    lists = [cat.mother.tags, cat.kittens[0].tags, cat.tags, cat.friends]
    kwxml.Message.clear(cat)
    assert [view.name for view in views] == ["m", "g", "k", "f"] and views[0].mother is views[1]
    lists[0].append("still there")
    assert views[0].tags == ["still there"] and len(lists[3]) == 0
    del cat
    gc.collect()
    views[0].mother = None
    assert views[1].name == "g"
    lists[2].append("x")
    orphan = pets.Cat(mother={"mother": {"mother": {"name": "x"}}}).mother.mother.mother
    assert orphan.name == "x"
    iterator = iter(pets.Cat(kittens=[{}, {}]).kittens)
    next(iterator)
    gc.collect()
    assert next(iterator).lives == 9


def test_long_chains_of_views(pets):
    at = pets.Cat()
    for _ in range(100_000):
        child = pets.Cat()
        child.mother = {}
        at = child.mother
    chain = root = pets.Cat()
    for _ in range(20_000):
        chain.mother = {}
        chain = chain.mother
    del root
    gc.collect()
    del chain  # the last reference to all


def test_conversion_that_changes_the_list(pets, types):
    """Python code that runs while a value is converted may do anything."""
    message = types.AllTypes(intList=[1, 2, 3])

    class Sly:
        def __index__(self):
            message.intList.clear()
            return 5

    with pytest.raises(IndexError):
        message.intList[2] = Sly()
    message.intList = [1, 2, 3]
    message.intList[1:3] = [Sly(), 6]
    assert message.intList == [5, 6]

    def more():
        for _ in range(3):
            message.intList.append(0)
            yield 1

    message.intList = more()
    assert message.intList == [1, 1, 1]
    cat = pets.Cat(kittens=[{"name": "a"}])

    def kittens():
        kwxml.Message.clear(cat)
        yield pets.Cat(name="b")

    cat.kittens[0:1] = kittens()
    assert names(cat.kittens) == ["b"]


def test_catalogue_lives_as_long_as_its_messages(pets):
    catalogue = kwxml.Catalogue(*pets.sources[1:])
    alive = weakref.ref(catalogue)
    cat = catalogue.Cat(name="Tom", kittens=[{"name": "k"}])
    tags = cat.kittens[0].tags
    del catalogue, cat
    gc.collect()
    assert alive() is not None
    tags.append("x")
    assert tags == ["x"]
    box = [tags]
    box.append(box)  # a cycle around it
    del tags, box
    gc.collect()
    gc.collect()
    assert alive() is None
    cls = kwxml.Catalogue(*pets.sources[1:]).Cat
    descriptor = cls.name
    gc.collect()
    assert descriptor.__get__(cls(name="x")) == "x"


def test_collector_moves_a_message(tmp_path):
    """A class that is made at its first use can start the collector, whose callbacks may move what is being read."""
    schema = tmp_path / "Tree.xml"
    schema.write_text(
        '<catalogue><system name="Tree" index="14"><message name="Node" id="1">'
        '<field name="children" type="list" of="object" class="Tree_Node"/><field name="leaf" type="object" class="Tree_Leaf"/>'
        '</message><message name="Leaf" id="2"><field name="v" type="int"/></message></system></catalogue>')
    message = kwxml.Catalogue(schema).from_xml('<Tree_Node><children><leaf v="7"/></children></Tree_Node>')
    first = message.children[0]
    called = []

    def move(phase, info):
        if not called:
            called.append(phase)
            message.children.extend([{}] * 64)

    threshold = gc.get_threshold()
    gc.callbacks.append(move)
    gc.set_threshold(1)
    try:
        leaf = first.leaf
    finally:
        gc.set_threshold(*threshold)
        gc.callbacks.remove(move)
    assert called and leaf.v == 7
