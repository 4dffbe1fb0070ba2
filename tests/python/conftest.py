"""Fixtures of the Python module's tests: each test gets a store and a
schema store of its own in a temporary directory, named through the
environment as the library expects."""
import json

import pytest

import corvconfigstore as cs
from storeschemas import SCHEMAS


@pytest.fixture
def env(tmp_path, monkeypatch):
    """A provisioned store with the test schemas loaded; the temporary
    directory."""
    monkeypatch.setenv("CORV_CONFIGSTORE_DB", str(tmp_path / "store.db"))
    monkeypatch.setenv("CORV_SCHEMASTORE_DB", str(tmp_path / "schemas.db"))
    schema_file = tmp_path / "schemas.json"
    schema_file.write_text(json.dumps(SCHEMAS))
    cs.provision_store(str(tmp_path / "store.db"))
    assert cs.load_schema_file(str(schema_file)) == 4
    return tmp_path


@pytest.fixture
def store(env):
    return cs.Store()
