// The MIDI input path as a backend drives it: random sequences of the
// library's callbacks (short messages, system exclusive begin, data, end and
// abort, notifications) into the open input ports of the port hub, on to an
// active surface of the generic codec in the hub of active surfaces, whose
// queue a stand-in for the run loop drains into an input listener. The
// callbacks come on this thread, as they would on the backend's delivery
// thread.
//
// Each sample surface runs from the start on ports of its own: making a
// surface builds its rule index, which would cost more than all the rest. So
// that no state passes from one input to the next, each input begins by
// aborting a system exclusive message on each of the surface's ports and
// sending two messages there that complete no rule, which sets the
// surface's message history to the same two messages every time.
//
// The input:
//   byte 0          which sample surface (definition files of the examples
//                   and the tests, in the codec's order)
//   then one operation after another, each a byte: the low 3 bits say what,
//   the high 5 bits which input port (modulo the surface's count):
//     0  short message, 3 bytes follow
//     1  sysex begin
//     2  sysex data, a length byte and that many bytes follow
//     3  sysex end
//     4  sysex abort
//     5  the run loop delivers the posted input event
//     6  a notification, 4 bytes follow
//     7  sysex data of one byte, which follows
//
// The MIDI library of this program is a stand-in that the fuzzer drives: it
// is what Tonewell_Create makes here, so the port hub and everything above
// it are the program's own.

#include "FuzzSupport.h"

