// How the headless host shows what the sink says: every message, question
// and progress step becomes one line on the console. Questions are answered
// from the command line.
#pragma once

#include <QString>

#include <cstdio>
#include <functional>

#include <skiff/Skiff.h>

// The lines of a session: on a console, flushed one by one so that a script
// (or a test) reading them sees each as it happens, or handed to a window's log.
class HostConsole {
public:
    explicit HostConsole(std::FILE* out) : m_out(out) {}
    explicit HostConsole(std::function<void(const QString&)> sink) : m_sink(std::move(sink)) {}
    void line(const QString& text);

private:
    std::FILE* m_out = nullptr;
    std::function<void(const QString&)> m_sink;
};

// The host's per-item callbacks. They write to the console installed by the
// live CallbackScope (one at a time, on the host's thread); without one they
// do nothing.
unsigned statusCallback(const FxChar* text, long reserved);
unsigned warningCallback(const FxChar* text, long reserved);
unsigned errorCallback(const FxChar* text, long reserved);
// There is no cancel button in headless mode.
bool neverCancel(long& progress);

class CallbackScope {
public:
    explicit CallbackScope(HostConsole& console);
    ~CallbackScope();
    CallbackScope(const CallbackScope&) = delete;
    CallbackScope& operator=(const CallbackScope&) = delete;

private:
    HostConsole* m_previous;
};

QString fromFxText(const FxChar* text);

// Messages and yes/no questions. `answerYes` is the reply to every question.
// Created with a count of 1, owned by the creator; the console must outlive it.
class DisplayMessages final : public IDisplayMsgHandler {
public:
    DisplayMessages(HostConsole& console, bool answerYes) : m_console(console), m_answerYes(answerYes) {}
    bool QueryInterface(long id, void** out) override;
    long AddRef() override { return ++m_count; }
    long Release() override;
    FxResult ShowMessage(const FxChar* caption, const FxChar* text) override;
    FxResult AskYesNo(const FxChar* caption, const FxChar* text, long& answerIndex) override;

private:
    ~DisplayMessages() = default;
    HostConsole& m_console;
    bool m_answerYes;
    long m_count = 1;
};

// The progress window for the sink's own item-by-item work (deleting the
// originals). Created with a count of 1; the sink that is handed it owns that
// count. The console must outlive it.
class ProgressMessages final : public IProgressHandler {
public:
    explicit ProgressMessages(HostConsole& console) : m_console(console) {}
    bool QueryInterface(long id, void** out) override;
    long AddRef() override { return ++m_count; }
    long Release() override;
    FxResult Start(unsigned long count, volatile bool* cancelled, const FxChar* caption,
                   const FxChar* cancelText) override;
    FxResult Step() override;
    FxResult ShowMessage(const FxChar* caption, const FxChar* text, bool success) override;

private:
    ~ProgressMessages() = default;
    HostConsole& m_console;
    unsigned long m_total = 0;
    unsigned long m_done = 0;
    long m_count = 1;
};
