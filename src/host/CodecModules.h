#pragma once
// Codec modules as the workbench loads them: a ".kinvarcodec" file becomes a
// live ICodec2, bound to a script where the module hosts scripts, and the
// module stays loaded until the end of the run, when OnEnd has dropped every
// codec object first (a codec's Destroy is code in its module).
//
// LoadCodec is the forgiving loader of the commands: a file that is missing,
// no library, or without a factory yields an empty pointer and no message.
// What a failing factory or script binding reports is thrown.
//
// Main thread.

#include "codec/CodecSupport.h"
#include "codec/CodecSurfaces.h"
#include "codec/KinvarCodec.h"
#include "foundation/CodeModule.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace NSKinvar
{
// The cell of one loaded module: empty until the loader has put the library
// in it.
struct TModuleCell
{
    std::unique_ptr<NSCorbelan::NSCorbelanInternal::IOpenDLL> fModule;
};

// Unloads the library of a cell, if it holds one, and frees the cell.
struct dynlibinstance_deleter
{
    void operator()(TModuleCell* cell) const;
};

using TModuleHandle = std::shared_ptr<TModuleCell>;

// A cell that no library is in yet.
TModuleHandle MakeModuleHandle();
} // namespace NSKinvar

using TLoadedModuleList = std::vector<NSKinvar::TModuleHandle>;

// Every module that LoadCodec has loaded in this run, in load order. Emptied
// at the end of the run, after the codec list (see CMyAppBehavior::OnEnd).
extern TLoadedModuleList loadedModules;

// Every surface model of every codec loaded so far, with its codec, in load
// order; the commands fill it, detection, map validation and the selection
// dialog read it. Emptied at the end of the run before loadedModules.
extern TCodecSurfaceList gCodecSurfaces;

// Loads moduleFile, makes its codec, gives it the debug channel, and binds
// scriptFile to it when the module exports SetLuaCodec. Empty when the module
// can't be loaded or has no factory; throws what the factory's or the
// binding's status stands for, after writing the binding's text to the log.
// Every call loads the module once more (the system counts the references).
TCodecPtr LoadCodec(const std::filesystem::path& moduleFile,
                    const std::filesystem::path& scriptFile);

// The "file://" URL of a path made absolute, UTF-8 with every byte outside
// the unreserved characters and "/" written as %XX.
std::string MakeFileURL(const std::filesystem::path& file);
