/*
 * Pocket Fern: notes, some of them locked with a PIN.
 *
 * The app backs itself up to shared storage. A backup is an archive with the notes database
 * and the drawings of one day, so the database analyzer serves the live file and the backups.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)
// The name means another path in one object, on purpose.
// morvantic-check-off: constant-shadows

::App::Header::{
    engineVersion = 1000000;

    Package {
        names = "io.pocketfern.notes", "io.pocketfern.notes.plus";
        platforms = platform.Android;
        namespaces = "App";
        hasExtraFS = true;
    }
}

::App::Include::{
    const pin_file = "Resources/pocketfern/known_pins.txt";

    vault = Python {
        const remark = "PINs that are known in a case go into the resource file, one a line";
        path = "python/pocketfern_vault.py";
    }

    XQuery {
        path = "xquery/pocketfern/notes.xq";
        index = 10;
    }
    XQuery {
        path = "xquery/common/evidence.xq";
        index = 0;
    }
}

::App::Script::{
    const notes = "note";

    func addConstantToXQuery("note-analyzer", "note_db");
    func addAdditionalFolder(fs.Extra, "PocketFern", true);

    drawing = MediaAnalyzer<>() {}

    note_db = SqliteAnalyzer<"wal", "recover" freelist>(fs.App, "databases/notes.db") {
        setSpecific(sqlite.None);
        addSelectedTables({"note", "folder", "drawing"});

        idOnColumn("folder", "_id", "folder");
        idOnColumn(notes, "guid", "note");
        idRefOnColumn(notes, "folder_id", "folder");
        functionOnColumn(notes, "created", default::unix_time(1000));
        functionOnColumn(notes, "changed", default::unix_time(1000));

        // Ten thousand guesses cover the four-digit PINs that the app proposes.
        extractToNewColumn(notes, "locked_body", "opened_body",
            vault::open_note(vault::known_pins(default::resource(pin_file)), 10000));
        functionOnColumn(notes, "locked_body", default::hex_text());

        idRefOnColumn("drawing", "note_guid", "note");
        analyzeColumn("drawing", "png", drawing);

        setRecoveryFilteringOnColumns(notes, {"guid", "created"});
        discardAllNonValidRecoveryLines(false);
    }

    // PocketFern/backup-20240131.pfz and so on. Drawings are stored beside the database there.
    backup = ZipAnalyzer<"optional">(fs.Extra, {"PocketFern/*.pfz", "PocketFern/old/*.zip"}) {
        setAnalyzer(note_db, "notes.db");
        setAnalyzer(drawing, "drawings/*.png");
    }

    // The widget's copy of the newest notes; a plain XML preference file.
    widget = XmlAnalyzer<"encoding" utf8, "optional">(fs.App, "shared_prefs/widget.xml") {
        const notes = "map/string";  // the path of a note in this file

        functionOnAttribute(notes, "name", default::strip_prefix({"note_"}));
        idRefOnAttribute(notes, "name", "note");
        functionOnText(notes, default::strip_prefix({"text:", "todo:"}));
    }
}
