/*
 * Field Diagnostics, which the maker Orrindale puts on its handsets.
 *
 * The app writes down what the handset does, in a text log for each subject. Times are local
 * to the place where the handset was set up, two hours east of UTC for the devices seen, but
 * the position log counts in UTC and the event log keeps the time of the factory.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)
// The one log for people has a layout of its own, on purpose.
// morvantic-check-off: constant-shadows

::App::Header::{
    engineVersion = 1000000;

    const log_folder = "files/diag";
    const layout = "%Y-%m-%d %H:%M:%S";

    Package {
        names = "com.orrindale.fielddiag", "com.orrindale.fielddiag.carrier";
        platforms = platform.Android;
        namespaces = "Network", "Usage", "Places";
        versionMin = "7";
    }

    // Older handsets have the same app under the name of its team, without positions.
    Package {
        names = "com.orrindale.labs.watchman";
        platforms = platform.Android;
        namespaces = "Network", "Usage";
        versionMax = "6.4";
    }
}

::App::Include::{
    lines = Python {
        path = "python/log_lines.py";
        dependencies = "Default.py";
    }

    geo = Python {
        path = "python/geo.py";
    }

    XQuery {
        index = 2;
        path = "xquery/orrindale/timeline.xq";
    }
    XQuery {
        index = 1;
        path = "xquery/orrindale/network.xq";
    }
    XQuery {
        index = 0;
        path = "xquery/common/evidence.xq";
    }
}

::Network::Script::{
    func addConstantToXQuery("log-folder", log_folder);

    wifi_log = WifiLogAnalyzer<"kind" network>(fs.App, "files/diag/wifi*.log") {
        idOnColumn("network", "bssid", "access point");
        functionOnColumn("network", "time", default::local_time(layout, 120));
        extractToNewColumn("network", "ssid", "name", default::strip_prefix({"SSID:", "ssid="}));
        forceFunctionsOnNullValue(false);
    }

    netstat_log = NetstatLogAnalyzer<"kind" connection>(fs.App, "files/diag/net*.log") {
        functionOnColumn("connection", "time", default::local_time(layout, 120));
        functionOnColumns("connection", {"remote_address", "remote_port"}, "remote",
            default::join_values(":"));
        setRecoveryFilteringOnColumns("connection", {"time", "remote_address"});
    }
}

::Usage::Script::{
    const event_file = "Resources/orrindale/event_codes.csv";

    notifications = NotificationLogAnalyzer<"kind" notification>(fs.App,
        {"files/diag/notify.log", "files/diag/notify.log.1"}) {
        functionOnColumn("notification", "time", default::local_time(layout, 120));
        idRefOnColumn("notification", "package", "app");
    }

    idle_log = DeviceIdleLogAnalyzer<"kind" idle>(fs.App, "files/diag/idle.log") {
        const layout = "%d.%m.%Y %H:%M";  // this log alone is written for people

        functionOnColumn("idle", "from", default::local_time(layout, 120));
        functionOnColumn("idle", "to", default::local_time(layout, 120));
    }

    // [2024-01-31 08:15:00] EV: 310
    event_log = TextAnalyzer<"lines", "encoding" latin1>(fs.App, "files/diag/event*.log") {
        extractToNewAttribute("line", "time", lines::stamp(layout, -300));
        extractToNewAttribute("line", "tag", lines::part(2));
        functionOnText("line", lines::part(3));
        functionOnText("line", lines::code_name(default::csv_table(event_file)));
    }

    screenshot = MediaAnalyzer<>() {}

    user_log = UserLogFileAnalyzer<"kind" line>(fs.App, "files/diag/user*.log") {
        const folder = "files/diag/shots";

        functionOnColumn("line", "time", default::local_time(layout, 120));
        functionOnColumn("line", "text", lines::hide_level({"INFO", "WARN"}));
        analyzeConstColumn("line", "screenshot", fs.App, "files/diag/shots/{1}", screenshot);
        func addConstantToXQuery("screenshot-folder", folder);
    }
}

::Places::Script::{
    positions = LocationLogAnalyzer<"kind" position>(fs.App, "files/diag/loc*.log") {
        functionOnColumn("position", "time", default::local_time(layout, 0));
        functionOnColumns("position", {"lat_e7", "lon_e7"}, "place", geo::scaled_pair(10000000));
        discardAllNonValidRecoveryLines(true);
    }
}
