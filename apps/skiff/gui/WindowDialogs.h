// The windowed host's answers to the sink's messages, questions and
// progress: the plug-in's own message box and progress dialog, parented on
// the host's window and run on the UI thread.
#pragma once

#include <QPointer>
#include <QWidget>

#include <skiff/Skiff.h>

class PtProgressDialog;

// Created with a count of 1, owned by the creator.
class WindowMessages final : public IDisplayMsgHandler {
public:
    explicit WindowMessages(QWidget* parent) : m_parent(parent) {}
    bool QueryInterface(long id, void** out) override;
    long AddRef() override { return ++m_count; }
    long Release() override;
    FxResult ShowMessage(const FxChar* caption, const FxChar* text) override;
    // Yes is index 0, No (and Escape) index 1.
    FxResult AskYesNo(const FxChar* caption, const FxChar* text, long& answerIndex) override;

private:
    ~WindowMessages() = default;
    QPointer<QWidget> m_parent;
    long m_count = 1;
};

// Created with a count of 1; the sink that is handed it owns that count.
class WindowProgress final : public IProgressHandler {
public:
    explicit WindowProgress(QWidget* parent) : m_parent(parent) {}
    bool QueryInterface(long id, void** out) override;
    long AddRef() override { return ++m_count; }
    long Release() override;
    // Opens the progress dialog; its cancel button sets *cancelled.
    FxResult Start(unsigned long count, volatile bool* cancelled, const FxChar* caption,
                   const FxChar* cancelText) override;
    FxResult Step() override;
    // A message box; once every step is done the progress dialog closes first.
    FxResult ShowMessage(const FxChar* caption, const FxChar* text, bool success) override;

private:
    ~WindowProgress();
    void close();

    QPointer<QWidget> m_parent;
    PtProgressDialog* m_dialog = nullptr;
    volatile bool* m_cancelled = nullptr;
    unsigned long m_total = 0;
    unsigned long m_done = 0;
    long m_count = 1;
};
