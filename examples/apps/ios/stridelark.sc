/*
 * Stridelark: runs and rides, recorded by phone or watch.
 *
 * Library/Stridelark.sqlite     activities with packed tracks, shoes, people that are followed
 * Library/Watch/UUID.act        what the watch sent, before the app took it into the database
 * Documents/Export/NAME.gpx     activities that the user exported
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)

::App::Header::{
    const activity_schema = "Resources/stridelark/activity.proto";

    engineVersion = 1000000;

    Package {
        names = "fit.stridelark.tracker";
        platforms = platform.iOS;
        namespaces = "Activities", "Profile";
        versionMin = "4.0";
    }

    Package {
        names = "fit.stridelark.tracker.watch";
        platforms = platform.iOS;
        namespaces = "Activities";
    }
}

::App::Include::{
    track = Python {
        path = "python/stridelark_track.py";
        dependencies = "python/geo.py", "python/varint.py";
        versionMin = "3.6.2";
    }

    XQuery {
        path = "xquery/stridelark/profile.xq";
        index = 200;
    }
    XQuery {
        path = "xquery/stridelark/workouts.xq";
        index = 100;
    }
    XQuery {
        path = "xquery/common/evidence.xq";
    }
}

::Activities::Script::{
    func addKeychainXml("config/stridelark/keychain.xml");
    func addDomainGroupFolder("group.fit.stridelark");
    func addConstantToXQuery("watch-analyzer", "watch_files");

    // A track counts in millionths of a degree.
    watch_files = ProtobufAnalyzer<"message" Activity>(fs.App,
        {"Library/Watch/*.act", "Library/Watch/failed/*.act"}, activity_schema) {
        functionOnValue("started", proto.Varint, default::unix_time(1));
        functionOnValue("track", proto.String, track::positions(1000000));
        functionOnValue("note", proto.String, default::strip_prefix({"#note ", "#notiz "}));
    }

    activity_db = SqliteAnalyzer<"wal", "recover" freelist>(fs.App, "Library/Stridelark.sqlite") {
        const activity = "activity";

        setSpecific(sqlite.None);
        addSelectedTables({"activity", "split"});
        idOnColumn(activity, "uuid", "activity");
        functionOnColumn(activity, "started", default::apple_time());
        extractToNewColumn(activity, "track", "positions", track::positions(1000000));
        extractToNewColumn(activity, "positions", "kilometres", track::length_km());
        extractToNewColumn(activity, "track", "heart_rates", track::heart_rates());
        functionOnColumn(activity, "track", default::hex_text());
        idRefOnColumn(activity, "shoe_id", "shoe");
        idRefOnColumn("split", "activity_uuid", "activity");
        setRecoveryFilteringOnColumns(activity, {"uuid", "started"});
        discardAllNonValidRecoveryLines(true);
    }

    // The link of an exported track ends in the activity's identifier.
    exported = XmlAnalyzer<"encoding" utf8, "optional">(fs.App, "Documents/Export/*.gpx") {
        const activity = "gpx/trk/link";

        extractToNewAttribute(activity, "uuid", default::path_segment(-1));
        idRefOnAttribute(activity, "uuid", "activity");
        functionOnText("gpx/metadata/time", default::local_time("%Y-%m-%dT%H:%M:%SZ", 0));
        idRefOnText("gpx/metadata/author/name", "person");
    }
}

::Profile::Script::{
    profile_db = SqliteAnalyzer<"wal">(fs.App, "Library/Stridelark.sqlite") {
        addSelectedTables({"shoe", "followed"});
        idOnColumn("shoe", "_id", "shoe");
        functionOnColumn("shoe", "bought", default::apple_time());
        idOnColumn("followed", "name", "person");
        functionOnColumn("followed", "since", default::apple_time());
    }

    profile = PlistAnalyzer<>(fs.App, "Library/Preferences/fit.stridelark.tracker.plist") {
        functionOnValue("birthday", plist.Date, default::apple_time());
        functionOnValue("account/verified", plist.Bool, default::yes_no());
        functionOnValue("zones/home", plist.Array, default::join_values(","));
    }
}
