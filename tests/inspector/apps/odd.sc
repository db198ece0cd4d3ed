// What a host has to be ready for. The test puts many calls in place of "DEEP".

::App::Header::{
    Package {
        names = "org.example.odd";
        platforms = platform.Android;
        namespaces = "Odd", "Broken";
    }
}

::App::Include::{
    odd = Python {
        path = "odd.py";
    }
}

::Odd::Script::{
    inner = JsonAnalyzer<>() {
        functionOnValue("n", json.Double, odd::shown());
        analyzeValue("again", json.String, inner);
    }

    rows = SqliteAnalyzer<"wal">(fs.App, "**/*.db") {
        forceFunctionsOnNullValue(true);
        addSelectedTables({"t", "no such table"});
        functionOnColumns("t", {"a", "b"}, "both", odd::shown(true, -1, {"x", "y"}));
        functionOnColumn("t", "b", odd::as_bytes());
        analyzeColumn("t", "j", inner);
        analyzeConstColumn("t", "p", fs.Extra, "{1}/{2}", inner);
        idOnColumn("t");
        idOnColumn("t", "z", "t");
        idOnColumn("u", "a", "t");
        setAnalyzer(inner);
        setSpecific(sqlite.BBM);
    }

    endless = JsonAnalyzer<>(fs.Raw, "self.json") {
        analyzeObject("", json.Object, endless);
    }

    trees = JsonAnalyzer<"separator" dot>(fs.Extra, {"deep.json", "values.json"}) {
        functionOnValue("list/*/x", json.Undefined, odd::shown(default::resource("odd.py")));
        functionOnValue("object", json.Object, odd::shown());
        functionOnValue("deep", json.String, odd::shown(DEEP));
        functionOnValue("text", json.String, odd::shown(odd::raises("inner")));
        functionOnValue("text", json.String, odd::raises("outer"));
        functionOnValue("text", json.String, odd::shown(default::app_file(fs.App, "../secret")));
        functionOnValue("text", json.String, odd::shown(default::keychain_item("key")));
        functionOnValue("text", json.String, odd::no_such_function());
        functionOnValue("text", json.String, odd::ends_the_process());
        functionOnValue("text", json.String, odd::shown());
    }
}

::Broken::Script::{
    func setRecreateFilesystemFolders(nobody);
}
