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

#include "midi/Backend.h"
#include "midi/DeliveryThread.h"

#include <array>
#include <mutex>

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

    // One cable: the input ports open on it.
    class CCable
    {
    public:
        CCable(std::string name, CDeliveryThread& delivery);
        const std::string& GetName() const { return fName; }
        void Attach(const std::shared_ptr<CInputChannel>& channel);
        void Detach(const std::shared_ptr<CInputChannel>& channel);
        // Any thread; see above.
        void Transmit(const u8* data, std::size_t size);

    private:
        void PostPatiently(std::unique_lock<std::mutex>& lock, std::size_t index, u64 time,
                           const u8* data, std::size_t size);

        const std::string fName;
        CDeliveryThread& fDelivery;
        // Serialises the senders (each channel takes one producer at a
        // time) and guards fChannels.
        std::mutex fLock;
        std::vector<std::shared_ptr<CInputChannel>> fChannels;
    };

    CCable* FindCable(const std::string& name);

private:
    const CLibraryDebug& fDebug;
    // The delivery thread outlives the cables' channels: it is made first
    // and destroyed last.
    CDeliveryThread fDelivery;
    std::array<CCable, 2> fCables;
};
} // namespace NSTonewell
