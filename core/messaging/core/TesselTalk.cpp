#include "TesselTalk.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "BlobFraming.h"
#include "CoreServices.h"
#include "InterAppStream.h"
#include "MessageGlobals.h"
#include "MessagingThread.h"
#include "Specifier.h"
#include "TesselTalkConnector.h"
#include "TesselTalkContext.h"
#include "TesselTalkPing.h"
#include "TesselTalkSetupThread.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalk {

namespace {

bool startsWith(const SoString& text, const char* prefix)
{
    return std::strncmp(text.c_str(), prefix, std::strlen(prefix)) == 0;
}

bool handlerMatches(const MsgHandler* handler, const char* type, unsigned long serial)
{
    if (type && *type && handler->getMsgType() != type)
        return false;
    return handler->getSerialNumber() == serial;
}

SoString partOr(const SoString& given, const SoString& fallback)
{
    return given.isEmpty() ? fallback : given;
}

Specifier completedFrom(const Specifier& given, const Specifier& own)
{
    SoString text = given.appName();
    const SoString instance = partOr(given.instance(), own.instance());
    const SoString version = partOr(given.version(), own.version());
    const SoString locale = partOr(given.locale(), own.locale());
    const SoString suffix = partOr(given.suffix(), own.suffix());
    if (!instance.isEmpty())
        text << '_' << instance;
    if (!version.isEmpty())
        text << '-' << version;
    if (!locale.isEmpty())
        text << '-' << locale;
    if (!suffix.isEmpty())
        text << '#' << suffix;
    return Specifier(text.c_str(), false);
}

} // namespace

int messageKind(const Message& message)
{
    const SoString& type = message.getType();
    if (type == kTypeCalligo || type == kTypeDebug) {
        if (message.getReceivedSerial() != kNoSerial)
            return MsgHandler::kReceived;
        if (message.getResultSerial() != kNoSerial)
            return MsgHandler::kResult;
        if (message.getErrorSerial() != kNoSerial)
            return MsgHandler::kError;
        return MsgHandler::kRequest;
    }
    // Answers to user types carry the user type after the kind.
    if (startsWith(type, kTypeReceived))
        return MsgHandler::kReceived;
    if (startsWith(type, kTypeResult))
        return MsgHandler::kResult;
    if (startsWith(type, kTypeError))
        return MsgHandler::kError;
    if (startsWith(type, kTypeTimeout))
        return MsgHandler::kTimeout;
    if (type == kTypeLog)
        return MsgHandler::kLog;
    if (type == kTypeIdle)
        return MsgHandler::kIdle;
    return MsgHandler::kUser;
}

int TesselTalk::InitTerm::init(const SoString& appSpec, bool synchronous)
{
    if (TesselTalkContext::getCurrentContext())
        return 0;
    InterAppStream::InitTerm::init(appSpec);
    TesselTalkConnector::InitTerm::init(SoString("default"));
    if (TesselTalkConnector* connector = TesselTalkConnector::get()) {
        // A connector set by the application may have been loaded long ago;
        // the setup below takes the records as they are now.
        connector->updateCache(false);
        TesselTalkData::MessageGlobals& globals = TesselTalkData::MessageGlobals::get();
        const Specifier spec(appSpec.c_str(), false);
        TTConnectorAppInfo info;
        if (connector->getAppInfo(spec, info)) {
            globals.setAuthentication(connector->getMessageAuthentication(spec));
            globals.setCreateDigest(connector->getMessageDigest(spec));
        }
    }
    ScObjects::Thread::InitTerm::init();
    TesselTalkData::installCoreServices();
    if (synchronous)
        return TesselTalkSetupThread::runSetup(appSpec).isEmpty() ? 1 : 0;
    return TesselTalkSetupThread::startSetupThread(appSpec) ? 1 : 0;
}

int TesselTalk::InitTerm::exit()
{
    TesselTalkContext* context = TesselTalkContext::getCurrentContext();
    if (!context)
        return 0;
    TesselTalkContext::setCurrentContext(nullptr);
    // Objects that outlive the messaging system go on without a thread; the
    // context goes with the last of them.
    context->stopThread();
    if (context->getNumberOfInstances() == 0)
        delete context;
    else
        context->setOwnedByInstances(true);
    // A nested context has ended; the one it displaced still uses what the
    // process set up.
    if (TesselTalkContext::peekCurrentContext())
        return 0;
    ScObjects::Thread::InitTerm::exit();
    TesselTalkData::MessageGlobals::release();
    TesselTalkData::removeCoreServices();
    TesselTalkConnector::set(nullptr);
    TesselTalkConnector::InitTerm::exit();
    TesselTalkUtils::releaseReplyEndpoint();
    InterAppStream::InitTerm::exit();
    return 1;
}

