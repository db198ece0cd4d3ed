"""Locked notes of Pocket Fern.

A locked note is a deflated text, joined by exclusive or with the digest of its PIN. The first
four bytes are the start of the digest of the plain text, so a guess can be checked.
"""

import hashlib
import zlib


def known_pins(content):
    """PINs that the examiner knows, one a line; the file may be empty."""
    return [line.strip() for line in content.decode("utf-8").splitlines() if line.strip()]


def _open(data, pin):
    key = hashlib.sha256(pin.encode("ascii", "ignore")).digest()
    packed = bytes(byte ^ key[i % len(key)] for i, byte in enumerate(data[4:]))
    try:
        plain = zlib.decompress(packed)
    except zlib.error:
        return None
    return plain if hashlib.sha256(plain).digest()[:4] == data[:4] else None


def open_note(value, pins, tries):
    """The text of a locked note: known PINs first, then short numeric ones, up to tries."""
    guesses = list(pins) + ["{:04d}".format(number) for number in range(tries)]
    for pin in guesses:
        plain = _open(value, pin)
        if plain is not None:
            return plain.decode("utf-8", "replace")
    return None
