#include "host/verbs/command_line.h"

#include "host/base/failure.h"
#include "host/frame_tests.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace larkmoor::host::test
{

namespace
{

std::variant<Command, NoCommand> Read(std::vector<const char*> words)
{
    words.insert(words.begin(), "larkmoor-host");
    return ReadCommandLine(static_cast<int>(words.size()), words.data());
}

template <typename Options>
Options ReadAs(const std::vector<const char*>& words)
{
    const auto read = Read(words);
    if (!std::holds_alternative<Command>(read) || !std::holds_alternative<Options>(std::get<Command>(read)))
    {
        ADD_FAILURE() << "not understood";
        return {};
    }
    return std::get<Options>(std::get<Command>(read));
}

} // namespace

TEST(CommandLine, ReadsARecording)
{
    const auto record = ReadAs<RecordOptions>(
        {"record",        "--codec",    "mjpeg",       "--transport", "http",      "--channel",  "2",
         "--size",        "704x576",    "--rate",      "12.5",        "--seconds", "10",         "--change",
         "5s:640x480@10", "--change",   "7s:@5",       "--property",  "16=a=b",    "--property", "20=",
         "--picture-at",  "4s:b:c.png", "--rtsp-port", "8554"});
    const Device& device = record.common.device;
    EXPECT_EQ(device.codec, Codec::Mjpeg);
    EXPECT_EQ(device.channels, 3u) << "a device with a channel 2 has at least three";
    EXPECT_EQ(record.stream.size, (PictureSize{704, 576}));
    ASSERT_EQ(record.changes.size(), 2u);
    EXPECT_EQ(record.changes[1].rate, 5.0);
    ASSERT_EQ(record.picturesAt.size(), 1u);
    EXPECT_EQ(record.picturesAt[0].file, "b:c.png");

    // What the driver will see: no number is missing from 1 to the last, or it would not see those behind.
    EXPECT_EQ(device.properties.at(3), "8554");
    EXPECT_EQ(device.properties.at(7), "1");
    EXPECT_EQ(device.properties.at(14),
              "2;video1_1.mjpg!video1_2.mjpg,video2_1.mjpg!video2_2.mjpg,"
              "video3_1.mjpg!video3_2.mjpg;live1_1.sdp!live1_2.sdp,live2_1.sdp!live2_2.sdp,"
              "live3_1.sdp!live3_2.sdp");
    EXPECT_EQ(device.properties.at(16), "a=b");
    EXPECT_EQ(device.properties.at(19), "(none)");
    EXPECT_EQ(device.properties.at(20), "");
    EXPECT_EQ(device.properties.size(), 20u);
}

TEST(CommandLine, PutsOptionsOverTheDeviceFile)
{
    const TemporaryFolder folder;
    WriteFile(folder / "device.json",
              R"({"address": "10.9.9.9", "port": 81, "user": "root", "password": "old", "channels": 1,
        "properties": {"1": "1", "3": "5554", "7": "1", "14": "1;a.mjpg;b.sdp", "101": "Count=1; IsStereo=0"}})");
    const std::string file = folder / "device.json";
    setenv("LARKMOOR_PASSWORD", "from the environment", 1);
    const auto record = ReadAs<RecordOptions>(
        {"record", "--device", file.c_str(), "--port", "82", "--property", "14=1;c.mjpg;d.sdp"});
    unsetenv("LARKMOOR_PASSWORD");
    const Device& device = record.common.device;
    EXPECT_EQ(device.address, "10.9.9.9");
    EXPECT_EQ(device.port, 82);
    EXPECT_EQ(device.password, "from the environment");
    EXPECT_EQ(device.properties.at(3), "5554");
    EXPECT_EQ(device.properties.at(14), "1;c.mjpg;d.sdp");
    EXPECT_EQ(device.properties.at(101), "Count=1; IsStereo=0");
    EXPECT_FALSE(device.properties.contains(100)) << "audio texts need no filling up to them";

    const auto mjpeg = ReadAs<RecordOptions>({"record", "--device", file.c_str(), "--codec", "mjpeg"});
    EXPECT_EQ(mjpeg.stream.transport, Transport::Http) << "as its property 7 says";
    const auto path = ReadAs<RecordOptions>({"record", "--device", file.c_str(), "--stream-path", "x%c.sdp"});
    EXPECT_EQ(path.common.device.properties.at(14), "1;;x0.sdp");
}

TEST(CommandLine, RefusesWhatItCannotDo)
{
    // Words that the library of arguments hands on.
    for (const std::vector<const char*>& words : {std::vector<const char*>{"ptz", "left:soon"},
                                                  {"ptz", "centre:5"},
                                                  {"preset", "go"},
                                                  {"io", "--set", "0@=on"},
                                                  {"record", "--size", "640"},
                                                  {"record", "--rate", "1e400"},
                                                  {"record", "--property", "0=1"},
                                                  {"record", "--change", "5s"},
                                                  {"record", "--picture-at", "5s"}})
    {
        testing::internal::CaptureStderr();
        const auto read = Read(words);
        testing::internal::GetCapturedStderr();
        ASSERT_TRUE(std::holds_alternative<NoCommand>(read)) << words.back();
        EXPECT_EQ(std::get<NoCommand>(read).exitStatus, 2) << words.back();
    }
    EXPECT_THROW(Read({"record", "--codec", "h264", "--transport", "http"}), Failure);
    EXPECT_THROW(Read({"record", "--channel", "2", "--channels", "2"}), Failure);
    EXPECT_THROW(Read({"record", "--seconds", "2", "--picture-at", "2s:a.png"}), Failure);
    EXPECT_THROW(Read({"record", "--seconds", "2", "--change", "3s:@5"}), Failure);
    EXPECT_THROW(Read({"io", "--seconds", "1", "--set", "0@1s=on"}), Failure);
}

TEST(DeviceFile, SaysWhatIsWrongWithIt)
{
    const TemporaryFolder folder;
    for (const char* text :
         {"", "[]", R"({"port": 65536})", R"({"port": "80"})", R"({"channels": 65})", R"({"inputs": 257})",
          R"({"properties": {"0": "a"}})", R"({"properties": {"1": 1}})", R"({"properties": {"1000": "a"}})"})
    {
        WriteFile(folder / "device.json", text);
        EXPECT_THROW(ReadDeviceFile(folder / "device.json"), Failure) << text;
    }
    EXPECT_THROW(ReadDeviceFile(folder / "missing.json"), Failure);
}

} // namespace larkmoor::host::test
