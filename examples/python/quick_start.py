"""Quick start in Python: sets up a store of its own in a temporary
directory, then writes, reads, updates and deletes configuration, works with
instances, filters, transactions and documents, and handles the store's
errors. It exits with status 1 when anything is not as expected."""
import io
import json
import os
import sys
import tempfile

import corvconfigstore as cs

# Two keys of group "net": "dns" has one value (a singleton), "nics" one
# instance per interface, identified by its "name".
SCHEMAS = {
    "corv": {
        "net": {
            "dns": {
                "type": "object",
                "additionalProperties": False,
                "properties": {
                    "servers": {"type": "array", "items": {"type": "string", "format": "ipv4"}},
                    "ndots": {"type": "integer", "minimum": 0, "maximum": 15, "default": 1},
                },
            },
            "nics": {
                "type": "array",
                "items": {
                    "type": "object",
                    "required": ["name"],
                    "additionalProperties": False,
                    "properties": {
                        "name": {"type": "string", "instanceId": True},
                        "enabled": {"type": "boolean", "default": True},
                        "mtu": {"type": "integer", "minimum": 68, "maximum": 65536},
                    },
                },
            },
        }
    }
}

DNS = cs.ObjectId("dns", "net", "corv")  # key, group, component
NICS = cs.ObjectId("nics", "net", "corv")

failures = 0


def check(ok, what):
    global failures
    print(("  ok: " if ok else "  FAILED: ") + what)
    if not ok:
        failures += 1


def run(directory):
    # 1. The library finds its databases through the environment.
    print("1. provision a store and load key schemas")
    os.environ["CORV_CONFIGSTORE_DB"] = os.path.join(directory, "store.db")
    os.environ["CORV_SCHEMASTORE_DB"] = os.path.join(directory, "schemas.db")
    schema_file = os.path.join(directory, "schemas.json")
    with open(schema_file, "w") as out:
        json.dump(SCHEMAS, out)
    cs.provision_store(cs.store_path())
    check(cs.load_schema_file(schema_file) == 2, "two key schemas loaded")
    store = cs.Store()

    # 2. Values go in and come out as dicts.
    print("2. set, get and update a singleton")
    store.set(DNS, {"servers": ["192.0.2.53"], "ndots": 2})
    store.update(DNS, {"ndots": 3})
    print(f"  {DNS} = {store.get(DNS)}")
    check(store.get(DNS) == {"servers": ["192.0.2.53"], "ndots": 3}, "the update was merged")

    # 3. A value the schema refuses raises ValidationError with its records.
    print("3. a write the schema refuses")
    try:
        store.set(DNS, {"ndots": 99, "servers": ["not-an-address"]})
        check(False, "the invalid write is refused")
    except cs.ValidationError as error:
        print(f"  refused with [{error.code}] {error.message}")
        for record in error.errors:
            print(f"    {record.location}: {record.message}")
        check(error.code == 1084 and len(error.errors) == 2, "two validation records")
    check(store.get(DNS)["ndots"] == 3, "nothing was written")

    # 4. Instances and filters.
    print("4. instances of a key")
    store.set(cs.ObjectId("nics", "net", "corv", "eth0"), {"mtu": 9000})
    store.set(NICS, {"name": "eth1", "enabled": False})  # the id comes from the value
    check(store.get_instance_ids(NICS) == ["eth0", "eth1"], "two instances stored")
    disabled = cs.Filter(NICS, {"enabled": False})
    check(store.get_instances(disabled) == [{"name": "eth1", "enabled": False}],
          "a filter finds the disabled interface")

    # 5. A transaction commits when its block ends and cancels on an exception.
    print("5. transactions")
    try:
        with store.transaction():
            store.delete_instances(disabled)
            raise RuntimeError("changed my mind")
    except RuntimeError:
        pass
    check(len(store.get_instance_ids(NICS)) == 2, "cancelled: eth1 is still there")
    with store.transaction():
        store.delete_instances(disabled)
    check(store.get_instance_ids(NICS) == ["eth0"], "committed: eth1 is gone")

    # 6. Every failure is a ConfigStoreError with a code and a message.
    print("6. errors")
    try:
        store.get(cs.ObjectId("nope", "net", "corv"))
        check(False, "a key without schema is refused")
    except cs.ConfigStoreError as error:
        print(f"  refused with [{error.code}] {error.message}")
        check(error.code == 1037, "a key without schema is code 1037")

    # 7. Whole-store documents out and back in.
    print("7. export and import")
    document = cs.export_document([DNS, NICS])
    print(f"  {json.dumps(document)}")
    store.delete(DNS)
    check(cs.import_document(document) == [], "the document was imported")
    check(store.get(DNS) == {"servers": ["192.0.2.53"], "ndots": 3}, "dns is back")
    text = io.StringIO()
    cs.export_to([NICS], text, indent=True)
    streamed = json.loads(text.getvalue())
    check(streamed["corv"]["net"]["nics"] == [{"name": "eth0", "mtu": 9000}],
          "the streamed export holds eth0")


def main():
    with tempfile.TemporaryDirectory(prefix="quick-start-") as directory:
        run(directory)
    print("quick start: all checks passed" if failures == 0 else "quick start: checks FAILED")
    return 0 if failures == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
