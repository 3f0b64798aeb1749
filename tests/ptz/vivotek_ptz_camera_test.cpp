// The control of a head against the simulated camera, by the camera's request log.

#include "ptz/vivotek_ptz_control.h"

#include "camera/simulated_camera.h"
#include "ptz/head_request.h"
#include "support/fake_driver.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace korvane
{

namespace
{

using Lines = std::vector<std::string>;

constexpr std::chrono::seconds kPatience(60);
using test::kControl;

/// A dome and a driver for it.
class DomePTZ : public testing::Test
{
protected:
    DomePTZ()
    {
        larkmoor::camera::CameraOptions options;
        options.profile = "dome";
        options.parameters = {"camctrl_c0_cameraid=7"};
        camera_ = std::make_unique<larkmoor::camera::SimulatedCamera>(options);
        camera_->Requests().SetListener(
            [this](const larkmoor::camera::LoggedRequest& request)
            {
                const std::lock_guard guard(lock_);
                if (request.target.find("getparam") == std::string::npos)
                    lines_.push_back((request.status == 200 ? "" : "refused ") + request.target);
                changed_.notify_all();
            });
        std::string error;
        EXPECT_TRUE(camera_->Start(error)) << error;
        driver_.device = DEVICE_INFO("127.0.0.1", camera_->HttpPort(), "", "", "");
        driver_.properties = {{4, "20"}, {5, "11110000"}, {10, "1"}, {11, "100"},
                              {12, "1"}, {13, "16"},      {15, "0"}, {16, ""}};
        driver_.channelSettings.width = 640;
        driver_.channelSettings.height = 480;
    }

    /// What came for the head, at least `count` lines, and forgets it.
    Lines Take(std::size_t count)
    {
        std::unique_lock lock(lock_);
        EXPECT_TRUE(changed_.wait_for(lock, kPatience, [&] { return lines_.size() >= count; }));
        return std::exchange(lines_, {});
    }

    test::FakeDriver driver_;
    std::mutex lock_; // guards what follows
    std::condition_variable changed_;
    Lines lines_;
    std::unique_ptr<larkmoor::camera::SimulatedCamera> camera_; // last: it writes into the above
};

using Call = std::function<void(CVivotekPTZControl&)>;

Call Move(std::uint32_t direction, std::uint32_t speed)
{
    return [=](CVivotekPTZControl& control) { EXPECT_EQ(control.StartMove(direction, speed), 1); };
}

} // namespace

TEST_F(DomePTZ, HearsExactlyTheseRequests)
{
    const Call in = [](auto&c) { c.ZoomIn(16); }, out = [](auto&c) { c.ZoomOut(8); };
    const Call far = [](auto&c) { c.FocusFar(9); }, near = [](auto&c) { c.FocusNear(9); };
    const Call open = [](auto&c) { c.IrisOpen(9); }, close = [](auto&c) { c.IrisClose(9); };
    const Call stop = [](auto& c) { EXPECT_EQ(c.Stop(), 1); };
    const Call silent = [](auto& c)
    {
        EXPECT_EQ(c.AreaZoom(1, 2, 3, 4), 1); // accepted, and nothing for the camera
        EXPECT_EQ(c.Unzoom(1), 1);
        EXPECT_EQ(c.StartMove(77, 1), 1);
    };
    // "+" stands for the two requests that end every stop.
    const struct
    {
        const char* type;
        const char* subtype;
        std::vector<Call> calls;
        Lines arguments;
    } cases[] = {
        {"0",
         "",
         {Move(0, 16), Move(1, 16), Move(2, 16), Move(3, 16)},
         {"&vx=-1&vy=0&vs=1", "&vx=1&vy=0&vs=1", "&vx=0&vy=1&vs=1", "&vx=0&vy=-1&vs=1"}},
        {"0",
         "",
         {Move(4, 16), Move(5, 16), Move(6, 16), Move(7, 16)},
         {"&vx=-1&vy=1&vs=1", "&vx=1&vy=1&vs=1", "&vx=-1&vy=-1&vs=1", "&vx=1&vy=-1&vs=1"}},
        {"0",
         "XY",
         {Move(0, 1), Move(1, 16), Move(2, 8), Move(3, 8)},
         {"&vx=-1&vy=0&vs=1", "&vx=100&vy=0&vs=1", "&vx=0&vy=47&vs=1", "&vx=0&vy=-47&vs=1"}},
        {"0",
         "XY",
         {Move(4, 8), Move(5, 8), Move(6, 8), Move(7, 8)},
         {"&vx=-47&vy=47&vs=1", "&vx=47&vy=47&vs=1", "&vx=-47&vy=-47&vs=1", "&vx=47&vy=-47&vs=1"}},
        {"0", "S", {Move(0, 8), Move(7, 16)}, {"&vx=-1&vy=0&vs=47", "&vx=1&vy=-1&vs=100"}},
        {"0", "XYS", {Move(3, 8), Move(4, 16)}, {"&vx=0&vy=-47&vs=47", "&vx=-100&vy=100&vs=100"}},
        {"0",
         "XYS",
         {in, out, Move(8, 1), Move(9, 16)},
         {"&zooming=tele&zs=16", "&zooming=wide&zs=8", "&zooming=tele&zs=1", "&zooming=wide&zs=16"}},
        {"0", "", {far, near, open, close}, {"&focus=far", "&focus=near", "&iris=open", "&iris=close"}},
        {"0", "", {Move(0, 1), stop, stop}, {"&vx=-1&vy=0&vs=1", "&vx=0&vy=0&vs=0", "+"}},
        {"0", "", {Move(9, 8), stop, stop}, {"&zooming=wide&zs=8", "&zoom=stop", "+"}},
        {"0", "", {far, open, stop}, {"&focus=far", "&iris=open", "+", "+"}},
        {"0", "", {Move(0, 1), Move(0, 0)}, {"&vx=-1&vy=0&vs=1", "&vx=0&vy=0&vs=0", "+"}},
        {"1",
         "XYS",
         {Move(0, 9), Move(1, 9), Move(2, 9), Move(3, 9)},
         {"&move=left", "&move=right", "&move=up", "&move=down"}},
        {"1", "", {Move(4, 9), Move(5, 9)}, {"&move=up", "&move=left", "&move=up", "&move=right"}},
        {"1", "", {Move(6, 9), Move(7, 9)}, {"&move=down", "&move=left", "&move=down", "&move=right"}},
        {"1",
         "",
         {Move(8, 9), Move(9, 9), in, out},
         {"&zoom=tele", "&zoom=wide", "&zoom=tele", "&zoom=wide"}},
        {"1", "", {Move(0, 9), stop}, {"&move=left", "&auto=stop", "+"}},
        {"1",
         "",
         {in, near, close, stop},
         {"&zoom=tele", "&focus=near", "&iris=close", "&auto=stop", "+", "&auto=stop", "+", "&auto=stop",
          "+"}},
        {"2", "", {Move(0, 9), in, far, stop}, {"&focus=far", "+", "+", "+"}},
        {"0", "", {silent, far}, {"&focus=far"}},
    };
    int row = 0;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(row++);
        driver_.properties[15] = c.type;
        driver_.properties[16] = c.subtype;
        CVivotekPTZControl control(&driver_, 0);
        ASSERT_TRUE(control.Open());
        Lines wanted;
        for (const std::string& argument : c.arguments)
            for (const char* each : {argument == "+" ? "&focus=auto" : argument.c_str(), "&iris=auto"})
                if (argument == "+" || argument == each)
                    wanted.push_back(kControl + each);
        for (const Call& call : c.calls)
            call(control);
        EXPECT_EQ(Take(wanted.size()), wanted);
    }
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    EXPECT_EQ(control.Center(10, 20, 5), 1);
    EXPECT_EQ(Take(1), Lines{"/cgi-bin/camctrl/camctrl.cgi?video=0&x=10&y=20&resolution=640x480"
                             "&videosize=640x480&stretch=0"});
}

