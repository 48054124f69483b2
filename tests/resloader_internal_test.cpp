#include "resources/lqresloader.h"
#include "support/test_registry.h"

#include <gtest/gtest.h>

TEST(ResLoader, ReadsItsOptionWhenItIsInitialised)
{
    const CTestRegistry registry;
    CLQResLoader loader;
    EXPECT_EQ(nullptr, loader.GetModule());
    EXPECT_FALSE(loader.UsesResourceDLL());
    const auto hModule = reinterpret_cast<HMODULE>(&loader);
    loader.Init(hModule);
    EXPECT_EQ(hModule, loader.GetModule());
    EXPECT_TRUE(loader.UsesResourceDLL());

    ASSERT_TRUE(SetLQDWORDSettingW(nullptr, ORVTEXT("UseResourceDLL"), 0, 1));
    EXPECT_TRUE(loader.UsesResourceDLL());
    loader.Init(hModule);
    EXPECT_FALSE(loader.UsesResourceDLL());
}
