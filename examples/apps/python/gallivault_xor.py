"""Hidden media of Gallivault: scrambled with a fixed table that every installation shares."""

HEADER_SIZE = 64
SCRAMBLED_SIZE = 4096


def unscramble_block(data, table):
    """A block that is scrambled from its first byte to its last."""
    return bytes(byte ^ table[i % len(table)] for i, byte in enumerate(data))


def unscramble(data, table):
    """The picture or clip inside a vault file; only its first bytes are scrambled."""
    body = data[HEADER_SIZE:]
    return unscramble_block(body[:SCRAMBLED_SIZE], table) + body[SCRAMBLED_SIZE:]


def original_name(value, table):
    """The file's name before it was hidden, from its scrambled form in the index."""
    clear = bytes(byte ^ table[255 - i % 256] for i, byte in enumerate(value))
    return clear.split(b"\0", 1)[0].decode("utf-8", "replace")


def medium_hash(value):
    """A vault file is named by the hash under which the index has it."""
    return value.rsplit("/", 1)[-1].split(".", 1)[0]


def vault_of(value):
    """Decoy vaults have odd numbers."""
    return "decoy" if int(value) % 2 else "real"
