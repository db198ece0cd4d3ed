#include "morvanticshared/packageinputstream.h"

#include "core/winapifileinputstream.h"
#include "core_crypto/rsakeys.h"
#include "core_crypto/rsasigner.h"
#include "faulty_stream.h"
#include "morvanticshared/packageverification.h"
#include "support/log_capture.h"
#include "support/package_builder.h"
#include "support/stream_contract.h"

#include <gtest/gtest.h>

namespace {

using namespace package;
using support::bytes;
using support::deep_stream;
using support::package_builder;
using support::test_keys;
using support::to_bytes;
using strings = std::vector<std::string>;

std::wstring public_key() { return test_keys::signing().wide_public_path(); }

core::input_stream_ptr opened(core::input_stream_ptr file, const std::wstring& key = public_key()) {
    return std::make_unique<CPackageInputStream>(std::move(file), key);
}

void expect_empty(core::input_stream& stream) {
    std::uint8_t byte = 0;
    EXPECT_EQ(stream.size(), 0u);
    EXPECT_EQ(stream.pos(), 0u);
    EXPECT_EQ(stream.read_impl(&byte, 1), 0u);
    EXPECT_FALSE(stream.is_seekable());
    EXPECT_FALSE(stream.set_pos(0));
    EXPECT_EQ(stream.skip(1), 0u);
    EXPECT_TRUE(stream.read_bytes(10).empty());
    const auto copy = stream.clone();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->size(), 0u);
}

} // namespace

namespace support {

const stream_class packages[] = {
    {.name = "package",
     .make =
         [](const bytes& content) {
             package_builder package;
             package.payload = content;
             const temp_folder folder;
             folder.write("package", package.build());
             return opened(
                 std::make_unique<core::CWApiFileInputStream>(folder.wide_file("package")));
         }},
};

INSTANTIATE_TEST_SUITE_P(Package, StreamContract, testing::ValuesIn(packages), row_name);

} // namespace support

namespace {

/// One way to make a package, and what becomes of it.
struct package_row {
    const char* name;
    void (*change)(package_builder&);
    package_fault fault = fault_none;
    strings log = {};
};

const std::string unknown_version = "Debug debug: [ASSERT] !\"Unknown package version.\"";
const std::string unknown_type = "Debug debug: [ASSERT] !\"Unknown package encryption type\"";
const strings unsupported_type = {
    "ERROR packageinputstream: Encrypted packages are not supported by this build.", unknown_type};

/// Signs what is there now; later changes go unsigned.
void sign(package_builder& p) { p.signature = p.true_signature(); }

void change_unsigned_fields(package_builder& p) {
    sign(p);
    p.kind = "DOWNGRADE";
    p.version_part_1 = p.version_part_2 = p.version_part_3 = 9;
    p.version_part_4 = p.aux_value = 9;
    p.trailer_text = "another";
}

// clang-format off
const package_row package_rows[] = {
    {"sound", [](auto&) {}},
    {"empty_payload", [](auto& p) { p.payload.clear(); }},
    {"two_blocks", [](auto& p) { p.payload.resize(32768); }},
    {"two_blocks_and_a_byte", [](auto& p) { p.payload.resize(32769); }},
    {"unsigned_fields", change_unsigned_fields},
    {"invalid_stamp_left_out", [](auto& p) { p.stamp = "2016-12-31-00"; p.signed_stamp = ""; }},

    {"lower_case_kind", [](auto& p) { p.kind = "morvantic"; }, fault_kind},
    {"kind_cut_short", [](auto& p) { p.kind = "MORVANTI"; }, fault_kind},
    {"kind_without_end", [](auto& p) { p.kind = "MORVANTICS"; }, fault_kind},
    {"version_2", [](auto& p) { p.header_version = 2; }, fault_version, {unknown_version}},

    {"payload_first_bit", [](auto& p) { sign(p); p.payload.front() ^= 1; }, fault_signature},
    {"payload_last_bit", [](auto& p) { sign(p); p.payload.back() ^= 128; }, fault_signature},
    {"payload_cut", [](auto& p) { sign(p); p.payload.pop_back(); }, fault_signature},
    {"payload_grown", [](auto& p) { sign(p); p.payload.push_back(0); }, fault_signature},
    {"stamp_last_bit", [](auto& p) { sign(p); p.stamp.back() ^= 1; }, fault_signature},
    {"invalid_stamp_signed", [](auto& p) { p.stamp = "2016-12-31-00"; }, fault_signature},
    {"signature_first_bit", [](auto& p) { sign(p); p.signature->front() ^= 128; }, fault_signature},
    {"signature_last_bit", [](auto& p) { sign(p); p.signature->back() ^= 1; }, fault_signature},
    {"no_signature", [](auto& p) { p.signature.emplace(); }, fault_signature},
    {"endless_signature", [](auto& p) { p.signature_length = 0x100000; }, fault_signature},
    {"other_key", [](auto& p) { p.keys = &test_keys::stranger(); }, fault_signature},

    {"unknown_type", [](auto& p) { p.encryption_type = 2048; },
     fault_encryption_unknown, {unknown_type}},
    {"aes_128", [](auto& p) { p.encryption_type = 512; },
     fault_encryption_unsupported, unsupported_type},
    {"aes_192", [](auto& p) { p.encryption_type = 8096; },
     fault_encryption_unsupported, unsupported_type},
    {"aes_256", [](auto& p) { p.encryption_type = 16192; },
     fault_encryption_unsupported, unsupported_type},
    {"unknown_type_unsigned", [](auto& p) { p.encryption_type = 2048; p.signature.emplace(256); },
     fault_signature},
};

// clang-format on

class PackageCheck : public testing::TestWithParam<package_row> {
protected:
    void SetUp() override { GetParam().change(package); }

