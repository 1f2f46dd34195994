#include "BrowserTalk.h"

#include <algorithm>

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
    // The first two descriptors last as long as the object: the signal of
    // messages the messaging thread took in for us, and the endpoint's
    // listening socket. A blob still on its way is waited for by the pump.
    std::vector<pollfd> descriptors;
    m_talk->appendWaitDescriptors(descriptors);
    descriptors.resize(std::min<std::size_t>(descriptors.size(), 2));
    for (const pollfd& descriptor : descriptors) {
        m_arrivals.emplace_back(new QSocketNotifier(descriptor.fd, QSocketNotifier::Read));
        connect(m_arrivals.back().get(), &QSocketNotifier::activated, this,
            [] { Talk::TesselTalk::pump(Talk::TesselTalk::kBoth); });
    }
    return true;
}

void BrowserTalk::stop()
{
    if (!m_talk)
        return;
    m_pump.stop();
    m_arrivals.clear();
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
