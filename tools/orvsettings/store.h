// The registry as the tool uses it: whole keys are read, and changes made together. Each side has its own.
#pragma once

#include "commands.h"

#include <windows.h>

#include <array>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/// A failure with the result that the tool ends with.
class CToolError : public std::runtime_error
{
public:
    CToolError(ToolResult result, const std::string& sText) : std::runtime_error(sText), m_result(result) {}
    ToolResult m_result;
};

struct CScope
{
    unsigned m_nHive;
    const char* m_sName;     ///< "user" or "machine"
    const char* m_sHiveName; ///< as registry texts write it
};

inline constexpr CScope kUserScope = {0, "user", "HKEY_CURRENT_USER"};
inline constexpr CScope kMachineScope = {1, "machine", "HKEY_LOCAL_MACHINE"};

struct CStoredValue
{
    CText m_sName;
    DWORD m_dwType = REG_NONE;
    std::vector<BYTE> m_data = {};
};

struct CStoredKey
{
    std::vector<CStoredValue> m_values;
    std::vector<CText> m_children; ///< in the order of their names
};

/// One step of a change. Paths are below the hive; a value's key is made where it is missing.
struct CChange
{
    enum Kind
    {
        eCreateKey,
        eDeleteKey, ///< with everything below it
        eSetValue,
        eDeleteValue
    };

    Kind m_eKind;
    const CScope* m_pScope;
    CText m_sPath;
    CStoredValue m_value = {}; ///< only its name matters where it is deleted
};

/// A line that is not understood.
struct CBadLine
{
    unsigned m_nLine;
    CText m_sText;
    std::string m_sFault;
};

/// What a hive is kept in.
struct CHiveState
{
    std::string m_sPlace; ///< the file, or the name of the system's hive
    bool m_bThere = true;
    std::string m_sFault; ///< why it cannot be read
    std::vector<CBadLine> m_badLines = {};
};

/// Failures are CToolError and name the place.
class CStore
{
public:
    CStore();
    CStore(const CStore&) = delete;
    CStore& operator=(const CStore&) = delete;
    ~CStore();

    CHiveState State(const CScope& scope);
    std::optional<CStoredKey> ReadKey(const CScope& scope, const CText& sPath);
    std::optional<CStoredValue> ReadValue(const CScope& scope, const CText& sPath, const CText& sName);

    /// Where hives are files, all or nothing; on Windows one after the other up to the first that fails.
    void Apply(const std::vector<CChange>& changes, const ToolProgress& progress);

private:
    struct CHive;
    CHive& Hive(const CScope& scope);

    std::array<std::unique_ptr<CHive>, 2> m_apHives;
};

/// "access denied (5)".
std::string StatusText(LSTATUS lStatus);
