#!/usr/bin/env python3
"""Builds the seed corpora of the fuzz targets (tests/fuzz/corpus/<target>/)
from the tests' own inputs: the JSON texts written in the tests' sources,
the example schemas and defaults, cases of the JSON Schema test suite the
validator's tests run, and the command lines of corvcfg's tests. Each seed
is a small file named by the hash of its content, so running this again
only adds what is new. Usage: tests/fuzz/make-corpus.py (from anywhere)."""

import glob
import hashlib
import json
import os
import re

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
CORPUS = os.path.join(ROOT, "tests", "fuzz", "corpus")
SUITE = "/usr/share/json-schema-test-suite/tests/draft7"
MAX_SEED = 4096  # bytes: seeds stay small, the fuzzer grows them
# A C++ string literal: raw R"(...)" or ordinary "..." with escapes.
LITERAL = re.compile(r'R"\((.*?)\)"|"((?:[^"\\\n]|\\.)*)"', re.S)
# A braced list of string literals: the argument vector of a corvcfg test.
ARGUMENTS = re.compile(r'Corvcfg\(\s*\{((?:\s*(?:R"\(.*?\)"|"(?:[^"\\\n]|\\.)*")\s*,?)+)\}', re.S)
ESCAPES = {"n": "\n", "t": "\t", "r": "\r", '"': '"', "\\": "\\", "0": "\0"}


def unescape(text):
    return re.sub(r"\\(.)", lambda m: ESCAPES.get(m.group(1), m.group(0)), text)


def literals(source):
    for match in LITERAL.finditer(source):
        yield match.group(1) if match.group(1) is not None else unescape(match.group(2))


def sources(folder="*"):
    for path in sorted(glob.glob(os.path.join(ROOT, "tests", folder, "*.[ch]*"))):
        with open(path, encoding="utf-8") as f:
            yield f.read()


def json_texts(folder="*"):
    """The JSON objects and arrays written as string literals in the tests."""
    for source in sources(folder):
        for text in literals(source):
            if text[:1] in "{[":
                try:
                    yield text, json.loads(text)
                except ValueError:
                    pass


def escaped(text):
    """text as FuzzedDataProvider's ConsumeRandomLengthString reads it,
    followed by its terminator."""
    return text.replace("\\", "\\\\") + "\\\n"


def save(target, data):
    if isinstance(data, str):
        data = data.encode("utf-8")
    if len(data) > MAX_SEED:
        return
    folder = os.path.join(CORPUS, target)
    os.makedirs(folder, exist_ok=True)
    name = hashlib.sha1(data).hexdigest()[:16]
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


def example(name):
    with open(os.path.join(ROOT, "examples", "schemas", name), encoding="utf-8") as f:
        return f.read()


def main():
    schemas = json.loads(example("host-schemas.json"))
    keys = [(c, g, k) for c in schemas for g in schemas[c] for k in schemas[c][g]]

    # parse_json: every JSON text of the tests, and the example files.
    for text, _ in json_texts():
        save("parse_json", text)
    save("parse_json", example("host-defaults.json"))

    # create_object: values of objects written in the tests, for each
    # example key (the key is the input's last byte); instance id empty.
    objects = [text for text, value in json_texts("object") if isinstance(value, dict)]
    objects += [text for text, value in json_texts("store") if isinstance(value, dict)]
    for i, text in enumerate(objects):
        save("create_object", escaped("") + escaped(text) + chr(i % len(keys)))

    # validator: cases of the JSON Schema test suite (schema, value, the
    # two value options), and each example key schema with its defaults.
    for path in sorted(glob.glob(os.path.join(SUITE, "*.json"))):
        with open(path, encoding="utf-8") as f:
            for group in json.load(f):
                for case in group["tests"][:2]:
                    save("validator", escaped(json.dumps(group["schema"])) +
                         json.dumps(case["data"]) + "\x03")
    defaults = json.loads(example("host-defaults.json"))
    for c, g, k in keys:
        value = defaults.get(c, {}).get(g, {}).get(k, {})
        save("validator", escaped(json.dumps(schemas[c][g][k])) + json.dumps(value) + "\x7f")

    # schema_loader: the example schemas, and the tests' schema files.
    save("schema_loader", example("host-schemas.json"))
    for text, value in json_texts("schema"):
        save("schema_loader", text)
    for c, g, k in keys:
        save("schema_loader", json.dumps({c: {g: {k: schemas[c][g][k]}}}))

    # import: the example defaults, and the tests' documents.
    save("import", example("host-defaults.json"))
    for text, value in json_texts("document"):
        if isinstance(value, dict):
            save("import", text)

    # allowlist: the tests' allowlists.
    for text, value in json_texts("notify"):
        if isinstance(value, list):
            save("allowlist", text)
    save("allowlist", json.dumps(["corv.net.dns", "corv.time.*"]))

    # corvcfg_args: corvcfg's command lines in its tests, naming the
    # example keys (the tests name their own component "lab").
    for source in sources("tools"):
        for match in ARGUMENTS.finditer(source):
            arguments = [a.replace("lab.", "corv.") for a in literals(match.group(1))]
            save("corvcfg_args", "\0".join(arguments))


if __name__ == "__main__":
    main()
