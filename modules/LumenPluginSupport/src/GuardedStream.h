// A memory stream for LibRaw that notices reads beyond the end of the file.
// LibRaw's decoders read zeros there and report success, so this is how a
// stripped or truncated file is told from a whole one: its decoder either
// seeks past the end and reads there, or reads on past the end by more than
// a bit reader's look-ahead, or reports corrupt data.
#pragma once

#include <cstddef>
#include <cstdint>

#include <libraw/libraw.h>

namespace lumen {

class GuardedStream : public LibRaw_buffer_datastream {
public:
    GuardedStream(const std::uint8_t* data, std::size_t size);

    int read(void* ptr, size_t size, size_t count) override;
    int get_char() override;
    int seek(INT64 offset, int whence) override;

    // Forgets what was seen so far, before the part of decoding that counts.
    void reset();
    // True when the decoder read where the file has nothing: after a seek
    // past the end, more than `slack` bytes past the end, or with corrupt data.
    bool overran(INT64 slack) const { return m_readBeyondEnd || m_pastEnd > slack || m_dataErrors > 0; }
    // For LibRaw's data-error callback.
    void countDataError() { ++m_dataErrors; }

private:
    INT64 m_pastEnd = 0;
    bool m_beyondEnd = false;
    bool m_readBeyondEnd = false;
    int m_dataErrors = 0;
};

} // namespace lumen
