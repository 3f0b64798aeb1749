#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace korvane::test
{

/// A folder of its own for the driver's settings file, gone with the object.
class SettingsFolder
{
public:
    SettingsFolder()
    {
        path_ = (std::filesystem::temp_directory_path() / "larkmoor-settings-XXXXXX").string();
        if (mkdtemp(path_.data()) == nullptr)
            std::abort();
        path_ += "/";
    }
    ~SettingsFolder() { std::filesystem::remove_all(path_); }
    SettingsFolder(const SettingsFolder&) = delete;
    SettingsFolder& operator=(const SettingsFolder&) = delete;

    const std::string& Path() const { return path_; } ///< with its closing separator
    void Write(const std::string& text) const         ///< the settings file, whole
    {
        std::ofstream(path_ + "Larkmoor.xml", std::ios::binary | std::ios::trunc) << text;
    }

private:
    std::string path_;
};

} // namespace korvane::test
