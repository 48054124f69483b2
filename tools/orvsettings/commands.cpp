#include "commands.h"

#include "registry/registrytext.h"
#include "registryfile.h"
#include "store.h"
#include "valuetext.h"

#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <fstream>
#include <ios>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr const char* kUsage =
    "usage: orvsettings [--user | --machine] COMMAND\n"
    "\n"
    "  get KEY NAME                  print a value, on the error stream its scope\n"
    "  set KEY NAME VALUE            store text\n"
    "  set --type TYPE KEY NAME VALUE\n"
    "                                store sz, expand, dword, qword, binary, none,\n"
    "                                or multi (any number of VALUEs); REG_DWORD and\n"
    "                                its like are known too\n"
    "  delete KEY NAME               delete a value\n"
    "  delete --tree KEY             delete a key and everything below it\n"
    "  list [KEY]                    print the values and keys below a key\n"
    "  export [--output FILE] [KEY]  write a key and everything below it as a\n"
    "                                registry file\n"
    "  import FILE                   store, and delete, what a registry file says:\n"
    "                                all of it or, when a line is not understood,\n"
    "                                nothing\n"
    "  import --keep-going FILE      leave out what is not understood\n"
    "  check [FILE]                  say where settings are kept and what of it, or\n"
    "                                of a registry file, is not understood\n"
    "  help, --version\n"
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
    "             4 lines were not understood\n";

CToolError UsageError(const std::string& sText)
{
    return CToolError(eBadUsage, sText + "; 'orvsettings --help' explains the usage");
}

/// Text in one piece of a line.
std::string OneLine(std::string s)
{
    std::replace_if(
        s.begin(), s.end(), [](char c) { return c >= 0 && c < ' '; }, '|');
    return s;
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
    bool m_bKeepGoing = false;
    const char* m_sAnswer = nullptr; ///< what --help or --version prints
};

class CTool
{
public:
    CTool(const std::vector<CText>& args, std::string& sOutput, std::string& sErrors,
          const ToolProgress& progress);
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
        return m_options.m_pScope == nullptr ? kUserScope : *m_options.m_pScope;
    }

    ToolResult Get();
    ToolResult Set();
    ToolResult Delete();
    ToolResult List();
    ToolResult Export();
    ToolResult Import();
    ToolResult Check();
    bool IsReadable(const CScope& scope);
    void Warn(const CScope& scope);
    void ListScope(const CScope& scope, const CStoredKey& key);
    void AppendExport(const CText& sPath, const CStoredKey& key, const OrvPort::CRegEncoding& encoding,
                      CText& sText);

    COptions m_options;
    std::vector<CText> m_words;
    std::string& m_sOutput;
    std::string& m_sErrors;
    const ToolProgress& m_progress;
    CStore m_store;
};

