// Runs the scripts the browser receives: one engine for the life of the
// browser, with `app` (a ScriptApp the caller owns and keeps alive) and the
// Thumbnail class as globals.
//
// A script's result is its last value as text. A script that throws gives
// an error result carrying the exception's text; a script still running
// after the bound is interrupted and gives an error result too. The engine
// stays usable after either. run() blocks the calling thread, which must be
// the thread that made the host.
#pragma once

#include <QJSEngine>
#include <QString>

#include <chrono>

class ScriptApp;

struct ScriptResult {
    bool ok = false;
    QString text; // the value as text, or the error's text
};

class ScriptHost {
public:
    static constexpr std::chrono::milliseconds kDefaultBound{5000};

    explicit ScriptHost(ScriptApp& app, std::chrono::milliseconds bound = kDefaultBound);
    ScriptHost(const ScriptHost&) = delete;
    ScriptHost& operator=(const ScriptHost&) = delete;

    ScriptResult run(const QString& script);

private:
    QJSEngine m_engine;
    QJSValue m_runner;
    std::chrono::milliseconds m_bound;
};
