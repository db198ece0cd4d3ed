#include "python_calls.h"

#include "../package_file.h"
#include "python_driver.h"

#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace inspector {

namespace {

constexpr std::chrono::seconds longest_call{60};

[[noreturn]] void fail(const char* what, int code = errno) {
    throw std::system_error(code, std::generic_category(), what);
}

struct descriptor {
    int number = -1;

    descriptor() = default;

    explicit descriptor(int opened) : number(opened) {}

    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;

    ~descriptor() {
        if (number >= 0) close(number);
    }
};

/// The module's name for Python: its path without folders and ending.
std::string stem(const std::string& path) { return std::filesystem::path(path).stem().string(); }

/// A value for the driver: bytes, dictionaries and numbers without end are marked, so that none can
/// pass for another.
value packed(const value& content) {
    if (content.is_binary()) return {{"bytes", to_base64(content.get_binary())}};
    if (is_endless(content)) return {{"number", to_text(content)}};
    if (!content.is_structured()) return content;
    value list = value::array();
    for (const auto& [key, item] : content.items())
        list.push_back(content.is_array() ? packed(item) : value::array({key, packed(item)}));
    return content.is_array() ? list : value{{"dict", list}};
}

value unpacked(const value& result) {
    if (!result.is_object()) return result;
    if (result.contains("number")) return std::stod(result["number"].get<std::string>());
    return value::binary(from_base64(result.at("bytes").get_ref<const std::string&>()));
}

/// Writes a call with all calls in it as one list of steps, so that a script may nest as deep as it
/// likes.
struct program_writer {
    struct open_call {
        const recorder::value* item;
        std::size_t count; // of its arguments so far
    };

    const std::map<std::string, python_module>& modules;
    value steps = value::array();
    std::vector<open_call> open{};

    void leaf(const recorder::value& item) {
        count();
        switch (item.kind) {
        case recorder::value_int:
            push(item.number);
            break;
        case recorder::value_bool:
            push(item.number != 0);
            break;
        case recorder::value_texts:
            push(item.texts);
            break;
        case recorder::value_call:
            finish(item, 0);
            break;
        default:
            push(item.text);
            break;
        }
    }

    void call_begin(const recorder::value& item) {
        count();
        open.push_back({&item, 0});
    }

    void call_end() {
        const open_call ended = open.back();
        open.pop_back();
        finish(*ended.item, ended.count);
    }

    void count() {
        if (!open.empty()) ++open.back().count;
    }

    void push(value content) { steps.push_back({"push", std::move(content)}); }

    void finish(const recorder::value& item, std::size_t arguments) {
        const call_names names = names_of(item);
        const auto found = modules.find(names.where);
        if (found == modules.end()) throw script_error("there is no module " + names.where);
        steps.push_back({"call", stem(found->second.path), names.function, arguments});
    }
};

} // namespace

/// A process with a line to talk over. It is gone when this object is, or when anything goes wrong
/// between the two: an answer that comes late would be taken for the next one.
class python_calls::child {
public:
    child() {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
            fail("socketpair");
        m_line.number = ends[0];
        const descriptor other_end(ends[1]);

        posix_spawn_file_actions_t files{};
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, other_end.number, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&files, other_end.number, STDOUT_FILENO);
        // -I: neither the environment nor the working directory has a say in what is imported.
        // -u: what a module prints comes out even if the process is ended.
        const std::array<const char*, 6> words{"python3", "-I", "-u", "-c", python_driver, nullptr};
        const int code = posix_spawnp(&m_process, words[0], &files, nullptr,
                                      const_cast<char* const*>(words.data()), environ);
        posix_spawn_file_actions_destroy(&files);
        if (code != 0) fail("python3 cannot be started", code);
    }

    child(const child&) = delete;
    child& operator=(const child&) = delete;

    ~child() {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }

    /// What follows belongs to one request, and all of it has to be done in its time.
    void begin_request() {
        if (!m_end.empty()) throw std::runtime_error(m_end);
        ++m_number;
        m_deadline = clock::now() + longest_call;
    }

    void send(value message) {
        message["number"] = m_number;
        const std::string line =
            message.dump(-1, ' ', false, value::error_handler_t::replace) + '\n';
        for (std::size_t sent = 0; sent != line.size();) {
            wait_for(POLLOUT);
            sent += moved(::send(m_line.number, line.data() + sent, line.size() - sent,
                                 MSG_NOSIGNAL | MSG_DONTWAIT));
        }
    }

    value receive() {
        std::string line;
        while (line.empty() || line.back() != '\n') { // it says no more before it is asked again
            std::array<char, 65536> bytes{};
            wait_for(POLLIN);
            line.append(bytes.data(),
                        moved(recv(m_line.number, bytes.data(), bytes.size(), MSG_DONTWAIT)));
        }
        value message = value::parse(line, nullptr, false);
        const bool is_answer =
            message.is_object() && message.contains("number") && message["number"] == m_number;
        if (!is_answer) end("python3 has talked out of turn");
        return message;
    }

