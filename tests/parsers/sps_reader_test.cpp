#include "parsers/picture_size.h"

#include <gtest/gtest.h>

#include "support/bytes.h"
#include "support/table.h"

namespace
{

using korvane::PictureSize;
using korvane::ReadPictureSize;
using korvane::test::Bytes, korvane::test::FromHex, korvane::test::Table;

TEST(SPSReader, ReadsWhatEncodersWrite)
{
    // As libx264 wrote them, without the NAL header.
    for (const auto& [name, hex, size] : Table<const char*, const char*, PictureSize>{
             {"baseline", "42c00bd902c4ec0440000003004000000c83c50a92", {176, 144}},
             {"baseline, cropped", "42c028da01e0089f97011000000300100000030320f1832a", {1920, 1080}},
             {"baseline, five megapixels", "42c032da00a003c6c044000003000400000300c83c60ca80", {2560, 1920}},
             {"main", "4d401eeca0501ed808800000030080000019078b16cb", {640, 480}},
             {"main, odd width", "4d4020eca02b030f3780880000030008000003019078c18cb0", {1366, 768}},
             {"high", "640028acd940780227e5c044000003000400000300c83c60c658", {1920, 1080}},
             {"high, every field of VUI",
              "64001facd9405005bb014a0202028000000300800000193020007a12000f427261803c60c658",
              {1280, 720}},
             {"high 10", "6e001ea6cd940a02ff97011000000300100000030320f162d960", {640, 360}},
             {"high 4:2:2", "7a001ebcd940a03db011000003000100000300320f162d96", {640, 480}},
             {"high 4:4:4", "f4001e919b281407b60220000003002000000641e2c5b2c0", {640, 480}},
             {"interlaced", "64001eacd940b424d8088000000300800000190f8a14cb", {720, 576}},
             // Eight lines of the frame are to go, in two units of four; a unit counts as two here.
             {"interlaced, cropped", "640028acd94078044fde0220000003002000000643e2c5b2c0", {1920, 1084}},
         })
        EXPECT_EQ(size, ReadPictureSize(FromHex(hex))) << name;
}

/// Writes a set field by field.
class Writer
{
public:
    Writer& U(unsigned count, std::uint32_t value)
    {
        while (count-- > 0)
            bits_.push_back((value >> count & 1) != 0);
        return *this;
    }
    Writer& UE(std::uint32_t value)
    {
        unsigned length = 1;
        while ((std::uint64_t{value} + 1) >> length != 0)
            ++length;
        return U(length - 1, 0).U(length, value + 1);
    }
    Writer& SE(int value)
    {
        return UE(value > 0 ? static_cast<std::uint32_t>(2 * value - 1)
                            : static_cast<std::uint32_t>(-2 * value));
    }
    /// From log2_max_frame_num to max_num_ref_frames and its flag, with picture order of type 2.
    Writer& Middle() { return UE(0).UE(2).UE(1).U(1, 0); }
    /// Frames only, of so many macroblocks, without cropping.
    Writer& Size(std::uint32_t width, std::uint32_t height)
    {
        return UE(width - 1).UE(height - 1).U(1, 1).U(1, 1).U(1, 0);
    }
    Bytes Take() const
    {
        Bytes bytes((bits_.size() + 7) / 8, 0);
        for (std::size_t i = 0; i < bits_.size(); ++i)
            if (bits_[i])
                bytes[i / 8] = static_cast<std::uint8_t>(bytes[i / 8] | 0x80 >> i % 8);
        return bytes;
    }

private:
    std::vector<bool> bits_;
};

Writer Profile(std::uint32_t profile)
{
    return Writer().U(8, profile).U(16, 0x001E).UE(0);
}

TEST(SPSReader, WalksOverOptionalFields)
{
    Writer lists = Profile(100).UE(1).UE(0).UE(0).U(1, 0).U(1, 1);
    lists.U(1, 1); // sixteen entries, of which the sum wraps at 256
    for (int i = 0; i < 16; ++i)
        lists.SE(i % 2 == 0 ? 127 : -100);
    lists.U(1, 1).SE(-8); // the default list: one entry that says so
    lists.U(4, 0);
    lists.U(1, 1); // sixty-four entries
    for (int i = 0; i < 64; ++i)
        lists.SE(1);
    lists.U(1, 1).SE(4).SE(-12); // ends after its second entry

    Writer planes = Profile(244).UE(3).U(1, 1).UE(0).UE(0).U(1, 0).U(1, 1);
    planes.U(11, 0).U(1, 1).SE(-8); // twelve lists
    Writer cycle = Profile(77).UE(0).UE(1).U(1, 0).SE(-5).SE(7).UE(3).SE(1).SE(-1).SE(300).UE(4).U(1, 1);

    for (const auto& [name, set, size] : Table<const char*, Bytes, PictureSize>{
             {"scaling lists", lists.Middle().Size(22, 18).Take(), {352, 288}},
             {"separate planes and twelve lists", planes.Middle().Size(5, 4).Take(), {80, 64}},
             {"picture order of type 1", cycle.Size(22, 18).Take(), {352, 288}},
             {"cropping on all sides",
              Profile(66).Middle().UE(3).UE(4).U(1, 0).U(1, 1).U(1, 1).U(1, 1).UE(1).UE(2).UE(3).UE(4).Take(),
              {64 - 6, 160 - 14}},
             {"no high fields below profile 100", Profile(88).Middle().Size(1, 1).Take(), {16, 16}},
         })
        EXPECT_EQ(size, ReadPictureSize(set)) << name;
}

TEST(SPSReader, RefusesWhatGivesNoSize)
{
    const auto cropped = [](std::uint32_t right, std::uint32_t bottom)
    { return Profile(66).Middle().UE(3).UE(3).U(3, 7).UE(0).UE(right).UE(0).UE(bottom).Take(); };
    for (const auto& [name, set] : Table<const char*, Bytes>{
             {"all width cut off", cropped(32, 0)},
             {"more height cut off than there is", cropped(0, 4000000)},
             {"a cycle without end",
              Profile(66).UE(0).UE(1).U(1, 0).UE(0).UE(0).UE(0xFFFFFFFE).U(32, 0x55555555).Take()},
             {"a number of 33 bits", Profile(66).Middle().U(32, 0).U(32, 1).Size(1, 1).Take()},
             {"wider than a number",
              Profile(66).Middle().UE(0xFFFFFFFE).UE(3).U(1, 1).U(1, 1).U(1, 0).Take()},
             {"zeros", Bytes(64, 0)},
         })
        EXPECT_FALSE(ReadPictureSize(set)) << name;

    const Bytes whole = FromHex("640028acd940780227e5c044000003000400000300c83c60c658");
    for (std::size_t n = 0; n <= whole.size(); ++n)
    {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
        EXPECT_EQ(n >= 10, ReadPictureSize(cut).has_value()) << n << " bytes";
    }
}

} // namespace
