#include "RandomBytes.h"

#include <sys/random.h>

#include <cerrno>

namespace ScObjects {

bool randomBytes(void* out, std::size_t size)
{
    unsigned char* bytes = static_cast<unsigned char*>(out);
    while (size > 0) {
        // Blocks only until the generator is first seeded, early at boot.
        const ssize_t n = ::getrandom(bytes, size, 0);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        bytes += n;
        size -= std::size_t(n);
    }
    return true;
}

} // namespace ScObjects
