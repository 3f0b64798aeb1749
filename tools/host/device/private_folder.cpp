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

fs::path MakeFolder()
{
    std::string name = (fs::temp_directory_path() / "larkmoor-host-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw Failure(ExitStatus::Internal, "can't make a folder " + name + ": " + std::strerror(errno) +
                                                " (TMPDIR may name another place)");
    return name;
}

} // namespace

PrivateFolder::PrivateFolder() : path_(MakeFolder())
{
    setenv("LARKMOOR_HOST_DIRECTORY", path_.c_str(), 1);
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

fs::path ExecutableFolder()
{
    return fs::read_symlink("/proc/self/exe").parent_path();
}

} // namespace larkmoor::host
