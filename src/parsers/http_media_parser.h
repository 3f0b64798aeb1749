#pragma once

#include "parsers/media_receiver.h"
#include "runtime/driver.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace korvane
{

/// Cuts the body of an HTTP response into frames. One thread: the one that reads the body.
class CHttpMediaParser
{
public:
    /// The most that a frame being collected may take: far above any picture of a camera, and what one
    /// channel can cost when a device sends no end.
    static constexpr std::size_t kMaximumFrameBytes = 10'485'760;

    /// `driver` outlives the parser.
    explicit CHttpMediaParser(IDriver* driver);
    virtual ~CHttpMediaParser() = default;
    CHttpMediaParser(const CHttpMediaParser&) = delete;
    CHttpMediaParser& operator=(const CHttpMediaParser&) = delete;

    /// Where whole frames go; not owned. Without a receiver frames are dropped silently.
    void SetReceiver(IMediaReceiver* receiver) { receiver_ = receiver; }

    /// Takes the next bytes of the body, cut anywhere. Frames are given to the receiver during the call.
    virtual void ParseData(std::span<const std::uint8_t> block) = 0;

protected:
    /// True while what has been collected is within its limit; otherwise writes a line.
    bool CheckBufferSize() const;

    /// Bytes that have come since the last frame and lie outside of any. They count towards the limit but
    /// nobody needs them, so they are not kept.
    std::size_t skippedBytes_ = 0;

    IMediaReceiver* receiver_ = nullptr;
    std::uint32_t width_ = 0;  ///< pixels, of the last picture header; 0 until one was seen
    std::uint32_t height_ = 0; ///< pixels
    std::vector<std::uint8_t> frame_;
    IDriver* const driver_;
};

} // namespace korvane
