/*
 * Wrenpost: mail over several accounts.
 *
 * One database an account, named by the account's number; headers as columns, bodies as text
 * files beside it. People come from the app's content provider and from cards that the user
 * exported to shared storage.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)

::App::Header::{
    engineVersion = 1000000;

    // Both editions also run on Blackberry handsets, which have a runtime for Android apps.
    Package {
        names = "net.wrenpost.mail", "net.wrenpost.mail.tablet";
        platforms = platform.Android, platform.Blackberry;
        namespaces = "Mail", "People", "Settings";
        versionMin = "1.8.2";
        hasExtraFS = true;
    }

    Package {
        names = "net.wrenpost.widget";
        platforms = platform.Android;
        namespaces = "Settings";
        hasExtraFS = false;
    }
}

::App::Include::{
    const account_pattern = "databases/account_*.db";

    mail = Python {
        path = "python/mail_fields.py";
    }

    XQuery {
        const title = "Address book";
        path = "xquery/wrenpost/people.xq";
        index = 20;
    }

    XQuery {
        const title = "Mail";
        path = "xquery/wrenpost/mail.xq";
        index = 10;
    }

    XQuery {
        path = "xquery/common/evidence.xq";
    }
}

::Mail::Script::{
    const mails = "mail";
    const separator = "; ";

    func addConstantToXQuery("address-separator", separator);

    inline_picture = MediaAnalyzer<"metadata">() {}
    calendar_card = VCardAnalyzer<"kind" event>() {}
    nested_archive = ZipAnalyzer<>() {
        setAnalyzer(inline_picture);
    }

    // The first line of a forwarded mail carries a mark.
    body_text = TextAnalyzer<"encoding" utf8>() {
        functionOnText("text", default::strip_prefix({"» ", "›› "}));
    }

    body_html = XmlAnalyzer<"encoding" utf8>() {
        // What a link shows, to be held against where it leads.
        extractToNewAttribute("html/body//a", "shown_host", default::path_segment(1));
        analyzeAttribute("html/body//img", "src", inline_picture);
    }

    attachment = SmartAnalyzer<>(inline_picture, calendar_card, nested_archive) {}

    account_db = SqliteAnalyzer<"wal", "recover" pages>(fs.App, account_pattern) {
        setSpecific(sqlite.None);
        addSelectedTables({"mail", "folder", "attachment"});

        idOnColumn(mails, "message_id", "mail");
        idRefOnColumn(mails, "in_reply_to", "mail");
        idRefOnColumn(mails, "folder_id", "folder");
        idOnColumn("folder", "_id", "folder");

        extractToNewColumn(mails, "header_to", "to_list", mail::addresses(separator));
        customizableIdRefOnColumn(mails, "header_from", "person", mail::person_id());
        functionOnColumn(mails, "header_from", mail::plain());
        extractToNewColumn(mails, "subject", "thread", mail::thread_subject());
        functionOnColumn(mails, "subject", mail::plain());
        functionOnColumn(mails, "sent", default::unix_time(1000));

        analyzeConstColumn(mails, "body_file", fs.App, "files/bodies/{1}.txt", body_text);
        analyzeConstColumn(mails, "html_file", fs.App, "files/bodies/{1}.html", body_html);
        analyzeConstColumns("attachment", {"mail_id", "name"}, fs.App, "files/attachments/{1}/{2}",
            attachment);

        setRecoveryFilteringOnColumns(mails, {"message_id", "sent"});
        mergeDatabaseRecords(mails, {"message_id"});
        discardAllNonValidRecoveryLines(true);
    }
}

::People::Script::{
    const home_country = "44";

    ContentProviderContactsAnalyzer<"kind" person>("content://net.wrenpost.mail/people") {
        customizableIdOnColumn("person", "address", "person", mail::person_id());
        functionOnColumn("person", "phone", default::phone_number(home_country));
    }

    // How often the owner wrote to whom.
    usage = ContentProviderAnalyzer<"kind" usage>("content://net.wrenpost.mail/usage") {
        customizableIdRefOnColumn("usage", "address", "person", mail::person_id());
        functionOnColumn("usage", "last_used", default::unix_time(1));
        forceFunctionsOnNullValue(true);
    }

    exported_cards = VCardAnalyzer<"kind" card,
        "optional">(fs.Extra, {"Wrenpost/export/*.vcf", "Download/wrenpost-*.vcf"}) {
        customizableIdOnColumn("card", "email", "person", mail::person_id());
        functionOnColumn("card", "tel", default::phone_number(home_country));
    }
}

::Settings::Script::{
    account_object = JsonAnalyzer<>() {
        functionOnValue("last_sync", json.Double, default::unix_time(1000));
    }

    // <map><string name="account_1">base64 of a small JSON object</string></map>
    settings = XmlAnalyzer<>(fs.App, "shared_prefs/*_preferences.xml") {
        functionOnText("map/string", default::from_base64());
        analyzeText("map/string", account_object);
        idOnAttribute("map/string", "name", "account");
    }
}
