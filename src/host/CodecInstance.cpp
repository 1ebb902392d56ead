#include "host/CodecInstance.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "foundation/FileHandling.h"
#include "host/CodecDebugger.h"

#include <list>
#include <new>
#include <system_error>

using namespace NSKinvarCodec;
namespace fs = std::filesystem;

namespace NSKinvar
{
namespace
{
struct TCacheEntry
{
    fs::path fFile;
    std::weak_ptr<CCodecInstance> fWeakInstance;
    TCodecInstancePtr fStrongInstance;
};

std::list<TCacheEntry>& Cache()
{
    static std::list<TCacheEntry> cache;
    return cache;
}

// Two names of one file compare equal: the cache key is the file's path made
// absolute, with links and dot segments resolved where the file exists.
fs::path CacheKey(const fs::path& file)
{
    std::error_code error;
    fs::path key = fs::weakly_canonical(fs::absolute(file), error);
    return error ? fs::absolute(file).lexically_normal() : key;
}

void* Lookup(const TModuleHandle& module, const char* name)
{
    return module->fModule->IOpenDLL_Lookup(name);
}

void TellCodecsFolder(const TModuleHandle& module, ICodec2& codec)
{
    const std::string& folder = GetCodecFolderOverride();
    if (folder.empty())
        return;
    auto* tell = reinterpret_cast<TSetLuaCodecsDir>(Lookup(module, kSetLuaCodecsDirName));
    if (tell == nullptr)
        return;
    u32 status = kCodecProgrammingError;
    tell(&codec, folder.c_str(), &status);
    ThrowCodecResult(status);
}
} // namespace

CCodecInstance::CCodecInstance(const fs::path& file) : fModule(MakeModuleHandle())
{
    try
    {
        fModule->fModule = NSCorbelan::NSCorbelanInternal::CDLLLoader(file).IDLLLoaderImp_Open();
    }
    catch (const std::exception&)
    {
        throw std::bad_alloc();
    }
    auto* create = reinterpret_cast<TKinvarCodecCreate>(Lookup(fModule, kCodecFactoryName));
    if (create == nullptr)
    {
        BF_THROW_SITE();
        throw XUnsupportedInterface();
    }
    u32 status = kCodecProgrammingError;
    fCodec = TCodecPtr(create(kCodecInterfaceName, &status), codec_deleter());
    ThrowCodecResult(status);
    if (!fCodec)
    {
        BF_ASSERT(fCodec != nullptr);
        throw XProgrammingError();
    }
    ThrowCodecResult(fCodec->ICodec2_SetDebugger(&GetCodecDebugger()));
    TellCodecsFolder(fModule, *fCodec);
}

const TModuleHandle& CCodecInstance::GetModule() const
{
    BF_ASSERT(fModule != nullptr);
    return fModule;
}

const TCodecPtr& CCodecInstance::GetCodec() const
{
    BF_ASSERT(fCodec != nullptr);
    return fCodec;
}

TCodecInstancePtr GetCodecInstance(const fs::path& file)
{
    const fs::path key = CacheKey(file);
    std::list<TCacheEntry>& cache = Cache();
    for (TCacheEntry& entry : cache)
    {
        if (entry.fFile != key)
            continue;
        if (entry.fStrongInstance)
        {
            BF_ASSERT(!entry.fWeakInstance.expired());
            return entry.fStrongInstance;
        }
        if (TCodecInstancePtr instance = entry.fWeakInstance.lock())
            return instance;
        // The last user has gone: load it afresh.
        auto instance = std::make_shared<CCodecInstance>(file);
        entry.fWeakInstance = instance;
        return instance;
    }

    auto instance = std::make_shared<CCodecInstance>(file);
    // A codec that can't answer is not kept.
    u32 mayStayLoaded = 0;
    if (instance->GetCodec()->ICodec2_GetMayStayLoaded(&mayStayLoaded) != NSKinvarCodec::kCodecOK)
        mayStayLoaded = 0;
    TCacheEntry& entry = cache.emplace_back();
    entry.fFile = key;
    entry.fWeakInstance = instance;
    if (mayStayLoaded == 1)
        entry.fStrongInstance = instance;
    return instance;
}

void ReleaseCodecCache()
{
    std::list<TCacheEntry>& cache = Cache();
    while (!cache.empty())
    {
        TCacheEntry entry = std::move(cache.front());
        cache.pop_front();
        if (entry.fStrongInstance)
            BF_ASSERT(entry.fStrongInstance.use_count() == 1);
        else
            BF_ASSERT(entry.fWeakInstance.expired());
    }
}
} // namespace NSKinvar
