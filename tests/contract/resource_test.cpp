// What the library relies on; that blocks hold their texts is tested with loading them.
#include "support/temp_dir.h"
#include "support/test_strings.h"

#include <gtest/gtest.h>

TEST(Resource, MissingNamesAndTypesAreToldApart)
{
    const CTestResources library;
    EXPECT_EQ(nullptr, FindResourceW(library, MAKEINTRESOURCEW(500), RT_STRING));
    EXPECT_EQ(static_cast<DWORD>(ERROR_RESOURCE_NAME_NOT_FOUND), GetLastError());
    EXPECT_EQ(nullptr, FindResourceW(library, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(77)));
    EXPECT_EQ(static_cast<DWORD>(ERROR_RESOURCE_TYPE_NOT_FOUND), GetLastError());
    EXPECT_EQ(nullptr, FindResourceW(library, ORVTEXT("name"), RT_STRING));
    EXPECT_EQ(static_cast<DWORD>(ERROR_RESOURCE_NAME_NOT_FOUND), GetLastError());
}

TEST(Resource, LiesInPlaceWithItsSize)
{
    const CTestResources library;
    const HRSRC hBlock = FindResourceW(library, MAKEINTRESOURCEW(1), RT_STRING);
    const HGLOBAL hData = LoadResource(library, hBlock);
    ASSERT_NE(nullptr, hData);
    const auto* const pLengths = static_cast<const WCHAR*>(LockResource(hData));
    const auto* p = pLengths; // sixteen strings, each behind its length
    for (int i = 0; i < 16; ++i)
        p += 1 + *p;
    EXPECT_GE(SizeofResource(library, hBlock), (p - pLengths) * sizeof(WCHAR));
    EXPECT_EQ(ORVTEXT("last of its block"), Text(p - 17, p));
}

TEST(Resource, OtherFilesAreNotLoaded)
{
    const CTempDir dir;
    for (const std::size_t nSize : {0, 1000})
    {
        WriteBytes(dir / "text.txt", std::string(nSize, 'x'));
        const CTestResources text(dir / "text.txt");
        EXPECT_EQ(static_cast<DWORD>(ERROR_BAD_EXE_FORMAT), GetLastError()) << nSize;
        EXPECT_EQ(nullptr, text);
    }
    const CTestResources missing(dir / "missing");
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
    EXPECT_EQ(nullptr, missing);
}
