// Teardowns of modules that come and go.
#include "abi/loaded_library.h"
#include "abi/plugin.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/octalloc.h"
#include "orvcomtypes/orvstr.h"
#include "support/child_process.h"
#include "support/forked.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

namespace
{

class CPlugin
{
public:
    CPlugin(const std::filesystem::path& file, int& nCalls) : m_library(file.string())
    {
        m_library.Find<PluginSetCounter>("SetCounter")(&nCalls);
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
    Plugins()
    {
        std::filesystem::copy_file(ORV_PLUGIN_FILE, m_copy);
        CallPlexedAllocUninit(nullptr);
        g_nOwnCalls = 0;
    }
    void TearDown() override { EXPECT_NO_REPORTS(m_capture); }

    CReportCapture m_capture;
    CTempDir m_dir;
    const std::filesystem::path m_copy = m_dir / "copy.dll"; // Windows asks for an extension
    int m_nCalls = 0, m_nCopyCalls = 0;
};

TEST_F(Plugins, AreTakenDownOneByOne)
{
    const CPlugin plugin(ORV_PLUGIN_FILE, m_nCalls), copy(m_copy, m_nCopyCalls);
    RegisterPlexedAlloc(plugin.Uninit());
    RegisterPlexedAlloc(copy.Uninit());
    RegisterPlexedAlloc(OwnUninit);
    RegisterPlexedAlloc(copy.Uninit());
    CallPlexedAllocUninit(copy.Module());
    EXPECT_TRUE(m_nCalls == 0 && m_nCopyCalls == 2 && g_nOwnCalls == 0);
    CallPlexedAllocUninit(nullptr);
    EXPECT_TRUE(m_nCalls == 1 && m_nCopyCalls == 2 && g_nOwnCalls == 1);
}

/// A process of its own: it forks.
ORV_CHILD(UseAndUnload)
{
    for (int i = 0; i < 3; ++i)
    {
        {
            const CLoadedLibrary plugin(ORV_PLUGIN_FILE);
            EXPECT_TRUE(plugin.Find<PluginWork>("Work")());
            plugin.Find<PluginClose>("Close")();
        }
        EXPECT_FALSE(CLoadedLibrary::IsLoaded(ORV_PLUGIN_FILE));
        OCT::CCritSect lock; // as the memory of the plugin's locks is gone
        lock.Lock();
        EXPECT_TRUE(RunForked([] { return COrvStr(ORVTEXT("x")).GetLength() == 1; }));
        lock.Unlock();
    }
    UninitOrvComTypes();
    return testing::Test::HasFailure();
}

TEST_F(Plugins, LeaveNothingBehindWhenTheyWereClosed)
{
    const ChildResult result = CChildProcess("UseAndUnload").Wait();
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
}

class CHostExcept : public CLQExcept
{
public:
    using CLQExcept::CLQExcept;
};

TEST_F(Plugins, ThrowAndCatchAcrossTheirBorder)
{
    const CLoadedLibrary plugin(ORV_PLUGIN_FILE);
    try
    {
        plugin.Find<PluginRefuse>("Refuse")();
        ADD_FAILURE() << "nothing was thrown";
    }
    catch (const CLQExcept& e)
    {
        EXPECT_EQ(lqeUserCancel, e.GetCategory()) << "a class of the plugin";
        EXPECT_EQ(E_ABORT, e.GetErrorCode());
        EXPECT_FALSE(e.Format(nullptr).IsEmpty());
    }
    EXPECT_EQ(-7, plugin.Find<PluginCodeOf>("CodeOf")([] { LQ_THROW(CHostExcept, -7, 1, LQ_SRC_LOCATION); }));
}

TEST_F(Plugins, AreNotCalledAfterTheyWereUnloaded)
{
    RegisterPlexedAlloc(CPlugin(ORV_PLUGIN_FILE, m_nCalls).Uninit());
    RegisterPlexedAlloc(OwnUninit);
    CallPlexedAllocUninit(nullptr);
    EXPECT_TRUE(m_nCalls == 0 && g_nOwnCalls == 1);
}

TEST_F(Plugins, AreNotTakenForAnotherModuleAtTheSameAddress)
{
    PluginUninit fnFormer = nullptr;
    {
        const CPlugin plugin(ORV_PLUGIN_FILE, m_nCalls);
        fnFormer = plugin.Uninit();
        RegisterPlexedAlloc(fnFormer);
    }
    const CPlugin copy(m_copy, m_nCopyCalls);
    CallPlexedAllocUninit(nullptr);
    if (copy.Uninit() != fnFormer)
        GTEST_SKIP() << "the loader chose another address";
    EXPECT_EQ(0, m_nCopyCalls);
}

} // namespace
