#pragma once

#include "host/contract/fault_list.h"
#include "host/contract/frame_allocator.h"
#include "host/contract/stream_client.h"

#include <larkmoor/ip_audio.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// What has come of an audio stream so far. Moments are seconds of `MonotonicSeconds`.
struct AudioCounts
{
    std::uint64_t frames = 0; ///< taken
    std::uint64_t bytes = 0;
    std::uint64_t refused = 0;
    double firstFrame = 0; ///< 0 before it
    double lastFrame = 0;
    FrameInfo info;                                       ///< of the last frame
    std::vector<std::pair<double, std::uint32_t>> states; ///< with their moments, the first hundred
    std::uint32_t state = 0;                              ///< the last one
};

/// The host's end of one audio channel, with the list of formats that the host takes. The driver's threads
/// call the contract's operations, the host's everything else.
class AudioClient final : public IHostAudioClient, public IHostCodecList
{
public:
    /// `formats` are the codes that the host takes. `receiver` may be null; all outlive the client.
    AudioClient(FrameAllocator& allocator, FaultList& faults, IFrameReceiver* receiver,
                const std::vector<std::uint32_t>& formats);

    AudioCounts Counts() const;

    bool AudioFrame(IHostFrame* frame) override;
    void StateChanged(std::uint32_t audioChannel, std::uint32_t state) override;
    std::uint32_t GetCount() override { return static_cast<std::uint32_t>(items_.size()); }
    IHostCodecItem* GetItem(std::uint32_t index) override
    {
        return index < items_.size() ? &items_[index] : nullptr;
    }

private:
    class Item final : public IHostCodecItem
    {
    public:
        Item(std::uint32_t code, FaultList& faults) : code_(code), faults_(faults) {}
        std::uint32_t GetCode() override { return code_; }
        void ReservedSlot1() override { faults_.Add("call of a reserved operation of a codec"); }
        bool IsUsable() override { return true; }

    private:
        std::uint32_t code_;
        FaultList& faults_;
    };

    FrameAllocator& allocator_;
    FaultList& faults_;
    IFrameReceiver* receiver_;
    std::vector<Item> items_;
    mutable std::mutex lock_; // over the counts
    AudioCounts counts_;
};

/// "starting", "streaming" and so on, or the number.
std::string AudioStateName(std::uint32_t state);

} // namespace larkmoor::host
