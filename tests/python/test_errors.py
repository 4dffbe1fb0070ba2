"""The library's failures as Python exceptions: class, code, message,
details and validation records."""
import pytest

import corvconfigstore as cs
from storeschemas import DNS, NICS


def test_the_exception_classes_and_their_bases():
    assert issubclass(cs.ConfigStoreError, Exception)
    assert issubclass(cs.ValidationError, cs.ConfigStoreError)
    assert issubclass(cs.ValidationError, ValueError)
    assert issubclass(cs.InvalidArgumentError, cs.ConfigStoreError)
    assert issubclass(cs.InvalidArgumentError, ValueError)
    assert issubclass(cs.InvalidTypeError, cs.ConfigStoreError)
    assert issubclass(cs.InvalidTypeError, TypeError)


def test_a_schema_refusal_is_a_validation_error_with_its_records(store):
    with pytest.raises(cs.ValidationError) as raised:
        store.set(DNS, {"ndots": 99, "servers": ["not-an-address"]})
    error = raised.value
    assert error.code == 1084
    assert error.message == "Configuration failed schema validation"
    assert str(error) == "Configuration failed schema validation"
    assert error.details == []
    assert error.errors == [
        cs.ErrorRecord("/ndots", "value 99 is greater than maximum 15"),
        cs.ErrorRecord("/servers/0", 'string "not-an-address" does not match format ipv4'),
    ]
    assert [(e.location, e.message) for e in error.errors][0] == (
        "/ndots", "value 99 is greater than maximum 15")
    assert store.get(DNS) is None


def test_a_key_without_schema_is_code_1037(store):
    with pytest.raises(cs.ConfigStoreError) as raised:
        store.get(cs.ObjectId("nope", "net", "corv"))
    assert type(raised.value) is cs.ConfigStoreError
    assert raised.value.code == 1037
    assert raised.value.message == "Schema not found for: comp corv grp net key nope"
    assert raised.value.errors == []


def test_a_rule_violation_is_code_2000(store):
    with pytest.raises(cs.ConfigStoreError) as raised:
        store.get(cs.ObjectId("dns", "net", "corv", "x"))
    assert raised.value.code == 2000


def test_an_invalid_argument(env):
    with pytest.raises(cs.InvalidArgumentError) as raised:
        cs.Store("other")
    assert raised.value.code == 2000
    assert raised.value.message == "Invalid value for namespace."


def test_a_store_that_cannot_be_opened_says_why_in_the_details(env, monkeypatch):
    junk = env / "junk.db"
    junk.write_text("this is no database, only some text")
    monkeypatch.setenv("CORV_CONFIGSTORE_DB", str(junk))
    with pytest.raises(cs.ConfigStoreError) as raised:
        cs.Store()
    assert raised.value.code == 2000
    assert raised.value.message == "Failed to connect to database"
    assert raised.value.details == [str(junk) + ": file is not a database"]


def test_a_bad_schema_file_is_reported_and_loads_nothing(env):
    bad = env / "bad.json"
    bad.write_text("{")
    with pytest.raises(cs.ConfigStoreError) as raised:
        cs.load_schema_file(str(bad))
    assert raised.value.code == 2000
    assert raised.value.message == ("Invalid JSON in schema file " + str(bad) +
                                     ": Missing a name for object member. at offset 1")


def test_an_invalid_instance_of_a_bulk_write_carries_its_records(store):
    with pytest.raises(cs.ValidationError) as raised:
        store.set_instances(NICS, [{"name": "eth0"}, {"name": "eth1", "mtu": 1}])
    assert raised.value.code == 1084
    assert raised.value.errors == [cs.ErrorRecord("/mtu", "value 1 is less than minimum 68")]


def test_exceptions_can_be_raised_and_caught_as_python_exceptions(store):
    try:
        store.get(cs.ObjectId("nope", "net", "corv"))
    except ValueError:
        pytest.fail("a missing schema is not a ValueError")
    except cs.ConfigStoreError as error:
        assert error.code == 1037
