#include "camera/rtsp/interleaved_output.h"

#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace larkmoor::camera
{
namespace
{

using namespace std::string_view_literals;

// None of it holds a "$" with the number of a channel in use behind it: no reader could tell that from a
// frame.
constexpr std::array<std::string_view, 6> kGarbage = {
    "\x00\xFF\x80\xE0stray"sv, "$"sv,    "RTSP/1.0 200 OK\r\nCSeq: 1\r\n\r\n"sv,
    "$$\x7F\x00\x05$tray"sv,   "\r\n"sv, "ANNOUNCE rtsp://127.0.0.1/ RTSP/1.0\r\nCSeq: 1\r\n\r\n"sv,
};

/// A frame for the channel four above that of the session.
std::string UnaskedFrame(std::uint8_t rtpChannel)
{
    std::string frame = std::string("$?\0\x10"sv).replace(1, 1, 1, static_cast<char>(rtpChannel + 4));
    return frame + std::string("\x80\x60\x12\x34unasked-data"sv);
}

} // namespace

void InterleavedOutput::Send(PacketBatch batch)
{
    writer_->SetCutting(faults_.Active("interleaved-cut"));
    if (faults_.Active("interleaved-garbage"))
        writer_->AddText(std::string(kGarbage[oddities_++ % kGarbage.size()]));
    if (faults_.Active("interleaved-early"))
        writer_->AddText(UnaskedFrame(rtpChannel_));
    writer_->AddPackets(std::move(batch), rtpChannel_);
}

} // namespace larkmoor::camera
