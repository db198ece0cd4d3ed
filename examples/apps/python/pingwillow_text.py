"""Messages of Pingwillow, which are kept as folded text."""

import quopri


def unfold(value):
    """A message body without its soft line ends."""
    return quopri.decodestring(value.encode("utf-8")).decode("utf-8", "replace")


def pin(value):
    """A device PIN in the form in which people exchange it."""
    digits = str(value).upper().replace("-", "").replace(" ", "")
    return digits if len(digits) == 8 else None


def chat_name(value, own_pin):
    """A chat's file is named by the PINs of both sides; the owner's is taken out."""
    name = value.rsplit("/", 1)[-1].split(".", 1)[0]
    others = [part for part in name.split("+") if pin(part) != own_pin]
    return ", ".join(others)
