#include "camera/media/test_picture.h"

#include "base/text.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace larkmoor::camera
{
namespace
{

constexpr int kBarCodeBits = 32;
constexpr int kGlitterSide = 256;
constexpr std::uint8_t kGlitterLuma = 84;
constexpr std::uint32_t kGlitterSpread = 24;

struct BarCode
{
    BarCode(int width, int height)
        : block(std::max(2, width / kBarCodeBits & ~1)),
          tall(std::max(8, height / 60 & ~1)),
          top(height - tall)
    {
    }
    int block, tall, top;
};

/// Soft noise: hard noise would cost any encoder all of its bits.
std::vector<std::uint8_t> MakeGlitter()
{
    std::vector<std::uint8_t> texture(kGlitterSide * kGlitterSide);
    std::uint32_t state = 1;
    std::uint32_t last = 0;
    for (auto& luma : texture)
    {
        state = state * 1664525u + 1013904223u;
        last = (last * 3 + (state >> 16) % kGlitterSpread) / 4;
        luma = static_cast<std::uint8_t>(kGlitterLuma + last);
    }
    return texture;
}

/// "2024-03-01 12:00:00.123"
std::string ClockText(std::chrono::system_clock::time_point time)
{
    std::string text = IsoTime(time);
    text.pop_back();
    return text.replace(text.find('T'), 1, " ");
}

} // namespace

TestPicture::TestPicture(int width, int height)
    : width_(width),
      height_(height),
      scale_(std::max(1, width / 320)),
      base_(width, height),
      picture_(width, height),
      glitter_(MakeGlitter())
{
}

Canvas& TestPicture::Draw(const SceneState& state, const std::string& note, std::uint64_t number,
                          std::chrono::system_clock::time_point time)
{
    if (!shown_ || *shown_ != state || shownNote_ != note)
    {
        DrawBase(state, note);
        picture_.CopyFrom(base_, {0, 0, width_, height_});
        changed_.clear();
        shown_ = state;
        shownNote_ = note;
    }
    for (const Rect& area : changed_)
        picture_.CopyFrom(base_, area);
    changed_.clear();

    DrawGlitter(number);
    DrawMovers(number);
    DrawClock(number, time);
    DrawBarCode(number);
    return picture_;
}

void TestPicture::DrawBase(const SceneState& state, const std::string& note)
{
    DrawWorld(base_, state.view);
    base_.Blur(static_cast<int>(state.blur * width_ / 16));
    if (state.light != 1)
        base_.Light(state.light);
    const int line = Canvas::TextHeight(scale_) + 2 * scale_;
    const int lines = state.status.empty() ? 3 : 4;
    base_.Fill({0, 0, width_, lines * line + 2 * scale_}, kBlack);
    base_.Text(2 * scale_, 2 * scale_, scale_, state.title, kWhite.y);
    base_.Text(2 * scale_, 2 * scale_ + line, scale_, note, kWhite.y);
    base_.Text(2 * scale_, 2 * scale_ + 3 * line, scale_, state.status, kWhite.y);
    DrawLamps("DO", state.outputs, (lines + 1) * line);
    DrawLamps("DI", state.inputs, (lines + 3) * line);
}

void TestPicture::DrawLamps(const char* name, const std::vector<bool>& states, int y)
{
    const int side = (Canvas::TextHeight(scale_) + 4 * scale_) & ~1;
    int x = 2 * scale_ & ~1;
    for (std::size_t i = 0; i < states.size(); ++i)
    {
        const std::string label = name + std::to_string(i);
        const int width = (Canvas::TextWidth(label, scale_) + 4 * scale_) & ~1;
        base_.Fill({x, y & ~1, width, side}, states[i] ? kGreen : kGrey);
        base_.Text(x + 2 * scale_, (y & ~1) + 2 * scale_, scale_, label, kBlack.y);
        x += width + 4 * scale_;
    }
}

/// Notes that `area` differs from the base from here on.
Rect TestPicture::Changing(const Rect& area)
{
    changed_.push_back(area);
    return area;
}

void TestPicture::DrawGlitter(std::uint64_t number)
{
    // A pond in the lower third: its waves are new in every frame.
    const Rect pond = Changing({width_ / 8 & ~1, height_ * 3 / 4 & ~1, width_ / 2 & ~1, height_ / 8 & ~1});
    picture_.Texture(pond, glitter_, kGlitterSide, kGlitterSide, static_cast<int>(number * 97 % kGlitterSide),
                     static_cast<int>(number * 61 % kGlitterSide));
}

void TestPicture::DrawMovers(std::uint64_t number)
{
    // A car that crosses the street in 10 seconds or so.
    const int carWidth = width_ / 8 & ~1;
    const int carHeight = height_ / 16 & ~1;
    const int step = std::max(2, width_ / 256 & ~1);
    const int travel = width_ + carWidth;
    const int x =
        static_cast<int>(number * static_cast<std::uint64_t>(step) % static_cast<std::uint64_t>(travel)) -
        carWidth;
    const int y = height_ * 5 / 8 & ~1;
    picture_.Fill(Changing({x, y, carWidth, carHeight}), kRed);
    picture_.Fill(Changing({x + carWidth / 4 / 2 * 2, y - carHeight / 2 / 2 * 2, carWidth / 2 & ~1,
                            carHeight / 2 & ~1}),
                  kYellow);

    // The hand of a clock, one turn in 100 frames.
    const double angle = 2 * std::numbers::pi * static_cast<double>(number % 100) / 100;
    const int reach = height_ / 8;
    const int dot = std::max(2, height_ / 120 & ~1);
    for (int distance = 0; distance < reach; distance += dot)
    {
        const int handX = (width_ * 7 / 8 + static_cast<int>(std::sin(angle) * distance)) & ~1;
        const int handY = (height_ / 3 - static_cast<int>(std::cos(angle) * distance)) & ~1;
        picture_.Fill(Changing({handX, handY, dot, dot}), kWhite);
    }
}

void TestPicture::DrawClock(std::uint64_t number, std::chrono::system_clock::time_point time)
{
    const std::string text = ClockText(time) + "  #" + std::to_string(number);
    const int y = 2 * scale_ + 2 * (Canvas::TextHeight(scale_) + 2 * scale_);
    Changing({0, y & ~1, width_, (Canvas::TextHeight(scale_) + 2) & ~1});
    picture_.Text(2 * scale_, y, scale_, text, kWhite.y);
}

void TestPicture::DrawBarCode(std::uint64_t number)
{
    const BarCode code(width_, height_);
    for (int bit = 0; bit < kBarCodeBits; ++bit)
        picture_.Fill({bit * code.block, code.top, code.block, code.tall},
                      (number >> (kBarCodeBits - 1 - bit) & 1) != 0 ? kWhite : kBlack);
}

std::uint32_t TestPicture::ReadNumber(const std::uint8_t* luma, int stride, int width, int height)
{
    const BarCode code(width, height);
    const std::uint8_t* row = luma + static_cast<std::ptrdiff_t>(code.top + code.tall / 2) * stride;
    std::uint32_t number = 0;
    for (int bit = 0; bit < kBarCodeBits; ++bit)
        number = number << 1 | (row[bit * code.block + code.block / 2] >= 126 ? 1u : 0u);
    return number;
}

} // namespace larkmoor::camera
