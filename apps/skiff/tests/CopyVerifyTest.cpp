// Copying with verification and deleting an original only behind a verified
// copy, on real files in scratch folders.
#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QFile>
#include <QTemporaryDir>

#include "CopyVerify.h"
#include "MediaEnumerator.h"
#include "TestCard.h"

namespace {

class CopyFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        ASSERT_TRUE(QDir().mkpath(card()) && QDir().mkpath(dest()));
    }
    QString card() const { return m_dir.path() + QStringLiteral("/card"); }
    QString dest() const { return m_dir.path() + QStringLiteral("/dest"); }
    QString onCard(const QString& name) const { return card() + QLatin1Char('/') + name; }

    QTemporaryDir m_dir;
};

TEST_F(CopyFixture, CopyIsByteEqualAndLeavesNoTemporaryFile)
{
    QByteArray bytes(3 * 1024 * 1024 + 17, '\0');
    for (int i = 0; i < bytes.size(); ++i)
        bytes[i] = char((i * 131) >> 3);
    ASSERT_TRUE(writeBytes(onCard(QStringLiteral("IMG_0001.JPG")), bytes));
    const QDateTime taken(QDate(2021, 6, 5), QTime(14, 30, 12, 250));
    {
        QFile original(onCard(QStringLiteral("IMG_0001.JPG")));
        ASSERT_TRUE(original.open(QIODevice::ReadWrite) && original.setFileTime(taken, QFileDevice::FileModificationTime));
    }

    const CopyOutcome outcome = copyAndVerify(onCard(QStringLiteral("IMG_0001.JPG")), dest(), QStringLiteral("IMG_0001.JPG"));
    ASSERT_EQ(outcome.status, CopyOutcome::Status::Copied) << outcome.message.toStdString();
    EXPECT_EQ(outcome.finalPath, dest() + QStringLiteral("/IMG_0001.JPG"));
    EXPECT_EQ(readBytes(outcome.finalPath), bytes);
    EXPECT_EQ(QFileInfo(outcome.finalPath).lastModified(), taken);
    EXPECT_EQ(outcome.digest.size, bytes.size());
    EXPECT_TRUE(outcome.digest.sameAs(digestFile(outcome.finalPath)));
    EXPECT_EQ(entries(dest()), QStringList{QStringLiteral("IMG_0001.JPG")});
}

TEST_F(CopyFixture, TakenNamesMoveOnWithoutReplacing)
{
    ASSERT_TRUE(writeBytes(onCard(QStringLiteral("a.jpg")), "new"));
    ASSERT_TRUE(writeBytes(onCard(QStringLiteral("noext")), "new"));
    struct Row {
        QStringList existing;
        QString name;
        QString expected;
    };
    const Row rows[] = {
        {{}, QStringLiteral("a.jpg"), QStringLiteral("a.jpg")},
        {{QStringLiteral("a.jpg")}, QStringLiteral("a.jpg"), QStringLiteral("a_1.jpg")},
        {{QStringLiteral("a.jpg"), QStringLiteral("a_1.jpg")}, QStringLiteral("a.jpg"), QStringLiteral("a_2.jpg")},
        {{QStringLiteral("noext")}, QStringLiteral("noext"), QStringLiteral("noext_1")},
    };
    for (const Row& row : rows) {
        QDir(dest()).removeRecursively();
        QDir().mkpath(dest());
        for (const QString& name : row.existing)
            ASSERT_TRUE(writeBytes(dest() + QLatin1Char('/') + name, "old"));
        const CopyOutcome outcome = copyAndVerify(onCard(row.name), dest(), row.name);
        ASSERT_EQ(outcome.status, CopyOutcome::Status::Copied) << row.expected.toStdString();
        EXPECT_EQ(outcome.finalPath, dest() + QLatin1Char('/') + row.expected);
        EXPECT_EQ(readBytes(outcome.finalPath), QByteArray("new"));
        for (const QString& name : row.existing)
            EXPECT_EQ(readBytes(dest() + QLatin1Char('/') + name), QByteArray("old")) << name.toStdString();
    }
}

TEST_F(CopyFixture, VanishedSourceAndUnwritableDestinationAreTold)
{
    const CopyOutcome gone = copyAndVerify(onCard(QStringLiteral("missing.jpg")), dest(), QStringLiteral("missing.jpg"));
    EXPECT_EQ(gone.status, CopyOutcome::Status::SourceGone);
    EXPECT_TRUE(gone.message.contains(QStringLiteral("card removed"))) << gone.message.toStdString();

    ASSERT_TRUE(writeBytes(onCard(QStringLiteral("b.jpg")), "bytes"));
    const CopyOutcome noFolder = copyAndVerify(onCard(QStringLiteral("b.jpg")), dest() + QStringLiteral("/nope"),
                                               QStringLiteral("b.jpg"));
    EXPECT_EQ(noFolder.status, CopyOutcome::Status::Failed);
    EXPECT_TRUE(entries(dest()).isEmpty());
}

