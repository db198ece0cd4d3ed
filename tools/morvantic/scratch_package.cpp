#include "scratch_package.h"

#include "engine_host.h"
#include "package_writer.h"

#include "core/text.h"
#include "core_crypto/rsakeys.h"

#include <new>
#include <openssl/pem.h>

namespace tool {

namespace {

constexpr unsigned throw_away_bits = 2048;

EVP_PKEY* throw_away_key() {
    static const core::key_handle key = core::generate_rsa_key(throw_away_bits);
    return key.get();
}

} // namespace

memory_file public_half(const EVP_PKEY* key) {
    const core::bio_handle bio(BIO_new(BIO_s_mem()));
    if (!bio || PEM_write_bio_PUBKEY(bio.get(), key) != 1) throw std::bad_alloc();
    const char* text = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &text);
    memory_file file;
    file.append({reinterpret_cast<const std::uint8_t*>(text), static_cast<std::size_t>(size)});
    return file;
}

void install_scripts(const std::vector<named_text>& scripts) {
    std::vector<source_file> sources;
    sources.reserve(scripts.size());
    for (const auto& [name, text] : scripts)
        sources.push_back({name, core::decode_path(name), "", text.size(), text});
    const memory_file public_key = public_half(throw_away_key());
    const memory_file package;
    package_fields fields;
    fields.kind = package::package_kinds[0];
    fields.stamp = package::parse_stamp("2017-01-01-01");
    write_package(package.path(), package.number(), sources, fields, 0, throw_away_key());
    const engine_host installed(input_file(package.path()), public_key.path());
}

} // namespace tool
