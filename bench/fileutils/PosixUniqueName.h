// The free-name rule of generateUniqueFileName written in plain POSIX, the
// peer of the benchmark: the same candidates and the same steps (existence
// probe, exclusive create, close, unlink), on byte strings. Lengths are
// counted in bytes, which equals the rule's UTF-16 count for ASCII names.
#pragma once

#include <string>

// True with the free name in *out; false after 10000 taken candidates or on
// an error other than "exists".
bool posixUniqueName(const char* folder, const char* name, unsigned start, bool alwaysNumber, std::string* out);
