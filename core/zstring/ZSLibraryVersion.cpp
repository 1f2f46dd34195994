#include "ZSLibraryVersion.h"

extern "C" const int ZStringLibVersion_4_1 = 0x0401;

namespace quire {

void ZSLibraryVersion(int& major, int& minor)
{
    major = ZStringLibVersion_4_1 >> 8;
    minor = ZStringLibVersion_4_1 & 0xff;
}

} // namespace quire
