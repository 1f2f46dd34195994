#include "SummaryFakes.h"

#include <algorithm>
#include <cstring>
#include <new>

#include <QFile>

namespace {

QString text(const FxChar* units)
{
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(units));
}

int deleteOriginal(const CPropSinkMediaItem& item)
{
    auto* original = static_cast<FakeOriginal*>(item.hostContext);
    if (!original->connected)
        return CPropSinkMediaItem::kDeviceNotAvailable;
    return QFile::remove(original->path) ? 0 : 1;
}

} // namespace

bool FakeItems::QueryInterface(long, void** out)
{
    *out = nullptr;
    return false;
}

FxResult FakeItems::GetSessionRecord(CProp& record)
{
    if (!record.is<CPropSource>())
        return kFxErrInvalidArg;
    auto& session = fxRecord<CPropSource>(record);
    fxInitRecord(session);
    session.header.type = sessionType;
    session.header.size = sessionSize;
    return kFxOk;
}

FxResult FakeItems::GetCount(unsigned long& count)
{
    count = items.size();
    return kFxOk;
}

FxResult FakeItems::Reset()
{
    cursor = 0;
    return kFxOk;
}

FxResult FakeItems::Next(CProp& record)
{
    if (!record.is<CPropSinkMediaItem>())
        return kFxErrInvalidArg;
    if (cursor == items.size())
        return kFxEndOfEnum;
    fxRecord<CPropSinkMediaItem>(record) = items[cursor++];
    return kFxOk;
}

void FakeItems::add(const QString& destination, FakeOriginal* original)
{
    CPropSinkMediaItem item;
    fxInitRecord(item);
    std::copy_n(destination.utf16(), destination.size() + 1, item.destinationPath);
    if (original) {
        item.deleteOriginal = deleteOriginal;
        item.hostContext = original;
    }
    items.push_back(item);
}

bool FakeMessages::QueryInterface(long, void** out)
{
    *out = nullptr;
    return false;
}

FxResult FakeMessages::ShowMessage(const FxChar* caption, const FxChar* message)
{
    m_log.append(QStringLiteral("message: ") + text(caption) + QStringLiteral(" | ") + text(message));
    return kFxOk;
}

FxResult FakeMessages::AskYesNo(const FxChar* caption, const FxChar* question, long& answerIndex)
{
    if (throws)
        throw std::bad_alloc();
    m_log.append(QStringLiteral("ask: ") + text(caption) + QStringLiteral(" | ") + text(question));
    answerIndex = answer;
    return kFxOk;
}

bool FakeProgress::QueryInterface(long, void** out)
{
    *out = nullptr;
    return false;
}

FxResult FakeProgress::Start(unsigned long count, volatile bool* cancelled, const FxChar* caption,
                             const FxChar* cancelText)
{
    m_log.append(QStringLiteral("start %1: ").arg(count) + text(caption) + QStringLiteral(" | ") + text(cancelText));
    m_cancelled = cancelled;
    return kFxOk;
}

FxResult FakeProgress::Step()
{
    m_log.append(QStringLiteral("step"));
    if (++m_steps == cancelAfterSteps && m_cancelled)
        *m_cancelled = true;
    return kFxOk;
}

FxResult FakeProgress::ShowMessage(const FxChar* caption, const FxChar* message, bool success)
{
    m_log.append(QStringLiteral("progress: ") + text(caption) + QStringLiteral(" | ") + text(message)
                 + (success ? QStringLiteral(" | ok") : QStringLiteral(" | failed")));
    return kFxOk;
}
