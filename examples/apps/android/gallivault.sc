/*
 * Gallivault hides pictures and clips behind what looks like a calculator.
 *
 * files/.gv/N/HASH.gv        media, scrambled with a table that all installations share
 * files/.gv/index.db         the original names, scrambled the other way round
 * files/.gv/thumbs           thumbnails in clear, under the names of the media
 *
 * An odd vault number N marks a decoy vault, which a second PIN opens.
 */
// morvantic-check-off: version-ignored (limits tell readers what the author has seen)

::App::Header::{
    engineVersion = 1000000;

    const key_table = "Resources/gallivault/keytable.bin";

    Package {
        names = "app.gallivault.photos";
        platforms = platform.Android;
        namespaces = "App";
    }

    Package {
        names = "app.gallivault.photos.lite";
        platforms = platform.Android;
        namespaces = "App";
        versionMax = "2.99";
        hasExtraFS = true;  // the free edition copies its vault to shared storage
    }
}

::App::Include::{
    gallivault = Python {
        path = "python/gallivault_xor.py";
        versionMin = "3.6.2";
    }

    XQuery {
        path = "xquery/common/evidence.xq";
    }
    XQuery {
        path = "xquery/gallivault/hidden_media.xq";
        index = 1;
    }
}

::App::Script::{
    const thumb_folder = "files/.gv/thumbs";

    func addConstantToXQuery("vault-database", "vault_index");
    func addAdditionalFolder(fs.Extra, "Gallivault Lite", true);
    func setPathToIdModifier(gallivault::medium_hash());

    thumbnail = MediaAnalyzer<"kind" thumbnail>() {}

    picture = MediaAnalyzer<"metadata", "kind" picture>() {
        analyzeConstThumbnail(fs.App, thumb_folder, thumbnail);
    }

    clip = MediaAnalyzer<"kind" clip>() {}

    either = SmartAnalyzer<>(picture, clip) {}

    // Whole files are unscrambled before anything looks at them.
    vault_files = ObfuscatedAnalyzer<>(fs.App, {"files/.gv/*/*.gv", "files/.gv/*/*.gvclip"},
        obfs.File, gallivault::unscramble(default::resource(key_table))) {
        setAnalyzer(either);
    }

    lite_files = ObfuscatedAnalyzer<"optional">(fs.Extra, "Gallivault Lite/**/*.gv", obfs.File,
        gallivault::unscramble(default::resource(key_table))) {
        setAnalyzer(either);
    }

    // Uploads are scrambled in blocks of their own, each from the table's start.
    ObfuscatedAnalyzer<"optional">(fs.App, "cache/upload/*.part", obfs.Mem,
        gallivault::unscramble_block(default::resource(key_table))) {
        setAnalyzer(either, "*.part");
    }

    vault_index = SqliteAnalyzer<"recover" pages>(fs.App, "files/.gv/index.db") {
        const hidden = "hidden";

        addSelectedTables({"hidden"});
        idOnColumn(hidden, "hash", "medium");
        functionOnColumn(hidden, "name", gallivault::original_name(default::resource(key_table)));
        extractToNewColumn(hidden, "vault", "vault_kind", gallivault::vault_of());
        functionOnColumn(hidden, "hidden_at", default::unix_time(1000));
        functionOnColumn(hidden, "deleted", default::yes_no());
        setRecoveryFilteringOnColumns(hidden, {"hash", "vault"});
    }

    // Thumbnails survive in unallocated space long after a vault is emptied.
    raw_remains = DefaultAnalyzer<"carve" pictures>(fs.Raw, "**") {}
}
