#include <gtest/gtest.h>

#include <windows.h>
#include <shlobj.h>

#include "orvcomtypes/orvexport.h"
#include "support/temp_dir.h"

#include <string>

namespace
{

using Text = std::basic_string<WCHAR>;

Text ToText(const std::filesystem::path& path)
{
    const auto sText = path.u16string();
    return Text(sText.begin(), sText.end());
}

HANDLE Open(const Text& sPath, DWORD dwDisposition, DWORD dwAccess = GENERIC_READ | GENERIC_WRITE)
{
    return CreateFileW(sPath.c_str(), dwAccess, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, dwDisposition,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Opens, closes, and tells the last error of the opening.
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
    const std::filesystem::path m_path = m_dir / ORVTEXT("na\u00EFve \u4E2D.txt");
    const Text m_sPath = ToText(m_path);
};

} // namespace

TEST_F(File, DispositionsTellWhetherItExisted)
{
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), ErrorOfOpening(m_sPath, OPEN_EXISTING));
    EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), ErrorOfOpening(m_sPath, OPEN_ALWAYS));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), ErrorOfOpening(m_sPath, OPEN_ALWAYS));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_EXISTS), ErrorOfOpening(m_sPath, CREATE_NEW));
    WriteBytes(m_path, "old");
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), ErrorOfOpening(m_sPath, CREATE_ALWAYS));
    EXPECT_EQ("", ReadBytes(m_path));
    EXPECT_TRUE(std::filesystem::exists(m_path));
}

TEST_F(File, OpeningFailsAsTheCauseIs)
{
    EXPECT_EQ(static_cast<DWORD>(ERROR_PATH_NOT_FOUND),
              ErrorOfOpening(ToText(m_dir / "no" / "file"), OPEN_ALWAYS));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), ErrorOfOpening(ToText(m_dir.Path()), OPEN_EXISTING));
}

TEST_F(File, EitherSeparatorNamesTheSameFile)
{
    const Text sFolder = ToText(m_dir.Path());
    const HANDLE hFile = Open(sFolder + ORVTEXT("\\a.txt"), CREATE_NEW);
    ASSERT_NE(INVALID_HANDLE_VALUE, hFile);
    CloseHandle(hFile);
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS),
              ErrorOfOpening(sFolder + ORVTEXT("/a.txt"), OPEN_ALWAYS));
}

TEST_F(File, WritesWhereThePointerStands)
{
    const HANDLE hFile = Open(m_sPath, OPEN_ALWAYS);
    Write(hFile, "0123456789");
    EXPECT_EQ(4u, SetFilePointer(hFile, -6, nullptr, FILE_END));
    Write(hFile, "ab");
    EXPECT_EQ(5u, SetFilePointer(hFile, -1, nullptr, FILE_CURRENT));
    EXPECT_TRUE(FlushFileBuffers(hFile));
    CloseHandle(hFile);
    EXPECT_EQ("0123ab6789", ReadBytes(m_path));
}

TEST_F(File, FilePointerGoesBeyondFourGigabytes)
{
    const HANDLE hFile = Open(m_sPath, OPEN_ALWAYS);
    LONG nHigh = 3;
    EXPECT_EQ(0x80000000u, SetFilePointer(hFile, static_cast<LONG>(0x80000000u), &nHigh, FILE_BEGIN));
    EXPECT_EQ(3, nHigh);
    nHigh = 0;
    EXPECT_EQ(0x80000001u, SetFilePointer(hFile, 1, &nHigh, FILE_CURRENT));
    EXPECT_EQ(3, nHigh);
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(hFile, -1, nullptr, FILE_BEGIN));
    EXPECT_NE(static_cast<DWORD>(ERROR_SUCCESS), GetLastError());
    CloseHandle(hFile);
}

// Two handles to one file, as two processes have them: offset -1 is the end as it is at that moment.
TEST_F(File, WritesAtTheEndWithoutOverwritingOthers)
{
    const HANDLE hFirst = Open(m_sPath, OPEN_ALWAYS, GENERIC_WRITE);
    const HANDLE hSecond = Open(m_sPath, OPEN_ALWAYS, GENERIC_WRITE);
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
    const Text sDir = ToText(m_dir.Path()) + ORVTEXT("\\sub");
    EXPECT_FALSE(CreateDirectoryW((sDir + ORVTEXT("\\deep")).c_str(), nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_PATH_NOT_FOUND), GetLastError());
    EXPECT_TRUE(CreateDirectoryW(sDir.c_str(), nullptr));
    EXPECT_FALSE(CreateDirectoryW(sDir.c_str(), nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError());
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

TEST(Folders, TempPathEndsInASeparatorAndExists)
{
    WCHAR buffer[MAX_PATH];
    const DWORD nLength = GetTempPathW(MAX_PATH, buffer);
    ASSERT_GT(nLength, 0u);
    ASSERT_LT(nLength, static_cast<DWORD>(MAX_PATH));
    EXPECT_TRUE(buffer[nLength - 1] == '\\' || buffer[nLength - 1] == '/');
    EXPECT_TRUE(std::filesystem::is_directory(buffer));
    EXPECT_EQ(nLength + 1, GetTempPathW(2, buffer));
}

TEST(Folders, UserDataIsAnAbsoluteFolder)
{
    WCHAR buffer[MAX_PATH];
    ASSERT_EQ(S_OK, SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, buffer));
    EXPECT_TRUE(std::filesystem::path(buffer).is_absolute());
}
