#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// A row is one piece of work, done by several subjects: the engine first, then what else a user
// could pick (a peer) or what cannot be avoided (a floor).

namespace bench {

using bytes = std::vector<std::uint8_t>;

void require(bool done, const char* what);

/// What a subject got hold of, in any order. Subjects that did the same work have equal proofs.
class proof {
public:
    void add(std::string_view name, std::span<const std::uint8_t> content = {});

    void add(std::uint64_t number) noexcept {
        ++m_items;
        m_sum += number;
    }

    bool operator==(const proof&) const = default;

private:
    std::uint64_t m_items = 0;
    std::uint64_t m_sum = 0;
};

struct work {
    double units = 1;                      // done in a run
    std::function<void(proof* found)> run; // `found` is null where time is taken
    std::function<double()> heap{};        // instead: gives bytes of memory
};

struct subject {
    std::string name;
    std::function<work()> prepare;
    double aim = 0; // the most that the ratio engine/subject may be; 0: no aim
};

struct row {
    std::string name;
    std::string unit; // what times and counts are given for
    std::vector<subject> subjects;
    double most_calls = 0;        // system calls a unit that the engine may make; 0: no limit
    double most_instructions = 0; // the same for instructions
    bool same_work = true;        // false where the subjects differ in size
};

struct settings {
    int repetitions = 9;
    double seconds = 0.05; // of a repetition, at least
    bool counting = true;  // system calls and instructions
    std::string program;   // to count, this program runs itself under the tools
    std::string data;      // the folder with the data
};

/// What was measured of one subject, all for one unit.
struct result {
    std::vector<double> samples; // nanoseconds of the processor, or bytes; in ascending order
    bool is_memory = false;
    std::optional<double> calls;
    std::optional<double> instructions;

    double median() const { return samples[samples.size() / 2]; }

    /// Distance of the quartiles as a part of the median.
    double spread() const {
        return (samples[samples.size() * 3 / 4] - samples[samples.size() / 4]) / median();
    }
};

/// Measures all subjects of a row, in random interleaving. Throws if they do not do the same work.
std::vector<result> measure(const row& measured, const settings& how);

// Counting

/// What strace and callgrind count of the subject `number`, in a run; nothing where the tools are
/// not there or may not trace.
void count(const row& counted, std::size_t number, const settings& how, result& found);

/// What the counted process does: one run between marks that the tools see.
void run_between_marks(const subject& one);

} // namespace bench
