"""The next-boot store: staging values and deletions for the next boot."""
import pytest

import corvconfigstore as cs
from storeschemas import DEVICES, DNS, FIRMWARE


def device(slot):
    return cs.ObjectId("devices", "boot", "corv", slot)


@pytest.fixture
def next_boot(store):
    return store.next_boot()


def test_a_staged_value_is_read_back_and_the_live_value_is_untouched(store, next_boot):
    next_boot.set(FIRMWARE, {"secureBoot": True})
    assert next_boot.get(FIRMWARE) == {"secureBoot": True}
    assert store.get(FIRMWARE) is None


def test_nothing_staged_reads_as_none(next_boot):
    assert next_boot.get(FIRMWARE) is None


def test_reset_drops_what_is_staged(next_boot):
    next_boot.set(FIRMWARE, {"order": "disk"})
    next_boot.reset(FIRMWARE)
    assert next_boot.get(FIRMWARE) is None


def test_instances_are_staged_and_filtered(next_boot):
    next_boot.set_instances(DEVICES, [{"slot": "a", "enabled": True},
                                      {"slot": "b", "enabled": False}])
    assert next_boot.get_instances(DEVICES) == [{"slot": "a", "enabled": True},
                                                {"slot": "b", "enabled": False}]
    assert next_boot.get_instances(cs.Filter(DEVICES, {"enabled": False})) == [
        {"slot": "b", "enabled": False}]
    next_boot.reset(DEVICES)
    assert next_boot.get_instances(DEVICES) == []


def test_delete_stages_a_deletion_in_place_of_a_staged_value(next_boot):
    next_boot.set(device("a"), {"enabled": True})
    next_boot.set(device("b"), {"enabled": True})
    next_boot.delete(device("a"))
    assert next_boot.get(device("a")) is None
    assert next_boot.get_instances(DEVICES) == [{"slot": "b", "enabled": True}]


def test_delete_instances_stages_the_deletion_of_the_live_matches(store, next_boot):
    store.set(device("a"), {"enabled": True})
    store.set(device("b"), {"enabled": False})
    next_boot.set(device("a"), {"enabled": False})
    next_boot.delete_instances(cs.Filter(DEVICES, {"enabled": True}))
    assert next_boot.get(device("a")) is None
    assert store.get(device("a")) == {"slot": "a", "enabled": True}


def test_a_key_not_tagged_for_the_next_boot_is_refused(next_boot):
    with pytest.raises(cs.ConfigStoreError) as raised:
        next_boot.get(DNS)
    assert raised.value.code == 2000
    assert raised.value.message == (
        "API should only be invoked for configurations tagged @rebootRequiredConfigStore.")


def test_an_empty_object_is_refused_and_nothing_is_staged(next_boot):
    with pytest.raises(cs.ValidationError) as raised:
        next_boot.set(FIRMWARE, {})
    assert raised.value.code == 2000
    assert raised.value.message == (
        "Empty object cannot be set for configurations tagged @rebootRequiredConfigStore.")
    assert next_boot.get(FIRMWARE) is None
