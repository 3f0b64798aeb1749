#pragma once

#include <larkmoor/host_sink.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace larkmoor::gst
{

/// Something that the application is to hear of.
struct Notice
{
    enum class Kind
    {
        Log,        ///< `number` is the level
        SignalLost, ///< of the video channel
        Input,      ///< `number` is the input, `value` its state
        Latency,    ///< of a stream has grown
        Ended,      ///< `text` is the pad's name: there was an EOS before there was a pad
    };

    Kind kind;
    std::uint32_t number = 0;
    std::uint32_t value = 0;
    std::string text;
};

/// The way from the driver's threads, which never wait, to the element's own, which speaks to the
/// application. Of more than `kMost` that wait, log lines are lost and counted. Any thread.
class Notices final : public korvane::ipcapture::IHostSink
{
public:
    static constexpr std::size_t kMost = 500;

    void Put(Notice notice);
    void WriteMessage(korvane::ipcapture::CDebugInfoIf* message) override;

    /// All that wait, as soon as there are any or `Wake` was called; none after that time.
    std::vector<Notice> Take(std::chrono::milliseconds patience);
    void Wake();

private:
    std::mutex lock_;
    std::condition_variable change_;
    std::vector<Notice> waiting_;
    std::size_t lost_ = 0;
    bool isWoken_ = false;
};

} // namespace larkmoor::gst
