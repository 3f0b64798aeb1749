#pragma once

#include "gstreamer/source_settings.h"

#include <cstdint>
#include <list>
#include <mutex>
#include <string>

namespace larkmoor::gst
{

/// What one element wants of the driver's settings file.
struct SettingsClaim
{
    std::string element; ///< its name, for whom it is in the way of
    std::string address; ///< of the device, as the driver gets it
    std::uint16_t port = 80;
    TransportChoice transport = TransportChoice::Auto;
    AudioChoice audio = AudioChoice::None;
    std::string settingsFile; ///< a copy of this file rules the process
};

/// The folder that the driver takes for its host's, and in it the one settings file of all elements of the
/// process.
///
/// The driver knows one settings file for a process. The streaming mode in it is one for all devices, the RTP
/// mode and the codec of sound are one for each address and port. So each element claims what it needs before
/// it starts, and one whose claim is against an earlier one is refused. Any thread.
class HostFolder
{
public:
    /// A claim in force, given back at the end of the object.
    class Hold
    {
    public:
        explicit Hold(const SettingsClaim& claim); ///< throws `Problem`
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        std::list<SettingsClaim>::iterator place_;
    };

    /// Makes the folder and names it in LARKMOOR_HOST_DIRECTORY, the first time that it is called in a
    /// process; before the driver is loaded. A folder that the application has named there is left alone:
    /// then its file counts as it is. Throws `Problem`.
    static void Prepare();

private:
    static HostFolder& The();
    HostFolder() = default;
    ~HostFolder();

    void PrepareLocked();
    void Check(const SettingsClaim& claim) const;
    void Write() const;

    std::mutex lock_;
    std::string path_; // empty before `Prepare`, and if the folder is the application's
    bool isForeign_ = false;
    std::list<SettingsClaim> claims_;
};

/// The settings file that serves these claims, none of which are against each other.
std::string SettingsText(const std::list<SettingsClaim>& claims);

} // namespace larkmoor::gst
