#include "notes/note_finder.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <utility>

namespace larkmoor::test
{

namespace
{

// C5 to C6, equal temperament from A4 = 440 Hz
constexpr std::array<double, 8> kFrequencies = {523.25, 587.33, 659.26, 698.46,
                                                783.99, 880.0,  987.77, 1046.5};
constexpr double kWindow = 0.040;
constexpr double kStep = 0.005;
constexpr double kNoteTime = 0.5;
constexpr double kQuiet = 1e-4; // power of a window in which nothing sounds

double PowerAt(std::span<const float> window, double frequency, double sampleRate)
{
    const double turn = 2 * std::numbers::pi * frequency / sampleRate;
    const double twice = 2 * std::cos(turn);
    double before = 0;
    double last = 0;
    for (std::size_t i = 0; i < window.size(); ++i)
    {
        const double weight = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i) /
                                                   static_cast<double>(window.size()));
        const double next = weight * static_cast<double>(window[i]) + twice * last - before;
        before = last;
        last = next;
    }
    return before * before + last * last - twice * before * last;
}

int NoteIn(std::span<const float> window, double sampleRate)
{
    double energy = 0;
    for (const float sample : window)
        energy += static_cast<double>(sample) * static_cast<double>(sample);
    if (energy / static_cast<double>(window.size()) < kQuiet)
        return -1;
    int loudest = -1;
    double most = 0;
    for (std::size_t note = 0; note < kFrequencies.size(); ++note)
    {
        const double power = PowerAt(window, kFrequencies[note], sampleRate);
        if (power > most)
        {
            most = power;
            loudest = static_cast<int>(note);
        }
    }
    // Of a pure tone the window leaves an eighth of (energy * length); much less is some other sound.
    return most > 0.02 * energy * static_cast<double>(window.size()) ? loudest : -1;
}

} // namespace

std::vector<HeardNote> FindNotes(std::span<const float> samples, double sampleRate)
{
    std::vector<HeardNote> heard;
    const auto window = static_cast<std::size_t>(kWindow * sampleRate);
    const auto step = static_cast<std::size_t>(kStep * sampleRate);
    for (std::size_t at = 0; window != 0 && at + window <= samples.size(); at += step)
    {
        const int note = NoteIn(samples.subspan(at, window), sampleRate);
        const double middle = (static_cast<double>(at) + static_cast<double>(window) / 2) / sampleRate;
        if (heard.empty() || heard.back().note != note)
            heard.push_back({note, middle, middle});
        heard.back().end = middle;
    }
    // A breath between two notes is no note of its own.
    std::erase_if(heard, [](const HeardNote& each) { return each.end - each.begin < 0.045; });
    return heard;
}

NoteJudgement JudgeNotes(const std::vector<HeardNote>& heard)
{
    NoteJudgement judged;
    if (heard.size() < 3)
    {
        judged.fault = "too few notes";
        return judged;
    }
    double sum = 0; // of the distances of the notes' beginnings from a grid that begins at 0
    int place = 0;
    for (std::size_t i = 1; i < heard.size(); ++i)
    {
        if (heard[i].note < 0 || heard[i].note != (heard[i - 1].note + 1) % 8)
            judged.fault = "note " + std::to_string(heard[i].note) + " behind note " +
                           std::to_string(heard[i - 1].note) + " at " + std::to_string(heard[i].begin);
        sum += heard[i].begin - kNoteTime * place++;
    }
    judged.firstNote = heard[1].note;
    judged.gridBegin = sum / place;
    for (int i = 0; i < place; ++i)
        judged.worstPlace =
            std::max(judged.worstPlace, std::abs(heard[static_cast<std::size_t>(i) + 1].begin -
                                                 judged.gridBegin - kNoteTime * i));
    judged.notes = place - 1; // the last one is cut
    if (judged.fault.empty() && judged.worstPlace > 0.03)
        judged.fault = "a note stands " + std::to_string(judged.worstPlace) + " s off its place";
    return judged;
}

namespace
{

template <auto Free>
struct Release
{
    template <class Object>
    void operator()(Object* object) const
    {
        Free(&object);
    }
};
using Input = std::unique_ptr<AVFormatContext, Release<avformat_close_input>>;
using Decoder = std::unique_ptr<AVCodecContext, Release<avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, Release<av_packet_free>>;
using Picture = std::unique_ptr<AVFrame, Release<av_frame_free>>;

void Append(const AVFrame& frame, DecodedSound& sound)
{
    for (int i = 0; i < frame.nb_samples; ++i)
    {
        const int at = av_sample_fmt_is_planar(static_cast<AVSampleFormat>(frame.format))
                           ? i
                           : i * frame.ch_layout.nb_channels;
        if (frame.format == AV_SAMPLE_FMT_FLTP)
            sound.samples.push_back(reinterpret_cast<const float*>(frame.data[0])[at]);
        else if (frame.format == AV_SAMPLE_FMT_S16)
            sound.samples.push_back(
                static_cast<float>(reinterpret_cast<const std::int16_t*>(frame.data[0])[at]) / 32768.0F);
        else
            sound.fault = "samples of an unknown kind";
    }
}

void DecodeAll(AVFormatContext& input, int index, AVCodecContext& decoder, DecodedSound& sound)
{
    const Packet packet(av_packet_alloc());
    const Picture frame(av_frame_alloc());
    const double unit = av_q2d(input.streams[index]->time_base);
    bool isFirst = true;
    for (bool isOver = false; !isOver;)
    {
        isOver = av_read_frame(&input, packet.get()) < 0;
        if (!isOver && packet->stream_index == index)
        {
            const double time = static_cast<double>(packet->pts) * unit;
            if (std::exchange(isFirst, false))
                sound.begin = time;
            const double hole =
                time - sound.begin - static_cast<double>(sound.samples.size()) / sound.sampleRate;
            if (hole > 0.1 && hole < 100)
                sound.samples.resize(sound.samples.size() +
                                     static_cast<std::size_t>(hole * sound.sampleRate));
            if (avcodec_send_packet(&decoder, packet.get()) < 0)
                sound.fault = "a packet that can't be decoded at " + std::to_string(time) + " s";
        }
        else if (isOver)
            avcodec_send_packet(&decoder, nullptr);
        av_packet_unref(packet.get());
        while (avcodec_receive_frame(&decoder, frame.get()) >= 0)
            Append(*frame, sound);
    }
}

} // namespace

DecodedSound DecodeSound(const std::string& file)
{
    DecodedSound sound;
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, file.c_str(), nullptr, nullptr) < 0)
    {
        sound.fault = "can't open " + file;
        return sound;
    }
    const Input input(opened);
    const AVCodec* codec = nullptr;
    const int index = avformat_find_stream_info(opened, nullptr) < 0
                          ? -1
                          : av_find_best_stream(opened, AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
    const Decoder decoder(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
    if (index < 0 || !decoder ||
        avcodec_parameters_to_context(decoder.get(), opened->streams[index]->codecpar) < 0 ||
        avcodec_open2(decoder.get(), codec, nullptr) < 0)
    {
        sound.fault = "no sound in " + file;
        return sound;
    }
    sound.sampleRate = decoder->sample_rate;
    DecodeAll(*opened, index, *decoder, sound);
    return sound;
}

} // namespace larkmoor::test
