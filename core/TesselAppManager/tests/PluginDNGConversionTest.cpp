// Raw files become DNG through the loaded plug-in's post-processing.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/mount.h>

#include "ProcessingFixture.h"
#include "SyntheticRaw.h"

namespace {

const QString kConverting = QStringLiteral("Converting to DNG...");
const QString kCouldNot = QStringLiteral("Could not convert to DNG...");
const QString kMissing = QStringLiteral("Cannot find the DNG converter.");

// A raw file LibRaw decodes whatever its name: a mosaic DNG in disguise.
QByteArray syntheticRaw(unsigned seed = 1)
{
    QTemporaryDir dir;
    const std::string path = (dir.path() + QStringLiteral("/raw.dng")).toStdString();
    EXPECT_TRUE(writeSyntheticDng(makeSyntheticRaw(320, 240, 12, seed), path));
    return readBytes(QString::fromStdString(path));
}

class PluginDNGConversion : public ProcessingTest {
protected:
    QTemporaryDir m_dir;
    QString path(const QString& name) const { return m_dir.filePath(name); }
};

} // namespace

TEST_F(PluginDNGConversion, ReplacesTheRawFileAndItsSidecar)
{
    openSource();
    const QByteArray raw = syntheticRaw();
    ASSERT_TRUE(writeBytes(path("IMG_0001.NEF"), raw));
    ASSERT_TRUE(writeBytes(path("IMG_0001.xmp"), "<x:xmpmeta/>"));
    ASSERT_TRUE(writeBytes(path("source.dng.keep"), raw));
    CPropSinkMediaItem record = item(m_dir.path(), QStringLiteral("IMG_0001.NEF"));

    EXPECT_EQ(post(record), FxResult(true));
    EXPECT_EQ(m_next.postCalls, 1);
    EXPECT_EQ(m_next.lastItem, &record);
    EXPECT_EQ(listFolder(m_dir.path()), (QStringList{"IMG_0001.dng", "source.dng.keep"}));
    EXPECT_EQ(s_status, QStringList{kConverting});
    EXPECT_TRUE(s_errors.isEmpty());

    const DecodedRaw in = decodeWithLibRaw(path("source.dng.keep").toStdString());
    const DecodedRaw out = decodeWithLibRaw(path("IMG_0001.dng").toStdString());
    ASSERT_TRUE(out.ok);
    EXPECT_EQ(out.raw, in.raw);
    EXPECT_EQ(out.model, "Synthetic S1");
}

TEST_F(PluginDNGConversion, FilesThatNeedNoConversion)
{
    struct Row {
        const char* name;
        const char16_t* extensions;
    } rows[] = {
        {"A.DNG", u"crw,cr2,nef,kdc,dng"},
        {"B.dng", u"crw,cr2,nef,kdc,dng"},
        {"C.jpg", u"crw,cr2,nef,kdc,dng"},
        {"D", u"crw,cr2,nef,kdc,dng"},
        {"E.nef", u""},
    };
    const QByteArray raw = syntheticRaw();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        openSource(QStringLiteral(TESSEL_STAGE_DIR "/bin"), row.extensions);
        QTemporaryDir dir;
        ASSERT_TRUE(writeBytes(dir.filePath(QString::fromLatin1(row.name)), raw));
        CPropSinkMediaItem record = item(dir.path(), QString::fromLatin1(row.name));
        EXPECT_EQ(post(record), FxResult(true));
        EXPECT_EQ(listFolder(dir.path()), QStringList{QString::fromLatin1(row.name)});
        EXPECT_TRUE(s_status.isEmpty()) << "the library was called";
        m_processing->Release();
        m_processing = nullptr;
        m_source->Release();
        m_source = nullptr;
    }
}

