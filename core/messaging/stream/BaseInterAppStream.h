// A named endpoint through which one process hands text to another.
//
// Blobs that arrive are turned into one growing pending text (zero bytes
// become line feeds) that getMessages drains. The stream knows nothing of
// message structure. Every operation takes the stream lock except send,
// which takes a lock of its own, so one thread may send while another polls.
// No operation throws to its caller; failures are false or empty results.
#pragma once

#include "SoLockable.h"
#include "SoString.h"

class BaseInterAppStream : public ScObjects::SoLockable {
public:
    static constexpr long kInitialBufferSize = 4096;

    // flag is accepted for compatibility and ignored. prefix is the
    // platform's port prefix, prepended to name to form the port name.
    // Throws std::bad_alloc when the receive buffer cannot be had.
    BaseInterAppStream(const ScObjects::SoString& name, bool flag, const char* prefix);
    ~BaseInterAppStream() override;
    BaseInterAppStream(const BaseInterAppStream&) = delete;
    BaseInterAppStream& operator=(const BaseInterAppStream&) = delete;

    // True when no received text waits.
    virtual bool isEmpty() const;
    // The received text, emptied: a copy is returned and the stream keeps
    // nothing.
    virtual ScObjects::SoString getMessages();
    // True when the endpoint exists: the name was free and is now ours.
    virtual bool isGood() const = 0;
    // Delivers data, whole, to the stream named target; false when nobody
    // holds that name, this stream is not good, or delivery did not finish
    // within the send bound.
    virtual bool send(const ScObjects::SoString& target, const ScObjects::SoString& data) const = 0;
    // Moves the oldest received blob into the pending text; false when none.
    virtual bool receive() = 0;
    // Takes in whatever has arrived, without blocking; true when at least
    // one blob waits for receive.
    virtual bool messagePending() const = 0;
    // Whether a stream of that name could be made here now, i.e. nobody
    // holds the name. Makes and destroys a temporary endpoint.
    virtual bool canOpen(const ScObjects::SoString& name, bool flag) const;

    // The name given to the constructor.
    ScObjects::SoString name() const;
    // The receive buffer's size: the largest blob received so far, at least
    // kInitialBufferSize; 0 after an allocation failure.
    long receiveBufferCapacity() const;

protected:
    // The port prefix followed by name: what a stream of that name listens on.
    ScObjects::SoString portNameFor(const ScObjects::SoString& name) const;
    ScObjects::SoString portName() const { return portNameFor(m_portSuffix); }
    // Appends the first n bytes of the receive buffer to the pending text,
    // under the stream lock; nothing when there is no buffer.
    void appendFromBuffer(long n);
    // Puts the n bytes of blob (a SoHeap block, taken over and freed) into
    // the receive buffer, which becomes exactly n bytes when it was smaller,
    // and turns their zero bytes into line feeds. Call under the stream lock.
    void fillBuffer(char* blob, long n);

private:
    ScObjects::SoString m_pending;
    ScObjects::SoString m_name;
    char* m_buffer;
    long m_bufferCapacity;
    ScObjects::SoString m_portPrefix;
    ScObjects::SoString m_portSuffix;
    // Always 1, whatever the constructor's flag says.
    unsigned char m_flag;
};
