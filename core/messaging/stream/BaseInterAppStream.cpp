#include "BaseInterAppStream.h"

#include <cstring>
#include <new>

#include "InterAppStream.h"

using ScObjects::ObjectLock;
using ScObjects::SoHeap;
using ScObjects::SoString;

BaseInterAppStream::BaseInterAppStream(const SoString& name, bool, const char* prefix)
    : m_name(name)
    , m_buffer(static_cast<char*>(SoHeap::mallocHeap(kInitialBufferSize)))
    , m_bufferCapacity(kInitialBufferSize)
    , m_portPrefix(prefix)
    , m_portSuffix(name)
    , m_flag(1)
{
    if (!m_buffer)
        throw std::bad_alloc();
}

BaseInterAppStream::~BaseInterAppStream()
{
    ObjectLock lock(this);
    SoHeap::freeHeap(m_buffer);
}

bool BaseInterAppStream::isEmpty() const
{
    ObjectLock lock(this);
    return m_pending.length() == 0;
}

SoString BaseInterAppStream::getMessages()
{
    ObjectLock lock(this);
    // The text moves out whole; the stream starts a fresh, empty one.
    SoString text;
    text.swap(m_pending);
    return text;
}

bool BaseInterAppStream::canOpen(const SoString& name, bool flag) const
{
    try {
        InterAppStream probe(name, flag);
        return probe.isGood();
    } catch (...) {
        return false;
    }
}

SoString BaseInterAppStream::name() const
{
    ObjectLock lock(this);
    return m_name;
}

long BaseInterAppStream::receiveBufferCapacity() const
{
    ObjectLock lock(this);
    return m_bufferCapacity;
}

SoString BaseInterAppStream::portNameFor(const SoString& name) const
{
    SoString port(m_portPrefix);
    port << name;
    return port;
}

void BaseInterAppStream::appendFromBuffer(long n)
{
    ObjectLock lock(this);
    if (m_buffer)
        m_pending.append(m_buffer, n);
}

void BaseInterAppStream::fillBuffer(char* blob, long n)
{
    if (n >= m_bufferCapacity && blob) {
        // The blob's own block is exactly n bytes: it becomes the buffer, which
        // thus always matches the largest blob seen so far, without a copy.
        SoHeap::freeHeap(m_buffer);
        m_buffer = blob;
        m_bufferCapacity = n;
    } else {
        if (m_buffer)
            std::memcpy(m_buffer, blob, std::size_t(n));
        SoHeap::freeHeap(blob);
    }
    if (!m_buffer)
        return;
    // Senders end or separate their texts with zero bytes; the pending text
    // is plain text whose parts are separated by line feeds.
    for (char* zero = m_buffer; (zero = static_cast<char*>(std::memchr(zero, 0, std::size_t(m_buffer + n - zero))));)
        *zero++ = '\n';
}
