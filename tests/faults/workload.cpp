#include "faults/workload.h"

#include "support/memory_store.h"
#include "support/package_builder.h"
#include "support/zip_builder.h"

#include "core/logfile.h"
#include "core_crypto/cipher.h"
#include "morvantic/morvantic.h"
#include "morvanticshared/packageheader.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <recorder.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace engine;

namespace faults {

namespace {

constexpr off_t turnover = 10'485'760;

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

/// Bytes that cannot be packed, of several blocks.
std::string noise(std::size_t count) {
    std::mt19937 random(7);
    std::string text(count, '\0');
    for (char& character : text)
        character = static_cast<char>('!' + random() % 90);
    return text;
}

support::bytes encrypted_package() {
    support::zip_builder archive;
    archive.members = {{"Resources/noise", noise(36'000), 0},
                       {"mail.sc", script_text},
                       {"python/crypto.py", noise(4'000) + std::string(30'000, 'p')}};
    support::package_builder package;
    package.encryption_type = 16192;
    const auto header = package::read_header(*support::deep_stream(package.header()));
    core::CCipher cipher(core::op_encrypt, core::mode_cfb, header->package_key());
    cipher.set_iv(header->package_iv());
    const support::bytes clear = archive.build().content;
    cipher.append(clear.data(), clear.size());
    package.payload = cipher.finish();
    return package.build();
}

struct received : CScriptArgumentCallbackOf<received> {
    std::string content;

    void set_bytes(const unsigned char* bytes, std::size_t size) override {
        const suspended pause;
        content.assign(reinterpret_cast<const char*>(bytes), size);
    }
};

using get_operation = bool (*)(const wchar_t*, CScriptArgumentCallback*);

std::string fetched(get_operation get, const wchar_t* name) {
    received file;
    return get(name, &file) ? std::move(file.content) : failed;
}

std::string listed() {
    CScriptStorageInterface storage;
    std::string names;
    const suspended pause;
    while (const wchar_t* name = storage.next())
        names += to_utf8(name) + "\n";
    return names;
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

} // namespace

workload::workload() : m_package(encrypted_package()), m_package_path(m_folder.file("mail.pkg")) {
    restore_package();
    m_folder.write("again.pkg", m_package);
    m_folder.write("folder/plain.sc", "::App::Header::{ Package { names = \"plain\"; } }");
    support::test_keys::signing();
}

void workload::restore_package() const {
    const std::string fresh = m_folder.write("fresh", m_package);
    std::filesystem::rename(fresh, m_package_path);
}

/// Leaves a backup for the turnover to remove.
void workload::clear_log() const { std::filesystem::remove_all(m_folder.file("log")); }

outcome workload::run(const plan& fault) {
    const std::wstring log_folder = m_folder.wide_file("log");
    const std::wstring folder = m_folder.wide_file("folder");
    const std::wstring key = support::test_keys::signing().wide_public_path();
    const std::string log = log_path();
    outcome result;
    clear_log();
    armed arm(fault);

    const auto step = [&](const char* name, auto&& work) {
        std::string text;
        try {
            text = work();
        } catch (const std::exception&) {
            text = failed;
        }
        const suspended pause;
        result.steps.push_back({name, std::move(text)});
    };
    const auto install = [&](const char* name) {
        std::wstring path;
        {
            const suspended pause;
            path = m_folder.wide_file(name);
        }
        const unsigned short code = mv_update_scripts_package(path.c_str(), key.c_str());
        return code == mv_success                                ? "installed"
               : code == mv_package_refused || code == mv_failed ? failed
                                                                 : "unknown code";
    };

    step("log opened", [&] { return mv_init(log_folder.c_str()) == mv_success ? "" : "code"; });
    step("level", [&] { return mv_set_log_level(5, false) == mv_success ? "" : "code"; });
    step("install", [&] { return install("mail.pkg"); });
    step("list", listed);
    {
        std::unique_ptr<CScript> kept;
        step("open", [&] {
            kept = std::make_unique<CScript>(L"mail.sc");
            return "";
        });
        step("script", [] { return read_script(L"mail.sc"); });
        step("stored", [] {
            return fetched(CScriptStorageInterface::get_resource_file, L"Resources/noise");
        });
        step("deflated", [] {
            return fetched(CScriptStorageInterface::get_python_script, L"python/crypto.py");
        });
        step("install again", [&] { return install("again.pkg"); });
        step("kept", [&] {
            if (kept == nullptr) return failed;
            kept->init();
            return kept->section("App", "Header") != nullptr ? "" : failed;
        });
    }
    step("missing", [] { return fetched(CScriptStorageInterface::get_xquery_script, L"none.xq"); });
    step("folder", [&] {
        CScriptStorage::instance().add_folder(folder);
        return listed();
    });
    step("plain", [] {
        CScript script(L"plain.sc");
        script.init();
        return script.section("App", "Header") != nullptr ? "" : failed;
    });
    {
        const suspended pause;
        result.log = lines_of(log);
        std::ofstream(log + ".bak") << "an earlier log";
        if (std::filesystem::exists(log)) truncate(log.c_str(), turnover);
    }
    step("turnover", [] {
        mv_set_log_level(4, false);
        mv_set_log_level(5, false);
        return "";
    });
    const core::internals::log_target* target = core::internals::current_target.load();
    result.log_ended = target != nullptr && target->ended();
    mv_shutdown();
    storage_test_seam::package().reset();
    storage_test_seam::folder().reset();

    const suspended pause;

    struct stat status {};

    const bool turned = stat((log + ".bak").c_str(), &status) == 0 && status.st_size == turnover;
    std::string text = turned ? "turned" : failed;
    if (turned) {
        for (const std::string& line : lines_of(log))
            text += "\n" + line;
    }
    result.steps.push_back({"log", std::move(text)});
    result.calls = arm.calls();
    result.reached = arm.reached();
    return result;
}

bool is_described(const result& faulty, const result& sound) {
    if (faulty.text == sound.text || faulty.text == failed) return true;
    const std::string& got = faulty.text;
    if (faulty.step == "list" || faulty.step == "folder") { // cut short, or nothing installed
        std::istringstream names(got);
        for (std::string name; std::getline(names, name);) {
            if (sound.text.find(name + "\n") == std::string::npos) return false;
        }
        return true;
    }
    if (faulty.step == "stored" || faulty.step == "deflated") { // zeros for what did not come
        if (got.empty()) return true;
        const auto differs =
            std::mismatch(got.begin(), got.end(), sound.text.begin(), sound.text.end()).first;
        return got.size() == sound.text.size() &&
               std::all_of(differs, got.end(), [](char byte) { return byte == 0; });
    }
    // A line that did not reach the log.
    return faulty.step == "log" && got.starts_with("turned");
}

} // namespace faults
