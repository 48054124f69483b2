// The resource library built from tests/resources/test_strings.rc.
#pragma once

#include "orvcomtypes/resourcehandler.h"
#include "resourcesuffix.h"
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <windows.h>

/// A file beside the test programs: the library \p sName without its suffix.
inline std::filesystem::path LibraryFile(const Text& sName)
{
    return TestProgram().parent_path() / (sName + kPortResourceSuffix);
}

/// Loads a resource library for the lifetime of the object; null, and the last error, when that fails.
class CTestResources
{
public:
    explicit CTestResources(const std::filesystem::path& path = LibraryFile(ORVTEXT("test_strings.en")))
        : m_hModule(LoadLibraryExW(path.string<WCHAR>().c_str(), nullptr,
                                   LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE))
    {
    }
    CTestResources(CTestResources&&) = delete;
    ~CTestResources() { EXPECT_TRUE(m_hModule == nullptr || FreeLibrary(m_hModule)); }

    operator HMODULE() const { return m_hModule; }

private:
    HMODULE m_hModule;
};

/// The same library as the process's language, and no language afterwards.
class CCurrentTestResources
{
public:
    CCurrentTestResources()
    {
        CResourceHandler::SetOwner(nullptr, ORVTEXT("test_strings"), 1, 0);
        EXPECT_TRUE(CResourceHandler::SetLanguage(ORVTEXT("en")));
    }
    CCurrentTestResources(CCurrentTestResources&&) = delete;
    ~CCurrentTestResources() { CResourceHandler::DestroyGlobal(); }
};
