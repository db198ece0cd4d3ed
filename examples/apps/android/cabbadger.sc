/*
 * Cabbadger: cab rides, one app for riders and one for drivers.
 *
 * Both keep rides in cache/rides as JSON, one file a ride, and payments in a database. The
 * driver's app stores no cards. Positions are integers in millionths of a degree; the way of
 * a ride is a compressed polyline with five decimals.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)
// Both version limits are there to show which one stays.
// morvantic-check-off: version-overwritten

::App::Header::{
    engineVersion = 1000000;

    const app_title = "Cabbadger";
    const zone_file = "Resources/cabbadger/zones.json";

    Package {
        names = "eu.cabbadger.rider";
        platforms = platform.Android;
        namespaces = "Rides", "Payments";
        versionMin = "2.3";
        versionMax = "3.9";  // the record keeps this one, as it stands last
    }

    Package {
        names = "eu.cabbadger.driver", "eu.cabbadger.driver.fleet";
        platforms = platform.Android;
        namespaces = "Rides";
    }
}

::App::Include::{
    geo = Python {
        path = "python/geo.py";
    }
    money = Python {
        path = "python/money.py";
    }

    XQuery {
        path = "xquery/common/evidence.xq";
    }
    XQuery {
        path = "xquery/cabbadger/payments.xq";
        index = 2;
    }
    XQuery {
        path = "xquery/cabbadger/rides.xq";
        index = 1;
    }
}

::Rides::Script::{
    const start_column = "start";

    func addConstantToXQuery("app-title", app_title);
    func setRecreateFilesystemFolders({"cache/rides", "cache/http"});

    driver_card = JsonAnalyzer<>() {
        functionOnValue("phone", json.String, default::phone_number("49"));
    }

    // {"id": "r-7", "start": {...}, "legs": [{"way": "...", "from": 1.7e9, "to": 1.7e9}]}
    ride_files = JsonAnalyzer<>(fs.App, "cache/rides/*.json") {
        functionOnValue("id", json.String, default::strip_prefix({"ride-", "r-"}));
        functionOnValue("booked", json.Double, default::unix_time(1000));
        functionOnValue("legs/*/from", json.Double, default::unix_time(1));
        functionOnValue("legs/*/to", json.Double, default::unix_time(1));
        functionOnValue("legs/*/way", json.String, geo::polyline(100000));
        functionOnValue("shared", json.Bool, default::yes_no());
        functionOnValue("start/position", json.String,
            geo::nearest_zone(geo::zones(default::resource(zone_file)), 3));
        analyzeObject("driver", json.Object, driver_card);
    }

    // Answers of the server; a body is a ride or a map tile.
    CacheAnalyzer<"kind" answer>(fs.App, "cache/http/*") {
        extractToNewColumn("answer", "address", "endpoint", default::path_segment(-2));
        functionOnColumn("answer", "stored_at", default::unix_time(1000));
        discardAllNonValidRecoveryLines(true);
    }

    // What the app was showing when it was put to sleep.
    last_screen = JavaObjectAnalyzer<"optional">(fs.App, "files/last_screen.ser") {
        setSpecific(javaobj.Default);
        functionOnValue("pickupMillis", json.Undefined, default::unix_time(1000));
    }

    ride_db = SqliteAnalyzer<"wal", "recover" freelist>(fs.App, "databases/rides.db") {
        const rides = "ride";

        addSelectedTables({"ride", "favourite"});
        idOnColumn(rides, "_id", "ride");
        functionOnColumns(rides, {"start_lat", "start_lon"}, start_column,
            geo::scaled_pair(1000000));
        functionOnColumns(rides, {"end_lat", "end_lon"}, "end", geo::scaled_pair(1000000));
        functionOnColumn(rides, "booked_at", default::unix_time(1000));
        idRefOnColumns(rides, {"driver_region", "driver_number"}, "driver");
        setRecoveryFilteringOnColumns(rides, {"_id", "booked_at"});
        forceFunctionsOnNullValue(false);
    }
}

::Payments::Script::{
    const payments = "payment";
    const currency_file = "Resources/common/currencies.csv";

    payment_db = SqliteAnalyzer<"wal">(fs.App, {"databases/wallet.db", "databases/wallet_v2.db"}) {
        addSelectedTables({"payment", "card"});
        idOnColumns(payments, {"year", "number"}, "payment");
        idRefOnColumn(payments, "ride_id", "ride");
        functionOnColumns(payments, {"units", "currency"}, "amount",
            money::amount(default::csv_table(currency_file)));
        extractToNewColumn(payments, "units", "direction", money::direction());
        functionOnColumn(payments, "paid_at", default::unix_time(1000));
        idOnColumn("card", "token", "card");
        mergeDatabaseRecords(payments, {"year", "number"});
    }
}
