"""Reads and writes of single objects through the store handle."""
import pytest

import corvconfigstore as cs
from storeschemas import DNS, NICS, nic


def test_set_then_get_returns_the_value_as_a_dict(store):
    store.set(DNS, {"servers": ["192.0.2.53"], "ndots": 2})
    assert store.get(DNS) == {"servers": ["192.0.2.53"], "ndots": 2}
    assert store.get_revision(DNS) == 1


def test_get_of_nothing_stored_is_none(store):
    assert store.get(DNS) is None
    assert store.get_revision(DNS) == -1


def test_values_keep_their_python_types(store):
    store.set(nic("eth0"), {"enabled": False, "mtu": 9000})
    value = store.get(nic("eth0"))
    assert value == {"name": "eth0", "enabled": False, "mtu": 9000}
    assert type(value["enabled"]) is bool and type(value["mtu"]) is int


def test_set_replaces_the_value_and_raises_the_revision(store):
    store.set(DNS, {"ndots": 2, "rotate": True})
    store.set(DNS, {"ndots": 3})
    assert store.get(DNS) == {"ndots": 3}
    assert store.get_revision(DNS) == 2


def test_update_merges_members_and_keeps_the_revision(store):
    store.set(DNS, {"servers": ["192.0.2.53"], "ndots": 2})
    store.update(DNS, {"ndots": 4})
    assert store.get(DNS) == {"servers": ["192.0.2.53"], "ndots": 4}
    assert store.get_revision(DNS) == 1


def test_delete_removes_the_object(store):
    store.set(DNS, {"ndots": 2})
    store.delete(DNS)
    assert store.get(DNS) is None


def test_internal_writes_do_not_replace_the_users_value(store):
    store.set(DNS, {"ndots": 2})
    store.set_user_data(DNS, {"ndots": 7}, cs.INTERNAL)
    assert store.get(DNS)["ndots"] == 2


def test_vital_and_cached_layers_are_merged_into_reads(store):
    store.set(nic("eth0"), {"mtu": 1500})
    store.set_vital_data(nic("eth0"), {"macAddress": "00:11:22:33:44:55"})
    store.set_cached_data(nic("eth0"), {"linkSpeed": 1000})
    assert store.get(nic("eth0")) == {
        "name": "eth0", "mtu": 1500, "macAddress": "00:11:22:33:44:55", "linkSpeed": 1000}


def test_set_splits_the_value_by_layer(store):
    store.set(nic("eth0"), {"mtu": 1500, "linkSpeed": 100})
    store.set_user_data(nic("eth0"), {"mtu": 9000})
    # The user layer was rewritten; the cached member set before stays.
    assert store.get(nic("eth0")) == {"name": "eth0", "mtu": 9000, "linkSpeed": 100}


def test_the_instance_id_may_come_from_the_value(store):
    store.set(NICS, {"name": "eth3", "mtu": 1400})
    assert store.get(nic("eth3")) == {"name": "eth3", "mtu": 1400}


def test_validate_returns_the_records_and_writes_nothing(store):
    records = store.validate(DNS, {"ndots": 99, "servers": ["not-an-address"]})
    assert records == [
        cs.ErrorRecord("/ndots", "value 99 is greater than maximum 15"),
        cs.ErrorRecord("/servers/0", 'string "not-an-address" does not match format ipv4'),
    ]
    assert store.validate(DNS, {"ndots": 3}) == []
    assert store.get(DNS) is None


def test_defaults_loaded_from_a_file_are_read_back(env, store):
    defaults = env / "defaults.json"
    defaults.write_text('{"corv": {"net": {"dns": {"ndots": 5},'
                        ' "nics": [{"name": "lo", "mtu": 65536}]}}}')
    assert cs.load_defaults_file(str(defaults)) == 2
    assert store.get_default(DNS) == {"ndots": 5}
    assert store.get_default(nic("eth9")) is None
    assert store.get_default_instances(NICS) == [{"name": "lo", "mtu": 65536}]


def test_two_handles_see_the_same_store(store):
    store.set(DNS, {"ndots": 2})
    assert cs.Store().get(DNS) == {"ndots": 2}


def test_paths_in_force_come_from_the_environment(env):
    assert cs.store_path() == str(env / "store.db")
    assert cs.schema_store_path() == str(env / "schemas.db")


def test_the_log_level_can_be_changed(env):
    level = cs.get_log_level()
    try:
        cs.set_log_level(3)
        assert cs.get_log_level() == 3
    finally:
        cs.set_log_level(level)


def test_a_value_that_is_not_a_dict_is_a_type_error(store):
    with pytest.raises(TypeError, match="^a configuration value must be a dict, not list$"):
        store.set(DNS, [1, 2])
    with pytest.raises(TypeError, match="^a configuration value must be a dict, not str$"):
        store.update(DNS, "ndots")


def test_a_value_without_a_json_form_is_refused_before_the_store_sees_it(store):
    with pytest.raises(TypeError):
        store.set(DNS, {"ndots": {1, 2}})
    with pytest.raises(ValueError):
        store.set(DNS, {"ndots": float("nan")})
    assert store.get(DNS) is None
