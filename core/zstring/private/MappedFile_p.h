// The bytes of a file for reading in place: mapped read-only, or read into
// memory when the file cannot be mapped (a pipe, a device). A mapped file
// that another process truncates while it is mapped faults on access; the
// dictionary files are only ever replaced by renaming, never rewritten in
// place.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace quire_private {

class MappedFile {
public:
    // Null when path does not open for reading or is a directory.
    static std::shared_ptr<const MappedFile> Open(const char* path);

    MappedFile() = default;
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    const unsigned char* Data() const { return m_data; }
    std::size_t Size() const { return m_size; }

private:
    void* m_map = nullptr;
    const unsigned char* m_data = nullptr;
    std::size_t m_size = 0;
    std::vector<unsigned char> m_copy;
};

} // namespace quire_private
