/*
 * Waymoth: navigation without a connection.
 *
 * data/tracks/NAME.wmt      recorded tracks, fixed records, see the layout file
 * data/places.db            favourites and past destinations
 * logs/position.log         positions while the app was in front
 * data/state.ser            the route that was being driven when the app was left
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)

::App::Header::{
    engineVersion = 1000000;

    // The second name is that of copies which were put on the handset without the shop.
    Package {
        names = "net.waymoth.nav", "net.waymoth.nav.testDev_ay_nav____b7d1c0e4";
        platforms = platform.Blackberry;
        namespaces = "Tracks", "Places";
    }

    Package {
        names = "net.waymoth.android";
        platforms = platform.Android, platform.Blackberry;
        namespaces = "Tracks", "Places", "State";
        hasExtraFS = true;
    }
}

::App::Include::{
    geo = Python {
        path = "python/geo.py";
    }

    XQuery {
        path = "xquery/common/evidence.xq";
    }
    XQuery {
        path = "xquery/waymoth/routes.xq";
        index = 1;
    }
}

::Tracks::Script::{
    const point = "point";

    func addConstantToXQuery("track-analyzer", "track_files");
    func setRecreateFilesystemFolders({"data/tracks", "logs"});

    track_files = GenericAnalyzer<>(fs.App, "data/tracks/*.wmt",
        "config/waymoth/track_layout.xml") {
        // Seconds count from 2001; the years before are those of receivers without a fix.
        functionOnColumn(point, "seconds", default::apple_time());
        functionOnColumns(point, {"latitude", "longitude"}, "place", geo::scaled_pair(1000000));
        setRecoveryFilteringOnColumns(point, {"seconds"});
    }

    position_log = LocationLogAnalyzer<"kind" position>(fs.App, "logs/position*.log") {
        functionOnColumn("position", "time", default::local_time("%a, %d %b %Y %H:%M:%S", -480));
        functionOnColumns("position", {"lat", "lon"}, "place", geo::scaled_pair(100000));
    }
}

::Places::Script::{
    const places = "place";

    places_db = SqliteAnalyzer<"wal", "recover" freelist>(fs.App, "data/places.db") {
        const trips = "trip";

        setSpecific(sqlite.None);
        addSelectedTables({"place", "trip"});
        idOnColumns(places, {"kind", "number"}, "place");
        functionOnColumns(places, {"lat", "lon"}, "position", geo::scaled_pair(1000000));
        idRefOnColumns(trips, {"from_kind", "from_number"}, "place");
        idRefOnColumns(trips, {"to_kind", "to_number"}, "place");
        functionOnColumn(trips, "started", default::unix_time(1000));
        setRecoveryFilteringOnColumns(trips, {"started"});
        discardAllNonValidRecoveryLines(true);
    }

    // <route name="..."><stop lat="..." lon="...">name</stop></route>
    route_file = XmlAnalyzer<>() {
        idOnAttribute("route", "name", "route");
        idRefOnText("route/stop", "place");
    }

    routes = ZipAnalyzer<"optional">(fs.App, "data/shared/*.wmr") {
        setAnalyzer(route_file, "route.xml");
    }
}

::State::Script::{
    func addAdditionalFolder(fs.Extra, "Waymoth/export", false);

    way = TextAnalyzer<>() {
        functionOnText("text", geo::polyline(100000));
    }

    state = JavaObjectAnalyzer<"optional">(fs.App, "data/state.ser") {
        setSpecific(javaobj.Default);
        functionOnValue("started", json.Double, default::unix_time(1000));
        analyzeValue("way", json.String, way);
    }
}
