#include "ptz/vivotek_ptz_control.h"
#include "ptz/vivotek_ptz_handler.h"

#include "platform/clock.h"
#include "support/fake_driver.h"
#include "support/http_test_server.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <map>
#include <string>
#include <vector>

namespace korvane
{

namespace
{

using test::HttpTestServer;
using test::TestHttpPeer;
using test::TestHttpRequest;
using Lines = std::vector<std::string>;

constexpr const char* kControl = "/cgi-bin/camctrl/camctrl.cgi?channel=0&camid=7";

/// A camera with a head: answers parameters from a table, and everything else with 200.
class PTZ : public ::testing::Test
{
protected:
    PTZ()
        : server_([this](TestHttpPeer& peer, const TestHttpRequest& request)
                  { return Answer(peer, request); })
    {
        driver_.device = DEVICE_INFO("127.0.0.1", server_.Port(), "", "", "");
        driver_.properties = {{4, "3"},  {5, "11110000"}, {10, "1"}, {11, "100"},
                              {12, "1"}, {13, "16"},      {15, "0"}, {16, "XYS"}};
        parameters_["camctrl_c0_cameraid"] = "camctrl_c0_cameraid='7'\r\n";
        parameters_["camctrl_c0_preset"] =
            "camctrl_c0_preset_i0_name='door'\r\ncamctrl_c0_preset_i1_name=''\r\n"
            "camctrl_c0_preset_i2_name='gate'\r\n";
    }

    bool Answer(TestHttpPeer& peer, const TestHttpRequest& request)
    {
        const std::size_t query = request.target.find("getparam.cgi?");
        const auto found = query == std::string::npos ? parameters_.end()
                                                      : parameters_.find(request.target.substr(query + 13));
        if (hold_.valid() && request.target.find("camctrl.cgi") != std::string::npos)
            hold_.wait();
        return peer.Send(HttpTestServer::Response(
            status_, found == parameters_.end() ? "" : std::string_view(found->second)));
    }

    /// The targets of what came for the head, without the requests for parameters, once there are `count`.
    Lines Commands(std::size_t count)
    {
        for (std::size_t all = count;; ++all)
        {
            Lines lines;
            for (const TestHttpRequest& request : server_.Requests())
                if (request.target.find("getparam") == std::string::npos)
                    lines.push_back(request.target);
            if (lines.size() >= count)
                return lines;
            server_.WaitForRequests(all);
        }
    }

