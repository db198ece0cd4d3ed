"""Header fields of mail messages."""

import email.header
import email.utils


def plain(value):
    """A header field with its encoded words decoded; an absent one is empty."""
    parts = email.header.decode_header(value or "")
    texts = []
    for part, charset in parts:
        if isinstance(part, bytes):
            part = part.decode(charset or "ascii", "replace")
        texts.append(part)
    return "".join(texts)


def addresses(value, separator):
    """The bare addresses of a field, in lower case."""
    found = email.utils.getaddresses([plain(value)])
    return separator.join(address.lower() for _, address in found if address)


def person_id(value):
    """One address as an identifier."""
    return email.utils.parseaddr(plain(value))[1].lower() or None


def thread_subject(value):
    """A subject without its reply and forward marks."""
    text = plain(value).strip()
    while text[:3].lower() == "re:" or text[:3].lower() == "fw:" or text[:4].lower() == "fwd:":
        text = text.split(":", 1)[1].strip()
    return text
