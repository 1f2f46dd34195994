// The `app` object that scripts sent to the browser see, with its document,
// its document list and the Thumbnail class.
//
// ScriptApp holds the browser's state as the scripts change it (the folder
// shown, the status text, the thumbnail, counts of beeps and raises) and
// announces every change by a signal, so that a window or a headless log
// can follow it. Every call a script makes is also reported once through
// called(), as one line of text. Bad arguments throw a script error in the
// engine that made the call and change nothing. Main thread only.
#pragma once

#include <QObject>
#include <QString>

class ScriptApp;

// `new Thumbnail(path)`: a reference to a file or folder, by path.
class ScriptThumbnail : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString path READ path)
public:
    Q_INVOKABLE explicit ScriptThumbnail(const QString& path = QString());
    QString path() const { return m_path; }
    void setPath(const QString& path) { m_path = path; }

private:
    QString m_path;
};

// `app.document`: the browser's one window.
class ScriptDocument : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString status READ status WRITE setStatus)
    Q_PROPERTY(QObject* thumbnail READ thumbnail WRITE setThumbnail)
public:
    explicit ScriptDocument(ScriptApp& app);
    QString status() const;
    void setStatus(const QString& text);
    // The thumbnail last assigned (path empty before), owned by the document.
    QObject* thumbnail();
    // Shows the thumbnail's folder (or the folder of the file it names).
    void setThumbnail(QObject* thumbnail);
    Q_INVOKABLE void bringToFront();

private:
    ScriptApp& m_app;
    ScriptThumbnail m_shown;
};

// `app.documents`: the documents showing a folder (none before the first).
class ScriptDocuments : public QObject {
    Q_OBJECT
    Q_PROPERTY(int length READ length)
public:
    explicit ScriptDocuments(ScriptApp& app);
    int length() const;

private:
    ScriptApp& m_app;
};

class ScriptApp : public QObject {
    Q_OBJECT
    Q_PROPERTY(QObject* document READ document CONSTANT)
    Q_PROPERTY(QObject* documents READ documents CONSTANT)
public:
    // hostProgram is what runSkiff starts: the host beside this executable
    // unless a test says otherwise.
    explicit ScriptApp(const QString& hostProgram);

    QObject* document() { return &m_document; }
    QObject* documents() { return &m_documents; }

    // Shows folder, which must be an existing folder.
    Q_INVOKABLE void skiffBrowseTo(const QString& folder);
    Q_INVOKABLE void beep();
    // Starts the host program detached, in its own folder.
    Q_INVOKABLE void runSkiff();
    // Our own addition for testing: once the current script and its answer
    // are done, keeps the browser's thread busy for ms milliseconds outside
    // messaging, as a long piece of work would, so pings find it "BUSY".
    Q_INVOKABLE void stallFor(int ms);

    QString folder() const { return m_folder; }
    QString status() const { return m_status; }
    QString thumbnailPath() const { return m_thumbnailPath; }
    int beepCount() const { return m_beeps; }
    int raiseCount() const { return m_raises; }

signals:
    void called(const QString& line);
    void folderChanged(const QString& folder);
    void statusChanged(const QString& text);
    void beeped();
    void raiseRequested();

private:
    friend class ScriptDocument;
    friend class ScriptDocuments;
    bool showFolder(const QString& folder, const char* call);
    void fail(const QString& message);

    QString m_hostProgram;
    QString m_folder;
    QString m_status;
    QString m_thumbnailPath;
    int m_beeps = 0;
    int m_raises = 0;
    ScriptDocument m_document;
    ScriptDocuments m_documents;
};
