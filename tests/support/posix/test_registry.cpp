#include "support/test_registry.h"

#include "support/test_environment.h"

namespace
{

// The test environment has given the program hive files of its own.
void RemoveHives()
{
    std::filesystem::remove(TestRoot() / "user.reg");
    std::filesystem::remove(TestRoot() / "machine.reg");
}

} // namespace

CTestRegistry::CTestRegistry()
{
    RemoveHives();
}

CTestRegistry::~CTestRegistry()
{
    RemoveHives();
}
