#include "engine_log.h"

#include "log_lines.h"
#include "signals.h"

#include "core/text.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <morvantic/morvantic.h>
#include <system_error>

namespace tool {

namespace {

constexpr std::string_view announcements = "mvx\\core\\debug"; // the log speaks of itself

constexpr unsigned short default_level = 4;

[[noreturn]] void fail_system(const std::string& words) {
    throw std::system_error(errno, std::generic_category(), words);
}

/// Without the words that the engine puts in front of a failure that it passes on or ends.
std::string_view bare(std::string_view text) {
    for (const std::string_view words : {"[EXC] ", "Exception catched: "}) {
        if (text.starts_with(words)) text.remove_prefix(words.size());
    }
    return text.substr(0, text.find_last_not_of('\n') + 1);
}

} // namespace

engine_log::engine_log() {
    const signals_blocked until_nothing_is_left;
    std::string folder = std::filesystem::temp_directory_path() / "morvantic-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) fail_system("cannot make " + folder);
    const std::string path = folder + "/morvantic.log";
    mv_init(core::decode_path(folder).c_str());
    m_file = descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    unlink(path.c_str());
    rmdir(folder.c_str());
    check();
}

engine_log::~engine_log() { mv_shutdown(); }

std::vector<log_message> engine_log::take_new() {
    std::string content;
    std::array<std::uint8_t, 4096> buffer;
    while (const std::size_t got = read_some(m_file.number(), buffer))
        content.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(got));

    std::vector<log_message> messages;
    for (const log_line& line : parse_log(content)) {
        const std::string_view text = bare(line.text);
        const bool is_error = line.level == "ERROR";
        if (line.module == announcements || (is_error && text == m_last_error)) continue;
        m_last_error = is_error ? text : "";
        messages.push_back({line.level, std::string(text)});
    }
    return messages;
}

void engine_log::check() const {
    file_status before{};
    file_status after{};
    fstat(m_file.number(), &before);
    mv_set_log_level(default_level - 1, true);
    mv_set_log_level(default_level, false); // a change, which is announced
    if (fstat(m_file.number(), &after) == 0 && after.st_size > before.st_size) return;
    errno = ENOSPC;
    fail_system("cannot write the engine's log");
}

} // namespace tool
