/*
 * Chatterbird for iOS. The stores are those of the Android app under other names, so the
 * queries are shared. The app and its share extension meet in the group container.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)

::App::Header::{
    const app_title = "Chatterbird";

    engineVersion = 1000000;

    Package {
        names = "net.chatterbird.ios", "net.chatterbird.ios.share";
        platforms = platform.iOS;
        versionMin = "5.0";
        namespaces = "Chats", "People";
        hasExtraFS = true;  // the group container
    }
}

::App::Include::{
    const country_code = "49";

    ids = Python {
        path = "python/chatterbird_ids.py";
        dependencies = "Default.py";
    }

    chatterbird = Python {
        path = "python/chatterbird_crypto.py";
    }

    XQuery {
        index = 4;
        path = "xquery/chatterbird/media.xq";
    }
    XQuery {
        index = 2;
        path = "xquery/chatterbird/chats.xq";
    }
    XQuery {
        index = 1;
        path = "xquery/chatterbird/people.xq";
    }
    XQuery {
        index = 3;
        path = "xquery/chatterbird/messages.xq";
    }
    XQuery {
        path = "xquery/common/evidence.xq";
    }
}

::Chats::Script::{
    func addDomainGroupFolder("group.net.chatterbird");
    func addKeychainXml("config/chatterbird/keychain.xml");
    func addConstantToXQuery("app-title", app_title);
    func addConstantToXQuery("chat-analyzers", "chat_db archived_db");
    func addConstantToXQuery("read-marks", "group_state");

    envelope = ProtobufAnalyzer<"message" Envelope>("Resources/chatterbird/envelope.proto") {
        functionOnValue("sent_at", proto.Varint, default::unix_time(1000));
    }

    picture = MediaAnalyzer<"metadata">() {}

    chat_db = SqliteAnalyzer<"wal", "recover" freelist>(fs.Extra, "Chatter.sqlite") {
        const messages = "message";

        setSpecific(sqlite.None);
        addSelectedTables({"conversation", "member", "message", "attachment"});
        idOnColumn("conversation", "uid", "chat");
        functionOnColumn("conversation", "created_at", default::apple_time());
        idRefOnColumn("member", "chat_uid", "chat");
        customizableIdRefOnColumn("member", "address", "person", ids::person_id(country_code));
        customizableIdOnColumns(messages, {"chat_uid", "seq"}, "message", ids::message_id());
        idRefOnColumn(messages, "chat_uid", "chat");
        customizableIdRefOnColumn(messages, "sender", "person", ids::person_id(country_code));
        functionOnColumn(messages, "received_at", default::apple_time());
        analyzeColumn(messages, "envelope", envelope);
        setRecoveryFilteringOnColumns(messages, {"chat_uid", "seq"});
        customizableIdRefOnColumns("attachment", {"chat_uid", "seq"}, "message", ids::message_id());
        analyzeConstColumns("attachment", {"chat_uid", "number", "extension"}, fs.Extra,
            "Media/{1}/{2}.{3}", picture);
    }

    archived_db = SqliteAnalyzer<"recover" freelist>(fs.Extra, "Archive/*.cba") {
        const messages = "chat_line";

        setFileFunction(chatterbird::open_archive(chatterbird::keychain_secret(default::keychain_item("chatterbird-secret"))));
        addSelectedTables({"chat_line"});
        functionOnColumn(messages, "chat", ids::chat_id());
        customizableIdOnColumns(messages, {"chat", "seq"}, "message", ids::message_id());
        idRefOnColumn(messages, "chat", "chat");
        analyzeColumn(messages, "envelope", envelope);
    }

    // One file for both processes; the array "chats" is like read_marks.json on Android.
    group_state = PlistAnalyzer<>(fs.Extra, "Library/Preferences/group.net.chatterbird.plist") {
        functionOnValue("chats/*/seen", plist.Real, default::apple_time());
        functionOnValue("notifications", plist.Bool, default::yes_no());
    }
}

::People::Script::{
    avatar = MediaAnalyzer<>() {}

    people_db = SqliteAnalyzer<"wal">(fs.App, "Library/Application Support/People.sqlite") {
        addSelectedTables({"person"});
        customizableIdOnColumn("person", "address", "person", ids::person_id(country_code));
        functionOnColumn("person", "address", default::phone_number(country_code));
        functionOnColumn("person", "blocked", default::yes_no());
        analyzeConstColumn("person", "avatar", fs.App, "Library/Caches/Avatars/{1}", avatar);
    }
}