TesselTalk::TesselTalk(const char* appSpec, MsgHandler* handler, bool isMain, TesselTalkContext* context)
{
    TesselTalkSetupThread::syncWithSetupThread();
    if (!context && !TesselTalkContext::getCurrentContext()) {
        InitTerm::init(SoString(appSpec), true);
        m_ranInit = true;
        if (TesselTalkContext* made = TesselTalkContext::getCurrentContext())
            made->setOwnedByInstances(true);
    }
    if (!context)
        context = TesselTalkContext::getCurrentContext();

    Specifier spec(appSpec, true);
    if (context) {
        // The process's own specifier fills in what the object's lacks.
        const Specifier own(context->getAppSpecifier().c_str(), false);
        if (spec.appName() == own.appName())
            spec = completedFrom(spec, own);
    }
    m_appName = spec;
    m_arrivalFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    m_stream = TesselTalkUtils::createNextAvailableInterAppStream(m_appName);
    if (m_stream && m_stream->name() != m_appName)
        m_appName = m_stream->name();
    const SoString root = getInfoRoot();
    SoString inRoot(root);
    inRoot << "/in";
    SoString outRoot(root);
    outRoot << "/out";
    m_in.setDiagnosticsRoot(inRoot);
    m_out.setDiagnosticsRoot(outRoot);
    if (handler) {
        m_handlers.push_back(handler);
        handler->initialize(this);
    }
    setContext(context);
    if (context && isMain)
        context->setMainInstance(this);
}

TesselTalk::~TesselTalk()
{
    TesselTalkContext* context = getContext();
    setContext(nullptr);
    for (MsgHandler* handler : m_handlers)
        delete handler;
    m_handlers.clear();
    delete m_stream;
    if (m_arrivalFd >= 0)
        ::close(m_arrivalFd);
    if (context && context->isOwnedByInstances() && context->getNumberOfInstances() == 0) {
        if (m_ranInit && TesselTalkContext::peekCurrentContext() == context)
            InitTerm::exit();
        else
            delete context;
    }
}

void TesselTalk::setContext(TesselTalkContext* context)
{
    TesselTalkContext* old = getContext();
    if (old == context)
        return;
    if (old) {
        // The messaging thread walks the instances under its own lock: wait
        // for its pass to end before leaving.
        MessagingThread* thread = old->getThread();
        if (thread) {
            ObjectLock threadGuard(*thread);
            old->removeInstance(this);
        } else {
            old->removeInstance(this);
        }
    }
    {
        ObjectLock guard(this);
        m_context = context;
    }
    if (context)
        context->appendInstance(this);
}

TesselTalkContext* TesselTalk::getContext() const
{
    ObjectLock guard(this);
    return m_context;
}

SoString TesselTalk::getAppName() const
{
    ObjectLock guard(this);
    return m_appName;
}

void TesselTalk::setAppName(const char* name)
{
    ObjectLock guard(this);
    m_appName = name;
}

SoString TesselTalk::getInfoRoot() const
{
    SoString root("/");
    root << getAppName();
    return root;
}

unsigned long TesselTalk::nextSerialNumber()
{
    TesselTalkContext* context = getContext();
    return context ? context->getNextSerialNumber() : 0;
}

TesselTalk* TesselTalk::get(TesselTalkContext* context)
{
    if (!context)
        context = TesselTalkContext::getCurrentContext();
    return context ? context->getMainInstance() : nullptr;
}

TesselTalk* TesselTalk::get(const char* appName, TesselTalkContext* context)
{
    if (!context)
        context = TesselTalkContext::getCurrentContext();
    return context && appName ? context->findInstance(SoString(appName)) : nullptr;
}

void TesselTalk::set(TesselTalk* object, TesselTalkContext* context)
{
    if (!context)
        context = TesselTalkContext::getCurrentContext();
    if (!object || !context)
        return;
    if (object->getContext() != context)
        object->setContext(context);
    context->setMainInstance(object);
}

SoString TesselTalk::getConnectorConfig(const SoString& spec)
{
    TesselTalkConnector* connector = TesselTalkConnector::get();
    return connector ? connector->getConnectorConfig(spec) : SoString();
}

bool TesselTalk::updateConnectorCache()
{
    TesselTalkConnector* connector = TesselTalkConnector::get();
    if (!connector)
        return false;
    connector->updateCache(true);
    return true;
}

SoString TesselTalk::getLaunchOptions()
{
    return Thread::getPingValue("LAUNCHPARAMS");
}

bool TesselTalk::suppressStartupScreen()
{
    return std::strstr(getLaunchOptions().c_str(), "-nostartupscreen") != nullptr;
}

SoString TesselTalk::getSharedAppName()
{
    TesselTalkContext* shared = TesselTalkContext::getSharedContext();
    TesselTalk* main = shared ? shared->getMainInstance() : nullptr;
    return main ? main->getAppName() : SoString();
}

