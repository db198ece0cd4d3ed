#include "run_tool.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>
#include <pty.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace tools_test {

namespace {

[[noreturn]] void become_tool(const std::vector<std::string>& arguments) {
    std::vector<char*> list;
    list.push_back(const_cast<char*>(TOOL_PATH));
    for (const std::string& argument : arguments)
        list.push_back(const_cast<char*>(argument.c_str()));
    list.push_back(nullptr);
    execv(list[0], list.data());
    _exit(127);
}

} // namespace

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

pid_t start(const std::vector<std::string>& arguments, const redirection& where, int out, int err) {
    const pid_t process = fork();
    if (process != 0) return process;
    dup2(open(where.in.c_str(), O_RDONLY), STDIN_FILENO);
    if (out >= 0) {
        dup2(out, STDOUT_FILENO);
    } else {
        close(STDOUT_FILENO);
    }
    dup2(err, STDERR_FILENO);
    if (!where.environment.empty()) putenv(const_cast<char*>(where.environment.c_str()));
    become_tool(arguments);
}

int wait_for(pid_t process) {
    int status = 0;
    if (waitpid(process, &status, 0) != process) throw std::runtime_error("no process");
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

run_result run(const std::vector<std::string>& arguments, const redirection& where) {
    const support::temp_folder folder;
    const auto create = [](const std::string& path) {
        return open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    };
    const std::string out_path = where.out.empty() ? folder.file("out") : where.out;
    const int out = where.out == "-" ? -1 : create(out_path);
    const int err = create(folder.file("err"));
    const pid_t process = start(arguments, where, out, err);
    close(out);
    close(err);
    run_result result;
    result.status = wait_for(process);
    if (where.out.empty()) result.out = support::read_file(out_path);
    result.err = support::read_file(folder.file("err"));
    return result;
}

std::string run_on_terminal(const std::vector<std::string>& arguments) {
    int terminal = -1;
    const pid_t process = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (process == 0) become_tool(arguments);
    std::string text;
    std::array<char, 4096> block;
    for (ssize_t count = 0; (count = read(terminal, block.data(), block.size())) > 0;)
        text.append(block.data(), static_cast<std::size_t>(count));
    close(terminal);
    wait_for(process);
    return text;
}

std::string public_key() { return support::test_keys::signing().public_path(); }

std::string private_key() { return support::test_keys::signing().private_path(); }

} // namespace tools_test
