// The end of a download through the loaded plug-in: the summary messages,
// the deletion of the originals, and what the host is told, with real files
// in a temporary download folder and a temporary card.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "FakePanel.h"
#include "ProcessingFixture.h"
#include "SummaryFakes.h"
#include "TesselPeer.h"

namespace {

const QString kCopiedTo =
    QStringLiteral("message: Files Successfully Copied | Files have been successfully copied to ");
const QString kDeleteCaption = QStringLiteral("start %1: Deleting Photos... | Cancel");
const QString kDeviceGone = QStringLiteral("progress: Corvane Tessel | Device is not connected or is busy. | failed");
const QString kNotDeleted = QStringLiteral(
    "progress: Corvane Tessel | One or more files cannot be deleted. This may be because the files have been locked. "
    "| failed");
const QString kDeleted =
    QStringLiteral("progress: Corvane Tessel | Your files have been successfully deleted from your camera, or card "
                   "reader. | ok");

QString question(const QString& folder)
{
    return QStringLiteral("ask: Corvane Tessel | Files have been successfully copied to ") + folder
        + QStringLiteral(". Do you want to delete these files from your camera, or card reader?");
}

class PluginSummary : public ProcessingTest {
protected:
    void SetUp() override
    {
        ProcessingTest::SetUp();
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_data.path()));
    }
    void TearDown() override
    {
        if (m_sink)
            m_sink->Release();
        ProcessingTest::TearDown();
        qunsetenv("XDG_DATA_HOME");
        EXPECT_EQ(m_items.refs, 0);
        EXPECT_EQ(m_messages.refs, 0);
        EXPECT_EQ(m_progress.refs, 0);
        EXPECT_EQ(m_panel.outstanding(), 0);
    }

    // A source whose panel has the two boxes as given and which holds the
    // progress window the host handed over.
    void open(bool launchTessel, bool deleteFiles,
              const QString& binFolder = QStringLiteral(TESSEL_STAGE_DIR "/bin"))
    {
        openSource(binFolder);
        m_panel.widget(SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX)->checked = launchTessel;
        m_panel.widget(SKIFF_WIDGET_DELETE_FILES_CHECKBOX)->checked = deleteFiles;
        auto* ui = query<ISinkUICapabilities>(m_source, kIID_ISinkUICapabilities);
        EXPECT_EQ(ui->SetClientUIHandler(&m_panel), kFxOk);
        ui->Release();
        auto* dialog = query<ISinkProgressDialog>(m_source, kIID_ISinkProgressDialog);
        m_progress.AddRef(); // the host's reference, which the source adopts
        EXPECT_EQ(dialog->SetProgressHandler(&m_progress), kFxOk);
        dialog->Release();
        m_sink = query<ISink3>(m_source, kIID_ISink3);
    }

    FxResult push()
    {
        unsigned long count = 0;
        return m_sink->PushAllMediaItems(m_items, m_messages, count, nullptr, nullptr);
    }

    // A file copied into the download folder, with its original on the card.
    FakeOriginal* copied(const QString& name)
    {
        EXPECT_TRUE(writeBytes(m_download.filePath(name), "copy"));
        EXPECT_TRUE(writeBytes(m_card.filePath(name), "original"));
        m_originals.push_back({m_card.filePath(name), true});
        m_items.add(m_download.filePath(name), &m_originals.back());
        return &m_originals.back();
    }

    QTemporaryDir m_data;
    QTemporaryDir m_download;
    QTemporaryDir m_card;
    FakeUIHandler m_panel{allPanelWidgets()};
    QStringList m_log;
    FakeItems m_items;
    FakeMessages m_messages{m_log};
    FakeProgress m_progress{m_log};
    std::deque<FakeOriginal> m_originals;
    ISink3* m_sink = nullptr;
};

} // namespace

