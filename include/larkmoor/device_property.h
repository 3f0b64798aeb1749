#pragma once

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// The numbered properties of a device.
///
/// A capability query writes each of them with `ICapabilityStore::AddParameter`. The host keeps the texts and
/// returns them from `IHostDeviceSettings::GetParameter` when it opens the device. All values are zero-ended
/// texts; a "number" is in decimal digits. The query writes "(none)" for an empty text, and the driver reads
/// "(none)" as an absent property.
enum DeviceProperty : std::uint32_t
{
    /// Number: 1 NTSC, 0 PAL, as the host started the query. Required: `Open` returns false if it is missing
    /// or not an integer. The driver treats any other integer as NTSC.
    kPropertyVideoStandard = 1,

    /// Number: 1 NTSC, 0 PAL, as the device reports it. The driver does not read it.
    kPropertyCameraVideoStandard = 2,

    /// Number, 1 to 65535: the RTSP port for video; 0 or absent means 554. Audio uses the port that the
    /// device reports when the audio channel starts.
    kPropertyRtspPort = 3,

    /// Number, 0 to 1024: how many presets the device can store.
    kPropertyPresetCount = 4,

    /// Text of eight digits, each 1 or 0: the device has PTZ; PTZ is always available (otherwise
    /// `IIPPTZApi::IsAvailable` asks the device); pan; tilt; zoom; focus; iris; and bit 7 of the device's
    /// "capability_ptzenabled", inverted.
    kPropertyPTZFlags = 5,

    /// Number: how the device writes picture sizes. 1 in pixels ("640x480"), 2 by name ("CIF"), 0 unknown
    /// (any device with the legacy interface).
    kPropertyCameraType = 6,

    /// Number: 0 Motion JPEG comes over RTSP, anything else over HTTP. Used only for codec Motion JPEG.
    kPropertyJpegOverHttp = 7,

    /// Number: exactly "1" if the device can combine two fields into one frame on request.
    kPropertyFrameMode = 8,

    /// Number: exactly "1" if the device has the legacy interface, which does not list capabilities.
    kPropertyDiscontinuedDevice = 9,

    /// Numbers, in the device's own units: the lowest and highest speed of pan and tilt, and of zoom. All are
    /// 0 for a device without PTZ.
    kPropertyPTZMinSpeed = 10,
    kPropertyPTZMaxSpeed = 11,
    kPropertyZoomMinSpeed = 12,
    kPropertyZoomMaxSpeed = 13,

    /// Text: the number of streams of each channel and their paths, `count;HTTP paths;RTSP paths`. ","
    /// separates channels, "!" the streams of one channel, as in
    /// "2;video.mjpg!video2.mjpg;live.sdp!live2.sdp".
    kPropertyStreams = 14,

    /// Number: 0 the PTZ accepts speeds, 1 it does not. If the property is missing or has any other
    /// value, the driver sends no movement.
    kPropertyPTZType = 15,

    /// Text, for PTZ type 0: if it contains "XY", the driver scales the speed of each axis; if it contains
    /// "S", it scales the common speed. What it does not contain is sent as 1.
    kPropertyPTZSubtype = 16,

    /// Texts: the codecs for audio from the device and to the device that this driver can use, best first,
    /// separated by ",": "aac4", "g711" and "g726", as the device writes them. The driver does not read 18.
    kPropertyAudioInputCodecs = 17,
    kPropertyAudioOutputCodecs = 18,

    /// Texts like "Count=1; IsStereo=0": the number of audio channels from the device and to the device. Not
    /// written for a device without audio in that direction. `GetAudioCapture` and `GetAudioSender` return
    /// null if the property is missing, cannot be read, or has a count of 0.
    kPropertyAudioInput = 101,
    kPropertyAudioOutput = 102
};

} // namespace ipcapture
} // namespace korvane
