// The name of a log's thread.
#pragma once

/// Names the calling thread for a debugger and in the table of names, as long as it lives.
class CWriterName
{
public:
    CWriterName() noexcept;
    CWriterName(const CWriterName&) = delete;
    CWriterName& operator=(const CWriterName&) = delete;
    ~CWriterName();

private:
    unsigned m_nSlot; ///< 0: none
};
