// The text form of dictionaries as a tool sees it: validation with line
// numbers, and writing a dictionary back out as text.
#pragma once

#include "Dictionary.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace quire {

struct LineProblem {
    std::size_t line; // 1-based
    std::string reason;
};

// The lines of a text dictionary (any of its encodings) that a read would
// skip as malformed, and the lines of 8-bit text that a read would take in
// part only (invalid UTF-8 or a NUL byte). Empty lines are not problems.
std::vector<LineProblem> CheckTextDictionary(const void* data, std::size_t size);

// Writes every entry as a line "$$$<key>=<value>", values with their hat
// escapes as stored, so the text reads back to the same entries: every
// dictionary read from text in the same family of encodings (UTF-16 or
// 8-bit) is written. A value ending in a backslash goes on an unquoted line,
// every other one in double quotes. UTF-16 output starts with a byte-order
// mark. Returns false and sets error, naming the key, when an entry cannot
// be written as a line (a line break or an unescaped quote in its value, an
// empty key, or a NUL or lone surrogate in UTF-8) or the stream fails.
bool WriteTextDictionary(const Dictionary& dictionary, std::ostream& out, TextEncoding encoding,
                         std::string& error);

} // namespace quire
