// The browser's side of TesselTalk: it serves the specifier "tessel",
// runs every script it receives through the browser's ScriptHost and
// answers with a "Result" carrying the script's value, or an "Error"
// carrying the exception's text (when the sender asked for one).
//
// Received messages are handled only while the GUI thread pumps, from a
// Qt timer, so scripts run on the thread that owns the engine. The
// messaging thread answers pings in between; its "STATUS" reads "BUSY"
// once the GUI thread has not pumped for a while.
//
// The process must call TesselTalkThread::install() before start(), and
// must make at most one BrowserTalk. stop() (also run by the destructor)
// releases the endpoint.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>

#include <memory>
#include <vector>

#include <functional>

class ScriptHost;
struct ScriptResult;

namespace ScObjects {
namespace TesselTalk {
class TesselTalk;
}
} // namespace ScObjects

class BrowserTalk : public QObject {
    Q_OBJECT
public:
    // The specifier the plug-in sends its scripts to.
    static constexpr const char* kSpecifier = "tessel";
    static constexpr int kPumpIntervalMs = 50;
    // The "Error-Code" of the answer to a script that threw.
    static constexpr long kScriptFailed = 1;

    explicit BrowserTalk(ScriptHost& host, QObject* parent = nullptr);
    ~BrowserTalk() override;

    // Sets up messaging (taking any launch parameters offered to this
    // process) and starts pumping: on every timer tick, and at once when a
    // sender reaches our endpoint (its send waits until we take it in).
    // False when the endpoint could not be set up; nothing is served then.
    bool start();
    void stop();

signals:
    // One line per script received and per answer given.
    void logged(const QString& line);

private:
    class Handler;

    ScriptResult runReceived(const QString& script);

    ScriptHost& m_host;
    QTimer m_pump;
    std::vector<std::unique_ptr<QSocketNotifier>> m_arrivals;
    ScObjects::TesselTalk::TesselTalk* m_talk = nullptr;
};
