#pragma once
// Code modules: the running program's own description (its maker, name and
// version), the loading of further modules by path, and the search for a
// library by name.
//
// Loading failures are told apart by what the loader and the file can tell:
//   the file is missing or can't be opened    NSException::XFailedLoadingDLL
//   it is no loadable object for this machine  NSException::XBadFormat
//   a library or symbol it needs is missing    NSException::XFailedLoadingDLLDependants
//   the loader is out of memory                std::bad_alloc
//   anything else                              NSException::XFailedLoadingDLL
// The loader's own words go to the trace channel and stay readable with
// CDLLLoader::GetFailureText, since the exception's text is fixed.
//
// Main thread only, except where a function says otherwise.

#include "foundation/Version.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace NSCorbelan
{
// The abstract description of the module that the code runs in. Constructing
// one registers it as the one current module (a second is an assertion
// failure and is not registered); destroying it unregisters it.
class CABCCodeModule
{
public:
    // handle: the dynamic loader's handle of the module. makerName must not be
    // empty.
    CABCCodeModule(void* handle, std::string makerName);
    virtual ~CABCCodeModule();
    CABCCodeModule(const CABCCodeModule&) = delete;
    CABCCodeModule& operator=(const CABCCodeModule&) = delete;

    virtual std::string GetName() const = 0;
    virtual CVersion GetVersion() const = 0;

    void* GetHandle() const { return fHandle; }
    const std::string& GetMakerName() const { return fMakerName; }
    std::thread::id GetCreatorThread() const { return fCreatorThread; }

private:
    void* fHandle;
    std::string fMakerName;
    std::thread::id fCreatorThread;
};

// The running program. Its name is the file name of the executable; its
// version is the one it was built with, handed in by the program, since an
// executable here carries no version record of its own.
class CProgramCodeModule : public CABCCodeModule
{
public:
    CProgramCodeModule(std::string makerName, CVersion version);
    ~CProgramCodeModule() override;

    std::string GetName() const override;
    CVersion GetVersion() const override;

private:
    std::string fName;
    CVersion fVersion;
};

// Of the current module; each asserts that one exists, and then answers "",
// 0.0 or null.
std::string GetModuleName();
CVersion GetModuleVersion();
void* GetModuleHandle();
// The current module, or null.
CABCCodeModule* GetCurrentModule();

// A row of "=", "Session Start: " with the local date and time, the maker,
// and an empty line, on the trace channel.
void TraceSessionStart();
// "Module name: " and "Version: " between two rows of "-".
void TraceApplicationInfo();

namespace NSCorbelanInternal
{
// A loaded module; it is unloaded when this goes.
class IOpenDLL
{
public:
    // The address of an exported symbol, or null when the module has none.
    virtual void* IOpenDLL_Lookup(const char* name) = 0;
    virtual ~IOpenDLL() = default;
};

class IDLLLoaderImp
{
public:
    // Loads the module; throws the failures listed at the top of this file.
    virtual std::unique_ptr<IOpenDLL> IDLLLoaderImp_Open() = 0;
    virtual ~IDLLLoaderImp() = default;
};

// Loads by path with the dynamic loader, binding every symbol at once so that a
// missing one fails the load, not a later call. A relative path is taken from
// the current folder, never searched for.
class CDLLLoader : public IDLLLoaderImp
{
public:
    explicit CDLLLoader(std::filesystem::path module);

    std::unique_ptr<IOpenDLL> IDLLLoaderImp_Open() override;

    const std::filesystem::path& GetPath() const { return fPath; }
    // The loader's message of the last failed Open, empty before.
    const std::string& GetFailureText() const { return fFailureText; }

private:
    std::filesystem::path fPath;
    std::string fFailureText;
};

class COpenDLL : public IOpenDLL
{
public:
    // Takes over a handle of the dynamic loader.
    explicit COpenDLL(void* handle);
    ~COpenDLL() override;
    COpenDLL(const COpenDLL&) = delete;
    COpenDLL& operator=(const COpenDLL&) = delete;

    void* IOpenDLL_Lookup(const char* name) override;
    void* GetHandle() const { return fHandle; }

private:
    void* fHandle;
};
} // namespace NSCorbelanInternal

// Searches the folders of LD_LIBRARY_PATH, then the system's library folders
// (the C library's own, /usr/local/lib, /lib, /usr/lib), for a file of that
// name; a name without an extension gets ".so". A name with a folder part is
// only checked for existence. Not found throws NSException::XFileNotFound.
std::filesystem::path FindDLL(std::string_view name);
} // namespace NSCorbelan
