#include "camera/rtsp_running_camera.h"

namespace larkmoor::camera
{
namespace
{

TEST(CameraRtspServer, AnswersEachRequestAsTheProtocolSays)
{
    CameraOptions options = SmallCamera();
    options.parameters.push_back("videoin_c0_s1_codectype=mjpeg");
    RunningCamera camera(options);
    RtspTestClient client(camera->RtspPort());
    const std::string url = client.Url("live.sdp");
    const std::string transport = "Transport: RTP/AVP/TCP;interleaved=4-5\r\n";
    const struct
    {
        const char* name;
        const char* method;
        std::string target;
        std::string headers;
        int status;
        const char* answer; // that holds this
    } steps[] = {
        {"options", "OPTIONS", "*", "", 200,
         "Public: OPTIONS, DESCRIBE, SETUP, PLAY, GET_PARAMETER, TEARDOWN\r\n"},
        {"no such stream", "DESCRIBE", client.Url("live9.sdp"), "", 404, "CSeq: 2\r\n"},
        {"a stream of another codec", "DESCRIBE", client.Url("live2.sdp"), "", 415, ""},
        {"no such method", "RECORD", url, "", 501, "Public: "},
        {"play without a session", "PLAY", url, "", 454, ""},
        {"teardown without a session", "TEARDOWN", url, "", 454, ""},
        {"describe", "DESCRIBE", url, "", 200, "a=rtpmap:96 H264/90000\r\n"},
        {"describe, odd path", "DESCRIBE", client.Url("/live.sdp/?x=1"), "", 200,
         "Content-Base: rtsp://127.0.0.1:"},
        {"no transport", "SETUP", url + "/trackID=1", "", 461, ""},
        {"transport that nobody has", "SETUP", url, "Transport: RAW/RAW/UDP;unicast\r\n", 461, ""},
        {"udp without ports", "SETUP", url, "Transport: RTP/AVP;unicast\r\n", 461, ""},
        {"setup of no stream", "SETUP", client.Url("x/trackID=1"), transport, 404, ""},
        {"setup, second choice", "SETUP", url + "/trackID=1",
         "Transport: RTP/SAVP;unicast,RTP/AVP/TCP;interleaved=4-5\r\n", 200,
         "Transport: RTP/AVP/TCP;unicast;interleaved=4-5;ssrc="},
        {"keep-alive", "GET_PARAMETER", url, "", 200, "Session: "},
        {"keep-alive by options", "OPTIONS", url, "", 200, "Public: "},
        {"teardown", "TEARDOWN", url, "", 200, ""},
        {"keep-alive of a session that is gone", "GET_PARAMETER", url, "", 454, ""},
    };
    for (const auto& step : steps)
    {
        SCOPED_TRACE(step.name);
        EXPECT_EQ(client.Request(step.method, step.target, step.headers), step.status);
        EXPECT_NE(client.Answer().find(step.answer), std::string::npos) << client.Answer();
    }
    client.SendRaw("\x16\x03\x01 hello\r\n\r\n");
    EXPECT_TRUE(client.IsAtEnd());
}

TEST(CameraRtspServer, AsksForCredentials)
{
    CameraOptions options = SmallCamera();
    options.auth = AuthScheme::Basic;
    options.password = "secret";
    RunningCamera camera(options);
    RtspTestClient client(camera->RtspPort());
    EXPECT_EQ(client.Request("OPTIONS", "*"), 200);
    EXPECT_EQ(client.Request("DESCRIBE", client.Url("live.sdp")), 401);
    EXPECT_NE(client.Answer().find("WWW-Authenticate: Basic realm="), std::string::npos);
    EXPECT_EQ(client.Request("DESCRIBE", client.Url("live.sdp"), "Authorization: Basic cm9vdDpzZWNyZXQ=\r\n"),
              200);
    camera->Parameters().Change({{"network_rtsp_authmode", "disable"}});
    EXPECT_EQ(client.Request("DESCRIBE", client.Url("live.sdp")), 200);
}

TEST(CameraRtspServer, SendsWhatTheTruthTells)
{
    CameraOptions odd = SmallCamera();
    odd.rtsp.aggregate = true;
    odd.rtsp.infoUnits = true;
    odd.rtsp.stamps = true;
    odd.rtsp.packetBytes = 500;
    odd.parameters.insert(odd.parameters.end(),
                          {"videoin_c0_s0_h264_slices=3", "videoin_c0_s0_h264_profile=2"});
    CameraOptions canned = SmallCamera();
    canned.source = VideoSource::Canned;
    for (const CameraOptions& options : {SmallCamera(), canned, odd})
    {
        SCOPED_TRACE(options.rtsp.packetBytes);
        RunningCamera camera(options);
        RtspTestClient client(camera->RtspPort());
        ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
        AccessUnitReader reader;
        const auto units = ReadInterleaved(client, reader, 20);
        EXPECT_EQ(reader.Damage(), 0);
        ExpectFilm(units);
        EXPECT_EQ(units.front().types.front(), 7);
        const std::string announced = "rtptime=" + std::to_string(units.front().timestamp);
        EXPECT_NE(client.Answer().find(announced), std::string::npos) << client.Answer();
        for (std::size_t i = 0; i < units.size(); ++i)
        {
            EXPECT_EQ(units[i].timestamp - units.front().timestamp, i * 3000); // 30 frames a second
            const auto truth = camera.TruthOf(units[i].timestamp);
            ASSERT_TRUE(truth);
            if (options.rtsp.stamps)
            {
                EXPECT_EQ(units[i].types.back(), 23);
                continue; // what becomes of several slices is a receiver's affair
            }
            Bytes frame = units[i].bytes;
            frame.insert(frame.end(), {0, 0, 1, 9, 0x30});
            EXPECT_EQ(truth->md5, Md5Hex(frame)) << i;
            EXPECT_EQ(truth->key, units[i].types.front() == 7);
        }
    }
}

TEST(CameraRtspServer, SendsOverUdpWithReportsUntilTeardown)
{
    RunningCamera camera;
    RtspTestClient client(camera->RtspPort());
    UdpTestReceiver udp;
    ASSERT_EQ(client.Play("live.sdp", udp.Transport()), 200);
    AccessUnitReader reader;
    ExpectFilm(ReadUnits(reader, 20, [&] { return udp.NextPacket(); }));
    EXPECT_EQ(reader.Damage(), 0);

    auto report = udp.NextReport();
    ASSERT_TRUE(report);
    ASSERT_GE(report->size(), 28u);
    EXPECT_EQ((*report)[1], 200);
    EXPECT_EQ((*report)[7], reader.Ssrc() & 0xFF);
    EXPECT_EQ(client.Request("TEARDOWN", client.Url("live.sdp/")), 200);
    report = udp.NextReport();
    ASSERT_TRUE(report);
    EXPECT_EQ((*report)[report->size() - 7], 203) << "a goodbye ends the stream";
}

TEST(CameraRtspServer, OneGroupServesAllItsClients)
{
    CameraOptions options = SmallCamera();
    options.parameters.insert(options.parameters.end(), {"network_rtsp_s0_multicast_ipaddress=239.128.77.1",
                                                         "network_rtsp_s0_multicast_videoport=15510"});
    RunningCamera camera(options);
    UdpTestReceiver group("239.128.77.1", 15510);
    RtspTestClient first(camera->RtspPort());
    RtspTestClient second(camera->RtspPort());
    ASSERT_EQ(first.Play("live.sdp", "RTP/AVP;multicast;client_port=15510-15511"), 200);
    AccessUnitReader reader;
    ExpectFilm(ReadUnits(reader, 10, [&] { return group.NextPacket(); }));
    ASSERT_EQ(second.Play("live.sdp", "RTP/AVP;multicast"), 200);
    EXPECT_NE(second.Answer().find("Session: "), std::string::npos);
    ASSERT_EQ(first.Request("TEARDOWN", first.Url("live.sdp")), 200);
    ReadUnits(reader, 10, [&] { return group.NextPacket(); });
    EXPECT_EQ(reader.Damage(), 0) << "two clients, one stream";
    ASSERT_EQ(second.Request("TEARDOWN", second.Url("live.sdp")), 200);
    std::optional<Bytes> report = group.NextReport();
    while (report && (*report)[report->size() - 7] != 203)
        report = group.NextReport();
    EXPECT_TRUE(report) << "a goodbye when the last one leaves";
}

TEST(CameraRtspServer, ForgetsSessionsThatGiveNoSign)
{
    CameraOptions options = SmallCamera();
    options.rtsp.sessionTimeout = std::chrono::seconds(1);
    RunningCamera camera(options);
    RtspTestClient silent(camera->RtspPort());
    UdpTestReceiver silentUdp;
    ASSERT_EQ(silent.Play("live.sdp", silentUdp.Transport()), 200);
    RtspTestClient reporting(camera->RtspPort());
    UdpTestReceiver reportingUdp;
    ASSERT_EQ(reporting.Play("live.sdp", reportingUdp.Transport()), 200);
    AccessUnitReader reader;
    ReadUnits(reader, 45, // at 30 frames a second more than the second that silence is given
              [&]
              {
                  reportingUdp.SendReport(reporting.ServerRtcpPort()); // is as good as a request
                  return reportingUdp.NextPacket();
              });
    EXPECT_EQ(reporting.Request("GET_PARAMETER", reporting.Url("live.sdp")), 200);
    EXPECT_EQ(silent.Request("GET_PARAMETER", silent.Url("live.sdp")), 454);
    std::optional<Bytes> report = silentUdp.NextReport();
    while (report && (*report)[report->size() - 7] != 203)
        report = silentUdp.NextReport();
    EXPECT_TRUE(report) << "with a goodbye";
}

TEST(CameraRtspServer, ChangesSizeInMidStream)
{
    RunningCamera camera;
    RtspTestClient client(camera->RtspPort());
    ASSERT_EQ(client.Play("live.sdp", kInterleaved), 200);
    AccessUnitReader reader;
    ReadInterleaved(client, reader, 5);
    camera->Parameters().Change({{"videoin_c0_s0_resolution", "176x144"}});
    MediaDecoder decoder(VideoCodec::H264);
    for (int i = 0; i < 30 && decoder.Size().first != 176; ++i)
    {
        for (const auto& unit : ReadInterleaved(client, reader, 1))
            (void)decoder.Number(unit.bytes);
    }
    EXPECT_EQ(decoder.Size(), std::pair(176, 144));
    EXPECT_EQ(reader.Damage(), 0);
}

} // namespace
} // namespace larkmoor::camera
