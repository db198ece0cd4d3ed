"""Runs the Python functions of scripts for a host, in a process of its own.

The host sends one JSON object a line and gets one back: {"value": ...} or {"error": "..."}. Before
it answers, the driver may ask for a file by {"ask": hook, "names": [...]}, which is answered alike.
All that belongs to one request has its "number".
Bytes travel as {"bytes": base64}, dictionaries as {"dict": [[key, value], ...]}, numbers without
end as {"number": text}.

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
under_way = 0
requests = os.fdopen(os.dup(0), encoding="utf-8")
answers = os.fdopen(os.dup(1), "w", encoding="utf-8")
os.dup2(os.open(os.devnull, os.O_RDONLY), 0)
os.dup2(2, 1)  # what a module prints is no answer


class PackageModules(importlib.abc.MetaPathFinder, importlib.abc.InspectLoader):
    """Imports from the package."""

    def find_spec(self, name, path, target=None):
        return importlib.util.spec_from_loader(name, self) if name in sources else None

    def get_source(self, name):
        return importlib.util.decode_source(sources[name])


def plain(text):
    """Text that is Unicode throughout."""
    return text.encode("utf-8", "replace").decode("utf-8")


def packed(value):
    """A value for the host, which knows plain ones and bytes; all else becomes its text."""
    if value is None or isinstance(value, bool):
        return value
    if isinstance(value, (bytes, bytearray, memoryview)):
        return {"bytes": base64.b64encode(bytes(value)).decode("ascii")}
    if isinstance(value, int) and -2**63 <= value < 2**63:
        return value
    if isinstance(value, float):
        return value if math.isfinite(value) else {"number": str(value)}
    if isinstance(value, (set, frozenset)):
        value = sorted(value, key=repr)  # in the same order in each run
    return plain(str(value))


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


def told(failure):
    try:
        return plain(type(failure).__name__ + ": " + str(failure))
    except BaseException:
        return type(failure).__name__


def send(message):
    answers.write(json.dumps(dict(message, number=under_way)) + "\n")
    answers.flush()


def ask(hook):
    def asked(*names):
        send({"ask": hook, "names": [packed(name) for name in names]})
        answer = json.loads(requests.readline())
        if "error" in answer:
            raise RuntimeError(answer["error"])
        return unpacked(answer["value"])
    return asked


def load(modules):
    standard = set(getattr(sys, "stdlib_module_names", ())) | set(sys.modules)
    taken = sorted(standard.intersection(modules))
    if taken:
        raise ImportError("Python has modules of these names: " + ", ".join(taken))
    for name, source in modules.items():
        sources[name] = unpacked(source)
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
    request = json.loads(line)
    under_way = request["number"]
    try:
        answer = {"value": answer_to(request)}
    except BaseException as failure:  # a module may raise what it likes
        answer = {"error": told(failure)}
    send(answer)
