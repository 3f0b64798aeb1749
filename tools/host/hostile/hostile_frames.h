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

using namespace korvane::ipcapture;

/// A frame of the bench host whose operations stall and throw. It stays when it has been released, so that a
/// later use of it is noticed.
class HostileFrame final : public IHostFrame
{
public:
    HostileFrame(HostSide& side, IHostFrame* frame, std::uint32_t sizeBytes, pid_t thread)
        : side_(side), frame_(frame), sizeBytes_(sizeBytes), thread_(thread)
    {
    }

    void SetData(const std::uint8_t* data, std::uint32_t sizeBytes) override
    {
        Pass(Operation::SetData, &IHostFrame::SetData, data, sizeBytes);
    }
    std::uint8_t* GetData() override;
    void SetDataSize(std::uint32_t sizeBytes) override
    {
        Pass(Operation::SetDataSize, &IHostFrame::SetDataSize, sizeBytes);
    }
    void SetTimeNow() override { Pass(Operation::SetTime, &IHostFrame::SetTimeNow); }
    void SetTime(const SYSTEMTIME* captureTime) override
    {
        Pass(Operation::SetTime, &IHostFrame::SetTime, captureTime);
    }
    void SetFormat(std::uint32_t formatCode) override
    {
        Pass(Operation::SetFormat, &IHostFrame::SetFormat, formatCode);
    }
    void SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config) override
    {
        Pass(Operation::DescribeFrame, &IHostFrame::SetCodecConfig, sizeBytes, config);
    }
    void SetHeight(std::uint32_t pixels) override { Describe(&IHostFrame::SetHeight, pixels); }
    void SetAudioBitRate(std::uint32_t bitRate) override { Describe(&IHostFrame::SetAudioBitRate, bitRate); }
    void SetWidth(std::uint32_t pixels) override { Describe(&IHostFrame::SetWidth, pixels); }
    void SetAudioInput(std::uint8_t audioInput) override { Describe(&IHostFrame::SetAudioInput, audioInput); }
    void SetSizeClass(std::uint32_t sizeClass) override { Describe(&IHostFrame::SetSizeClass, sizeClass); }
    void SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo) override
    {
        Pass(Operation::DescribeFrame, &IHostFrame::SetAudioFormat, sampleRate, reserved, stereo);
    }
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of a frame"); }
    void ReservedSlot2() override { ReservedSlot1(); }
    void ReservedSlot3() override { ReservedSlot1(); }
    void ReservedSlot4() override { ReservedSlot1(); }
    void ReservedSlot5() override { ReservedSlot1(); }
    void ReservedSlot6() override { ReservedSlot1(); }
    void ReservedSlot7() override { ReservedSlot1(); }
    void ReservedSlot8() override { ReservedSlot1(); }

private:
    friend class HostileAllocator;

    IHostFrame* Inner(); // null, and a fault, once it is released

    template <typename... Values>
    void Pass(Operation operation, void (IHostFrame::*set)(Values...), Values... values)
    {
        side_.Call(operation,
                   [&]
                   {
                       if (IHostFrame* const frame = Inner(); frame != nullptr)
                           (frame->*set)(values...);
                   });
    }
    template <typename Value>
    void Describe(void (IHostFrame::*set)(Value), Value value)
    {
        Pass(Operation::DescribeFrame, set, value);
    }

    HostSide& side_;
    std::atomic<IHostFrame*> frame_; // null once it is released
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
class HostileAllocator final : public IHostFrameAllocator
{
public:
    explicit HostileAllocator(HostSide& side) : side_(side) {}
    ~HostileAllocator() override;

    bool Holds(const IHostFrame* frame) const; ///< the driver does
    std::vector<HeldFrame> Held() const;
    std::vector<std::string> Faults() const { return faults_.Texts(); }

    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the allocator"); }
    void ReservedSlot2() override { ReservedSlot1(); }
    IHostFrame* AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                   const char* driverName) override;
    IHostFrame* AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                   const char* driverName) override;
    void ReleaseAudioFrame(IHostFrame* frame) override;
    void ReleaseFrame(IHostFrame* frame) override;

private:
    IHostFrame* Wrap(IHostFrame* frame, std::uint32_t sizeBytes);
    IHostFrame* TakeBack(IHostFrame* frame); // the inner one, or null

    HostSide& side_;
    FaultList faults_;
    FrameAllocator frames_{faults_};
    mutable std::mutex lock_; // over `all_`
    std::map<const IHostFrame*, std::unique_ptr<HostileFrame>> all_;
};

} // namespace larkmoor::host
