#include "zip_peers.h"

#include <zip.h>

namespace bench {

void libzip_archive::discard::operator()(zip* archive) const noexcept { zip_discard(archive); }

libzip_archive::libzip_archive(const std::string& path)
    : m_archive(zip_open(path.c_str(), ZIP_RDONLY, nullptr)) {
    require(m_archive != nullptr, "libzip cannot open an archive");
}

void libzip_archive::list(proof* found) const {
    const auto count = static_cast<zip_uint64_t>(zip_get_num_entries(m_archive.get(), 0));
    for (zip_uint64_t i = 0; i != count; ++i) {
        zip_stat_t told;
        zip_stat_index(m_archive.get(), i, 0, &told);
        if (found != nullptr) found->add(told.name);
    }
}

void libzip_archive::read(const std::string& name, bytes& content, bool packed) const {
    zip_stat_t told;
    require(zip_stat(m_archive.get(), name.c_str(), 0, &told) == 0, "libzip cannot find a member");
    content.resize(packed ? told.comp_size : told.size);
    const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> member(
        zip_fopen_index(m_archive.get(), told.index, packed ? ZIP_FL_COMPRESSED : 0), zip_fclose);
    const zip_int64_t got = zip_fread(member.get(), content.data(), content.size());
    require(got == static_cast<zip_int64_t>(content.size()), "libzip cannot read a member");
}

} // namespace bench
