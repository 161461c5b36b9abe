#!/usr/bin/python3
"""Every policy call and event of the kelhost scripts, against the schemas
that the module itself describes (scripts/schemas.py), with Debian's
python3-jsonschema.

    schema_check.py EMULATOR KELHOST SYSINFO_MODULE SCRIPT...

Each script runs once more through kelhost, and each reply is held against
its command:
  - a call answered 160 (input refused) must be refused by the method's input
    schema: a schema that accepts it says less than the module checks;
  - any other call whose input the module read (not 21, 13, 4317, 5023 and no
    null accessor) must be valid against the input schema;
  - a call answered 0 must have an output valid against the output schema;
  - every event must be declared by a class the script created, with a body
    valid against its schema.
A comment line "# schema-skip: REASON" exempts the next command; the reason
is printed. Scripts of test modules are passed over: only the product
module's classes are described. Every method and event must be declared.
"""
import json
import os
import subprocess
import sys

from jsonschema import Draft202012Validator

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "scripts"))
from schemas import describe_classes  # noqa: E402

# Results that come before the input is read: the pre-check (21, 13), an
# unknown method (4317), a stopping agent (5023).
NOT_READ = {21, 13, 4317, 5023}
NULL_FLAGS = ("nullPolicy", "nullInput", "nullOutput", "nullAccessor")
PRODUCT_MODULES = ("", "kelagents")


class Checker:
    def __init__(self, classes):
        self.classes = classes
        self.validators = {}
        self.failures = []
        self.skips = []
        self.counts = {"inputs valid": 0, "inputs refused": 0, "outputs valid": 0,
                       "events valid": 0}

    def validator(self, schema):
        key = json.dumps(schema, sort_keys=True)
        if key not in self.validators:
            Draft202012Validator.check_schema(schema)
            self.validators[key] = Draft202012Validator(schema)
        return self.validators[key]

    def fail(self, where, text):
        self.failures.append("%s: %s" % (where, text))

    def check_declared(self):
        for name, document in sorted(self.classes.items()):
            if document is None:
                self.fail(name, "the class does not describe itself")
                continue
            shapes = [("method %s %s" % (m, side), shape)
                      for m, sides in document["methods"].items()
                      for side, shape in sides.items()]
            shapes += [("event %s" % e, body) for e, body in document["events"].items()]
            for what, shape in shapes:
                if shape.get("undeclared"):
                    self.fail(name, what + " is not declared")
                try:
                    self.validator(shape)
                except Exception as problem:  # a schema the draft refuses
                    self.fail(name, "%s: not a valid schema: %s" % (what, problem))

    @staticmethod
    def find_method(document, name):
        names = document["methodNames"]
        prefix = names.get("prefix")
        if prefix and name.startswith(prefix):
            name = name[len(prefix):]
        for listed, sides in document["methods"].items():
            same = listed == name if names["match"] == "exact" else listed.lower() == name.lower()
            if same:
                return listed, sides
        return None, None

    def check_call(self, where, document, command, reply):
        if any(command.get(flag) for flag in NULL_FLAGS) or "result" not in reply:
            return
        listed, sides = self.find_method(document, command.get("method", ""))
        if listed is None:
            return
        result = reply["result"]
        value = command.get("input", {})
        errors = list(self.validator(sides["input"]).iter_errors(value))
        if result == 160:
            if errors:
                self.counts["inputs refused"] += 1
            else:
                self.fail(where, "%s answered 160, but its input schema accepts %s"
                          % (listed, json.dumps(value)[:300]))
        elif result not in NOT_READ:
            if errors:
                self.fail(where, "%s read an input its schema refuses: %s (%s)"
                          % (listed, errors[0].message[:300], "/".join(map(str, errors[0].path))))
            else:
                self.counts["inputs valid"] += 1
        if result == 0:
            output = reply.get("output")
            errors = list(self.validator(sides["output"]).iter_errors(output))
            if errors:
                self.fail(where, "%s wrote an output its schema refuses: %s (%s)"
                          % (listed, errors[0].message[:300],
                             "/".join(map(str, errors[0].path))))
            else:
                self.counts["outputs valid"] += 1

    def check_events(self, where, created, reply):
        for event in reply.get("events", []):
            bodies = [self.classes[c]["events"][event["name"]] for c in created
                      if self.classes.get(c) and event["name"] in self.classes[c]["events"]]
            if not bodies:
                self.fail(where, "event %s is declared by no class the script created"
                          % event["name"])
                continue
            problems = [list(self.validator(b).iter_errors(event.get("body"))) for b in bodies]
            if all(problems):
                error = problems[0][0]
                self.fail(where, "event %s has a body its schema refuses: %s (%s)"
                          % (event["name"], error.message[:300], "/".join(map(str, error.path))))
            else:
                self.counts["events valid"] += 1

    def run_script(self, emulator, kelhost, path, module):
        command = [emulator, kelhost] + (["--module", module] if module else []) + [path]
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        replies = [json.loads(line) for line in done.stdout.splitlines() if line.strip()]
        commands = []
        skip = None
        with open(path, encoding="utf-8") as script:
            for number, line in enumerate(script, 1):
                text = line.strip()
                if text.startswith("# schema-skip:"):
                    skip = text[len("# schema-skip:"):].strip()
                if not text or text.startswith("#"):
                    continue
                commands.append((number, json.loads(text), skip))
                skip = None
        name = os.path.relpath(os.path.abspath(path), ROOT)
        if len(commands) != len(replies):
            self.fail(name, "%d commands but %d replies" % (len(commands), len(replies)))
            return
        aliases = {}
        pending = {}
        for (number, command, skip), reply in zip(commands, replies):
            where = "%s:%d" % (name, number)
            if skip:
                self.skips.append("%s: %s" % (where, skip))
                continue
            op = command.get("op")
            if op == "create" and reply.get("result") == 0:
                aliases[command.get("as", command["class"])] = command["class"]
            elif op == "call":
                document = self.classes.get(aliases.get(command.get("agent")))
                if document is None:
                    continue
                if "async" in command:
                    pending[json.dumps(command["async"])] = (document, command)
                else:
                    self.check_call(where, document, command, reply)
            elif op == "await" and "result" in reply:
                started = pending.pop(json.dumps(command.get("call")), None)
                if started:
                    self.check_call(where, started[0], started[1], reply)
            elif op == "events":
                self.check_events(where, set(aliases.values()), reply)


def main(argv):
    if len(argv) < 4:
        sys.stderr.write(__doc__)
        return 2
    emulator, kelhost, sysinfo_module = argv[1:4]
    checker = Checker(describe_classes(emulator, kelhost))
    checker.check_declared()
    for path in argv[4:]:
        with open(path, encoding="utf-8") as script:
            first = script.readline().strip()
        module = first[len("# module:"):].strip() if first.startswith("# module:") else ""
        if module == "sysinfo_worker_module":
            checker.run_script(emulator, kelhost, path, sysinfo_module)
        elif module in PRODUCT_MODULES:
            checker.run_script(emulator, kelhost, path, None)
    for skip in checker.skips:
        print("skipped %s" % skip)
    print(", ".join("%s %d" % item for item in checker.counts.items()))
    for failure in checker.failures:
        print("FAIL %s" % failure)
    return 1 if checker.failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
