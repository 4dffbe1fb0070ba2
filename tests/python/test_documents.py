"""Whole-store documents: export, streamed export, import and its check."""
import io
import json

import pytest

import corvconfigstore as cs
from storeschemas import DNS, NICS, nic


@pytest.fixture
def filled(store):
    store.set(DNS, {"ndots": 2})
    store.set(nic("eth0"), {"mtu": 9000})
    store.set(nic("eth1"), {"enabled": False})
    return store


def test_export_returns_the_document_as_a_dict(filled):
    assert cs.export_document([DNS, NICS]) == {"corv": {"net": {
        "dns": {"ndots": 2},
        "nics": [{"name": "eth0", "mtu": 9000}, {"name": "eth1", "enabled": False}],
    }}}


def test_export_of_no_filters_is_an_empty_document(filled):
    assert cs.export_document([]) == {}


def test_export_takes_filters_with_criteria(filled):
    assert cs.export_document([cs.Filter(NICS, {"enabled": False})]) == {
        "corv": {"net": {"nics": [{"name": "eth1", "enabled": False}]}}}


def test_export_to_writes_the_same_document_to_a_file(filled):
    compact = io.StringIO()
    cs.export_to([DNS, NICS], compact)
    assert json.loads(compact.getvalue()) == cs.export_document([DNS, NICS])
    assert "\n" not in compact.getvalue()
    indented = io.StringIO()
    cs.export_to([DNS], indented, indent=True)
    assert indented.getvalue() == '{\n  "corv": {\n    "net": {\n      "dns": {\n' \
                                  '        "ndots": 2\n      }\n    }\n  }\n}'


def test_export_to_keeps_characters_whole_across_pieces(store):
    # Characters of two, three and four bytes in UTF-8: the writer's first
    # block of 64 KiB ends inside one of them.
    name = "\u00e9\u4e2d\U0001F600" * 40000
    document = {"corv": {"net": {"nics": [{"name": name}]}}}
    assert cs.import_document(document) == []

    class Pieces(io.StringIO):
        count = 0

        def write(self, text):
            self.count += 1
            return super().write(text)

    out = Pieces()
    cs.export_to([NICS], out)
    assert out.count > 1
    assert json.loads(out.getvalue()) == document


def test_a_failing_file_stops_the_export_with_its_own_exception(filled):
    class Full(io.StringIO):
        def write(self, text):
            raise OSError("no space left")

    with pytest.raises(OSError, match="^no space left$"):
        cs.export_to([DNS], Full())


def test_import_replaces_what_the_document_names(filled):
    records = cs.import_document({"corv": {"net": {
        "dns": {"ndots": 4}, "nics": [{"name": "eth5"}]}}})
    assert records == []
    assert filled.get(DNS) == {"ndots": 4}
    assert filled.get_instance_ids(NICS) == ["eth5"]


def test_import_takes_json_text(filled):
    assert cs.import_document('{"corv": {"net": {"dns": null}}}') == []
    assert filled.get(DNS) is None


def test_an_invalid_document_is_not_imported_and_its_records_are_returned(filled):
    document = {"corv": {"net": {"dns": {"ndots": 99}, "nics": [{"name": "eth5"}]}}}
    expected = [cs.ErrorRecord("/corv/net/dns/ndots", "value 99 is greater than maximum 15")]
    assert cs.validate_import(document) == expected
    assert cs.import_document(document) == expected
    assert filled.get(DNS) == {"ndots": 2}
    assert filled.get_instance_ids(NICS) == ["eth0", "eth1"]


def test_validate_import_of_a_valid_document_writes_nothing(filled):
    assert cs.validate_import({"corv": {"net": {"dns": {"ndots": 5}}}}) == []
    assert filled.get(DNS) == {"ndots": 2}


def test_text_that_is_not_json_is_an_error_with_code_1080(filled):
    with pytest.raises(cs.ConfigStoreError) as raised:
        cs.import_document("{not json")
    assert raised.value.code == 1080
    with pytest.raises(cs.ConfigStoreError) as raised:
        cs.validate_import("[")
    assert raised.value.code == 1080


def test_a_document_of_another_type_is_a_type_error(filled):
    with pytest.raises(TypeError, match="^a document must be a dict or JSON text, not list$"):
        cs.import_document([])
