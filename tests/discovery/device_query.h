#pragma once

#include "discovery/vivotek_camera_properties.h"

#include "discovery/parameter_book.h"
#include "support/fake_capability_store.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

/// Devices as lists of parameters, and what a query makes of them.
namespace korvane::test
{

using Parameters = ParameterBook::Parameters;

inline const Parameters kCurrent = {
    {"system_info_modelname", "IP8332"},
    {"capability_nvideoin", "1"},
    {"capability_nmediastream", "2"},
    {"capability_videoin_codec", "mpeg4,mjpeg,h264"},
    {"capability_videoin_resolution", "176x144,640x480"},
    {"capability_videoin_maxframerate", "30,15"},
    {"network_rtsp_port", "8554"},
    {"network_http_s0_accessname", "video.mjpg"},
    {"network_http_s1_accessname", "video2.mjpg"},
    {"network_rtsp_s0_accessname", "live.sdp"},
    {"network_rtsp_s1_accessname", "live2.sdp"},
};

inline const Parameters kServer = {
    {"system.modelname", "VS2403"}, {"system.di1", "0"},          {"system.di2", "0"},
    {"video.enable.0", "1"},        {"video.enable.1", "1"},      {"video.actualmodulation", "1"},
    {"video.maxframe.0", "25"},     {"video.maxframe.1", "9 fps"}};

inline const Parameters kLegacyCamera = {{"system.modelname", "IP7135"},
                                         {"network.rtspport", "554"},
                                         {"network.accessname", "live.sdp"},
                                         {"video.maxframe", "25"},
                                         {"video.mode", "50"}};

/// `base` with other values; an empty one is as good as a missing one.
inline Parameters With(Parameters base, const Parameters& changes)
{
    for (const auto& [key, value] : changes)
        base[key] = value;
    return base;
}

/// One query of a device that is a list of parameters.
struct Query
{
    explicit Query(const Parameters& parameters, std::uint32_t hostVideoStandard = 0,
                   const std::string& hostDirectory = "no such directory")
        : book(new ParameterBook(parameters)),
          properties(DEVICE_INFO("10.0.0.9", 80, "root", "secret", ""), hostVideoStandard,
                     std::unique_ptr<IParameterSource>(book), CSettingsFile(hostDirectory, "Larkmoor"))
    {
    }

    bool Fetch() { return properties.FetchProperties(&code); }

    ParameterBook* const book; // the properties' own
    CVivotekCameraProperties properties;
    FakeCapabilityStore store;
    std::uint32_t code = 77;
};

/// What lines the store has to hold; one behind "no " must not be there, nor begin so.
inline void ExpectLines(const FakeCapabilityStore& store, const std::vector<std::string>& expected)
{
    for (const std::string& line : expected)
    {
        if (line.starts_with("no "))
            EXPECT_THAT(store.Lines(), testing::Not(testing::Contains(testing::AnyOf(
                                           line.substr(3), testing::StartsWith(line.substr(3) + " ")))));
        else
            EXPECT_THAT(store.Lines(), testing::Contains(line));
    }
}

/// A device with other values, and what the store is given then.
struct Case
{
    const char* name;
    Parameters changes;
    std::vector<std::string> expected;
    std::uint32_t hostVideoStandard = 0;
};

inline void ExpectSaved(const Parameters& base, const std::vector<Case>& cases)
{
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        Query query(With(base, c.changes), c.hostVideoStandard);
        EXPECT_TRUE(query.Fetch());
        EXPECT_TRUE(query.properties.SaveProperties(&query.store));
        ExpectLines(query.store, c.expected);
    }
}

inline const std::string kStreams = "parameter 14 \"Vivotek streams\" text = ";
inline const std::string kFlags = "parameter 5 \"PTZ capability flags\" text = ";
inline const std::string kPresets = "parameter 4 \"Preset count\" number = ";
inline const std::string kStandard = "parameter 2 \"Camera video standard\" number = ";
inline const std::string kNotation = "parameter 6 \"Camera type\" number = ";
inline const std::string kOverHttp = "parameter 7 \"JPEG over HTTP\" number = ";
inline const std::string kAudioIn = "parameter 17 \"Selected audio input codecs\" text = ";
inline const std::string kAudioOut = "parameter 18 \"Selected audio output codecs\" text = ";

} // namespace korvane::test
