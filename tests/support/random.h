// Random numbers whose seed is printed with every failure.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

class CTestRandom
{
public:
    explicit CTestRandom(std::uint32_t nSeed = std::random_device{}())
        : m_engine(nSeed), m_trace(__FILE__, __LINE__, "seed " + std::to_string(nSeed))
    {
    }

    unsigned operator()() { return static_cast<unsigned>(m_engine()); }
    /// From 0 to \p n, both included.
    unsigned UpTo(unsigned n) { return static_cast<unsigned>(m_engine() % (std::uint64_t{n} + 1)); }

private:
    std::mt19937 m_engine;
    testing::ScopedTrace m_trace;
};
