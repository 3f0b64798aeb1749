#include "camera/media/canvas.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <numeric>

namespace larkmoor::camera
{

namespace
{

using Glyph = std::array<std::uint8_t, kGlyphColumns>;

constexpr Glyph kUnknown = {0x7F, 0x41, 0x41, 0x41, 0x7F};

constexpr std::array<Glyph, 10> kDigits = {{
    {0x3E, 0x51, 0x49, 0x45, 0x3E},
    {0x00, 0x42, 0x7F, 0x40, 0x00},
    {0x42, 0x61, 0x51, 0x49, 0x46},
    {0x21, 0x41, 0x45, 0x4B, 0x31},
    {0x18, 0x14, 0x12, 0x7F, 0x10},
    {0x27, 0x45, 0x45, 0x45, 0x39},
    {0x3C, 0x4A, 0x49, 0x49, 0x30},
    {0x01, 0x71, 0x09, 0x05, 0x03},
    {0x36, 0x49, 0x49, 0x49, 0x36},
    {0x06, 0x49, 0x49, 0x29, 0x1E},
}};

constexpr std::array<Glyph, 26> kLetters = {{
    {0x7E, 0x11, 0x11, 0x11, 0x7E}, // A
    {0x7F, 0x49, 0x49, 0x49, 0x36}, {0x3E, 0x41, 0x41, 0x41, 0x22}, {0x7F, 0x41, 0x41, 0x22, 0x1C},
    {0x7F, 0x49, 0x49, 0x49, 0x41}, {0x7F, 0x09, 0x09, 0x09, 0x01}, {0x3E, 0x41, 0x49, 0x49, 0x7A},
    {0x7F, 0x08, 0x08, 0x08, 0x7F}, {0x00, 0x41, 0x7F, 0x41, 0x00}, {0x20, 0x40, 0x41, 0x3F, 0x01},
    {0x7F, 0x08, 0x14, 0x22, 0x41}, {0x7F, 0x40, 0x40, 0x40, 0x40}, {0x7F, 0x02, 0x0C, 0x02, 0x7F},
    {0x7F, 0x04, 0x08, 0x10, 0x7F}, // N
    {0x3E, 0x41, 0x41, 0x41, 0x3E}, {0x7F, 0x09, 0x09, 0x09, 0x06}, {0x3E, 0x41, 0x51, 0x21, 0x5E},
    {0x7F, 0x09, 0x19, 0x29, 0x46}, {0x46, 0x49, 0x49, 0x49, 0x31}, {0x01, 0x01, 0x7F, 0x01, 0x01},
    {0x3F, 0x40, 0x40, 0x40, 0x3F}, {0x1F, 0x20, 0x40, 0x20, 0x1F}, {0x3F, 0x40, 0x38, 0x40, 0x3F},
    {0x63, 0x14, 0x08, 0x14, 0x63}, {0x07, 0x08, 0x70, 0x08, 0x07}, {0x61, 0x51, 0x49, 0x45, 0x43},
}};

constexpr int kStrideStep = 64; // encoders read whole vectors

int Aligned(int width)
{
    return (width + kStrideStep - 1) / kStrideStep * kStrideStep;
}

} // namespace

std::array<std::uint8_t, kGlyphColumns> GlyphOf(char letter)
{
    if (letter >= '0' && letter <= '9')
        return kDigits[static_cast<std::size_t>(letter - '0')];
    if (letter >= 'A' && letter <= 'Z')
        return kLetters[static_cast<std::size_t>(letter - 'A')];
    if (letter >= 'a' && letter <= 'z')
        return kLetters[static_cast<std::size_t>(letter - 'a')];
    switch (letter)
    {
    case ' ':
        return {};
    case '-':
        return {0x08, 0x08, 0x08, 0x08, 0x08};
    case '+':
        return {0x08, 0x08, 0x3E, 0x08, 0x08};
    case '.':
        return {0x00, 0x60, 0x60, 0x00, 0x00};
    case ',':
        return {0x00, 0x50, 0x30, 0x00, 0x00};
    case ':':
        return {0x00, 0x36, 0x36, 0x00, 0x00};
    case '/':
        return {0x20, 0x10, 0x08, 0x04, 0x02};
    case '%':
        return {0x23, 0x13, 0x08, 0x64, 0x62};
    case '_':
        return {0x40, 0x40, 0x40, 0x40, 0x40};
    case '=':
        return {0x14, 0x14, 0x14, 0x14, 0x14};
    case '(':
        return {0x00, 0x1C, 0x22, 0x41, 0x00};
    case ')':
        return {0x00, 0x41, 0x22, 0x1C, 0x00};
    case '#':
        return {0x14, 0x7F, 0x14, 0x7F, 0x14};
    default:
        return kUnknown;
    }
}

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
