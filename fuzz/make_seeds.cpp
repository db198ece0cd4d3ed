#include "support/package_builder.h"
#include "support/script_cases.h"
#include "support/zip_builder.h"

#include "morvantic/scriptgrammar.h"
#include "morvantic/scriptvalues.h"
#include "morvanticshared/packageheader.h"

#include <fstream>
#include <random>
#include <span>

// Writes what the fuzz targets start from, below the folder that is given: TARGET/NAME for each
// seed, and TARGET.dict for the words of a format.

namespace {

using support::bytes;

const std::filesystem::path apps = EXAMPLE_APPS;

class seed_folder {
public:
    explicit seed_folder(std::filesystem::path folder) : m_folder(std::move(folder)) {
        create_directories(m_folder);
    }

    void add(const std::string& name, const bytes& content) const {
        std::ofstream file(m_folder / name, std::ios::binary);
        file.write(reinterpret_cast<const char*>(content.data()),
                   static_cast<std::streamsize>(content.size()));
        if (!file.flush()) throw std::runtime_error("cannot write " + name);
    }

private:
    std::filesystem::path m_folder;
};

class dictionary {
public:
    explicit dictionary(const std::filesystem::path& file) : m_file(file) {}

    /// A word that needs no escapes but those it has.
    void add(std::string_view word) {
        if (!word.empty()) m_file << '"' << word << "\"\n";
    }

private:
    std::ofstream m_file;
};

void make_script_seeds(const seed_folder& seeds) {
    for (const support::script_case& row : support::script_cases(SCRIPTS))
        seeds.add(row.name, support::to_bytes(row.text));
    for (const auto& entry : std::filesystem::recursive_directory_iterator(apps)) {
        if (entry.path().extension() != ".sc") continue;
        seeds.add(entry.path().filename(), support::to_bytes(support::read_file(entry.path())));
    }
}

/// The words of the language, enumeration values by halves too.
void make_script_dictionary(dictionary words) {
    using engine::CEnumValue;
    for (const std::string_view word : engine::keyword_words)
        words.add(word);
    for (int value = 1; value != engine::enum_placeholder; ++value)
        words.add(CEnumValue::m_value_name[value]);
    for (int type = 1; type != engine::object_placeholder; ++type)
        words.add(engine::CObjectValue::m_value_name[type]);
    for (int type = 1; type != engine::function_placeholder; ++type)
        words.add(engine::CFunctionValue::m_value_name[type]);
    for (const char* word : {"true",
                             "false",
                             "App",
                             "Header",
                             "Include",
                             "Script",
                             "::App::Header::{",
                             "::App::Include::{",
                             "::a::Script::{",
                             "/*",
                             "*/",
                             "//",
                             "<\\\"a\\\" b>",
                             "() {",
                             "default::",
                             "\\xFF",
                             "= \\\"",
                             "\\\";",
                             "{\\\"a\\\", \\\"b\\\"}",
                             "18446744073709551616"}) {
        words.add(word);
    }
}

/// Archives: what the members may be like, and what may stand around them.
std::vector<bytes> make_archives() {
    const std::string script = support::read_file(apps / "android/chatterbird.sc");
    const std::string noise(3000, 'x');
    std::vector<support::zip_builder> archives(7);
    archives[0].members = {{.name = "a.sc", .content = script},
                           {.name = "Resources/b", .content = "", .method = 0}};
    archives[1].members = {{.name = "a.sc", .content = script.substr(0, 100), .method = 0},
                           {.name = "folder/", .content = ""},
                           {.name = "folder/b.xq", .content = noise}};
    archives[2].members = {{.name = "\xC3\xA4.py", .content = noise, .flags = 0x800},
                           {.name = "e.xml", .content = "secret", .flags = 1},
                           {.name = "f.sc", .content = "?", .method = 12}};
    archives[3].members = {{.name = "wide.sc", .content = noise, .zip64 = 7}};
    archives[4] = {
        {{.name = "a.sc", .content = "::a::b::{}"}}, support::to_bytes("in front"), "behind"};
    archives[5].members = {{.name = "large", .content = std::string(100'000, 'a')}};
    std::vector<bytes> contents;
    contents.reserve(archives.size());
    for (const support::zip_builder& archive : archives)
        contents.push_back(archive.build().content);
    return contents;
}

void make_archive_dictionary(dictionary words) {
    for (const char* word :
         {"PK\\x03\\x04", "PK\\x01\\x02", "PK\\x05\\x06", "PK\\x06\\x06", "PK\\x06\\x07",
          "\\x01\\x00\\x18\\x00", "\\xFF\\xFF\\xFF\\xFF", ".sc", "Resources/"}) {
        words.add(word);
    }
}

/// The choices of a reader in front of data of all kinds.
void make_inflate_seeds(const seed_folder& seeds) {
    std::mt19937 random(1);
    std::string noise(1000, '\0');
    for (char& byte : noise)
        byte = static_cast<char>(random());
    const std::string text = support::read_file(apps / "android/chatterbird.sc");

    const struct {
        std::string content;
        support::deflate_style style;
    } rows[] = {{"", {}},
                {text, {}},
                {noise, {0}},
                {std::string(200'000, 'a'), {}},
                {text, {6, 15}},
                {text, {6, 31}},
                {std::string(100'000, 'b') + noise + text, {6, -15, 100'000}},
                {std::string(32768, 'c') + std::string(32768, 'c'), {6, 15, 32768}}};

    for (std::size_t i = 0; i != std::size(rows); ++i) {
        bytes seed = support::counted_bytes(24);
        const int bits = rows[i].style.window_bits;
        seed[0] = bits < 0 ? 0 : bits == 15 ? 1 : 2;
        seed[1] = static_cast<std::uint8_t>(i);
        seed[2] = static_cast<std::uint8_t>(i);
        support::append(seed, support::deflated(rows[i].content, rows[i].style));
        seeds.add(std::to_string(i), seed);
    }
}

void make_stream_seeds(const seed_folder& seeds) {
    std::mt19937 random(2);
    for (int i = 0; i != 20; ++i) {
        bytes seed(200);
        for (std::uint8_t& byte : seed)
            byte = static_cast<std::uint8_t>(random());
        seeds.add(std::to_string(i), seed);
    }
}

void make_header_seeds(const seed_folder& seeds) {
    support::package_builder package;
    for (const std::size_t length : {160U, 256U, 512U}) {
        package.signature = support::counted_bytes(length);
        seeds.add("signature_" + std::to_string(length), package.header());
        package.kind = "LATTICEDB";
        package.encryption_type = 16192;
    }
}

void make_header_dictionary(dictionary words) {
    for (const std::string_view kind : package::package_kinds)
        words.add(kind);
    for (const char* word :
         {"2026-03-09-07", "\\x00\\x02\\x00\\x00", "\\xA0\\x1F\\x00\\x00", "@?\\x00\\x00"})
        words.add(word);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) return 2;
    const std::filesystem::path folder = arguments[1];
    for (const char* target : {"script", "check"})
        make_script_seeds(seed_folder(folder / target));
    make_inflate_seeds(seed_folder(folder / "inflate"));
    make_stream_seeds(seed_folder(folder / "streams"));
    make_header_seeds(seed_folder(folder / "package_header"));
    const seed_folder zips(folder / "zip");
    const seed_folder packages(folder / "package");
    for (std::size_t i = 0; const bytes& archive : make_archives()) {
        zips.add(std::to_string(++i), archive);
        bytes unchanged(3);
        support::append(unchanged, archive);
        packages.add(std::to_string(i), unchanged);
    }
    for (const char* target : {"script.dict", "check.dict"})
        make_script_dictionary(dictionary(folder / target));
    make_header_dictionary(dictionary(folder / "package_header.dict"));
    for (const char* file : {"zip.dict", "package.dict"})
        make_archive_dictionary(dictionary(folder / file));
    for (const char* file : {"inflate.dict", "streams.dict"})
        dictionary(folder / file).add("\\x80\\x00"); // the size of a buffer
}
