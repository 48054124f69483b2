#include "support/temp_dir.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <shlobj.h>

namespace
{

HANDLE Open(const Text& sPath, DWORD dwDisposition)
{
    return CreateFileW(sPath.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       nullptr, dwDisposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// Opens, closes, and tells the last error of the opening.
DWORD ErrorOfOpening(const Text& sPath, DWORD dwDisposition)
{
    const HANDLE hFile = Open(sPath, dwDisposition);
    const DWORD dwError = GetLastError();
    if (hFile != INVALID_HANDLE_VALUE)
        CloseHandle(hFile);
    return dwError;
}

void Write(HANDLE hFile, const std::string& sText, LPOVERLAPPED pOverlapped = nullptr)
{
    DWORD nWritten = 0;
    EXPECT_TRUE(WriteFile(hFile, sText.data(), static_cast<DWORD>(sText.size()), &nWritten, pOverlapped));
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
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, ErrorOfOpening(m_sPath, OPEN_EXISTING));
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, ErrorOfOpening(m_sPath, OPEN_ALWAYS));
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, ErrorOfOpening(m_sPath, OPEN_ALWAYS));
    EXPECT_EQ(DWORD{ERROR_FILE_EXISTS}, ErrorOfOpening(m_sPath, CREATE_NEW));
    WriteBytes(m_path, "old");
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, ErrorOfOpening(m_sPath, CREATE_ALWAYS));
    EXPECT_EQ(0u, std::filesystem::file_size(m_path));
    EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, ErrorOfOpening(m_sDir + ORVTEXT("\\no\\file"), OPEN_ALWAYS));
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, ErrorOfOpening(m_sDir, OPEN_EXISTING));
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, ErrorOfOpening(m_sDir + ORVTEXT("\\a.txt"), CREATE_NEW));
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, ErrorOfOpening(m_sDir + ORVTEXT("/a.txt"), OPEN_ALWAYS));
}

TEST_F(File, WritesWhereThePointerStands)
{
    const HANDLE hFile = Open(m_sPath, OPEN_ALWAYS);
    Write(hFile, "0123456789");
    EXPECT_EQ(4u, SetFilePointer(hFile, -6, nullptr, FILE_END));
    Write(hFile, "ab");
    EXPECT_EQ(5u, SetFilePointer(hFile, -1, nullptr, FILE_CURRENT));
    EXPECT_TRUE(FlushFileBuffers(hFile));
    EXPECT_EQ("0123ab6789", ReadBytes(m_path));

    LONG nHigh = 3; // in 4 GB
    EXPECT_EQ(0x80000000u, SetFilePointer(hFile, static_cast<LONG>(0x80000000u), &nHigh, FILE_BEGIN));
    nHigh = 0;
    EXPECT_EQ(0x80000001u, SetFilePointer(hFile, 1, &nHigh, FILE_CURRENT));
    EXPECT_EQ(3, nHigh);
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(hFile, -1, nullptr, FILE_BEGIN));
    EXPECT_NE(DWORD{ERROR_SUCCESS}, GetLastError());
    CloseHandle(hFile);
}

// Two handles to one file, as two processes have them: offset -1 is the end as it is at that moment.
TEST_F(File, WritesAtTheEndWithoutOverwritingOthers)
{
    const HANDLE hFirst = Open(m_sPath, OPEN_ALWAYS);
    const HANDLE hSecond = Open(m_sPath, OPEN_ALWAYS);
    OVERLAPPED end{};
    end.Offset = end.OffsetHigh = 0xFFFFFFFF;
    Write(hFirst, "one ", &end);
    Write(hSecond, "two ", &end);
    Write(hFirst, "three", &end);
    CloseHandle(hFirst);
    CloseHandle(hSecond);
    EXPECT_EQ("one two three", ReadBytes(m_path));
}

TEST_F(File, DirectoriesAreMadeOneLevelAtATime)
{
    const Text sDir = m_sDir + ORVTEXT("\\sub");
    EXPECT_FALSE(CreateDirectoryW((sDir + ORVTEXT("\\deep")).c_str(), nullptr));
    EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, GetLastError());
    EXPECT_TRUE(CreateDirectoryW(sDir.c_str(), nullptr));
    EXPECT_FALSE(CreateDirectoryW(sDir.c_str(), nullptr));
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, GetLastError());
    EXPECT_TRUE(std::filesystem::is_directory(m_dir / "sub"));
}

TEST_F(File, LongPathIsThatOfWhatExists)
{
    WCHAR buffer[MAX_PATH];
    EXPECT_EQ(0u, GetLongPathNameW(m_sPath.c_str(), buffer, MAX_PATH));
    WriteBytes(m_path, "");
    EXPECT_EQ(m_sPath.size(), GetLongPathNameW(m_sPath.c_str(), buffer, MAX_PATH));
    EXPECT_EQ(m_sPath, buffer);
    EXPECT_EQ(m_sPath.size() + 1, GetLongPathNameW(m_sPath.c_str(), buffer, 3));
}

TEST(Folders, AreAbsolute)
{
    WCHAR buffer[MAX_PATH];
    const DWORD nLength = GetTempPathW(MAX_PATH, buffer);
    EXPECT_EQ(TextOf(buffer).size(), nLength);
    EXPECT_TRUE(TextOf(buffer).ends_with('\\') || TextOf(buffer).ends_with('/'));
    EXPECT_TRUE(std::filesystem::is_directory(buffer));
    EXPECT_EQ(nLength + 1, GetTempPathW(2, buffer));
    ASSERT_EQ(S_OK, SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, buffer));
    EXPECT_TRUE(std::filesystem::path(buffer).is_absolute());
}
