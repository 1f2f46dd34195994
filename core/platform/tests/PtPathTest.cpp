#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <QTemporaryDir>

#include "PtPath.h"

namespace {

std::u16string w(const QString& s) { return s.toStdU16String(); }
const unsigned short* p(const std::u16string& s) { return reinterpret_cast<const unsigned short*>(s.c_str()); }

} // namespace

TEST(PtPath, AccessAnswersTrueOnFailure)
{
    QTemporaryDir dir;
    const QString name = dir.path() + QString::fromUtf8("/Grüße.txt");
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    EXPECT_FALSE(ptucsaccess(p(w(name)), R_OK));
    EXPECT_TRUE(ptucsaccess(p(w(dir.path() + "/missing")), R_OK));
    EXPECT_TRUE(ptucsaccess(nullptr, F_OK));
}

TEST(PtPath, OpenAndUnlinkUseTheUtf8Path)
{
    QTemporaryDir dir;
    const auto path = w(dir.path() + QString::fromUtf8("/日本.raw"));
    const int fd = ptucsopen(p(path), O_CREAT | O_WRONLY, 0600);
    ASSERT_GE(fd, 0);
    ::close(fd);
    EXPECT_TRUE(QFile::exists(dir.path() + QString::fromUtf8("/日本.raw")));
    EXPECT_EQ(ptucsunlink(p(path)), 0);
    EXPECT_EQ(ptucsunlink(p(path)), -1);
}