CTool::CTool(const std::vector<CText>& args, std::string& sOutput, std::string& sErrors,
             const ToolProgress& progress)
    : m_sOutput(sOutput), m_sErrors(sErrors), m_progress(progress)
{
    bool bOptions = true;
    for (std::size_t i = 0; i < args.size(); ++i)
    {
        // "--" ends the options, for values that begin with dashes.
        if (bOptions && args[i] == ORVTEXT("--"))
            bOptions = false;
        else if (bOptions && (args[i].starts_with(ORVTEXT("--")) || args[i] == ORVTEXT("-h")))
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
        m_options.m_pScope = &kUserScope;
    else if (sOption == ORVTEXT("--machine"))
        m_options.m_pScope = &kMachineScope;
    else if (sOption == ORVTEXT("--type"))
        m_options.m_sType = Utf8(argument());
    else if (sOption == ORVTEXT("--output"))
        m_options.m_sOutput = argument();
    else if (sOption == ORVTEXT("--tree"))
        m_options.m_bTree = true;
    else if (sOption == ORVTEXT("--keep-going"))
        m_options.m_bKeepGoing = true;
    else if (sOption == ORVTEXT("--help") || sOption == ORVTEXT("-h"))
        m_options.m_sAnswer = kUsage;
    else if (sOption == ORVTEXT("--version"))
        m_options.m_sAnswer = "orvsettings " ORV_VERSION "\n";
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
                      {ORVTEXT("export"), &CTool::Export}, {ORVTEXT("import"), &CTool::Import},
                      {ORVTEXT("check"), &CTool::Check}};
    if (m_words == std::vector<CText>{ORVTEXT("help")})
        m_options.m_sAnswer = kUsage;
    if (m_options.m_sAnswer != nullptr)
    {
        m_sOutput = m_options.m_sAnswer;
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
    CText sRoot(GetLQSettingsRootStr());
    if (m_words.size() < 2 || m_words[1] == ORVTEXT("."))
        return sRoot;
    const CText& sKey = m_words[1];
    if (sKey.empty())
        throw UsageError("a key is empty");
    CText sPath = CleanPath(sKey.starts_with(WCHAR('\\')) ? sKey : sRoot + ORVTEXT('\\') + sKey);
    if (const char* sFault = PathFault(sPath))
        throw CToolError(eBadUsage, Utf8(sKey) + ": " + sFault);
    return sPath;
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
    return {&kUserScope, &kMachineScope};
}

std::string Describe(const std::string& sFile, const CBadLine& line)
{
    return sFile + "(" + std::to_string(line.m_nLine) + "): " + line.m_sFault + ": " + Utf8(line.m_sText) +
           "\n";
}

/// Tells what reading leaves out.
void CTool::Warn(const CScope& scope)
{
    const CHiveState state = m_store.State(scope);
    for (const CBadLine& line : state.m_badLines)
        m_sErrors += "orvsettings: warning: " + Describe(state.m_sPlace, line);
}

/// A hive that cannot be read counts as empty, as it does for programs, unless it is asked for by name.
bool CTool::IsReadable(const CScope& scope)
{
    const CHiveState state = m_store.State(scope);
    if (state.m_sFault.empty() || m_options.m_pScope != nullptr)
        return true;
    m_sErrors += "orvsettings: warning: " + state.m_sPlace + ": " + state.m_sFault + "\n";
    return false;
}

ToolResult CTool::Get()
{
    NoMoreThan(3);
    const CText sName = ValueName();
    for (const CScope* pScope : ReadScopes())
    {
        if (!IsReadable(*pScope))
            continue;
        const std::optional<CStoredValue> value = m_store.ReadValue(*pScope, Path(), sName);
        Warn(*pScope);
        if (!value)
            continue;
        m_sOutput = ShowValue(*value) + "\n";
        m_sErrors = std::string(pScope->m_sName) + ", " + TypeName(value->m_dwType) + "\n" + m_sErrors;
        return eDone;
    }
    throw CToolError(eNotFound, "not found: " + Utf8(Path()) + ", value '" + Utf8(sName) + "'");
}

ToolResult CTool::Set()
{
    const CText sName = ValueName();
    const std::vector<CText> words(m_words.begin() + 3, m_words.end());
    m_store.Apply({{CChange::eSetValue, &WriteScope(), Path(), ParseValue(sName, m_options.m_sType, words)}},
                  m_progress);
    return eDone;
}

ToolResult CTool::Delete()
{
    Word(1, "a key");
    NoMoreThan(m_options.m_bTree ? 2 : 3);
    CChange change{m_options.m_bTree ? CChange::eDeleteKey : CChange::eDeleteValue, &WriteScope(), Path()};
    bool bFound;
    if (m_options.m_bTree)
    {
        if (change.m_sPath.empty())
            throw UsageError("a whole hive is not deleted");
        bFound = m_store.ReadKey(WriteScope(), change.m_sPath).has_value();
    }
    else
    {
        change.m_value.m_sName = ValueName();
        bFound = m_store.ReadValue(WriteScope(), change.m_sPath, change.m_value.m_sName).has_value();
    }
    if (!bFound)
        throw CToolError(eNotFound, std::string("not found for the ") + WriteScope().m_sName);
    m_store.Apply({std::move(change)}, m_progress);
    return eDone;
}

ToolResult CTool::List()
{
    NoMoreThan(2);
    bool bFound = false;
    for (const CScope* pScope : ReadScopes())
    {
        if (!IsReadable(*pScope))
            continue;
        if (const std::optional<CStoredKey> key = m_store.ReadKey(*pScope, Path()))
        {
            bFound = true;
            ListScope(*pScope, *key);
        }
        Warn(*pScope);
    }
    if (!bFound)
        throw CToolError(eNotFound, "not found: " + Utf8(Path()));
    return eDone;
}

/// One line each: scope, type, name, value; keys have no type and end in a backslash.
void CTool::ListScope(const CScope& scope, const CStoredKey& key)
{
    for (const CStoredValue& value : key.m_values)
    {
        m_sOutput += std::string(scope.m_sName) + "\t" + TypeName(value.m_dwType) + "\t" +
                     (value.m_sName.empty() ? "@" : OneLine(Utf8(value.m_sName))) + "\t" +
                     OneLine(ShowValue(value)) + "\n";
    }
    for (const CText& sChild : key.m_children)
        m_sOutput += std::string(scope.m_sName) + "\tkey\t" + Utf8(sChild) + "\\\n";
}

void CTool::AppendExport(const CText& sPath, const CStoredKey& key, const OrvPort::CRegEncoding& encoding,
                         CText& sText)
{
    const std::string sHive = WriteScope().m_sHiveName;
    const auto sLineEnd = encoding.LineEnd();
    sText.append(sLineEnd).append(1, WCHAR('[')).append(sHive.begin(), sHive.end());
    if (!sPath.empty())
        sText.append(1, WCHAR('\\')).append(sPath);
    sText.append(1, WCHAR(']')).append(sLineEnd);
    for (const CStoredValue& value : key.m_values)
        sText.append(OrvPort::FormatRegValue(value.m_sName, value.m_dwType, value.m_data, encoding));
    for (const CText& sChild : key.m_children)
    {
        CText sChildPath = sPath;
        if (!sPath.empty())
            sChildPath += ORVTEXT('\\');
        sChildPath += sChild;
        if (const std::optional<CStoredKey> child = m_store.ReadKey(WriteScope(), sChildPath))
            AppendExport(sChildPath, *child, encoding, sText);
    }
}

ToolResult CTool::Export()
{
    NoMoreThan(2);
    const CText sPath = Path();
    const std::optional<CStoredKey> key = m_store.ReadKey(WriteScope(), sPath);
    if (!key)
        throw CToolError(eNotFound, "not found: " + Utf8(sPath));
    const bool bToFile = !m_options.m_sOutput.empty();
    const OrvPort::CRegEncoding encoding{bToFile, bToFile};
    CText sText = OrvPort::RegTextSignature().append(encoding.LineEnd());
    AppendExport(sPath, *key, encoding, sText);
    if (bToFile)
        WriteFile(m_options.m_sOutput, OrvPort::EncodeRegText(sText, encoding));
    else
        m_sOutput = OrvPort::EncodeRegText(sText, encoding);
    Warn(WriteScope());
    return eDone;
}

ToolResult CTool::Import()
{
    const CText& sFile = Word(1, "a file");
    NoMoreThan(2);
    const CRegistryFile file = ReadRegistryFile(sFile, m_options.m_pScope);
    for (const CBadLine& line : file.m_badLines)
        m_sErrors += Describe(Utf8(sFile), line);
    if (!file.m_badLines.empty() && !m_options.m_bKeepGoing)
        throw CToolError(eBadLines, "nothing was imported; --keep-going leaves out what is not understood");
    m_store.Apply(file.m_changes, m_progress);
    return file.m_badLines.empty() ? eDone : eBadLines;
}

ToolResult CTool::Check()
{
    NoMoreThan(2);
    std::vector<CHiveState> states;
    if (m_words.size() == 2)
        states.push_back(
            {Utf8(m_words[1]), true, {}, ReadRegistryFile(m_words[1], m_options.m_pScope).m_badLines});
    else
        for (const CScope* pScope : ReadScopes())
        {
            states.push_back(m_store.State(*pScope));
            m_sOutput += std::string(pScope->m_sName) + "\t" + states.back().m_sPlace +
                         (states.back().m_bThere ? "\n" : "\tno file\n");
        }
    ToolResult result = eDone;
    for (const CHiveState& state : states)
    {
        for (const CBadLine& line : state.m_badLines)
            m_sOutput += Describe(state.m_sPlace, line);
        if (!state.m_badLines.empty())
            result = eBadLines;
    }
    for (const CHiveState& state : states)
        if (!state.m_sFault.empty())
            throw CToolError(eFailed, state.m_sPlace + ": " + state.m_sFault);
    return result;
}

} // namespace

std::string Utf8(const CText& sText)
{
    return OrvPort::EncodeRegText(sText, {});
}

ToolResult RunTool(const std::vector<CText>& args, std::string& sOutput, std::string& sErrors,
                   const ToolProgress& progress)
{
    try
    {
        return CTool(args, sOutput, sErrors, progress).Run();
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
