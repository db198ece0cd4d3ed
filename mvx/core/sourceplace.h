#pragma once

namespace core {

/// A line of source text, as the log shows it. The default arguments of here() are evaluated where
/// here() itself stands as a default argument: at the caller.
class source_place {
public:
    static constexpr source_place here(const char* file = __builtin_FILE(),
                                       int line = __builtin_LINE()) noexcept {
        return {file, line};
    }

    constexpr const char* file() const noexcept { return m_file; }

    constexpr int line() const noexcept { return m_line; }

private:
    constexpr source_place(const char* file, int line) noexcept : m_file(file), m_line(line) {}

    const char* m_file;
    int m_line;
};

} // namespace core
