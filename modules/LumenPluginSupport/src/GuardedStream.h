// A memory stream for LibRaw that notices reads beyond the end of the file.
// LibRaw's decoders read zeros there and report success, so this is how a
// stripped or truncated file is told from a whole one: its decoder either
// seeks past the end and reads there, or reads on past the end by more than
// a bit reader's look-ahead, or reports corrupt data. Once armed, the stream
// stops the decoder at the first such read, so that a small file claiming a
// huge image costs no more than its header.
#pragma once

#include <cstddef>
#include <cstdint>

#include <libraw/libraw.h>

namespace lumen {

class GuardedStream : public LibRaw_buffer_datastream {
public:
    // `decoder` is the LibRaw object that reads through this stream.
    GuardedStream(const std::uint8_t* data, std::size_t size, LibRaw& decoder);

    int read(void* ptr, size_t size, size_t count) override;
    int get_char() override;
    int seek(INT64 offset, int whence) override;

    // Forgets what was seen so far and starts watching: the part of decoding
    // that must not overrun begins.
    void arm();
    // True when the armed decoder read where the file has nothing: after a
    // seek past the end, more than a bit reader's look-ahead past the end,
    // or with corrupt data.
    bool overran() const { return m_readBeyondEnd || m_pastEnd > kReadAheadSlack || m_dataErrors > 0; }
    // For LibRaw's data-error callback.
    void countDataError();

private:
    // Bit readers fetch a few bytes ahead of what they decode; more than this
    // means image data is missing.
    static constexpr INT64 kReadAheadSlack = 64;

    void stopIfOverran();

    LibRaw& m_decoder;
    bool m_armed = false;
    INT64 m_pastEnd = 0;
    bool m_beyondEnd = false;
    bool m_readBeyondEnd = false;
    int m_dataErrors = 0;
};

} // namespace lumen
