// The messaging context of a process: its own specifier, its messaging
// thread, the connector, the serial-number counter and its messaging
// objects, one of them the main one.
//
// The context locks itself; it is never held while another lock is taken,
// so any thread may ask it. The messaging objects are not owned: each
// removes itself when it is destroyed.
#pragma once

#include <vector>

#include "SerialNumberCounter.h"
#include "SoLockable.h"
#include "SoString.h"

namespace ScObjects {

class MessagingThread;
class TesselTalkConnector;

namespace TesselTalk {
class TesselTalk;
class Message;
}

class TesselTalkContext : public SoLockable {
public:
    // Makes (and starts) the messaging thread through the installed factory.
    explicit TesselTalkContext(const SoString& appSpec);
    // Stops and deletes the thread.
    ~TesselTalkContext() override;
    TesselTalkContext(const TesselTalkContext&) = delete;
    TesselTalkContext& operator=(const TesselTalkContext&) = delete;

    // The current context; waits for a running setup thread first.
    static TesselTalkContext* getCurrentContext();
    // Contexts nest: a context made current while another is displaces it,
    // and clearing (null) brings the displaced one back.
    static void setCurrentContext(TesselTalkContext* context);
    // The current context without waiting for the setup.
    static TesselTalkContext* peekCurrentContext();
    static TesselTalkContext* getSharedContext();
    static void setSharedContext(TesselTalkContext* context);

    void appendInstance(TesselTalk::TesselTalk* instance);
    void removeInstance(TesselTalk::TesselTalk* instance);
    bool findInstance(const TesselTalk::TesselTalk* instance) const;
    // The object whose application name is spec (its suffix ignored), or null.
    TesselTalk::TesselTalk* findInstance(const SoString& spec) const;
    TesselTalk::TesselTalk* getMainInstance() const;
    void setMainInstance(TesselTalk::TesselTalk* instance);
    long getNumberOfInstances() const;
    // Null when n is out of range.
    TesselTalk::TesselTalk* getNthInstance(long n) const;

    unsigned long getNextSerialNumber();
    bool isLogging() const;
    void setLogging(bool on);
    // Stops, joins and deletes the messaging thread; the context stays.
    void stopThread();
    // Null when no thread factory was installed.
    MessagingThread* getThread() const;
    TesselTalkConnector* getConnector() const;
    SoString getAppSpecifier() const;
    SoString getSignature() const;
    // Deleted together with its last messaging object (the constructor of
    // that object had to set the messaging system up itself).
    void setOwnedByInstances(bool owned);
    bool isOwnedByInstances() const;

    // Lines path;flag;label;value; under prefix.
    void appendDiagnostics(SoString& out, const SoString& prefix) const;

    // Logs message under title when logging is on.
    void logMessage(const char* title, const TesselTalk::Message& message) const;

private:
    SoString m_appSpec;
    TesselTalkData::SerialNumberCounter m_serials;
    std::vector<TesselTalk::TesselTalk*> m_instances;
    TesselTalk::TesselTalk* m_main = nullptr;
    bool m_logging = false;
    bool m_ownedByInstances = false;
    MessagingThread* m_thread = nullptr;
};

} // namespace ScObjects
