// The keyed MD5 digest of the wire format.
#include "TesselTalkUtils.h"

// The low-level MD5 calls, deprecated for new code, on purpose: the EVP route
// sets the whole library up on its first digest (configuration file, every
// cipher and digest), most of a millisecond that each one-shot sender would
// pay for one message. These run the same MD5 code without that set-up.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/md5.h>

#include <cstdio>

namespace ScObjects {
namespace TesselTalkUtils {

SoString getMD5(const char* text, long length)
{
    const SoString key = getDigestKey();
    MD5_CTX context;
    unsigned char digest[MD5_DIGEST_LENGTH];
    if (MD5_Init(&context) != 1 || MD5_Update(&context, key.c_str(), std::size_t(key.length())) != 1
        || MD5_Update(&context, "+", 1) != 1 || MD5_Update(&context, text, std::size_t(length)) != 1
        || MD5_Update(&context, "+", 1) != 1 || MD5_Update(&context, key.c_str(), std::size_t(key.length())) != 1
        || MD5_Final(digest, &context) != 1)
        return SoString();

    // No zero padding: both ends print alike, and that is all that matters.
    SoString out;
    for (unsigned char byte : digest) {
        char hex[4];
        std::snprintf(hex, sizeof hex, "%X", byte);
        out << hex;
    }
    out.shrink(32);
    return out;
}

} // namespace TesselTalkUtils
} // namespace ScObjects
