#include "camera/media/canvas.h"

#include "camera/media/font.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <numeric>

namespace larkmoor::camera
{
namespace
{

constexpr int kStrideStep = 64; // encoders read whole vectors

int Aligned(int width)
{
    return (width + kStrideStep - 1) / kStrideStep * kStrideStep;
}

} // namespace

Canvas::Canvas(int width, int height)
    : width_(width), height_(height), strides_{Aligned(width), Aligned(width / 2), Aligned(width / 2)}
{
    planes_[0].assign(static_cast<std::size_t>(strides_[0]) * static_cast<std::size_t>(height), kBlack.y);
    for (int plane = 1; plane < kPlanes; ++plane)
        planes_[plane].assign(
            static_cast<std::size_t>(strides_[plane]) * static_cast<std::size_t>(height / 2), kBlack.u);
}

Rect Canvas::Clipped(const Rect& area) const
{
    const int left = std::clamp(area.x, 0, width_);
    const int top = std::clamp(area.y, 0, height_);
    const int right = std::clamp(area.x + area.width, left, width_);
    const int bottom = std::clamp(area.y + area.height, top, height_);
    return {left, top, right - left, bottom - top};
}

void Canvas::FillLuma(const Rect& area, std::uint8_t luma)
{
    const Rect clip = Clipped(area);
    for (int y = clip.y; y < clip.y + clip.height; ++y)
        std::memset(Plane(0) + static_cast<std::ptrdiff_t>(y) * strides_[0] + clip.x, luma,
                    static_cast<std::size_t>(clip.width));
}

void Canvas::Fill(const Rect& area, const Colour& colour)
{
    const Rect clip = Clipped(area);
    FillLuma(clip, colour.y);
    const int left = clip.x / 2;
    const int columns = (clip.x + clip.width) / 2 - left;
    for (int y = clip.y / 2; y < (clip.y + clip.height) / 2; ++y)
    {
        std::memset(Plane(1) + static_cast<std::ptrdiff_t>(y) * strides_[1] + left, colour.u,
                    static_cast<std::size_t>(columns));
        std::memset(Plane(2) + static_cast<std::ptrdiff_t>(y) * strides_[2] + left, colour.v,
                    static_cast<std::size_t>(columns));
    }
}

void Canvas::CopyFrom(const Canvas& other, const Rect& area)
{
    const Rect clip = Clipped(area);
    for (int plane = 0; plane < kPlanes; ++plane)
    {
        const int shift = plane == 0 ? 0 : 1;
        const int left = clip.x >> shift;
        const int right = (clip.x + clip.width + shift) >> shift;
        const int bottom = (clip.y + clip.height + shift) >> shift;
        for (int y = clip.y >> shift; y < bottom; ++y)
        {
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(y) * strides_[plane] + left;
            std::memcpy(Plane(plane) + at, other.Plane(plane) + at, static_cast<std::size_t>(right - left));
        }
    }
}

void Canvas::Text(int x, int y, int scale, std::string_view text, std::uint8_t luma)
{
    for (const char letter : text)
    {
        const auto glyph = GlyphOf(letter);
        for (int column = 0; column < kGlyphColumns; ++column)
        {
            for (int row = 0; row < kGlyphRows; ++row)
            {
                if ((glyph[static_cast<std::size_t>(column)] >> row & 1) != 0)
                    FillLuma({x + column * scale, y + row * scale, scale, scale}, luma);
            }
        }
        x += kGlyphAdvance * scale;
    }
}

int Canvas::TextWidth(std::string_view text, int scale)
{
    return static_cast<int>(text.size()) * kGlyphAdvance * scale;
}

int Canvas::TextHeight(int scale)
{
    return kGlyphRows * scale;
}

void Canvas::Texture(const Rect& area, const std::vector<std::uint8_t>& texture, int textureWidth,
                     int textureHeight, int offsetX, int offsetY)
{
    const Rect clip = Clipped(area);
    for (int row = 0; row < clip.height; ++row)
    {
        const std::uint8_t* source =
            texture.data() + static_cast<std::ptrdiff_t>((offsetY + row) % textureHeight) * textureWidth;
        std::uint8_t* target = Plane(0) + static_cast<std::ptrdiff_t>(clip.y + row) * strides_[0] + clip.x;
        int at = offsetX % textureWidth;
        for (int left = clip.width; left > 0;)
        {
            const int run = std::min(left, textureWidth - at);
            std::memcpy(target, source + at, static_cast<std::size_t>(run));
            target += run;
            left -= run;
            at = 0;
        }
    }
}

void Canvas::Blur(int reach)
{
    reach = std::min(reach, width_ / 2);
    if (reach <= 0)
        return;
    std::vector<int> sums(static_cast<std::size_t>(width_) + 1);
    for (int y = 0; y < height_; ++y)
    {
        std::uint8_t* const row = Plane(0) + static_cast<std::ptrdiff_t>(y) * strides_[0];
        std::inclusive_scan(row, row + width_, sums.begin() + 1, std::plus<int>(), 0);
        for (int x = 0; x < width_; ++x)
        {
            const int left = std::max(x - reach, 0);
            const int right = std::min(x + reach + 1, width_);
            row[x] = static_cast<std::uint8_t>(
                (sums[static_cast<std::size_t>(right)] - sums[static_cast<std::size_t>(left)]) /
                (right - left));
        }
    }
}

void Canvas::Light(double factor)
{
    for (std::uint8_t& luma : planes_[0])
        luma = static_cast<std::uint8_t>(
            std::clamp(kBlack.y + (luma - kBlack.y) * factor, double{kBlack.y}, double{kWhite.y}));
}

} // namespace larkmoor::camera
