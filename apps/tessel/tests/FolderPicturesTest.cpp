// Thumbnails of real files made at test time: pictures Qt writes, a DNG the
// converter writes from a synthetic raw file, and files that only look like
// pictures.
#include <gtest/gtest.h>

#include "BrowserWindow.h"
#include "FolderPictures.h"
#include "ScriptApp.h"
#include "ScriptHost.h"
#include "SyntheticRaw.h"

#include <lumen/DngConverter.h>

#include <QDir>
#include <QFile>
#include <QListWidget>
#include <QStatusBar>
#include <QTemporaryDir>

namespace {

class FolderPicturesTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(root.isValid());
        QImage wide(400, 200, QImage::Format_RGB32);
        wide.fill(Qt::red);
        ASSERT_TRUE(wide.save(path("b_wide.jpg")));
        QImage tall(100, 300, QImage::Format_ARGB32);
        tall.fill(Qt::blue);
        ASSERT_TRUE(tall.save(path("a_tall.PNG"), "PNG"));
        write("c_truncated.jpeg", QByteArray::fromHex("ffd8ffe000104a464946"));
        write("d_garbage.dng", QByteArray(4096, 'x'));
        write("notes.txt", "not a picture");
        ASSERT_TRUE(QDir(root.path()).mkdir(QStringLiteral("sub.jpg")));

        const std::string raw = (root.path() + QStringLiteral("/source.raw.dng")).toStdString();
        ASSERT_TRUE(writeSyntheticDng(makeSyntheticRaw(256, 192, 12, 7), raw));
        ASSERT_TRUE(lumen::convertToDng(raw, path("e_converted.dng").toStdString(), lumen::DngOptions{}));
        lumen::DngOptions withoutPreview;
        withoutPreview.preview = lumen::PreviewSize::None;
        ASSERT_TRUE(lumen::convertToDng(raw, path("f_no_preview.dng").toStdString(), withoutPreview));
        ASSERT_TRUE(QFile::remove(QString::fromStdString(raw)));
    }
    QString path(const char* name) const { return root.path() + QLatin1Char('/') + QLatin1String(name); }
    void write(const char* name, const QByteArray& bytes) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QTemporaryDir root;
};

TEST_F(FolderPicturesTest, ListsThePicturesByNameAndNothingElse)
{
    EXPECT_EQ(listPictures(root.path()),
              QStringList({path("a_tall.PNG"), path("b_wide.jpg"), path("c_truncated.jpeg"), path("d_garbage.dng"),
                           path("e_converted.dng"), path("f_no_preview.dng")}));
    EXPECT_TRUE(listPictures(path("missing")).isEmpty());
}

TEST_F(FolderPicturesTest, ThumbnailsFitTheSizeAndUnreadableFilesGiveNone)
{
    const struct {
        const char* name;
        QSize size; // empty: unreadable
    } rows[] = {
        {"b_wide.jpg", {64, 32}},
        {"a_tall.PNG", {21, 64}},
        {"c_truncated.jpeg", {}},
        {"d_garbage.dng", {}},
        {"notes.txt", {}},
        {"missing.jpg", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const QImage image = loadThumbnail(path(row.name), 64);
        EXPECT_EQ(image.isNull(), row.size.isEmpty());
        if (!row.size.isEmpty()) {
            EXPECT_EQ(image.size(), row.size);
        }
    }
    for (const char* name : {"e_converted.dng", "f_no_preview.dng"}) {
        SCOPED_TRACE(name);
        const QImage dng = loadThumbnail(path(name), 64);
        ASSERT_FALSE(dng.isNull());
        EXPECT_EQ(std::max(dng.width(), dng.height()), 64);
    }
}

TEST_F(FolderPicturesTest, WindowFollowsTheScriptsAndMarksUnreadableFiles)
{
    ScriptApp app(QString{});
    ScriptHost host(app);
    BrowserWindow window(app);
    ASSERT_TRUE(host.run("app.skiffBrowseTo(\"" + root.path() + "\"); app.document.status = 'imported'; 'done';").ok);

    EXPECT_EQ(window.windowTitle(), root.path());
    const QListWidget& grid = window.grid();
    ASSERT_EQ(grid.count(), 6);
    QStringList placeholders;
    for (int i = 0; i < grid.count(); ++i) {
        EXPECT_EQ(grid.item(i)->data(Qt::UserRole).toString(), listPictures(root.path()).at(i));
        if (grid.item(i)->data(Qt::UserRole + 1).toBool())
            placeholders << grid.item(i)->text();
    }
    EXPECT_EQ(placeholders, QStringList({"c_truncated.jpeg", "d_garbage.dng"}));
    EXPECT_EQ(window.statusBar()->currentMessage(), QStringLiteral("imported"));
}

} // namespace