TEST_F(PluginSummary, WrongSessionRecordIsRefusedBeforeAnythingElse)
{
    const struct {
        std::uint32_t type;
        std::uint64_t size;
    } rows[] = {{3, sizeof(CPropSource)}, {2, sizeof(CPropSource) - 1}, {2, sizeof(CPropSource) + 1}};
    open(false, true);
    copied(QStringLiteral("IMG_1.JPG"));
    for (const auto& row : rows) {
        m_items.sessionType = row.type;
        m_items.sessionSize = row.size;
        EXPECT_EQ(push(), kFxErrInvalidArg) << row.type << " / " << row.size;
    }
    EXPECT_EQ(lines(m_log), lines(QStringList()));
    EXPECT_TRUE(QFile::exists(m_card.filePath(QStringLiteral("IMG_1.JPG"))));
}

TEST_F(PluginSummary, FolderIsThatOfTheFirstPathFollowedByADifferentOne)
{
    const QString a = m_download.filePath(QStringLiteral("a"));
    const QString b = m_download.filePath(QStringLiteral("b"));
    const struct {
        QStringList paths;
        QString folder;
    } rows[] = {
        {{a + "/1.jpg", b + "/2.jpg"}, a},
        {{a + "/1.jpg", a + "/2.jpg", b + "/3.jpg"}, a},
        {{a + "/1.jpg", a + "/1.jpg", a + "/2.jpg"}, a},
        {{a + "/1.jpg"}, a + "/1.jpg"},
        {{a + "/1.jpg", a + "/1.jpg"}, a + "/1.jpg"},
        {{"rel/1.jpg", "rel/2.jpg"}, QStringLiteral(TESSEL_STAGE_DIR "/bin/rel")},
    };
    open(false, false);
    for (const auto& row : rows) {
        m_items.items.clear();
        m_log.clear();
        for (const QString& path : row.paths)
            m_items.add(path);
        EXPECT_EQ(push(), kFxOk);
        EXPECT_EQ(lines(m_log), lines(QStringList{kCopiedTo + row.folder})) << row.paths.join(", ").toStdString();
    }
}

TEST_F(PluginSummary, PathFillingItsWholeFieldEndsWithTheField)
{
    open(false, false);
    FakeOriginal original;
    m_items.add(QString(), &original); // a delete function right behind the path
    const QString full(int(std::size(m_items.items[0].destinationPath)), QLatin1Char('p'));
    std::copy_n(full.utf16(), full.size(), m_items.items[0].destinationPath);
    EXPECT_EQ(push(), kFxOk);
    EXPECT_EQ(lines(m_log), lines(QStringList{kCopiedTo + full}));
}

TEST_F(PluginSummary, DeleteAnsweredNoKeepsTheOriginalsAndOpensNoProgress)
{
    open(false, true);
    copied(QStringLiteral("IMG_1.JPG"));
    m_messages.answer = 1;
    EXPECT_EQ(push(), kFxOk);
    EXPECT_EQ(lines(m_log), lines(QStringList{question(m_download.filePath(QStringLiteral("IMG_1.JPG")))}))
        << "a one-item session names the file";
    EXPECT_TRUE(QFile::exists(m_card.filePath(QStringLiteral("IMG_1.JPG"))));
}

