#!/usr/bin/env python3
"""Makes small stores of some of the example apps, for the inspector to read.

    make_stores.py FOLDER

Each app gets a folder of its package name, with the folders app and extra that stand for fs.App
and fs.Extra. People, places and amounts are invented. The same bytes come out each time.
"""

import argparse
import datetime
import hashlib
import hmac
import json
import pathlib
import plistlib
import sqlite3

APPLE = datetime.datetime(2001, 1, 1)
WINDOWS = datetime.datetime(1601, 1, 1)
UNIX = datetime.datetime(1970, 1, 1)


def seconds(epoch, *moment):
    return int((datetime.datetime(*moment) - epoch).total_seconds())


def write(path, content):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)


def write_plist(path, content, form):
    write(path, plistlib.dumps(content, fmt=form))


def write_json(path, content):
    write(path, json.dumps(content, ensure_ascii=False, indent=1).encode("utf-8"))


def write_database(path, schema, rows):
    """The rows are a dictionary from a table to a list of tuples."""
    path.parent.mkdir(parents=True, exist_ok=True)
    path.unlink(missing_ok=True)
    database = sqlite3.connect(path)
    database.executescript(schema)
    for table, tuples in rows.items():
        places = ", ".join("?" * len(tuples[0]))
        database.executemany("INSERT INTO {} VALUES ({})".format(table, places), tuples)
    database.commit()
    database.close()


def varint(number):
    groups = []
    while True:
        number, group = number >> 7, number & 0x7F
        groups.append(group | (0x80 if number else 0))
        if not number:
            return bytes(groups)


def packed_track(points):
    """Points of seconds, latitude and longitude in millionths of a degree and, perhaps, a heart
    rate: each length-prefixed, the first three as zigzag differences."""
    track = b""
    last = (0, 0, 0)
    for point in points:
        steps = [here - there for here, there in zip(point, last)]
        chunk = b"".join(varint(step * 2 if step >= 0 else -step * 2 - 1) for step in steps)
        chunk += b"".join(varint(rate) for rate in point[3:])
        track += varint(len(chunk)) + chunk
        last = point[:3]
    return track


def make_diary(app):
    """Entries as property lists of both kinds, and an index that still knows a lost one."""
    entries = app / "Documents/Jahre/2026"
    write_plist(entries / "2026-03-14 Züri.eintrag", {
        "written": datetime.datetime(2026, 3, 14, 21, 5, 30),
        "mood": 1,
        "text": "Der [b]See[/b] war [i]spiegelglatt[/i]. [photo=see.jpg]",
        "draft": False,
        "photos": [
            {"name": "see.jpg", "uuid": bytes.fromhex("0123456789abcdef"),
             "taken": datetime.datetime(2026, 3, 14, 15, 40, 0)},
            {"name": "steg.jpg", "uuid": bytes.fromhex("fedcba9876543210"),
             "taken": datetime.datetime(2026, 3, 14, 15, 52, 10)},
        ],
        "cover": b"\xff\xd8\xff\xe0JFIF",
    }, plistlib.FMT_BINARY)
    write_plist(entries / "2026-03-15.eintrag", {
        "written": datetime.datetime(2026, 3, 15, 7, 0, 0),
        "mood": -2,
        "text": "Verschlafen & den Zug verpasst.",
        "draft": True,
        "photos": [],
    }, plistlib.FMT_XML)
    write(app / "Documents/Fotos/see.jpg", b"\xff\xd8\xff\xe0JFIF")  # the other one is lost
    write_database(app / "Library/Application Support/Verzeichnis.sqlite", """
        CREATE TABLE ZEINTRAG (ZDATEI TEXT, ZDATUM REAL, ZTITEL TEXT, ZANFANG TEXT);
        CREATE TABLE ZSTICHWORT (ZDATEI TEXT, ZWORT TEXT);
        CREATE TABLE Z_METADATA (Z_VERSION INTEGER);
        """, {
            "ZEINTRAG": [
                ("2026-03-14 Züri.eintrag", seconds(APPLE, 2026, 3, 14, 21, 5, 30), "Am See",
                 "Der [b]See[/b] war [photo=see.jpg][photo=steg.jpg]"),
                ("2026-03-15.eintrag", seconds(APPLE, 2026, 3, 15, 7), None, "Verschlafen"),
                ("2000-12-31.eintrag", seconds(APPLE, 2000, 12, 31, 23, 59, 59), "Altjahr", None),
            ],
            "ZSTICHWORT": [
                ("2026-03-14 Züri.eintrag", "Wasser"),
                (None, "verwaist"),
            ],
            "Z_METADATA": [(1,)],
        })
    write_plist(app / "Library/Preferences/ch.tagebuechli.diary.plist", {
        "lastOpened": datetime.datetime(2026, 3, 16, 6, 30, 0),
        "reminders": [1, 5, 9],
    }, plistlib.FMT_BINARY)


