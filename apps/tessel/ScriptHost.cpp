#include "ScriptHost.h"

#include "ScriptApp.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace {
// Interrupts the engine unless finished before the bound. The engine's
// interrupt flag is the one call that is safe from another thread.
class Watchdog {
public:
    Watchdog(QJSEngine& engine, std::chrono::milliseconds bound)
        : m_thread([this, &engine, bound] {
              std::unique_lock<std::mutex> lock(m_mutex);
              if (!m_done.wait_for(lock, bound, [this] { return m_finished; })) {
                  m_fired = true;
                  engine.setInterrupted(true);
              }
          })
    {
    }
    ~Watchdog() { stop(); }
    // Whether the engine was interrupted.
    bool stop()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_finished = true;
        }
        m_done.notify_one();
        if (m_thread.joinable())
            m_thread.join();
        return m_fired;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_finished = false;
    bool m_fired = false;
    std::thread m_thread;
};
} // namespace

ScriptHost::ScriptHost(ScriptApp& app, std::chrono::milliseconds bound)
    : m_bound(bound)
{
    m_engine.globalObject().setProperty(QStringLiteral("app"), m_engine.newQObject(&app));
    m_engine.globalObject().setProperty(QStringLiteral("Thumbnail"),
                                        m_engine.newQMetaObject(&ScriptThumbnail::staticMetaObject));
    // Indirect eval runs the text as a program in the global scope and gives
    // its last value; the wrapper tells a throw (of any value, not only an
    // Error object) from an Error object that is the result.
    m_runner = m_engine.evaluate(QStringLiteral(
        "(function (text) { try { return [false, (0, eval)(text)]; } catch (e) { return [true, e]; } })"));
}

ScriptResult ScriptHost::run(const QString& script)
{
    Watchdog watchdog(m_engine, m_bound);
    const QJSValue outcome = m_runner.call({QJSValue(script)});
    const bool interrupted = watchdog.stop();
    m_engine.setInterrupted(false);
    // A bound that passes just as the script ends interrupts nothing.
    const bool thrown = outcome.isError() || outcome.property(0).toBool();
    if (interrupted && thrown)
        return {false, QStringLiteral("stopped after %1 ms").arg(m_bound.count())};
    return {!thrown, outcome.isError() ? outcome.toString() : outcome.property(1).toString()};
}
