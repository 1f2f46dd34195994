// quire::basic_ifstream: a file opened for binary reading, the way a
// dictionary file is handed to Dictionary::Read. The file is mapped
// read-only when it opens; Dictionary::Read takes the mapping itself, and
// any other reader sees an ordinary input stream over the same bytes.
#pragma once

#include <istream>
#include <memory>
#include <streambuf>

namespace quire_private {
class MappedFile;
}

namespace quire {

class basic_ifstream : public std::istream {
public:
    // A file that does not open leaves the stream failed and is_open false.
    explicit basic_ifstream(const char* path);
    ~basic_ifstream() override;

    bool is_open() const { return m_file != nullptr; }
    // The file's bytes; null when it did not open.
    const std::shared_ptr<const quire_private::MappedFile>& File() const { return m_file; }

private:
    // A read-only get area over the bytes, with seeking.
    class Buffer : public std::streambuf {
    public:
        void Set(const unsigned char* data, std::size_t size);

    protected:
        pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override;
        pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;
    };

    std::shared_ptr<const quire_private::MappedFile> m_file;
    Buffer m_buffer;
};

} // namespace quire