// Each row spoils one thing after a good copy; only the untouched case may
// delete, and a refused original is still on the card.
TEST_F(CopyFixture, DeleteOriginalOnlyBehindAVerifiedCopy)
{
    enum class Spoil { Nothing, FlipByteInCopy, TruncateCopy, RemoveCopy, ChangeOriginal, RemoveCard };
    struct Row {
        const char* name;
        Spoil spoil;
        int expected;
    };
    const Row rows[] = {
        {"intact", Spoil::Nothing, 0},
        {"flipped byte", Spoil::FlipByteInCopy, 1},
        {"truncated copy", Spoil::TruncateCopy, 1},
        {"copy gone", Spoil::RemoveCopy, 1},
        {"original changed", Spoil::ChangeOriginal, 1},
        {"card removed", Spoil::RemoveCard, CPropSinkMediaItem::kDeviceNotAvailable},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        QDir(card()).removeRecursively();
        QDir(dest()).removeRecursively();
        ASSERT_TRUE(QDir().mkpath(card()) && QDir().mkpath(dest()));
        const QString original = onCard(QStringLiteral("IMG_0002.JPG"));
        ASSERT_TRUE(writeJpeg(original, 7));
        const QByteArray bytes = readBytes(original);
        const CopyOutcome outcome = copyAndVerify(original, dest(), QStringLiteral("IMG_0002.JPG"));
        ASSERT_EQ(outcome.status, CopyOutcome::Status::Copied);

        std::vector<DownloadedItem> items{{original, card(), outcome.finalPath, outcome.digest, false, QString()}};
        QByteArray spoilt = bytes;
        switch (row.spoil) {
        case Spoil::Nothing:
            break;
        case Spoil::FlipByteInCopy:
            spoilt[spoilt.size() / 2] = char(spoilt[spoilt.size() / 2] ^ 0x01);
            ASSERT_TRUE(writeBytes(outcome.finalPath, spoilt));
            break;
        case Spoil::TruncateCopy:
            ASSERT_TRUE(writeBytes(outcome.finalPath, bytes.left(bytes.size() - 1)));
            break;
        case Spoil::RemoveCopy:
            ASSERT_TRUE(QFile::remove(outcome.finalPath));
            break;
        case Spoil::ChangeOriginal:
            ASSERT_TRUE(writeBytes(original, bytes + "x"));
            break;
        case Spoil::RemoveCard:
            ASSERT_TRUE(QDir(card()).removeRecursively());
            break;
        }

        MediaEnumerator* list = new MediaEnumerator(dest(), items);
        CPropSinkMediaItem record;
        fxInitRecord(record);
        ASSERT_EQ(list->Next(record.header), kFxOk);
        ASSERT_NE(record.deleteOriginal, nullptr);
        EXPECT_EQ(record.deleteOriginal(record), row.expected);
        EXPECT_EQ(list->Release(), 0);

        EXPECT_EQ(items[0].deleted, row.expected == 0);
        EXPECT_EQ(QFile::exists(original), row.expected == 0 ? false : row.spoil != Spoil::RemoveCard);
        EXPECT_EQ(items[0].keptBecause.isEmpty(), row.expected == 0);
    }
}

TEST(MediaEnumerator, WalksItemsAndRefusesForeignRecords)
{
    std::vector<DownloadedItem> items(2);
    items[0].destinationPath = QStringLiteral("/dl/a.jpg");
    items[0].digest.size = 10;
    items[1].destinationPath = QStringLiteral("/dl/b.nef");
    MediaEnumerator* list = new MediaEnumerator(QStringLiteral("/dl"), items);

    CPropSource session;
    fxInitRecord(session);
    ASSERT_EQ(list->GetSessionRecord(session.header), kFxOk);
    EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(session.appPath)), QStringLiteral("/dl"));
    CPropSinkMediaItem record;
    fxInitRecord(record);
    EXPECT_EQ(list->GetSessionRecord(record.header), kFxErrInvalidArg);
    EXPECT_EQ(list->Next(session.header), kFxErrInvalidArg);

    unsigned long count = 0;
    EXPECT_EQ(list->GetCount(count), kFxOk);
    EXPECT_EQ(count, 2u);
    QStringList seen;
    for (int pass = 0; pass < 2; ++pass) {
        list->Reset();
        while (list->Next(record.header) == kFxOk) {
            seen << QString::fromUtf16(reinterpret_cast<const char16_t*>(record.folder)) + QLatin1Char('|') +
                        QString::fromUtf16(reinterpret_cast<const char16_t*>(record.fileName));
            EXPECT_EQ(record.hostContext, &items[std::size_t(seen.size() - 1) % 2]);
        }
        EXPECT_EQ(list->Next(record.header), kFxEndOfEnum);
    }
    EXPECT_EQ(seen, (QStringList{QStringLiteral("/dl|a.jpg"), QStringLiteral("/dl|b.nef"), QStringLiteral("/dl|a.jpg"),
                                 QStringLiteral("/dl|b.nef")}));
    EXPECT_EQ(list->Release(), 0);
}

} // namespace
