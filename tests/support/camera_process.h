#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace korvane::test
{

/// A simulated camera in a process of its own, on free ports, with its truth in a file.
class CameraProcess
{
public:
    explicit CameraProcess(std::vector<std::string> words = {});
    ~CameraProcess();
    CameraProcess(const CameraProcess&) = delete;
    CameraProcess& operator=(const CameraProcess&) = delete;

    void Kill();  ///< at once, as a power cut does
    void Halt();  ///< it holds its connections, and says nothing any more
    void Begin(); ///< again, on the same ports

    std::uint16_t HttpPort() const { return httpPort_; }
    std::uint16_t RtspPort() const { return rtspPort_; }
    std::string Location(const std::string& path = "") const; ///< as the GStreamer element takes it

    /// The MD5s of all units of that kind that were sent so far, in order.
    std::vector<std::string> Truth(const std::string& kind) const;

private:
    std::filesystem::path folder_;
    std::vector<std::string> words_;
    std::uint16_t httpPort_ = 0;
    std::uint16_t rtspPort_ = 0;
    int lives_ = 0;
    pid_t process_ = -1;
};

} // namespace korvane::test
