// MD5 (RFC 1321), for the keyed digest of the wire format. The messaging
// layers carry their own digests and random source rather than a crypto
// library: every process that only sends a message would otherwise pay for
// that library's start-up, whose CPU feature probe alone traps to the
// hypervisor a dozen times on a virtual machine.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ScObjects {

class Md5 {
public:
    static constexpr std::size_t kSize = 16;

    Md5();
    void update(const void* data, std::size_t size);
    // The digest of everything updated; the object is spent afterwards.
    void final(unsigned char out[kSize]);

private:
    void block(const unsigned char* data);

    std::uint32_t m_state[4];
    std::uint64_t m_length = 0;
    unsigned char m_buffer[64];
};

} // namespace ScObjects
