"""Identifiers of Chatterbird, which look different in each of its stores."""

import Default


def person_id(value, country):
    """A member is known by telephone number or, for bots, by a handle."""
    text = str(value)
    if text.startswith("@"):
        return text.lower()
    return Default.phone_number(text.split(":", 1)[-1], country)


def chat_id(value):
    """Old stores write group:<number>, new ones the bare number."""
    return str(value).split(":")[-1].lstrip("0") or "0"


def message_id(values):
    """A message is known by its chat and its number in the chat."""
    chat, sequence = values
    return "{}/{}".format(chat_id(chat), int(sequence))
