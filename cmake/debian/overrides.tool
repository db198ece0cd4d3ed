# The tool knows the texts of the engine's log lines by heart, misspellings included. Other words
# are machine code.
morvantic: spelling-error-in-binary *
# The packages are not made for Debian's archive, which would know a bug to close.
morvantic: initial-upload-closes-no-bugs *
