#include "parsers/picture_size.h"

#include "parsers/bit_reader.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kFirstHighProfile = 100;
constexpr std::uint32_t kChroma444 = 3;
constexpr std::uint64_t kMacroblock = 16; // pixels
constexpr std::uint64_t kCropUnit = 2;    // pixels
constexpr std::uint64_t kMaxSpsExtent = UINT32_MAX;

/// scaling_list, clause 7.3.2.1.1.1.
void SkipScalingList(BitReader& bits, int entries)
{
    std::int64_t last = 8;
    std::int64_t next = 8;
    for (int i = 0; i < entries && !bits.Failed(); ++i)
    {
        if (next != 0)
            next = ((last + bits.SignedExpGolomb()) % 256 + 256) % 256;
        if (next != 0)
            last = next;
    }
}

void SkipHighProfileFields(BitReader& bits)
{
    const std::uint32_t chromaFormat = bits.UnsignedExpGolomb();
    if (chromaFormat == kChroma444)
        bits.Skip(1);         // separate_colour_plane_flag
    bits.UnsignedExpGolomb(); // bit_depth_luma_minus8
    bits.UnsignedExpGolomb(); // bit_depth_chroma_minus8
    bits.Skip(1);             // qpprime_y_zero_transform_bypass_flag
    if (!bits.Bit())          // seq_scaling_matrix_present_flag
        return;
    const int lists = chromaFormat == kChroma444 ? 12 : 8;
    for (int i = 0; i < lists; ++i)
        if (bits.Bit()) // seq_scaling_list_present_flag
            SkipScalingList(bits, i < 6 ? 16 : 64);
}

void SkipPictureOrder(BitReader& bits)
{
    const std::uint32_t type = bits.UnsignedExpGolomb();
    if (type == 0)
        bits.UnsignedExpGolomb(); // log2_max_pic_order_cnt_lsb_minus4
    if (type != 1)
        return;
    bits.Skip(1);             // delta_pic_order_always_zero_flag
    bits.UnsignedExpGolomb(); // offset_for_non_ref_pic
    bits.UnsignedExpGolomb(); // offset_for_top_to_bottom_field
    const std::uint32_t cycle = bits.UnsignedExpGolomb();
    for (std::uint32_t i = 0; i < cycle && !bits.Failed(); ++i)
        bits.UnsignedExpGolomb(); // offset_for_ref_frame
}

/// An extent in pixels less what is cut off both ends; nothing when that leaves nothing.
std::optional<std::uint32_t> Cropped(std::uint64_t extent, std::uint64_t first, std::uint64_t last)
{
    const std::uint64_t cut = kCropUnit * (first + last);
    if (cut >= extent || extent - cut > kMaxSpsExtent)
        return std::nullopt;
    return static_cast<std::uint32_t>(extent - cut);
}

} // namespace

std::optional<PictureSize> ReadPictureSize(std::span<const std::uint8_t> bytes)
{
    BitReader bits(bytes);
    const std::uint32_t profile = bits.Bits(8);
    bits.Skip(16);            // constraint flags, level_idc
    bits.UnsignedExpGolomb(); // seq_parameter_set_id
    if (profile >= kFirstHighProfile)
        SkipHighProfileFields(bits);
    bits.UnsignedExpGolomb(); // log2_max_frame_num_minus4
    SkipPictureOrder(bits);
    bits.UnsignedExpGolomb(); // max_num_ref_frames
    bits.Skip(1);             // gaps_in_frame_num_value_allowed_flag

    const std::uint64_t widthInMacroblocks = std::uint64_t{bits.UnsignedExpGolomb()} + 1;
    const std::uint64_t heightInMapUnits = std::uint64_t{bits.UnsignedExpGolomb()} + 1;
    const bool framesOnly = bits.Bit(); // frame_mbs_only_flag
    if (!framesOnly)
        bits.Skip(1); // mb_adaptive_frame_field_flag
    bits.Skip(1);     // direct_8x8_inference_flag

    std::uint32_t left = 0;
    std::uint32_t right = 0;
    std::uint32_t top = 0;
    std::uint32_t bottom = 0;
    if (bits.Bit()) // frame_cropping_flag
    {
        left = bits.UnsignedExpGolomb();
        right = bits.UnsignedExpGolomb();
        top = bits.UnsignedExpGolomb();
        bottom = bits.UnsignedExpGolomb();
    }

    const auto width = Cropped(widthInMacroblocks * kMacroblock, left, right);
    const auto height = Cropped((framesOnly ? 1 : 2) * heightInMapUnits * kMacroblock, top, bottom);
    if (bits.Failed() || !width || !height)
        return std::nullopt;
    return PictureSize{*width, *height};
}

} // namespace korvane
