#include "data.h"

#include "archive_writer.h"
#include "harness.h"
#include "support/temp_folder.h"
#include "support/test_streams.h"

#include "core/text.h"
#include "core_crypto/cipher.h"
#include "core_crypto/rsakeys.h"
#include "core_crypto/rsasigner.h"
#include "morvanticshared/packageheader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <span>

namespace bench::data {

namespace {

constexpr int zlib_level = 6;
constexpr std::uint32_t dos_date = 0x5D6C41EF;

std::string folder;

std::string file(const std::string& name) { return folder + "/" + name; }

/// Makes a file if it is not there. One that was broken off does not count: it has another name
/// until it is whole.
std::string made(const std::string& name, const std::function<void(const std::string&)>& write) {
    const std::string path = file(name);
    if (std::filesystem::exists(path)) return path;
    write(path + ".new");
    std::filesystem::rename(path + ".new", path);
    return path;
}

void write_file(const std::string& path, std::string_view content) {
    std::ofstream target(path, std::ios::binary);
    target.write(content.data(), static_cast<std::streamsize>(content.size()));
    require(target.flush().good(), "cannot write the data");
}

std::span<const std::uint8_t> as_bytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Text that deflates to about a quarter, different for each seed.
std::string script_like_text(std::size_t size, std::size_t seed) {
    static const char* const words[] = {
        "functionOnColumn(",   "\"messages\", ", "default::unix_time(", "1000", ");\n    ",
        "analyzeConstColumn(", "fs.App, "};
    std::mt19937 random(static_cast<unsigned>(seed));
    std::string text;
    while (text.size() < size) {
        text += words[random() % std::size(words)];
        if (random() % 4 == 0) text += std::to_string(random());
    }
    text.resize(size);
    return text;
}

/// Bytes that nothing compresses.
std::string noise(std::size_t size) {
    std::mt19937_64 random(1);
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; i += sizeof(std::uint64_t)) {
        const std::uint64_t number = random();
        std::memcpy(&content[i], &number, std::min(sizeof number, size - i));
    }
    return content;
}

/// Between 1 and 8 KB, 3 KB in the mean.
std::size_t member_size(std::size_t number) {
    std::mt19937 random(static_cast<unsigned>(number));
    const double part = std::generate_canonical<double, 32>(random);
    return 1024 + static_cast<std::size_t>(7168 * std::pow(part, 2.6));
}

template <class Fill>
void write_archive(const std::string& path, Fill&& fill) {
    const core::handle<std::FILE, std::fclose> target(std::fopen(path.c_str(), "w+b"));
    require(target != nullptr, "cannot write the data");
    tool::archive_writer writer(fileno(target.get()), 0, dos_date);
    fill(writer);
    writer.finish();
}

std::string encrypted(std::string content, const std::vector<std::uint8_t>& key,
                      const std::vector<std::uint8_t>& iv) {
    core::CBaseCipher cipher(core::op_encrypt, core::mode_cfb, key);
    auto* bytes = reinterpret_cast<std::uint8_t*>(content.data());
    const int size = static_cast<int>(content.size());
    require(cipher.set_iv(iv) &&
                cipher.update_into(bytes, content.size(), bytes, content.size()) == size,
            "cannot encrypt the data");
    return content;
}

std::string signed_package(const std::string& name, const std::function<std::string()>& payload,
                           package::encryption_kind encryption = package::encryption_none) {
    return made(name, [&](const std::string& path) {
        package::CHeader header("MORVANTIC", package::parse_stamp("2026-11-22-01"), encryption);
        std::string stored = payload();
        if (encryption != package::encryption_none) {
            stored = encrypted(std::move(stored), header.package_key(), header.package_iv());
        }
        const core::key_handle key = core::load_private_key(core::decode_path(file("private.pem")));
        core::rsa_signer signer(key.get());
        signer.update(as_bytes(stored));
        signer.update(as_bytes(header.stamp_text()));
        header.set_signature(signer.finish());
        const std::vector<std::uint8_t> block = package::header_block(header);
        write_file(path, std::string(block.begin(), block.end()) + stored);
    });
}

std::string large_payload() { return noise(80'000'000 - package::MVE_PACKAGE_HEADER_SIZE); }

} // namespace

void use_folder(const std::string& path) {
    folder = path;
    std::filesystem::create_directories(folder);
    if (std::filesystem::exists(public_key())) return;
    core::save_key_pair(core::generate_rsa_key(2048).get(), core::decode_path(file("private.pem")),
                        core::decode_path(public_key()));
}

std::string public_key() { return file("public.pem"); }

std::string member_name(std::size_t number) {
    return "apps/group" + std::to_string(number % 97) + "/script" + std::to_string(number) + ".sc";
}

std::string archive(std::size_t members) {
    return made("archive" + std::to_string(members), [&](const std::string& path) {
        write_archive(path, [&](tool::archive_writer& writer) {
            for (std::size_t i = 0; i != members; ++i)
                writer.add(member_name(i), as_bytes(script_like_text(member_size(i), i)),
                           zlib_level);
        });
    });
}

std::string packaged(const std::string& archive) {
    return signed_package("package_of_" + std::filesystem::path(archive).filename().string(),
                          [&] { return support::read_file(archive); });
}

std::string sized_members() {
    return made("sized_members", [](const std::string& path) {
        const std::string text = script_like_text(large_size, 1);
        write_archive(path, [&](tool::archive_writer& writer) {
            const auto add = [&](const char* name, std::size_t size, int level) {
                writer.add(name, as_bytes(text).first(size), level);
            };
            add("32k", 32 << 10, zlib_level);
            add("256k", 256 << 10, zlib_level);
            add("1m", mebibyte, zlib_level);
            add("4m", 4 * mebibyte, zlib_level);
            add("64m", large_size, zlib_level);
            add("stored", large_size, 0);
        });
    });
}

std::string large_package() { return signed_package("package_clear", large_payload); }

std::string large_encrypted_package() {
    return signed_package("package_aes", large_payload, package::encryption_aes_256);
}

std::string small_package() {
    return signed_package("package_small", [] { return noise(10'240); });
}

std::string cipher_text() {
    return made("cipher_text", [](const std::string& path) {
        write_file(path, encrypted(noise(large_size), cipher_key(), cipher_iv()));
    });
}

std::vector<std::uint8_t> cipher_key() { return std::vector<std::uint8_t>(32, 7); }

std::vector<std::uint8_t> cipher_iv() { return std::vector<std::uint8_t>(16, 9); }

std::vector<std::string> texts(const std::string& name,
                               const std::function<std::vector<std::string>()>& make) {
    std::ifstream source(made(name,
                              [&](const std::string& path) {
                                  std::string joined;
                                  for (const std::string& text : make())
                                      joined.append(text) += '\0';
                                  write_file(path, joined);
                              }),
                         std::ios::binary);
    std::vector<std::string> found;
    for (std::string text; std::getline(source, text, '\0');)
        found.push_back(text);
    return found;
}

std::vector<std::size_t> places(std::size_t count) {
    std::mt19937 random(1);
    std::vector<std::size_t> made_up(count);
    // Away from the end, so that a reader of blocks gets whole ones.
    for (std::size_t& place : made_up)
        place = random() % (large_size - mebibyte);
    return made_up;
}

} // namespace bench::data
