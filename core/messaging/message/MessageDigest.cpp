// The keyed MD5 digest of the wire format.
#include "TesselTalkUtils.h"

#include "Md5.h"

namespace ScObjects {
namespace TesselTalkUtils {

SoString getMD5(const char* text, long length)
{
    const SoString key = getDigestKey();
    if (length < 0)
        return SoString();
    Md5 md5;
    md5.update(key.c_str(), std::size_t(key.length()));
    md5.update("+", 1);
    md5.update(text, std::size_t(length));
    md5.update("+", 1);
    md5.update(key.c_str(), std::size_t(key.length()));
    unsigned char digest[Md5::kSize];
    md5.final(digest);

    // No zero padding: both ends print alike, and that is all that matters.
    SoString out;
    for (unsigned char byte : digest)
        appendHexByte(out, byte);
    out.shrink(32);
    return out;
}

} // namespace TesselTalkUtils
} // namespace ScObjects
