#include "morvanticshared/packageinputstream.h"

#include "core/winapifileinputstream.h"
#include "morvanticshared/packageverification.h"
#include "support/log_capture.h"
#include "support/package_builder.h"
#include "support/stream_contract.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

using namespace package;
using support::bytes;
using support::deep_stream;
using support::package_builder;
using support::test_keys;
using strings = std::vector<std::string>;

std::wstring public_key() { return test_keys::signing().wide_public_path(); }

core::input_stream_ptr opened(core::input_stream_ptr file, const std::wstring& key = public_key()) {
    return std::make_unique<CPackageInputStream>(std::move(file), key);
}

void expect_empty(core::input_stream& stream) {
    std::uint8_t byte = 0;
    EXPECT_EQ(stream.size(), 0u);
    EXPECT_EQ(stream.read_impl(&byte, 1), 0u);
    EXPECT_FALSE(stream.is_seekable());
    EXPECT_FALSE(stream.set_pos(0));
    EXPECT_EQ(stream.skip(1), 0u);
    EXPECT_EQ(stream.clone()->size(), 0u);
}

} // namespace

namespace support {

core::input_stream_ptr package_of(const bytes& content) {
    package_builder package;
    package.payload = content;
    const temp_folder folder;
    folder.write("package", package.build());
    return opened(std::make_unique<core::CWApiFileInputStream>(folder.wide_file("package")));
}

INSTANTIATE_TEST_SUITE_P(Package, StreamContract,
                         testing::Values(stream_class{.name = "package", .make = package_of}),
                         row_name);

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
const strings aes = {
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
    {"two_blocks_and_a_byte", [](auto& p) { p.payload.resize(32769); }},
    {"unsigned_fields", change_unsigned_fields},
    {"invalid_stamp_left_out", [](auto& p) { p.stamp = "2016-12-31-00"; p.signed_stamp = ""; }},

    {"other_case", [](auto& p) { p.kind = "morvantic"; }, fault_kind},
    {"kind_cut_short", [](auto& p) { p.kind = "MORVANTI"; }, fault_kind},
    {"kind_without_end", [](auto& p) { p.kind = "MORVANTICS"; }, fault_kind},
    {"version_2", [](auto& p) { p.header_version = 2; }, fault_version, {unknown_version}},

    {"payload_first_bit", [](auto& p) { sign(p); p.payload.front() ^= 1; }, fault_signature},
    {"payload_cut", [](auto& p) { sign(p); p.payload.pop_back(); }, fault_signature},
    {"payload_grown", [](auto& p) { sign(p); p.payload.push_back(0); }, fault_signature},
    {"stamp_last_bit", [](auto& p) { sign(p); p.stamp.back() ^= 1; }, fault_signature},
    {"invalid_stamp_signed", [](auto& p) { p.stamp = "2016-12-31-00"; }, fault_signature},
    {"signature_last_bit", [](auto& p) { sign(p); p.signature->back() ^= 1; }, fault_signature},
    {"no_signature", [](auto& p) { p.signature.emplace(); }, fault_signature},
    {"endless_signature", [](auto& p) { p.signature_length = 0x100000; }, fault_signature},
    {"other_key", [](auto& p) { p.keys = &test_keys::stranger(); }, fault_signature},

    {"aes_128", [](auto& p) { p.encryption_type = 512; }, fault_encryption_unsupported, aes},
    {"aes_192", [](auto& p) { p.encryption_type = 8096; }, fault_encryption_unsupported, aes},
    {"aes_256", [](auto& p) { p.encryption_type = 16192; }, fault_encryption_unsupported, aes},
    {"unknown_type", [](auto& p) { p.encryption_type = 2048; }, fault_encryption_unknown, {unknown_type}},
    {"unknown_type_unsigned", [](auto& p) { p.encryption_type = 2048; p.signature.emplace(256); },
     fault_signature},
};

// clang-format on

TEST(PackageInputStream, ServesWhatPassesEveryCheck) {
    for (const package_row& row : package_rows) {
        SCOPED_TRACE(row.name);
        package_builder package;
        row.change(package);
        const support::temp_folder file;
        file.write("package", package.build());
        core::CWApiFileInputStream whole(file.wide_file("package"));
        const support::log_capture log;
        const auto stream = opened(whole.clone());
        EXPECT_EQ(log.summary(), row.log);
        const verification result = verify_package(whole, public_key());
        EXPECT_EQ(result.fault, row.fault) << fault_text(result.fault);
        EXPECT_EQ(!result.header, row.fault == fault_kind || row.fault == fault_version);
        if (row.fault != fault_none) {
            expect_empty(*stream);
            continue;
        }
        EXPECT_EQ(stream->size(), package.payload.size());
        EXPECT_EQ(stream->read_bytes(100000), package.payload);
        EXPECT_EQ(whole.read_bytes(100000), package.payload);
    }
}

/// Gives nothing, or throws, once its budget of bytes is spent. Before that it may be slow to
/// answer, with reads that give nothing in between.
class faulty_stream : public support::trickle_stream {
public:
    enum failure { dries_up, throws_exception, throws_number };

