/*
 * Inkpigeon: picture postcards, sent from the phone and printed by the maker.
 *
 * LocalState/cards.xml       postcards that were sent
 * LocalState/outbox.dat      postcards that wait for a connection, in a format of its own
 * LocalState/settings.ini    the sender's address
 * RoamingState/contacts.vcf  addressees
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)
// A card is another thing in one object, on purpose.
// morvantic-check-off: constant-shadows

::App::Header::{
    engineVersion = 1000000;

    Package {
        names = "4417Inkpigeon.Cards_k9x2m4v7t1z0e";
        platforms = platform.WindowsPhone;
        namespaces = "Cards", "Addressees";
        hasExtraFS = true;
        versionMin = "1.2.0.0";
    }

    // The edition that a chain of shops handed out knows no addressees.
    Package {
        names = "4417Inkpigeon.CardsForShops_k9x2m4v7t1z0e";
        platforms = platform.WindowsPhone;
        namespaces = "Cards";
    }
}

::App::Include::{
    const stamp_file = "Resources/inkpigeon/stamps.xml";

    XQuery {
        path = "xquery/inkpigeon/postcards.xq";
        index = 1;
    }
    XQuery {
        path = "xquery/common/evidence.xq";
        index = 0;
    }
}

::Cards::Script::{
    const card = "cards/card";

    func addConstantToXQuery("analyzers", "sent outbox");
    func addAdditionalFolder(fs.Extra, "Pictures/Inkpigeon", false);

    small_picture = MediaAnalyzer<"kind" thumbnail>() {}

    picture = MediaAnalyzer<"metadata", "kind" picture>() {
        analyzeConstThumbnail(fs.App, "LocalState/thumbs", small_picture);
    }

    message_text = TextAnalyzer<"lines">() {
        functionOnText("line", default::strip_prefix({"- ", "* "}));
    }

    sent = XmlAnalyzer<"encoding" utf16>(fs.App, "LocalState/cards.xml") {
        idOnAttribute(card, "id", "card");
        functionOnAttribute(card, "sent", default::windows_time());
        functionOnAttribute(card, "stamp",
            default::lookup(default::xml_table(stamp_file, "number", "motif"), "unknown motif"));
        idRefOnText("cards/card/to", "addressee");
        customizableIdRefOnText("cards/card/from", "addressee", default::path_segment(-1));
        functionOnText("cards/card/message", default::from_base64());
        analyzeText("cards/card/message", message_text);
        analyzeConstText("cards/card/picture", fs.Extra, "Pictures/Inkpigeon/{1}", picture);
    }

    outbox = GenericAnalyzer<"optional">(fs.App, "LocalState/outbox.dat",
        "config/inkpigeon/outbox_layout.xml") {
        const card = "postcard";  // a record here, where the file of sent cards has elements

        idOnColumn(card, "card_id", "card");
        idRefOnColumn(card, "recipient", "addressee");
        functionOnColumn(card, "written", default::windows_time());
        functionOnColumn(card, "stamp",
            default::lookup(default::xml_table(stamp_file, "number", "motif"), "unknown motif"));
    }

    settings = IniAnalyzer<"encoding" utf16>(fs.App, "LocalState/settings.ini") {
        functionOnValue("Sync/LastRun", json.String, default::windows_time());
        functionOnValue("Sender/Telephone", json.String, default::phone_number("31"));
    }
}

::Addressees::Script::{
    addressees = VCardAnalyzer<"kind" addressee>(fs.App, "RoamingState/contacts.vcf") {
        idOnColumn("addressee", "fn", "addressee");
        functionOnColumn("addressee", "tel", default::phone_number("31"));
        functionOnColumns("addressee", {"street", "postcode", "town"}, "address",
            default::join_values(", "));
    }
}
