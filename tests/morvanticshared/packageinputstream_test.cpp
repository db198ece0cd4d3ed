#include "morvanticshared/packageinputstream.h"

#include "core/winapifileinputstream.h"
#include "morvanticshared/packageverification.h"
#include "support/encrypted_package.h"
#include "support/hooked_stream.h"
#include "support/log_capture.h"
#include "support/stream_contract.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>

namespace {

using namespace package;
using support::bytes;
using support::deep_stream;
using support::encrypted_package;
using support::hooked_stream;
using support::package_builder;
using support::test_keys;
using support::trickle_stream;
using strings = std::vector<std::string>;

std::wstring public_key() { return test_keys::signing().wide_public_path(); }

core::input_stream_ptr opened(core::input_stream_ptr file, const std::wstring& key = public_key()) {
    return std::make_unique<CPackageInputStream>(std::move(file), key);
}

core::input_stream_ptr file_of(const bytes& content) {
    const support::temp_folder folder;
    folder.write("package", content);
    return std::make_unique<core::CWApiFileInputStream>(folder.wide_file("package"));
}

core::input_stream_ptr package_of(const bytes& content) {
    package_builder package;
    package.payload = content;
    return opened(file_of(package.build()));
}

core::input_stream_ptr encrypted_package_of(const bytes& content) {
    return opened(file_of(encrypted_package(content).build()));
}

void expect_empty(core::input_stream& stream) {
    std::uint8_t byte = 0;
    EXPECT_EQ(stream.size(), 0u);
    EXPECT_EQ(stream.read_impl(&byte, 1), 0u);
    EXPECT_FALSE(stream.is_seekable());
    EXPECT_FALSE(stream.set_pos(0));
    EXPECT_EQ(stream.clone()->size(), 0u);
}

} // namespace

namespace support {

INSTANTIATE_TEST_SUITE_P(Package, StreamContract,
                         testing::Values(stream_class{.name = "Clear", .make = package_of},
                                         stream_class{.name = "Encrypted",
                                                      .make = encrypted_package_of}),
                         row_name);

} // namespace support

