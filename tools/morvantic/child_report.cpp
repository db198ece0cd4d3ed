#include "child_report.h"

#include "child_process.h"
#include "failure.h"

#include "core/text.h"

#include <cstring>
#include <new>
#include <system_error>

namespace tool {

namespace {

/// How a child's output begins; the report or a sentence follows.
enum child_word : char {
    word_sound = ' ',
    word_errors = '!', // the engine finds some
    word_fault = '?',  // the script cannot be shown
    word_failure = '#' // nor any other
};

void send(const text_sink& sink, child_word word, std::string_view text) {
    const char first = word;
    sink({&first, 1});
    sink(text);
}

void write_report(const std::wstring& name, std::string_view text,
                  const std::optional<app_query>& query, const report_writer& write,
                  const text_sink& sink) {
    const script_outline outline = read_outline(text);
    if (outline.endless_comment_line != 0) {
        return send(sink, word_fault,
                    "The block comment that begins in line " +
                        std::to_string(outline.endless_comment_line) +
                        " has no end. The engine would read it for ever.");
    }
    const std::optional<script_report> report =
        read_script(name, outline, query, processor_seconds_for(text.size()));
    if (!report) return;
    send(sink, report->has_errors() ? word_errors : word_sound, write(*report));
}

child_report understood(std::string_view output) {
    if (output.empty()) return {};
    const std::string rest(output.substr(1));
    switch (output.front()) {
    case word_failure:
        fail_call(rest);
    case word_fault:
        return {"", true, rest};
    default:
        return {rest, output.front() == word_errors, ""};
    }
}

} // namespace

child_report report_in_child(const std::wstring& name, std::string_view text,
                             const std::optional<app_query>& query, const report_writer& write) {
    const std::string shown = core::encode_lossy(name);
    const child_result result = run_in_child([&](const text_sink& sink) {
        try {
            write_report(name, text, query, write, sink);
        } catch (const std::bad_alloc&) {
            send(sink, word_failure, "There is not enough memory to read " + shown + '.');
        } catch (const std::system_error& error) {
            send(sink, word_failure, shown + " cannot be read: " + error.what() + '.');
        } catch (const std::exception& error) {
            send(sink, word_fault, std::string("The engine cannot open it: ") + error.what());
        }
    });
    if (result.out_of_time) {
        const std::string seconds = std::to_string(processor_seconds_for(text.size()));
        return {"", true,
                "The engine had not come to an end of one of its sections after " + seconds +
                    " seconds. Is a semicolon missing behind a property that it does not know?"};
    }
    if (result.signal != 0) {
        return {"", true,
                std::string("Reading it ended by the signal \"") + strsignal(result.signal) +
                    "\"."};
    }
    if (!result.finished) fail_call(shown + " cannot be read: The process for it failed.");
    return understood(result.output);
}

} // namespace tool
