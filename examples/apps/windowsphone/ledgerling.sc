/*
 * Ledgerling: a household book.
 *
 * Bookings stand in a database and, flattened to "key.key=value" lines, in the copy that the
 * app puts on the memory card. Amounts are in the smallest unit of the book's currency, which
 * is the franc unless the settings say otherwise; expenses are negative.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)
// Both are here to be seen.
// morvantic-check-off: version-overwritten, constant-shadows

::App::Header::{
    engineVersion = 1000000;

    Package {
        names = "2093Ledgerling.Household_t5b8n1c6y4h2a";
        platforms = platform.WindowsPhone;
        namespaces = "App";
        hasExtraFS = true;
        versionMin = "2.0.0.0";
        versionMax = "2.9.9.9";
    }
}

::App::Include::{
    const currency_table = "Resources/common/currencies.csv";
    const category_table = "Resources/ledgerling/categories.csv";

    money = Python {
        path = "python/money.py";
        versionMin = "3.6.2";
    }

    XQuery {
        path = "xquery/ledgerling/bookings.xq";
        index = 1;
    }
    XQuery {
        path = "xquery/common/evidence.xq";
    }
}

::App::Script::{
    const currency = "CHF";
    const opening_balance = "";

    func addConstantToXQuery("opening-balance", opening_balance);
    func addConstantToXQuery("currency", currency);

    receipt = MediaAnalyzer<"metadata", "kind" receipt>() {}

    book = SqliteAnalyzer<"wal", "recover" freelist>(fs.App, "LocalState/book.sdb") {
        const bookings = "Booking";

        setSpecific(sqlite.None);
        addSelectedTables({"Booking", "Account"});
        idOnColumn("Account", "Id", "account");
        idOnColumns(bookings, {"Year", "Number"}, "booking");
        idRefOnColumn(bookings, "AccountId", "account");
        extractToNewColumn(bookings, "Units", "Direction", money::direction());
        functionOnColumn(bookings, "Units",
            money::amount_in(currency, default::csv_table(currency_table)));
        functionOnColumn(bookings, "Category",
            default::lookup(default::csv_table(category_table), "?"));
        functionOnColumn(bookings, "Booked", default::windows_time());
        analyzeColumn(bookings, "Receipt", receipt);
        setRecoveryFilteringOnColumns(bookings, {"Year", "Number", "Units"});
        discardAllNonValidRecoveryLines(true);
        mergeDatabaseRecords(bookings, {"Year", "Number"});
    }

    // Copies in euros come from the time before the book was moved to francs.
    card_copy = FlattenedDataAnalyzer<"separator" dot, "kind" booking,
        "optional">(fs.Extra, {"Ledgerling/*.flat", "Ledgerling/*.flat.old"}) {
        const currency = "EUR";

        idOnColumns("booking", {"year", "number"}, "booking");
        functionOnColumn("booking", "units",
            money::amount_in(currency, default::csv_table(currency_table)));
        functionOnColumn("booking", "booked", default::local_time("%d/%m/%Y", 60));
    }

    settings = JsonAnalyzer<>(fs.App, "LocalState/settings.json") {
        functionOnValue("lastBackup", json.Double, default::unix_time(1000));
        functionOnValue("pinSet", json.Bool, default::yes_no());
        functionOnValue("owners", json.Array, default::join_values(", "));
    }
}
