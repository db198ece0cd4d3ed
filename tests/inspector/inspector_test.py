"""Runs the inspector on the stores of the example apps, and on some that are odd.

    inspector_test.py INSPECTOR TOOL SOURCE_FOLDER

What it prints is compared with the files in "expected", which were checked by hand.
"""

import datetime
import json
import os
import pathlib
import plistlib
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

INSPECTOR, TOOL, SOURCE = sys.argv[1:4]
HERE = pathlib.Path(__file__).parent


def run(*words):
    return subprocess.run([str(word) for word in words], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, timeout=120)


PRINTED = "a module prints"


def as_told(*faults):
    return [fault if fault == PRINTED else "inspector: " + fault for fault in faults]


def contents(folder):
    return {path: path.read_bytes() for path in folder.rglob("*") if path.is_file()}


def make_databases(work, app):
    """One in the middle of a change, one whose change is in its log, and two that are not sound."""
    database = sqlite3.connect(work / "undone.db", isolation_level=None)
    database.execute("PRAGMA cache_size = 1")
    database.execute("CREATE TABLE t (n INTEGER PRIMARY KEY AUTOINCREMENT, gone)")
    database.execute("CREATE TABLE padding (text)")
    database.execute("INSERT INTO t VALUES (1, NULL)")
    database.execute("BEGIN")
    database.execute("UPDATE t SET gone = 'changed'")
    database.executemany("INSERT INTO padding VALUES (?)", [["x" * 4000]] * 20)
    for name in "undone.db", "grouped.db":
        for ending in "", "-journal":
            shutil.copy(str(work / "undone.db") + ending, str(app / name) + ending)
    database.close()

    database = sqlite3.connect(work / "in_log.db")
    database.executescript("""PRAGMA journal_mode = WAL; CREATE TABLE "x'y" (n);
        CREATE TABLE "x y" (n); CREATE VIEW v AS SELECT 'of a view' AS n;
        INSERT INTO "x'y" VALUES (1.0), (2);
        INSERT INTO "x y" VALUES (4); PRAGMA wal_checkpoint; INSERT INTO "x'y" VALUES (3);""")
    for ending in "", "-wal":
        shutil.copy(str(work / "in_log.db") + ending, str(app / "in_log.db") + ending)
    database.close()

    database = sqlite3.connect(app / "swollen.db")
    database.execute("CREATE TABLE t (n, big AS (zeroblob(50000000)))")
    database.execute("INSERT INTO t VALUES (1)")
    database.execute("CREATE VIEW v AS SELECT 1 AS id, 'x' AS x")
    database.execute("CREATE VIRTUAL TABLE virtual USING fts5(x, content='v', content_rowid='id')")
    database.commit()
    database.close()


def make_property_lists(app):
    deep = []
    for _ in range(201):
        deep = [deep]
    values = {"empty": {}, "uid": plistlib.UID(7), "far": datetime.datetime(4001, 1, 1),
              "large": 2 ** 64 - 1, "negative": -5, "return": "a\rb"}
    (app / "values.plist").write_bytes(plistlib.dumps(values, fmt=plistlib.FMT_BINARY))
    (app / "deep.plist").write_bytes(plistlib.dumps(deep, fmt=plistlib.FMT_BINARY))
    (app / "deep_xml.plist").write_bytes(plistlib.dumps(deep))
    (app / "lists.plist").write_bytes(plistlib.dumps([[]] * 201))
    (app / "crowded.plist").write_text("<plist>" + "<" * 3000000 + ">")  # ends in linear time
    for number, hidden in enumerate(("<array><!-- </array> -->", "<array><!--></array>-->",
                                     '<array x="</array>">', '<array><?x "?></array>" ?>',
                                     '<array><!DOCTYPE "</array>">')):
        (app / ("hidden%d.plist" % number)).write_text(
            '<?xml version="1.0"?><plist version="1.0">' + hidden * 200000)


