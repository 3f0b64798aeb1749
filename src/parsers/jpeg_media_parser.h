#pragma once

#include "device/driver.h"

#include <larkmoor/host_frame.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace korvane
{

/// Takes whole frames from an HTTP media parser.
class IMediaReceiver
{
public:
    virtual ~IMediaReceiver() = default;

    /// True if the frame was taken. Runs on the thread that parses; the frame is the parser's, which releases
    /// it when the call has returned.
    virtual bool OnMediaFrame(ipcapture::IHostFrame* frame) = 0;

    /// False once a stop was asked for: what the parser still has is dropped, and the host is not asked for
    /// memory any more.
    virtual bool WantsFrames() = 0;
};

/// Cuts the body of an HTTP response into frames. One thread: the one that reads the body.
class CHttpMediaParser
{
public:
    /// The most that a frame being collected may take: far above any picture of a camera, and what one
    /// channel can cost when a device sends no end.
    static constexpr std::size_t kMaximumFrameBytes = 10'485'760;

    /// `driver` outlives the parser.
    explicit CHttpMediaParser(IDriver* driver) : driver_(driver) {}
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

/// Cuts JPEG pictures (ITU-T T.81, Annex B) out of an HTTP body: a multipart stream, pictures in a row, or a
/// single one. No header is read: whatever stands between two pictures falls away.
///
/// A marker counts only when both of its bytes lie in one block. A start of image begins a frame anew, also
/// inside an open one, so a picture that was cut short is lost without a word. The state lives on from block
/// to block and from one connection to the next.
class CJpegMediaParser final : public CHttpMediaParser
{
public:
    using CHttpMediaParser::CHttpMediaParser;

    void ParseData(std::span<const std::uint8_t> block) override;

private:
    void OnMarker(std::span<const std::uint8_t> block, std::size_t at, std::size_t& start);
    void Forget();
    void Deliver();

    bool frameOpen_ = false; ///< between a start of image and its end
};

} // namespace korvane
