/*
 * Tagebüchli, ein Tagebuch: a diary for German-speaking users, from a maker in Switzerland.
 *
 * An entry is a property list of its own, named by its day; the index is a database. Moods
 * count from -2 (storm) to 1 (sun). Photos lie beside the entries in a package folder.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)

::App::Header::{
    engineVersion = 1000000;

    Package {
        names = "ch.tagebuechli.diary";
        platforms = platform.iOS;
        namespaces = "Eintraege", "Einstellungen";
        versionMin = "3.1";
    }

    Package {
        names = "ch.tagebuechli.diary.schule";
        platforms = platform.iOS;
        namespaces = "Eintraege";
        versionMin = "3.4";
    }
}

::App::Include::{
    const diary_title = "Tagebüchli";

    diary = Python {
        path = "python/tagebuechli_text.py";
        versionMin = "3.6.2";
    }

    XQuery {
        path = "xquery/common/evidence.xq";
    }
    XQuery {
        path = "xquery/tagebuechli/einträge.xq";
        index = 1;
    }
}

::Eintraege::Script::{
    const entry_files = "Documents/Jahre/*/*.eintrag";

    func addConstantToXQuery("app-title", diary_title);
    func addConstantToXQuery("locked-title", "(gesperrt – «nur für mich»)");
    func setPathToIdModifier(default::path_segment(-1));

    photo = MediaAnalyzer<"metadata", "kind" photo>() {}

    // Where a phone keeps the photo itself, the entry has only a reference to it.
    photo_reference = PlistAnalyzer<>() {
        functionOnValue("uuid", plist.Data, default::hex_text());
        functionOnValue("taken", plist.Date, default::apple_time());
    }

    entries = PlistAnalyzer<>(fs.App, entry_files) {
        functionOnValue("written", plist.Date, default::apple_time());
        functionOnValue("mood", plist.Int, diary::mood());
        functionOnValue("text", plist.String, diary::plain());
        functionOnValue("draft", plist.Bool, default::yes_no());
        analyzeObject("photos/*", plist.Dict, photo_reference);
        analyzeConstValue("photos/*/name", plist.String, fs.App, "Documents/Fotos/{1}", photo);
        analyzeValue("cover", plist.Data, photo);
    }

    diary_index = SqliteAnalyzer<"wal",
        "recover" freelist>(fs.App, "Library/Application Support/Verzeichnis.sqlite") {
        const entry = "ZEINTRAG";

        setSpecific(sqlite.None);
        addSelectedTables({"ZEINTRAG", "ZSTICHWORT"});
        idOnColumn(entry, "ZDATEI", "entry");
        functionOnColumn(entry, "ZDATUM", default::apple_time());
        extractToNewColumn(entry, "ZANFANG", "ZFOTOS", diary::photos(" "));
        functionOnColumn(entry, "ZANFANG", diary::plain());
        idRefOnColumn("ZSTICHWORT", "ZDATEI", "entry");
        setRecoveryFilteringOnColumns(entry, {"ZDATEI", "ZDATUM"});
    }
}

::Einstellungen::Script::{
    PlistAnalyzer<"optional">(fs.App, "Library/Preferences/ch.tagebuechli.diary.plist") {
        functionOnValue("lastOpened", plist.Date, default::apple_time());
        functionOnValue("reminders/*", plist.Int,
            default::lookup(default::csv_table("Resources/tagebuechli/wochentage.csv"),
            "jeden Tag"));
    }
}
