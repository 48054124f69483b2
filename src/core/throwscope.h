// What a thread keeps in mind while it throws.
#pragma once

#include <utility>

namespace OCT
{

/// This thread announces no exception: it announces one already, or its throwing is nobody's business.
extern constinit thread_local bool t_bThrowsQuietly;

/// Sets such a flag for a scope.
class CFlagScope
{
public:
    explicit CFlagScope(bool& bFlag) noexcept : m_bFlag(bFlag), m_bFormer(std::exchange(bFlag, true)) {}
    CFlagScope(const CFlagScope&) = delete;
    CFlagScope& operator=(const CFlagScope&) = delete;
    ~CFlagScope() { m_bFlag = m_bFormer; }

private:
    bool& m_bFlag;
    bool m_bFormer;
};

} // namespace OCT