private:
    using clock = std::chrono::steady_clock;

    void wait_for(short event) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - clock::now());
        pollfd line{m_line.number, event, 0};
        if (left.count() > 0 && poll(&line, 1, static_cast<int>(left.count())) != 0) return;
        end("python3 took too long");
    }

    std::size_t moved(ssize_t count) {
        if (count > 0) return static_cast<std::size_t>(count);
        if (count < 0 && errno == EAGAIN) return 0;
        end("python3 has ended");
    }

    [[noreturn]] void end(const char* reason) {
        kill(m_process, SIGKILL);
        m_end = reason;
        throw std::runtime_error(m_end);
    }

    descriptor m_line;
    pid_t m_process = 0;
    int m_number = 0; // of the request that is under way
    clock::time_point m_deadline{};
    std::string m_end; // why there are no more requests
};

python_calls::python_calls(std::map<std::string, python_module> modules, hook answer_hook)
    : m_modules(std::move(modules)), m_hook(std::move(answer_hook)) {}

python_calls::~python_calls() = default;

value python_calls::run(const recorder::value& call, const value& input) {
    const definition& known = defined(call);
    if (!known.error.empty()) throw std::runtime_error(known.error);
    return answer_to({{"run", known.number}, {"value", packed(input)}});
}

const python_calls::definition& python_calls::defined(const recorder::value& call) {
    const int number = static_cast<int>(m_definitions.size());
    const auto [found, is_new] = m_definitions.try_emplace(&call, definition{number, {}});
    if (!is_new) return found->second;
    try {
        start();
        answer_to({{"define", number}, {"program", program(call)}});
    } catch (const std::exception& failure) {
        found->second.error = failure.what();
    }
    return found->second;
}

void python_calls::start() {
    if (!m_start_error.empty()) throw std::runtime_error(m_start_error);
    if (m_child) return;
    try {
        m_child = std::make_unique<child>();
        answer_to({{"modules", modules()}});
    } catch (const std::exception& failure) {
        m_start_error = failure.what();
        throw;
    }
}

value python_calls::answer_to(const value& request) {
    m_child->begin_request();
    m_child->send(request);
    for (;;) {
        const value message = m_child->receive();
        if (message.contains("error")) {
            throw std::runtime_error(message["error"].get<std::string>());
        }
        if (!message.contains("ask")) return unpacked(message.at("value"));
        value reply;
        try {
            const std::string file = m_hook(message["ask"], message.at("names"));
            reply = {{"value", packed(from_bytes(file))}};
        } catch (const std::exception& failure) {
            reply = {{"error", failure.what()}};
        }
        m_child->send(reply);
    }
}

value python_calls::modules() const {
    value sources = value::object();
    std::map<std::string, std::string> paths;
    const auto add = [&](const std::string& path) {
        const auto known = paths.emplace(stem(path), path).first;
        if (known->second != path) {
            throw std::runtime_error(path + " and " + known->second + " have one name in Python");
        }
        if (const auto source = package_file(path)) {
            sources[stem(path)] = packed(from_bytes(*source));
        }
    };
    add("Default.py");
    for (const auto& [where, module] : m_modules) {
        add(module.path);
        for (const std::string& path : module.dependencies)
            add(path);
    }
    return sources;
}

value python_calls::program(const recorder::value& call) const {
    program_writer writing{m_modules};
    recorder::walk(recorder::value_list({call}), writing);
    return writing.steps;
}

} // namespace inspector
