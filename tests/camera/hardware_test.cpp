#include "camera/hardware/signals.h"
#include "camera/media/test_picture.h"
#include "camera/ptz/ptz_cgi.h"
#include "camera/simulated_camera.h"
#include "http/http_client.h"
#include "support/table.h"

#include <gtest/gtest.h>

using namespace larkmoor::camera;
using namespace std::chrono_literals;

TEST(CameraHead, MovesInTimeAndWithinItsLimits)
{
    Head::Clock::time_point now{1000s};
    ParameterStore store;
    for (const char* key : {"pan", "tilt", "zoom"})
        store.Define(std::string("capability_ptz_") + key + "speedlv", "10", "");
    Head head([&now] { return now; });
    Presets presets(store, 2);
    PtzCgi cgi(store, head, presets);
    for (const auto& [query, status, time, shows] :
         korvane::test::Table<const char*, int, std::chrono::milliseconds, const char*>{
             {"vx=10&vy=0&vs=1", 200, 1s, "PAN +60.0 TILT +0.0 ZOOM 1.0"},
             {"vx=-1&vy=1&vs=5", 200, 1s, "PAN +30.0 TILT +30.0 ZOOM 1.0"}, // a diagonal at half the speed
             {"vx=0&vy=0&vs=0", 200, 5s, "PAN +30.0 TILT +30.0 ZOOM 1.0"},
             {"vx=1&vy=-1&vs=10", 200, 5s, "PAN +170.0 TILT -60.0 ZOOM 1.0"},
             {"zooming=tele&zs=5", 200, 2s, "PAN +170.0 TILT -60.0 ZOOM 2.0"},
             {"zoom=stop", 200, 9s, "PAN +170.0 TILT -60.0 ZOOM 2.0"},
             {"move=home", 200, 5s, "PAN +0.0 TILT +0.0 ZOOM 1.0"},
             {"focus=far&iris=close", 200, 1s, "PAN +0.0 TILT +0.0 ZOOM 1.0 FOCUS IRIS"},
             {"move=away", 400, 1s, "PAN +0.0 TILT +0.0 ZOOM 1.0 FOCUS IRIS"},
         })
    {
        EXPECT_EQ(cgi.Control({"GET", "", "", query, ""}).status, status) << query;
        now += time;
        SceneState state;
        head.Show(state);
        EXPECT_EQ(state.status, shows) << query;
    }
}

TEST(CameraSignals, FollowAScript)
{
    Signals::Clock::time_point now{1000s};
    ParameterStore store;
    for (const char* key : {"system.di1", "system.di2", "system.do1"})
        store.Define(key, "0", "");
    Signals signals(store, [&now] { return now; });
    std::string error;
    for (const char* bad : {"", "2=high", "0=up", "0@=low", "0@1s/=flip", "0@5h=low"})
        EXPECT_FALSE(signals.AddScript(bad, error)) << bad;
    ASSERT_TRUE(signals.AddScript("1@3s=high,0@1s/2s=flip,1@10s=low", error)) << error;
    signals.Begin();
    for (const auto& [step, inputs] : korvane::test::Table<std::chrono::milliseconds, std::vector<bool>>{
             {0s, {false, false}},
             {1s, {true, false}},
             {2s, {false, true}},
             {6s, {true, true}},
             {1s, {true, false}}, // three flips are missed by the fourth look
         })
    {
        now += step;
        EXPECT_EQ(signals.Inputs(), inputs);
    }
}

TEST(CameraHardware, IsSeenInThePictureAndOverHttp)
{
    CameraOptions options;
    options.profile = "vs2403";
    options.inputs = {"2=high"};
    SimulatedCamera legacy(options);
    options.profile = "dome";
    SimulatedCamera dome(options);
    std::string error;
    ASSERT_TRUE(legacy.Start(error) && dome.Start(error)) << error;
    const auto expect = [](const SimulatedCamera& camera, const std::string& page, std::uint32_t status,
                           const std::string& part)
    {
        Web::CHttpClient client(korvane::DEVICE_INFO("127.0.0.1", camera.HttpPort(), "", "", ""));
        std::vector<std::uint8_t> body;
        client.SendRequest("GET", "/cgi-bin/" + page);
        body.resize(client.ReadResponse(body));
        const std::string text(body.begin(), body.end());
        EXPECT_EQ(client.StatusCode(), status) << page;
        EXPECT_NE(text.find(part), std::string::npos) << page << ": " << text;
    };
    expect(dome, "dido/getdi.cgi", 200, "di0=0\r\ndi1=0\r\ndi2=1\r\ndi3=0\r\n");
    expect(dome, "dido/setdi.cgi?di1=1", 200, "di0=0\r\ndi1=1\r\ndi2=1\r\ndi3=0\r\n");
    expect(dome, "dido/setdo.cgi?do0=1", 200, "do0=1\r\n");
    expect(dome, "dido/setdo.cgi?do1=1", 400, "");
    expect(dome, "operator/preset.cgi?addpos=back%20yard", 200, "");
    expect(dome, "operator/preset.cgi?addpos=a'b", 400, "");
    expect(dome, "operator/preset.cgi?delpos=none", 404, "");
    expect(dome, "admin/getparam.cgi?camctrl_c0_preset", 200, "_i0_name='back yard'\r\n");
    expect(dome, "camctrl/recall.cgi?recall=back%20yard", 200, "");
    expect(dome, "camctrl/recall.cgi?recall=nowhere", 404, "");
    expect(legacy, "dido/setdo.cgi?do3=1", 200, "");
    expect(legacy, "admin/getparam.cgi?system", 200, "system.di3=1\r\nsystem.di4=0\r\nsystem.do1=0\r\n");
    expect(legacy, "admin/getparam.cgi?system", 200, "system.do4=1\r\n");
    expect(legacy, "camctrl/camctrl.cgi?move=left", 404, ""); // it has no head

    for (const char* fault : {"di-refuse", "do-refuse", "ptz-refuse"})
        ASSERT_TRUE(dome.Faults().Add(fault, error)) << error;
    for (const char* page : {"dido/getdi.cgi", "dido/setdo.cgi?do0=0", "camctrl/camctrl.cgi?move=left",
                             "operator/preset.cgi?addpos=a"})
        expect(dome, page, 503, "");
    expect(dome, "dido/getdo.cgi", 200, "do0=1\r\n"); // refused, not switched

    // The same world from two places, in a light and a focus of its own, with a lamp lit.
    TestPicture pictures(320, 240);
    SceneState state{{}, "t", {}, 0, 1, {false}, {}};
    const auto middle = [&](const SceneState& shown)
    {
        Canvas& canvas = pictures.Draw(shown, "n", 0, {});
        const std::uint8_t* row = canvas.Plane(0) + 100 * canvas.Stride(0);
        return std::vector<std::uint8_t>(row, row + 320);
    };
    const auto before = middle(state);
    SceneState panned = state, zoomed = state, blurred = state, dimmed = state;
    panned.view.pan = 20;
    zoomed.view.zoom = 2;
    blurred.blur = 0.25;
    dimmed.light = 0.5;
    for (const SceneState& changed : {panned, zoomed, blurred, dimmed})
        EXPECT_NE(middle(changed), before);
}
