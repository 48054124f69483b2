// The programs that the guides show: each is a function here, so that one program holds them all and runs the
// one that its command line names.
#include <cstdio>
#include <string_view>

namespace
{

struct CProgram
{
    std::string_view m_sName;
    void (*m_pMain)();
};

} // namespace

#include "programs.inc"

int main(int argc, char** argv)
{
    for (const CProgram& program : c_programs)
        if (argc == 2 && program.m_sName == argv[1])
            return program.m_pMain(), 0;
    std::puts("which program?");
    return 1;
}
