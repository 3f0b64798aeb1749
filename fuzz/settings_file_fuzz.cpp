// The settings file with any content, through every reader.

#include "device/settings_file.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <unistd.h>

using namespace korvane;

namespace
{

struct Folder
{
    Folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "settings_fuzz.XXXXXX").string();
        path = mkdtemp(name.data());
    }
    ~Folder() { std::filesystem::remove_all(path); }
    std::string path;
};

void Write(const std::string& path, std::string_view content)
{
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(content.data(), 1, content.size(), file) != content.size())
        std::abort();
    std::fclose(file);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Folder folder;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const CSettingsFile file(folder.path, "Larkmoor");
    Write(file.Path(), input);

    // The end of the input also serves as an address, so that quotes get into expressions.
    DEVICE_INFO device("192.168.1.20", 80, "", "", "");
    for (const std::string& address : {device.address, std::string(input.substr(size - size / 4))})
    {
        device.address = address;
        const RateSettings rates = file.ReadRateSettings(device, 1);
        if (rates.minBitrate == 0 || rates.minBitrate > rates.maxBitrate)
            std::abort();
        const TransportSettings transport = file.ReadTransportSettings(device);
        if (transport.specialPTZ.size() > CSettingsFile::kMaxSpecialPTZ ||
            (transport.blocksize != 0 && transport.blocksize <= 100))
        {
            std::abort();
        }
        file.ReadAudioCodecs(device);
    }
    file.ReadStreamingMode();
    return 0;
}