TEST_F(PluginDNGConversion, TakesTheNextFreeName)
{
    openSource();
    const QByteArray raw = syntheticRaw();
    ASSERT_TRUE(writeBytes(path("B.dng"), "first"));
    for (const char* expected : {"B_1.dng", "B_2.dng"}) {
        SCOPED_TRACE(expected);
        ASSERT_TRUE(writeBytes(path("B.cr2"), raw));
        CPropSinkMediaItem record = item(m_dir.path(), QStringLiteral("B.cr2"));
        EXPECT_EQ(post(record), FxResult(true));
        EXPECT_TRUE(QFile::exists(path(QString::fromLatin1(expected))));
        EXPECT_FALSE(QFile::exists(path("B.cr2")));
    }
    EXPECT_EQ(readBytes(path("B.dng")), "first");
    EXPECT_EQ(listFolder(m_dir.path()), (QStringList{"B.dng", "B_1.dng", "B_2.dng"}));
}

TEST_F(PluginDNGConversion, SidecarFlagKeepsTheSidecarForOneConversion)
{
    openSource();
    const QByteArray raw = syntheticRaw();
    ASSERT_TRUE(writeBytes(path("A.nef"), raw));
    ASSERT_TRUE(writeBytes(path("A.xmp"), "a"));
    ASSERT_TRUE(writeBytes(path("B.nef"), raw));
    ASSERT_TRUE(writeBytes(path("B.xmp"), "b"));
    m_processing->deleteXMPData(true);
    CPropSinkMediaItem a = item(m_dir.path(), QStringLiteral("A.nef"));
    CPropSinkMediaItem b = item(m_dir.path(), QStringLiteral("B.nef"));
    EXPECT_EQ(post(a), FxResult(true));
    EXPECT_EQ(post(b), FxResult(true));
    EXPECT_EQ(listFolder(m_dir.path()), (QStringList{"A.dng", "A.xmp", "B.dng"}));
}

TEST_F(PluginDNGConversion, FailedConversionPutsEverythingBack)
{
    openSource();
    const QByteArray junk(4096, 'x');
    ASSERT_TRUE(writeBytes(path("bad.cr2"), junk));
    ASSERT_TRUE(writeBytes(path("bad.xmp"), "sidecar"));
    ASSERT_TRUE(QFile::setPermissions(path("bad.cr2"), QFile::ReadOwner));
    CPropSinkMediaItem record = item(m_dir.path(), QStringLiteral("bad.cr2"));

    EXPECT_EQ(post(record), FxResult(false));
    EXPECT_EQ(listFolder(m_dir.path()), (QStringList{"bad.cr2", "bad.xmp"}));
    EXPECT_EQ(readBytes(path("bad.cr2")), junk);
    EXPECT_EQ(readBytes(path("bad.xmp")), "sidecar");
    EXPECT_TRUE(QFile::permissions(path("bad.cr2")) & QFile::WriteOwner) << "the file was not unlocked";
    EXPECT_EQ(s_status, QStringList{kConverting});
    EXPECT_EQ(s_errors, QStringList{kCouldNot});
}

TEST_F(PluginDNGConversion, NamesOutsideAsciiStayAsTheyAre)
{
    openSource();
    const QString name = QStringLiteral("Gr\u00f6\u00dfe \u00e9t\u00e9.nef");
    ASSERT_TRUE(writeBytes(path(name), syntheticRaw()));
    CPropSinkMediaItem record = item(m_dir.path(), name);
    EXPECT_EQ(post(record), FxResult(true));
    EXPECT_EQ(listFolder(m_dir.path()), QStringList{QStringLiteral("Gr\u00f6\u00dfe \u00e9t\u00e9.dng")});
}

TEST_F(PluginDNGConversion, MissingConverterLeavesTheFile)
{
    QTemporaryDir tree;
    ASSERT_TRUE(QDir(tree.path()).mkpath(QStringLiteral("bin")));
    openSource(tree.filePath(QStringLiteral("bin")));
    ASSERT_TRUE(writeBytes(path("A.nef"), "raw"));
    ASSERT_TRUE(writeBytes(path("A.xmp"), "sidecar"));
    CPropSinkMediaItem record = item(m_dir.path(), QStringLiteral("A.nef"));
    EXPECT_EQ(post(record), FxResult(false));
    EXPECT_EQ(listFolder(m_dir.path()), (QStringList{"A.nef", "A.xmp"}));
    EXPECT_EQ(s_errors, QStringList{kMissing});
    EXPECT_TRUE(s_status.isEmpty());
}

