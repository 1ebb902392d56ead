// The definition file reader over whole files: the table reader's passes, the
// header, the optional rows, the item and map tables with every pattern and
// expression compiled. An accepted file's rules are then matched against the
// file's own bytes, so the compiled rules run as the surface runs them.

#include "FuzzSupport.h"

#include "codec/KinvarCodec.h"
#include "codec/TableReader.h"
#include "generic/GenericMidiCodecConfigReader.h"

#include <stdexcept>
#include <vector>

namespace
{
using namespace NSGenericMidiCodec;
using NSFuzzing::Require;

void CheckAccepted(const CGenericMidiCodecConfig& config)
{
    Require(!config.fManufacturer.empty() && !config.fModel.empty(), "an accepted file names its surface");
    Require(config.fInPortCount >= 1 && config.fInPortCount <= NSKinvarCodec::kMaxPortCount,
            "an accepted file has 1 to 16 input ports");
    for (const auto& message : config.fSetupMessages)
        Require(message.size() <= NSKinvarCodec::kMaxMIDIEventSize, "setup messages fit an event");
}

// Each rule against each stretch of the input, copied to a block of its own
// size so that a read past a message's end is caught.
void MatchRules(const CGenericMidiCodecConfig& config, std::string_view bytes)
{
    const std::size_t length = std::min<std::size_t>(bytes.size(), 8);
    const std::vector<u8> message(bytes.begin(), bytes.begin() + std::ptrdiff_t(length));
    for (const CGenericMidiItem& item : config.fItems)
    {
        for (const CMapRule& rule : item.fRules)
        {
            i64 values[3] = {};
            for (std::size_t size = 0; size <= message.size(); ++size)
            {
                const std::vector<u8> exact(message.begin(), message.begin() + std::ptrdiff_t(size));
                rule.Match(exact.data(), u32(size), values[0], values[1], values[2]);
            }
        }
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    NSFuzzing::InstallQuietAssertions();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    const std::string_view bytes = NSFuzzing::BytesOf(data, size);
    const TText16 text = DecodeTableText(bytes);
    CGenericMidiCodecConfigReader reader;
    const u64 assertionsBefore = NSFuzzing::GetAssertionCount();
    try
    {
        const CGenericMidiCodecConfig config = reader.Read(text, u"Fuzz.midicodec");
        CheckAccepted(config);
        MatchRules(config, bytes);
    }
    catch (const std::runtime_error&)
    {
        const TDefinitionFault& fault = reader.GetFault();
        // An operator without operands is refused with an empty text, but
        // never silently: its assertion has reported it.
        Require(!fault.fMessage.empty() || NSFuzzing::GetAssertionCount() > assertionsBefore,
                "a refused file says why");
        Require(fault.fLine >= 1, "a refusal names a line");
    }
    return 0;
}
