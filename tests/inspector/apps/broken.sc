// It stands before the other script, and may have been meant for the app.
::App::Header::{
    Package {
        names = "org.example.odd"
    }
}
