#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace larkmoor::camera
{

inline constexpr int kGlyphColumns = 5;
inline constexpr int kGlyphRows = 7;
inline constexpr int kGlyphAdvance = kGlyphColumns + 1; ///< with the gap to the next letter

/// The columns of a letter from left to right; bit 0 is the top row. Small letters look like capitals, and a
/// letter that the font lacks is an empty box.
std::array<std::uint8_t, kGlyphColumns> GlyphOf(char letter);

/// A colour as it stands in a picture: ITU-R BT.601, video range.
struct Colour
{
    std::uint8_t y = 16;
    std::uint8_t u = 128;
    std::uint8_t v = 128;
};

inline constexpr Colour kBlack{16, 128, 128};
inline constexpr Colour kGrey{110, 128, 128};
inline constexpr Colour kWhite{235, 128, 128};
inline constexpr Colour kRed{82, 90, 240};
inline constexpr Colour kGreen{145, 54, 34};
inline constexpr Colour kYellow{210, 16, 146};

/// Pixels; the right and bottom edges lie outside. May reach beyond a canvas, which clips it.
struct Rect
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// A picture in planar YUV 4:2:0 that can be drawn on. Chroma has half the size each way, so edges of
/// coloured shapes fall on even pixels.
class Canvas
{
public:
    /// Width and height in pixels, both even and at least 2. The picture starts black.
    Canvas(int width, int height);

    int Width() const { return width_; }
    int Height() const { return height_; }

    static constexpr int kPlanes = 3;
    std::uint8_t* Plane(int plane) { return planes_[plane].data(); }
    const std::uint8_t* Plane(int plane) const { return planes_[plane].data(); }
    int Stride(int plane) const { return strides_[plane]; } ///< bytes from row to row

    void Fill(const Rect& area, const Colour& colour);
    void CopyFrom(const Canvas& other, const Rect& area); ///< `other` must have this canvas' size

    /// One line of the built-in font, every dot `scale` pixels wide, in `luma` on what stands there.
    void Text(int x, int y, int scale, std::string_view text, std::uint8_t luma);
    static int TextWidth(std::string_view text, int scale);
    static int TextHeight(int scale) { return kGlyphRows * scale; }

    /// Luma of `area` taken from a texture of `textureWidth` by `textureHeight` bytes that repeats itself,
    /// from (`offsetX`, `offsetY`) of it on.
    void Texture(const Rect& area, const std::vector<std::uint8_t>& texture, int textureWidth,
                 int textureHeight, int offsetX, int offsetY);

    void Blur(int reach);      ///< luma, along the rows, over `reach` pixels to each side
    void Light(double factor); ///< luma above black, times `factor`

private:
    Rect Clipped(const Rect& area) const;
    void FillLuma(const Rect& area, std::uint8_t luma);

    int width_;
    int height_;
    int strides_[kPlanes];
    std::vector<std::uint8_t> planes_[kPlanes];
};

} // namespace larkmoor::camera
