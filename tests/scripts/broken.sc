::App::Header::{
    Package { names = "music"; platforms = platform.Android; namespaces = "Songs", "Lists"; }
    Package { names = "music"; platforms platform.iOS; }
}
::App::Include::{
    tags = Python { path = "tags.py"; }
    XQuery { path = "songs.xq"; }
    XQuery { path = "lists.xq"; }
}
::Songs::Script::{
    songs = SqliteAnalyzer<"wal">(fs.App, "songs.db") {
        const table = "song";
        idOnColumn(table, "id", "song");
        functionOnColumn(table, "tags", tags::list(
            "id3", tag::version(2)));
        idOnColumn(table, "album", "album");
    }
}
::Lists::Script::{
    const table = "list";
    func addSelectedTables({table});
}
::More::Script::{
    func addSelectedTables({"list"});
}
::Late::Script::{
    /* closed, */ func setSpecific(1);
    { { }
}
