#pragma once

#include "host/contract/fault_list.h"
#include "host/contract/frame_allocator.h"
#include "host/hostile/host_side.h"

#include <larkmoor/host_frame.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace larkmoor::host
{

class HostileAllocator;

/// A frame of the bench host whose operations stall and throw. It stays when it has been released, so that a
/// later use of it is noticed.
class HostileFrame final : public korvane::ipcapture::IHostFrame
{
public:
    HostileFrame(HostSide& side, korvane::ipcapture::IHostFrame* frame, std::uint32_t sizeBytes, pid_t thread)
        : side_(side), frame_(frame), sizeBytes_(sizeBytes), thread_(thread)
    {
    }

    void SetData(const std::uint8_t* data, std::uint32_t sizeBytes) override;
    std::uint8_t* GetData() override;
    void SetDataSize(std::uint32_t sizeBytes) override;
    void SetTimeNow() override;
    void SetTime(const SYSTEMTIME* captureTime) override;
    void SetFormat(std::uint32_t formatCode) override;
    void SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config) override;
    void SetHeight(std::uint32_t pixels) override;
    void SetAudioBitRate(std::uint32_t bitsPerSecond) override;
    void SetWidth(std::uint32_t pixels) override;
    void SetAudioInput(std::uint8_t audioInput) override;
    void SetSizeClass(std::uint32_t sizeClass) override;
    void SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo) override;
    void ReservedSlot1() override { Reserved(); }
    void ReservedSlot2() override { Reserved(); }
    void ReservedSlot3() override { Reserved(); }
    void ReservedSlot4() override { Reserved(); }
    void ReservedSlot5() override { Reserved(); }
    void ReservedSlot6() override { Reserved(); }
    void ReservedSlot7() override { Reserved(); }
    void ReservedSlot8() override { Reserved(); }

private:
    friend class HostileAllocator;

    void Reserved() { side_.Fault("call of a reserved operation of a frame"); }
    template <typename Body>
    void Use(Operation operation, const Body& body); // nothing but a fault once it is released

    HostSide& side_;
    std::atomic<korvane::ipcapture::IHostFrame*> frame_; // null once it is released
    const std::uint32_t sizeBytes_;
    const pid_t thread_; // that asked for it
};

/// A frame that the driver has not released.
struct HeldFrame
{
    pid_t thread = 0; ///< that asked for it
    std::uint32_t sizeBytes = 0;
};

/// A frame pool that stalls, throws and runs dry. Any thread.
class HostileAllocator final : public korvane::ipcapture::IHostFrameAllocator
{
public:
    explicit HostileAllocator(HostSide& side) : side_(side) {}
    ~HostileAllocator() override;

    bool Holds(const korvane::ipcapture::IHostFrame* frame) const; ///< the driver does
    std::vector<HeldFrame> Held() const;
    std::vector<std::string> Faults() const { return faults_.Texts(); }

    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the allocator"); }
    void ReservedSlot2() override { ReservedSlot1(); }
    korvane::ipcapture::IHostFrame* AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                                       const char* driverName) override;
    korvane::ipcapture::IHostFrame* AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                                       const char* driverName) override;
    void ReleaseAudioFrame(korvane::ipcapture::IHostFrame* frame) override;
    void ReleaseFrame(korvane::ipcapture::IHostFrame* frame) override;

private:
    korvane::ipcapture::IHostFrame* Wrap(korvane::ipcapture::IHostFrame* frame, std::uint32_t sizeBytes);
    korvane::ipcapture::IHostFrame* TakeBack(korvane::ipcapture::IHostFrame* frame); // the inner one, or null

    HostSide& side_;
    FaultList faults_;
    FrameAllocator frames_{faults_};
    mutable std::mutex lock_; // over `all_`
    std::map<const korvane::ipcapture::IHostFrame*, std::unique_ptr<HostileFrame>> all_;
};

} // namespace larkmoor::host
