::App::Header::{
    engineVersion = 2; engineVersion = 3;
    author = "J. Doe";
    Package {
        names = "notes"; names = "notes.lite";
        platform = platform.iOS;
        platforms = platform.Palm, platform.iOS;
        namespaces = "Notes";
        Rights { read { all } }
    }
    Package { const x = "1"; const x = "2"; platforms = platform.Android; }
}
::App::Include::{
    Python { path = "lost.py"; }
    text = Python { path = "text.py"; versionMin = "3.9"; versionMin = "3.10"; }
    text = Python { path = "never.py"; }
    XQuery { index = 5; index = 4; }
    XQuery { path = "first.xq"; Index = 1; }
}
::Notes::Script::{
    const folder = "a"; const folder = "b";
    notes = JsonAnalyzer<>(folder, fs.Somewhere) {
        const folder = "c"; const folder = "d";
        functionOnValue(folder, text::clean(json.Nothing));
    }
    func addAdditionalFolder(folder);
}
::Notes::Script::{ never read }
