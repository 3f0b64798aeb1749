#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace larkmoor::test
{

/// One note of the simulated camera's scale as it was heard; seconds from the start of the recording.
struct HeardNote
{
    int note = -1; ///< 0 is C5, 7 is C6; -1 is something else, or silence
    double begin = 0;
    double end = 0;
};

/// What sounds when, found by the power of each note's frequency (the algorithm of Goertzel) in windows of 40
/// ms, every 5 ms. `samples` are those of one channel.
std::vector<HeardNote> FindNotes(std::span<const float> samples, double sampleRate);

/// How well the notes stand at their places: one behind the other in their order, half a second each, on one
/// grid from the first to the last.
struct NoteJudgement
{
    int notes = 0;         ///< whole ones
    double worstPlace = 0; ///< seconds from the grid that fits best
    int firstNote = -1;    ///< of the whole ones
    double gridBegin = 0;  ///< where the first whole note should begin
    std::string fault;     ///< what is wrong with them, "" for nothing
};

NoteJudgement JudgeNotes(const std::vector<HeardNote>& heard);

/// The sound of a media file, decoded by libavcodec, its first channel; silence stands where its times leave
/// a hole.
struct DecodedSound
{
    std::vector<float> samples;
    double sampleRate = 0;
    double begin = 0;  ///< seconds, of the first sample by the file's times
    std::string fault; ///< what the decoder or the container complained of, "" for nothing
};

DecodedSound DecodeSound(const std::string& file);

} // namespace larkmoor::test
