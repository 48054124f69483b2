#include "support/temp_dir.h"
#include "support/test_strings.h"
#include "support/text.h"

#include <gtest/gtest.h>

TEST(Resource, BlocksAreFoundByNumber)
{
    const CTestResources library;
    ASSERT_NE(nullptr, library);
    const HRSRC hBlock = FindResourceW(library, MAKEINTRESOURCEW(1), RT_STRING);
    ASSERT_NE(nullptr, hBlock);
    // Sixteen texts behind their lengths: ids 1, 7 and 15.
    const Text expected(
        TextView(ORVTEXT("\0\5first\0\0\0\0\0\5seven\0\0\0\0\0\0\0\x11last of its block"), 43));
    const DWORD nBytes = SizeofResource(library, hBlock);
    ASSERT_GE(nBytes, expected.size() * sizeof(WCHAR));
    const auto* const pText = static_cast<const WCHAR*>(LockResource(LoadResource(library, hBlock)));
    EXPECT_EQ(expected, TextView(pText, expected.size()));
}

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

TEST(Resource, OtherFilesAreNotLoaded)
{
    const CTempDir dir;
    WriteBytes(dir / "text.txt", std::string(1000, 'x'));
    const CTestResources text(dir / "text.txt");
    EXPECT_EQ(static_cast<DWORD>(ERROR_BAD_EXE_FORMAT), GetLastError());
    EXPECT_EQ(nullptr, text);
    const CTestResources missing(dir / "missing");
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
    EXPECT_EQ(nullptr, missing);
}
