// Version of the quire library, 4.1. The marker symbol lets a linked
// program be checked for the version it carries without running it.
#pragma once

extern "C" const int ZStringLibVersion_4_1;

namespace quire {

// Writes the library's major and minor version.
void ZSLibraryVersion(int& major, int& minor);

} // namespace quire
