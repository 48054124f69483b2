// A registry key as the tool uses it; failures are exceptions.
#pragma once

#include "commands.h"

#include "orvcomtypes/regkeyw.h"

#include <memory>
#include <optional>
#include <stdexcept>

/// A failure with the result that the tool ends with.
class CToolError : public std::runtime_error
{
public:
    CToolError(ToolResult result, const std::string& sText) : std::runtime_error(sText), m_result(result) {}
    ToolResult m_result;
};

struct CScope
{
    HKEY m_hHive;
    const char* m_sName;     ///< "user" or "machine"
    const char* m_sHiveName; ///< as registry texts write it
};

extern const CScope g_userScope;
extern const CScope g_machineScope;

struct CStoredValue
{
    CText m_sName;
    DWORD m_dwType = REG_NONE;
    std::vector<BYTE> m_data;
};

class CToolKey
{
public:
    /// Nothing when there is no such key.
    static std::optional<CToolKey> Open(const CScope& scope, const CText& sPath);
    static CToolKey Create(const CScope& scope, const CText& sPath);

    std::optional<CStoredValue> Query(const CText& sName) const;
    std::vector<CStoredValue> Values() const;
    std::vector<CText> Children() const;
    void Set(const CStoredValue& value) const;
    /// False when there is no such value.
    bool Delete(const CText& sName) const;

private:
    CToolKey(const CScope& scope, const CText& sPath) : m_pScope(&scope), m_sPath(sPath) {}
    void Check(LSTATUS lStatus) const;

    const CScope* m_pScope;
    CText m_sPath;
    std::unique_ptr<CRegKeyW> m_pKey;
};

/// Deletes a key and everything below it; false when there is none.
bool DeleteTree(const CScope& scope, const CText& sPath);

/// UTF-8 of any 16-bit text.
std::string Utf8(const CText& sText);
