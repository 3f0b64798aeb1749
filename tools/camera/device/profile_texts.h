#pragma once

#include <array>

namespace larkmoor::camera
{

/// A profile as text, a line each of
///   @summary TEXT, @channels N, @streams N (of each channel), @legacy, @like NAME (that profile's lines
///   here), or key = value ; rule       where the rule is as that of ParameterStore::Define, and %c and %s
///   (from 0), %C and %S
///                            (from 1) stand for each channel and stream
/// Later lines replace earlier ones of the same key. "#" begins a line of comment. Names with "_" in front
/// are there for @like alone.
struct ProfileText
{
    const char* name;
    const char* text;
};

extern const std::array<ProfileText, 11> kProfileTexts;

} // namespace larkmoor::camera
