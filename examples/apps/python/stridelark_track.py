"""Tracks of Stridelark: length-prefixed points of zigzag differences.

A point holds the differences of time in seconds, latitude and longitude in millionths of a
degree and, where the watch sent it, the heart rate as a plain number.
"""

import geo
import varint


def _points(data):
    time = latitude = longitude = 0
    for chunk in varint.chunks(data):
        step, pos = varint.read_signed(chunk, 0)
        north, pos = varint.read_signed(chunk, pos)
        east, pos = varint.read_signed(chunk, pos)
        time += step
        latitude += north
        longitude += east
        heart_rate = varint.read(chunk, pos)[0] if pos < len(chunk) else None
        yield time, latitude, longitude, heart_rate


def positions(value, scale):
    """The track as positions, divided by blanks."""
    found = (geo.scaled_pair(point[1:3], scale) for point in _points(value))
    return " ".join(position for position in found if position)


def heart_rates(value):
    """The heart rates along the track; minus one stands where the watch was silent."""
    return " ".join("-1" if point[3] is None else str(point[3]) for point in _points(value))


def length_km(value):
    """The length of a track that positions made."""
    places = value.split()
    legs = zip(places, places[1:])
    return "{:.2f}".format(sum(geo.distance_km(here, there) for here, there in legs))