    faulty_stream(bytes content, std::uint64_t budget, failure how = dries_up,
                  unsigned dry_reads = 0)
        : trickle_stream(std::move(content), budget), m_budget(budget), m_how(how),
          m_dry_reads(dry_reads) {}

    std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override {
        if (m_dry_left > 0) {
            --m_dry_left;
            return 0;
        }
        m_dry_left = m_dry_reads;
        if (m_budget == 0 && m_how == throws_exception) throw std::runtime_error("disk on fire");
        if (m_budget == 0 && m_how == throws_number) throw 7;
        const std::uint64_t got = trickle_stream::read_impl(buffer, std::min(count, m_budget));
        m_budget -= got;
        return got;
    }

private:
    std::uint64_t m_budget;
    failure m_how;
    unsigned m_dry_reads;
    unsigned m_dry_left = 0;
};

const std::string short_total =
    "Debug debug: [ASSERT] total_read == (m_stream->size() - MVE_PACKAGE_HEADER_SIZE)";

constexpr std::uint64_t enough = 1u << 20;
constexpr auto dries = faulty_stream::dries_up;
constexpr auto burns = faulty_stream::throws_exception;
constexpr auto throws = faulty_stream::throws_number;

struct fault_row {
    std::uint64_t budget;
    faulty_stream::failure how;
    unsigned dry_reads;
    package_fault fault;
    strings log;
};

const fault_row fault_rows[] = {
    {0, burns, 0, fault_header_unreadable, {"ERROR packageheader: disk on fire"}},
    {0, throws, 0, fault_header_unreadable, {"ERROR packageheader: Unknown Exception."}},
    {2000, dries, 0, fault_payload_unreadable, {short_total}},
    {2000, burns, 0, fault_payload_unreadable, {"ERROR packageinputstream: disk on fire"}},
    {2000, throws, 0, fault_payload_unreadable, {"ERROR packageinputstream: Unknown Exception."}},
    {enough, dries, 7, fault_none, {}},
    {enough, dries, 8, fault_payload_unreadable, {short_total}}};

TEST(PackageInputStream, StreamThatFailsUnderTheChecks) {
    package_builder package;
    package.payload.resize(40000, 'p');
    const bytes file = package.build();
    for (const fault_row& row : fault_rows) {
        SCOPED_TRACE(&row - fault_rows);
        const support::log_capture log;
        const auto stream =
            opened(std::make_unique<faulty_stream>(file, row.budget, row.how, row.dry_reads));
        EXPECT_EQ(log.summary(), row.log);
        EXPECT_EQ(stream->size(), row.fault == fault_none ? 40000u : 0u);
        faulty_stream again(file, row.budget, row.how, row.dry_reads);
        EXPECT_EQ(verify_package(again, public_key()).fault, row.fault);
    }
}

TEST(PackageInputStream, StreamThatEndsInTheHeaderOrDoesNotLeaveIt) {
    struct stuck_stream : support::trickle_stream {
        using trickle_stream::trickle_stream;

        std::uint64_t skip(std::uint64_t count) override { return count - 1; }
    };

    const support::log_capture log;
    bytes file = package_builder().build();
    stuck_stream stuck(file, file.size());
    EXPECT_EQ(verify_package(stuck, public_key()).fault, fault_payload_unreachable);
    expect_empty(*opened(std::make_unique<stuck_stream>(file, file.size())));
    file.resize(1023);
    EXPECT_EQ(verify_package(*deep_stream(file), public_key()).fault, fault_too_short);
    expect_empty(*opened(deep_stream(file)));
    EXPECT_TRUE(log.lines().empty());
}

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

} // namespace
