// The host's side of the end of a download, as small fakes: the finished
// items, the message handler and the progress window. All three write what
// the plug-in asks of them into one shared log, so that tests compare the
// whole conversation, order included.
#pragma once

#include <QString>
#include <QStringList>

#include <deque>
#include <string>
#include <vector>

#include <skiff/HostInterfaces.h>

// The original of one item on the device; the item's delete function removes
// the file, or answers "device not available" when disconnected.
struct FakeOriginal {
    QString path;
    bool connected = true;
};

class FakeItems final : public ISinkEnumMediaItem {
public:
    bool QueryInterface(long, void** out) override;
    long AddRef() override { return ++refs; }
    long Release() override { return --refs; }
    FxResult GetSessionRecord(CProp& record) override;
    FxResult GetCount(unsigned long& count) override;
    FxResult Reset() override;
    FxResult Next(CProp& record) override;

    // An item copied to `destination`; with an original it can be deleted.
    void add(const QString& destination, FakeOriginal* original = nullptr);

    long refs = 0;
    std::uint32_t sessionType = CPropSource::kType;
    std::uint64_t sessionSize = sizeof(CPropSource);
    std::vector<CPropSinkMediaItem> items;
    std::size_t cursor = 0;
};

class FakeMessages final : public IDisplayMsgHandler {
public:
    explicit FakeMessages(QStringList& log) : m_log(log) {}
    bool QueryInterface(long, void** out) override;
    long AddRef() override { return ++refs; }
    long Release() override { return --refs; }
    // Logs "message: caption | text".
    FxResult ShowMessage(const FxChar* caption, const FxChar* text) override;
    // Logs "ask: caption | text" and answers `answer`; throws instead when
    // `throws` is set, as a host that runs out of memory would.
    FxResult AskYesNo(const FxChar* caption, const FxChar* text, long& answerIndex) override;

    long refs = 0;
    long answer = 0;
    bool throws = false;

private:
    QStringList& m_log;
};

class FakeProgress final : public IProgressHandler {
public:
    explicit FakeProgress(QStringList& log) : m_log(log) {}
    bool QueryInterface(long, void** out) override;
    long AddRef() override { return ++refs; }
    long Release() override { return --refs; }
    // Logs "start N: caption | cancel text".
    FxResult Start(unsigned long count, volatile bool* cancelled, const FxChar* caption,
                   const FxChar* cancelText) override;
    // Logs "step"; presses cancel after `cancelAfterSteps` steps (0: never).
    FxResult Step() override;
    // Logs "progress: caption | text | ok" or "... | failed".
    FxResult ShowMessage(const FxChar* caption, const FxChar* text, bool success) override;

    long refs = 0;
    int cancelAfterSteps = 0;

private:
    QStringList& m_log;
    volatile bool* m_cancelled = nullptr;
    int m_steps = 0;
};

// The log as one text, a line per entry, for readable test failures.
inline std::string lines(const QStringList& log)
{
    return log.join(QLatin1Char('\n')).toStdString();
}