TEST_F(DomePTZ, KeepsPresetsOfAllNames)
{
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    const std::string longest(255, 'x');
    const struct
    {
        std::string name;
        std::int32_t result;
        std::string escaped; // as it goes out; empty: it does not
    } cases[] = {
        {"back yard", 1, "back%20yard"},
        {" ends ", 1, "%20ends%20"},
        {"T\xC3\xBCr \xE6\x97\xA5", 1, "T%C3%BCr%20%E6%97%A5"},
        {longest, 1, longest},
        {longest + "x", -18, longest + "x"}, // more than the camera takes
        {"it's", -3, ""},
        {"\"quoted\"", -3, ""},
        {"a&b", -3, ""},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(control.AddPreset(c.name.c_str()), c.result) << c.name;
        const Lines wanted = {(c.result == 1 ? "" : "refused ") +
                              ("/cgi-bin/operator/preset.cgi?channel=0&addpos=" + c.escaped)};
        EXPECT_EQ(Take(0), c.escaped.empty() ? Lines{} : wanted);
    }
    // A control of its own reads what the camera kept, and goes there.
    CVivotekPTZControl other(&driver_, 0);
    ASSERT_TRUE(other.Open());
    EXPECT_EQ(other.GetPresetCount(), 4u);
    for (const std::uint32_t index : {0u, 2u, 3u})
    {
        char name[256];
        ASSERT_EQ(other.GetPresetName(index, name, sizeof name), 1);
        EXPECT_EQ(name, cases[index].name);
        EXPECT_EQ(other.RecallPreset(1, name), 1);
        EXPECT_EQ(Take(1), Lines{"/cgi-bin/camctrl/recall.cgi?channel=0&recall=" + cases[index].escaped});
    }
    for (int i = 4; i < 20; ++i)
        EXPECT_EQ(other.AddPreset(std::to_string(i).c_str()), 1);
    EXPECT_EQ(other.AddPreset("one too many"), -26);
    EXPECT_EQ(Take(16).size(), 16u);
    EXPECT_EQ(other.DeletePreset("11"), 1);
    EXPECT_EQ(other.AddPreset("one too many"), 1);
}

