#pragma once

#include "camera/device/profile.h"
#include "camera/media/audio_encoder.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace larkmoor::camera
{

/// What the microphones hear: a scale of pure notes, over and over, in step with the clock on the wall, so
/// that a recording tells by its sound when each part of it was made.
class Melody
{
public:
    static constexpr std::chrono::milliseconds kNoteTime{500};

    /// C5 to C6 in Hz, equal temperament from A4 = 440.
    static constexpr std::array<double, 8> kNotes = {523.251, 587.330, 659.255, 698.456,
                                                     783.991, 880.000, 987.767, 1046.502};

    /// Sampled from `start` on; note 0 sounds when the seconds since 1970 divide by 4.
    Melody(std::chrono::system_clock::time_point start, std::uint32_t sampleRate);

    std::int16_t Sample(std::uint64_t index) const;

private:
    const std::uint32_t sampleRate_;
    std::uint64_t offset_; // samples of the melody before the first one
};

/// A piece of sound of a running stream, encoded once and shared by all who send it.
struct AudioPiece
{
    std::shared_ptr<const Bytes> bytes;
    AudioSettings settings;
    std::uint64_t firstSample = 0; ///< since the stream's start, at the rate of the settings
    std::chrono::system_clock::time_point captured;
};

/// Whoever wants the sound of a stream.
class AudioSubscriber
{
public:
    virtual ~AudioSubscriber() = default;

    /// On the thread of the io_context. May unsubscribe any subscriber, itself included.
    virtual void OnAudio(const AudioPiece& piece) = 0;
};

/// The sound of one stream of a device, encoded in real time while it has subscribers. Except for Configure
/// and Settings, which any thread may call, everything happens on the thread of the io_context.
class AudioStream : public std::enable_shared_from_this<AudioStream>
{
public:
    AudioStream(boost::asio::io_context& context, StreamId id) : id_(id), timer_(context) {}

    /// Settings for the pieces to come; a running stream changes in mid-stream. Any thread.
    void Configure(const AudioSettings& settings);
    AudioSettings Settings() const; ///< Any thread.

    /// AAC: the AudioSpecificConfig of the present settings, for descriptions. Otherwise empty.
    Bytes Config() const;

    /// `subscriber` gets the pieces from now on. It must unsubscribe before it goes.
    void Subscribe(AudioSubscriber& subscriber);
    void Unsubscribe(AudioSubscriber& subscriber);

    StreamId Id() const { return id_; }

private:
    using Clock = std::chrono::steady_clock;

    /// An open encoder with its place in time.
    struct Workshop
    {
        AudioSettings settings;
        std::unique_ptr<AudioEncoder> encoder; // null for settings that no encoder takes
        Melody melody;
        Clock::time_point start;
        std::chrono::system_clock::time_point startTime;
        std::uint64_t samples = 0; // encoded so far
    };

    void OpenWorkshop();
    void Schedule();
    void OnTimer();
    void EncodePiece();
    std::chrono::nanoseconds TimeOf(std::uint64_t samples) const;

    const StreamId id_;
    boost::asio::steady_timer timer_;
    mutable std::mutex lock_; // guards the settings; innermost
    AudioSettings settings_;
    std::optional<Workshop> workshop_;
    std::vector<AudioSubscriber*> subscribers_; // null once it has left in the middle of a round
};

} // namespace larkmoor::camera
