#include "support/denied.h"

#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr uid_t kNobody = 65534;

} // namespace

// To the superuser nothing is denied: the process is somebody else meanwhile.
CDeniedFile::CDeniedFile(const std::filesystem::path& file) : m_file(file), m_nFormer(geteuid())
{
    chmod(m_file.c_str(), 0444);
    if (m_nFormer == 0 && seteuid(kNobody) != 0)
        m_nFormer = -1;
}

CDeniedFile::~CDeniedFile()
{
    if (m_nFormer == 0) [[maybe_unused]]
        const int nResult = seteuid(0);
    chmod(m_file.c_str(), 0644);
}