namespace {

const std::string unknown_version = "Debug debug: [ASSERT] !\"Unknown package version.\"";
const std::string unknown_type = "Debug debug: [ASSERT] !\"Unknown package encryption type\"";

/// Signs what is there now; later changes go unsigned.
void sign(package_builder& p) { p.signature = p.true_signature(); }

void change_unsigned_fields(package_builder& p) {
    sign(p);
    p.kind = "DOWNGRADE";
    p.version_part_1 = p.version_part_2 = p.version_part_3 = 9;
    p.version_part_4 = p.aux_value = 9;
    p.trailer_text = "another";
}

/// One way to make a package, and what becomes of it.
// clang-format off
const struct {
    const char* name;
    void (*change)(package_builder&);
    package_fault fault = fault_none;
    strings log = {};
} package_rows[] = {
    {"empty payload", [](auto& p) { p.payload.clear(); }},
    {"two blocks and a byte", [](auto& p) { p.payload.resize(32769); }},
    {"unsigned fields", change_unsigned_fields},
    {"invalid stamp left out", [](auto& p) { p.stamp = "2016-12-31-00"; p.signed_stamp = ""; }},

    {"other case", [](auto& p) { p.kind = "morvantic"; }, fault_kind},
    {"kind without end", [](auto& p) { p.kind = "MORVANTICS"; }, fault_kind},
    {"version 2", [](auto& p) { p.header_version = 2; }, fault_version, {unknown_version}},

    {"payload's first bit", [](auto& p) { sign(p); p.payload.front() ^= 1; }, fault_signature},
    {"payload grown", [](auto& p) { sign(p); p.payload.push_back(0); }, fault_signature},
    {"stamp's last bit", [](auto& p) { sign(p); p.stamp.back() ^= 1; }, fault_signature},
    {"invalid stamp signed", [](auto& p) { p.stamp = "2016-12-31-00"; }, fault_signature},
    {"no signature", [](auto& p) { p.signature.emplace(); }, fault_signature},
    {"endless signature", [](auto& p) { p.signature_length = 0x100000; }, fault_signature},
    {"other key", [](auto& p) { p.keys = &test_keys::stranger(); }, fault_signature},

    {"unknown type", [](auto& p) { p.encryption_type = 2048; }, fault_encryption_unknown, {unknown_type}},
    {"unknown type, unsigned", [](auto& p) { p.encryption_type = 2048; p.signature.emplace(256); },
     fault_signature},
};

// clang-format on

TEST(PackageInputStream, ServesWhatPassesEveryCheck) {
    for (const auto& row : package_rows) {
        SCOPED_TRACE(row.name);
        package_builder package;
        row.change(package);
        const core::input_stream_ptr whole = file_of(package.build());
        const support::log_capture log;
        const auto stream = opened(whole->clone());
        EXPECT_EQ(log.summary(), row.log);
        EXPECT_EQ(verify_package(*whole, public_key()).fault, row.fault);
        if (row.fault != fault_none) {
            expect_empty(*stream);
            continue;
        }
        EXPECT_EQ(stream->read_bytes(100000), package.payload);
        EXPECT_EQ(whole->read_bytes(100000), package.payload);
    }
}

TEST(PackageInputStream, EncryptedPayloadIsServedInClearWhateverItsLength) {
    for (const std::uint32_t type : {512U, 8096U, 16192U}) {
        for (const std::size_t size : {1U, 15U, 16U, 17U, 16384U, 16385U, 40000U}) {
            const bytes content = support::counted_bytes(size);
            package_builder package = encrypted_package(content, type);
            EXPECT_EQ(opened(deep_stream(package.build()))->read_bytes(50000), content) << size;
            package.kind = "DOWNGRADE"; // which the signature leaves open, and the key does not
            EXPECT_NE(opened(deep_stream(package.build()))->read_bytes(50000), content);
        }
    }
}

constexpr std::uint64_t enough = 1u << 20;
const std::string module = "ERROR packageinputstream: ";
const std::string short_total =
    "Debug debug: [ASSERT] total_read == (m_stream->size() - MVE_PACKAGE_HEADER_SIZE)";

/// What happens in front of a read, and what comes of it.
// clang-format off
const struct {
    void (*before_read)(trickle_stream&);
    package_fault fault;
    strings log;
} fault_rows[] = {
    {[](auto&) { throw std::runtime_error("disk on fire"); }, fault_header_unreadable,
     {"ERROR packageheader: disk on fire"}},
    {[](auto&) { throw 7; }, fault_header_unreadable, {"ERROR packageheader: Unknown Exception."}},
    {[](auto& s) { if (s.pos() != 0) throw std::runtime_error("disk on fire"); },
     fault_payload_unreadable, {module + "disk on fire"}},
    {[](auto& s) { if (s.pos() != 0) throw 7; },
     fault_payload_unreadable, {module + "Unknown Exception."}},
    {[](auto& s) { s.most = 21024 - s.pos(); }, fault_payload_unreadable, {short_total}},
    {[](auto& s) { s.most = s.reads % 8 == 0 ? enough : 0; }, fault_signature, {}},
    {[](auto& s) { s.most = s.reads % 9 == 0 ? enough : 0; },
     fault_payload_unreadable, {short_total}},
};

// clang-format on

TEST(PackageInputStream, StreamThatFailsUnderTheChecks) {
    package_builder package;
    package.payload.resize(20000, 'p');
    sign(package);
    package.payload.resize(40000, 'x');
    bytes file = package.build();
    for (const auto& [before_read, fault, lines] : fault_rows) {
        SCOPED_TRACE(&lines - &fault_rows[0].log);
        auto source = std::make_unique<hooked_stream>(file, enough);
        source->before_read = before_read;
        hooked_stream again(*source);
        const support::log_capture log;
        expect_empty(*opened(std::move(source)));
        EXPECT_EQ(log.summary(), lines);
        EXPECT_EQ(verify_package(again, public_key()).fault, fault);
    }

    struct stuck_stream : trickle_stream {
        using trickle_stream::trickle_stream;

        std::uint64_t skip(std::uint64_t count) override { return count - 1; }
    };

    stuck_stream stuck(file, enough);
    EXPECT_EQ(verify_package(stuck, public_key()).fault, fault_payload_unreachable);
    file.resize(1023);
    EXPECT_EQ(verify_package(*deep_stream(file), public_key()).fault, fault_too_short);
}

TEST(PackageInputStream, WithoutAKeyThePayloadIsNotRead) {
    const bytes file = package_builder().build();
    for (const std::wstring& key :
         {std::wstring(L"/nowhere"), test_keys::signing().wide_private_path(), std::wstring()}) {
        trickle_stream stream(file, enough);
        EXPECT_EQ(verify_package(stream, key).fault, fault_key);
        EXPECT_EQ(stream.reads, 1);
        expect_empty(*opened(deep_stream(file), key));
    }
    const support::log_capture log;
    expect_empty(*opened(deep_stream(file), L"\xD800"));
    EXPECT_EQ(log.summary(), strings{module + "bad conversion"});
}

TEST(PackageInputStream, RereadsFromThePayloadOnceOpen) {
    package_builder outer;
    outer.payload = package_builder().build();
    CPackageInputStream nested(deep_stream(outer.build()), public_key());
    nested.skip(100);
    EXPECT_TRUE(nested.reread_header());
    CPackageInputStream plain(deep_stream(outer.payload), public_key());
    EXPECT_FALSE(plain.reread_header());
    EXPECT_EQ(plain.size(), package_builder().payload.size());
    CPackageInputStream nothing(nullptr, public_key());
    expect_empty(nothing);
    EXPECT_FALSE(nothing.reread_header());
}

const std::string changed = "Package changed after verification.";
constexpr std::uint64_t block = 16384;
constexpr std::uint8_t hidden = 0xFD; // which the content has nowhere

/// Reads at a place. What has come is right, or nothing came and the exception did.
bool reads(core::input_stream& stream, const bytes& content, std::uint64_t from,
           std::size_t count) {
    bytes got(count, 0xEE);
    try {
        stream.set_pos(from);
        got.resize(stream.read_impl(got.data(), count));
        EXPECT_EQ(got.size(), std::min<std::uint64_t>(count, content.size() - from));
        EXPECT_TRUE(std::equal(got.begin(), got.end(),
                               content.begin() + static_cast<std::ptrdiff_t>(from)));
        return true;
    } catch (const core::exception& failure) {
        EXPECT_EQ(failure.what(), changed);
        EXPECT_EQ(std::count(got.begin(), got.end(), hidden), 0);
        return false;
    }
}

TEST(PackageInputStream, WhatChangedAfterVerificationIsNotHandedOn) {
    const bytes content = support::counted_bytes(6 * block + 500);
    for (const bool encrypted : {false, true}) {
        SCOPED_TRACE(encrypted);
        package_builder package = encrypted ? encrypted_package(content) : package_builder();
        if (!encrypted) package.payload = content;
        bytes file = package.build();
        const support::temp_folder folder;
        const std::string path = folder.write("package", file);
        const auto whole =
            opened(std::make_unique<core::CWApiFileInputStream>(folder.wide_file("package")));
        bytes other = file;
        std::fill_n(other.begin() + 1024 + 2 * block + 9000, 100, hidden);
        folder.write("package", other);
        const support::log_capture log;
        for (const auto& stream : {whole->clone(), whole->clone()}) {
            EXPECT_TRUE(reads(*stream, content, 0, 2 * block));
            EXPECT_FALSE(reads(*stream, content, 0, content.size()));
            EXPECT_FALSE(reads(*stream, content, 2 * block + 100, 10));
            EXPECT_TRUE(reads(*stream, content, 3 * block + 16, 2 * block));
        }
        EXPECT_EQ(log.count("[EXC] " + changed), 1) << "once a block";
        std::filesystem::resize_file(path, 1024 + 6 * block);
        EXPECT_FALSE(reads(*whole->clone(), content, content.size() - 1, 1));
        folder.write("package", file);
        EXPECT_TRUE(reads(*whole->clone(), content, 0, content.size())) << "as before";
        const auto first = file.begin() + 1024;
        std::swap_ranges(first, first + block, first + block);
        folder.write("package", file);
        EXPECT_FALSE(reads(*whole, content, 0, content.size())) << "in other places";
    }
}

TEST(PackageInputStream, CloneWhoseInnerStreamFailsIsLoggedAndEmpty) {
    auto inner = std::make_unique<trickle_stream>(package_builder().build(), enough);
    inner->clone_fails = true;
    const auto stream = opened(std::move(inner));
    const support::log_capture log;
    EXPECT_EQ(stream->clone(), nullptr);
    EXPECT_EQ(log.summary(), (strings{module + "[EXC] Failed to clone inner stream.",
                                      module + "Failed to clone inner stream."}));
}

} // namespace
