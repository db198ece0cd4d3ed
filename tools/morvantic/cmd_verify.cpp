#include "checks.h"
#include "commandline.h"
#include "engine_host.h"
#include "header_report.h"
#include "output.h"
#include "package_view.h"
#include "progress.h"

#include "core_crypto/rsakeys.h"
#include "morvanticshared/packageverification.h"

#include <numeric>
#include <zlib.h>

namespace tool {

namespace {

struct verify_options {
    std::string package;
    std::string key;
    bool json = false;
};

struct file_problem {
    std::string name;
    std::string reason;
};

struct verify_report {
    std::string failed_check; // empty if all passed
    std::string message;      // about the failed check
    std::string fingerprint;  // empty if there is no key
    std::vector<header_field> fields;
    bool stamp_valid = false;
    kind_counts served{};
    std::uint64_t unreached_files = 0;
    std::vector<file_problem> problems;

    void fail(const std::string& check, const std::string& sentence) {
        failed_check = check;
        message = sentence;
    }
};

/// Whether the engine hands out the very bytes that the archive vouches for.
bool engine_serves(const engine_host& engine, const package_view& view, const member& entry) {
    std::uint64_t size = 0;
    uLong check_value = 0;
    engine.read(view, entry, [&](std::span<const std::uint8_t> bytes) {
        size += bytes.size();
        check_value = crc32_z(check_value, bytes.data(), bytes.size());
    });
    return size == entry.size && check_value == entry.check_value;
}

std::string problem_of(const engine_host& engine, const package_view& view, const member& entry) {
    std::string defect = view.defect(entry);
    if (!defect.empty() || entry.kind == file_unreached) return defect;
    if (!engine_serves(engine, view, entry)) return "the engine delivers other bytes";
    return {};
}

/// Asks the engine for every file that it can be asked for without harm.
void check_files(verify_report& report, const engine_host& engine, const package_view& view) {
    report.served = view.counts();
    report.served[file_script] = engine.script_names().size();
    report.unreached_files = std::exchange(report.served[file_unreached], 0);
    const std::uint64_t total = std::accumulate(
        view.members().begin(), view.members().end(), std::uint64_t{0},
        [](std::uint64_t sum, const member& entry) { return sum + entry.packed_size; });
    progress bar("Checking", total);
    for (const member& entry : view.members()) {
        const std::string problem = problem_of(engine, view, entry);
        if (!problem.empty()) report.problems.push_back({entry.text_name(), problem});
        bar.advance(entry.packed_size);
    }
    if (!report.problems.empty()) {
        report.fail("files", counted(report.problems.size(), "file") + " cannot be used.");
    }
}

void check_archive(verify_report& report, core::input_stream_ptr payload, const input_file& package,
                   const input_file& key) {
    report.failed_check = "archive"; // what it means if this throws
    const package_view view(std::move(payload), package.name());
    const std::string problem = archive_problem(view);
    if (!problem.empty()) return report.fail("archive", package.name() + ": " + problem);
    report.failed_check = "engine";
    const engine_host engine(package, key.path());
    report.failed_check.clear();
    check_files(report, engine, view);
}

verify_report examine(const input_file& package, const input_file& key) {
    verify_report report;
    core::input_stream_ptr stream = package.open();
    const package::verification result = package::verify_package(*stream, key.wide_path());
    if (result.header) {
        report.fields = describe(*result.header, package);
        report.stamp_valid = result.header->stamp().valid;
    }
    if (result.fault != package::fault_key) {
        report.fingerprint = core::public_key_fingerprint(public_key_of(key).get());
    }
    if (result.fault != package::fault_none) {
        report.fail(check_name(result.fault), fault_message(result.fault, package, key));
        return report;
    }
    try {
        check_archive(report, package::payload_stream(std::move(stream), *result.header), package,
                      key);
    } catch (const failure& failed) {
        report.message = failed.what();
    }
    return report;
}

void write_as_json(const input_file& package, const verify_report& report) {
    nlohmann::ordered_json object = {{"file", package.name()}};
    object["sound"] = report.failed_check.empty();
    object["failed_check"] = nullptr;
    object["message"] = nullptr;
    if (!report.failed_check.empty()) {
        object["failed_check"] = report.failed_check;
        object["message"] = report.message;
    }
    object["key_fingerprint_sha256"] = report.fingerprint;
    object["fields"] = json_of(report.fields);
    object["stamp_valid"] = report.stamp_valid;
    object["served"] = counts_json(report.served);
    object["problems"] = nlohmann::ordered_json::array();
    for (const file_problem& problem : report.problems) {
        object["problems"].push_back({{"file", problem.name}, {"reason", problem.reason}});
    }
    write_json(object);
}

void write_success(const input_file& package, const verify_report& report) {
    std::string text = output_name(package.name()) + ": The package is sound.\n" +
                       "Signed by the key " + report.fingerprint + "\n\n" +
                       table_of(report.fields) + "\nThe engine serves " +
                       counts_text(report.served) + ".\n";
    if (report.unreached_files != 0) {
        text +=
            counted(report.unreached_files, "more file") + " in the package cannot be reached.\n";
    }
    write_output(text);
    if (!report.stamp_valid) {
        warning_message(package.name() +
                        ": The stamp is not valid. The signature says nothing about "
                        "it, and anybody can have put it there.");
    }
}

void write_failure(const verify_report& report) {
    error_message(report.message);
    std::string text = "Failed check: " + report.failed_check + '\n';
    if (!report.fingerprint.empty()) text += "Checked with the key " + report.fingerprint + '\n';
    for (const file_problem& problem : report.problems) {
        text += "  " + printable(problem.name) + ": " + problem.reason + '\n';
    }
    error_text_block(text);
}

exit_status verify(const verify_options& options) {
    const auto [package, key] = package_and_key(options.package, options.key);
    const verify_report report = examine(package, key);
    const bool sound = report.failed_check.empty();
    if (options.json) {
        write_as_json(package, report);
    } else if (sound) {
        write_success(package, report);
    }
    if (!sound) write_failure(report);
    return sound ? status_ok : status_input;
}

action define(CLI::App& command) {
    auto options = std::make_shared<verify_options>();
    add_package(command, options->package);
    add_public_key(command, options->key);
    add_json(command, options->json);
    add_notes(
        command,
        "Runs the engine's checks and names the first that fails: size, kind, header_version,\n"
        "header, key, payload, signature, encryption_type, archive, engine or files. Then the\n"
        "engine installs the package and is asked for each file in it. Compare the fingerprint\n"
        "with the one that the publisher of the package has made known.\n\n"
        "With --json there is a report whether the package is sound or not; else a package that\n"
        "is not sound gives messages alone.\n\n"
        "Example:\n"
        "  morvantic verify apps.pkg --key public.pem");
    return with_options(std::move(options), verify);
}

} // namespace

const subcommand verify_command = {"verify", "Check a package as the engine does, and explain.",
                                   define};

} // namespace tool
