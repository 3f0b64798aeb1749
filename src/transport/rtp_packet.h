#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <utility>

namespace korvane
{

/// One RTP packet (RFC 3550, section 5.1).
///
/// Filled on the thread that received it and handed on whole; no lock. What follows the fixed header is kept
/// in one block, of the packet's own after `Parse` and the caller's after `ParseInPlace`.
class CRTPPacket
{
public:
    static constexpr std::uint32_t kFixedHeaderBytes = 12;

    CRTPPacket() = default;
    CRTPPacket(CRTPPacket&& other) noexcept
        : fields_(std::exchange(other.fields_, Fields())),
          block_(std::move(other.block_)),
          capacity_(std::exchange(other.capacity_, 0))
    {
    }
    CRTPPacket& operator=(CRTPPacket&& other) noexcept
    {
        fields_ = std::exchange(other.fields_, Fields());
        block_ = std::move(other.block_);
        capacity_ = std::exchange(other.capacity_, 0);
        return *this;
    }
    virtual ~CRTPPacket() = default;

    /// Reads `length` bytes at `data` and copies what it keeps; any bytes are acceptable input. What the
    /// packet held before is gone, though a block that is large enough serves again, unless most of it would
    /// be spare: see `Capacity`. False leaves it empty.
    /// A packet of a fixed header alone is refused: cameras send such packets only to keep a path open, and
    /// the parsers above have no use for them.
    [[nodiscard]] bool Parse(const std::uint8_t* data, std::uint32_t length);

    /// The same without a copy: the packet refers to the caller's bytes, which have to stay as they are for
    /// as long as the packet is looked at. No allocation.
    [[nodiscard]] bool ParseInPlace(const std::uint8_t* data, std::uint32_t length);

    /// Bytes of the packet's own block: after `Parse` at most twice what it keeps and `kMostSpareBytes`.
    std::uint32_t Capacity() const { return capacity_; }
    static constexpr std::uint32_t kMostSpareBytes = 64;

    bool Marker() const { return fields_.marker; }                    ///< last packet of a frame
    bool Padding() const { return fields_.padding; }                  ///< the sender padded the packet
    std::uint8_t PayloadType() const { return fields_.payloadType; }  ///< 0 to 127
    std::uint16_t SequenceNumber() const { return fields_.sequence; } ///< wraps after 65535
    std::uint32_t Timestamp() const { return fields_.timestamp; }     ///< media clock ticks, wraps
    std::uint32_t SSRC() const { return fields_.ssrc; }               ///< the four bytes as they were sent

    std::uint32_t CSRCCount() const { return fields_.csrcCount; } ///< 0 to 15
    /// The contributing source at `index`, below `CSRCCount`: the four bytes as they were sent.
    std::uint32_t CSRC(std::uint32_t index) const;

    std::uint16_t ExtensionProfile() const { return fields_.extensionProfile; }
    std::uint16_t ExtensionWords() const { return fields_.extensionWords; } ///< length in 32-bit words
    /// The extension's bytes behind its four-byte header; a null span when there are none.
    std::span<const std::uint8_t> Extension() const;

    /// Padding excluded; a null span when the packet carries none.
    std::span<const std::uint8_t> Payload() const
    {
        return fields_.payloadLength == 0 ? std::span<const std::uint8_t>()
                                          : std::span<const std::uint8_t>(
                                                fields_.body + fields_.payloadOffset, fields_.payloadLength);
    }

private:
    struct Fields
    {
        const std::uint8_t* body = nullptr; // CSRC list, extension, payload; padding cut off
        std::uint32_t payloadOffset = 0;    // within the body
        std::uint32_t payloadLength = 0;
        std::uint32_t timestamp = 0;
        std::uint32_t ssrc = 0;
        std::uint16_t sequence = 0;
        std::uint16_t extensionProfile = 0;
        std::uint16_t extensionWords = 0;
        std::uint8_t csrcCount = 0;
        std::uint8_t payloadType = 0;
        bool marker = false;
        bool padding = false;
    };

    Fields fields_;
    std::unique_ptr<std::uint8_t[]> block_;
    std::uint32_t capacity_ = 0; // bytes at block_
};

} // namespace korvane
