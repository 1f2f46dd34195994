// The process's messaging thread as the messaging objects see it. The
// thread layer implements it and installs a factory; without one a context
// runs without a messaging thread (nobody answers pings, and queues move
// only when the application pumps).
#pragma once

#include "SoString.h"
#include "Thread.h"

namespace ScObjects {

class TesselTalkContext;

namespace TesselTalk {
class MsgHandler;
}

class MessagingThread : public Thread {
public:
    using Factory = MessagingThread* (*)(TesselTalkContext* context, const SoString& appSpec);

    // False once the thread is stopping or for an empty key; an empty
    // value removes the key.
    virtual bool setKeyValuePair(const SoString& key, const SoString& value) = 0;
    // Empty when the key is absent.
    virtual SoString getValueForKey(const SoString& key) const = 0;
    // Takes ownership of handler (null removes), adding key when absent.
    virtual bool setHandler(const SoString& key, TesselTalk::MsgHandler* handler) = 0;
    virtual TesselTalk::MsgHandler* findHandler(const SoString& key) const = 0;
    // The key expires seconds from now; 0 means never. False when absent.
    virtual bool setTimeout(const SoString& key, long seconds) = 0;
    // The thread's own endpoint name.
    virtual SoString getSpecifier() const = 0;
    // Diagnostics lines of the thread under prefix.
    virtual void appendDiagnostics(SoString& out, const SoString& prefix) const = 0;

    // Install before the first context is made; null removes.
    static void setFactory(Factory factory);
    static Factory factory();
};

} // namespace ScObjects
