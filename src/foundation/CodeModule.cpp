#include "foundation/CodeModule.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <elf.h>
#include <fstream>
#include <new>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace NSCorbelan
{
namespace
{
CABCCodeModule* gCurrentModule = nullptr;

constexpr std::size_t kRuleWidth = 72;
constexpr const char* kProcSelfExe = "/proc/self/exe";

std::string ProgramName()
{
    std::error_code error;
    const fs::path program = fs::read_symlink(kProcSelfExe, error);
    if (!error)
        return program.filename().string();
    return program_invocation_short_name;
}

std::string LocalDateAndTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 128> text{};
    std::strftime(text.data(), text.size(), "%c", &local);
    return text.data();
}
} // namespace

// ---- The current module -----------------------------------------------------------

CABCCodeModule::CABCCodeModule(void* handle, std::string makerName)
    : fHandle(handle), fMakerName(std::move(makerName)), fCreatorThread(std::this_thread::get_id())
{
    BF_ASSERT(!fMakerName.empty());
    BF_ASSERT(gCurrentModule == nullptr);
    if (gCurrentModule == nullptr)
        gCurrentModule = this;
}

CABCCodeModule::~CABCCodeModule()
{
    if (gCurrentModule == this)
        gCurrentModule = nullptr;
}

CProgramCodeModule::CProgramCodeModule(std::string makerName, CVersion version)
    : CABCCodeModule(::dlopen(nullptr, RTLD_NOW), std::move(makerName)), fName(ProgramName()),
      fVersion(version)
{
}

CProgramCodeModule::~CProgramCodeModule()
{
    if (GetHandle() != nullptr)
        ::dlclose(GetHandle());
}

std::string CProgramCodeModule::GetName() const
{
    return fName;
}

CVersion CProgramCodeModule::GetVersion() const
{
    return fVersion;
}

CABCCodeModule* GetCurrentModule()
{
    return gCurrentModule;
}

std::string GetModuleName()
{
    BF_ASSERT(gCurrentModule != nullptr);
    return gCurrentModule != nullptr ? gCurrentModule->GetName() : std::string();
}

CVersion GetModuleVersion()
{
    BF_ASSERT(gCurrentModule != nullptr);
    return gCurrentModule != nullptr ? gCurrentModule->GetVersion() : CVersion();
}

void* GetModuleHandle()
{
    BF_ASSERT(gCurrentModule != nullptr);
    return gCurrentModule != nullptr ? gCurrentModule->GetHandle() : nullptr;
}

void TraceSessionStart()
{
    BF_TRACE("%s", std::string(kRuleWidth, '=').c_str());
    BF_TRACE("Session Start: %s", LocalDateAndTime().c_str());
    BF_TRACE("%s", gCurrentModule != nullptr ? gCurrentModule->GetMakerName().c_str() : "");
    BF_TRACE("%s", "");
}

void TraceApplicationInfo()
{
    const std::string rule(kRuleWidth, '-');
    BF_TRACE("%s", rule.c_str());
    BF_TRACE("Module name: %s", GetModuleName().c_str());
    BF_TRACE("Version: %s", GetModuleVersion().GetText().c_str());
    BF_TRACE("%s", rule.c_str());
}

// ---- Loading modules ------------------------------------------------------------

