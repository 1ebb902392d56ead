#pragma once
// The loopback backend: two cables, "Loopback A" and "Loopback B", inside the
// process. What is sent on the output port of a cable arrives at the input
// port of the same name, as whole messages, on the backend's delivery
// thread. It needs no hardware and no server, so it is always there.
//
// A cable carries to every input port open on it; with none open, what is
// sent is gone. A sender that outruns the delivery thread waits for room,
// up to a quarter of a second, rather than lose messages; on the delivery
// thread itself (a handler that answers on a cable) nothing waits, and a
// message that doesn't fit is lost; an input port that lost messages says
// how many on the debug channel when it closes.
//
// A cable can be unplugged and plugged in again, as a device can: while it is
// out it is not listed, its ports can't be opened, and sends on the ports
// opened before fail with kTonewellPortGone; those ports stay dead after it
// is back (the device is a new one then), and their IsAlive says so.

#include "midi/Backend.h"
#include "midi/DeliveryThread.h"

#include <array>
#include <mutex>
#include <optional>

namespace NSTonewell
{
inline constexpr const char* kLoopbackCableNames[] = {"Loopback A", "Loopback B"};

class CLoopbackBackend final : public CBackend
{
public:
    explicit CLoopbackBackend(const CLibraryDebug& debug);
    ~CLoopbackBackend() override;

    EBackend GetKind() const override { return EBackend::kLoopback; }
    std::vector<std::string> ListPorts(EDirection direction) override;
    std::unique_ptr<IMIDIInPort> OpenIn(IMIDIInHandler& handler, const CPortAddress& address,
                                        u32& status) override;
    std::unique_ptr<IMIDISender> OpenOut(const CPortAddress& address, u32& status) override;

    // Unplugs the cable of that name, or plugs it in again; false for an
    // unknown name. The thread that opens ports.
    bool SetCablePlugged(const std::string& name, bool plugged);

    // One cable: the input ports open on it.
    class CCable
    {
    public:
        CCable(std::string name, CDeliveryThread& delivery);
        const std::string& GetName() const { return fName; }
        // The number of the plugging that a port opened now belongs to;
        // nullopt while the cable is out.
        std::optional<u64> GetPlugging();
        void SetPlugged(bool plugged);
        // Whether the cable is in and still in the plugging of that number.
        bool IsPluggedAs(u64 plugging);
        // Passed over when the plugging has ended.
        void Attach(const std::shared_ptr<CInputChannel>& channel, u64 plugging);
        void Detach(const std::shared_ptr<CInputChannel>& channel);
        // Any thread; see above. False when the plugging has ended.
        bool Transmit(const u8* data, std::size_t size, u64 plugging);

    private:
        void PostPatiently(std::unique_lock<std::mutex>& lock, std::size_t index, u64 time,
                           const u8* data, std::size_t size);

        const std::string fName;
        CDeliveryThread& fDelivery;
        // Serialises the senders (each channel takes one producer at a
        // time) and guards fChannels and the plugging.
        std::mutex fLock;
        std::vector<std::shared_ptr<CInputChannel>> fChannels;
        bool fPlugged = true;
        u64 fPlugging = 0;
    };

    CCable* FindCable(const std::string& name);

private:
    // The cable of address and its plugging now; nullopt when it is out or unknown.
    std::optional<u64> FindPlugging(const CPortAddress& address, CCable*& cable);

    const CLibraryDebug& fDebug;
    // The delivery outlives the cables' channels: it is made first and
    // destroyed last.
    CDeliveryThread fDelivery;
    std::array<CCable, 2> fCables;
};
} // namespace NSTonewell
