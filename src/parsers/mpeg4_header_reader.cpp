#include "parsers/picture_size.h"

#include <algorithm>
#include <bit>

#include "parsers/bit_reader.h"

namespace korvane
{

namespace
{

// Start codes of ISO/IEC 14496-2, table 6-3, whole or by their first bits.
constexpr std::uint32_t kVisualObjectSequence = 0x1B0;
constexpr std::uint32_t kUserData = 0x1B2;
constexpr std::uint32_t kVisualObject = 0x1B5;
constexpr std::uint32_t kVideoObject27 = 0x100 >> 5;
constexpr std::uint32_t kVideoObjectLayer28 = 0x120 >> 4;
constexpr std::uint32_t kShortHeader22 = 0x8000 >> 10;

constexpr std::uint32_t kVideoType = 1;       // visual_object_type
constexpr std::uint32_t kSimpleObject = 1;    // video_object_type_indication
constexpr std::uint32_t kAdvancedSimple = 17; // as above
constexpr std::uint32_t kExtendedAspect = 15; // aspect_ratio_info
constexpr std::uint32_t kChroma420 = 1;
constexpr std::uint32_t kMaxExtent = 32000; // pixels
constexpr std::uint8_t kStuffing = 0x7F;    // a whole byte of it, before a start code that is aligned anyway

/// One run over the headers. Once something is not as required, what else is read does not count.
class HeaderReader
{
public:
    explicit HeaderReader(std::span<const std::uint8_t> bytes) : bytes_(bytes), bits_(bytes) {}

    std::optional<PictureSize> Read()
    {
        Require(FindLayer());
        if (isShort_)
            ReadShortHeader();
        else
            ReadLayer();
        Require(IsPicture(size_.width) && IsPicture(size_.height));
        return isSound_ && !bits_.Failed() ? std::optional(size_) : std::nullopt;
    }

private:
    static bool IsPicture(std::uint32_t extent) // the coded one has whole macroblocks
    {
        return extent != 0 && (extent + 15) / 16 * 16 <= kMaxExtent;
    }

    /// To behind the first 28 bits of a layer's start code, or behind the 22 of a short header's.
    bool FindLayer()
    {
        if (bits_.Peek(32) == kVisualObjectSequence)
        {
            bits_.Skip(32 + 8); // profile_and_level_indication
            SkipUserData();
            if (bits_.Bits(32) != kVisualObject)
                return false;
            if (!ReadVisualObject())
                return SkipToLayer();
        }
        if (bits_.Peek(27) == kVideoObject27)
        {
            bits_.Skip(32);
            return SkipToLayer();
        }
        isShort_ = bits_.Peek(22) == kShortHeader22;
        if (!isShort_)
            return SkipToLayer();
        bits_.Skip(22);
        return true;
    }

    /// False for an object of another kind than video: its fields are unknown.
    bool ReadVisualObject()
    {
        if (bits_.Bit())   // is_visual_object_identifier
            bits_.Skip(7); // verid, priority
        if (bits_.Bits(4) != kVideoType)
            return false;
        if (bits_.Bit()) // video_signal_type
        {
            bits_.Skip(4);   // video_format, video_range
            if (bits_.Bit()) // colour_description
                bits_.Skip(24);
        }
        NextStartCode();
        SkipUserData();
        return true;
    }

    void NextStartCode()
    {
        bits_.Align();
        if (bits_.Peek(8) == kStuffing)
            bits_.Skip(8);
    }

    void SkipUserData()
    {
        while (bits_.Peek(32) == kUserData)
        {
            bits_.Skip(32);
            SeekStartCode();
        }
    }

    /// To the next start code from here on; without one to the end.
    void SeekStartCode()
    {
        constexpr std::uint8_t kPrefix[] = {0, 0, 1};
        bits_.Align();
        const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(bits_.Position() / 8);
        const auto at = std::search(from, bytes_.end(), std::begin(kPrefix), std::end(kPrefix));
        bits_.SeekByte(static_cast<std::size_t>(at - bytes_.begin()));
    }