    package_builder package;
};

TEST_P(PackageCheck, EndsAsItShould) {
    const support::temp_folder file;
    file.write("package", package.build());
    const auto reopened = [&] {
        return std::make_unique<core::CWApiFileInputStream>(file.wide_file("package"));
    };
    const support::log_capture log;
    const auto stream = opened(reopened());
    EXPECT_EQ(log.summary(), GetParam().log);
    if (GetParam().fault == fault_none) {
        EXPECT_EQ(stream->size(), package.payload.size());
        EXPECT_EQ(stream->read_bytes(100000), package.payload);
    } else {
        expect_empty(*stream);
    }

    const auto whole = reopened();
    const verification result = verify_package(*whole, public_key());
    EXPECT_EQ(result.fault, GetParam().fault) << fault_text(result.fault);
    EXPECT_EQ(result.header == nullptr,
              result.fault == fault_kind || result.fault == fault_version);
    if (result.fault == fault_none) {
        EXPECT_EQ(whole->read_bytes(100000), package.payload);
    }
}

INSTANTIATE_TEST_SUITE_P(All, PackageCheck, testing::ValuesIn(package_rows), support::row_name);

/// Streams that fail under the checks.
struct stream_row {
    const char* name;
    core::input_stream_ptr (*make)(const bytes& file);
    package_fault fault = fault_none;
    strings log = {};
};

const std::string short_total =
    "Debug debug: [ASSERT] total_read == (m_stream->size() - MVE_PACKAGE_HEADER_SIZE)";

template <std::uint64_t Budget, faulty_stream::failure How>
core::input_stream_ptr faulty(const bytes& file) {
    return std::make_unique<faulty_stream>(file, Budget, How);
}

template <unsigned DryReads>
core::input_stream_ptr hesitant(const bytes& file) {
    auto stream = std::make_unique<faulty_stream>(file, faulty_stream::without_end);
    stream->dry_reads_between = DryReads;
    return stream;
}

core::input_stream_ptr cut(const bytes& file) {
    return deep_stream({file.begin(), file.begin() + 1023});
}

/// Does not get past the header.
core::input_stream_ptr stuck(const bytes& file) {
    struct stuck_stream : support::trickle_stream {
        using trickle_stream::trickle_stream;

        std::uint64_t skip(std::uint64_t count) override { return count - 1; }
    };

    return std::make_unique<stuck_stream>(file, file.size());
}

constexpr auto dries = faulty_stream::dries_up;
constexpr auto burns = faulty_stream::throws_exception;
constexpr auto throws = faulty_stream::throws_number;

// clang-format off
const stream_row stream_rows[] = {
    {"cut_to_1023_bytes", cut, fault_too_short},
    {"header_throws", faulty<0, burns>,
     fault_header_unreadable, {"ERROR packageheader: disk on fire"}},
    {"header_throws_a_number", faulty<0, throws>,
     fault_header_unreadable, {"ERROR packageheader: Unknown Exception."}},
    {"stuck", stuck, fault_payload_unreachable},
    {"payload_dries_up", faulty<2000, dries>, fault_payload_unreadable, {short_total}},
    {"payload_throws", faulty<2000, burns>,
     fault_payload_unreadable, {"ERROR packageinputstream: disk on fire"}},
    {"payload_throws_a_number", faulty<2000, throws>,
     fault_payload_unreadable, {"ERROR packageinputstream: Unknown Exception."}},
    {"seven_dry_reads_in_a_row", hesitant<7>},
    {"eight_dry_reads_in_a_row", hesitant<8>, fault_payload_unreadable, {short_total}},
};

// clang-format on

class PackageOnFaultyStream : public testing::TestWithParam<stream_row> {};

TEST_P(PackageOnFaultyStream, EndsAsItShould) {
    package_builder package;
    package.payload.resize(40000, 'p');
    const bytes file = package.build();
    const support::log_capture log;
    const auto stream = opened(GetParam().make(file));
    EXPECT_EQ(log.summary(), GetParam().log);
    EXPECT_EQ(stream->size(), GetParam().fault == fault_none ? 40000u : 0u);
    EXPECT_EQ(verify_package(*GetParam().make(file), public_key()).fault, GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(All, PackageOnFaultyStream, testing::ValuesIn(stream_rows),
                         support::row_name);

TEST(PackageInputStream, SignatureOverAPartDoesNotCoverTheRest) {
    package_builder package;
    bytes covered(3000, 'p');
    package.payload = covered;
    package.payload.resize(5000, 'x');
    covered.insert(covered.end(), package.stamp.begin(), package.stamp.end());
    package.signature = test_keys::signing().sign(covered);
    faulty_stream dry(package.build(), 1024 + 3000);
    EXPECT_EQ(verify_package(dry, public_key()).fault, fault_payload_unreadable);
}

TEST(PackageInputStream, WithoutAKeyThePayloadIsNotRead) {
    const bytes file = package_builder().build();
    for (const std::wstring& key :
         {std::wstring(L"/nowhere"), test_keys::signing().wide_private_path(), std::wstring()}) {
        const support::log_capture log;
        support::trickle_stream stream(file, file.size());
        EXPECT_EQ(verify_package(stream, key).fault, fault_key);
        EXPECT_EQ(stream.reads, 1);
        expect_empty(*opened(deep_stream(file), key));
        EXPECT_TRUE(log.lines().empty());
    }
    const support::log_capture log;
    expect_empty(*opened(deep_stream(file), L"\xD800"));
    EXPECT_EQ(log.summary(), strings{"ERROR packageinputstream: bad conversion"});
}

TEST(PackageInputStream, WithoutAStreamItIsEmpty) {
    CPackageInputStream stream(nullptr, public_key());
    expect_empty(stream);
    stream.reset();
    EXPECT_FALSE(stream.reread_header());
}

TEST(PackageInputStream, RereadsFromThePayloadOnceOpen) {
    package_builder inner;
    package_builder outer;
    outer.payload = inner.build();
    CPackageInputStream nested(deep_stream(outer.build()), public_key());
    nested.skip(100);
    EXPECT_TRUE(nested.reread_header());
    CPackageInputStream plain(deep_stream(inner.build()), public_key());
    EXPECT_FALSE(plain.reread_header());
    EXPECT_EQ(plain.size(), inner.payload.size());
}

TEST(PackageInputStream, BytesOnAnArrayEndAtTheHeader) {
    package_builder package;
    package.payload.clear();
    const support::log_capture log;
    const auto stream = opened(deep_stream(package.build()));
    EXPECT_EQ(stream->size(), 0u);
    // A byte array goes to its very end, but says that it does not.
    EXPECT_EQ(log.summary(), strings{"Debug debug: [ASSERT] rc"});
}

TEST(PackageInputStream, CloneWhoseInnerStreamFailsIsLoggedAndEmpty) {
    const bytes file = package_builder().build();
    auto inner = std::make_unique<support::trickle_stream>(file, file.size());
    inner->clone_fails = true;
    const auto stream = opened(std::move(inner));
    ASSERT_GT(stream->size(), 0u);
    const support::log_capture log;
    EXPECT_EQ(stream->clone(), nullptr);
    EXPECT_EQ(log.summary(),
              (strings{"ERROR packageinputstream: [EXC] Failed to clone inner stream.",
                       "ERROR packageinputstream: Failed to clone inner stream."}));
}

/// The whole way of somebody who makes packages, with this system's own means.
TEST(PackageMaking, WhatIsMadeIsRead) {
    const bytes payload = support::counted_bytes(50000);
    const auto source = deep_stream(payload);
    CHeader header("LATTICEDB", parse_stamp("2026-11-12-03"), encryption_none);
    core::rsa_signer signer(core::load_private_key(test_keys::signing().wide_private_path()).get());
    EXPECT_EQ(feed_signed_data(*source, header.stamp(), [&](auto part) { signer.update(part); }),
              payload.size());
    ASSERT_TRUE(header.set_signature(signer.finish()));

    bytes file = header_block(header);
    file.insert(file.end(), payload.begin(), payload.end());
    EXPECT_EQ(opened(deep_stream(file))->read_bytes(60000), payload);
}

/// A package of which the openssl command made the keys and the signature.
TEST(PackageMaking, OpensslCommandSignsAPackage) {
    const support::temp_folder folder;
    package_builder package;
    folder.write("payload", package.payload);
    support::output_of("cd " + folder.path() +
                       " && openssl genrsa -out key 3072 2>&1 && openssl rsa -in key -pubout -out "
                       "pub 2>&1 && printf " +
                       package.stamp +
                       " | cat payload - | openssl dgst -sha512 -sign key -out signature");
    package.signature = to_bytes(support::read_file(folder.file("signature")));
    const auto stream = opened(deep_stream(package.build()), folder.wide_file("pub"));
    EXPECT_EQ(stream->read_bytes(100), package.payload);
}

} // namespace
