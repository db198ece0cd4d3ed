"""Variable-length integers, low group first, for modules that take records apart themselves."""


def read(data, pos):
    """The number at pos and the position behind it."""
    value = 0
    shift = 0
    while True:
        if pos >= len(data) or shift > 63:
            raise ValueError("broken variable-length integer")
        byte = data[pos]
        pos += 1
        value |= (byte & 0x7F) << shift
        if byte < 0x80:
            return value, pos
        shift += 7


def read_signed(data, pos):
    """A zigzag number and the position behind it."""
    value, pos = read(data, pos)
    return (value >> 1) ^ -(value & 1), pos


def chunks(data):
    """Each piece of a sequence of length-prefixed pieces; a cut-off last one is dropped."""
    pos = 0
    while pos < len(data):
        length, pos = read(data, pos)
        if pos + length > len(data):
            return
        yield data[pos:pos + length]
        pos += length
