"""Entries of Tagebüchli, written in a small mark-up of its own."""

import re

MARK = re.compile(r"\[(/?)(b|i|h|photo)(?:=([^\]]*))?\]")
MOODS = ("storm", "rain", "clouds", "sun")


def plain(value):
    """The text without its marks; a photo becomes its file name in brackets."""
    return MARK.sub(lambda mark: "[" + mark.group(3) + "]" if mark.group(3) else "", value)


def photos(value, separator):
    """The names of the photos in an entry."""
    return separator.join(mark.group(3) for mark in MARK.finditer(value) if mark.group(3))


def mood(value):
    """The name of a mood, from -2 for the worst to 1 for the best."""
    place = int(value) + 2
    return MOODS[place] if 0 <= place < len(MOODS) else None
