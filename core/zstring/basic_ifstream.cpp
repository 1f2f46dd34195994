#include "basic_ifstream.h"

#include "private/MappedFile_p.h"

namespace quire {

basic_ifstream::basic_ifstream(const char* path)
    : std::istream(nullptr), m_file(quire_private::MappedFile::Open(path))
{
    if (m_file)
        m_buffer.Set(m_file->Data(), m_file->Size());
    rdbuf(&m_buffer);
    if (!m_file)
        setstate(std::ios::failbit);
}

basic_ifstream::~basic_ifstream() = default;

void basic_ifstream::Buffer::Set(const unsigned char* data, std::size_t size)
{
    // The get area is only ever read: no putback writes into it, since
    // pbackfail is not overridden.
    char* begin = const_cast<char*>(reinterpret_cast<const char*>(data));
    setg(begin, begin, begin + size);
}

basic_ifstream::Buffer::pos_type basic_ifstream::Buffer::seekoff(off_type off, std::ios_base::seekdir dir,
                                                                 std::ios_base::openmode which)
{
    if (!(which & std::ios_base::in))
        return pos_type(off_type(-1));
    off_type base = 0;
    if (dir == std::ios_base::cur)
        base = gptr() - eback();
    else if (dir == std::ios_base::end)
        base = egptr() - eback();
    const off_type target = base + off;
    if (target < 0 || target > egptr() - eback())
        return pos_type(off_type(-1));
    setg(eback(), eback() + target, egptr());
    return pos_type(target);
}

basic_ifstream::Buffer::pos_type basic_ifstream::Buffer::seekpos(pos_type pos, std::ios_base::openmode which)
{
    return seekoff(off_type(pos), std::ios_base::beg, which);
}

} // namespace quire
