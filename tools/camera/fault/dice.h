#pragma once

#include <cstdint>
#include <random>
#include <string_view>

namespace larkmoor::camera
{

/// Chances that come out the same for the same seed and the same purpose, on every machine. One thread at a
/// time.
class Dice
{
public:
    /// `purpose` keeps the throws of two users of one seed apart: a stream's name, a fault's name.
    Dice(std::uint64_t seed, std::string_view purpose) : engine_(Mix(seed, purpose)) {}

    /// True in `ratio` (0 to 1) of all throws.
    bool Roll(double ratio) { return Fraction() < ratio; }

    /// An even choice of 0 to `count` - 1; 0 for a count of 0.
    std::uint32_t Below(std::uint32_t count)
    {
        return count == 0 ? 0 : static_cast<std::uint32_t>(Fraction() * count);
    }

private:
    double Fraction() { return static_cast<double>(engine_() >> 11) * 0x1.0p-53; }

    static std::uint64_t Mix(std::uint64_t seed, std::string_view purpose)
    {
        std::uint64_t hash = 14695981039346656037u; // FNV-1a
        for (const char c : purpose)
            hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
        return hash ^ (seed * 0x9E3779B97F4A7C15u);
    }

    std::mt19937_64 engine_; // its sequence is fixed by the C++ standard; those of the distributions are not
};

} // namespace larkmoor::camera
