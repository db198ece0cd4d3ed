// Stores that are easily misread. The test makes them.

::App::Header::{
    Package {
        names = "org.example.stores";
        platforms = platform.Android;
        namespaces = "Stores", "Stores";
    }
    Package {
        names = "org.example.taken";
        platforms = platform.Android;
        namespaces = "Taken";
    }
}

::App::Include::{
    odd = Python {
        path = "odd.py";
    }
    taken = Python {
        path = "os.py";
    }
}

::Stores::Script::{
    paths = JsonAnalyzer<>(fs.App, {"*/a.json", "**/b*.json"}) {}

    undone = SqliteAnalyzer<>(fs.App, "undone.db") {
        forceFunctionsOnNullValue(false);
        forceFunctionsOnNullValue(true);
        idOnColumns("t", {"n", "gone"}, "t");
        functionOnColumn("t", "gone", odd::shown());
        analyzeColumn("t", "gone", paths);
    }

    in_log = SqliteAnalyzer<"no--such">(fs.App, "in_log.db") {
        addSelectedTables({"x y"});
        addSelectedTables({"x'y", "v"});
        extractToNewColumn("x'y", "n", "large", odd::large());
        extractToNewColumn("x'y", "n", "endless", odd::endless());
        extractToNewColumn("x'y", "n", "asked", odd::asks_oddly());
        customizableIdOnColumn("x'y", "n", "row");
        analyzeConstColumns("x'y", {"n", "n", "n", "n", "n", "n", "n", "n", "n", "large"}, fs.App,
            "{10}/{11}", paths);
    }

    others = SqliteAnalyzer<>(fs.App, {"grouped.db", "swollen.db"}) {
        addSelectedTables({"t", "virtual", "T"});
    }

    nowhere = SqliteAnalyzer<>("nowhere") {}

    lists = PlistAnalyzer<>(fs.App, "*.plist") {
        analyzeObject("empty", plist.Dict, lists);
        analyzeConstValue("empty", plist.Undefined, fs.App, "{1}", lists);
    }

    round = JsonAnalyzer<>(fs.App, "round.json") {
        analyzeConstValue("again", json.String, fs.App, "{1}", round);
        analyzeConstValue("again", json.String, fs.Extra, "{1}", round);
        functionOnValue("list", json.Array, odd::nothing());
        functionOnValue("list", json.Array, odd::shown());
    }
}

::Taken::Script::{
    round = JsonAnalyzer<>(fs.App, "round.json") {
        functionOnValue("again", json.String, taken::system());
        functionOnValue("again", json.String, odd::shown());
    }
}
