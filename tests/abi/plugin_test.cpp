// Teardowns of modules that come and go.
#include "abi/loaded_library.h"
#include "abi/plugin.h"
#include "orvcomtypes/octalloc.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

class CPlugin
{
public:
    explicit CPlugin(const std::string& sFile, int* pCounter) : m_library(sFile)
    {
        m_library.Find<PluginSetCounter>("SetCounter")(pCounter);
    }

    PluginUninit Uninit() const { return m_library.Find<PluginGetUninit>("GetUninit")(); }

    HMODULE Module() const
    {
        HMODULE hModule = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                               GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<LPCWSTR>(Uninit()), &hModule);
        return hModule;
    }

private:
    CLoadedLibrary m_library;
};

int g_nOwnCalls = 0;

void ORVCALL OwnUninit()
{
    ++g_nOwnCalls;
}

class Plugins : public testing::Test
{
protected:
    Plugins() { std::filesystem::copy_file(ORV_PLUGIN_FILE, CopyFile()); }
    void SetUp() override
    {
        CallPlexedAllocUninit(nullptr);
        g_nOwnCalls = 0;
    }

    std::string CopyFile() const
    {
        return (m_dir / "copy").string() + std::filesystem::path(ORV_PLUGIN_FILE).extension().string();
    }

    CTempDir m_dir;
    CReportCapture m_capture;
    int m_nCalls = 0;
    int m_nCopyCalls = 0;
};

} // namespace

TEST_F(Plugins, AreTakenDownOneByOne)
{
    CPlugin plugin(ORV_PLUGIN_FILE, &m_nCalls);
    CPlugin copy(CopyFile(), &m_nCopyCalls);
    RegisterPlexedAlloc(plugin.Uninit());
    RegisterPlexedAlloc(copy.Uninit());
    RegisterPlexedAlloc(OwnUninit);
    RegisterPlexedAlloc(copy.Uninit());
    CallPlexedAllocUninit(copy.Module());
    EXPECT_EQ(0, m_nCalls);
    EXPECT_EQ(2, m_nCopyCalls);
    EXPECT_EQ(0, g_nOwnCalls);
    CallPlexedAllocUninit(nullptr);
    EXPECT_EQ(1, m_nCalls);
    EXPECT_EQ(2, m_nCopyCalls);
    EXPECT_EQ(1, g_nOwnCalls);
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(Plugins, AreNotCalledAfterTheyWereUnloaded)
{
    RegisterPlexedAlloc(CPlugin(ORV_PLUGIN_FILE, &m_nCalls).Uninit());
    RegisterPlexedAlloc(OwnUninit);
    CallPlexedAllocUninit(nullptr);
    EXPECT_EQ(0, m_nCalls);
    EXPECT_EQ(1, g_nOwnCalls);
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(Plugins, AreNotTakenForAnotherModuleAtTheSameAddress)
{
    PluginUninit fnFormer = nullptr;
    {
        const CPlugin plugin(ORV_PLUGIN_FILE, &m_nCalls);
        fnFormer = plugin.Uninit();
        RegisterPlexedAlloc(fnFormer);
    }
    const CPlugin copy(CopyFile(), &m_nCopyCalls);
    if (copy.Uninit() != fnFormer)
    {
        CallPlexedAllocUninit(nullptr);
        GTEST_SKIP() << "the loader chose another address";
    }
    CallPlexedAllocUninit(nullptr);
    EXPECT_EQ(0, m_nCopyCalls);
    EXPECT_NO_REPORTS(m_capture);
}
