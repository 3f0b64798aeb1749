#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace korvane
{

/// Reads bits from the most significant one of the first byte on. Past the end it gives ones, so that every
/// variable-length code comes to an end, and remembers that it did. No lock.
class BitReader
{
public:
    explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    bool Bit()
    {
        const std::size_t byte = position_ >> 3;
        if (byte >= bytes_.size())
        {
            failed_ = true;
            return true;
        }
        const bool bit = (bytes_[byte] >> (7 - (position_ & 7)) & 1) != 0;
        ++position_;
        return bit;
    }

    std::uint32_t Bits(unsigned count) ///< at most 32
    {
        std::uint32_t value = 0;
        while (count-- > 0)
            value = value << 1 | (Bit() ? 1u : 0u);
        return value;
    }

    void Skip(std::size_t count) ///< any number; past the end counts as read past the end
    {
        const std::size_t left = bytes_.size() * 8 - position_;
        failed_ = failed_ || count > left;
        position_ += count < left ? count : left;
    }

    /// ue(v) of ITU-T H.264, clause 9.1. A code of more than 32 bits of value does not exist: it counts as
    /// read past the end.
    std::uint32_t UnsignedExpGolomb()
    {
        unsigned zeros = 0;
        while (!Bit())
            if (++zeros == 32)
            {
                failed_ = true;
                return 0;
            }
        return (1u << zeros) - 1 + Bits(zeros);
    }

    /// se(v) of ITU-T H.264, clause 9.1.1.
    std::int64_t SignedExpGolomb()
    {
        const std::int64_t code = UnsignedExpGolomb();
        return code % 2 == 0 ? -(code / 2) : code / 2 + 1;
    }

    /// The next bits without taking them; past the end they are ones, and that does not count as read.
    std::uint32_t Peek(unsigned count) const ///< at most 32
    {
        BitReader ahead(*this);
        return ahead.Bits(count);
    }

    std::size_t Position() const { return position_; } ///< in bits
    bool AtEnd() const { return position_ == bytes_.size() * 8; }

    /// To the end of the byte in hand, if any of it has been read.
    void Align() { position_ = (position_ + 7) & ~std::size_t{7}; }

    /// To a byte by its number from 0, at most to the end.
    void SeekByte(std::size_t byte) { position_ = (byte < bytes_.size() ? byte : bytes_.size()) * 8; }

    bool Failed() const { return failed_; } ///< something was read that is not there

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0; // in bits
    bool failed_ = false;
};

} // namespace korvane
