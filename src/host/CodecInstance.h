#pragma once
// The caching loader for hosts that embed codecs: one live codec per module
// file, shared by all its users. Strict where the workbench's LoadCodec is
// forgiving: every failure throws.
//
// A codec that says it may stay loaded (ICodec2_GetMayStayLoaded gives 1) is
// kept by the cache until ReleaseCodecCache; any other lives as long as its
// last user and is loaded afresh at the next request after that.
//
// Main thread; the cache has no lock.

#include "codec/CodecSupport.h"
#include "host/CodecModules.h"

#include <filesystem>
#include <memory>

namespace NSKinvar
{
// One loaded codec with its module. The codec is declared after the module,
// so that it goes first: its Destroy is code in the module.
class CCodecInstance
{
public:
    // Loads the module and makes its codec:
    //   the file missing or no library     std::bad_alloc (nothing more
    //                                      specific exists on this road)
    //   no factory export                  NSKinvar::XUnsupportedInterface
    //   the factory or the codec fails     what ThrowCodecResult throws
    // A module that exports SetLuaCodecsDir is told the codec folder override
    // (foundation/FileHandling.h) when one is set.
    explicit CCodecInstance(const std::filesystem::path& file);
    CCodecInstance(const CCodecInstance&) = delete;
    CCodecInstance& operator=(const CCodecInstance&) = delete;

    // Each asserts that it is set.
    const TModuleHandle& GetModule() const;
    const TCodecPtr& GetCodec() const;

private:
    TModuleHandle fModule;
    TCodecPtr fCodec;
};

using TCodecInstancePtr = std::shared_ptr<CCodecInstance>;

// The codec of that module file: the cached one while it lives, else a new one.
TCodecInstancePtr GetCodecInstance(const std::filesystem::path& file);

// Empties the cache. Every user must have let go of its instance by now: an
// instance that is still held elsewhere is a failed assertion.
void ReleaseCodecCache();
} // namespace NSKinvar