    std::map<std::string, std::string> parameters_;
    std::atomic<int> status_{200};
    std::shared_future<void> hold_; // while it is not ready, commands are not answered
    test::FakeDriver driver_;
    HttpTestServer server_;
};

TEST_F(PTZ, SpeaksTheCamerasGrammar)
{
    using Call = std::function<void(CVivotekPTZControl&)>;
    const Call stop = [](auto& c) { c.Stop(); };
    const auto move = [](std::uint32_t direction, std::uint32_t speed)
    { return [=](CVivotekPTZControl& c) { EXPECT_EQ(c.StartMove(direction, speed), 1); }; };
    const Lines automatic = {"&focus=auto", "&iris=auto"};
    const struct
    {
        const char* name;
        const char* type;
        const char* subtype;
        std::vector<Call> calls;
        Lines arguments;
    } cases[] = {
        {"speed 1 is the minimum", "0", "XYS", {move(0, 1)}, {"&vx=-1&vy=0&vs=1"}},
        {"speed 16 is the maximum", "0", "XYS", {move(1, 16)}, {"&vx=100&vy=0&vs=100"}},
        {"speed 8 lies between", "0", "XY", {move(2, 8)}, {"&vx=0&vy=47&vs=1"}},
        {"step speed alone", "0", "S", {move(3, 8)}, {"&vx=0&vy=-1&vs=47"}},
        {"no speed", "0", "", {move(4, 8), move(5, 8)}, {"&vx=-1&vy=1&vs=1", "&vx=1&vy=1&vs=1"}},
        {"down, both sides", "0", "", {move(6, 8), move(7, 8)}, {"&vx=-1&vy=-1&vs=1", "&vx=1&vy=-1&vs=1"}},
        {"zoom", "0", "", {move(8, 16), move(9, 1)}, {"&zooming=tele&zs=16", "&zooming=wide&zs=1"}},
        {"stop of a move", "0", "", {move(0, 5), stop}, {"&vx=-1&vy=0&vs=1", "&vx=0&vy=0&vs=0", "+"}},
        {"stop of a zoom",
         "0",
         "",
         {[](auto& c) { c.ZoomIn(1); }, stop, stop},
         {"&zooming=tele&zs=1", "&zoom=stop", "+"}},
        {"stop of focus and iris",
         "0",
         "",
         {[](auto& c) { c.FocusFar(1); }, [](auto& c) { c.IrisOpen(1); }, stop},
         {"&focus=far", "&iris=open", "+", "+"}},
        {"the other ends",
         "0",
         "",
         {[](auto& c) { c.FocusNear(1); }, [](auto& c) { c.IrisClose(1); }},
         {"&focus=near", "&iris=close"}},
        {"without speeds",
         "1",
         "XYS",
         {move(0, 5), move(1, 5), move(2, 5), move(3, 5)},
         {"&move=left", "&move=right", "&move=up", "&move=down"}},
        {"diagonals, vertical first",
         "1",
         "",
         {move(4, 5), move(7, 5)},
         {"&move=up", "&move=left", "&move=down", "&move=right"}},
        {"zoom without speeds",
         "1",
         "",
         {move(8, 5), move(9, 5), stop},
         {"&zoom=tele", "&zoom=wide", "&auto=stop", "+"}},
        {"an unknown type moves nothing", "2", "", {move(0, 5), stop}, {"+"}},
    };
    std::size_t seen = 0;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        driver_.properties[15] = c.type;
        driver_.properties[16] = c.subtype;
        CVivotekPTZControl control(&driver_, 0);
        ASSERT_TRUE(control.Open());
        for (const Call& call : c.calls)
            call(control);
        Lines wanted;
        for (const std::string& argument : c.arguments) // "+" stands for the two lines that end every stop
            if (argument == "+")
                wanted.insert(wanted.end(), automatic.begin(), automatic.end());
            else
                wanted.push_back(argument);
        for (std::string& line : wanted)
            line.insert(0, kControl);
        Lines got = Commands(seen + wanted.size());
        got.erase(got.begin(), got.begin() + static_cast<std::ptrdiff_t>(seen));
        EXPECT_EQ(got, wanted);
        control.Close();
        seen = Commands(0).size();
    }
}

TEST_F(PTZ, CentresInTheChannelsPicture)
{
    driver_.channelSettings.width = 640;
    driver_.channelSettings.height = 480;
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    EXPECT_EQ(control.Center(10, 20, 5), 1);
    EXPECT_EQ(control.AreaZoom(1, 2, 3, 4), 1); // accepted; the camera is asked nothing
    EXPECT_EQ(control.Unzoom(1), 1);
    EXPECT_EQ(Commands(1).front(), "/cgi-bin/camctrl/camctrl.cgi?video=0&x=10&y=20&resolution=640x480"
                                   "&videosize=640x480&stretch=0");
    control.Close();
    EXPECT_EQ(Commands(0).size(), 1u);
    EXPECT_EQ(control.StartMove(0, 1), -18);
}

TEST_F(PTZ, SendsAHeldMoveOncePerHalfSecond)
{
    platform::ManualClock clock(130'000'000'000'000'000);
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    EXPECT_EQ(control.StartMove(10, 5), -3);
    control.StartMove(0, 5);
    clock.AdvanceMs(500);
    control.StartMove(0, 5); // a repeat
    clock.AdvanceMs(1);
    control.StartMove(0, 5);
    control.StartMove(0, 6);
    control.StartMove(0, 0); // stops, and the next one is no repeat
    control.StartMove(0, 6);
    EXPECT_EQ(Commands(7).size(), 7u);
}

TEST_F(PTZ, KeepsTheEightNewestCommands)
{
    std::promise<void> release;
    hold_ = release.get_future().share();
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    driver_.properties[15] = "1";
    control.FocusFar(1);
    Commands(1); // in hand, and not answered
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(i % 2 == 0 ? control.ZoomIn(1) : control.ZoomOut(1), 1);
    release.set_value();
    control.StartMove(0, 1);
    const Lines lines = Commands(9);
    EXPECT_TRUE(lines.back().ends_with("&move=left") || lines.size() == 9);
    control.Close();
    EXPECT_LE(Commands(0).size(), 10u); // the one in hand, eight that waited, and what came after the release
}

TEST_F(PTZ, TellsWhetherThereIsAHead)
{
    const struct
    {
        const char* flags;
        int status;
        const char* answer;
        std::int32_t available;
    } cases[] = {
        {"", 200, "", 0},
        {"01110000", 200, "", 0},
        {"1111000", 200, "", 0},
        {"11000000", 500, "", 1},
        {"10000000", 200, "camctrl_c0_isptz='1'\r\n", 1},
        {"10000000", 200, "camctrl_c0_isptz='0'\r\n", 0},
        {"10000000", 200, "camctrl_c0_isptz=0\r\n", 1},
        {"10000000", 200, "", 0},
        {"10000000", 404, "camctrl_c0_isptz='1'\r\n", 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.flags) + " " + c.answer);
        driver_.properties[5] = c.flags;
        CVivotekPTZControl control(&driver_, 0);
        ASSERT_TRUE(control.Open());
        status_ = c.status;
        parameters_["camctrl_c0_isptz"] = c.answer;
        EXPECT_EQ(control.IsAvailable(), c.available);
        status_ = 200;
    }
}

TEST_F(PTZ, MirrorsThePresetsOfTheCamera)
{
    CVivotekPTZHandler handler(&driver_);
    EXPECT_EQ(handler.GetPTZControl(1), nullptr);
    ipcapture::IIPPTZApi* const control = handler.GetPTZControl(0);
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(handler.GetPTZControlEx(0), control);

    char name[16] = "";
    EXPECT_EQ(control->GetPresetCount(), 2u);
    EXPECT_EQ(control->GetPresetName(1, name, 5), 1);
    EXPECT_STREQ(name, "gate");
    EXPECT_EQ(control->GetPresetName(1, name, 4), -3);
    EXPECT_EQ(control->GetPresetName(2, name, sizeof name), -23);
    EXPECT_EQ(control->GetCurrentPreset(name, sizeof name), -23);

    EXPECT_EQ(control->RecallPreset(5, "door"), 1);
    EXPECT_EQ(control->GetCurrentPreset(name, sizeof name), 1);
    EXPECT_STREQ(name, "door");
    EXPECT_EQ(control->FocusFar(1), 1);
    EXPECT_EQ(control->GetCurrentPreset(name, sizeof name), -23);
    EXPECT_EQ(control->RecallPreset(5, "cellar"), -23);

    EXPECT_EQ(control->AddPreset("a'b"), -3);
    EXPECT_EQ(control->AddPreset(""), -3);
    EXPECT_EQ(control->AddPreset("back yard"), 1);
    EXPECT_EQ(control->GetCurrentPreset(name, sizeof name), 1);
    EXPECT_EQ(control->AddPreset("roof"), -26);
    EXPECT_EQ(control->DeletePreset("door"), 1);
    EXPECT_EQ(control->GetPresetCount(), 2u);
    EXPECT_EQ(control->GetPresetName(0, name, sizeof name), 1);
    EXPECT_STREQ(name, "gate");
    status_ = 500;
    EXPECT_EQ(control->DeletePreset("gate"), -23);
    EXPECT_EQ(control->AddPreset("roof"), -18);

    handler.DeleteControls();
    Lines presets;
    for (const std::string& line : Commands(0))
        if (line.find("camctrl.cgi") == std::string::npos)
            presets.push_back(line);
    EXPECT_EQ(presets, (Lines{"/cgi-bin/camctrl/recall.cgi?channel=0&recall=door",
                              "/cgi-bin/operator/preset.cgi?channel=0&addpos=back%20yard",
                              "/cgi-bin/operator/preset.cgi?channel=0&delpos=door",
                              "/cgi-bin/operator/preset.cgi?channel=0&delpos=gate",
                              "/cgi-bin/operator/preset.cgi?channel=0&addpos=roof"}));
    EXPECT_EQ(
        driver_.Texts(1),
        (Lines{
            "korvane::CPrepositionList::AddPreposition: A preposition \"a'b\" cannot be added - the name is "
            "invalid.",
            "korvane::CPrepositionList::AddPreposition: A preposition \"\" cannot be added - the name is "
            "invalid.",
            "korvane::CPrepositionList::AddPreposition: A preposition \"roof\" cannot be added. Camera "
            "supports saving not more than 3 prepositions."}));
}

TEST_F(PTZ, FillsTheHostsRecord)
{
    driver_.properties[5] = "10101011";
    CVivotekPTZControl control(&driver_, 0);
    ipcapture::PTZCapabilityRecord record{};
    EXPECT_EQ(control.GetCapabilities(&record), -18);
    ASSERT_TRUE(control.Open());
    EXPECT_EQ(control.GetCapabilities(nullptr), -3);
    record.hostWord = 77;
    EXPECT_EQ(control.GetCapabilities(&record), 1);
    const auto* const words = reinterpret_cast<const std::uint32_t*>(&record);
    EXPECT_EQ(std::vector<std::uint32_t>(words, words + 14),
              (std::vector<std::uint32_t>{77, 1, 0, 1, 0, 1, 0, 3, 2, 0, 0, 0, 1, 0}));
}

} // namespace

} // namespace korvane
