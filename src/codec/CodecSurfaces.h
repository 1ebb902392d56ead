#pragma once
// The surface models that the loaded codecs offer, each with the codec that
// makes it, in load order. The workbench keeps one such list for the whole
// process; detection and map validation read it.

#include "codec/CodecSupport.h"
#include "codec/KinvarCodec.h"

#include <utility>
#include <vector>

using TCodecSurface = std::pair<TCodecPtr, NSKinvarCodec::TControlSurfaceInfo>;
using TCodecSurfaceList = std::vector<TCodecSurface>;