    bool SkipToLayer()
    {
        for (SeekStartCode(); !bits_.AtEnd(); SeekStartCode())
        {
            const bool isLayer = bits_.Peek(28) == kVideoObjectLayer28;
            bits_.Skip(isLayer ? 28 : 24);
            if (isLayer)
                return true;
        }
        return false;
    }

    void Require(bool condition) { isSound_ = isSound_ && condition; }
    void Marker() { Require(bits_.Bit()); }

    /// video_object_layer, from the last four bits of its start code on.
    void ReadLayer()
    {
        bits_.Skip(4 + 1); // id, random_accessible_vol
        const std::uint32_t type = bits_.Bits(8);
        Require(type == kSimpleObject || type == kAdvancedSimple);
        if (bits_.Bit())   // is_object_layer_identifier
            bits_.Skip(7); // verid, priority
        if (bits_.Bits(4) == kExtendedAspect)
            bits_.Skip(16); // par_width, par_height
        if (bits_.Bit())    // vol_control_parameters
            ReadControl();
        Require(bits_.Bits(2) == 0); // shape: rectangular
        Marker();
        const std::uint32_t resolution = bits_.Bits(16); // vop_time_increment_resolution
        Marker();
        if (bits_.Bit()) // fixed_vop_rate
            bits_.Skip(resolution > 2 ? static_cast<unsigned>(std::bit_width(resolution - 1)) : 1);
        Marker();
        size_.width = bits_.Bits(13);
        Marker();
        size_.height = bits_.Bits(13);
        Marker();
    }

    void ReadControl()
    {
        Require(bits_.Bits(2) == kChroma420);
        Require(bits_.Bit()); // low_delay
        if (!bits_.Bit())     // vbv_parameters
            return;
        // Two halves each of bit_rate, vbv_buffer_size and vbv_occupancy, with no marker within 3 + 11.
        for (const unsigned item : {15, 15, 15, 3 + 11, 15})
        {
            bits_.Skip(item);
            Marker();
        }
    }

    void ReadShortHeader()
    {
        bits_.Skip(8); // temporal reference
        Marker();
        Require(bits_.Bits(3) == 0); // the bit that tells it from H.261, split screen, document camera
        bits_.Skip(1);               // freeze picture release
        const std::uint32_t format = bits_.Bits(3);
        if (format == 7)
            ReadExtendedHeader();
        else
            SetFormat(format);
    }

    /// PLUSPTYPE, ITU-T H.263, clause 5.1.4: its optional part must be there, for it holds the size.
    void ReadExtendedHeader()
    {
        Require(bits_.Bits(3) == 1); // UFEP
        const std::uint32_t format = bits_.Bits(3);
        bits_.Skip(15 + 9); // the rest of OPPTYPE, MPPTYPE
        if (bits_.Bit())    // CPM
            bits_.Skip(2);  // PSBI
        if (format != 6)
            return SetFormat(format);
        bits_.Skip(4); // pixel aspect ratio of CPFMT, clause 5.1.5
        size_.width = (bits_.Bits(9) + 1) * 4;
        Marker();
        size_.height = bits_.Bits(9) * 4;
    }

    void SetFormat(std::uint32_t format) // without a size for one that is not known
    {
        static constexpr PictureSize kSizes[] = {{128, 96}, {176, 144}, {352, 288}, {704, 576}, {1408, 1152}};
        if (format >= 1 && format <= std::size(kSizes))
            size_ = kSizes[format - 1];
    }

    const std::span<const std::uint8_t> bytes_;
    BitReader bits_;
    bool isShort_ = false;
    bool isSound_ = true;
    PictureSize size_;
};

} // namespace

std::optional<PictureSize> ReadMpeg4PictureSize(std::span<const std::uint8_t> bytes)
{
    return HeaderReader(bytes).Read();
}

} // namespace korvane
