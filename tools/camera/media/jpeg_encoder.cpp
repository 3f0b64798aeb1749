#include "camera/media/jpeg_encoder.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <jpeglib.h>

namespace larkmoor::camera
{

namespace
{

constexpr std::uint8_t kApplication = 0xE0;
constexpr std::uint8_t kQuantisation = 0xDB;
constexpr std::uint8_t kFrame = 0xC0;
constexpr std::uint8_t kHuffman = 0xC4;
constexpr std::uint8_t kRestart = 0xDD;
constexpr std::uint8_t kScan = 0xDA;
constexpr std::size_t kTableBytes = 64;
constexpr std::size_t kEndBytes = 2; // end of image
constexpr std::size_t kFrameBytes = 15;

constexpr int kBlock = 8; // samples

/// A compressor and its output, given back whatever happens.
class Compressor
{
public:
    Compressor()
    {
        jpeg.err = jpeg_std_error(&errors_);
        errors_.error_exit = [](j_common_ptr) { throw std::runtime_error("libjpeg refuses a picture"); };
        jpeg_create_compress(&jpeg);
        jpeg_mem_dest(&jpeg, &memory_, &size_);
    }
    ~Compressor()
    {
        jpeg_destroy_compress(&jpeg);
        std::free(memory_);
    }
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;

    Bytes Output() const { return {memory_, memory_ + size_}; }

    jpeg_compress_struct jpeg{};

private:
    jpeg_error_mgr errors_{};
    unsigned char* memory_ = nullptr;
    unsigned long size_ = 0;
};

/// Rows of one component, wide enough for whole blocks; those below the picture repeat its last one.
class Component
{
public:
    Component(const Canvas& picture, int plane, int rowsEach, bool doubled)
        : picture_(picture), plane_(plane), doubled_(doubled)
    {
        const int width = plane == 0 ? picture.Width() : picture.Width() / 2;
        width_ = static_cast<std::size_t>(width);
        const std::size_t padded = (width_ + 2 * kBlock - 1) / (2 * kBlock) * 2 * kBlock;
        lines_.assign(static_cast<std::size_t>(rowsEach), Bytes(padded));
        for (Bytes& line : lines_)
            rows_.push_back(line.data());
    }

    JSAMPARRAY Fill(int firstRow)
    {
        const int height = plane_ == 0 ? picture_.Height() : picture_.Height() / 2;
        for (std::size_t i = 0; i < lines_.size(); ++i)
        {
            const int wanted = (firstRow + static_cast<int>(i)) / (doubled_ ? 2 : 1);
            const std::uint8_t* const from =
                picture_.Plane(plane_) +
                std::ptrdiff_t{std::min(wanted, height - 1)} * picture_.Stride(plane_);
            std::copy_n(from, width_, lines_[i].begin());
            std::fill(lines_[i].begin() + static_cast<std::ptrdiff_t>(width_), lines_[i].end(),
                      from[width_ - 1]);
        }
        return rows_.data();
    }

private:
    const Canvas& picture_;
    const int plane_;
    const bool doubled_; // a 4:2:0 plane as 4:2:2
    std::size_t width_ = 0;
    std::vector<Bytes> lines_;
    std::vector<JSAMPROW> rows_;
};

Bytes Compress(const Canvas& picture, int quality, bool halfHeight, std::uint32_t restartInterval)
{
    Compressor compressor;
    jpeg_compress_struct& jpeg = compressor.jpeg;
    jpeg.image_width = static_cast<JDIMENSION>(picture.Width());
    jpeg.image_height = static_cast<JDIMENSION>(picture.Height());
    jpeg.input_components = Canvas::kPlanes;
    jpeg.in_color_space = JCS_YCbCr;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, quality, TRUE);
    jpeg.comp_info[0].v_samp_factor = halfHeight ? 2 : 1;
    jpeg.restart_interval = restartInterval;
    jpeg.raw_data_in = TRUE;
    jpeg_start_compress(&jpeg, TRUE);
    const int lumaRows = halfHeight ? 2 * kBlock : kBlock;
    Component luma(picture, 0, lumaRows, false);
    Component blue(picture, 1, kBlock, !halfHeight);
    Component red(picture, 2, kBlock, !halfHeight);
    while (jpeg.next_scanline < jpeg.image_height)
    {
        const int row = static_cast<int>(jpeg.next_scanline);
        const int chromaRow = halfHeight ? row / 2 : row;
        JSAMPARRAY planes[] = {luma.Fill(row), blue.Fill(chromaRow), red.Fill(chromaRow)};
        jpeg_write_raw_data(&jpeg, planes, static_cast<JDIMENSION>(lumaRows));
    }
    jpeg_finish_compress(&jpeg);
    return compressor.Output();
}

class JpegEncoder : public VideoEncoder
{
public:
    explicit JpegEncoder(const VideoSettings& settings) : settings_(settings) {}

