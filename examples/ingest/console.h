// The terminal: the progress bar, messages, and what would be too many of them.
#pragma once

#include "progress.h"

#include <cstddef>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>

class CConsole
{
public:
    CConsole(std::string sInput, std::uint64_t nInputSize)
        : m_sInput(std::move(sInput)), m_Progress(nInputSize)
    {
    }

    void ShowProgress(std::uint64_t nDone);
    void HideProgress();
    void Print(std::FILE* pFile, const std::string& sText);
    /// "ingest: …" on the error stream.
    void Say(const std::string& sText) { Print(stderr, "ingest: " + sText + '\n'); }
    /// The first ones only.
    void SayMalformed(std::size_t nLine, const std::string& sReason);
    /// The first of each kind only.
    void SayRefused(std::size_t nLine, const std::string& sKind, const std::string& sReason);
    /// How many there were of what was not shown each time.
    void SayCounts();

private:
    struct CKind
    {
        std::string m_sFirst;
        std::uint64_t m_nCount = 0;
    };
    std::string Place(std::size_t nLine) const { return m_sInput + ':' + std::to_string(nLine) + ": "; }

    const std::string m_sInput;
    std::mutex m_Mutex; // guards what follows and the streams
    CProgress m_Progress;
    std::uint64_t m_nMalformed = 0;
    std::map<std::string, CKind> m_Refused;
};
