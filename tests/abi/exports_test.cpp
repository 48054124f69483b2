// What the built library offers to the loader: the listed plain functions by their bare names, the classes
// and overloaded functions by their C++ names, and nothing else.
#include "abi/loaded_library.h"

#include <gtest/gtest.h>

#include <regex>

TEST(Exports, AreTheListedFunctionsAndOurOwnCppNames)
{
    static const std::set<std::string> listed = {
#include "listed_names.inc"
    };
    // A function template of another library, compiled into ours, would become part of the interface unseen.
    static const std::regex foreign("_Z(T[ISV]|GV)?Z?N?K?(S[a-z]|9__gnu_cxx|[0-9]icu|7testing).*");
    const CLoadedLibrary library(ORV_LIBRARY_FILE);
    std::set<std::string> bare;
    for (const auto& sName : library.ExportedNames())
    {
        // The loader searches the table by halves: a name can stand in it and still not be found.
        EXPECT_TRUE(library.Resolves(sName)) << sName;
        EXPECT_FALSE(std::regex_match(sName, foreign)) << sName;
        if (!sName.starts_with("_Z"))
            bare.insert(sName);
    }
    EXPECT_EQ(listed, bare);
    // Members and type information, by the names that all our compilers give them.
    for (const char* sName : {"_ZN7COrvStr5EmptyEv", "_ZTI9CLQExcept", "_ZTV9CLQExcept"})
        EXPECT_TRUE(library.Resolves(sName)) << sName;
}