def make_household(app):
    """Bookings with categories and amounts, and settings as JSON. No copy on the card."""
    def booked(*moment):
        return seconds(WINDOWS, *moment) * 10000000

    write_database(app / "LocalState/book.sdb", """
        CREATE TABLE Account (Id INTEGER PRIMARY KEY, Name TEXT);
        CREATE TABLE Booking (Year INTEGER, Number INTEGER, AccountId INTEGER, Units INTEGER,
                              Category INTEGER, Booked INTEGER, Text TEXT, Receipt BLOB);
        """, {
            "Account": [(1, "Haushalt"), (2, "Reise <2026>")],
            "Booking": [
                (2026, 1, 1, -145000, 1, booked(2026, 1, 2, 8, 30), "Miete Januar", None),
                (2026, 2, 1, -8435, 2, booked(2026, 1, 3, 17, 45, 12), 'Markt "Helvetia"',
                 b"\x89PNG\r\n"),
                (2026, 3, 2, 20000, 77, booked(2026, 1, 5), "Zuschuss", None),
                (2026, 4, None, 5, None, 0, None, None),
            ],
        })
    write_json(app / "LocalState/settings.json", {
        "lastBackup": seconds(UNIX, 2026, 1, 6, 20, 15) * 1000,
        "pinSet": True,
        "owners": ["Ruth Zbinden", "Jörg Zbinden"],
        "theme": {"name": "dark", "contrast": 1.5},
    })


def make_tracker(app):
    """Packed tracks, shoes, and a profile."""
    track = packed_track([
        (0, 47376900, 8541700, 92), (60, 47378900, 8541700), (120, 47380900, 8543700, 131)])
    write_database(app / "Library/Stridelark.sqlite", """
        CREATE TABLE activity (uuid TEXT, sport TEXT, started REAL, track BLOB, shoe_id INTEGER);
        CREATE TABLE split (activity_uuid TEXT, kilometre INTEGER, seconds REAL);
        CREATE TABLE shoe (_id INTEGER PRIMARY KEY, name TEXT, bought REAL);
        CREATE TABLE followed (name TEXT, since REAL);
        """, {
            "activity": [
                ("a-17", "run", seconds(APPLE, 2026, 5, 1, 6, 0, 0), track, 3),
                ("a-18", "ride", seconds(APPLE, 2026, 5, 2, 18, 20, 0) + 0.75, None, None),
                ("a-19", "run", seconds(APPLE, 2026, 5, 3, 6, 0, 0), b"\x05\xff\xff\xff\xff\xff",
                 3),
            ],
            "split": [("a-17", 1, 312.5)],
            "shoe": [(3, "Road 2", seconds(APPLE, 2026, 1, 15))],
            "followed": [("Mirjam", seconds(APPLE, 2025, 12, 24, 12)), ("Noa", 0)],
        })
    write(app / "Library/Watch/5F2C.act", b"\x0a\x04a-20")
    write_plist(app / "Library/Preferences/fit.stridelark.tracker.plist", {
        "account": {"name": "L. Brunner", "mail": "lb@example.com", "verified": True},
        "birthday": datetime.datetime(1988, 2, 29),
        "zones": {"home": [47.3769, 8.5417]},
    }, plistlib.FMT_XML)


