// The browser's window: the folder a script showed as a grid of thumbnails,
// the folder's path as title and the scripts' status text in the status bar.
#pragma once

#include <QMainWindow>

class QListWidget;
class ScriptApp;

class BrowserWindow : public QMainWindow {
    Q_OBJECT
public:
    static constexpr int kThumbnailSize = 160;

    // Follows app, which must outlive the window.
    explicit BrowserWindow(ScriptApp& app, QWidget* parent = nullptr);

    // Fills the grid with folder's pictures; unreadable ones get the
    // placeholder.
    void showFolder(const QString& folder);
    const QListWidget& grid() const { return *m_grid; }

private:
    QListWidget* m_grid;
};
