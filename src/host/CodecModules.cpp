#include "host/CodecModules.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "host/CodecDebugger.h"
#include "host/TextRule.h"

#include <cstdio>

using namespace NSKinvarCodec;
namespace fs = std::filesystem;

TLoadedModuleList loadedModules;
// Defined after the modules, so that at process exit its codecs go first.
TCodecSurfaceList gCodecSurfaces;

namespace NSKinvar
{
void dynlibinstance_deleter::operator()(TModuleCell* cell) const
{
    if (cell == nullptr)
        return;
    cell->fModule.reset();
    delete cell;
}

TModuleHandle MakeModuleHandle()
{
    return TModuleHandle(new TModuleCell, dynlibinstance_deleter());
}
} // namespace NSKinvar

namespace
{
// The module, or nothing when the loader refuses it: the workbench's loader
// says no word of its own, the loader has traced its reason.
bool TryLoad(NSKinvar::TModuleCell& cell, const fs::path& moduleFile)
{
    try
    {
        NSCorbelan::NSCorbelanInternal::CDLLLoader loader(moduleFile);
        cell.fModule = loader.IDLLLoaderImp_Open();
        return true;
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (const std::exception&)
    {
        return false;
    }
}

bool IsUnreserved(unsigned char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~' || c == '/';
}
} // namespace

std::string MakeFileURL(const fs::path& file)
{
    const std::string path = fs::absolute(file).lexically_normal().string();
    std::string url = "file://";
    url.reserve(url.size() + path.size());
    for (const unsigned char c : path)
    {
        if (IsUnreserved(c))
        {
            url += static_cast<char>(c);
            continue;
        }
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", c);
        url += escaped;
    }
    return url;
}

TCodecPtr LoadCodec(const fs::path& moduleFile, const fs::path& scriptFile)
{
    TCodecPtr rCodec;
    TLoadedModuleList modules = loadedModules;
    const NSKinvar::TModuleHandle cell = NSKinvar::MakeModuleHandle();
    modules.push_back(cell);
    if (!TryLoad(*cell, moduleFile))
        return rCodec;
    auto* create = reinterpret_cast<TKinvarCodecCreate>(
        cell->fModule->IOpenDLL_Lookup(kCodecFactoryName));
    if (create == nullptr)
        return rCodec;

    u32 status = kCodecProgrammingError;
    // Declared after the working copy of the list, so that on the way out the
    // codec goes before its module.
    const TCodecPtr codec(create(kCodecInterfaceName, &status), codec_deleter());
    ThrowCodecResult(status);
    if (!codec)
    {
        BF_ASSERT(codec != nullptr);
        throw XProgrammingError();
    }
    ThrowCodecResult(codec->ICodec2_SetDebugger(&NSKinvar::GetWorkbenchCodecDebugger()));

    if (auto* bind = reinterpret_cast<TSetLuaCodec>(cell->fModule->IOpenDLL_Lookup(kSetLuaCodecName)))
    {
        const std::string url = MakeFileURL(scriptFile);
        u32 bindStatus = kCodecProgrammingError;
        CCodecTextGetter messages;
        bind(codec.get(), url.c_str(), &bindStatus, &messages);
        ApplyTextRule(messages, bindStatus);
    }
    rCodec = codec;
    loadedModules = std::move(modules);
    return rCodec;
}