MsgHandler* TesselTalk::findHandler(const char* type, unsigned long serial) const
{
    ObjectLock guard(this);
    for (MsgHandler* handler : m_handlers) {
        if (handlerMatches(handler, type, serial))
            return handler;
    }
    return nullptr;
}

MsgHandler* TesselTalk::changeHandler(MsgHandler* handler)
{
    if (!handler)
        return nullptr;
    MsgHandler* old;
    {
        ObjectLock guard(this);
        const SoString type = handler->getMsgType();
        old = removeHandler(type.c_str(), handler->getSerialNumber());
        m_handlers.push_back(handler);
    }
    handler->initialize(this);
    return old;
}

MsgHandler* TesselTalk::removeHandler(const char* type, unsigned long serial)
{
    ObjectLock guard(this);
    for (auto it = m_handlers.begin(); it != m_handlers.end(); ++it) {
        if (handlerMatches(*it, type, serial)) {
            MsgHandler* handler = *it;
            m_handlers.erase(it);
            return handler;
        }
    }
    return nullptr;
}

bool TesselTalk::deleteHandler(MsgHandler* handler)
{
    {
        ObjectLock guard(this);
        auto it = std::find(m_handlers.begin(), m_handlers.end(), handler);
        if (it == m_handlers.end())
            return false;
        m_handlers.erase(it);
    }
    delete handler;
    return true;
}

void TesselTalk::deleteHandlers(unsigned long serial)
{
    std::vector<MsgHandler*> gone;
    {
        ObjectLock guard(this);
        auto keep = std::stable_partition(m_handlers.begin(), m_handlers.end(),
            [serial](const MsgHandler* handler) { return handler->getSerialNumber() != serial; });
        gone.assign(keep, m_handlers.end());
        m_handlers.erase(keep, m_handlers.end());
    }
    for (MsgHandler* handler : gone)
        delete handler;
}

long TesselTalk::handlerCount() const
{
    ObjectLock guard(this);
    return static_cast<long>(m_handlers.size());
}

bool TesselTalk::messagePending() const
{
    return incomingMessagePending() || outgoingMessagePending();
}

bool TesselTalk::incomingMessagePending() const
{
    return !m_in.isEmpty() || (m_stream && (m_stream->messagePending() || !m_stream->isEmpty()));
}

bool TesselTalk::outgoingMessagePending() const
{
    return !m_out.isEmpty();
}

bool TesselTalk::waitForIncoming(unsigned int ms) const
{
    if (!m_in.isEmpty())
        return true;
    std::vector<pollfd> fds;
    appendWaitDescriptors(fds);
    if (fds.empty()) {
        TesselTalkUtils::sleep(ms);
        return false;
    }
    return StreamTransport::waitForAny(fds, int(ms));
}

void TesselTalk::appendWaitDescriptors(std::vector<pollfd>& out) const
{
    if (m_arrivalFd >= 0)
        out.push_back(pollfd{m_arrivalFd, POLLIN, 0});
    if (m_stream)
        m_stream->appendWaitDescriptors(out);
}

bool TesselTalk::queueIncoming(Message* message)
{
    if (!m_in.append(message))
        return false;
    if (m_arrivalFd >= 0) {
        std::lock_guard<std::mutex> guard(m_arrivalLock);
        if (!m_arrivalSignalled) {
            const std::uint64_t one = 1;
            m_arrivalSignalled = ::write(m_arrivalFd, &one, sizeof one) == sizeof one;
        }
    }
    return true;
}

MessagingThread* TesselTalk::Thread::get()
{
    TesselTalkContext* context = TesselTalkContext::getCurrentContext();
    return context ? context->getThread() : nullptr;
}

SoString TesselTalk::Thread::ping(const char* target, const char* request, long timeoutSeconds, const SoString* data)
{
    if (!get() || !target || !request)
        return SoString();
    const Specifier spec(target, true);
    return TesselTalkUtils::ping(spec, true, SoString(request), static_cast<unsigned long>(std::rand()),
        timeoutSeconds, data, nullptr);
}

bool TesselTalk::Thread::setPingValue(const char* key, const char* value)
{
    MessagingThread* thread = get();
    return thread && key && thread->setKeyValuePair(SoString(key), SoString(value ? value : ""));
}

SoString TesselTalk::Thread::getPingValue(const char* key)
{
    MessagingThread* thread = get();
    return thread && key ? thread->getValueForKey(SoString(key)) : SoString();
}

bool TesselTalk::Thread::setPingHandler(const char* key, MsgHandler* handler)
{
    MessagingThread* thread = get();
    if (!thread || !key) {
        delete handler;
        return false;
    }
    return thread->setHandler(SoString(key), handler);
}

MsgHandler* TesselTalk::Thread::getPingHandler(const char* key)
{
    MessagingThread* thread = get();
    return thread && key ? thread->findHandler(SoString(key)) : nullptr;
}

} // namespace TesselTalk
} // namespace ScObjects
