/*
 * Pingwillow: messages between device PINs.
 *
 * The handset keeps one text file a chat, named by the PINs of both sides. From release 3 on
 * there is a database beside the files, which repeats the newer messages.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)

::App::Header::{
    engineVersion = 1000000;

    Package {
        names = "net.pingwillow.messenger", "net.pingwillow.messenger.gov";
        platforms = platform.Blackberry;
        namespaces = "Chats", "Contacts";
        versionMin = "3.0.0";
        hasExtraFS = true;
    }

    Package {
        names = "net.pingwillow.classic";
        platforms = platform.Blackberry;
        namespaces = "Chats";
        versionMax = "2.1.40";
    }
}

::App::Include::{
    text = Python {
        path = "python/pingwillow_text.py";
    }

    lines = Python {
        path = "python/log_lines.py";
        dependencies = "Default.py";
    }

    XQuery {
        path = "xquery/common/evidence.xq";
    }
    XQuery {
        path = "xquery/pingwillow/messages.xq";
        index = 1;
    }
}

::Chats::Script::{
    const own_pin = "2A7F00C3"; /* of the handset in question; set it anew for each case */
    const stamp_layout = "%y%m%d %H%M%S";

    func addConstantToXQuery("own-pin", own_pin);
    func addAdditionalFolder(fs.Extra, "media/pingwillow", true);
    func setPathToIdModifier(text::chat_name(own_pin));

    // [240131 081500] 2A7F00C3: folded text
    chat_files = TextAnalyzer<"lines", "encoding" latin1>(fs.App, "chats/*.txt") {
        extractToNewAttribute("line", "time", lines::stamp(stamp_layout, 0));
        extractToNewAttribute("line", "pin", lines::part(2));
        functionOnAttribute("line", "pin", text::pin());
        idRefOnAttribute("line", "pin", "pin");
        functionOnText("line", lines::part(3));
        functionOnText("line", text::unfold());
    }

    chat_db = SqliteAnalyzer<"recover" freelist>(fs.App, "db/pingwillow.db") {
        const table = "Messages";

        setSpecific(sqlite.None);
        addSelectedTables({"Messages"});
        idOnColumns(table, {"ChatId", "Seq"}, "message");
        customizableIdRefOnColumn(table, "Pin", "pin", text::pin());
        functionOnColumn(table, "Body", text::unfold());
        functionOnColumn(table, "Time", default::unix_time(1000));
        setRecoveryFilteringOnColumns(table, {"ChatId", "Seq"});
    }

    // Some handsets pack old chats; the packed files are the same text files.
    ZipAnalyzer<"optional">(fs.Extra, "media/pingwillow/*.pwz") {
        setAnalyzer(chat_files, "*.txt");
    }
}

::Contacts::Script::{
    card = VCardAnalyzer<"kind" card>() {}

    contacts = XmlAnalyzer<"encoding" utf8>(fs.App, "contacts/list.xml") {
        idOnText("list/contact/pin", "pin");
        functionOnText("list/contact/added", default::unix_time(1000));
        functionOnText("list/contact/phone", default::phone_number("1"));
        analyzeConstText("list/contact/card", fs.App, "contacts/cards/{1}.vcf", card);
    }
}
