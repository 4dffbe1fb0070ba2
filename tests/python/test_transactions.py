"""Transactions as context managers: commit on a normal end, cancel on an
exception, explicit commit and cancel, nesting."""
import pytest

import corvconfigstore as cs
from storeschemas import DNS, nic


class Abort(Exception):
    pass


def test_a_block_that_ends_normally_commits(store):
    with store.transaction() as transaction:
        assert transaction.active
        store.set(DNS, {"ndots": 2})
        store.set(nic("eth0"), {"mtu": 1500})
    assert not transaction.active
    assert cs.Store().get(DNS) == {"ndots": 2}
    assert cs.Store().get(nic("eth0")) == {"name": "eth0", "mtu": 1500}


def test_an_exception_cancels_every_write_of_the_block(store):
    store.set(DNS, {"ndots": 2})
    with pytest.raises(Abort):
        with store.transaction():
            store.update(DNS, {"ndots": 5})
            store.set(nic("eth0"), {"mtu": 1500})
            raise Abort()
    assert store.get(DNS) == {"ndots": 2}
    assert store.get(nic("eth0")) is None


def test_a_store_failure_inside_the_block_reaches_the_caller_and_cancels(store):
    with pytest.raises(cs.ValidationError):
        with store.transaction():
            store.set(DNS, {"ndots": 2})
            store.set(DNS, {"ndots": 99})
    assert store.get(DNS) is None


def test_writes_are_not_seen_by_another_handle_before_the_commit(store):
    with store.transaction():
        store.set(DNS, {"ndots": 2})
        assert cs.Store().get(DNS) is None
    assert cs.Store().get(DNS) == {"ndots": 2}


def test_cancel_inside_the_block_ends_the_transaction(store):
    with store.transaction() as transaction:
        store.set(DNS, {"ndots": 2})
        transaction.cancel()
        assert not transaction.active
    assert store.get(DNS) is None


def test_commit_inside_the_block_is_kept_when_the_block_then_raises(store):
    with pytest.raises(Abort):
        with store.transaction() as transaction:
            store.set(DNS, {"ndots": 2})
            transaction.commit()
            raise Abort()
    assert store.get(DNS) == {"ndots": 2}


def test_an_inner_level_cancelled_leaves_the_outer_level_working(store):
    with store.transaction():
        store.set(DNS, {"ndots": 2})
        with pytest.raises(Abort):
            with store.transaction():
                store.set(nic("eth0"), {"mtu": 1500})
                raise Abort()
        store.update(DNS, {"rotate": True})
    assert store.get(DNS) == {"ndots": 2, "rotate": True}
    assert store.get(nic("eth0")) is None


def test_cancelling_the_outer_level_undoes_a_committed_inner_level(store):
    with pytest.raises(Abort):
        with store.transaction():
            with store.transaction():
                store.set(DNS, {"ndots": 2})
            raise Abort()
    assert store.get(DNS) is None


def test_a_transaction_is_entered_once(store):
    transaction = store.transaction()
    with transaction:
        pass
    with pytest.raises(ValueError, match="^a transaction can be entered only once$"):
        with transaction:
            pass


def test_commit_and_cancel_need_an_open_transaction(store):
    transaction = store.transaction()
    with pytest.raises(ValueError, match="^the transaction is not open$"):
        transaction.commit()
    with transaction:
        transaction.commit()
        with pytest.raises(ValueError, match="^the transaction is not open$"):
            transaction.cancel()


def test_a_transaction_dropped_while_open_is_cancelled(store):
    transaction = store.transaction()
    transaction.__enter__()
    store.set(DNS, {"ndots": 2})
    del transaction
    assert store.get(DNS) is None
    store.set(DNS, {"ndots": 3})
    assert cs.Store().get(DNS) == {"ndots": 3}
