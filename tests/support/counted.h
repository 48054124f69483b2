// An element type that shows every wrong lifetime: it counts itself, owns memory (so a sanitizer sees what is
// lost or freed twice) and can be made to throw.
#pragma once

#include <memory>
#include <stdexcept>

class CCounted
{
public:
    CCounted() : m_pValue(Make(0)) {}
    CCounted(int iValue) : m_pValue(Make(iValue)) {}
    CCounted(const CCounted& other) : m_pValue(Make(*other.m_pValue)) {}
    CCounted& operator=(const CCounted& other)
    {
        Burn();
        if (this != &other)
            *m_pValue = *other.m_pValue;
        return *this;
    }
    ~CCounted() { --s_nAlive; }

    operator int() const { return *m_pValue; }

    inline static int s_nAlive = 0;
    /// The construction or assignment with this number, counted from 1, throws; 0: none.
    inline static int s_nFuse = 0;

private:
    static void Burn()
    {
        if (s_nFuse > 0 && --s_nFuse == 0)
            throw std::runtime_error("fuse");
    }
    static std::unique_ptr<int> Make(int iValue)
    {
        Burn();
        ++s_nAlive;
        return std::make_unique<int>(iValue);
    }

    std::unique_ptr<int> m_pValue; // one pointer: moving its bytes moves it
};
