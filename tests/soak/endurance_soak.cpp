#include "soak/soak.h"

#include "morvantic/scriptsectionimpl.h"

#include <optional>

namespace soak {

namespace {

/// What a section with short names leaves behind: the heap gives a word more than is asked for, in
/// steps of two words.
constexpr std::size_t word = sizeof(void*);
constexpr std::size_t left_by_a_section =
    (sizeof(engine::CScriptSectionImpl) + 3 * word - 1) / (2 * word) * (2 * word);

/// Does the work so many times, each beside a line in the log. Fails at each tenth if anything
/// grows but what stays by design, which `work(number)` gives in bytes.
template <class Work>
void endure(std::size_t total, Work&& work) {
    numbered_log log(1);
    for (std::size_t i = 0; i != 100; ++i) // until all that is made once is there
        work(i);
    const flat_meter flat;
    std::size_t staying = 0;
    std::ptrdiff_t grown = 0;
    for (std::size_t i = 1; i <= total; ++i) {
        log.write(0);
        staying += work(i);
        if (i % numbered_log::lines_between_collections == 0) log.collect();
        if (i % std::max<std::size_t>(1, total / 10) == 0) grown = flat.check(staying);
    }
    log.finish();
    uninstall();
    say(total, " times with ", flat_meter::open_files(), " descriptors left; the heap grew by ",
        grown, " bytes beyond the ", staying, " that stay by design");
}

} // namespace

TEST(Soak, updates) {
    const support::temp_folder folder;
    const std::string packages[] = {write_package(folder, "samples", sample_members()),
                                    write_package(folder, "other", {{"mail.sc", "::A::B::{}"}}),
                                    folder.write("broken", "no package")};
    std::optional<engine::CScript> kept; // over some updates
    endure(part_of(100'000), [&](std::size_t number) -> std::size_t {
        const bool is_broken = number % 10 == 9;
        EXPECT_EQ(install(packages[is_broken ? 2 : number % 2]),
                  is_broken ? mv_package_refused : mv_success);
        if (number % 50 == 0) kept.emplace(L"mail.sc");
        return 0;
    });
}

TEST(Soak, parses) {
    const support::temp_folder folder;
    ASSERT_EQ(install(write_package(folder, "samples", sample_members())), mv_success);
    std::size_t sections = 0;
    endure(part_of(1'000'000), [&](std::size_t number) {
        const counting_script script(sample_of(number));
        sections += script.sections;
        return script.sections * left_by_a_section;
    });
    say(left_by_a_section, " bytes a section stay by design, ", sizeof(engine::CScriptSectionImpl),
        " of them its implementation; ", sections, " sections");
}

} // namespace soak
