// Records whose fixed-size text fields fill every byte, placed flush against
// an unreadable page: any read past a field's end faults.
#include "PluginHarness.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace {

// Pages holding one record that ends where a PROT_NONE page begins.
class GuardedRecord {
public:
    GuardedRecord()
    {
        const std::size_t page = std::size_t(::sysconf(_SC_PAGESIZE));
        m_span = (sizeof(CPropAppPreferences3) + page - 1) / page * page + page;
        void* base = ::mmap(nullptr, m_span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (base == MAP_FAILED)
            return;
        m_base = static_cast<char*>(base);
        char* guard = m_base + m_span - page;
        if (::mprotect(guard, page, PROT_NONE) != 0)
            return;
        m_record = reinterpret_cast<CPropAppPreferences3*>(guard - sizeof(CPropAppPreferences3));
    }
    ~GuardedRecord()
    {
        if (m_base)
            ::munmap(m_base, m_span);
    }
    GuardedRecord(const GuardedRecord&) = delete;
    GuardedRecord& operator=(const GuardedRecord&) = delete;

    CPropAppPreferences3* record() const { return m_record; }

private:
    char* m_base = nullptr;
    std::size_t m_span = 0;
    CPropAppPreferences3* m_record = nullptr;
};

class PluginRecordBounds : public PluginTest {
protected:
    void SetUp() override
    {
        PluginTest::SetUp();
        char pattern[] = "/tmp/record-bounds-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        m_dataHome = pattern;
        const char* old = std::getenv("XDG_DATA_HOME");
        m_hadDataHome = old != nullptr;
        m_oldDataHome = old ? old : "";
        ::setenv("XDG_DATA_HOME", m_dataHome.c_str(), 1);
    }
    void TearDown() override
    {
        if (m_hadDataHome)
            ::setenv("XDG_DATA_HOME", m_oldDataHome.c_str(), 1);
        else
            ::unsetenv("XDG_DATA_HOME");
        std::error_code ignored;
        std::filesystem::remove_all(m_dataHome, ignored);
    }

    std::string m_dataHome;
    std::string m_oldDataHome;
    bool m_hadDataHome = false;
};

} // namespace

TEST_F(PluginRecordBounds, UnterminatedTextFieldsAtAnUnreadablePageAreReadWithinTheirSize)
{
    GuardedRecord guarded;
    CPropAppPreferences3* record = guarded.record();
    ASSERT_NE(record, nullptr);
    std::memset(static_cast<void*>(record), 'A', sizeof *record);
    record->header.type = CPropAppPreferences3::kType;
    record->header.reserved = 0;
    record->header.size = sizeof *record;

    ISource* source = createSource();
    ASSERT_NE(source, nullptr);
    auto* util = query<ISinkUtilHandler2>(source, kIID_ISinkUtilHandler2);
    ASSERT_NE(util, nullptr);
    EXPECT_EQ(util->SetPreferences(record->header), kFxOk);

    // What was written comes back cut to what a record holds with its terminator.
    CPropAppPreferences3 back;
    fxInitRecord(back);
    ASSERT_EQ(util->GetPreferences(back.header), kFxOk);
    const std::string texts(CPropAppPreferences3::kTextSize - 1, 'A');
    EXPECT_EQ(back.getBatchRenamePreference(), texts);
    EXPECT_EQ(back.getApplyMetadataAuthorName(), texts);
    EXPECT_EQ(back.getApplyMetadataCopyright(), texts);
    EXPECT_EQ(back.getApplyMetadataTemplateName(), texts);
    EXPECT_EQ(back.GetMobileFolderSetting(), texts);
    const std::u16string location(std::size(back.location) - 1, u'\x4141');
    EXPECT_EQ(fxString(back.location), location);
    EXPECT_EQ(back.option1Pref, 1);

    util->Release();
    source->Release();
}
