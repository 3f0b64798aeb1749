#pragma once

#include <string>

namespace korvane::test
{

/// A folder of its own for the driver's settings file, gone with the object.
class SettingsFolder
{
public:
    SettingsFolder();
    ~SettingsFolder();
    SettingsFolder(const SettingsFolder&) = delete;
    SettingsFolder& operator=(const SettingsFolder&) = delete;

    const std::string& Path() const { return path_; } ///< with its closing separator
    void Write(const std::string& text) const;        ///< the settings file, whole

private:
    std::string path_;
};

} // namespace korvane::test
