// Installing a package, listing it and reading its members, each beside its floor: the same work
// done by the bare libraries. Run with
//
//     package_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true

#include "support/package_builder.h"
#include "support/temp_folder.h"
#include "support/zip_builder.h"

#include "core/text.h"
#include "core/winapifileinputstream.h"
#include "core_compress/inflaterinputstream.h"
#include "core_compress/zipstreamdirectory.h"
#include "core_crypto/cryptohandles.h"
#include "morvantic/morvantic.h"
#include "morvanticshared/packageheader.h"
#include "morvanticshared/packageinputstream.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <memory>
#include <openssl/pem.h>
#include <random>
#include <stdexcept>
#include <string>
#include <unzip.h>
#include <vector>
#include <zlib.h>

namespace {

constexpr std::size_t file_block = 16384;
constexpr std::size_t member_size = 11000; // bytes, about the mean of real scripts

struct close_file {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

using file_handle = std::unique_ptr<std::FILE, close_file>;

void require(bool condition, const char* what) {
    if (!condition) throw std::runtime_error(what);
}

/// Text that deflates to about a quarter, different for each seed.
std::string script_like_text(std::size_t size, unsigned seed) {
    static const char* const words[] = {
        "functionOnColumn(",   "\"messages\", ", "default::unix_time(", "1000", ");\n    ",
        "analyzeConstColumn(", "fs.App, "};
    std::mt19937 random(seed);
    std::string text;
    while (text.size() < size) {
        text += words[random() % std::size(words)];
        if (random() % 4 == 0) text += std::to_string(random());
    }
    text.resize(size);
    return text;
}

/// A package with so many scripts, as a file, and its archive as a file of its own.
struct script_package {
    explicit script_package(std::size_t members) {
        support::zip_builder builder;
        for (std::size_t i = 0; i != members; ++i) {
            builder.members.push_back({"apps/script" + std::to_string(i) + ".sc",
                                       script_like_text(member_size, static_cast<unsigned>(i))});
        }
        support::package_builder package;
        package.payload = builder.build().content;
        folder.write("archive.zip", package.payload);
        folder.write("package", package.build());
    }

    static script_package& with(std::size_t members) {
        static std::map<std::size_t, script_package> made;
        return made.try_emplace(members, members).first->second;
    }

    support::temp_folder folder;
    std::wstring key = support::test_keys::signing().wide_public_path();
};

void bytes_of(benchmark::State& state, std::uint64_t bytes_each) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes_each * state.iterations()));
}

void items_of(benchmark::State& state, std::uint64_t items_each) {
    state.SetItemsProcessed(static_cast<std::int64_t>(items_each * state.iterations()));
}

// Verification

/// A folder with a signed package of 64 MiB.
const support::temp_folder& large_package() {
    static const support::temp_folder folder;
    static const bool written = [] {
        support::package_builder package;
        package.payload.resize(64 << 20);
        std::mt19937 random(1);
        for (std::size_t i = 0; i < package.payload.size(); i += 64) {
            package.payload[i] = static_cast<std::uint8_t>(random());
        }
        folder.write("package", package.build());
        return true;
    }();
    static_cast<void>(written);
    return folder;
}

void verify_engine(benchmark::State& state) {
    const std::wstring path = large_package().wide_file("package");
    const std::wstring key = support::test_keys::signing().wide_public_path();
    for (auto _ : state) {
        package::CPackageInputStream stream(std::make_unique<core::CWApiFileInputStream>(path),
                                            key);
        require(stream.size() == 64 << 20, "refused");
    }
    bytes_of(state, 64 << 20);
}

/// Digests a package behind its header in the same blocks, and checks the signature.
void verify_barely(const std::string& path) {
    core::CWApiFileInputStream header_stream(core::decode_path(path));
    const auto header = package::read_header(header_stream);
    const std::string key_path = support::test_keys::signing().public_path();
    const core::bio_handle bio(BIO_new_file(key_path.c_str(), "rb"));
    const core::key_handle key(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr));
    const core::digest_context context(EVP_MD_CTX_new());
    EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha512(), nullptr, key.get());

    const file_handle file(std::fopen(path.c_str(), "rb"));
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    std::fseek(file.get(), 1024, SEEK_SET);
    std::vector<unsigned char> block(file_block);
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), file.get())) {
        EVP_DigestVerifyUpdate(context.get(), block.data(), got);
    }
    const std::string stamp = header->stamp_text();
    EVP_DigestVerifyUpdate(context.get(), stamp.data(), stamp.size());
    const auto signature = header->signature();
    require(EVP_DigestVerifyFinal(context.get(), signature.data(), signature.size()) == 1,
            "refused");
}

