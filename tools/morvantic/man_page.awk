# Writes the man page of a command, made of what --help says of it and of the command as a whole.
#
#     awk -v tool=FILE -v command=NAME -v version=N.N.N -v page=FILE -f man_page.awk
#
# Without a command's name it is the page of the tool itself. The help is in blocks with an empty
# line between them: a usage, a summary, tables with a heading, and notes. In notes, indented lines
# stand as they are, and a block on the exit status or with examples has a section of its own.

BEGIN {
    table_column = 27 # where the formatter of the help begins the second column
    main_help = ask("")
    help = command == "" ? main_help : ask(command " ")
    title = "morvantic" (command == "" ? "" : "-" command)

    count = split(help, blocks, "\n\n")
    for (i = 1; i <= count; ++i) take(blocks[i])
    if (summary == "") fail("The help of " title " is not as it should be.")

    write(".TH " escaped(toupper(title)) " 1 \"\" \"morvantic " version "\" \"User Commands\"\n")
    write(".nh\n.ad l\n") # what is to be typed is neither broken nor stretched
    section("NAME", escaped(title) " \\- " escaped(phrase(summary)) "\n")
    section("SYNOPSIS", synopsis)
    section("DESCRIPTION", description == "" ? note(summary) : description)
    section("ARGUMENTS", tables["Arguments:"])
    section("OPTIONS", tables["Options:"])
    section("COMMANDS", tables["Subcommands:"])
    section("EXIT STATUS", exit_table(main_help) status_notes)
    section("EXAMPLES", examples)
    section("SEE ALSO", other_pages(main_help))
    if (close(page) != 0) fail("The page cannot be written.")
}

function fail(message) {
    print message > "/dev/stderr"
    exit 1
}

function write(text) { printf "%s", text > page }

function section(heading, text) {
    if (text != "") write(".SH " heading "\n" text)
}

# What --help prints.
function ask(words,    call, line, text) {
    call = "'" tool "' " words "--help"
    while ((call | getline line) > 0) text = text line "\n"
    if (close(call) != 0) fail("The tool does not give its help.")
    return text
}

function take(block,    heading) {
    sub(/\n+$/, "", block)
    heading = block
    sub(/\n.*/, "", heading)
    if (heading ~ /^Usage: /) synopsis = usage(substr(block, 8))
    else if (heading ~ /^(Arguments|Options|Subcommands):$/) tables[heading] = table(block)
    else if (heading ~ /^Examples?:$/) examples = note(substr(block, length(heading) + 2))
    else if (heading ~ /^Exit status/) status_notes = status_notes note(block)
    else if (heading ~ /Exit status:$/) description = description note(before_exit_table(block))
    else if (summary == "") summary = block
    else description = description note(block)
}

# Words of the command line: the command bold, what the user puts in slanted.
function usage(line,    words, count, i, text) {
    count = split(line, words, " ")
    for (i = 1; i <= count; ++i)
        text = text (i > 1 ? " " : "") (words[i] ~ /^[-a-z]/ ? bold(words[i]) : name(words[i]))
    return text "\n"
}

# A paragraph, whose indented lines stand as they are.
function note(block,    lines, count, i, literal, text) {
    count = split(block, lines, "\n")
    text = ".PP\n"
    for (i = 1; i <= count; ++i) {
        if ((lines[i] ~ /^  /) != literal) {
            literal = !literal
            text = text (literal ? ".RS 4\n.EX\n" : ".EE\n.RE\n.PP\n")
        }
        text = text text_line(literal ? substr(lines[i], 3) : lines[i])
    }
    return text (literal ? ".EE\n.RE\n" : "")
}

# Lines of two columns. One that is empty in the first column goes on with the row before; a long
# first column has its line to itself.
function table(block,    lines, count, i, tag, rest, text) {
    count = split(block, lines, "\n")
    for (i = 2; i <= count; ++i) {
        tag = substr(lines[i], 3, table_column - 3)
        rest = substr(lines[i], table_column)
        if (substr(lines[i], table_column - 1, 1) ~ /[^ ]/) {
            tag = substr(lines[i], 3)
            rest = ""
        }
        sub(/ +$/, "", tag)
        if (tag != "") text = text ".TP\n" entry(lines[1], tag) "\n"
        if (rest != "") text = text text_line(rest)
    }
    return text
}

function entry(heading, tag,    words, count, i, text) {
    if (heading == "Subcommands:") return page_name("morvantic-" tag)
    count = split(tag, words, " ")
    for (i = 1; i <= count; ++i)
        text = text (i > 1 ? " " : "") (words[i] ~ /^-/ ? option(words[i]) : name(words[i]))
    return text
}

function option(word,    comma) {
    comma = sub(/,$/, "", word) ? "," : ""
    return bold(word) comma
}

function before_exit_table(block) {
    sub(/ *Exit status:.*/, "", block)
    return block
}

# The table under "Exit status:" in the help of the tool, which holds for every command.
function exit_table(help,    lines, count, i, text) {
    sub(/.*Exit status:\n/, "", help)
    count = split(help, lines, "\n")
    for (i = 1; i <= count && match(lines[i], /^  [0-9]+  /); ++i)
        text = text ".TP\n" bold(substr(lines[i], 3, RLENGTH - 4)) "\n" \
               text_line(substr(lines[i], RLENGTH + 1))
    return text
}

function other_pages(help,    lines, words, count, i, text) {
    if (command != "") text = page_name("morvantic")
    sub(/.*Subcommands:\n/, "", help)
    count = split(help, lines, "\n")
    for (i = 1; i <= count && lines[i] != ""; ++i) {
        split(lines[i], words, " ")
        if (words[1] == command) continue
        text = text (text == "" ? "" : ",\n") page_name("morvantic-" words[1])
    }
    return text "\n"
}

# A sentence as part of another.
function phrase(text) {
    sub(/\.$/, "", text)
    return tolower(substr(text, 1, 1)) substr(text, 2)
}

# Another page, never broken over two lines.
function page_name(text) { return "\\%" bold(text) "(1)" }

function bold(text) { return "\\fB" escaped(text) "\\fR" }

# Words in capitals are slanted: they stand for something else.
function name(text) {
    text = escaped(text)
    gsub(/[A-Z]+/, "\\fI&\\fR", text)
    return text
}

# A line of text. At its beginning, a dot or a quote would be taken for a request.
function text_line(text) { return (text ~ /^[.']/ ? "\\&" : "") escaped(text) "\n" }

# Characters that typesetting would change or obey.
function escaped(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    gsub(/'/, "\\(aq", text)
    gsub(/`/, "\\(ga", text)
    gsub(/\^/, "\\(ha", text)
    gsub(/~/, "\\(ti", text)
    return text
}
