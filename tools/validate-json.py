#!/usr/bin/env python3
"""Validates JSON files against a JSON Schema.

usage: validate-json.py SCHEMA FILE...; prints a line for each file: "valid NAME", or "invalid NAME: " and the first reason.
"""
import json
import pathlib
import sys

import jsonschema


def main():
    schema = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    for name in sys.argv[2:]:
        path = pathlib.Path(name)
        error = jsonschema.exceptions.best_match(validator.iter_errors(json.loads(path.read_text(encoding="utf-8"))))
        reason = "" if error is None else f": {error.json_path}: {error.message}".replace("\n", " ")
        print(f"{'valid' if error is None else 'invalid'} {path.name}{reason}")


if __name__ == "__main__":
    main()
