#include "faults/workload.h"

#include "support/encrypted_package.h"
#include "support/memory_store.h"
#include "support/received_file.h"
#include "support/zip_builder.h"

#include "core/logfile.h"
#include "morvantic/morvantic.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <recorder.h>
#include <sstream>

using namespace engine;
using interface = CScriptStorageInterface;

namespace faults {

namespace {

constexpr std::uintmax_t turnover = 10'485'760;

constexpr const char* script_text = R"(
::App::Header::{
    const title = "A title that is too long for a short string";
    Package { names = "com.example.mail", "com.example.another.long.name";
              platforms = platform.Android; namespaces = "Mail"; nobody = 1; }
}
::App::Include::{
    crypto = Python { path = "python/crypto.py"; dependencies = "Default.py"; }
    XQuery { path = "xquery/messages.xq"; index = 2; }
}
::Mail::Script::{
    func addConstantToXQuery("title", title);
    picture = MediaAnalyzer<"metadata">() {}
    mails = SqliteAnalyzer<"wal", "recover" freelist>(fs.App, {"mail.db", "old.db"}) {
        setFileFunction(crypto::open(crypto::key(title, -16), default::yes_no(true)));
        analyzeColumn("message", "photo", picture);
        func setSpecific(no.such);
    }
}
)";

/// Bytes that cannot be packed.
std::string noise(std::size_t count) {
    std::mt19937 random(7);
    std::string text(count, '\0');
    for (char& character : text)
        character = static_cast<char>('!' + random() % 90);
    return text;
}

support::bytes mail_package() {
    support::zip_builder archive;
    archive.members = {{"Resources/noise", noise(17'000), 0}, // more than a verified block
                       {"kept.sc", "::App::Header::{}"},
                       {"mail.sc", script_text, 0},
                       {"python/crypto.py", noise(2'000) + std::string(6'000, 'p')}};
    return support::encrypted_package(archive.build().content).build();
}

std::string installed(const std::wstring& path, const std::wstring& key) {
    const unsigned short code = mv_update_scripts_package(path.c_str(), key.c_str());
    if (code == mv_success) return "installed";
    return code == mv_package_refused || code == mv_failed ? failed : "unknown code";
}

std::string fetched(bool (*get)(const wchar_t*, CScriptArgumentCallback*), const wchar_t* name) {
    support::received_file file;
    return get(name, &file) ? std::move(file.content) : failed;
}

std::string listed() {
    interface storage;
    std::string names;
    const suspended pause;
    while (const wchar_t* name = storage.next())
        names += to_utf8(name) + "\n";
    return names;
}

std::string has_header(CScript& script) {
    script.init();
    return script.section("App", "Header") != nullptr ? "" : failed;
}

std::string read_script(const wchar_t* name) {
    recorder::recording_script script(name);
    script.init();
    auto* header = dynamic_cast<CScriptHeader*>(script.section("App", "Header"));
    auto* include = dynamic_cast<CScriptInclude*>(script.section("App", "Include"));
    if (header == nullptr || include == nullptr) return failed;
    std::string text;
    if (!header->accept("com.example.mail", platform_android)) text += "not accepted";
    while (const char* app = header->packageNames_next())
        text += app;
    while (const char* where = header->namespace_next())
        text += where;
    for (const char* module : {"default", "crypto"})
        text += include->python(module);
    while (const char* path = include->xquery_next())
        text += path;
    auto* body = dynamic_cast<recorder::recording_body*>(script.section("Mail", "Script"));
    if (body == nullptr) return failed;
    const suspended pause;
    for (const recorder::call& made : body->calls())
        text += "\n" + spelled(made);
    return text;
}

/// The lines of a log, without stamps and threads.
std::vector<std::string> lines_of(const std::string& path) {
    std::vector<std::string> lines;
    std::istringstream content(support::read_file(path));
    for (std::string line; std::getline(content, line);) {
        const std::size_t tag = line.find(") ");
        lines.push_back(line.starts_with("20") && tag < 40 ? line.substr(tag + 2) : line);
    }
    return lines;
}

/// What a log that was filled up to its turnover has come to, and the lines behind that.
std::string turned_over(const std::string& log) {
    std::error_code ignored;
    if (std::filesystem::file_size(log + ".bak", ignored) != turnover) return failed;
    std::string text = "turned";
    for (const std::string& line : lines_of(log))
        text += "\n" + line;
    return text;
}

} // namespace

workload::workload() : m_package(mail_package()) {
    restore_package();
    m_folder.write("again.pkg", m_package);
    m_folder.write("folder/plain.sc", "::App::Header::{ Package { names = \"plain\"; } }");
}

void workload::restore_package() const {
    std::filesystem::rename(m_folder.write("fresh", m_package), package_path());
}

outcome workload::run(const plan& fault) const {
    const std::wstring log_folder = m_folder.wide_file("log");
    const std::wstring folder = m_folder.wide_file("folder");
    const std::wstring first = m_folder.wide_file("mail.pkg");
    const std::wstring second = m_folder.wide_file("again.pkg");
    const std::wstring key = support::test_keys::signing().wide_public_path();
    const std::string log = m_folder.file("log/morvantic.log");
    std::filesystem::remove_all(m_folder.file("log"));
    outcome result;
    std::unique_ptr<CScript> kept; // over an installation

    const auto fill_log = [&] {
        const suspended pause;
        result.log = lines_of(log);
        std::ofstream(log + ".bak") << "an earlier log, for the turnover to remove";
        if (std::filesystem::exists(log)) std::filesystem::resize_file(log, turnover);
        return "";
    };

    const std::pair<const char*, std::function<std::string()>> steps[] = {
        {"log opened", [&] { return mv_init(log_folder.c_str()) == mv_success ? "" : "code"; }},
        {"level", [] { return mv_set_log_level(5, false) == mv_success ? "" : "code"; }},
        {"install", [&] { return installed(first, key); }},
        {"list", listed},
        {"open", [&] { return kept = std::make_unique<CScript>(L"kept.sc"), ""; }},
        {"script", [] { return read_script(L"mail.sc"); }},
        {"stored", [] { return fetched(interface::get_resource_file, L"Resources/noise"); }},
        {"deflated", [] { return fetched(interface::get_python_script, L"python/crypto.py"); }},
        {"install again", [&] { return installed(second, key); }},
        {"kept", [&] { return kept ? has_header(*std::exchange(kept, nullptr)) : failed; }},
        {"missing", [] { return fetched(interface::get_xquery_script, L"none.xq"); }},
        {"folder", [&] { return CScriptStorage::instance().add_folder(folder), listed(); }},
        {"plain", [] { return has_header(*std::make_unique<CScript>(L"plain.sc")); }},
        {"log filled", fill_log},
        {"turnover", [] { return mv_set_log_level(4, false) == mv_success ? "" : failed; }},
        {"behind it", [] { return mv_set_log_level(5, false) == mv_success ? "" : failed; }}};
    {
        const armed arm(fault);
        for (const auto& [name, work] : steps) {
            std::string text;
            try {
                text = work();
            } catch (const std::exception&) {
                text = failed;
            }
            const suspended pause;
            result.steps.push_back({name, std::move(text)});
        }
        const core::internals::log_target* target = core::internals::current_target.load();
        result.log_ended = target != nullptr && target->ended();
        mv_shutdown();
        storage_test_seam::package().reset();
        storage_test_seam::folder().reset();
        result.reached = arm.reached();
    }
    result.steps.push_back({"log", turned_over(log)});
    return result;
}

bool is_described(const result& faulty, const result& sound) {
    const std::string& got = faulty.text;
    if (got == sound.text || got == failed) return true;
    if (faulty.step == "list" || faulty.step == "folder") { // cut short, or nothing installed
        std::istringstream names(got);
        for (std::string name; std::getline(names, name);) {
            if (sound.text.find(name + "\n") == std::string::npos) return false;
        }
        return true;
    }
    if (faulty.step == "stored" || faulty.step == "deflated") { // zeros for what did not come
        const auto differs =
            std::mismatch(got.begin(), got.end(), sound.text.begin(), sound.text.end()).first;
        return got.empty() ||
               (got.size() == sound.text.size() &&
                std::all_of(differs, got.end(), [](char byte) { return byte == 0; }));
    }
    // A line that did not reach the log.
    return faulty.step == "log" && got.starts_with("turned");
}

} // namespace faults
