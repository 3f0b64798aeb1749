// The body of a DESCRIBE response. What is read of it comes from it and stays within the written limits.

#include <cstdint>
#include <string_view>

#include "require.h"
#include "transport/sdp_response_parser.h"

namespace
{

void RequireFrom(std::string_view text, const korvane::SDPMediaSection& section)
{
    for (const std::string* part : {&section.protocol, &section.address, &section.control, &section.encoding,
                                    &section.formatParameters})
    {
        Require(text.find(*part) != std::string_view::npos);
        Require(part->find_first_of("\r\n") == std::string::npos);
    }
    Require(section.address.find('/') == std::string::npos);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    korvane::CSDPResponseParser parser;
    const bool passed = parser.Parse(text);
    const korvane::SDPDescription& description = parser.Description();

    RequireFrom(text, description.video);
    RequireFrom(text, description.audio);
    RequireFrom(text, description.data);
    Require(description.SPS.size() <= 256 && description.PPS.size() <= 256);
    Require(description.config.size() <= size);
    Require(description.audioFormat.channels > 0);
    Require(description.audio.formatParameters.empty() || description.audioFormat.codecCode != 0);
    if (passed)
        Require(description.SPS.empty() == description.PPS.empty());

    // The same text again gives the same: nothing of the last description is left.
    const std::string control = description.video.control;
    Require(parser.Parse(text) == passed && description.video.control == control);
    return 0;
}
