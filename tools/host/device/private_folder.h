#pragma once

#include <filesystem>
#include <string>

namespace larkmoor::host
{

/// The folder of one run of the bench host, where the driver looks for its settings file.
///
/// LARKMOOR_HOST_DIRECTORY names it to the driver. So each run has its own settings: it neither finds those
/// of other runs nor leaves any behind.
class PrivateFolder
{
public:
    /// Call once per process, before it starts threads and loads the driver. Throws `Failure` (Internal) if
    /// the folder can't be made; TMPDIR chooses another place.
    PrivateFolder();

    /// Removes the folder.
    ~PrivateFolder();

    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    /// Writes a file into the folder and returns its path; one of that name is replaced at one stroke. Throws
    /// `Failure` (Internal).
    std::filesystem::path Write(const std::string& name, const std::string& text) const;

private:
    std::filesystem::path path_;
};

/// The folder of the executable: the library is looked for there.
std::filesystem::path ExecutableFolder();

} // namespace larkmoor::host
