"""Keys with instances: instance ids, filters, bulk writes and deletes."""
import pytest

import corvconfigstore as cs
from storeschemas import NICS, nic


@pytest.fixture
def nics(store):
    store.set(nic("eth0"), {"mtu": 9000})
    store.set(nic("eth1"), {"mtu": 1500})
    store.set(NICS, {"name": "eth2", "enabled": False})
    return store


def test_instance_ids_come_in_row_order(nics):
    assert nics.get_instance_ids(NICS) == ["eth0", "eth1", "eth2"]


def test_get_instances_with_a_bare_identifier_returns_every_instance(nics):
    assert nics.get_instances(NICS) == [
        {"name": "eth0", "mtu": 9000},
        {"name": "eth1", "mtu": 1500},
        {"name": "eth2", "enabled": False},
    ]


def test_an_identifier_with_an_instance_id_selects_that_instance(nics):
    assert nics.get_instances(nic("eth1")) == [{"name": "eth1", "mtu": 1500}]


def test_a_filter_selects_by_member_values(nics):
    assert nics.get_instances(cs.Filter(NICS, {"enabled": False})) == [
        {"name": "eth2", "enabled": False}]
    assert nics.get_instances(cs.Filter(NICS, {"mtu": 1500})) == [{"name": "eth1", "mtu": 1500}]
    assert nics.get_instances(cs.Filter(NICS, {"mtu": 1})) == []


def test_delete_instances_with_a_filter_deletes_the_matches(nics):
    nics.delete_instances(cs.Filter(NICS, {"enabled": False}))
    assert nics.get_instance_ids(NICS) == ["eth0", "eth1"]


def test_delete_instances_without_criteria_deletes_every_instance(nics):
    nics.delete_instances(NICS)
    assert nics.get_instance_ids(NICS) == []


def test_set_instances_replaces_every_instance(nics):
    nics.set_instances(NICS, [{"name": "eth7", "mtu": 1400}, {"name": "eth8"}])
    assert nics.get_instances(NICS) == [{"name": "eth7", "mtu": 1400}, {"name": "eth8"}]


def test_layer_wise_bulk_writes(nics):
    nics.set_vital_data_instances(NICS, [{"name": "eth0", "macAddress": "aa"}])
    nics.set_cached_data_instances(NICS, [{"name": "eth0", "linkSpeed": 10}])
    nics.set_user_data_instances(NICS, [{"name": "eth0", "mtu": 1280}])
    assert nics.get(nic("eth0")) == {"name": "eth0", "mtu": 1280, "macAddress": "aa",
                                     "linkSpeed": 10}


def test_set_instances_with_no_values_is_refused(nics):
    with pytest.raises(cs.InvalidArgumentError) as raised:
        nics.set_instances(NICS, [])
    assert raised.value.code == 1061
    assert nics.get_instance_ids(NICS) == ["eth0", "eth1", "eth2"]


def test_an_invalid_instance_leaves_every_instance_as_it_was(nics):
    with pytest.raises(cs.ValidationError) as raised:
        nics.set_instances(NICS, [{"name": "eth5"}, {"name": "eth6", "mtu": 1}])
    assert raised.value.code == 1084
    assert nics.get_instance_ids(NICS) == ["eth0", "eth1", "eth2"]


def test_revisions_by_instance(nics):
    nics.set(nic("eth1"), {"mtu": 1400})
    assert nics.get_instances_revision(NICS) == {"eth0": 1, "eth1": 2, "eth2": 1}
    assert nics.get_instances_revision(nic("eth1")) == {"eth1": 2}


def test_a_filter_may_not_be_none(nics):
    with pytest.raises(TypeError):
        nics.get_instances(None)
    with pytest.raises(TypeError):
        nics.delete_instances(None)
