#include "AppFileCopy_p.h"

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Fd {
 public:
    explicit Fd(int fd) : m_fd(fd) {}
    ~Fd()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    int get() const { return m_fd; }
    // Closes now and reports the close's own error (a late write-back failure).
    bool close()
    {
        const int fd = m_fd;
        m_fd = -1;
        return ::close(fd) == 0;
    }

 private:
    int m_fd;
};

bool copyWithReadWrite(int in, int out, off_t from)
{
    constexpr std::size_t kChunk = 1 << 20;
    const std::unique_ptr<char[]> buffer(new char[kChunk]);
    if (::lseek(in, from, SEEK_SET) < 0 || ::lseek(out, from, SEEK_SET) < 0)
        return false;
    for (;;) {
        const ssize_t got = ::read(in, buffer.get(), kChunk);
        if (got == 0)
            return true;
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        for (ssize_t done = 0; done < got;) {
            const ssize_t put = ::write(out, buffer.get() + done, std::size_t(got - done));
            if (put < 0) {
                if (errno == EINTR)
                    continue;
                return false;
            }
            done += put;
        }
    }
}

bool copyContents(int in, int out)
{
    off_t copied = 0;
    for (;;) {
        const ssize_t n = ::copy_file_range(in, nullptr, out, nullptr, std::size_t(1) << 30, 0);
        if (n == 0)
            return true;
        if (n > 0) {
            copied += n;
            continue;
        }
        if (errno == EINTR)
            continue;
        // File systems or kernels that cannot copy between these two files.
        if (errno == EXDEV || errno == ENOSYS || errno == EOPNOTSUPP || errno == EINVAL)
            return copyWithReadWrite(in, out, copied);
        return false;
    }
}

} // namespace

bool appCopyFile(const char* source, const char* target)
{
    Fd in(::open(source, O_RDONLY | O_CLOEXEC));
    struct stat st;
    if (in.get() < 0 || ::fstat(in.get(), &st) != 0)
        return false;
    if (!S_ISREG(st.st_mode)) {
        errno = EISDIR;
        return false;
    }
    Fd out(::open(target, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (out.get() < 0)
        return false;
    ::posix_fadvise(in.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    const timespec times[2] = {st.st_atim, st.st_mtim};
    if (copyContents(in.get(), out.get()) && ::futimens(out.get(), times) == 0 && out.close())
        return true;
    const int error = errno;
    ::unlink(target);
    errno = error;
    return false;
}
