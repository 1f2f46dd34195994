// The dialogs the gallery shows, each built the way the plug-in builds it,
// with the texts the plug-in passes, in the locale loaded at the time.
#pragma once

#include <QString>
#include <QWidget>

#include <functional>
#include <memory>
#include <vector>

struct GalleryScene {
    // File name stem of the screenshot, e.g. "message_warning".
    QString name;
    // Builds the dialog, not yet shown; the caller owns it.
    std::function<std::unique_ptr<QWidget>()> build;
    // Runs once the window is on screen, for states reached by user clicks.
    std::function<void(QWidget*)> afterShow;
};

// `locale` picks the settings panel's form from ../shared_assets/locales.
std::vector<GalleryScene> galleryScenes(const QString& locale);
