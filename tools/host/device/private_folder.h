#pragma once

#include <filesystem>
#include <string>

namespace larkmoor::host
{

/// The folder in which this run of the bench host lives.
///
/// The driver looks for its settings file beside the executable of its host. So that a run has settings of
/// its own, and neither finds those of others nor leaves any behind, the bench host makes a folder, links or
/// copies its executable into it and goes on as that one. Nothing in the driver needs to know.
class PrivateFolder
{
public:
    /// Goes on as an executable in a folder of its own: does not return the first time, but starts `main`
    /// anew with the same arguments; returns then. Call before threads are started. Throws `Failure`
    /// (Internal) when there is no place where files may be executed (TMPDIR chooses another).
    PrivateFolder(char** argv);

    /// Removes the folder.
    ~PrivateFolder();

    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    /// The folder in which the executable stood at first: the library is looked for there.
    const std::filesystem::path& Home() const { return home_; }

    /// Writes a file into the folder and returns its path; one of that name is replaced at one stroke. Throws
    /// `Failure` (Internal).
    std::filesystem::path Write(const std::string& name, const std::string& text) const;

private:
    std::filesystem::path path_;
    std::filesystem::path home_;
};

} // namespace larkmoor::host
