"""Lines of plain text logs."""

import re

import Default

BRACKETED = re.compile(r"^\[([^\]]*)\]\s*(\w+)[:/]\s*(.*)$")


def stamp(value, layout, minutes_east):
    """The bracketed time at the start of a line, as ISO 8601 in UTC."""
    found = BRACKETED.match(value)
    return Default.local_time(found.group(1), layout, minutes_east) if found else None


def part(value, number):
    """A part of a line: 1 the time, 2 the tag, 3 the text."""
    found = BRACKETED.match(value)
    return found.group(number) if found else None


def code_name(value, table):
    """The name of an event code, and the code itself where it is new to the table."""
    return Default.lookup(value, table, "code " + str(value))


def hide_level(value, levels):
    """The value without a level word in front."""
    return Default.strip_prefix(value, [level + " " for level in levels])
