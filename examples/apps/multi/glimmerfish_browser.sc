/*
 * Glimmerfish, a web browser on every platform. Its core writes the same files everywhere, in
 * one profile folder; what differs are the folder's place and the preferences.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)

::App::Header::{
    engineVersion = 1000000;

    const browser = "Glimmerfish";

    Package {
        const profile = "app_profile/profile";
        names = "app.glimmerfish.browser", "app.glimmerfish.browser.dev";
        platforms = platform.Android, platform.Blackberry;
        namespaces = "Browsing", "Mobile";
        versionMin = "60";
    }

    Package {
        const profile = "Library/Application Support/profile";
        names = "app.glimmerfish.ios";
        platforms = platform.iOS;
        namespaces = "Browsing", "Phone";
        versionMin = "60";
    }

    Package {
        const profile = "LocalState/profile";
        names = "6121Glimmerfish.Browser_q3n7x0w5m2e8r";
        platforms = platform.WindowsPhone;
        namespaces = "Browsing";
        versionMax = "58.2";
    }
}

::App::Include::{
    XQuery {
        path = "xquery/glimmerfish/sessions.xq";
        index = 3;
    }
    XQuery {
        path = "xquery/glimmerfish/cookies.xq";
        index = 2;
    }
    XQuery {
        path = "xquery/glimmerfish/history.xq";
        index = 1;
    }
    XQuery {
        path = "xquery/common/evidence.xq";
    }
}

::Browsing::Script::{
    const page_kind = "page";

    func addConstantToXQuery("browser", browser);
    func setPathToIdModifier(default::strip_prefix({"app_profile/", "Library/Application Support/",
        "LocalState/"}));

    icon = MediaAnalyzer<"kind" icon>() {}

    history = SqliteAnalyzer<"wal", "recover" pages>(fs.App, "**/profile/history.db") {
        const visits = "visit";

        setSpecific(sqlite.None);
        setInstantInitialize(false);
        addSelectedTables({"page", "visit", "download"});
        idOnColumn("page", "id", page_kind);
        idRefOnColumn(visits, "page_id", page_kind);
        functionOnColumn("page", "last_visit", default::web_time());
        functionOnColumn(visits, "time", default::web_time());
        extractToNewColumn("page", "address", "host", default::path_segment(1));
        extractToNewColumn("download", "target", "file_name", default::path_segment(-1));
        functionOnColumn("download", "started", default::web_time());
        setRecoveryFilteringOnColumns("page", {"address", "last_visit"});
        mergeDatabaseRecords("page", {"id", "address"});
        forceFunctionsOnNullValue(false);
    }

    icons = SqliteAnalyzer<"optional">(fs.App, "**/profile/icons.db") {
        addSelectedTables({"icon"});
        analyzeColumn("icon", "bitmap", icon);
    }

    cookies = CookiesAnalyzer<"kind" cookie>(fs.App,
        {"**/profile/cookies.db", "**/profile/cookies.old"}) {
        idOnColumns("cookie", {"host", "name"}, "cookie");
        functionOnColumn("cookie", "created", default::web_time());
        functionOnColumn("cookie", "expires", default::web_time());
        functionOnColumn("cookie", "secure", default::yes_no());
    }

    // Cached pages matter for what they show; scripts and style sheets are left out.
    cached = CacheAnalyzer<"kind" entry, "skip" scripts>(fs.App, "**/cache/**") {
        extractToNewColumn("entry", "address", "host", default::path_segment(1));
        functionOnColumn("entry", "stored", default::web_time());
        setAnalyzer(icon, "*.ico");
    }

    // The tabs of the running and of the last session.
    tabs = SnssAnalyzer<"kind" tab>(fs.App, {"**/sessions/running", "**/sessions/last"}) {
        functionOnColumn("tab", "opened", default::web_time());
        extractToNewColumn("tab", "address", "host", default::path_segment(1));
    }
}

::Mobile::Script::{
    // Numbered keys; the configuration file gives them names.
    preferences = DynDictAnalyzer<>(fs.App, "**/profile/preferences.kv",
        "config/glimmerfish/preferences_dict.xml") {
        functionOnColumn("preference", "last_cleared", default::web_time());
        functionOnColumn("preference", "private_by_default", default::yes_no());
    }
}

::Phone::Script::{
    snapshot = MediaAnalyzer<"kind" snapshot>() {}

    PlistAnalyzer<>(fs.App, "Library/Preferences/app.glimmerfish.ios.plist") {
        functionOnValue("lastCleared", plist.Date, default::apple_time());
        functionOnValue("privateByDefault", plist.Bool, default::yes_no());
        analyzeConstValue("tabs/*/snapshot", plist.String, fs.App, "Library/Caches/Snapshots/{1}",
            snapshot);
    }

    page = PlistAnalyzer<>() {
        functionOnValue("address", plist.String, default::strip_prefix({"https://", "http://"}));
    }

    reading = PlistAnalyzer<"optional">(fs.App, "Documents/ReadingList.plist") {
        functionOnValue("entries/*/added", plist.Date, default::apple_time());
        analyzeObject("entries/*/page", plist.Dict, page);
    }
}
