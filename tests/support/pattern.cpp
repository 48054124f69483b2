#include "support/pattern.h"

#include <map>
#include <mutex>
#include <regex>

namespace
{

const std::regex& Compiled(const char* sPattern)
{
    static std::mutex s_mutex;
    static std::map<std::string, std::regex> s_patterns;
    const std::lock_guard lock(s_mutex);
    return s_patterns.try_emplace(sPattern, sPattern).first->second;
}

} // namespace

bool Fits(const std::string& sText, const char* sPattern)
{
    return std::regex_match(sText, Compiled(sPattern));
}

bool Contains(const std::string& sText, const char* sPattern)
{
    return std::regex_search(sText, Compiled(sPattern));
}

std::string Replaced(const std::string& sText, const char* sPattern, const char* sWith)
{
    return std::regex_replace(sText, Compiled(sPattern), sWith);
}

std::vector<std::vector<std::string>> PartsThatFit(const std::string& sText, const char* sPattern)
{
    std::vector<std::vector<std::string>> parts;
    for (std::sregex_iterator i(sText.begin(), sText.end(), Compiled(sPattern)), end; i != end; ++i)
        parts.emplace_back(i->begin(), i->end());
    return parts;
}
