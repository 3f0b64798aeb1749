#pragma once

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "parsers/rtp_media_parser.h"
#include "support/fake_driver.h"
#include "transport/rtp_packet.h"

namespace korvane::test
{

/// A parser of RTP packets with everything around it: what it delivers is kept.
template <typename Parser>
class ParserBench : public IMediaParserClient
{
public:
    ParserBench() : parser(&driver, "Larkmoor")
    {
        driver.allocator = &allocator;
        parser.SetClient(this);
    }

    /// The next packet in sequence, `skipped` numbers further on; with no payload it is padding alone.
    void Send(const Bytes& payload, bool marker, int skipped = 0)
    {
        sequence = static_cast<std::uint16_t>(sequence + 1 + skipped);
        Bytes bytes = {0x80, static_cast<std::uint8_t>(marker ? 0xE1 : 0x61),
                       static_cast<std::uint8_t>(sequence >> 8), static_cast<std::uint8_t>(sequence)};
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(timestamp >> shift));
        bytes.insert(bytes.end(), {0, 0, 0, 1});
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        if (payload.empty())
        {
            bytes[0] = 0xA0;
            bytes.push_back(1);
        }
        CRTPPacket packet;
        ASSERT_TRUE(packet.ParseInPlace(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
        parser.OnPacket(packet);
    }

    /// A picture whose marker never comes: 10 MiB and more that begin with `first` and go on with `more`. It
    /// is given up with one message, and costs no more than itself.
    void SendWithoutEnd(const Bytes& first, Bytes more)
    {
        more.resize(60'000, 0xAA);
        Send(first, false);
        for (std::size_t i = 0; i <= Parser::kMaxFrameBytes / 60'000; ++i)
            Send(more, false);
        Send(more, true);
        EXPECT_TRUE(frames.empty());
        EXPECT_EQ(driver.Texts(kLevelError),
                  std::vector<std::string>{"korvane::CRTPMediaParser::CheckBufferSize: Frame buffer overflow "
                                           "detected, device 127.0.0.1:80"});
    }

    /// Four letters, as they stand in the frame.
    static std::string FormatOf(const FrameRecord& frame)
    {
        return {reinterpret_cast<const char*>(&frame.format), 4};
    }

    bool OnMediaFrame(ipcapture::IHostFrame* frame) override
    {
        frames.push_back(static_cast<FakeFrame*>(frame)->Record());
        return takes;
    }
    void GetResolution(std::pair<std::uint32_t, std::uint32_t>& size) override { size = resolution; }

    FakeDriver driver;
    FakeAllocator allocator;
    Parser parser;
    std::uint16_t sequence = 65533; // wraps within the first frames
    std::uint32_t timestamp = 3600;
    std::vector<FrameRecord> frames;
    std::pair<std::uint32_t, std::uint32_t> resolution{640, 480};
    bool takes = true;
};

} // namespace korvane::test
