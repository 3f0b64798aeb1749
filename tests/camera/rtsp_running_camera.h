#pragma once

#include "camera/media_decoder.h"
#include "camera/rtsp_test_client.h"

#include "camera/simulated_camera.h"

#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace larkmoor::camera
{

/// Of the Transport header: media in the connection.
inline constexpr const char* kInterleaved = "RTP/AVP/TCP;unicast;interleaved=0-1";

inline CameraOptions SmallCamera(std::vector<std::string> faults = {})
{
    CameraOptions options;
    options.faults = std::move(faults);
    for (const char* stream : {"videoin_c0_s0", "videoin_c0_s2"})
    {
        for (const char* setting : {"_codectype=h264", "_resolution=320x240", "_h264_maxframe=30",
                                    "_h264_intraperiod=250", "_h264_qvalue=10"})
            options.parameters.push_back(std::string(stream) + setting);
    }
    return options;
}

/// A camera that runs as long as the test.
class RunningCamera
{
public:
    explicit RunningCamera(CameraOptions options = SmallCamera()) : camera_(std::move(options))
    {
        std::string error;
        EXPECT_TRUE(camera_.Start(error)) << error;
        camera_.Truth().SetListener(
            [this](const TruthUnit& unit)
            {
                const std::lock_guard guard(lock_);
                truth_[unit.rtp.value_or(0)] = unit;
            });
    }

    SimulatedCamera* operator->() { return &camera_; }

    std::optional<TruthUnit> TruthOf(std::uint32_t timestamp)
    {
        const std::lock_guard guard(lock_);
        const auto found = truth_.find(timestamp);
        return found == truth_.end() ? std::nullopt : std::optional(found->second);
    }

private:
    std::mutex lock_; // guards the truth
    std::map<std::uint32_t, TruthUnit> truth_;
    SimulatedCamera camera_;
};

/// Takes packets from `next` until `count` access units are whole.
template <typename Next>
std::vector<AccessUnitReader::Unit> ReadUnits(AccessUnitReader& reader, std::size_t count, Next next)
{
    std::vector<AccessUnitReader::Unit> units;
    while (units.size() < count)
    {
        const std::optional<Bytes> packet = next();
        if (!packet)
            break;
        if (auto unit = reader.Add(*packet))
            units.push_back(std::move(*unit));
    }
    EXPECT_EQ(units.size(), count);
    return units;
}

inline std::optional<Bytes> NextMedia(RtspTestClient& client)
{
    while (auto frame = client.NextFrame())
    {
        if (frame->channel == 0)
            return std::move(frame->bytes);
    }
    return std::nullopt;
}

inline std::vector<AccessUnitReader::Unit> ReadInterleaved(RtspTestClient& client, AccessUnitReader& reader,
                                                           std::size_t count)
{
    return ReadUnits(reader, count, [&] { return NextMedia(client); });
}

/// All of them decode, each shows the number behind that of the one before.
inline void ExpectFilm(const std::vector<AccessUnitReader::Unit>& units)
{
    MediaDecoder decoder(VideoCodec::H264);
    std::optional<std::uint32_t> last;
    for (const auto& unit : units)
    {
        const auto number = decoder.Number(unit.bytes);
        ASSERT_TRUE(number);
        if (last)
        {
            EXPECT_EQ(*number, *last + 1);
        }
        last = number;
    }
}

} // namespace larkmoor::camera
