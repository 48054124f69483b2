// What the built library offers to the loader: the listed plain functions by their bare names, the classes
// and overloaded functions by their C++ names, and nothing else.
#include "abi/loaded_library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <regex>

namespace
{
const std::set<std::string> kListed = {
#include "listed_names.inc"
};

bool IsCppName(const std::string& sName)
{
    return sName.starts_with("_Z");
}

class Exports : public ::testing::Test
{
protected:
    std::set<std::string> NamesWhere(bool (*pPredicate)(const std::string&)) const
    {
        const auto names = m_library.ExportedNames();
        std::set<std::string> chosen;
        std::copy_if(names.begin(), names.end(), std::inserter(chosen, chosen.end()), pPredicate);
        return chosen;
    }

    CLoadedLibrary m_library{ORV_LIBRARY_FILE};
};
} // namespace

TEST_F(Exports, BareNamesAreTheListedOnes)
{
    EXPECT_EQ(kListed, NamesWhere([](const std::string& sName) { return !IsCppName(sName); }));
}

// The loader searches the table by halves: a name can stand in it and still not be found.
TEST_F(Exports, TheLoaderFindsEveryName)
{
    for (const auto& sName : m_library.ExportedNames())
        EXPECT_TRUE(m_library.Resolves(sName)) << sName;
}

// Members and type information, by the names that all our compilers give them.
TEST_F(Exports, ClassesHaveTheirMembers)
{
    const char* names[] = {"_ZN7COrvStr5EmptyEv", "_ZTI9CLQExcept", "_ZTV9CLQExcept"};
    for (const char* sName : names)
        EXPECT_TRUE(m_library.Resolves(sName)) << sName;
}

// A function template of another library, compiled into ours, would become part of the interface unseen.
TEST_F(Exports, NoForeignCppNames)
{
    static const std::regex foreign("_Z(T[ISV]|GV)?Z?N?K?(S[a-z]|9__gnu_cxx|[0-9]icu|7testing).*");
    for (const auto& sName : NamesWhere(IsCppName))
        EXPECT_FALSE(std::regex_match(sName, foreign)) << sName;
}