#include "codec/CodecSupport.h"
#include "foundation/TextResource.h"
#include "generic/GenericMidiCodec.h"
#include "host/KinvarHUB.h"
#include "host/Vistal.h"
#include "midi/MIDIHub.h"
#include "midi/PortAddress.h"

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace
{
using namespace NSTonewell;
using NSFuzzing::Require;

constexpr u32 kPortCount = NSKinvarCodec::kMaxPortCount;
// Surfaces beyond this many samples are left out.
constexpr u32 kMaxSurfaces = 8;

// ---- The stand-in library -------------------------------------------------

// kPortCount ports for each surface.
std::vector<std::string> PortNames(const char* direction)
{
    std::vector<std::string> names;
    for (u32 i = 1; i <= kPortCount * kMaxSurfaces; ++i)
        names.push_back(std::string("fuzz:") + direction + " " + std::to_string(i));
    return names;
}

// The open input ports by their position in the list, with their handlers.
struct TOpenIn
{
    IMIDIInHandler* fHandler = nullptr;
    IMIDIInPort* fPort = nullptr;
};
std::array<TOpenIn, kPortCount * kMaxSurfaces> gOpenIn;

class CFuzzInPort final : public IMIDIInPort
{
public:
    explicit CFuzzInPort(u32 index) : fIndex(index) {}
    ~CFuzzInPort() override { gOpenIn[fIndex] = {}; }

private:
    u32 fIndex;
};

class CFuzzSender final : public IMIDISender
{
public:
    u32 IMIDISender_SendShort(const TTonewellShortMessage*) override { return kTonewellOK; }
    u32 IMIDISender_SendSysex(const u8*, u32) override { return kTonewellOK; }
};

class CFuzzLibrary final : public ITonewell
{
public:
    u32 ITonewell_SetDebugger(IDebugger*) override { return kTonewellOK; }
    u32 ITonewell_SetNotificationHandler(IMIDINotificationHandler*) override { return kTonewellOK; }
    std::unique_ptr<IMIDIPortList> ITonewell_GetInPorts(u32* status) override
    {
        *status = kTonewellOK;
        return std::make_unique<CPortList>(MakePortAddresses(EBackend::kJACK, EDirection::kIn, fInNames));
    }
    std::unique_ptr<IMIDIInPort> ITonewell_OpenInPort(IMIDIInHandler* handler, const IMIDIPortSpec* port,
                                                      u32* status) override
    {
        const auto index = FindPort(dynamic_cast<const CPortAddress&>(*port), fInNames);
        Require(index.has_value() && gOpenIn[*index].fHandler == nullptr, "ports open once");
        auto opened = std::make_unique<CFuzzInPort>(*index);
        gOpenIn[*index] = {handler, opened.get()};
        *status = kTonewellOK;
        return opened;
    }
    std::unique_ptr<IMIDIPortList> ITonewell_GetOutPorts(u32* status) override
    {
        *status = kTonewellOK;
        return std::make_unique<CPortList>(MakePortAddresses(EBackend::kJACK, EDirection::kOut, fOutNames));
    }
    std::unique_ptr<IMIDISender> ITonewell_OpenOutPort(IMIDIOutHandler*, const IMIDIPortSpec*, u32* status) override
    {
        *status = kTonewellOK;
        return std::make_unique<CFuzzSender>();
    }

private:
    const std::vector<std::string> fInNames = PortNames("in");
    const std::vector<std::string> fOutNames = PortNames("out");
};

// ---- The stand-in toolkit ----------------------------------------------------

class CFuzzVistal final : public IVistal
{
public:
    u32 IVistal_PostCustomEvent(u32 event, u32) override
    {
        Require(event == kInputEvent, "the hub posts its input event");
        fPosted = true;
        return kVistalOK;
    }
    u32 IVistal_UpdateCommands() override { return kVistalOK; }
    u32 IVistal_RequestQuit() override { return kVistalOK; }
    u32 IVistal_ShowAlert(const TAlertRecord&, IAlertListener& listener) override
    {
        return listener.IAlertListener_ButtonPressed(1);
    }
    u32 IVistal_ShowOpenDialog(const TOpenDialogRequest&, IOpenDialogListener& listener) override
    {
        return listener.IOpenDialogListener_Chosen({});
    }
    u32 IVistal_Yield() override { return kVistalOK; }
    u32 IVistal_CreateDocumentWindow(IDocumentWindowCreator&, u32, u32) override { return kVistalOK; }

    bool fPosted = false;
};

CFuzzVistal gVistal;

// ---- The surfaces ------------------------------------------------------------

TCodecPtr gCodec;
std::vector<NSKinvarCodec::TControlSurfaceInfo> gInfos;

void LoadModels()
{
    NSGenericMidiCodec::TScanPlaces places;
    places.fFolders = {BRASSFOLD_FUZZ_SAMPLES_DIRS};
    gCodec.reset(NSGenericMidiCodec::CreateGenericMidiCodec(places), codec_deleter());
    gInfos = GetControlSurfacesForCodec(gCodec, {});
    Require(!gInfos.empty(), "the sample surfaces are there");
    if (gInfos.size() > kMaxSurfaces)
        gInfos.resize(kMaxSurfaces);
}

// Checks what the hub hands on, as the panel would take it.
class CCheckingListener final : public IInputListener
{
public:
    explicit CCheckingListener(u32 itemCount) : fItemCount(itemCount) {}
    void IInputListener_OnInput(const NSKinvarCodec::TItemInput* input) override
    {
        Require(input != nullptr && input->fItemIndex < fItemCount, "inputs name an item of the surface");
    }

private:
    u32 fItemCount;
};

// One running sample surface: its id in the hub, its first port, its listener.
struct TRunningSurface
{
    u32 fId;
    u32 fFirstPort;
    u32 fInPortCount;
    std::unique_ptr<CCheckingListener> fListener;
};
std::vector<TRunningSurface> gSurfaces;

void StartSurfaces()
{
    const std::vector<NSMIDIHub::CMIDIPortSpec> inPorts = NSMIDIHub::GetMIDIHub().GetInPorts();
    const std::vector<NSMIDIHub::CMIDIPortSpec> outPorts = NSMIDIHub::GetMIDIHub().GetOutPorts();
    CKinvarHUB& hub = GetKinvarHUB();
    for (u32 index = 0; index < gInfos.size(); ++index)
    {
        const NSKinvarCodec::TControlSurfaceInfo& info = gInfos[index];
        const auto in = inPorts.begin() + index * kPortCount;
        const auto out = outPorts.begin() + index * kPortCount;
        const u32 id = hub.CreateActiveControlSurface(gCodec, info, u"Fuzzed", std::vector(in, in + info.fInPortCount),
                                                      std::vector(out, out + info.fOutPortCount));
        auto listener = std::make_unique<CCheckingListener>(hub.GetItemCount(id));
        hub.AddInputListener(id, listener.get());
        gSurfaces.push_back({id, index * kPortCount, info.fInPortCount, std::move(listener)});
    }
}

// ---- One input ------------------------------------------------------------------

class CInput
{
public:
    CInput(const u8* data, std::size_t size) : fData(data), fSize(size) {}
    bool AtEnd() const { return fPosition >= fSize; }
    u8 Byte() { return AtEnd() ? 0 : fData[fPosition++]; }

private:
    const u8* fData;
    std::size_t fSize;
    std::size_t fPosition = 0;
};

void Drain(CKinvarHUB& hub)
{
    if (!std::exchange(gVistal.fPosted, false))
        return;
    hub.DriveInput();
}

// The same state at the start of every input: no system exclusive message
// under way, the same two messages in each port's history, the queue empty.
void Reset(const TRunningSurface& surface, CKinvarHUB& hub)
{
    for (u32 port = surface.fFirstPort; port < surface.fFirstPort + surface.fInPortCount; ++port)
    {
        const TOpenIn& open = gOpenIn[port];
        Require(open.fHandler != nullptr, "every port of the surface is open");
        open.fHandler->IMIDIInHandler_OnSysexAbort(open.fPort);
        const TTonewellShortMessage undefined{0, {0xF4, 0, 0}, {}};
        for (int i = 0; i < 2; ++i)
            open.fHandler->IMIDIInHandler_OnShortMessage(open.fPort, &undefined);
    }
    Drain(hub);
}

void Play(CInput& input, CKinvarHUB& hub, const TRunningSurface& surface)
{
    u64 time = 1000;
    while (!input.AtEnd())
    {
        const u8 operation = input.Byte();
        const TOpenIn& open = gOpenIn[surface.fFirstPort + (operation >> 3) % surface.fInPortCount];
        Require(open.fHandler != nullptr, "every port of the surface is open");
        time += 320;
        switch (operation & 7)
        {
        case 0:
        {
            TTonewellShortMessage message{};
            message.fTime = time;
            for (u8& byte : message.fBytes)
                byte = input.Byte();
            open.fHandler->IMIDIInHandler_OnShortMessage(open.fPort, &message);
            break;
        }
        case 1:
            open.fHandler->IMIDIInHandler_OnSysexBegin(open.fPort);
            break;
        case 2:
        {
            std::vector<u8> bytes(input.Byte());
            for (u8& byte : bytes)
                byte = input.Byte();
            open.fHandler->IMIDIInHandler_OnSysexData(open.fPort, &time, bytes.data(), u32(bytes.size()));
            break;
        }
        case 3:
            open.fHandler->IMIDIInHandler_OnSysexEnd(open.fPort, &time);
            break;
        case 4:
            open.fHandler->IMIDIInHandler_OnSysexAbort(open.fPort);
            break;
        case 5:
            Drain(hub);
            break;
        case 6:
        {
            u32 word = 0;
            for (int i = 0; i < 4; ++i)
                word = (word << 8) | input.Byte();
            open.fHandler->IMIDIInHandler_OnNotification(word);
            break;
        }
        case 7:
        {
            const u8 byte = input.Byte();
            open.fHandler->IMIDIInHandler_OnSysexData(open.fPort, &time, &byte, 1);
            break;
        }
        }
    }
    Drain(hub);
}
} // namespace

std::unique_ptr<ITonewell> Tonewell_Create(const char*, u32, u32* status)
{
    *status = kTonewellOK;
    return std::make_unique<CFuzzLibrary>();
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    NSFuzzing::InstallQuietAssertions();
    SetVistal(&gVistal);
    LoadTextResource(2000);
    LoadModels();
    StartSurfaces();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    CInput input(data, size);
    const TRunningSurface& surface = gSurfaces[input.Byte() % gSurfaces.size()];
    CKinvarHUB& hub = GetKinvarHUB();
    Reset(surface, hub);
    Play(input, hub, surface);
    Require(hub.GetQueuedInputCount() == 0, "the run loop leaves no input behind");
    return 0;
}
