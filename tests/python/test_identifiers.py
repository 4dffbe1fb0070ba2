"""Identifiers, filters and the writer's context as Python values."""
import pytest

import corvconfigstore as cs


def test_an_identifier_names_key_group_component_and_instance():
    nic = cs.ObjectId("nics", "net", "corv", "eth0")
    assert (nic.key, nic.group, nic.component, nic.instance_id) == ("nics", "net", "corv", "eth0")
    assert cs.ObjectId("dns", "net", "corv").instance_id == ""
    by_name = cs.ObjectId(component="corv", group="net", key="dns")
    assert by_name == cs.ObjectId("dns", "net", "corv")


def test_identifiers_print_as_the_library_writes_them():
    assert str(cs.ObjectId("nics", "net", "corv", "eth0")) == "comp corv grp net key nics id eth0"
    assert repr(cs.ObjectId("dns", "net", "corv")) == "ObjectId('dns', 'net', 'corv')"
    assert repr(cs.ObjectId("nics", "net", "corv", "eth0")) == \
        "ObjectId('nics', 'net', 'corv', 'eth0')"


def test_identifiers_compare_and_hash_by_value():
    a = cs.ObjectId("nics", "net", "corv", "eth0")
    assert a == cs.ObjectId("nics", "net", "corv", "eth0")
    assert a != cs.ObjectId("nics", "net", "corv", "eth1")
    assert a != "nics"
    assert len({a, cs.ObjectId("nics", "net", "corv", "eth0")}) == 1


def test_identifiers_are_read_only():
    with pytest.raises(AttributeError):
        cs.ObjectId("dns", "net", "corv").key = "other"


def test_a_filter_holds_its_identifier_and_criteria():
    nics = cs.ObjectId("nics", "net", "corv")
    selected = cs.Filter(nics, {"enabled": False, "addresses": {"prefixLength": 24}})
    assert selected.id == nics
    assert selected.criteria == {"enabled": False, "addresses": {"prefixLength": 24}}
    assert cs.Filter(nics).criteria == {}
    assert repr(cs.Filter(nics, {"mtu": 1500})) == \
        "Filter(ObjectId('nics', 'net', 'corv'), {'mtu': 1500})"


def test_filter_criteria_must_be_a_dict():
    with pytest.raises(TypeError, match="^filter criteria must be a dict, not list$"):
        cs.Filter(cs.ObjectId("nics", "net", "corv"), [1])


def test_error_records():
    record = cs.ErrorRecord("/mtu", "too small")
    assert (record.location, record.message) == ("/mtu", "too small")
    assert str(record) == "/mtu: too small"
    assert repr(record) == "ErrorRecord('/mtu', 'too small')"
    assert record == cs.ErrorRecord("/mtu", "too small")
    assert record != cs.ErrorRecord("/", "too small")


def test_the_writers_contexts():
    assert cs.EXTERNAL is cs.Context.EXTERNAL and int(cs.EXTERNAL) == 0
    assert cs.INTERNAL is cs.Context.INTERNAL and int(cs.INTERNAL) == 1
