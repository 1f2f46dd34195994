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
// skip as malformed. Empty lines are not problems.
std::vector<LineProblem> CheckTextDictionary(const void* data, std::size_t size);

enum class TextEncoding { UTF16LE, UTF16BE, UTF8 };

// Writes every entry as a line "$$$<key>=<value>" in double quotes, values
// with their hat escapes as stored, so the text reads back to the same
// entries. UTF-16 output starts with a byte-order mark. Returns false and
// sets error when an entry cannot be written as a line (a quote, a line
// break or a trailing backslash where the syntax cannot hold it) or the
// stream fails.
bool WriteTextDictionary(Dictionary& dictionary, std::ostream& out, TextEncoding encoding,
                         std::string& error);

} // namespace quire
