# Holds every *.json of a folder against a schema: check_documents.py <schema> <folder>
# Prints how many there are; status 1 and a line for each fault where one does not follow the schema.
import json
import pathlib
import sys

import jsonschema

schema = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)
documents = sorted(pathlib.Path(sys.argv[2]).glob("*.json"))
faults = [
    f"{document.name}: {fault.json_path}: {fault.message}"
    for document in documents
    for fault in validator.iter_errors(json.loads(document.read_text(encoding="utf-8")))
]
print(len(documents), "documents")
sys.exit("\n".join(faults) if faults else 0)
