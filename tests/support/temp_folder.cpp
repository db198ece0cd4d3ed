#include "support/temp_folder.h"

#include "core/text.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace support {

temp_folder::temp_folder() {
    std::string pattern = std::filesystem::temp_directory_path() / "morvantic-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    m_path = pattern;
}

temp_folder::~temp_folder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::wstring temp_folder::wide_path() const { return core::decode_path(m_path); }

std::wstring temp_folder::wide_file(std::string_view name) const {
    return core::decode_path(file(name));
}

std::string temp_folder::write(std::string_view name, std::string_view content) const {
    const std::string path = file(name);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!stream.flush()) throw std::runtime_error("cannot write " + path);
    return path;
}

std::string temp_folder::write(std::string_view name, std::span<const std::uint8_t> content) const {
    return write(name,
                 std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
}

std::string read_file(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace support
