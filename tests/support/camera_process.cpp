#include "support/camera_process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korvane::test
{

namespace
{

std::string Program()
{
    const char* const other = std::getenv("LARKMOOR_TEST_CAMERA"); // one that is built without sanitizers
    return other == nullptr ? LARKMOOR_BINARY_DIR "/larkmoor-camera" : other;
}

/// A camera ends by itself too, for a test may be killed.
std::string LongestLife()
{
    return std::getenv("LARKMOOR_GST_ROUNDS") == nullptr ? "170" : "3600";
}

std::string ReadLine(int from)
{
    std::string line;
    for (char c = 0; read(from, &c, 1) == 1 && c != '\n';)
        line += c;
    return line;
}

} // namespace

CameraProcess::CameraProcess(std::vector<std::string> words) : words_(std::move(words))
{
    std::string name = (std::filesystem::temp_directory_path() / "larkmoor-test-camera-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        std::abort();
    folder_ = name;
    Begin();
}

CameraProcess::~CameraProcess()
{
    Kill();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void CameraProcess::Begin()
{
    std::vector<std::string> words = {Program(),
                                      "--http-port",
                                      std::to_string(httpPort_),
                                      "--rtsp-port",
                                      std::to_string(rtspPort_),
                                      "--seconds",
                                      LongestLife(),
                                      "--truth",
                                      (folder_ / std::to_string(lives_++)).string()};
    words.insert(words.end(), words_.begin(), words_.end());
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    ASSERT_EQ(posix_spawn(&process_, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    const std::string ready = ReadLine(ends[0]);
    close(ends[0]);
    unsigned http = 0;
    unsigned rtsp = 0;
    ASSERT_EQ(std::sscanf(ready.c_str(), "ready http=%u rtsp=%u", &http, &rtsp), 2) << ready;
    httpPort_ = static_cast<std::uint16_t>(http);
    rtspPort_ = static_cast<std::uint16_t>(rtsp);
}

void CameraProcess::Kill()
{
    if (process_ <= 0)
        return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = -1;
}

void CameraProcess::Halt()
{
    kill(process_, SIGSTOP);
}

std::string CameraProcess::Location(const std::string& path) const
{
    return "larkmoor://root@127.0.0.1:" + std::to_string(httpPort_) + "/" + path +
           "?rtsp-port=" + std::to_string(rtspPort_);
}

std::vector<std::string> CameraProcess::Truth(const std::string& kind) const
{
    std::vector<std::string> md5s;
    for (int life = 0; life < lives_; ++life)
    {
        std::ifstream file(folder_ / std::to_string(life));
        for (std::string line; std::getline(file, line);)
        {
            const nlohmann::json unit = nlohmann::json::parse(line, nullptr, false);
            if (unit.is_object() && unit["kind"] == kind)
                md5s.push_back(unit["md5"]);
        }
    }
    return md5s;
}

} // namespace korvane::test
