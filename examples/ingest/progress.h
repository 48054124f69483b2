// A progress bar on the terminal; silent elsewhere.
#pragma once

#include <cstdint>

class CProgress
{
public:
    explicit CProgress(std::uint64_t nTotal);
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    /// Shows \p nDone of the total; draws only when the percentage changed.
    void Show(std::uint64_t nDone);

    /// Removes the bar's line, so that a message can be written.
    void Hide();

private:
    std::uint64_t m_nTotal;
    int m_iShown = -1;
    bool m_bTerminal;
};
