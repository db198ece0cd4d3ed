/*
 * Chatterbird for Android: chats between two people and in groups, calls to bots.
 *
 * databases/chatter.db       chats and members; message bodies are protobuf envelopes
 * databases/people.db        address book with the app's own names
 * files/archive/NAME.cba     chats that the user put away: encrypted, see the Python module
 * Chatterbird/Media          pictures and clips on shared storage, named by attachment
 *
 * The archives open with the session secret of shared_prefs/session.xml. The app removes it
 * when the user signs out, and the archives stay closed then.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)

::App::Header::{
    const app_title = "Chatterbird";

    engineVersion = 1000000;

    Package {
        names = "net.chatterbird.mobile";
        platforms = platform.Android;
        versionMin = "5.0";
        namespaces = "Chats", "People", "Archive";
        hasExtraFS = true;
    }

    // The test channels keep their media inside the app's folder and have no archive.
    Package {
        const channel = "test";
        names = "net.chatterbird.mobile.beta", "net.chatterbird.mobile.nightly";
        platforms = platform.Android;
        namespaces = "Chats", "People";
    }
}

::App::Include::{
    const country_code = "49";  // of numbers that members typed without one

    chatterbird = Python {
        path = "python/chatterbird_crypto.py";
        versionMin = "3.6.2";
    }

    ids = Python {
        path = "python/chatterbird_ids.py";
        dependencies = "Default.py";
    }

    XQuery {
        path = "xquery/common/evidence.xq";
    }
    XQuery {
        path = "xquery/chatterbird/messages.xq";
        index = 3;
    }
    XQuery {
        path = "xquery/chatterbird/people.xq";
        index = 1;
    }
    XQuery {
        path = "xquery/chatterbird/chats.xq";
        index = 2;
    }
    XQuery {
        path = "xquery/chatterbird/media.xq";
        index = 4;
    }
}

::Chats::Script::{
    const messages = "message";

    func addConstantToXQuery("app-title", app_title);
    func addConstantToXQuery("chat-analyzers", "chat_db archived_db");
    func addAdditionalFolder(fs.Extra, "Chatterbird/Media", true);
    func setPathToIdModifier(default::path_segment(-1));

    picture = MediaAnalyzer<"metadata">() {}

    // The schema names the fields that have been seen; the rest keep their numbers.
    envelope = ProtobufAnalyzer<"message" Envelope,
        "unknown_fields">("Resources/chatterbird/envelope.proto") {
        functionOnValue("sent_at", proto.Varint, default::unix_time(1000));
        functionOnValue("expires_after", proto.Num32, default::unix_time(1));
        analyzeValue("attachments/preview", proto.String, picture);
    }

    chat_db = SqliteAnalyzer<"wal", "recover" freelist>(fs.App, "databases/chatter.db") {
        const chats = "conversation";

        setSpecific(sqlite.None);
        setInstantInitialize(true);
        addSelectedTables({"conversation", "member", "message", "attachment"});

        idOnColumn(chats, "uid", "chat");
        functionOnColumn(chats, "created_at", default::unix_time(1000));
        functionOnColumn(chats, "muted", default::yes_no());

        idRefOnColumn("member", "chat_uid", "chat");
        customizableIdRefOnColumn("member", "address", "person", ids::person_id(country_code));

        customizableIdOnColumns(messages, {"chat_uid", "seq"}, "message", ids::message_id());
        idRefOnColumn(messages, "chat_uid", "chat");
        customizableIdRefOnColumn(messages, "sender", "person", ids::person_id(country_code));
        functionOnColumn(messages, "received_at", default::unix_time(1000));
        analyzeColumn(messages, "envelope", envelope);
        setRecoveryFilteringOnColumns(messages, {"chat_uid", "seq", "received_at"});
        mergeDatabaseRecords(messages, {"chat_uid", "seq"});

        // Attachments lie in one folder a chat, under the number of the attachment.
        customizableIdRefOnColumns("attachment", {"chat_uid", "seq"}, "message", ids::message_id());
        analyzeConstColumns("attachment", {"chat_uid", "number", "extension"}, fs.Extra,
            "Chatterbird/Media/{1}/{2}.{3}", picture);
        discardAllNonValidRecoveryLines(true);
    }

    // Times of the last visit to each chat: {"chats": [{"uid": "...", "seen": 1700000000}]}
    read_marks = JsonAnalyzer<"optional">(fs.App, "files/read_marks.json") {
        functionOnValue("chats/*/seen", json.Double, default::unix_time(1));
        func addConstantToXQuery("read-marks", "read_marks");
    }
}

::People::Script::{
    const people_file = "databases/people.db";

    avatar = MediaAnalyzer<>() {}

    people_db = SqliteAnalyzer<"wal">(fs.App, people_file) {
        addSelectedTables({"person"});
        customizableIdOnColumn("person", "address", "person", ids::person_id(country_code));
        functionOnColumn("person", "address", default::phone_number(country_code));
        functionOnColumn("person", "blocked", default::yes_no());
        analyzeConstColumn("person", "avatar", fs.App, "files/avatars/{1}", avatar);
    }
}

::Archive::Script::{
    const secret_name = "session_secret";

    archived_envelope = ProtobufAnalyzer<"message" Envelope>("Resources/chatterbird/envelope.proto") {
        functionOnValue("sent_at", proto.Varint, default::unix_time(1000));
    }

    archived_db = SqliteAnalyzer<"recover" freelist>(fs.App, "files/archive/*.cba") {
        // Archives were written before the tables got their present names.
        const chat_lines = "chat_line";

        setFileFunction(chatterbird::open_archive(chatterbird::session_secret(default::app_file(fs.App,
            "shared_prefs/session.xml"), secret_name)));
        addSelectedTables({"chat_line"});
        functionOnColumn(chat_lines, "chat", ids::chat_id());
        customizableIdOnColumns(chat_lines, {"chat", "seq"}, "message", ids::message_id());
        idRefOnColumn(chat_lines, "chat", "chat");
        analyzeColumn(chat_lines, "envelope", archived_envelope);
        forceFunctionsOnNullValue(false);
    }
}
