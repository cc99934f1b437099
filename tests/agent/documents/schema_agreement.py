#!/usr/bin/env python3
"""Checks the published schema of state documents against the documents that the agent's own test
loads: it takes the good ones and refuses the bad ones, but for what a schema cannot say.

Usage: schema_agreement.py SCHEMA CASES MARKDOWN      Exit status 77: no jsonschema here.
"""

import json
import re
import sys

try:
    import jsonschema
except ImportError:
    print("python3-jsonschema is not installed")
    sys.exit(77)


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def main():
    schema_path, cases_path, markdown_path = sys.argv[1:]
    schema = json.loads(read(schema_path))
    validator_class = jsonschema.validators.validator_for(schema)
    assert schema["$schema"] == "https://json-schema.org/draft/2020-12/schema"
    validator_class.check_schema(schema)
    validator = validator_class(schema)

    failures = 0
    cases = json.loads(read(cases_path))
    expected = {"good": True, "bad": False, "bad beyond the schema": True}
    seen = {verdict: 0 for verdict in expected}
    for case in cases:
        seen[case["verdict"]] += 1
        if validator.is_valid(case["document"]) != expected[case["verdict"]]:
            failures += 1
            print(f"{case['name']}: the loader says {case['verdict']}, the schema does not agree")
    assert all(seen.values()), seen

    examples = re.findall(r"```json\n(.*?)```", read(markdown_path), re.DOTALL)
    assert examples, "no example in the documentation"
    for number, example in enumerate(examples, 1):
        for error in validator.iter_errors(json.loads(example)):
            failures += 1
            print(f"example {number} of {markdown_path}: {error.json_path}: {error.message}")

    print(f"{len(cases)} documents, {len(examples)} examples, {failures} disagreements")
    sys.exit(1 if failures else 0)


main()