TEST_F(PluginDNGConversion, ConverterKilledHalfWayLeavesNothingBehind)
{
    openSource(QStringLiteral(KILLED_CONVERTER_ROOT "/bin"));
    ASSERT_TRUE(writeBytes(path("A.nef"), "raw"));
    ASSERT_TRUE(writeBytes(path("A.xmp"), "sidecar"));
    CPropSinkMediaItem record = item(m_dir.path(), QStringLiteral("A.nef"));
    EXPECT_EQ(post(record), FxResult(false));
    EXPECT_EQ(listFolder(m_dir.path()), (QStringList{"A.nef", "A.xmp"}));
    EXPECT_EQ(readBytes(path("A.nef")), "raw");
    EXPECT_EQ(s_errors, QStringList{kCouldNot});
}

TEST_F(PluginDNGConversion, FullFileSystemPutsEverythingBack)
{
    QTemporaryDir mountPoint;
    const QByteArray where = QFile::encodeName(mountPoint.path());
    if (::mount("tmpfs", where.constData(), "tmpfs", 0, "size=1m") != 0)
        GTEST_SKIP() << "cannot mount a small tmpfs here (needs root): " << std::strerror(errno);
    struct Unmount {
        QByteArray at;
        ~Unmount() { ::umount(at.constData()); }
    } unmount{where};

    openSource();
    const QString folder = mountPoint.path();
    ASSERT_TRUE(writeBytes(folder + "/A.nef", syntheticRaw()));
    ASSERT_TRUE(writeBytes(folder + "/A.xmp", "sidecar"));
    // Fill what is left, so that no DNG fits.
    QFile filler(folder + "/filler");
    ASSERT_TRUE(filler.open(QIODevice::WriteOnly));
    const QByteArray block(4096, '\0');
    while (filler.write(block) == block.size() && filler.flush()) {
    }
    filler.close();

    CPropSinkMediaItem record = item(folder, QStringLiteral("A.nef"));
    EXPECT_EQ(post(record), FxResult(false));
    EXPECT_EQ(listFolder(folder), (QStringList{"A.nef", "A.xmp", "filler"}));
    EXPECT_EQ(readBytes(folder + "/A.nef"), syntheticRaw());
    EXPECT_EQ(s_errors, QStringList{kCouldNot});
}

TEST_F(PluginDNGConversion, ChainAndRecordChecks)
{
    openSource();
    ASSERT_TRUE(writeBytes(path("A.nef"), syntheticRaw()));
    CPropSinkMediaItem record = item(m_dir.path(), QStringLiteral("A.nef"));

    m_next.result = 0; // the next sink failed: nothing of ours runs
    EXPECT_EQ(post(record), FxResult(false));
    EXPECT_EQ(listFolder(m_dir.path()), QStringList{"A.nef"});

    m_next.result = 7;
    CPropSinkMediaItem shortRecord = record;
    shortRecord.header.size = 2116;
    EXPECT_EQ(post(shortRecord), FxResult(0x40000001));
    EXPECT_EQ(m_processing->DoPostProcessing(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              FxResult(0x40000001));
    CPropSinkMediaItem absent = item(m_dir.path(), QStringLiteral("gone.nef"));
    EXPECT_EQ(post(absent), FxResult(7)) << "a missing file gives the chained result";

    // Without a next sink the plug-in does no work of its own.
    auto* chain = query<ISkiffSinkChain>(m_source, kIID_ISkiffSinkChain);
    EXPECT_EQ(chain->SetNextSink(m_processing), kFxErrInvalidArg);
    EXPECT_EQ(chain->SetNextSink(nullptr), kFxOk);
    EXPECT_EQ(m_next.refs, 0);
    chain->Release();
    const int calls = m_next.postCalls;
    EXPECT_EQ(post(record), FxResult(false));
    EXPECT_EQ(pre(record), FxResult(false));
    EXPECT_EQ(m_next.postCalls, calls);
    EXPECT_EQ(listFolder(m_dir.path()), QStringList{"A.nef"});
}
