"""Coordinates in the shapes in which apps keep them, as "latitude,longitude" in degrees."""

import json
import math

EARTH_RADIUS_KM = 6371.0


def _pair(latitude, longitude):
    return "{:.6f},{:.6f}".format(latitude, longitude)


def scaled_pair(values, scale):
    """Two integers, latitude first, as a position."""
    try:
        latitude, longitude = (int(value) / scale for value in values)
    except (TypeError, ValueError):
        return None
    if abs(latitude) > 90 or abs(longitude) > 180:
        return None
    return _pair(latitude, longitude)


def _polyline_numbers(text):
    value = 0
    shift = 0
    for ch in text:
        group = ord(ch) - 63
        value |= (group & 0x1F) << shift
        shift += 5
        if group < 0x20:
            yield ~(value >> 1) if value & 1 else value >> 1
            value = 0
            shift = 0


def polyline(value, scale):
    """A compressed polyline as positions, divided by blanks."""
    numbers = list(_polyline_numbers(value))
    latitude = 0
    longitude = 0
    positions = []
    for step_north, step_east in zip(numbers[0::2], numbers[1::2]):
        latitude += step_north
        longitude += step_east
        positions.append(_pair(latitude / scale, longitude / scale))
    return " ".join(positions)


def distance_km(here, there):
    """The great-circle distance of two positions."""
    lat1, lon1 = (math.radians(float(part)) for part in here.split(","))
    lat2, lon2 = (math.radians(float(part)) for part in there.split(","))
    half = (math.sin((lat2 - lat1) / 2) ** 2
            + math.cos(lat1) * math.cos(lat2) * math.sin((lon2 - lon1) / 2) ** 2)
    return 2 * EARTH_RADIUS_KM * math.asin(math.sqrt(half))


def zones(content):
    """A list of zones from the bytes of a JSON resource."""
    return json.loads(content.decode("utf-8"))["zones"]


def nearest_zone(value, known_zones, limit_km):
    """The name of the nearest zone within the limit of a position."""
    best = None
    best_distance = float(limit_km)
    for zone in known_zones:
        distance = distance_km(value, zone["centre"])
        if distance <= best_distance:
            best = zone["name"]
            best_distance = distance
    return best
