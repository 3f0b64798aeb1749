#include "host/device/device_file.h"

#include "host/base/failure.h"
#include "host/base/text.h"
#include "host/recording/frame_files.h"

#include <system_error>

namespace larkmoor::host
{

namespace
{

std::string Connection(const DeviceReport& report, std::uint32_t index)
{
    const auto found = report.connection.find(index);
    return found == report.connection.end() ? std::string() : found->second;
}

nlohmann::ordered_json Properties(const DeviceReport& report)
{
    std::map<std::uint32_t, std::string> sorted;
    for (const DeviceReport::Parameter& parameter : report.parameters)
        sorted[parameter.id] = parameter.value;
    nlohmann::ordered_json properties = nlohmann::ordered_json::object();
    for (const auto& [number, text] : sorted)
        properties[std::to_string(number)] = text;
    return properties;
}

} // namespace

std::vector<std::string> CodecNames(const DeviceReport& report)
{
    static constexpr std::pair<std::uint32_t, const char*> kOffers[] = {
        {kCapabilityH264, "h264"}, {kCapabilityMpeg4, "mpeg4"}, {kCapabilityMotionJpeg, "mjpeg"}};
    std::vector<std::string> names;
    for (const auto& [number, name] : kOffers)
    {
        if (report.Value(number) != 0)
            names.emplace_back(name);
    }
    return names;
}

nlohmann::ordered_json DeviceFile(const DeviceReport& report)
{
    const std::vector<std::string> codecs = CodecNames(report);
    nlohmann::ordered_json sizes = nlohmann::ordered_json::array();
    for (const DeviceReport::Size& size : report.sizes)
        sizes.push_back({{"size", size.text}, {"frame_time", size.frameTime}});
    return {{"address", Connection(report, kConnectionAddress)},
            {"port", ReadNumber<std::uint16_t>(Connection(report, kConnectionPort)).value_or(80)},
            {"user", Connection(report, kConnectionUser)},
            {"password", Connection(report, kConnectionPassword)},
            {"model", report.model},
            {"codec", codecs.empty() ? "h264" : codecs.front()},
            {"channels", report.Value(kCapabilityChannelCount)},
            {"inputs", report.Value(kCapabilityInputCount)},
            {"outputs", report.Value(kCapabilityOutputCount)},
            {"properties", Properties(report)},
            {"codecs", codecs},
            {"sizes", sizes},
            {"frame_times", report.frameTimes},
            {"default_frame_time", report.defaultFrameTime}};
}

void WriteDeviceFile(const std::filesystem::path& file, const DeviceReport& report)
{
    using std::filesystem::perms;
    // What a camera sent need not be UTF-8.
    const std::string text =
        DeviceFile(report).dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
    OutputFile output(file);
    std::error_code ignored; // a pipe or a device has no such permissions
    if (std::filesystem::is_regular_file(file, ignored))
        std::filesystem::permissions(file, perms::owner_read | perms::owner_write, ignored);
    output.Write(text);
    output.Finish();
}

} // namespace larkmoor::host
