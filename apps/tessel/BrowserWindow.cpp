#include "BrowserWindow.h"

#include "FolderPictures.h"
#include "ScriptApp.h"

#include <QApplication>
#include <QFileInfo>
#include <QListWidget>
#include <QStatusBar>

BrowserWindow::BrowserWindow(ScriptApp& app, QWidget* parent)
    : QMainWindow(parent), m_grid(new QListWidget(this))
{
    setObjectName(QStringLiteral("tessel browser"));
    setWindowTitle(QStringLiteral("Tessel"));
    m_grid->setObjectName(QStringLiteral("thumbnail grid"));
    m_grid->setViewMode(QListView::IconMode);
    m_grid->setIconSize(QSize(kThumbnailSize, kThumbnailSize));
    m_grid->setResizeMode(QListView::Adjust);
    m_grid->setMovement(QListView::Static);
    m_grid->setUniformItemSizes(true);
    setCentralWidget(m_grid);
    statusBar()->showMessage(app.status());
    resize(900, 600);

    connect(&app, &ScriptApp::folderChanged, this, &BrowserWindow::showFolder);
    connect(&app, &ScriptApp::statusChanged, statusBar(), [this](const QString& text) {
        statusBar()->showMessage(text);
    });
    connect(&app, &ScriptApp::beeped, this, [] { QApplication::beep(); });
    connect(&app, &ScriptApp::raiseRequested, this, [this] {
        // Window managers may refuse to raise; nothing more can be done.
        showNormal();
        raise();
        activateWindow();
    });
}

void BrowserWindow::showFolder(const QString& folder)
{
    setWindowTitle(folder);
    m_grid->clear();
    const QImage placeholder = placeholderThumbnail(kThumbnailSize);
    for (const QString& path : listPictures(folder)) {
        const QImage thumbnail = loadThumbnail(path, kThumbnailSize);
        auto* item = new QListWidgetItem(QIcon(QPixmap::fromImage(thumbnail.isNull() ? placeholder : thumbnail)),
                                         QFileInfo(path).fileName(), m_grid);
        item->setData(Qt::UserRole, path);
        item->setData(Qt::UserRole + 1, thumbnail.isNull());
    }
}
