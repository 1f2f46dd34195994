#include "HostMessages.h"

namespace {

HostConsole* g_console = nullptr;

unsigned show(const char* kind, const FxChar* text)
{
    if (g_console && text)
        g_console->line(QStringLiteral("  %1: %2").arg(QLatin1String(kind), fromFxText(text)));
    return 0;
}

} // namespace

void HostConsole::line(const QString& text)
{
    if (m_sink) {
        m_sink(text);
        return;
    }
    std::fputs(text.toUtf8().constData(), m_out);
    std::fputc('\n', m_out);
    std::fflush(m_out);
}

QString fromFxText(const FxChar* text)
{
    return text ? QString::fromUtf16(reinterpret_cast<const char16_t*>(text)) : QString();
}

unsigned statusCallback(const FxChar* text, long)
{
    return show("status", text);
}

unsigned warningCallback(const FxChar* text, long)
{
    return show("warning", text);
}

unsigned errorCallback(const FxChar* text, long)
{
    return show("error", text);
}

bool neverCancel(long&)
{
    return false;
}

CallbackScope::CallbackScope(HostConsole& console)
    : m_previous(g_console)
{
    g_console = &console;
}

CallbackScope::~CallbackScope()
{
    g_console = m_previous;
}

bool DisplayMessages::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    *out = id == kIID_IFxBase ? static_cast<IDisplayMsgHandler*>(this) : nullptr;
    if (*out)
        AddRef();
    return *out != nullptr;
}

long DisplayMessages::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

FxResult DisplayMessages::ShowMessage(const FxChar* caption, const FxChar* text)
{
    m_console.line(QStringLiteral("message: %1: %2").arg(fromFxText(caption), fromFxText(text)));
    return kFxOk;
}

FxResult DisplayMessages::AskYesNo(const FxChar* caption, const FxChar* text, long& answerIndex)
{
    answerIndex = m_answerYes ? 0 : 1;
    m_console.line(QStringLiteral("question: %1: %2").arg(fromFxText(caption), fromFxText(text)));
    m_console.line(QStringLiteral("answer: %1").arg(m_answerYes ? QStringLiteral("yes") : QStringLiteral("no")));
    return kFxOk;
}

bool ProgressMessages::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    *out = id == kIID_IFxBase ? static_cast<IProgressHandler*>(this) : nullptr;
    if (*out)
        AddRef();
    return *out != nullptr;
}

long ProgressMessages::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

FxResult ProgressMessages::Start(unsigned long count, volatile bool* cancelled, const FxChar* caption,
                                 const FxChar*)
{
    if (cancelled)
        *cancelled = false;
    m_total = count;
    m_done = 0;
    m_console.line(QStringLiteral("progress: %1 (%2 steps)").arg(fromFxText(caption)).arg(count));
    return kFxOk;
}

FxResult ProgressMessages::Step()
{
    ++m_done;
    m_console.line(QStringLiteral("progress: %1/%2").arg(m_done).arg(m_total));
    return kFxOk;
}

FxResult ProgressMessages::ShowMessage(const FxChar* caption, const FxChar* text, bool success)
{
    m_console.line(QStringLiteral("progress %1: %2: %3")
                       .arg(success ? QStringLiteral("done") : QStringLiteral("failed"), fromFxText(caption),
                            fromFxText(text)));
    return kFxOk;
}
