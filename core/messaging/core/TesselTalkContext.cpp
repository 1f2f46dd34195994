#include "TesselTalkContext.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>
#include <cstdio>

#include "MessagingThread.h"
#include "Specifier.h"
#include "TesselTalk.h"
#include "TesselTalkConnector.h"
#include "TesselTalkSetupThread.h"
#include "TesselTalkUtils.h"

namespace ScObjects {

namespace {

std::atomic<TesselTalkContext*> gCurrent{nullptr};
std::atomic<TesselTalkContext*> gShared{nullptr};
// Contexts made current while another was: the one each displaced, latest
// last. Clearing the current context brings the one it displaced back.
std::mutex gDisplacedMutex;
std::vector<TesselTalkContext*> gDisplaced;

void forgetDisplaced(TesselTalkContext* context)
{
    gDisplaced.erase(std::remove(gDisplaced.begin(), gDisplaced.end(), context), gDisplaced.end());
}
std::atomic<MessagingThread::Factory> gThreadFactory{nullptr};

} // namespace

void MessagingThread::setFactory(Factory factory)
{
    gThreadFactory.store(factory);
}

MessagingThread::Factory MessagingThread::factory()
{
    return gThreadFactory.load();
}

TesselTalkContext::TesselTalkContext(const SoString& appSpec)
    : m_appSpec(appSpec)
{
    if (MessagingThread::Factory make = MessagingThread::factory()) {
        m_thread = make(this, appSpec);
        if (m_thread)
            m_thread->start();
    }
}

TesselTalkContext::~TesselTalkContext()
{
    stopThread();
    {
        std::lock_guard<std::mutex> guard(gDisplacedMutex);
        forgetDisplaced(this);
        TesselTalkContext* self = this;
        if (gCurrent.compare_exchange_strong(self, nullptr) && !gDisplaced.empty()) {
            gCurrent.store(gDisplaced.back());
            gDisplaced.pop_back();
        }
    }
    TesselTalkContext* self = this;
    gShared.compare_exchange_strong(self, nullptr);
}

void TesselTalkContext::stopThread()
{
    MessagingThread* thread;
    {
        ObjectLock guard(this);
        thread = m_thread;
        m_thread = nullptr;
    }
    if (thread) {
        thread->stop();
        thread->waitForRunExit();
        delete thread;
    }
}

TesselTalkContext* TesselTalkContext::getCurrentContext()
{
    TesselTalkSetupThread::syncWithSetupThread();
    return gCurrent.load();
}

TesselTalkContext* TesselTalkContext::peekCurrentContext()
{
    return gCurrent.load();
}

void TesselTalkContext::setCurrentContext(TesselTalkContext* context)
{
    std::lock_guard<std::mutex> guard(gDisplacedMutex);
    TesselTalkContext* current = gCurrent.load();
    if (!context) {
        context = gDisplaced.empty() ? nullptr : gDisplaced.back();
        if (context)
            gDisplaced.pop_back();
    } else if (current && current != context) {
        forgetDisplaced(context);
        gDisplaced.push_back(current);
    }
    gCurrent.store(context);
}

TesselTalkContext* TesselTalkContext::getSharedContext()
{
    TesselTalkContext* shared = gShared.load();
    return shared ? shared : gCurrent.load();
}

void TesselTalkContext::setSharedContext(TesselTalkContext* context)
{
    gShared.store(context);
}

void TesselTalkContext::appendInstance(TesselTalk::TesselTalk* instance)
{
    ObjectLock guard(this);
    if (instance && std::find(m_instances.begin(), m_instances.end(), instance) == m_instances.end())
        m_instances.push_back(instance);
}

void TesselTalkContext::removeInstance(TesselTalk::TesselTalk* instance)
{
    ObjectLock guard(this);
    m_instances.erase(std::remove(m_instances.begin(), m_instances.end(), instance), m_instances.end());
    if (m_main == instance)
        m_main = nullptr;
}

bool TesselTalkContext::findInstance(const TesselTalk::TesselTalk* instance) const
{
    ObjectLock guard(this);
    return std::find(m_instances.begin(), m_instances.end(), instance) != m_instances.end();
}

TesselTalk::TesselTalk* TesselTalkContext::findInstance(const SoString& spec) const
{
    TesselTalk::Specifier wanted(spec.c_str(), false);
    wanted.setSuffix("");
    ObjectLock guard(this);
    for (TesselTalk::TesselTalk* instance : m_instances) {
        if (instance->getAppName() == wanted)
            return instance;
    }
    return nullptr;
}

TesselTalk::TesselTalk* TesselTalkContext::getMainInstance() const
{
    ObjectLock guard(this);
    return m_main;
}

void TesselTalkContext::setMainInstance(TesselTalk::TesselTalk* instance)
{
    ObjectLock guard(this);
    m_main = instance;
}

long TesselTalkContext::getNumberOfInstances() const
{
    ObjectLock guard(this);
    return static_cast<long>(m_instances.size());
}

TesselTalk::TesselTalk* TesselTalkContext::getNthInstance(long n) const
{
    ObjectLock guard(this);
    return n >= 0 && n < static_cast<long>(m_instances.size()) ? m_instances[std::size_t(n)] : nullptr;
}

unsigned long TesselTalkContext::getNextSerialNumber()
{
    return m_serials.getNextSerialNumber();
}

bool TesselTalkContext::isLogging() const
{
    ObjectLock guard(this);
    return m_logging;
}

void TesselTalkContext::setLogging(bool on)
{
    ObjectLock guard(this);
    m_logging = on;
}

MessagingThread* TesselTalkContext::getThread() const
{
    ObjectLock guard(this);
    return m_thread;
}

TesselTalkConnector* TesselTalkContext::getConnector() const
{
    return TesselTalkConnector::get();
}

SoString TesselTalkContext::getAppSpecifier() const
{
    ObjectLock guard(this);
    return m_appSpec;
}

SoString TesselTalkContext::getSignature() const
{
    return TesselTalkUtils::getSignature();
}

void TesselTalkContext::setOwnedByInstances(bool owned)
{
    ObjectLock guard(this);
    m_ownedByInstances = owned;
}

bool TesselTalkContext::isOwnedByInstances() const
{
    ObjectLock guard(this);
    return m_ownedByInstances;
}

void TesselTalkContext::logMessage(const char* title, const TesselTalk::Message& message) const
{
    if (!isLogging())
        return;
    SoString text;
    message.logToString(title, text, true);
    // The log of the messaging system is the process's standard error.
    std::fwrite(text.c_str(), 1, std::size_t(text.length()), stderr);
}

} // namespace ScObjects