def archived(database, secret, salt):
    """An encrypted archive: mark, salt, tag, then the database under a stream of digests."""
    keys = hashlib.pbkdf2_hmac("sha256", secret, salt, 20000, 64)
    stream = b"".join(hmac.digest(keys[:32], block.to_bytes(8, "little"), "sha256")
                      for block in range(len(database) // 32 + 1))
    body = bytes(a ^ b for a, b in zip(database, stream))
    return b"CBA1" + salt + hmac.digest(keys[32:], body, "sha256") + body


def make_messenger(app, extra):
    """Chats of a group and a bot, an archive, and the secret that opens it."""
    def millis(*moment):
        return seconds(UNIX, *moment) * 1000

    write_database(app / "databases/chatter.db", """
        CREATE TABLE conversation (uid TEXT, title TEXT, created_at INTEGER, muted INTEGER);
        CREATE TABLE member (chat_uid TEXT, address TEXT);
        CREATE TABLE message (chat_uid TEXT, seq INTEGER, sender TEXT, received_at INTEGER,
                              envelope BLOB);
        CREATE TABLE attachment (chat_uid TEXT, seq INTEGER, number INTEGER, extension TEXT);
        """, {
            "conversation": [("7", "Kletterhalle", millis(2026, 2, 1, 10), 0),
                             ("12", None, millis(2026, 2, 3, 9, 30), 1)],
            "member": [("7", "0171 5550101"), ("7", "+44 20 7946 0018"), ("12", "@WeatherBot")],
            "message": [("7", 1, "tel:0171 5550101", millis(2026, 2, 1, 10, 5),
                         b"\x0a\x02hi"),
                        ("12", 2, "@WeatherBot", millis(2026, 2, 3, 9, 31), None),
                        ("12", None, "nobody", None, None)],
            "attachment": [("7", 1, 31, "jpg"), ("7", 1, 32, "jpg")],
        })
    write(extra / "Chatterbird/Media/7/31.jpg", b"\xff\xd8\xff\xe0JFIF")
    write_json(app / "files/read_marks.json", {
        "chats": [{"uid": "7", "seen": seconds(UNIX, 2026, 2, 4, 8)}, {"uid": "12", "seen": None}],
    })
    archive = app / "files/archive/2025.cba"
    write_database(archive, """
        CREATE TABLE chat_line (chat TEXT, seq INTEGER, sender TEXT, text TEXT,
                                envelope BLOB);
        """, {
            "chat_line": [("group:007", 1, "tel:0171 5550101", "Bis Montag!", None),
                          (None, 2, None, "ohne Chat", b"\x0a\x02hi")],
        })
    secret = bytes(range(32))
    write(archive, archived(archive.read_bytes(), secret, b"salt for the key"))
    write(app / "shared_prefs/session.xml",
          "<map><string name='session_secret'>{}</string></map>".format(secret.hex()).encode())
    write_database(app / "databases/people.db", """
        CREATE TABLE person (address TEXT, name TEXT, blocked INTEGER, avatar TEXT);
        """, {
            "person": [("0171 5550101", "Änne", 0, "a1.png"), ("@WeatherBot", "Bot", 1, None)],
        })
    write(app / "files/avatars/a1.png", b"\x89PNG\r\n")


def main():
    parser = argparse.ArgumentParser(description="Makes small stores for the inspector to read.")
    parser.add_argument("folder", metavar="FOLDER", type=pathlib.Path)
    folder = parser.parse_args().folder
    make_diary(folder / "ch.tagebuechli.diary/app")
    make_household(folder / "2093Ledgerling.Household_t5b8n1c6y4h2a/app")
    make_tracker(folder / "fit.stridelark.tracker/app")
    messenger = folder / "net.chatterbird.mobile"
    make_messenger(messenger / "app", messenger / "extra")


main()
