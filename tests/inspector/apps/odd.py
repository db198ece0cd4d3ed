"""Functions that do not behave."""

import os
import sys

print("a module prints")


def shown(value, *arguments):
    arguments = [type(argument).__name__ if isinstance(argument, bytes) else argument
                 for argument in arguments]
    return "".join(map(repr, [value] + arguments))


def as_bytes(value):
    return b"\0\xff" if value is None else value.encode("ascii")


def one_more(value=0):
    return value + 1


def raises(*arguments):
    sys.exit(arguments[-1])


def ends_the_process(value):
    os._exit(0)


def large(value):
    return 10 ** 30


def endless(value):
    return -float("inf")


def nothing(value):
    return None


def asks_oddly(value):
    import Default
    for name in "\udc80", float("nan"), 10 ** 400, {}:
        try:
            Default.open_resource(name)
        except Exception:
            pass
    return "asked of %s" % value
