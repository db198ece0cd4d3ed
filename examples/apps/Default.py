"""Functions that every script can call as default::name(...).

The host runs this module in front of all others and sets the three hooks below. A function
that a statement names gets the value from the evidence first, then the arguments that the
script wrote. An inner call gets its written arguments only.
"""

import base64
import binascii
import csv
import datetime
import io
import xml.etree.ElementTree

# Set by the host. Each takes one name, the second also the place it is relative to.
open_resource = None
open_app_file = None
open_keychain_item = None

EPOCH_UNIX = datetime.datetime(1970, 1, 1)
EPOCH_APPLE = datetime.datetime(2001, 1, 1)
EPOCH_WINDOWS = datetime.datetime(1601, 1, 1)


def _ask(hook, *names):
    if hook is None:
        raise RuntimeError("this host cannot deliver " + repr(names[-1]))
    return hook(*names)


def resource(name):
    """The bytes of a resource file."""
    return _ask(open_resource, name)


def app_file(place, path):
    """The bytes of another file of the same app; place is one of the fs values."""
    return _ask(open_app_file, place, path)


def keychain_item(name):
    """The secret that the keychain configuration calls by this name."""
    return _ask(open_keychain_item, name)


def csv_table(name):
    """A resource with two or more columns, as a dictionary from the first to the second."""
    rows = csv.reader(io.StringIO(resource(name).decode("utf-8")))
    next(rows)
    return {row[0]: row[1] for row in rows if len(row) > 1}


def xml_table(name, key, label):
    """A resource of elements with attributes, as a dictionary from one attribute to another."""
    root = xml.etree.ElementTree.fromstring(resource(name))
    return {entry.get(key): entry.get(label) for entry in root}


def _instant(epoch, seconds):
    try:
        moment = epoch + datetime.timedelta(seconds=seconds)
    except OverflowError:
        return None
    return moment.replace(microsecond=0).isoformat() + "Z"


def _number(value):
    try:
        return float(value)
    except (TypeError, ValueError):
        return None


def _ticks(value, epoch, per_second):
    number = _number(value)
    if not number:
        return None
    return _instant(epoch, number / per_second)


def unix_time(value, per_second):
    """Ticks since 1970 as ISO 8601 in UTC; zero and nonsense give nothing."""
    return _ticks(value, EPOCH_UNIX, per_second)


def apple_time(value):
    """Seconds since 2001, where zero and negative values are real moments."""
    number = _number(value)
    return None if number is None else _instant(EPOCH_APPLE, number)


def windows_time(value):
    """Ticks of 100 nanoseconds since 1601."""
    return _ticks(value, EPOCH_WINDOWS, 10000000)


def web_time(value):
    """Microseconds since 1601, as browsers store them."""
    return _ticks(value, EPOCH_WINDOWS, 1000000)


def local_time(value, layout, minutes_east):
    """A local time in text, with the layout of strptime, as ISO 8601 in UTC."""
    try:
        moment = datetime.datetime.strptime(value.strip(), layout)
    except ValueError:
        return None
    return (moment - datetime.timedelta(minutes=minutes_east)).isoformat() + "Z"


def path_segment(value, place):
    """One part of a path or address; negative places count from the end."""
    parts = [part for part in str(value).split("/") if part]
    try:
        return parts[place]
    except IndexError:
        return None


def strip_prefix(value, prefixes):
    """The value without the first of the prefixes that it begins with."""
    for prefix in prefixes:
        if value.startswith(prefix):
            return value[len(prefix):]
    return value


def lookup(value, table, fallback):
    """What the table has for the value."""
    return table.get(str(value), fallback)


def yes_no(value):
    return "yes" if str(value).lower() in ("1", "true", "yes") else "no"


def join_values(values, separator):
    """The values that are there, as one text."""
    return separator.join(str(value) for value in values if value not in (None, ""))


def from_base64(value):
    """The bytes behind a base64 text; missing padding is forgiven."""
    text = value if isinstance(value, str) else value.decode("ascii", "replace")
    try:
        return base64.b64decode(text + "=" * (-len(text) % 4))
    except binascii.Error:
        return b""


def hex_text(value):
    return binascii.hexlify(value).decode("ascii")


def phone_number(value, country):
    """A number in international form; country is the calling code of domestic numbers."""
    text = str(value)
    digits = "".join(ch for ch in text if ch.isdigit())
    if not digits:
        return None
    if text.lstrip().startswith("+"):
        return "+" + digits
    if digits.startswith("00"):
        return "+" + digits[2:]
    return "+" + country + digits.lstrip("0")
