#!/usr/bin/env python3
"""usage: validate_lines.py SCHEMA FILE: says which lines of FILE are not valid; status 1 when there are any."""
import json
import sys

import jsonschema

with open(sys.argv[1], encoding="utf-8") as file:
    schema = json.load(file)
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)
bad = 0
with open(sys.argv[2], encoding="utf-8", newline="\n") as file:
    for number, line in enumerate(file, 1):
        if not validator.is_valid(json.loads(line)):
            print(number)
            bad = 1
sys.exit(bad)
