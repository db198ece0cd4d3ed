"""Archived chats of Chatterbird.

An archive starts with "CBA1", 16 bytes of salt and 32 bytes of tag. The rest is the database,
joined by exclusive or with a stream of HMAC-SHA-256 blocks over a running counter.
"""

import hashlib
import hmac
import xml.etree.ElementTree

MAGIC = b"CBA1"
SALT_END = 20
BODY_START = 52
ROUNDS = 20000


def session_secret(preferences, name):
    """A text preference of the Android app, as the bytes that the key is made of."""
    for entry in xml.etree.ElementTree.fromstring(preferences).iter("string"):
        if entry.get("name") == name:
            return bytes.fromhex(entry.text.strip())
    raise KeyError(name)


def keychain_secret(item):
    """The same secret as the iOS app keeps it: behind a length byte."""
    return item[1:1 + item[0]]


def _keys(secret, salt):
    both = hashlib.pbkdf2_hmac("sha256", secret, salt, ROUNDS, 64)
    return both[:32], both[32:]


def _stream(key, size):
    blocks = []
    for counter in range((size + 31) // 32):
        blocks.append(hmac.new(key, counter.to_bytes(8, "little"), hashlib.sha256).digest())
    return b"".join(blocks)[:size]


def open_archive(data, secret):
    """The database inside an archive. A wrong secret is an error, not an empty database."""
    if data[:4] != MAGIC:
        raise ValueError("not a Chatterbird archive")
    cipher_key, tag_key = _keys(secret, data[4:SALT_END])
    body = data[BODY_START:]
    tag = hmac.new(tag_key, body, hashlib.sha256).digest()
    if not hmac.compare_digest(tag, data[SALT_END:BODY_START]):
        raise ValueError("the session secret does not fit this archive")
    return bytes(a ^ b for a, b in zip(body, _stream(cipher_key, len(body))))
