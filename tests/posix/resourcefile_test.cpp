// What may stand in the place of a resource library.
#include "support/temp_dir.h"
#include "support/test_strings.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

TEST(ResourceFile, FoldersAndPipesAreNone)
{
    const CTempDir dir;
    ASSERT_EQ(0, mkfifo((dir / "pipe").c_str(), 0600));
    for (const auto& path : {dir / ".", dir / "pipe"}) // opening the pipe must not wait for a writer
    {
        const CTestResources none(path);
        EXPECT_EQ(static_cast<DWORD>(ERROR_BAD_EXE_FORMAT), GetLastError()) << path;
        EXPECT_EQ(nullptr, none);
    }
}
