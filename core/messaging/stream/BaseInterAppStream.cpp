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
    SoString text(m_pending);
    m_pending.assign("", 0);
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

void BaseInterAppStream::fillBuffer(const char* data, long n)
{
    if (n > m_bufferCapacity) {
        SoHeap::freeHeap(m_buffer);
        // Exactly the blob's size: the buffer always matches the largest
        // blob seen so far.
        m_buffer = static_cast<char*>(SoHeap::mallocHeap(std::size_t(n)));
        m_bufferCapacity = m_buffer ? n : 0;
    }
    if (!m_buffer)
        return;
    std::memcpy(m_buffer, data, std::size_t(n));
    // Senders end or separate their texts with zero bytes; the pending text
    // is plain text whose parts are separated by line feeds.
    for (char* zero = m_buffer; (zero = static_cast<char*>(std::memchr(zero, 0, std::size_t(m_buffer + n - zero))));)
        *zero++ = '\n';
}