TEST_F(PluginSummary, DeletionReportsEachDeviceFailureAndTheOutcome)
{
    enum State { Present, Disconnected, Refused };
    const struct {
        const char* name;
        std::vector<State> originals;
        QStringList afterStart;
    } rows[] = {
        {"all deleted", {Present, Present}, {"step", "step", kDeleted}},
        {"device gone", {Present, Disconnected, Disconnected},
         {"step", kDeviceGone, "step", kDeviceGone, "step", kNotDeleted}},
        {"refused", {Refused, Present}, {"step", "step", kNotDeleted}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        open(false, true);
        QTemporaryDir card;
        m_items.items.clear();
        m_originals.clear();
        m_log.clear();
        for (std::size_t i = 0; i < row.originals.size(); ++i) {
            const QString name = QStringLiteral("IMG_%1.JPG").arg(i);
            ASSERT_TRUE(writeBytes(card.filePath(name), "original"));
            // A refused original: the device no longer has it, so its removal fails.
            const QString path = card.filePath(row.originals[i] == Refused ? name + QStringLiteral(".gone") : name);
            m_originals.push_back({path, row.originals[i] != Disconnected});
            m_items.add(m_download.filePath(name), &m_originals.back());
        }
        EXPECT_EQ(push(), kFxOk);
        const QStringList expected = QStringList{question(m_download.path()),
                                                 kDeleteCaption.arg(row.originals.size())}
            + row.afterStart;
        EXPECT_EQ(lines(m_log), lines(expected));
        for (std::size_t i = 0; i < row.originals.size(); ++i)
            EXPECT_EQ(QFile::exists(card.filePath(QStringLiteral("IMG_%1.JPG").arg(i))), row.originals[i] != Present)
                << i;
        m_sink->Release();
        m_sink = nullptr;
        m_processing->Release();
        m_processing = nullptr;
        m_source->Release();
        m_source = nullptr;
        EXPECT_EQ(m_progress.refs, 0);
    }
}

TEST_F(PluginSummary, DeletionPassesOverItemsWithoutDeleteAndStopsWhenCancelled)
{
    open(false, true);
    copied(QStringLiteral("A.JPG"));
    m_items.add(m_download.filePath(QStringLiteral("B.JPG")));
    copied(QStringLiteral("C.JPG"));
    copied(QStringLiteral("D.JPG"));
    m_progress.cancelAfterSteps = 3;
    EXPECT_EQ(push(), kFxOk);
    EXPECT_EQ(lines(m_log),
              lines({question(m_download.path()), kDeleteCaption.arg(4), "step", "step", "step", kDeleted}));
    EXPECT_EQ(listFolder(m_card.path()), QStringList{"D.JPG"});
    EXPECT_EQ(listFolder(m_download.path()), (QStringList{"A.JPG", "C.JPG", "D.JPG"}));
}

TEST_F(PluginSummary, FailedConversionsAreReportedInsteadAndNeverForgotten)
{
    QTemporaryDir tree; // no converter in this installation
    ASSERT_TRUE(QDir(tree.path()).mkpath(QStringLiteral("bin")));
    open(false, false, tree.filePath(QStringLiteral("bin")));
    ASSERT_TRUE(writeBytes(m_download.filePath(QStringLiteral("A.nef")), "raw"));
    CPropSinkMediaItem raw = item(m_download.path(), QStringLiteral("A.nef"));
    m_items.add(m_download.filePath(QStringLiteral("A.nef")));
    m_items.add(m_download.filePath(QStringLiteral("B.jpg")));
    const QString failed = QStringLiteral("message: Files Successfully Copied | Files Successfully Copied to ")
        + m_download.path() + QStringLiteral(". However, DNG Conversion failed for %1 file(s).");

    EXPECT_EQ(post(raw), FxResult(false));
    EXPECT_EQ(push(), kFxOk);
    EXPECT_EQ(lines(m_log), lines(QStringList{failed.arg(1)}));

    m_log.clear();
    EXPECT_EQ(post(raw), FxResult(false));
    EXPECT_EQ(push(), kFxOk);
    EXPECT_EQ(lines(m_log), lines(QStringList{failed.arg(2)})) << "a later session still counts the earlier failure";
}

TEST_F(PluginSummary, RunningTesselIsSentTheFolderWithItsBackslashesDoubled)
{
    TesselPeer tessel;
    tessel.setUp();
    tessel.registerTessel();
    tessel.startTessel();
    const QString folder = m_download.filePath(QStringLiteral("day\\one\\"));
    m_items.add(folder + QStringLiteral("/IMG_1.JPG"));
    m_items.add(folder + QStringLiteral("/IMG_2.JPG"));
    open(true, false);
    EXPECT_EQ(push(), kFxOk);
    const std::string doubled = m_download.path().toStdString() + "/day\\\\one\\\\";
    EXPECT_EQ(tessel.handled(),
              (std::vector<std::string>{" app.skiffBrowseTo (\"" + doubled + "\");  app.beep() ;'done';"}));
    EXPECT_EQ(lines(m_log), lines(QStringList())) << "Tessel shows the folder instead of the summary";
    m_sink->Release();
    m_sink = nullptr;
    tessel.tearDown();
}
