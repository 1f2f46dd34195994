#include "GuardedStream.h"

namespace lumen {

GuardedStream::GuardedStream(const std::uint8_t* data, std::size_t size, LibRaw& decoder)
    : LibRaw_buffer_datastream(const_cast<std::uint8_t*>(data), size), m_decoder(decoder)
{
}

int GuardedStream::read(void* ptr, size_t size, size_t count)
{
    const INT64 wanted = INT64(size) * INT64(count);
    const INT64 left = this->size() - tell();
    if (m_beyondEnd && wanted > 0)
        m_readBeyondEnd = true;
    else if (wanted > left)
        m_pastEnd += wanted - (left > 0 ? left : 0);
    stopIfOverran();
    return LibRaw_buffer_datastream::read(ptr, size, count);
}

int GuardedStream::get_char()
{
    if (m_beyondEnd)
        m_readBeyondEnd = true;
    else if (tell() >= size())
        ++m_pastEnd;
    stopIfOverran();
    return LibRaw_buffer_datastream::get_char();
}

// The buffer stream stops at the end; remember when the decoder wanted to go
// further.
int GuardedStream::seek(INT64 offset, int whence)
{
    const INT64 target = whence == SEEK_SET ? offset : whence == SEEK_CUR ? tell() + offset : size() + offset;
    m_beyondEnd = target > size();
    return LibRaw_buffer_datastream::seek(offset, whence);
}

void GuardedStream::arm()
{
    m_armed = true;
    m_pastEnd = 0;
    m_beyondEnd = m_readBeyondEnd = false;
    m_dataErrors = 0;
    m_decoder.clearCancelFlag();
}

void GuardedStream::countDataError()
{
    ++m_dataErrors;
    stopIfOverran();
}

// LibRaw's decoders look at the cancel flag row by row.
void GuardedStream::stopIfOverran()
{
    if (m_armed && overran())
        m_decoder.setCancelFlag();
}

} // namespace lumen