class Inspector(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.work = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.work)
        cls.stores = cls.work / "stores"
        cls.temporary = cls.work / "temporary"
        cls.temporary.mkdir()
        apps = shutil.copytree(HERE / "apps", cls.work / "odd")
        shutil.copy(SOURCE + "/examples/apps/Default.py", apps)
        script = (apps / "odd.sc").read_text()
        deep = "odd::one_more(" * 50000 + ")" * 50000
        (apps / "odd.sc").write_text(script.replace("DEEP", deep))
        for words in (["keygen", cls.work / "private.pem", cls.work / "public.pem"],
                      ["pack", SOURCE + "/examples/apps", cls.work / "apps.pkg"],
                      ["pack", apps, cls.work / "odd.pkg", "--no-check"]):
            options = ["--key", cls.work / "private.pem"] if words[0] == "pack" else []
            made = run(TOOL, *words, *options)
            assert made.returncode == 0, made.stderr.decode()
        made = run("python3", SOURCE + "/examples/host/make_stores.py", cls.stores)
        assert made.returncode == 0, made.stderr.decode()

    def inspected(self, app, platform, folder, package="apps.pkg"):
        """The exit status, the document and the lines about faults; stores stay as they are, and
        no copy is left."""
        before = contents(folder)
        ran = subprocess.run([INSPECTOR, package, "public.pem", app, platform, str(folder)],
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=self.work,
                             env=dict(os.environ, TMPDIR=str(self.temporary)), timeout=300)
        self.assertEqual(contents(folder), before)
        self.assertEqual(list(self.temporary.iterdir()), [])
        document = ran.stdout.decode("utf-8")
        if document:
            xml.etree.ElementTree.fromstring(document)
        return ran.returncode, document, ran.stderr.decode("utf-8").splitlines()

    def expect(self, app, platform, folder, faults, package="apps.pkg"):
        status, document, told = self.inspected(app, platform, folder, package)
        self.assertEqual(told, faults)
        self.assertEqual(status, 1 if faults else 0)
        self.assertEqual(document, (HERE / "expected" / (app + ".xml")).read_text("utf-8"))

    def test_example_apps(self):
        broken = ": ValueError: broken variable-length integer"
        for app, platform, faults in (
                ("ch.tagebuechli.diary", "iOS", []),
                ("2093Ledgerling.Household_t5b8n1c6y4h2a", "WindowsPhone", []),
                ("net.chatterbird.mobile", "Android", []),
                ("fit.stridelark.tracker", "iOS", [
                    'inspector: activity_db: call extractToNewColumn("activity", "track", '
                    '"positions", track::positions(1000000))' + broken,
                    'inspector: activity_db: call extractToNewColumn("activity", "track", '
                    '"heart_rates", track::heart_rates())' + broken])):
            with self.subTest(app):
                self.expect(app, platform, self.stores / app, faults)

    def test_faults_of_stores(self):
        app = "2093Ledgerling.Household_t5b8n1c6y4h2a"
        folder = self.work / "faulty"
        shutil.copytree(self.stores / app, folder)
        book = folder / "app/LocalState/book.sdb"
        settings = folder / "app/LocalState/settings.json"
        for content, path, fault, kept in (
                (b"no database", book, "book: LocalState/book.sdb: file is not a database",
                 "owner"),
                (b"{", settings, "settings: LocalState/settings.json: [json.exception.parse_error",
                 "Booking"),
                (None, settings, "settings: there is no app/LocalState/settings.json", "Booking")):
            with self.subTest(fault):
                good = path.read_bytes()
                path.unlink()
                if content is not None:
                    path.write_bytes(content)
                status, document, told = self.inspected(app, "WindowsPhone", folder)
                path.write_bytes(good)
                self.assertEqual(status, 1)
                self.assertEqual(len(told), 1)
                self.assertTrue(told[0].startswith("inspector: " + fault), told[0])
                self.assertIn('state="%s"' % ("missing" if content is None else "incomplete"),
                              document)
                self.assertIn(kept, document)

    def test_input_that_fits_nothing(self):
        for words, status, text in (
                (["apps.pkg", "public.pem", "org.nobody", "iOS", "stores"], 1,
                 "no script is for org.nobody on iOS"),
                (["apps.pkg", "public.pem", "ch.tagebuechli.diary", "Android", "stores"], 1,
                 "no script is for ch.tagebuechli.diary on Android"),
                (["apps.pkg", "public.pem", "ch.tagebuechli.diary", "iOS", "nowhere"], 1,
                 "nowhere is no folder"),
                (["public.pem", "public.pem", "ch.tagebuechli.diary", "iOS", "stores"], 1,
                 "the package is refused"),
                (["apps.pkg", "public.pem", "ch.tagebuechli.diary", "Symbian", "stores"], 2,
                 "a platform is"),
                (["apps.pkg"], 2, "usage: inspector")):
            with self.subTest(text):
                ran = subprocess.run([INSPECTOR] + words, stdout=subprocess.PIPE,
                                     stderr=subprocess.PIPE, cwd=self.work, timeout=60)
                self.assertEqual(ran.returncode, status)
                self.assertEqual(ran.stdout, b"")
                self.assertIn(text, ran.stderr.decode("utf-8"))

    def test_odd_scripts_and_stores(self):
        folder = self.work / "odd_stores"
        odd_name = folder / "app/a/\x1b"
        odd_name.mkdir(parents=True)
        (folder / "extra/sub").mkdir(parents=True)
        (folder / "raw").mkdir()
        again = json.dumps({"n": 1.5, "again": '{"n": 2}'})
        database = sqlite3.connect(self.work / "live.db")
        database.execute("PRAGMA encoding = 'UTF-16'")
        database.execute("PRAGMA journal_mode = WAL")
        database.execute("CREATE TABLE t (a, b, j, p)")
        database.execute("INSERT INTO t VALUES (NULL, 'text', ?, '../app/secret')", [again])
        database.execute("INSERT INTO t VALUES (?, NULL, X'7B7D', 'sub')",
                         [float("inf")])
        database.commit()
        for ending in ("", "-wal"):  # the rows are in the log alone
            shutil.copy(str(self.work / "live.db") + ending, str(odd_name / "x.db") + ending)
        database.close()
        (folder / "app/secret").write_text("{}")
        (folder / "extra/link.json").symlink_to(folder / "app/secret")
        (folder / "extra/sub/{2}").write_text('{"n": 3}')
        (folder / "extra/deep.json").write_text("[" * 100000)
        (folder / "raw/self.json").write_text('{"a": {}}')
        (folder / "extra/values.json").write_text(json.dumps({
            "list": [{"x": None}, {"x": True}, {"y": 1}, {"x": [1, {"bytes": "AA=="}]}],
            "object": {"bytes": "AA==", "dict": []},
            "deep": "down", "text": "\x01 & <'\">"}))

        call = 'trees: call functionOnValue("text", 20, '
        self.expect("org.example.odd", "Android", folder, as_told(
            "broken.sc: there is no Header that can be read; see morvantic.log",
            "odd.sc: the Script section of Broken is faulty, or not there; see morvantic.log",
            PRINTED,
            'rows: call idOnColumn("t"): argument 2 does not suit',
            'rows: call idOnColumn("t", "z", "t"): no such column: z',
            'rows: call idOnColumn("u", "a", "t"): no such table is read: u',
            "rows: a/\ufffd/x.db: no such table: no such table",
            'endless: call analyzeObject("", 22, endless): analyzers are nested too deep',
            "trees: deep.json: the tree is too deep",
            call + 'odd::shown(odd::raises("inner"))): SystemExit: inner',
            call + 'odd::raises("outer")): SystemExit: outer',
            call + 'odd::shown(default::app_file(36, "../secret"))): '
                   'RuntimeError: there is no app/../secret',
            call + 'odd::shown(default::keychain_item("key"))): '
                   'RuntimeError: this host has no keychain',
            call + "odd::no_such_function()): AttributeError: "
                   "module 'odd' has no attribute 'no_such_function'",
            call + "odd::ends_the_process()): python3 has ended",
            call + "odd::shown()): python3 has ended"), "odd.pkg")

    def test_stores_that_are_easily_misread(self):
        folder = self.work / "misread"
        app = folder / "app"
        (app / "x/y").mkdir(parents=True)
        for path in ("a.json", "x/a.json", "x/y/a.json", "x/y/b1.json"):
            (app / path).write_text('{"in": "%s"}' % path)
        (app / "b2.json").symlink_to(app / "a.json")
        (folder / "extra").mkdir()
        (folder / "extra/round.json").write_text("[]")
        (app / "round.json").write_text(
            '{"": 3, "again": "round.json", "again": 18446744073709551617, "real": 2.0, '
            '"list": [{}, []]}')
        make_databases(self.work, app)
        make_property_lists(app)

        journal = (app / "grouped.db-journal").read_bytes()
        victim = self.work / "victim"
        victim.write_text("stays")
        name = str(victim).encode()
        lock_page, length, check = (number.to_bytes(4, "big") for number in
                                    (2 ** 30 // 4096 + 1, len(name), sum(name)))
        (app / "grouped.db-journal").write_bytes(
            journal + lock_page + name + length + check + bytes.fromhex("d9d505f920a163d7"))
        self.expect("org.example.stores", "Android", folder, as_told(
            "broken.sc: there is no Header that can be read; see morvantic.log",
            PRINTED,
            'undone: call analyzeColumn("t", "gone", paths): [json.exception.parse_error.101] '
            "parse error at line 1, column 1: syntax error while parsing value - invalid literal; "
            "last read: 'N'",
            'in_log: call customizableIdOnColumn("x\'y", "n", "row"): argument 4 does not suit',
            "in_log: in_log.db: no such table: v",
            "others: grouped.db: its journal names another one, and is left out",
            "others: grouped.db: no such table: virtual",
            "others: swollen.db: string or blob too big",
            "others: swollen.db: no such table: virtual",
            "nowhere: argument 1 is no place",
            "lists: crowded.plist: this is no property list",
            "lists: deep.plist: the tree is too deep",
            "lists: deep_xml.plist: the tree is too deep",
            *("lists: hidden%d.plist: the tree is too deep" % number for number in range(5)),
            'lists: call analyzeConstValue("empty", 16, 36, "{1}", lists): a list or dictionary '
            "names no file",
            'round: call analyzeConstValue("again", 20, 36, "{1}", round): round.json leads to '
            "itself"), "odd.pkg")
        self.assertEqual(victim.read_text(), "stays")

        status, _, told = self.inspected("org.example.taken", "Android", folder, "odd.pkg")
        self.assertEqual(status, 1)
        taken = "Python has modules of these names: os"
        self.assertEqual([line.rpartition("ImportError: ")[2] for line in told[1:]],
                         [taken, taken])

    def test_output_that_cannot_be_written(self):
        words = " %s apps.pkg public.pem ch.tagebuechli.diary iOS stores/ch.tagebuechli.diary "
        for to in (">/dev/full", ">&-", "<&- >&-"):
            with self.subTest(to):
                ran = subprocess.run("exec" + words % INSPECTOR + to, shell=True,
                                     stderr=subprocess.PIPE, cwd=self.work, timeout=60)
                self.assertEqual(ran.returncode, 1)
                self.assertIn("standard output cannot be written", ran.stderr.decode())
        self.assertNotIn("<evidence", (self.work / "morvantic.log").read_text())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
