#pragma once

#include "gstreamer/controls.h"
#include "gstreamer/driver_library.h"
#include "gstreamer/media_frame.h"
#include "gstreamer/notices.h"
#include "gstreamer/source_settings.h"
#include "gstreamer/stream.h"

#include "host/contract/driver_settings.h"

#include <larkmoor/ip_audio.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

namespace larkmoor::gst
{

/// States of a video channel.
inline constexpr std::uint32_t kChannelRunning = 0;
inline constexpr std::uint32_t kChannelStopped = 3; // any other is connecting

/// One driver, open from the construction to `Close`, with the channels that run on it.
class Session
{
public:
    /// Opens the driver. `sound` may be null. Throws `Problem`.
    Session(std::shared_ptr<const DriverLibrary> library, host::Device device, const SourceSettings& settings,
            std::shared_ptr<Stream> picture, std::shared_ptr<Stream> sound, std::shared_ptr<Notices> notices);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void Start(); ///< the channels; returns at once. Throws `Problem`

    /// Asks for other pictures: the channel follows by itself, or is started anew where the driver can't
    /// change one that runs. Waits up to 2 s then.
    void Change(const PictureWish& wish);

    std::uint32_t ChannelState();
    std::uint32_t Channel() const { return channel_; }
    Controls& Control() { return controls_; }

    /// Stops all at the same time, and deletes the driver. Ends within `patience`: what takes longer goes on
    /// on a thread of its own, which keeps `session` and all that it needs. True if all had ended.
    static bool Close(std::shared_ptr<Session> session, std::chrono::milliseconds patience);

private:
    class VideoClient final : public korvane::ipcapture::IHostChannelClient
    {
    public:
        explicit VideoClient(Session& session) : session_(session) {}
        bool DeliverFrame(korvane::ipcapture::IHostFrame* frame) override;
        void ReservedSlot1() override {}
        void SignalLost() override;

    private:
        Session& session_;
    };

    class AudioClient final : public korvane::ipcapture::IHostAudioClient,
                              public korvane::ipcapture::IHostCodecList
    {
    public:
        AudioClient(Session& session, AudioChoice choice);
        bool AudioFrame(korvane::ipcapture::IHostFrame* frame) override;
        void StateChanged(std::uint32_t, std::uint32_t state) override;
        std::uint32_t GetCount() override { return static_cast<std::uint32_t>(items_.size()); }
        korvane::ipcapture::IHostCodecItem* GetItem(std::uint32_t index) override;

    private:
        class Item final : public korvane::ipcapture::IHostCodecItem
        {
        public:
            explicit Item(std::uint32_t code) : code_(code) {}
            std::uint32_t GetCode() override { return code_; }
            void ReservedSlot1() override {}
            bool IsUsable() override { return true; }

        private:
            std::uint32_t code_;
        };

        Session& session_;
        std::vector<Item> items_;
    };

    class IOClient final : public korvane::ipcapture::IHostIOClient
    {
    public:
        explicit IOClient(Notices& notices) : notices_(notices) {}
        void InputChanged(std::uint32_t number, std::uint32_t state) override;
        void ConnectionLost() override {} // the driver's log tells it

    private:
        Notices& notices_;
    };

    host::ChannelSettings Wish() const;
    bool StartVideo();
    void CloseAll();

    const std::shared_ptr<const DriverLibrary> library_;
    const host::Device device_;
    const std::uint32_t channel_;
    const std::uint32_t quality_;
    const bool canChange_; ///< a channel that runs
    const std::shared_ptr<Stream> picture_;
    const std::shared_ptr<Stream> sound_;
    const std::shared_ptr<Notices> notices_;
    FrameAllocator allocator_;
    VideoClient videoClient_;
    AudioClient audioClient_;
    IOClient ioClient_;
    Controls controls_;
    korvane::ipcapture::IIPCaptureDriverEx4* driver_ = nullptr;
    std::mutex videoLock_; // a channel is not stopped while it is changed or asked
    PictureWish wish_;
};

} // namespace larkmoor::gst
