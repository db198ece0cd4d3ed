# The tool knows the texts of the engine's log lines by heart, misspellings included.
morvantic: spelling-error-in-binary catched caught *
morvantic: spelling-error-in-binary overriden overridden *
# The packages are not made for Debian's archive, which would know a bug to close.
morvantic: initial-upload-closes-no-bugs *
