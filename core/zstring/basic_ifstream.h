// quire::basic_ifstream: a file opened for binary reading, the way a
// dictionary file is handed to Dictionary::Read.
#pragma once

#include <fstream>

namespace quire {

class basic_ifstream : public std::ifstream {
public:
    explicit basic_ifstream(const char* path)
        : std::ifstream(path, std::ios::in | std::ios::binary) {}
};

} // namespace quire
