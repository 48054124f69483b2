#include "support/temp_dir.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <shlobj.h>

namespace
{

HANDLE Open(const Text& sPath, DWORD dwDisposition = OPEN_ALWAYS, DWORD dwAccess = GENERIC_WRITE)
{
    return CreateFileW(sPath.c_str(), dwAccess, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, dwDisposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// Opens, closes, and tells the last error of the opening.
DWORD ErrorOfOpening(const Text& sPath, DWORD dwDisposition = OPEN_ALWAYS)
{
    const HANDLE hFile = Open(sPath, dwDisposition);
    const DWORD dwError = GetLastError();
    const bool bOpened = dwError == ERROR_SUCCESS || dwError == ERROR_ALREADY_EXISTS;
    EXPECT_TRUE(bOpened ? CloseHandle(hFile) : hFile == INVALID_HANDLE_VALUE);
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
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, ErrorOfOpening(m_sPath, OPEN_EXISTING));
    EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, ErrorOfOpening(m_sDir + ORVTEXT("\\no\\file"), OPEN_EXISTING));
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, ErrorOfOpening(m_sPath));
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, ErrorOfOpening(m_sPath));
    WriteBytes(m_path, "kept");
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, ErrorOfOpening(m_sPath));
    EXPECT_EQ("kept", ReadBytes(m_path));
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, ErrorOfOpening(m_sPath, CREATE_ALWAYS));
    EXPECT_EQ("", ReadBytes(m_path));
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, ErrorOfOpening(m_sDir + ORVTEXT("\\new"), CREATE_ALWAYS));
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, ErrorOfOpening(m_sDir, CREATE_ALWAYS));
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

TEST_F(File, IsToldApartAndReadByAnotherHandle)
{
    const auto Index = [](HANDLE hFile) {
        BY_HANDLE_FILE_INFORMATION information{};
        EXPECT_TRUE(GetFileInformationByHandle(hFile, &information));
        EXPECT_EQ(7u, information.nFileSizeLow);
        CloseHandle(hFile);
        return ULONGLONG{information.nFileIndexHigh} << 32 | information.nFileIndexLow;
    };
    WriteBytes(m_path, "1234567");
    WriteBytes(m_dir / "other", "7654321");
    const HANDLE hFile = Open(m_sPath, OPEN_EXISTING, GENERIC_READ);
    EXPECT_EQ(DWORD{FILE_TYPE_DISK}, GetFileType(hFile));
    LONG nHigh = -1;
    EXPECT_EQ(5u, SetFilePointer(hFile, -2, &nHigh, FILE_END));
    char sText[8] = "";
    DWORD nRead = 0;
    EXPECT_TRUE(ReadFile(hFile, sText, 8, &nRead, nullptr));
    EXPECT_EQ("67", std::string(sText, nRead));
    const ULONGLONG nIndex = Index(hFile);
    EXPECT_EQ(nIndex, Index(Open(m_sPath, OPEN_EXISTING, 0)));
    EXPECT_NE(nIndex, Index(Open(m_sDir + ORVTEXT("\\other"), OPEN_EXISTING, 0)));
}

TEST_F(File, IsListedInItsFolderAndDeleted)
{
    WriteBytes(m_path, "12");
    std::filesystem::create_directory(m_dir / "sub");
    WIN32_FIND_DATAW found;
    const HANDLE hFind = FindFirstFileW((m_sDir + ORVTEXT("\\*")).c_str(), &found);
    ASSERT_NE(INVALID_HANDLE_VALUE, hFind);
    int nFiles = 0;
    do
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        {
            ++nFiles;
            EXPECT_EQ(m_path.filename().string<WCHAR>(), found.cFileName);
            EXPECT_EQ(2u, found.nFileSizeLow);
            EXPECT_LT(0u, found.ftLastWriteTime.dwHighDateTime);
        }
    while (FindNextFileW(hFind, &found));
    EXPECT_EQ(DWORD{ERROR_NO_MORE_FILES}, GetLastError());
    EXPECT_TRUE(FindClose(hFind));
    EXPECT_EQ(1, nFiles);
    EXPECT_TRUE(DeleteFileW(m_sPath.c_str()));
    EXPECT_FALSE(DeleteFileW(m_sPath.c_str()));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
}

TEST_F(File, FoldersAreMadeOneLevelAtATimeAndHaveALongPath)
{
    const Text sFolder = m_sDir + ORVTEXT("\\new folder"), sBelow = sFolder + ORVTEXT("\\below");
    WCHAR sLong[MAX_PATH] = {};
    EXPECT_EQ(0u, GetLongPathNameW(sFolder.c_str(), sLong, MAX_PATH));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
    EXPECT_FALSE(CreateDirectoryW(sBelow.c_str(), nullptr));
    EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, GetLastError());
    EXPECT_TRUE(CreateDirectoryW(sFolder.c_str(), nullptr));
    EXPECT_FALSE(CreateDirectoryW(sFolder.c_str(), nullptr));
    EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, GetLastError());
    const DWORD nLength = GetLongPathNameW(sFolder.c_str(), sLong, MAX_PATH);
    EXPECT_EQ(Text(sLong).size(), nLength);
    EXPECT_TRUE(std::filesystem::equivalent(m_dir / "new folder", sLong));
    EXPECT_EQ(nLength + 1, GetLongPathNameW(sFolder.c_str(), sLong, nLength)) << "the room it needs";
}

TEST(Folders, AreThereOrAbsolute)
{
    WCHAR buffer[MAX_PATH];
    EXPECT_LT(0u, GetTempPathW(MAX_PATH, buffer));
    EXPECT_TRUE(std::filesystem::is_directory(buffer));
    ASSERT_EQ(S_OK, SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, buffer));
    EXPECT_TRUE(std::filesystem::path(buffer).is_absolute());
    DWORD nLength = GetFullPathNameW(ORVTEXT("./sub\\name"), MAX_PATH, buffer, nullptr);
    EXPECT_EQ(Text(buffer).size(), nLength);
    EXPECT_EQ(std::filesystem::current_path() / "sub" / "name", std::filesystem::path(buffer));
    EXPECT_EQ(nLength + 1, GetFullPathNameW(ORVTEXT("sub/name"), nLength, buffer, nullptr));
}