void verify_floor(benchmark::State& state) {
    const std::string path = large_package().file("package");
    for (auto _ : state)
        verify_barely(path);
    bytes_of(state, 64 << 20);
}

// Listing

void list_engine(benchmark::State& state) {
    const auto members = static_cast<std::size_t>(state.range(0));
    const std::wstring path = script_package::with(members).folder.wide_file("archive.zip");
    for (auto _ : state) {
        const core::CZipStreamDirectory archive(std::make_unique<core::CWApiFileInputStream>(path));
        std::size_t listed = 0;
        for (core::const_iterator entry = archive.search(true); entry; ++entry)
            ++listed;
        require(listed == members, "members are missing");
    }
    items_of(state, members);
}

/// Lists an archive by minizip over plain files.
std::size_t list_barely(const std::string& path) {
    const unzFile archive = unzOpen64(path.c_str());
    std::size_t listed = 0;
    std::vector<char> name(4096);
    for (int more = unzGoToFirstFile(archive); more == UNZ_OK; more = unzGoToNextFile(archive)) {
        unz_file_info64 info;
        unzGetCurrentFileInfo64(archive, &info, name.data(), name.size(), nullptr, 0, nullptr, 0);
        ++listed;
    }
    unzClose(archive);
    return listed;
}

void list_floor(benchmark::State& state) {
    const auto members = static_cast<std::size_t>(state.range(0));
    const std::string path = script_package::with(members).folder.file("archive.zip");
    for (auto _ : state)
        require(list_barely(path) == members, "members are missing");
    items_of(state, members);
}

// Reading

void read_engine(benchmark::State& state) {
    const auto members = static_cast<std::size_t>(state.range(0));
    const std::wstring path = script_package::with(members).folder.wide_file("archive.zip");
    const core::CZipStreamDirectory archive(std::make_unique<core::CWApiFileInputStream>(path));
    std::vector<std::wstring> names;
    for (core::const_iterator entry = archive.search(true); entry; ++entry) {
        names.push_back((*entry)->path());
    }
    std::vector<std::uint8_t> content(member_size);
    for (auto _ : state) {
        for (const std::wstring& name : names) {
            const core::input_stream_ptr stream = archive.open(name);
            require(stream->read_impl(content.data(), content.size()) == member_size, "short");
        }
    }
    items_of(state, members);
}

/// Inflates the same data from memory, without an archive.
void read_floor(benchmark::State& state) {
    const auto members = static_cast<std::size_t>(state.range(0));
    std::vector<support::bytes> packed;
    for (std::size_t i = 0; i != members; ++i) {
        packed.push_back(
            support::deflated(script_like_text(member_size, static_cast<unsigned>(i))));
    }
    std::vector<std::uint8_t> content(member_size + 1);
    for (auto _ : state) {
        for (support::bytes& data : packed) {
            z_stream control{};
            inflateInit2(&control, -15);
            control.next_in = data.data();
            control.avail_in = static_cast<uInt>(data.size());
            control.next_out = content.data();
            control.avail_out = static_cast<uInt>(content.size());
            require(inflate(&control, Z_FINISH) == Z_STREAM_END, "bad data");
            require(control.total_out == member_size, "short");
            inflateEnd(&control);
        }
    }
    items_of(state, members);
}

// Installation: verification and listing together.

void install_engine(benchmark::State& state) {
    const auto members = static_cast<std::size_t>(state.range(0));
    const script_package& package = script_package::with(members);
    const std::wstring path = package.folder.wide_file("package");
    for (auto _ : state) {
        require(mv_update_scripts_package(path.c_str(), package.key.c_str()) == mv_success,
                "refused");
    }
    items_of(state, members);
}

void install_floor(benchmark::State& state) {
    const auto members = static_cast<std::size_t>(state.range(0));
    const script_package& package = script_package::with(members);
    for (auto _ : state) {
        verify_barely(package.folder.file("package"));
        require(list_barely(package.folder.file("archive.zip")) == members, "members are missing");
    }
    items_of(state, members);
}

BENCHMARK(verify_engine)->Unit(benchmark::kMillisecond);
BENCHMARK(verify_floor)->Unit(benchmark::kMillisecond);
BENCHMARK(list_engine)->Arg(600)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(list_floor)->Arg(600)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(read_engine)->Arg(600)->Unit(benchmark::kMicrosecond);
BENCHMARK(read_floor)->Arg(600)->Unit(benchmark::kMicrosecond);
BENCHMARK(install_engine)->Arg(600)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(install_floor)->Arg(600)->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace
