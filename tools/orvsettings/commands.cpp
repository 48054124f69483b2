#include "commands.h"

#include "registry/registrytext.h"
#include "registrykey.h"
#include "valuetext.h"

#include "orvcomtypes/lqsettings.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace
{

constexpr const char* g_sUsage =
    "usage: orvsettings [--user | --machine] COMMAND\n"
    "\n"
    "  get KEY NAME                  print a value, on the error stream its scope\n"
    "  set KEY NAME VALUE            store text\n"
    "  set --type TYPE KEY NAME VALUE\n"
    "                                store sz, expand, dword, qword, binary, none,\n"
    "                                or multi (any number of VALUEs)\n"
    "  delete KEY NAME               delete a value\n"
    "  delete --tree KEY             delete a key and everything below it\n"
    "  list [KEY]                    print the values and keys below a key\n"
    "  export [--output FILE] [KEY]  write a key and everything below it as a\n"
    "                                registry file\n"
    "  import FILE                   store, and delete, what a registry file says\n"
    "\n"
    "KEY is below the settings root, '.' the root itself; with a backslash in front\n"
    "it is below the hive. NAME '@' is the key's default value. Words behind '--'\n"
    "are no options.\n"
    "\n"
    "Without a scope, get and list look at the user's settings, then at the\n"
    "machine's; import works on the hives that the file names, all others on the\n"
    "user's. A registry file on the standard output is UTF-8, with --output it is\n"
    "UTF-16. Numbers are decimal, or hexadecimal behind 0x; bytes are hexadecimal.\n"
    "\n"
    "exit status: 0 done, 1 not found, 2 wrong usage, 3 failed,\n"
    "             4 imported except for some lines\n";

CToolError UsageError(const std::string& sText)
{
    return CToolError(eBadUsage, sText + "; 'orvsettings --help' explains the usage");
}

/// A path without needless backslashes, as registry texts have it.
CText CleanPath(const CText& sPath)
{
    CText sClean;
    for (const WCHAR c : sPath)
        if (c != '\\' || (!sClean.empty() && sClean.back() != '\\'))
            sClean.push_back(c);
    if (sClean.ends_with(WCHAR('\\')))
        sClean.pop_back();
    return sClean;
}

/// Text in one piece of a line.
std::string OneLine(std::string s)
{
    std::replace_if(
        s.begin(), s.end(), [](char c) { return c >= 0 && c < ' '; }, '|');
    return s;
}

/// The failure of a file, with the reason that the system gave last.
CToolError FileError(ToolResult result, const char* sWhat, const CText& sFile)
{
    return CToolError(result, sWhat + Utf8(sFile) + ": " + std::generic_category().message(errno));
}

std::string ReadFile(const CText& sFile)
{
    std::ifstream file(std::filesystem::path(sFile), std::ios::binary);
    std::string sBytes;
    char buffer[65536];
    while (file.read(buffer, sizeof buffer), file.gcount() > 0)
        sBytes.append(buffer, static_cast<std::size_t>(file.gcount()));
    if (!file.is_open() || file.bad())
        throw FileError(errno == ENOENT ? eNotFound : eFailed, "cannot read ", sFile);
    return sBytes;
}

void WriteFile(const CText& sFile, const std::string& sBytes)
{
    std::ofstream file(std::filesystem::path(sFile), std::ios::binary);
    if (!file.write(sBytes.data(), static_cast<std::streamsize>(sBytes.size())).flush())
        throw FileError(eFailed, "cannot write ", sFile);
}

struct COptions
{
    const CScope* m_pScope = nullptr;
    std::string m_sType = "sz";
    CText m_sOutput;
    bool m_bTree = false;
    bool m_bHelp = false;
};

class CTool
{
public:
    CTool(const std::vector<CText>& args, std::string& sOutput, std::string& sErrors);
    ToolResult Run();

private:
    using Command = ToolResult (CTool::*)();

    void ReadOption(const CText& sOption, const std::vector<CText>& args, std::size_t& i);
    const CText& Word(std::size_t i, const char* sWhat) const;
    void NoMoreThan(std::size_t nWords) const;
    CText Path() const;
    CText ValueName() const;
    std::vector<const CScope*> ReadScopes() const;
    const CScope& WriteScope() const
    {
        return m_options.m_pScope == nullptr ? g_userScope : *m_options.m_pScope;
    }

    ToolResult Get();
    ToolResult Set();
    ToolResult Delete();
    ToolResult List();
    ToolResult Export();
    ToolResult Import();
    void ListScope(const CScope& scope, const CToolKey& key);
    bool ImportItem(const OrvPort::CRegTextItem& item, std::optional<CToolKey>& key);
    static void AppendExport(const CScope& scope, const CText& sPath, const CToolKey& key, CText& sText);

    COptions m_options;
    std::vector<CText> m_words;
    std::string& m_sOutput;
    std::string& m_sErrors;
};

CTool::CTool(const std::vector<CText>& args, std::string& sOutput, std::string& sErrors)
    : m_sOutput(sOutput), m_sErrors(sErrors)
{
    bool bOptions = true;
    for (std::size_t i = 0; i < args.size(); ++i)
    {
        // "--" ends the options, for values that begin with dashes.
        if (bOptions && args[i] == ORVTEXT("--"))
            bOptions = false;
        else if (bOptions && args[i].starts_with(ORVTEXT("--")))
            ReadOption(args[i], args, i);
        else
            m_words.push_back(args[i]);
    }
}

void CTool::ReadOption(const CText& sOption, const std::vector<CText>& args, std::size_t& i)
{
    const auto argument = [&]() -> const CText& {
        if (i + 1 == args.size())
            throw UsageError(Utf8(sOption) + " needs an argument");
        return args[++i];
    };
    if (sOption == ORVTEXT("--user"))
        m_options.m_pScope = &g_userScope;
    else if (sOption == ORVTEXT("--machine"))
        m_options.m_pScope = &g_machineScope;
    else if (sOption == ORVTEXT("--type"))
        m_options.m_sType = Utf8(argument());
    else if (sOption == ORVTEXT("--output"))
        m_options.m_sOutput = argument();
    else if (sOption == ORVTEXT("--tree"))
        m_options.m_bTree = true;
    else if (sOption == ORVTEXT("--help"))
        m_options.m_bHelp = true;
    else
        throw UsageError("unknown option '" + Utf8(sOption) + "'");
}

ToolResult CTool::Run()
{
    static const struct
    {
        const WCHAR* m_sName;
        Command m_command;
    } s_commands[] = {{ORVTEXT("get"), &CTool::Get},       {ORVTEXT("set"), &CTool::Set},
                      {ORVTEXT("delete"), &CTool::Delete}, {ORVTEXT("list"), &CTool::List},
                      {ORVTEXT("export"), &CTool::Export}, {ORVTEXT("import"), &CTool::Import}};
    if (m_options.m_bHelp)
    {
        m_sOutput = g_sUsage;
        return eDone;
    }
    const CText& sCommand = Word(0, "a command");
    for (const auto& command : s_commands)
        if (sCommand == command.m_sName)
            return (this->*command.m_command)();
    throw UsageError("unknown command '" + Utf8(sCommand) + "'");
}

const CText& CTool::Word(std::size_t i, const char* sWhat) const
{
    if (i >= m_words.size())
        throw UsageError(std::string(sWhat) + " is missing");
    return m_words[i];
}

void CTool::NoMoreThan(std::size_t nWords) const
{
    if (m_words.size() > nWords)
        throw UsageError("too many arguments");
}

/// The path below the hive that the second word names.
CText CTool::Path() const
{
    const CText sRoot(GetLQSettingsRootStr());
    if (m_words.size() < 2 || m_words[1] == ORVTEXT("."))
        return sRoot;
    const CText& sKey = m_words[1];
    if (sKey.empty())
        throw UsageError("a key is empty");
    return CleanPath(sKey.starts_with(WCHAR('\\')) ? sKey : sRoot + ORVTEXT('\\') + sKey);
}

CText CTool::ValueName() const
{
    const CText& sName = Word(2, "the name of a value");
    return sName == ORVTEXT("@") ? CText() : sName;
}

std::vector<const CScope*> CTool::ReadScopes() const
{
    if (m_options.m_pScope != nullptr)
        return {m_options.m_pScope};
    return {&g_userScope, &g_machineScope};
}

ToolResult CTool::Get()
{
    NoMoreThan(3);
    const CText sName = ValueName();
    for (const CScope* pScope : ReadScopes())
    {
        const std::optional<CToolKey> key = CToolKey::Open(*pScope, Path());
        const std::optional<CStoredValue> value = key ? key->Query(sName) : std::nullopt;
        if (!value)
            continue;
        m_sOutput = ShowValue(*value) + "\n";
        m_sErrors = std::string(pScope->m_sName) + ", " + TypeName(value->m_dwType) + "\n";
        return eDone;
    }
    throw CToolError(eNotFound, "not found: " + Utf8(Path()) + ", value '" + Utf8(sName) + "'");
}

ToolResult CTool::Set()
{
    const CText sName = ValueName();
    const std::vector<CText> words(m_words.begin() + 3, m_words.end());
    const CStoredValue value = ParseValue(sName, m_options.m_sType, words);
    CToolKey::Create(WriteScope(), Path()).Set(value);
    return eDone;
}

ToolResult CTool::Delete()
{
    Word(1, "a key");
    NoMoreThan(m_options.m_bTree ? 2 : 3);
    const CText sPath = Path();
    bool bFound;
    if (m_options.m_bTree)
    {
        if (sPath.empty())
            throw UsageError("a whole hive is not deleted");
        bFound = DeleteTree(WriteScope(), sPath);
    }
    else
    {
        const CText sName = ValueName();
        const std::optional<CToolKey> key = CToolKey::Open(WriteScope(), sPath);
        bFound = key && key->Delete(sName);
    }
    if (!bFound)
        throw CToolError(eNotFound, std::string("not found for the ") + WriteScope().m_sName);
    return eDone;
}

ToolResult CTool::List()
{
    NoMoreThan(2);
    bool bFound = false;
    for (const CScope* pScope : ReadScopes())
        if (const std::optional<CToolKey> key = CToolKey::Open(*pScope, Path()))
        {
            bFound = true;
            ListScope(*pScope, *key);
        }
    if (!bFound)
        throw CToolError(eNotFound, "not found: " + Utf8(Path()));
    return eDone;
}

/// One line each: scope, type, name, value; keys have no type and end in a backslash.
void CTool::ListScope(const CScope& scope, const CToolKey& key)
{
    for (const CStoredValue& value : key.Values())
    {
        m_sOutput += std::string(scope.m_sName) + "\t" + TypeName(value.m_dwType) + "\t" +
                     (value.m_sName.empty() ? "@" : OneLine(Utf8(value.m_sName))) + "\t" +
                     OneLine(ShowValue(value)) + "\n";
    }
    for (const CText& sChild : key.Children())
        m_sOutput += std::string(scope.m_sName) + "\tkey\t" + Utf8(sChild) + "\\\n";
}

void CTool::AppendExport(const CScope& scope, const CText& sPath, const CToolKey& key, CText& sText)
{
    const std::string sHive = scope.m_sHiveName;
    sText.append(ORVTEXT("\n[")).append(sHive.begin(), sHive.end());
    if (!sPath.empty())
        sText.append(1, WCHAR('\\')).append(sPath);
    sText.append(ORVTEXT("]\n"));
    for (const CStoredValue& value : key.Values())
        sText.append(OrvPort::FormatRegValue(value.m_sName, value.m_dwType, value.m_data))
            .append(1, WCHAR('\n'));
    for (const CText& sChild : key.Children())
    {
        const CText sChildPath = sPath.empty() ? sChild : sPath + ORVTEXT('\\') + sChild;
        if (const std::optional<CToolKey> child = CToolKey::Open(scope, sChildPath))
            AppendExport(scope, sChildPath, *child, sText);
    }
}

ToolResult CTool::Export()
{
    NoMoreThan(2);
    const CText sPath = Path();
    const std::optional<CToolKey> key = CToolKey::Open(WriteScope(), sPath);
    if (!key)
        throw CToolError(eNotFound, "not found: " + Utf8(sPath));
    CText sText = OrvPort::RegTextSignature() + WCHAR('\n');
    AppendExport(WriteScope(), sPath, *key, sText);
    if (m_options.m_sOutput.empty())
        m_sOutput = OrvPort::EncodeRegText(sText, {});
    else
        WriteFile(m_options.m_sOutput, OrvPort::EncodeRegText(sText, {true, true}));
    return eDone;
}

/// Stores or deletes what one item of a registry file says; false when it cannot be used.
bool CTool::ImportItem(const OrvPort::CRegTextItem& item, std::optional<CToolKey>& key)
{
    using Item = OrvPort::CRegTextItem;
    if (item.m_eKind == Item::eKey || item.m_eKind == Item::eDeleteKey)
    {
        key.reset();
        const std::size_t nEnd = std::min(item.m_sName.find(WCHAR('\\')), item.m_sName.size());
        std::string sHive = Utf8(item.m_sName.substr(0, nEnd));
        for (char& c : sHive)
            c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
        const bool bUser = sHive == "HKEY_CURRENT_USER" || sHive == "HKCU";
        const bool bMachine = sHive == "HKEY_LOCAL_MACHINE" || sHive == "HKLM";
        const CText sPath = CleanPath(item.m_sName.substr(nEnd));
        if (!bUser && !bMachine)
            return false;
        const CScope& scope = m_options.m_pScope != nullptr ? *m_options.m_pScope
                              : bUser                       ? g_userScope
                                                            : g_machineScope;
        if (item.m_eKind == Item::eDeleteKey)
            return !sPath.empty() && (DeleteTree(scope, sPath), true);
        key = CToolKey::Create(scope, sPath);
    }
    else if (item.m_eKind == Item::eValue || item.m_eKind == Item::eDeleteValue)
    {
        if (!key)
            return false;
        if (item.m_eKind == Item::eDeleteValue)
            key->Delete(item.m_sName);
        else
            key->Set({item.m_sName, item.m_dwType, item.m_data});
    }
    return item.m_eKind != Item::eMalformed;
}

ToolResult CTool::Import()
{
    const CText& sFile = Word(1, "a file");
    NoMoreThan(2);
    const std::string sBytes = ReadFile(sFile);
    OrvPort::CRegTextReader reader(sBytes);
    OrvPort::CRegTextItem item;
    std::optional<CToolKey> key;
    ToolResult result = eDone;
    while (reader.Next(item))
        if (!ImportItem(item, key))
        {
            m_sErrors += Utf8(sFile) + "(" + std::to_string(item.m_nLine) +
                         "): line ignored: " + Utf8(item.m_sText) + "\n";
            result = eBadLines;
        }
    return result;
}

} // namespace

ToolResult RunTool(const std::vector<CText>& args, std::string& sOutput, std::string& sErrors)
{
    try
    {
        return CTool(args, sOutput, sErrors).Run();
    }
    catch (const CToolError& error)
    {
        sErrors += std::string("orvsettings: ") + error.what() + "\n";
        return error.m_result;
    }
    catch (const std::exception& error)
    {
        sErrors += std::string("orvsettings: ") + error.what() + "\n";
        return eFailed;
    }
}
