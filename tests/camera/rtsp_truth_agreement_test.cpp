#include "base/annexb.h"
#include "base/md5.h"
#include "camera/rtsp/media_session.h"

#include "parsers/h264_rtp_media_parser.h"
#include "support/parser_bench.h"
#include "support/table.h"

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace larkmoor::camera
{
namespace
{

/// A sender whose packets go straight into the driver's parser, and what both say of each frame.
class Agreement
{
public:
    Agreement(const std::string& faults, const RtspOptions& options, std::uint32_t slices) : options_(options)
    {
        std::string error;
        EXPECT_TRUE(faults.empty() || faults_.Add(faults, error)) << error;
        EXPECT_TRUE(units_.Open(unitFile_, error)) << error;
        truth_.SetListener([this](const TruthUnit& unit) { told_.push_back(unit.md5); });
        faults_.Begin();

        VideoSettings settings;
        settings.width = 320;
        settings.height = 240;
        settings.keyInterval = 400; // a key frame every ten
        settings.quantizer = 20;
        settings.slices = slices;
        stream_->Configure(settings);
        const auto sets = stream_->Parameters();
        ParameterSets described;
        if (!faults_.Active("sprop-missing"))
        {
            described = *sets;
            bench_.parser.SetParameterSets({sets->sps, sets->pps, {}});
        }
        session_ = std::make_shared<MediaSession>(
            options_, services_,
            MediaSession::Setup{context_, stream_, std::make_unique<Output>(bench_.parser), described, 3});
        session_->Play();
    }

    ~Agreement()
    {
        session_->Stop();
        std::filesystem::remove(unitFile_);
    }

    void Run(int frames)
    {
        for (int i = 0; i < frames; ++i)
            stream_->Pull(*session_);
    }

    std::vector<std::string> Delivered() const
    {
        std::vector<std::string> all;
        for (const korvane::test::FrameRecord& frame : bench_.frames)
            all.push_back(Md5Hex(frame.data));
        return all;
    }
    const std::vector<std::string>& Told() const { return told_; }

    /// Of the frames that the truth does not tell of: those that hold a unit which was not sent whole.
    int TornFrames() const
    {
        std::ifstream file(unitFile_);
        const std::string log{std::istreambuf_iterator<char>(file), {}};
        const std::set<std::string> told(told_.begin(), told_.end());
        int torn = 0;
        for (const korvane::test::FrameRecord& frame : bench_.frames)
        {
            const std::span<const std::uint8_t> bytes(frame.data.data(),
                                                      frame.data.size() - 5); // the added end
            const auto isTorn = [&](const NalUnit& unit)
            {
                const std::string whole = Md5Hex(bytes.subspan(unit.offset, unit.size));
                return log.find("\"md5\":\"" + whole + "\",\"whole\":true") == std::string::npos;
            };
            if (!told.contains(Md5Hex(frame.data)) && std::ranges::any_of(SplitAnnexB(bytes), isTorn))
                ++torn;
        }
        return torn;
    }

private:
    class Output : public PacketOutput
    {
    public:
        explicit Output(korvane::CH264RTPMediaParser& parser) : parser_(parser) {}

        void Send(PacketBatch batch) override
        {
            for (const OutPacket& packet : batch.packets)
            {
                if (packet.control)
                    continue;
                Bytes bytes(packet.Head().begin(), packet.Head().end());
                bytes.insert(bytes.end(), packet.shared.begin(), packet.shared.end());
                korvane::CRTPPacket parsed;
                ASSERT_TRUE(parsed.Parse(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
                parser_.OnPacket(parsed);
            }
        }
        bool IsFull() const override { return false; }
        bool IsHungry() const override { return false; }

    private:
        korvane::CH264RTPMediaParser& parser_;
    };

    const std::string unitFile_ = testing::TempDir() + "units_" +
                                  std::to_string(reinterpret_cast<std::uintptr_t>(this)) + "_" +
                                  std::to_string(getpid());
    boost::asio::io_context context_;
    StreamHub hub_{context_, VideoSource::Flood};
    FaultPlan faults_;
    Authenticator authenticator_{{}, faults_};
    RequestLog requests_;
    TruthLog truth_;
    JsonLines units_;
    const RtspOptions options_;
    RtspServices services_{hub_, authenticator_, faults_, requests_, truth_, units_, nullptr};
    std::shared_ptr<VideoStream> stream_ = hub_.Stream({0, 0});
    korvane::test::ParserBench<korvane::CH264RTPMediaParser> bench_;
    std::vector<std::string> told_;
    std::shared_ptr<MediaSession> session_;
};

TEST(CameraTruth, IsWhatTheDriverDeliversOfAWholeStream)
{
    RtspOptions plain, small, odd, delimited;
    small.packetBytes = 300;
    odd.aggregate = odd.infoUnits = odd.stamps = true;
    delimited.delimiters = true;
    for (const auto& [name, options, faults, slices, framesOf40] :
         korvane::test::Table<const char*, RtspOptions, const char*, std::uint32_t, std::size_t>{
             {"plain", plain, "", 1, 40},
             {"small packets", small, "", 1, 40},
             {"slices", plain, "", 4, 40},
             {"slices in small packets: the last long ones remain", small, "", 4, 40},
             {"aggregates, SEI, stamps", odd, "", 1, 40},
             {"sets described only", plain, "sprop-only", 2, 40},
             {"sets in band only", small, "sprop-missing", 1, 40},
             {"leaps of the timestamp", plain, "ts-jump,ts-back=once", 1, 40},
             {"delimiters of two bytes in packets of their own", delimited, "", 1,
              4}, // only key frames survive
         })
    {
        SCOPED_TRACE(name);
        Agreement agreement(faults, options, slices);
        agreement.Run(40);
        EXPECT_EQ(agreement.Told().size(), framesOf40);
        EXPECT_EQ(agreement.Delivered(), agreement.Told());
    }
}

TEST(CameraTruth, IsNeverExceededByTornUnits)
{
    for (const char* faults : {"rtp-loss=0.02", "rtp-dup=0.02", "rtp-reorder=0.02", "foreign-ssrc=0.02",
                               "seq-jump", "rtp-loss=0.01,rtp-dup=0.01,rtp-reorder=0.01"})
    {
        for (const std::uint32_t slices : {1u, 4u})
        {
            SCOPED_TRACE(faults + std::string(", slices: ") + std::to_string(slices));
            RtspOptions options;
            options.packetBytes = 400;
            Agreement agreement(faults, options, slices);
            agreement.Run(1000);
            EXPECT_GT(agreement.Delivered().size(), 50u) << "it comes back after each loss";
            EXPECT_LE(agreement.Delivered().size(), 1000u);
            EXPECT_EQ(agreement.TornFrames(), 0);
        }
    }
}

} // namespace
} // namespace larkmoor::camera
