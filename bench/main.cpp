#include "data.h"
#include "report.h"
#include "rows.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <iostream>
#include <regex>
#include <sstream>

namespace {

constexpr const char* page = "docs/performance.md";

struct request {
    bench::settings how;
    std::string only = ".";
    std::string once; // "row:number of the subject"
    bool records = false;
};

std::vector<bench::row> all_rows() {
    std::vector<bench::row> all;
    for (const auto& rows : {bench::crypto_rows, bench::listing_rows, bench::member_rows,
                             bench::script_rows, bench::log_rows}) {
        for (bench::row& one : rows())
            all.push_back(std::move(one));
    }
    return all;
}

void run_once(const std::string& which) {
    const std::size_t colon = which.rfind(':');
    for (const bench::row& one : all_rows()) {
        if (one.name != which.substr(0, colon)) continue;
        return bench::run_between_marks(one.subjects.at(std::stoul(which.substr(colon + 1))));
    }
    throw std::runtime_error("There is no row of this name.");
}

void run(const request& wanted) {
    const std::regex picked(wanted.only);
    std::ostringstream kept;
    bench::table shown(std::cout);
    bench::table recorded(kept);
    for (const bench::row& one : all_rows()) {
        if (!std::regex_search(one.name, picked)) continue;
        const std::vector<bench::result> results = bench::measure(one, wanted.how);
        shown.add(one, results);
        recorded.add(one, results);
    }
    const std::string circumstances = bench::circumstances(wanted.how);
    std::cout << "\n" << circumstances;
    if (wanted.records) bench::record(page, circumstances + "\n" + kept.str());
}

} // namespace

int main(int count, char** arguments) {
    request wanted;
    bool quick = false;
    CLI::App app("Measures the engine beside other libraries and beside what cannot be avoided.");
    app.add_option("--data", wanted.how.data, "Folder for the data, made if need be")->required();
    auto* only = app.add_option("--only", wanted.only, "Rows to measure, as a regular expression");
    auto* few = app.add_flag("--quick", quick, "Three short repetitions, and nothing is counted");
    app.add_flag("--record", wanted.records, std::string("Writes the table into ") + page)
        ->excludes(only)
        ->excludes(few);
    app.add_option("--once", wanted.once, "Does the work of one subject, ROW:NUMBER, once");
    CLI11_PARSE(app, count, arguments);
    if (quick) {
        wanted.how.repetitions = 3;
        wanted.how.seconds = 0.02;
        wanted.how.counting = false;
    }
    try {
        wanted.how.program = std::filesystem::read_symlink("/proc/self/exe");
        bench::data::use_folder(wanted.how.data);
        wanted.once.empty() ? run(wanted) : run_once(wanted.once);
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "morvantic_bench: " << failure.what() << "\n";
        return 1;
    }
}