TEST_F(DomePTZ, KeepsItsListUnderManyHands)
{
    CVivotekPTZControl first(&driver_, 0), second(&driver_, 0);
    ASSERT_TRUE(first.Open() && second.Open());
    std::vector<std::thread> hands;
    for (int hand = 0; hand < 4; ++hand)
        hands.emplace_back(
            [&, hand]
            {
                CVivotekPTZControl& control = hand % 2 == 0 ? first : second;
                for (int round = 0; round < 20; ++round)
                {
                    const std::string name = std::to_string(hand) + " " + std::to_string(round % 3);
                    EXPECT_EQ(control.AddPreset(name.c_str()), 1);
                    EXPECT_EQ(control.RecallPreset(1, name.c_str()), 1);
                    char buffer[64];
                    for (std::uint32_t index = control.GetPresetCount(); index-- > 0;)
                        control.GetPresetName(index, buffer, sizeof buffer);
                    control.GetCurrentPreset(buffer, sizeof buffer);
                    if (hand > 1)
                        control.ZoomIn(1);
                    EXPECT_EQ(control.DeletePreset(name.c_str()), 1);
                }
            });
    for (std::thread& hand : hands)
        hand.join();
    EXPECT_EQ(first.GetPresetCount(), 0u);
    EXPECT_EQ(second.GetPresetCount(), 0u);
    EXPECT_EQ(camera_->Parameters().Read("camctrl_c0_preset").find("='0"), std::string::npos);
    EXPECT_TRUE(driver_.Texts(1).empty());
}

} // namespace korvane
