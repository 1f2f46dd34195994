#include "MappedFile_p.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace quire_private {

namespace {

struct Descriptor {
    int fd;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

} // namespace

std::shared_ptr<const MappedFile> MappedFile::Open(const char* path)
{
    if (!path)
        return nullptr;
    const Descriptor file{::open(path, O_RDONLY | O_CLOEXEC)};
    struct stat info;
    if (file.fd < 0 || ::fstat(file.fd, &info) != 0 || S_ISDIR(info.st_mode))
        return nullptr;
    auto mapped = std::make_shared<MappedFile>();
    if (S_ISREG(info.st_mode) && info.st_size > 0) {
        void* map = ::mmap(nullptr, static_cast<std::size_t>(info.st_size), PROT_READ, MAP_PRIVATE, file.fd, 0);
        if (map != MAP_FAILED) {
            mapped->m_map = map;
            mapped->m_data = static_cast<const unsigned char*>(map);
            mapped->m_size = static_cast<std::size_t>(info.st_size);
            return mapped;
        }
    }
    unsigned char chunk[65536];
    for (;;) {
        const ssize_t n = ::read(file.fd, chunk, sizeof chunk);
        if (n > 0) {
            mapped->m_copy.insert(mapped->m_copy.end(), chunk, chunk + n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return nullptr;
        break;
    }
    mapped->m_data = mapped->m_copy.data();
    mapped->m_size = mapped->m_copy.size();
    return mapped;
}

MappedFile::~MappedFile()
{
    if (m_map)
        ::munmap(m_map, m_size);
}

} // namespace quire_private
