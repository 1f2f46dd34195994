#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "FileHelpers.h"

using namespace ScObjects;
using namespace ScObjects::TesselTalkUtils;

namespace {

class Collect : public FileFilter {
public:
    std::vector<std::string> seen;
    void run(const SoString& path) override
    {
        seen.push_back(path.c_str());
        deleteFile(path.c_str()); // the walk must survive changes to the folder
    }
};

class FileHelpersTest : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/tt-files-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(root); }
    std::string root;
};

} // namespace

TEST_F(FileHelpersTest, IterateFolderVisitsEveryItemInNameOrder)
{
    for (const char* name : {"b", "a", ".hidden", "c d"})
        std::ofstream(root + "/" + name) << name;
    ASSERT_TRUE(TesselTalkUtils::mkdir((root + "/sub").c_str()));
    Collect collect;
    ASSERT_TRUE(iterateFolder((root + "/").c_str(), collect));
    EXPECT_EQ(collect.seen,
        (std::vector<std::string>{root + "/.hidden", root + "/a", root + "/b", root + "/c d", root + "/sub"}));
    EXPECT_TRUE(fileExists((root + "/sub").c_str())) << "deleteFile leaves folders alone";
    EXPECT_FALSE(iterateFolder((root + "/missing").c_str(), collect));
}

TEST_F(FileHelpersTest, FoldersFilesAndAliases)
{
    const std::string folder = root + "/f";
    EXPECT_TRUE(TesselTalkUtils::mkdir(folder.c_str()));
    EXPECT_TRUE(TesselTalkUtils::mkdir(folder.c_str())) << "an existing folder is fine";
    std::ofstream(folder + "/file") << "x";
    EXPECT_FALSE(TesselTalkUtils::mkdir((folder + "/file").c_str())) << "a file is not a folder";
    EXPECT_FALSE(TesselTalkUtils::rmdir(folder.c_str())) << "not empty";

    const std::string alias = root + "/alias";
    EXPECT_TRUE(createAlias(alias.c_str(), (folder + "/file").c_str()));
    EXPECT_FALSE(createAlias(alias.c_str(), folder.c_str())) << "never replaces";
    EXPECT_EQ(resolveAlias(alias.c_str()), (folder + "/file").c_str());
    EXPECT_TRUE(deleteFile((folder + "/file").c_str()));
    EXPECT_TRUE(fileExists(alias.c_str())) << "a dangling alias still exists";
    EXPECT_TRUE(resolveAlias(alias.c_str()).isEmpty());
    EXPECT_TRUE(deleteFile(alias.c_str()));
    EXPECT_FALSE(deleteFile(folder.c_str()));
    EXPECT_TRUE(TesselTalkUtils::rmdir(folder.c_str()));
    EXPECT_FALSE(fileExists(folder.c_str()));
    EXPECT_FALSE(fileExists(""));

    EXPECT_EQ(getFolderSeparator(), "/");
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
    EXPECT_EQ(getLaunchFolderPath(), self.c_str());
}
