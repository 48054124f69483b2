#include "support/temp_dir.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <shlobj.h>

namespace
{

HANDLE Open(const Text& sPath)
{
    return CreateFileW(sPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// Opens, closes, and tells the last error of the opening.
DWORD ErrorOfOpening(const Text& sPath)
{
    const HANDLE hFile = Open(sPath);
    const DWORD dwError = GetLastError();
    if (hFile != INVALID_HANDLE_VALUE)
        CloseHandle(hFile);
    return dwError;
}

/// Writes at what is the end of the file at that moment.
void Append(HANDLE hFile, const std::string& sText)
{
    OVERLAPPED end{};
    end.Offset = end.OffsetHigh = 0xFFFFFFFF;
    DWORD nWritten = 0;
    EXPECT_TRUE(WriteFile(hFile, sText.data(), static_cast<DWORD>(sText.size()), &nWritten, &end));
    EXPECT_EQ(sText.size(), nWritten);
}

class File : public testing::Test
{
protected:
    CTempDir m_dir;
    const Text m_sDir = m_dir.Path().string<WCHAR>();
    const std::filesystem::path m_path = m_dir / ORVTEXT("na\u00EFve \u4E2D.txt");
    const Text m_sPath = m_path.string<WCHAR>();
};

} // namespace

TEST_F(File, OpeningTellsWhetherItExistedOrWhyItFailed)
{
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, ErrorOfOpening(m_sPath));
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, ErrorOfOpening(m_sPath));
    EXPECT_TRUE(std::filesystem::exists(m_path));
    EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, ErrorOfOpening(m_sDir + ORVTEXT("\\no\\file")));
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, ErrorOfOpening(m_sDir));
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, ErrorOfOpening(m_sDir + ORVTEXT("\\a.txt")));
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, ErrorOfOpening(m_sDir + ORVTEXT("/a.txt")));
}

// Two handles to one file, as two processes have them.
TEST_F(File, WritesAtTheEndWithoutOverwritingOthers)
{
    WriteBytes(m_path, "before ");
    const HANDLE hFirst = Open(m_sPath);
    const HANDLE hSecond = Open(m_sPath);
    Append(hFirst, "one ");
    Append(hSecond, "two ");
    Append(hFirst, "three");
    EXPECT_TRUE(FlushFileBuffers(hFirst));
    CloseHandle(hFirst);
    CloseHandle(hSecond);
    EXPECT_EQ("before one two three", ReadBytes(m_path));
}

TEST_F(File, PointerGoesBeyondFourGigabytes)
{
    WriteBytes(m_path, "1234567");
    const HANDLE hFile = Open(m_sPath);
    LONG nHigh = 3;
    EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(hFile, -1, &nHigh, FILE_BEGIN)) << "0x3FFFFFFFF";
    EXPECT_EQ(3, nHigh);
    EXPECT_EQ(DWORD{NO_ERROR}, GetLastError());
    nHigh = 0;
    EXPECT_EQ(7u, SetFilePointer(hFile, 0, &nHigh, FILE_END));
    EXPECT_EQ(0, nHigh);
    CloseHandle(hFile);
}

TEST(Folders, AreThereOrAbsolute)
{
    WCHAR buffer[MAX_PATH];
    EXPECT_LT(0u, GetTempPathW(MAX_PATH, buffer));
    EXPECT_TRUE(std::filesystem::is_directory(buffer));
    ASSERT_EQ(S_OK, SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, buffer));
    EXPECT_TRUE(std::filesystem::path(buffer).is_absolute());
}
