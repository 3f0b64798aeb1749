#include "support/settings_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace korvane::test
{

SettingsFolder::SettingsFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "larkmoor-settings-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    path_ = pattern + "/";
}

SettingsFolder::~SettingsFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void SettingsFolder::Write(const std::string& text) const
{
    std::ofstream(path_ + "Larkmoor.xml", std::ios::binary | std::ios::trunc) << text;
}

} // namespace korvane::test
