// What a fuzzer starts from, and what it has found, as an ordinary test of every target. Linked with each
// fuzzer; the build names it and its corpus.
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize);

TEST(ORV_FUZZER, CorpusReplays)
{
    int iFiles = 0;
    for (const auto& file : std::filesystem::directory_iterator(ORV_FUZZ_CORPUS))
    {
        SCOPED_TRACE(file.path().string());
        const std::string sData = ReadBytes(file.path());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(sData.data()), sData.size());
        ++iFiles;
    }
    EXPECT_GT(iFiles, 0);
}
