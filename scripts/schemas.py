#!/usr/bin/python3
"""The module's schema documents, asked of the real DLL through kelhost.

    schemas.py EMULATOR KELHOST OUTPUT_DIR

runs KELHOST (through EMULATOR, e.g. /usr/lib/wine/wine64) with
{"op":"describe"} and writes OUTPUT_DIR/<class>.json for every class the
module registers: {"agent", "methodNames", "methods": {name: {"input",
"output"}}, "events": {name: body}}, each input, output and body a JSON
Schema (draft 2020-12). `make schemas` runs it for build/default.
"""
import json
import os
import subprocess
import sys


def describe_classes(emulator, kelhost, module=None):
    """{class name: schema document or None} as the module describes them."""
    command = [emulator, kelhost] if emulator else [kelhost]
    if module:
        command += ["--module", module]
    done = subprocess.run(command, input='{"op":"describe"}\n', capture_output=True,
                          text=True, check=False)
    replies = [line for line in done.stdout.splitlines() if line.strip()]
    if done.returncode != 0 or len(replies) != 1:
        raise RuntimeError("kelhost describe failed (exit %d): %s %s"
                           % (done.returncode, done.stdout[-2000:], done.stderr[-2000:]))
    reply = json.loads(replies[0])
    if "classes" not in reply:
        raise RuntimeError("kelhost describe answered %s" % replies[0][:2000])
    return reply["classes"]


def main(argv):
    if len(argv) != 4:
        sys.stderr.write(__doc__)
        return 2
    emulator, kelhost, output = argv[1:]
    classes = describe_classes(emulator, kelhost)
    os.makedirs(output, exist_ok=True)
    written = 0
    for name, document in sorted(classes.items()):
        if document is None:
            continue
        with open(os.path.join(output, name + ".json"), "w", encoding="utf-8") as out:
            json.dump(document, out, indent=2, sort_keys=True, ensure_ascii=False)
            out.write("\n")
        written += 1
    print("schemas: %d class documents in %s" % (written, output))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
