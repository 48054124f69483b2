// The resource library built from tests/resources/test_strings.rc.
#pragma once

#include "orvcomtypes/resourcehandler.h"
#include "support/test_environment.h"

#include <gtest/gtest.h>

#include <windows.h>

/// Loads a resource library for the lifetime of the object; null, and the last error, when that fails.
class CTestResources
{
public:
    explicit CTestResources(const std::filesystem::path& path = TestProgram().parent_path() /
                                                                ORV_TEST_STRINGS)
        : m_hModule(LoadLibraryExW(path.string<WCHAR>().c_str(), nullptr,
                                   LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE))
    {
    }
    CTestResources(const CTestResources&) = delete;
    CTestResources& operator=(const CTestResources&) = delete;
    ~CTestResources() { EXPECT_TRUE(m_hModule == nullptr || FreeLibrary(m_hModule)); }

    operator HMODULE() const { return m_hModule; }

private:
    HMODULE m_hModule;
};

/// The same as the library of the current language.
class CCurrentTestResources : public CTestResources
{
public:
    CCurrentTestResources() { CResourceHandler::SetHandle(*this); }
    ~CCurrentTestResources() { CResourceHandler::DestroyGlobal(); }
};
