#include "ScriptApp.h"

#include <QDir>
#include <QFileInfo>
#include <QJSEngine>
#include <QProcess>
#include <QQmlEngine>
#include <QThread>
#include <QTimer>

namespace {
// Objects the engine reaches through `app` belong to the browser; without
// this the engine would collect the parentless ones.
void keepOwnership(QObject* object)
{
    QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
}
} // namespace

ScriptThumbnail::ScriptThumbnail(const QString& path)
    : m_path(path)
{
}

ScriptDocument::ScriptDocument(ScriptApp& app)
    : QObject(&app), m_app(app)
{
    keepOwnership(this);
    keepOwnership(&m_shown);
}

QString ScriptDocument::status() const { return m_app.m_status; }

void ScriptDocument::setStatus(const QString& text)
{
    m_app.m_status = text;
    emit m_app.called(QStringLiteral("document.status ") + text);
    emit m_app.statusChanged(text);
}

QObject* ScriptDocument::thumbnail()
{
    m_shown.setPath(m_app.m_thumbnailPath);
    return &m_shown;
}

void ScriptDocument::setThumbnail(QObject* thumbnail)
{
    auto* given = qobject_cast<ScriptThumbnail*>(thumbnail);
    if (!given)
        return m_app.fail(QStringLiteral("document.thumbnail takes a Thumbnail"));
    const QFileInfo info(given->path());
    const QString folder = info.isDir() ? given->path() : info.absolutePath();
    if (m_app.showFolder(folder, "document.thumbnail"))
        m_app.m_thumbnailPath = given->path();
}

void ScriptDocument::bringToFront()
{
    ++m_app.m_raises;
    emit m_app.called(QStringLiteral("document.bringToFront"));
    emit m_app.raiseRequested();
}

ScriptDocuments::ScriptDocuments(ScriptApp& app)
    : QObject(&app), m_app(app)
{
    keepOwnership(this);
}

int ScriptDocuments::length() const
{
    const int count = m_app.m_folder.isEmpty() ? 0 : 1;
    emit m_app.called(QStringLiteral("documents.length ") + QString::number(count));
    return count;
}

ScriptApp::ScriptApp(const QString& hostProgram)
    : m_hostProgram(hostProgram), m_document(*this), m_documents(*this)
{
    keepOwnership(this);
}

void ScriptApp::skiffBrowseTo(const QString& folder)
{
    showFolder(folder, "skiffBrowseTo");
}

void ScriptApp::beep()
{
    ++m_beeps;
    emit called(QStringLiteral("beep"));
    emit beeped();
}

void ScriptApp::stallFor(int ms)
{
    if (ms <= 0)
        return fail(QStringLiteral("stallFor needs a positive number of milliseconds"));
    emit called(QStringLiteral("stallFor %1").arg(ms));
    QTimer::singleShot(0, this, [ms] { QThread::msleep(static_cast<unsigned long>(ms)); });
}

void ScriptApp::runSkiff()
{
    if (!QProcess::startDetached(m_hostProgram, {}, QFileInfo(m_hostProgram).absolutePath()))
        return fail(QStringLiteral("runSkiff could not start ") + m_hostProgram);
    emit called(QStringLiteral("runSkiff ") + m_hostProgram);
}

bool ScriptApp::showFolder(const QString& folder, const char* call)
{
    if (!QFileInfo(folder).isDir()) {
        fail(QLatin1String(call) + QStringLiteral(": not a folder: ") + folder);
        return false;
    }
    m_folder = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
    emit called(QLatin1String(call) + QLatin1Char(' ') + m_folder);
    emit folderChanged(m_folder);
    return true;
}

void ScriptApp::fail(const QString& message)
{
    if (QJSEngine* engine = qjsEngine(this))
        engine->throwError(message);
}
