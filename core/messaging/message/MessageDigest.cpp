// The keyed MD5 digest of the wire format.
#include "TesselTalkUtils.h"

#include <openssl/evp.h>

#include <cstdio>
#include <memory>

namespace ScObjects {
namespace TesselTalkUtils {

SoString getMD5(const char* text, long length)
{
    const SoString key = getDigestKey();
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (!context || EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr) != 1
        || EVP_DigestUpdate(context.get(), key.c_str(), std::size_t(key.length())) != 1
        || EVP_DigestUpdate(context.get(), "+", 1) != 1
        || EVP_DigestUpdate(context.get(), text, std::size_t(length)) != 1
        || EVP_DigestUpdate(context.get(), "+", 1) != 1
        || EVP_DigestUpdate(context.get(), key.c_str(), std::size_t(key.length())) != 1
        || EVP_DigestFinal_ex(context.get(), digest, &size) != 1)
        return SoString();

    // No zero padding: both ends print alike, and that is all that matters.
    SoString out;
    for (unsigned int i = 0; i < size; ++i) {
        char hex[4];
        std::snprintf(hex, sizeof hex, "%X", digest[i]);
        out << hex;
    }
    out.shrink(32);
    return out;
}

} // namespace TesselTalkUtils
} // namespace ScObjects
