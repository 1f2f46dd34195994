#include "BrowserTalk.h"

#include "ScriptHost.h"

#include "TesselTalk.h"

using ScObjects::SoString;
namespace Talk = ScObjects::TesselTalk;

class BrowserTalk::Handler : public Talk::MsgHandler {
public:
    explicit Handler(BrowserTalk& owner) : m_owner(owner) {}

    long handleMessage(int kind, Talk::Message& message, SoString* result) override
    {
        // Answers to our own sends and the launcher's hand-over messages
        // carry no script.
        if (kind != kRequest)
            return 0;
        const QString script = QString::fromUtf8(message.getBody().c_str());
        const ScriptResult outcome = m_owner.runReceived(script);
        if (result)
            *result = SoString(outcome.text.toUtf8().constData());
        return outcome.ok ? 0 : kScriptFailed;
    }

private:
    BrowserTalk& m_owner;
};

BrowserTalk::BrowserTalk(ScriptHost& host, QObject* parent)
    : QObject(parent), m_host(host)
{
    m_pump.setInterval(kPumpIntervalMs);
    connect(&m_pump, &QTimer::timeout, this, [] { Talk::TesselTalk::pump(Talk::TesselTalk::kBoth); });
}

BrowserTalk::~BrowserTalk()
{
    stop();
}

bool BrowserTalk::start()
{
    if (m_talk)
        return true;
    if (!Talk::TesselTalk::InitTerm::init(SoString(kSpecifier), true))
        return false;
    // The messaging object owns the handler from here on.
    m_talk = new Talk::TesselTalk(kSpecifier, new Handler(*this), true);
    m_pump.start();
    // The first descriptor is the endpoint's listening socket, which stays
    // for the object's life; a blob still on its way is waited for by the
    // pump itself.
    std::vector<pollfd> descriptors;
    m_talk->appendWaitDescriptors(descriptors);
    if (!descriptors.empty()) {
        m_arrivals.reset(new QSocketNotifier(descriptors.front().fd, QSocketNotifier::Read));
        connect(m_arrivals.get(), &QSocketNotifier::activated, this,
            [] { Talk::TesselTalk::pump(Talk::TesselTalk::kBoth); });
    }
    return true;
}

void BrowserTalk::stop()
{
    if (!m_talk)
        return;
    m_pump.stop();
    m_arrivals.reset();
    delete m_talk;
    m_talk = nullptr;
    Talk::TesselTalk::InitTerm::exit();
}

ScriptResult BrowserTalk::runReceived(const QString& script)
{
    emit logged(QStringLiteral("received: ") + script);
    const ScriptResult outcome = m_host.run(script);
    emit logged((outcome.ok ? QStringLiteral("answered result: ") : QStringLiteral("answered error: ")) + outcome.text);
    return outcome;
}
