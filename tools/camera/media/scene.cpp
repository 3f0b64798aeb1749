#include "camera/media/scene.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace larkmoor::camera
{
namespace
{

constexpr Colour kSkyHigh{120, 160, 110};
constexpr Colour kSkyLow{190, 140, 120};
constexpr Colour kGroundFar{100, 118, 130};
constexpr Colour kGroundNear{60, 122, 132};
constexpr Colour kWindowLit{200, 80, 150};
constexpr Colour kWindowDark{50, 136, 124};
constexpr std::uint8_t kGridLuma = 215;

constexpr int kHouses = 120;
constexpr double kHouseStep = 360.0 / kHouses;
constexpr int kGridStep = 10; // degrees

/// Pixels of a canvas for degrees of the world.
struct Projection
{
    Projection(const Canvas& canvas, const View& view)
        : perDegree(canvas.Width() * std::max(view.zoom, 1.0) / kWidestField),
          pan(view.pan),
          tilt(view.tilt),
          middleX(canvas.Width() / 2.0),
          middleY(canvas.Height() / 2.0)
    {
    }

    int X(double degrees) const { return Even(middleX + Wrapped(degrees - pan) * perDegree); }
    int Y(double degrees) const { return Even(middleY - (degrees - tilt) * perDegree); }
    int Length(double degrees) const { return Even(degrees * perDegree); }

    static double Wrapped(double degrees) { return degrees - 360 * std::round(degrees / 360); }
    static int Even(double pixels) { return static_cast<int>(std::lround(pixels / 2)) * 2; }

    double perDegree, pan, tilt, middleX, middleY;
};

Colour Between(const Colour& from, const Colour& to, double share)
{
    const auto mix = [share](std::uint8_t a, std::uint8_t b)
    { return static_cast<std::uint8_t>(std::lround(a + (b - a) * std::clamp(share, 0.0, 1.0))); };
    return {mix(from.y, to.y), mix(from.u, to.u), mix(from.v, to.v)};
}

/// A fixed scatter of numbers, so that every run shows the same street.
std::uint32_t Scatter(std::uint32_t n)
{
    n = (n ^ 61u ^ (n >> 16)) * 9u;
    n = (n ^ (n >> 4)) * 0x27d4eb2du;
    return n ^ (n >> 15);
}

void DrawSkyAndGround(Canvas& canvas, const Projection& at)
{
    for (int y = 0; y < canvas.Height(); y += 2)
    {
        const double degrees = at.tilt - (y - at.middleY) / at.perDegree;
        const Colour colour = degrees >= 0 ? Between(kSkyLow, kSkyHigh, degrees / 40)
                                           : Between(kGroundFar, kGroundNear, -degrees / 40);
        canvas.Fill({0, y, canvas.Width(), 2}, colour);
    }
}

void DrawHouse(Canvas& canvas, const Projection& at, int number)
{
    const std::uint32_t look = Scatter(static_cast<std::uint32_t>(number));
    const double width = 1.5 + look % 8 * 0.25;
    const double height = 2 + (look >> 3) % 12;
    const double left = -180 + number * kHouseStep;
    const int x = at.X(left);
    const int pixels = at.Length(width);
    if (x + pixels < 0 || x >= canvas.Width())
        return;
    const Colour wall{static_cast<std::uint8_t>(70 + (look >> 8) % 110),
                      static_cast<std::uint8_t>(108 + (look >> 16) % 40),
                      static_cast<std::uint8_t>(108 + (look >> 22) % 40)};
    canvas.Fill({x, at.Y(height), pixels, at.Y(-1) - at.Y(height)}, wall);

    const int side = at.Length(0.25);
    if (side < 2)
        return;
    for (int floor = 0; floor + 1 < static_cast<int>(height); ++floor)
    {
        for (int column = 0; 0.25 + column * 0.5 + 0.25 < width; ++column)
        {
            const bool lit = (Scatter(look + static_cast<std::uint32_t>(floor * 31 + column)) & 3) == 0;
            canvas.Fill({x + at.Length(0.25 + column * 0.5), at.Y(height - 0.5 - floor), side, side},
                        lit ? kWindowLit : kWindowDark);
        }
    }
}

void DrawGrid(Canvas& canvas, const Projection& at)
{
    const int scale = std::max(1, canvas.Width() / 640);
    char label[16];
    for (int pan = -180; pan < 180; pan += kGridStep)
    {
        const int x = at.X(pan);
        canvas.Fill({x, 0, 2, canvas.Height()}, {kGridLuma, 128, 128});
        std::snprintf(label, sizeof label, "%+d", pan);
        canvas.Text(x + 2 * scale + 2, canvas.Height() / 2, scale, label, kWhite.y);
    }
    for (int tilt = -80; tilt <= 80; tilt += kGridStep)
    {
        const int y = at.Y(tilt);
        canvas.Fill({0, y, canvas.Width(), 2}, {kGridLuma, 128, 128});
        if (tilt == 0)
            continue; // the horizon carries the labels of the pan
        std::snprintf(label, sizeof label, "%+d", tilt);
        canvas.Text(canvas.Width() / 2 + 2 * scale + 2, y + 2 * scale, scale, label, kWhite.y);
    }
}

} // namespace

void DrawWorld(Canvas& canvas, const View& view)
{
    const Projection at(canvas, view);
    DrawSkyAndGround(canvas, at);
    for (int house = 0; house < kHouses; ++house)
        DrawHouse(canvas, at, house);
    DrawGrid(canvas, at);
}

} // namespace larkmoor::camera