namespace NSCorbelanInternal
{
namespace
{
// The part of an ELF header that tells for which machine an object is made.
struct TObjectKind
{
    bool fValid = false;
    unsigned char fClass = 0;
    unsigned char fData = 0;
    u16 fType = 0;
    u16 fMachine = 0;
};

// e_type and e_machine sit at the same offsets in 32- and 64-bit headers.
TObjectKind ReadObjectKind(const fs::path& file)
{
    std::array<unsigned char, EI_NIDENT + 4> bytes{};
    std::ifstream stream(file, std::ios::binary);
    if (!stream.read(reinterpret_cast<char*>(bytes.data()), bytes.size()))
        return {};
    if (std::memcmp(bytes.data(), ELFMAG, SELFMAG) != 0)
        return {};
    TObjectKind kind;
    kind.fValid = true;
    kind.fClass = bytes[EI_CLASS];
    kind.fData = bytes[EI_DATA];
    // The fields are in the object's own byte order, which must be ours to load.
    std::memcpy(&kind.fType, &bytes[EI_NIDENT], sizeof kind.fType);
    std::memcpy(&kind.fMachine, &bytes[EI_NIDENT + 2], sizeof kind.fMachine);
    return kind;
}

const TObjectKind& OwnObjectKind()
{
    static const TObjectKind kind = ReadObjectKind(kProcSelfExe);
    return kind;
}

bool LoadableHere(const TObjectKind& kind)
{
    const TObjectKind& own = OwnObjectKind();
    return kind.fValid && kind.fType == ET_DYN &&
           (!own.fValid || (kind.fClass == own.fClass && kind.fData == own.fData &&
                            kind.fMachine == own.fMachine));
}

// The loader names the object that it could not open or map at the start of
// its message; a name other than the module's own is a library it needs.
bool BlamesADependency(const std::string& message, const fs::path& module)
{
    if (message.find("undefined symbol") != std::string::npos ||
        message.find("version `") != std::string::npos)
        return true;
    const auto colon = message.find(": ");
    return colon != std::string::npos && message.compare(0, colon, module.native()) != 0;
}

[[noreturn]] void ThrowLoadFailure(const fs::path& module, const std::string& message)
{
    BF_TRACE("Loading \"%s\" failed: %s", module.c_str(), message.c_str());
    BF_THROW_SITE();
    std::error_code error;
    if (!fs::is_regular_file(module, error) || ::access(module.c_str(), R_OK) != 0)
        throw NSException::XFailedLoadingDLL();
    if (!LoadableHere(ReadObjectKind(module)))
        throw NSException::XBadFormat();
    if (message.find(std::strerror(ENOMEM)) != std::string::npos &&
        message.find("static TLS") == std::string::npos)
        throw std::bad_alloc();
    if (BlamesADependency(message, module))
        throw NSException::XFailedLoadingDLLDependants();
    throw NSException::XFailedLoadingDLL();
}
} // namespace

CDLLLoader::CDLLLoader(fs::path module)
    // A name without a folder would make the loader search its own folders.
    : fPath(fs::absolute(module))
{
}

std::unique_ptr<IOpenDLL> CDLLLoader::IDLLLoaderImp_Open()
{
    void* handle = ::dlopen(fPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr)
    {
        const char* message = ::dlerror();
        fFailureText = message != nullptr ? message : "";
        ThrowLoadFailure(fPath, fFailureText);
    }
    try
    {
        return std::make_unique<COpenDLL>(handle);
    }
    catch (...)
    {
        ::dlclose(handle);
        throw;
    }
}

COpenDLL::COpenDLL(void* handle) : fHandle(handle)
{
    BF_ASSERT(fHandle != nullptr);
}

COpenDLL::~COpenDLL()
{
    if (fHandle != nullptr)
        BF_VERIFY(::dlclose(fHandle) == 0);
}

void* COpenDLL::IOpenDLL_Lookup(const char* name)
{
    ::dlerror();
    return ::dlsym(fHandle, name);
}
} // namespace NSCorbelanInternal

// ---- Finding libraries ---------------------------------------------------------

namespace
{
std::vector<fs::path> LibraryFolders()
{
    std::vector<fs::path> folders;
    if (const char* list = std::getenv("LD_LIBRARY_PATH"); list != nullptr)
    {
        const std::string_view entries(list);
        std::size_t start = 0;
        while (start <= entries.size())
        {
            const std::size_t end = std::min(entries.find(':', start), entries.size());
            if (end > start)
                folders.emplace_back(entries.substr(start, end - start));
            start = end + 1;
        }
    }
    // The C library's own folder is the machine's library folder, whatever
    // the distribution calls it.
    Dl_info info{};
    void* inLibC = ::dlsym(RTLD_DEFAULT, "abort");
    if (inLibC != nullptr && ::dladdr(inLibC, &info) != 0 && info.dli_fname != nullptr)
        folders.push_back(fs::path(info.dli_fname).parent_path());
    for (const char* folder : {"/usr/local/lib", "/lib", "/usr/lib"})
        folders.emplace_back(folder);
    return folders;
}
} // namespace

fs::path FindDLL(std::string_view name)
{
    fs::path file(name);
    if (!file.has_extension())
        file += ".so";
    std::error_code error;
    if (file.has_parent_path())
    {
        if (fs::is_regular_file(file, error))
            return file;
    }
    else
    {
        for (const fs::path& folder : LibraryFolders())
            if (fs::is_regular_file(folder / file, error))
                return folder / file;
    }
    BF_TRACE("Library \"%s\" not found", file.c_str());
    BF_THROW_SITE();
    throw NSException::XFileNotFound();
}
} // namespace NSCorbelan
