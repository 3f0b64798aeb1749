#pragma once

#include "gstreamer/media_frame.h"

#include <cstdint>
#include <span>

#include <gst/gst.h>

namespace larkmoor::gst
{

/// The caps of all pictures, and of all sound, that a device can deliver: one media type a line.
inline constexpr const char* kVideoCaps = "video/x-h264,stream-format=byte-stream,alignment=au;"
                                          "video/mpeg,mpegversion=4,systemstream=false;"
                                          "image/jpeg";
inline constexpr const char* kAudioCaps = "audio/x-mulaw;audio/x-alaw;audio/x-adpcm,layout=g726;"
                                          "audio/mpeg,mpegversion=4,stream-format=raw";

/// What a frame is, as the caller's. Null for a format that is not known.
GstCaps* CapsOf(const FrameInfo& info);

/// How long the sound in that many bytes lasts; 0 for what tells no length.
GstClockTime DurationOf(const FrameInfo& info, std::size_t sizeBytes);

/// Puts sound into the form that its caps name, in place: G.726 comes packed from the least significant bit
/// on (RFC 3551), and "layout=g726" is packed from the most significant one (ITU-T I.366.2, annex E).
void PutIntoForm(const FrameInfo& info, std::span<std::uint8_t> bytes);

} // namespace larkmoor::gst
