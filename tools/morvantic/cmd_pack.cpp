#include "checks.h"
#include "commandline.h"
#include "descriptor.h"
#include "output.h"
#include "package_check.h"
#include "package_view.h"
#include "package_writer.h"
#include "script_check.h"
#include "temporary_file.h"

#include "core_crypto/rsakeys.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

// A package is written beside its final place, examined there as a stranger would examine it, and
// put into place only then.

namespace tool {

namespace {

constexpr std::string_view transcript_ending = ".transcript";

struct pack_options {
    std::string folder;
    std::string output;
    std::string key;
    std::string kind{package::package_kinds[0]};
    std::string stamp;
    std::string encryption = "none";
    std::string trailer_text;
    std::string version_parts = "0.0.0.0";
    std::uint32_t aux_value = 0;
    int level = 9;
    std::string app_list;
    bool with_hidden = false;
    bool no_check = false;
    bool force = false;
    bool json = false;

    bool to_standard_output() const { return output == "-"; }
};

template <class Number>
bool parse_number(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size();
}

/// Today in UTC, or the day that the environment gives to make builds reproducible.
std::string default_stamp() {
    using namespace std::chrono;
    auto now = floor<seconds>(system_clock::now());
    if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH")) {
        std::uint32_t count = 0;
        if (!parse_number(epoch, count)) {
            fail_call("SOURCE_DATE_EPOCH is not a count of seconds. Give it one, or use --stamp.");
        }
        now = sys_seconds(seconds(count));
    }
    const year_month_day day(floor<days>(now));
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u-01", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
    return text.data();
}

package::package_stamp parse_stamp(const std::string& text) {
    const package::package_stamp stamp = package::parse_stamp(text);
    const std::chrono::year_month_day day{std::chrono::year(stamp.year),
                                          std::chrono::month(stamp.month),
                                          std::chrono::day(stamp.day)};
    if (!stamp.valid || !day.ok()) {
        fail_call("The stamp \"" + text +
                  "\" is not valid. Use a date from 2017 on and a number of "
                  "the day, as in 2026-03-09-01.");
    }
    return stamp;
}

package::package_version parse_version(const std::string& text) {
    package::package_version version;
    std::vector<std::string_view> parts;
    std::string_view rest = text;
    for (;;) {
        const std::size_t dot = rest.find('.');
        parts.push_back(rest.substr(0, dot));
        if (dot == std::string_view::npos) break;
        rest.remove_prefix(dot + 1);
    }
    if (parts.size() != 4 || !parse_number(parts[0], version.version_part_1) ||
        !parse_number(parts[1], version.version_part_2) ||
        !parse_number(parts[2], version.version_part_3) ||
        !parse_number(parts[3], version.version_part_4)) {
        fail_call("The version \"" + text +
                  "\" is not four numbers with dots between them, of which "
                  "the first has 16 bits, the next two 8 and the last 32.");
    }
    return version;
}

using encryption_words = std::map<std::string, package::encryption_kind>;

encryption_words encryptions() {
    return {{"none", package::encryption_none},
            {"aes-128", package::encryption_aes_128},
            {"aes-192", package::encryption_aes_192},
            {"aes-256", package::encryption_aes_256}};
}

package_fields fields_of(const pack_options& options) {
    return {options.kind,
            parse_stamp(options.stamp.empty() ? default_stamp() : options.stamp),
            encryptions().at(options.encryption),
            parse_version(options.version_parts),
            options.aux_value,
            options.trailer_text};
}

/// Only a regular file is ever replaced, and that only on request.
void check_target(const std::string& path, bool may_replace) {
    file_status status{};
    if (lstat(path.c_str(), &status) != 0) return;
    if (!S_ISREG(status.st_mode)) fail_call(path + " is there and is not a file.");
    if (!may_replace) fail_call(path + " is there already. --force replaces it.");
}

bool is_same_file(const std::string& one, const std::string& other) {
    std::error_code error; // of files that are not there
    return std::filesystem::weakly_canonical(one, error) ==
           std::filesystem::weakly_canonical(other, error);
}

void check_app_list(const pack_options& options) {
    if (options.app_list.empty()) return;
    if (options.app_list == "-") {
        fail_call("The list of apps needs a file. \"morvantic info --apps\" prints it.");
    }
    for (const std::string& other : {options.key, options.output}) {
        if (is_same_file(options.app_list, other)) {
            fail_call(options.app_list + " cannot be the list of apps as well.");
        }
    }
    check_target(options.app_list, options.force);
}

void check_output(const pack_options& options) {
    check_app_list(options);
    if (options.to_standard_output()) {
        if (options.json) fail_call("--json and a package cannot both go to standard output.");
        if (isatty(STDOUT_FILENO) == 1) fail_call("A package is not written to a terminal.");
        return;
    }
    check_target(options.output, options.force);
}

/// A key in a package is everybody's.
void refuse_private_keys(const source_folder& sources) {
    constexpr std::uint64_t longest_key = 65536;
    for (const source_file& file : sources.files) {
        if (file.size > longest_key) continue;
        const std::vector<std::uint8_t> bytes = read_source(file);
        const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        if (text.starts_with("-----BEGIN ") &&
            text.substr(0, text.find('\n')).find("PRIVATE KEY-----") != std::string_view::npos) {
            fail_input(file.path + " is a private key. Keep it out of the folder.");
        }
    }
}

source_folder list_sources(const pack_options& options) {
    const std::string key = options.key == "-" ? "" : options.key;
    const std::string output = options.to_standard_output() ? "" : options.output;
    source_folder sources = list_source_folder(
        options.folder, options.with_hidden,
        {{key, "This is the private key. Keep it out of the folder."}, {output, ""}});
    std::erase_if(sources.files, [](const source_file& file) {
        return file.name.ends_with(transcript_ending); // of "morvantic test"
    });
    refuse_private_keys(sources);
    if (!sources.skipped.empty()) {
        warning_message("Hidden files and folders are left out: " + some_of(sources.skipped) +
                        ". --all packs them too.");
    }
    if (!sources.differ_in_case.empty()) {
        warning_message(
            "Names that differ in case alone are one file to some systems, though not to "
            "the engine: " +
            some_of(sources.differ_in_case) + ".");
    }
    std::vector<std::string> unreached;
    for (const source_file& file : sources.files) {
        if (kind_of(file.wide_name) == file_unreached) unreached.push_back(file.name);
    }
    if (unreached.size() == sources.files.size()) {
        fail_input(options.folder +
                   " has nothing for the engine: no file that ends in .sc, .xq, .py "
                   "or .xml or is below Resources/.");
    }
    if (!unreached.empty()) {
        warning_message("No host can ask for these files: " + some_of(unreached) +
                        ". Give them an ending that the engine knows (.sc, .xq, .py, .xml) or put "
                        "them below Resources/.");
    }
    return sources;
}

void refuse_errors(const script_group& group) {
    std::size_t errors = 0;
    for (script_findings& of : check(group, {})) {
        std::erase_if(of.findings,
                      [](const finding& found) { return found.kind->severity != severity_error; });
        errors += of.findings.size();
        error_text_block(text_of(of));
    }
    if (errors == 0) return;
    fail_input("The scripts have " + counted(errors, "error") +
               ". Mend them, or pack them as they are with --no-check.");
}

std::string apps_in(const script_group& group) {
    app_set apps;
    for (const group_script& script : group.scripts)
        apps.merge(apps_of(script.text));
    return app_list(apps);
}

std::string folder_of_output(const pack_options& options) {
    if (options.to_standard_output()) {
        const char* folder = std::getenv("TMPDIR");
        return folder != nullptr && *folder != '\0' ? folder : "/tmp";
    }
    const std::size_t slash = options.output.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : options.output.substr(0, slash);
}

void deliver(temporary_file& file, const pack_options& options) {
    if (!options.to_standard_output()) return file.publish(options.output, options.force);
    std::vector<std::uint8_t> buffer(65536);
    if (lseek(file.number(), 0, SEEK_SET) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    while (const std::size_t count = read_some(file.number(), buffer)) {
        write_output({buffer.data(), count});
    }
}

void write_summary(const pack_options& options, const package_fields& fields, const EVP_PKEY* key,
                   const std::vector<packed_file>& packed) {
    if (options.to_standard_output()) return;
    kind_counts counts{};
    for (const packed_file& file : packed)
        ++counts[kind_of(file.name)];
    const std::string stamp = package::stamp_text(fields.stamp);
    const std::string fingerprint = core::public_key_fingerprint(key);
    if (options.json) {
        write_json({{"file", options.output},
                    {"kind", fields.kind},
                    {"stamp", stamp},
                    {"key_fingerprint_sha256", fingerprint},
                    {"members", counts_json(counts)}});
        return;
    }
    write_output(output_name(options.output) + ": " + fields.kind + ' ' + stamp + " with " +
                 counts_text(counts) + ".\nSigned by the key " + fingerprint + '\n');
}

exit_status pack(const pack_options& options) {
    const package_fields fields = fields_of(options);
    const core::key_handle key = private_key_of(input_file(options.key));
    check_fields(fields, key.get());
    check_output(options);
    const source_folder sources = list_sources(options);
    const script_group scripts = group_of(options.folder, sources);
    if (!options.no_check && !scripts.scripts.empty()) refuse_errors(scripts);
    std::vector<packed_file> packed;
    try {
        temporary_file file(folder_of_output(options));
        packed = write_package(file.path(), file.number(), sources.files, fields, options.level,
                               key.get());
        check_written_package(file.path(), key.get(), packed);
        deliver(file, options);
    } catch (const std::system_error& error) {
        fail_call(options.output + " cannot be written: " + error.code().message() + ".");
    }
    if (!options.app_list.empty()) replace_text(options.app_list, apps_in(scripts));
    write_summary(options, fields, key.get(), packed);
    return status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<pack_options>();
    command.add_option("FOLDER", options->folder, "The folder that becomes the package.")
        ->required();
    command.add_option("OUTPUT", options->output, "The package file; - is standard output.")
        ->required();
    command
        .add_option("--key", options->key,
                    "The private key to sign with, an RSA key as PEM\nwithout a passphrase; - is "
                    "standard input.")
        ->required()
        ->type_name("FILE");
    command
        .add_option("--kind", options->kind,
                    "MORVANTIC (default), DOWNGRADE, LATTICEDB or LANGUAGES.")
        ->check(CLI::IsMember(
            std::vector<std::string>(package::package_kinds.begin(), package::package_kinds.end())))
        ->type_name("KIND");
    command
        .add_option(
            "--stamp", options->stamp,
            "Date and number of the day, YYYY-MM-DD-NN. The\ndefault is today in UTC, or the "
            "day of\nSOURCE_DATE_EPOCH, with the number 01.")
        ->type_name("STAMP");
    command
        .add_option(
            "--encrypt", options->encryption,
            "none (default), aes-128, aes-192 or aes-256. The\nkey comes from kind and stamp: "
            "it hides nothing\nfrom those who know the format.")
        ->check(CLI::IsMember(encryptions()))
        ->type_name("HOW");
    command
        .add_option("--trailer", options->trailer_text,
                    "A text for the header, as for a build number.")
        ->type_name("TEXT");
    command
        .add_option("--version-parts", options->version_parts,
                    "Four numbers for the header, such as 1.2.3.4.")
        ->type_name("N.N.N.N");
    command.add_option("--aux", options->aux_value, "A number for the header.")->type_name("N");
    command
        .add_option(
            "--level", options->level,
            "How hard to compress, from 0 (not at all) to 9\n(default). A file that would not "
            "get smaller is\nstored as it is.")
        ->check(CLI::Range(0, 9))
        ->type_name("N");
    command
        .add_option("--app-list", options->app_list,
                    "Write the apps that the scripts name into this file,\none a line with a "
                    "platform.")
        ->type_name("FILE");
    command.add_flag("--no-check", options->no_check,
                     "Pack scripts in which \"morvantic check\" finds errors.");
    command.add_flag("--all", options->with_hidden, "Pack hidden files and folders too.");
    command.add_flag("-f,--force", options->force, "Replace the output if it is there.");
    add_json(command, options->json);
    add_notes(
        command,
        "The same folder, key and options always give the same bytes. File names become the\n"
        "names that hosts and scripts use: they must be UTF-8. Symbolic links are refused, and\n"
        "hidden files (.name) and transcripts (.transcript) are left out. Scripts in which\n"
        "\"morvantic check\" finds errors are refused. The package appears at its place\n"
        "complete or not at all, and only after the engine has served every file of it.\n\n"
        "Examples:\n"
        "  morvantic pack apps apps.pkg --key private.pem\n"
        "  morvantic pack apps - --key private.pem --stamp 2026-03-09-01 > apps.pkg");
    return with_options(std::move(options), pack);
}

} // namespace

const subcommand pack_command = {"pack", "Make a signed package of a folder.", define};

} // namespace tool
