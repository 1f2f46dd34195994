// The windowed host: the sink's settings panel, built from the form the
// sink names and handed to it, a card folder and a destination, a Start
// button, and the download's progress and per-item log. The download runs
// on the UI thread through the same session driver as the headless host,
// so the sink's dialogs open over this window as the sink shows them.
#pragma once

#include <QMainWindow>

#include <functional>

#include <skiff/Skiff.h>

#include "CommandLine.h"

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QtPanel;

class HostWindow : public QMainWindow {
    Q_OBJECT

public:
    // `source` is borrowed and must outlive the window. `options` gives the
    // card and destination the choosers start with.
    HostWindow(ISource* source, const CommandLine& options, QWidget* parent = nullptr);
    ~HostWindow() override;

    // Why the panel could not be built; empty when it was.
    const QString& error() const { return m_error; }
    // The panel handed to the sink, null when it could not be built.
    QtPanel* panel() const { return m_panel; }

    QLineEdit* cardEdit() const { return m_card; }
    QLineEdit* destinationEdit() const { return m_destination; }
    QPushButton* startButton() const { return m_start; }
    QProgressBar* progressBar() const { return m_progress; }
    QPlainTextEdit* log() const { return m_log; }

    // Stores the panel's states as the sink's preferences, then downloads the
    // chosen card; returns the session's status (0 when every item was
    // copied and processed, 1 otherwise).
    int startDownload();

    // Called after each item of a running download, after the bar moved.
    std::function<void(int done, int total)> onItemDone;

private:
    QWidget* buildPanel();
    QWidget* buildChoosers();
    void chooseFolder(QLineEdit* edit, const QString& caption);

    ISource* m_source;
    CommandLine m_options;
    ISinkUICapabilities* m_ui = nullptr;
    IUICallback* m_callback = nullptr;
    ISinkUtilHandler2* m_util = nullptr;
    // As the sink last gave them; written back with the panel's states.
    CPropAppPreferences3 m_preferences{};
    QtPanel* m_panel = nullptr;
    QString m_error;
    QLineEdit* m_card = nullptr;
    QLineEdit* m_destination = nullptr;
    QPushButton* m_start = nullptr;
    QProgressBar* m_progress = nullptr;
    QLabel* m_status = nullptr;
    QPlainTextEdit* m_log = nullptr;
};
