#include "TiffBlob.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lumen {

namespace {

struct ByteOrder {
    bool little = true;
    std::uint16_t u16(const std::uint8_t* p) const
    {
        return little ? std::uint16_t(p[0] | p[1] << 8) : std::uint16_t(p[0] << 8 | p[1]);
    }
    std::uint32_t u32(const std::uint8_t* p) const
    {
        return little ? std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 |
                            std::uint32_t(p[3]) << 24
                      : std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
    }
    void put32(std::uint8_t* p, std::uint32_t v) const
    {
        for (int i = 0; i < 4; ++i)
            p[i] = std::uint8_t(little ? v >> (8 * i) : v >> (8 * (3 - i)));
    }
};

bool readAt(int fd, std::uint64_t offset, void* buf, std::size_t size)
{
    return pread(fd, buf, size, off_t(offset)) == ssize_t(size);
}

bool writeAt(int fd, std::uint64_t offset, const void* buf, std::size_t size)
{
    const auto* p = static_cast<const std::uint8_t*>(buf);
    while (size) {
        const ssize_t n = pwrite(fd, p, size, off_t(offset));
        if (n <= 0)
            return false;
        p += n;
        offset += std::uint64_t(n);
        size -= std::size_t(n);
    }
    return true;
}

// Finds the 12-byte entry of `tag` in the first IFD; its file offset goes to
// `entryAt`.
bool findEntry(int fd, std::uint16_t tag, ByteOrder& order, std::uint64_t& entryAt, std::uint8_t (&entry)[12],
               std::string& error)
{
    std::uint8_t header[8];
    if (!readAt(fd, 0, header, 8) || !((header[0] == 'I' && header[1] == 'I') || (header[0] == 'M' && header[1] == 'M'))) {
        error = "not a TIFF file";
        return false;
    }
    order.little = header[0] == 'I';
    if (order.u16(header + 2) != 42) {
        error = "not a classic TIFF file";
        return false;
    }
    const std::uint32_t ifd = order.u32(header + 4);
    std::uint8_t countBytes[2];
    if (!readAt(fd, ifd, countBytes, 2)) {
        error = "first IFD out of bounds";
        return false;
    }
    const unsigned count = order.u16(countBytes);
    for (unsigned i = 0; i < count; ++i) {
        const std::uint64_t at = std::uint64_t(ifd) + 2 + 12ull * i;
        if (!readAt(fd, at, entry, 12)) {
            error = "first IFD out of bounds";
            return false;
        }
        if (order.u16(entry) == tag) {
            entryAt = at;
            return true;
        }
    }
    error = "tag " + std::to_string(tag) + " not in the first IFD";
    return false;
}

} // namespace

bool appendTagBlob(int fd, std::uint16_t tag, const std::vector<std::uint8_t>& blob, std::string& error)
{
    ByteOrder order;
    std::uint64_t entryAt = 0;
    std::uint8_t entry[12];
    if (!findEntry(fd, tag, order, entryAt, entry, error))
        return false;
    struct stat info {};
    if (fstat(fd, &info) != 0) {
        error = "cannot size the output";
        return false;
    }
    std::uint64_t at = std::uint64_t(info.st_size);
    const std::uint8_t pad = 0;
    if (at % 2 && writeAt(fd, at, &pad, 1))
        ++at;
    if (at + blob.size() > 0xFFFFFFFFull) {
        error = "the output would exceed 4 GiB";
        return false;
    }
    if (!writeAt(fd, at, blob.data(), blob.size())) {
        error = "cannot write the embedded original";
        return false;
    }
    order.put32(entry + 4, std::uint32_t(blob.size()));
    order.put32(entry + 8, std::uint32_t(at));
    if (!writeAt(fd, entryAt, entry, 12)) {
        error = "cannot write the embedded original's entry";
        return false;
    }
    return true;
}

bool retypeEntry(int fd, std::uint16_t tag, std::uint16_t type, std::string& error)
{
    ByteOrder order;
    std::uint64_t entryAt = 0;
    std::uint8_t entry[12];
    if (!findEntry(fd, tag, order, entryAt, entry, error))
        return false;
    const std::uint8_t bytes[2] = {std::uint8_t(order.little ? type : type >> 8),
                                   std::uint8_t(order.little ? type >> 8 : type)};
    if (!writeAt(fd, entryAt + 2, bytes, 2)) {
        error = "cannot rewrite the entry of tag " + std::to_string(tag);
        return false;
    }
    return true;
}

bool readTagBlob(const std::string& path, std::uint16_t tag, std::vector<std::uint8_t>& blob, std::string& error)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = "cannot open " + path;
        return false;
    }
    ByteOrder order;
    std::uint64_t entryAt = 0;
    std::uint8_t entry[12];
    bool ok = findEntry(fd, tag, order, entryAt, entry, error);
    if (ok) {
        const std::uint16_t type = order.u16(entry + 2);
        const std::uint32_t count = order.u32(entry + 4);
        if (type != 1 && type != 7) {
            error = "tag " + std::to_string(tag) + " does not hold bytes";
            ok = false;
        } else if (count <= 4) {
            blob.assign(entry + 8, entry + 8 + count);
        } else {
            struct stat info {};
            const std::uint32_t offset = order.u32(entry + 8);
            ok = fstat(fd, &info) == 0 && std::uint64_t(offset) + count <= std::uint64_t(info.st_size);
            if (ok) {
                blob.resize(count);
                ok = readAt(fd, offset, blob.data(), count);
            }
            if (!ok)
                error = "tag " + std::to_string(tag) + " points outside the file";
        }
    }
    ::close(fd);
    return ok;
}

} // namespace lumen
