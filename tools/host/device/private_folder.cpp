#include "host/device/private_folder.h"

#include "host/base/failure.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <unistd.h>

namespace larkmoor::host
{

namespace fs = std::filesystem;

namespace
{

constexpr const char* kHomeVariable = "LARKMOOR_HOST_HOME"; // set for the second life only
constexpr const char* kFolderPrefix = "larkmoor-host-";

fs::path MakeFolder()
{
    std::string name = (fs::temp_directory_path() / kFolderPrefix).string() + "XXXXXX";
    if (mkdtemp(name.data()) == nullptr)
        throw Failure(ExitStatus::Internal, "can't make a folder " + name + ": " + std::strerror(errno));
    return name;
}

fs::path PlaceExecutable(const fs::path& executable, const fs::path& folder)
{
    const fs::path place = folder / executable.filename();
    std::error_code error;
    fs::create_hard_link(executable, place, error);
    if (error) // another file system, or another owner's file
        fs::copy_file(executable, place, error);
    if (error)
        throw Failure(ExitStatus::Internal,
                      "can't put the executable into " + folder.string() + ": " + error.message());
    return place;
}

} // namespace

PrivateFolder::PrivateFolder(char** argv)
{
    const fs::path executable = fs::read_symlink("/proc/self/exe");
    const char* home = std::getenv(kHomeVariable);
    if (home != nullptr && executable.parent_path().filename().string().starts_with(kFolderPrefix))
    {
        path_ = executable.parent_path();
        home_ = home;
        unsetenv(kHomeVariable);
        return;
    }

    const fs::path folder = MakeFolder();
    try
    {
        const fs::path place = PlaceExecutable(executable, folder);
        setenv(kHomeVariable, executable.parent_path().c_str(), 1);
        execv(place.c_str(), argv);
        throw Failure(ExitStatus::Internal, "can't execute " + place.string() + ": " + std::strerror(errno) +
                                                " (TMPDIR may name another place)");
    }
    catch (const Failure&)
    {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
        throw;
    }
}

PrivateFolder::~PrivateFolder()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

fs::path PrivateFolder::Write(const std::string& name, const std::string& text) const
{
    const fs::path file = path_ / name;
    const fs::path draft = path_ / (name + ".new");
    std::ofstream stream(draft, std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    std::error_code error;
    fs::rename(draft, file, error);
    if (!stream || error)
        throw Failure(ExitStatus::Internal, "can't write " + file.string());
    return file;
}

} // namespace larkmoor::host