    std::shared_ptr<const EncodedFrame> Encode(Canvas& picture, bool) override
    {
        auto encoded = std::make_shared<EncodedFrame>();
        encoded->codec = VideoCodec::MotionJpeg;
        encoded->key = true;
        encoded->width = picture.Width();
        encoded->height = picture.Height();
        encoded->jpegQuality = JpegQualityOf(settings_.quantizer);
        encoded->parameterSets = none_;
        try
        {
            encoded->bytes =
                Compress(picture, encoded->jpegQuality, !settings_.jpeg422, settings_.jpegRestart);
        }
        catch (const std::runtime_error&)
        {
            return nullptr;
        }
        return encoded;
    }
    std::shared_ptr<const ParameterSets> Parameters() const override { return none_; }
    const VideoSettings& Settings() const override { return settings_; }

private:
    const VideoSettings settings_;
    const std::shared_ptr<const ParameterSets> none_ = std::make_shared<ParameterSets>();
};

} // namespace

bool JpegFile::Read(std::span<const std::uint8_t> file)
{
    *this = JpegFile();
    for (std::size_t at = 2; at + 4 <= file.size();)
    {
        const std::uint8_t marker = file[at + 1];
        const std::size_t length = 2u + (static_cast<std::size_t>(file[at + 2]) << 8 | file[at + 3]);
        if (file[at] != 0xFF || length > file.size() - at)
            return false;
        const auto segment = file.subspan(at, length);
        const auto content = segment.subspan(4);
        at += length;
        if (marker == kApplication)
            application = file.first(at);
        else if (marker == kRestart)
            restartSegment = segment;
        else if (marker == kQuantisation && content.size() == kTableBytes + 1 && content[0] < 2)
            tables[content[0]] = content.subspan(1);
        else if (marker == kFrame)
            frame = content;
        else if (marker == kHuffman || marker == kScan)
            codes.push_back(segment);
        if (marker != kScan)
            continue;
        if (file.size() - at < kEndBytes)
            return false;
        scan = file.subspan(at, file.size() - at - kEndBytes);
        return frame.size() == kFrameBytes && !tables[0].empty() && !tables[1].empty() &&
               !application.empty();
    }
    return false;
}

int JpegQualityOf(std::uint32_t quantizer)
{
    return std::clamp(100 - static_cast<int>(std::clamp(quantizer, 10u, 200u)) / 2, 1, 99);
}

Bytes JpegTables(int quality)
{
    const Bytes small = Compress(Canvas(16, 16), quality, true, 0);
    JpegFile file;
    Bytes tables;
    if (file.Read(small))
        for (const auto table : file.tables)
            tables.insert(tables.end(), table.begin(), table.end());
    return tables;
}

std::unique_ptr<VideoEncoder> OpenJpegEncoder(const VideoSettings& settings)
{
    return std::make_unique<JpegEncoder>(settings);
}

} // namespace larkmoor::camera
