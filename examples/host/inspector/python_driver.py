"""Runs the Python functions of scripts for a host, in a process of its own.

The host sends one JSON object a line and gets one back: {"value": ...} or {"error": "..."}. Before
it answers, the driver may ask for a file by {"ask": hook, "names": [...]}, which is answered alike.
Bytes travel as {"bytes": base64}, dictionaries as {"dict": [[key, value], ...]}, numbers without end
as {"number": text}.

    {"modules": {name: source, ...}}           first of all; Default is among them
    {"define": number, "program": [...]}       a call, inner calls first: ["push", value] and
                                               ["call", module, function, count of arguments]
    {"run": number, "value": value}            that call, with the value in front
"""

import base64
import importlib
import importlib.abc
import importlib.util
import json
import math
import os
import sys

sources = {}
calls = {}
requests = os.fdopen(os.dup(0), encoding="utf-8")
answers = os.fdopen(os.dup(1), "w", encoding="utf-8")
os.dup2(os.open(os.devnull, os.O_RDONLY), 0)
os.dup2(2, 1)  # what a module prints is no answer


class PackageModules(importlib.abc.MetaPathFinder, importlib.abc.InspectLoader):
    """Imports from the package."""

    def find_spec(self, name, path, target=None):
        return importlib.util.spec_from_loader(name, self) if name in sources else None

    def get_source(self, name):
        return sources[name]


def packed(value):
    """A result for the host, which knows plain values and bytes; all else becomes its text."""
    if value is None or isinstance(value, bool):
        return value
    if isinstance(value, (bytes, bytearray)):
        return {"bytes": base64.b64encode(value).decode("ascii")}
    if isinstance(value, int) and -2**63 <= value < 2**63:
        return value
    if isinstance(value, float):
        return value if math.isfinite(value) else {"number": str(value)}
    return str(value).encode("utf-8", "replace").decode("utf-8")


def unpacked(value):
    if isinstance(value, list):
        return [unpacked(item) for item in value]
    if not isinstance(value, dict):
        return value
    if "bytes" in value:
        return base64.b64decode(value["bytes"])
    if "number" in value:
        return float(value["number"])
    return {key: unpacked(item) for key, item in value["dict"]}


def send(message):
    answers.write(json.dumps(message) + "\n")
    answers.flush()


def ask(hook):
    def asked(*names):
        send({"ask": hook, "names": names})
        answer = json.loads(requests.readline())
        if "error" in answer:
            raise RuntimeError(answer["error"])
        return unpacked(answer["value"])
    return asked


def load(modules):
    sources.update(modules)
    default = importlib.import_module("Default")
    default.open_resource = ask("resource")
    default.open_app_file = ask("app_file")
    default.open_keychain_item = ask("keychain_item")


def define(number, program):
    """Works out the inner calls, once: they get what the script has written and nothing else."""
    stack = []
    for step in program[:-1]:
        if step[0] == "push":
            stack.append(step[1])
            continue
        _, module, function, count = step
        start = len(stack) - count
        stack[start:] = [getattr(importlib.import_module(module), function)(*stack[start:])]
    _, module, function, _ = program[-1]
    calls[number] = (getattr(importlib.import_module(module), function), stack)


def answer_to(request):
    if "modules" in request:
        return load(request["modules"])
    if "define" in request:
        return define(request["define"], request["program"])
    function, arguments = calls[request["run"]]
    return packed(function(unpacked(request["value"]), *arguments))


sys.meta_path.insert(0, PackageModules())
for line in requests:
    try:
        send({"value": answer_to(json.loads(line))})
    except (Exception, SystemExit) as failure:
        send({"error": type(failure).__name__ + ": " + str(failure)})
