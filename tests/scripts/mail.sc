/* Everything that a script can say, in the order in which authors mostly say it. */

::App::Header::{
    const title = "Example Mail";   // a global constant
    engineVersion = 1000000;

    Package {
        names = "com.example.mail", "com.example.mail.beta";
        platforms = platform.Android, platform.iOS;
        versionMin = "4.2";
        namespaces = "Mail", "People";
        hasExtraFS = true;
    }
    Package {
        const edition = "desk";
        names = "com.example.mail", "Example.Mail_q3n7x0w5";
        platforms = platform.WindowsPhone;
        namespaces = "Mail";
    }
}

::App::Include::{
    const country = "49";

    crypto = Python {
        path = "python/crypto.py";
        dependencies = "Default.py", "python/bytes.py";
        versionMin = "3.6.2";
    }
    XQuery { path = "xquery/messages.xq"; index = 2; }
    XQuery { path = "xquery/people.xq"; index = 1; }
}

::Mail::Script::{
    const app_files = "databases/";

    func addConstantToXQuery("title", title);
    func setPathToIdModifier(default::path_segment(-1));

    picture = MediaAnalyzer<"metadata">() {}

    mails = SqliteAnalyzer<"wal", "recover" freelist>(fs.App, {"mail.db", "old.db"}) {
        const table = "message";

        setInstantInitialize(true);
        setFileFunction(crypto::open(crypto::key(app_files, 16), default::yes_no()));
        functionOnColumn(table, "sent", default::unix_time(default::number("1000"), -1));
        analyzeColumn(table, "photo", picture);
        func addConstantToXQuery("table", table);
    }
    PlistAnalyzer<"optional">(fs.App, "state.plist") {
        functionOnValue("seen", plist.Date, default::unix_time(1));
    }
}

::People::Script::{
    const table = "people";   // free again: that of the mails was a local one
    mails = SqliteAnalyzer<>(fs.Extra, table) {}
    func addDomainGroupFolder(country);
}

::Mail::Notes::{ nobody reads this, { whatever } it says }
