"""A module that has the name of Python's own."""


def system(value):
    return "not the shell's"
