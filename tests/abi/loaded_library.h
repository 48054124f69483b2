// The real library, loaded at run time as a program would that knows it by name only.
#pragma once

#include <set>
#include <string>

class CLoadedLibrary
{
public:
    /// Loads the file; throws std::runtime_error when the loader refuses it.
    explicit CLoadedLibrary(const std::string& sFile);
    CLoadedLibrary(CLoadedLibrary&&) = delete;
    ~CLoadedLibrary();

    /// Asks the loader, as a program does.
    bool Resolves(const std::string& sName) const { return Address(sName) != nullptr; }
    /// A function by its name.
    template <class Function>
    Function* Find(const std::string& sName) const
    {
        return reinterpret_cast<Function*>(Address(sName));
    }
    /// Whether the file is in the process, whoever loaded it.
    static bool IsLoaded(const std::string& sFile);
    /// Every name in the table of exports, read from the file's own structures.
    std::set<std::string> ExportedNames() const;

private:
    void* Address(const std::string& sName) const;

    std::string m_sFile;
    void* m_hModule;
};
