#include "camera/device/profile_texts.h"

namespace larkmoor::camera
{

namespace
{

// What all devices of the current firmware have.
constexpr const char* kCurrent = R"(
system_hostname = Network Camera ; *
system_ledoff = 0 ; 0|1
system_lowlight = 1 ; 0|1
system_date = 2026/11/22 ; *
system_time = 12:00:00 ; *
system_datetime =
system_ntp = ; *
system_timezoneindex = 0 ; *
system_daylight_enable = 0 ; 0|1
system_updateinterval = 0 ; 0|3600|86400|604800|2592000
system_info_extendedmodelname =
system_info_firmwareversion = LARKMOOR-0100a
system_info_serialnumber = 0002D1A00001
system_info_language_count = 1
system_info_language_i0 = English
security_privilege_do = view ; view|operator|admin
security_privilege_camctrl = view ; view|operator|admin
security_user_i0_name = root
security_user_i0_privilege = admin
status_onlinenum_rtsp = 0
status_onlinenum_httppush = 0
status_eth_i0 = 100Mbps
status_vi_i0 = 0
capability_api_httpversion = 0200a
capability_bootuptime = 60
capability_nir = 0
capability_npir = 0
capability_nvi = 3
capability_nuart = 0
capability_nanystream = 1
capability_ncustomizedled = 0
capability_eptz = 0
capability_storage_dbenabled = 1
capability_protocol_maxconnection = 10
capability_protocol_maxgenconnection = 10
capability_protocol_maxmegaconnection = 0
capability_protocol_rtp_multicast_scalable = 1
capability_protocol_rtp_http = 1
capability_protocol_spush_mjpeg = 1
capability_protocol_snmp = 1
capability_protocol_ipv6 = 1
capability_videoin_flexiblebitrate = 1
capability_camctrl_httptunnel = 0
capability_camctrl_privilege = 1
capability_transmission_mode = Tx
capability_network_wire = 1
capability_network_wireless = 0
capability_derivative_brand = 0
capability_evctrlchannel = 1
capability_joystick = 1
capability_tampering = 1
capability_media_totalspace = 32000
capability_nvideoin = 1
capability_nmediastream = 4
capability_naudioin = 0
capability_naudioout = 0
capability_ndi = 0
capability_ndo = 0
capability_npreset = 0
capability_ptzenabled = 0
capability_protocol_https = 1
capability_protocol_rtsp = 1
capability_protocol_rtp_multicast_backchannel = 0
capability_videoin_type = 2
capability_videoin_codec = mpeg4,mjpeg,h264
capability_videoin_resolution = 176x144,320x240,640x480,800x600,1280x720,1920x1080
capability_videoin_maxframerate = 30,30,30,30,30,30
status_videomode_c%c = ntsc
network_preprocess = 0
network_type = lan ; lan|pppoe
network_resetip = 1 ; 0|1
network_ipaddress = 127.0.0.1
network_subnet = 255.0.0.0
network_router = 0.0.0.0
network_dns1 = 0.0.0.0
network_ipv6_enable = 0 ; 0|1
network_ftp_port = 21
network_https_port = 443
network_sip_port = 5060
network_rtp_videoport = 5556
network_rtp_audioport = 5558
network_http_port = 80
network_http_alternateport = 8080
network_http_anonymousviewing = 0 ; 0|1
network_http_authmode = basic ; basic|digest
network_rtsp_port = 554
network_rtsp_authmode = disable ; disable|basic|digest

videoin_cmosfreq = 50 ; 50|60
videoin_whitebalance = auto ; auto|manual
videoin_exposurelevel = 4 ; 1..8
videoin_c%c_flip = 0 ; 0|1
videoin_c%c_mirror = 0 ; 0|1
videoin_c%c_imprinttimestamp = 0 ; 0|1
videoin_c%c_color = 1 ; 0|1
videoin_c%c_text = larkmoor ; *
videoin_c%c_options =
videoin_c%c_s%s_codectype = h264 ; {capability_videoin_codec}
videoin_c%c_s%s_resolution = 640x480 ; {capability_videoin_resolution}
videoin_c%c_s%s_mjpeg_maxframe = 25 ; 1..30
videoin_c%c_s%s_mjpeg_quant = 4 ; 1..5
videoin_c%c_s%s_mjpeg_qvalue = 60 ; 10..200
videoin_c%c_s%s_mpeg4_maxframe = 25 ; 1..30
videoin_c%c_s%s_mpeg4_intraperiod = 1000 ; 250..10000
videoin_c%c_s%s_mpeg4_ratecontrolmode = vbr ; cbr|vbr
videoin_c%c_s%s_mpeg4_quant = 4 ; 1..5
videoin_c%c_s%s_mpeg4_qvalue = 10 ; 1..31
videoin_c%c_s%s_mpeg4_bitrate = 1000000 ; 10..16000000
videoin_c%c_s%s_h264_maxframe = 25 ; 1..30
videoin_c%c_s%s_h264_intraperiod = 1000 ; 250..10000
videoin_c%c_s%s_h264_ratecontrolmode = vbr ; cbr|vbr
videoin_c%c_s%s_h264_quant = 3 ; 1..5
videoin_c%c_s%s_h264_qvalue = 26 ; 0..51
videoin_c%c_s%s_h264_bitrate = 1000000 ; 10..16000000
videoin_c%c_s%s_h264_profile = 0 ; 0..2

# Shapes of H.264 that real encoders have each for themselves; here they can be chosen.
videoin_c%c_s%s_h264_slices = 1 ; 1..32
videoin_c%c_s%s_h264_interlaced = 0 ; 0|1
videoin_c%c_s%s_h264_scalinglists = 0 ; 0|1
# The same of Motion JPEG over RTP.
videoin_c%c_s%s_mjpeg_sampling = 420 ; 420|422
videoin_c%c_s%s_mjpeg_restart = 0 ; 0..65535
videoin_c%c_s%s_mjpeg_tables = 0 ; 0|1
)";

// Access names of a device with a single video input.
constexpr const char* kSingleInput = R"(
@like _current
network_http_s%s_accessname = video%S.mjpg ; *
network_http_s0_accessname = video.mjpg ; *
network_rtsp_s%s_accessname = live%S.sdp ; *
network_rtsp_s0_accessname = live.sdp ; *
network_rtsp_s%s_multicast_alwaysmulticast = 0 ; 0|1
network_rtsp_s%s_multicast_ipaddress = 239.128.1.%S ; *
network_rtsp_s%s_multicast_videoport = 55%S0 ; 1025..65535
network_rtsp_s%s_multicast_ttl = 15 ; 1..255
)";

constexpr const char* kSingle = R"(
@summary a current single camera: MJPEG, MPEG-4 and H.264, four streams
@channels 1
@streams 4
@like _single-input
system_info_modelname = IP8332
capability_ndi = 1
capability_ndo = 1
videoin_c0_s1_codectype = mjpeg ; {capability_videoin_codec}
)";

constexpr const char* kSensorMode = R"(
@summary a single camera with a megapixel sensor that works for frame rate or for quality
@channels 1
@streams 2
@like _single-input
system_info_modelname = IP8161
capability_nmediastream = 2
capability_videoin_resolution = 176x144,320x240,640x480,800x600,1280x720,1600x1200
videoin_c0_options = quality ; framerate|quality
)";

constexpr const char* kServer = R"(
@summary a current two-channel video server, PAL, sizes by name, two streams a channel
@channels 2
@streams 2
@like _current
system_info_modelname = VS8201
capability_nvideoin = 2
capability_nmediastream = 2
capability_ndi = 2
capability_ndo = 2
capability_videoin_type = 0
capability_videoin_resolution = QCIF,CIF,4CIF,D1
capability_videoin_maxframerate = 25,25,25,25
status_videomode_c%c = pal
videoin_c%c_s%s_resolution = 4CIF ; {capability_videoin_resolution}
videoin_c%c_s%s_field2frame = 0 ; 0|1
network_http_c%c_s%s_accessname = video%C_%S.mjpg ; *
network_rtsp_c%c_s%s_accessname = live%C_%S.sdp ; *
network_rtsp_c%c_s%s_multicast_alwaysmulticast = 0 ; 0|1
network_rtsp_c%c_s%s_multicast_ipaddress = 239.128.%C.%S ; *
network_rtsp_c%c_s%s_multicast_videoport = 5%C%S0 ; 1025..65535
network_rtsp_c%c_s%s_multicast_ttl = 15 ; 1..255
)";

constexpr const char* kDome = R"(
@summary a dome with pan, tilt, zoom and presets
@channels 1
@streams 2
@like _single-input
system_info_modelname = SD8121
capability_nmediastream = 2
capability_npreset = 20
capability_ptzenabled = 127
capability_ptz_panspeedlv = 10
capability_ptz_tiltspeedlv = 10
capability_ptz_zoomspeedlv = 8
capability_ndi = 4
capability_ndo = 1
camctrl_c0_isptz = 1
camctrl_c0_cameraid = 1 ; 0..255
camctrl_c0_panspeed = 0 ; *
camctrl_c0_tiltspeed = 0 ; *
camctrl_c0_zoomspeed = 0 ; *
camctrl_c0_dwelling = 10 ; 0..999
camctrl_c0_patrolseq = ; *
)";

constexpr const char* kAudio = R"(
@summary a single camera with a microphone and a loudspeaker
@channels 1
@streams 2
@like _single-input
system_info_modelname = IP8151
capability_nmediastream = 2
capability_naudioin = 1
capability_naudioout = 1
capability_audio_aec = 0
capability_audio_mic = 1
capability_audio_extmic = 1
capability_audio_linein = 0
capability_audio_lineout = 1
capability_audioin_codec = aac4,g711,g726
capability_audioout_codec = g711
audioin_c0_mute = 0 ; 0|1
audioin_c0_s%s_codectype = aac4 ; {capability_audioin_codec}
audioin_c0_s%s_aac4_bitrate = 64000 ; 16000|32000|48000|64000|96000|128000
audioin_c0_s%s_g711_mode = pcmu ; pcmu|pcma
audioin_c0_s%s_g726_bitrate = 32000 ; 16000|24000|32000|40000
)";

// Older single cameras: one stream, settings under "video." with no number.
constexpr const char* kLegacySingle = R"(
@channels 1
@streams 1
@legacy
system.hostname = Network Camera ; *
system.info.serialnumber = 0002D1A00002
system.info.firmwareversion = LARKMOOR-0100a
system.date = 2006/11/22 ; *
system.time = 12:00:00 ; *
system.ntp = ; *
system.timezone = 0 ; *
system.ledoff = 0 ; 0|1
security.username.1 = ; *
system.di1 = 0
system.do1 = 0
video.text = ; *
video.brightness = 0 ; *
video.contrast = 0 ; *
video.saturation = 0 ; *
video.flip = 0 ; 0|1
video.mirror = 0 ; 0|1
video.bitrate = 512000 ; *
video.codectype = mpeg4 ; mpeg4|mjpeg
video.mode = 50
video.resolution = 320x240 ; 160x120|176x144|320x240|640x480
video.color = 1 ; 0|1
video.keyinterval = 1 ; 1..10
video.quality = 1 ; 0..1
video.quant = 3 ; 1..5
video.maxframe = 25 ; 1..25
network.type = 0 ; 0|1
network.ipaddress = 127.0.0.1
network.subnet = 255.0.0.0
network.router = 0.0.0.0
network.dns1 = 0.0.0.0
network.videoport = 5556
network.audioport = 5558
network.httpport = 80
network.rtspport = 554
network.accessname = live.sdp ; *
)";

constexpr const char* kIp7135 = R"(
@summary an IP7135: MPEG-4 over RTSP, parameters of the older firmware
@like _legacy-single
system.modelname = IP7135
)";

constexpr const char* kIp7131 = R"(
@summary an IP7131: as the IP7135, at 60 Hz
@like _legacy-single
system.modelname = IP7131
video.mode = 60
video.maxframe = 30 ; 1..30
)";

constexpr const char* kVs2403 = R"(
@summary a VS2403: four-channel video server, PAL, Motion JPEG over HTTP, parameters of the older firmware
@channels 4
@streams 1
@legacy
system.hostname = Video Server ; *
system.modelname = VS2403
system.info.serialnumber = 0002D1A00003
system.info.firmwareversion = LARKMOOR-0100a
system.date = 2006/11/22 ; *
system.time = 12:00:00 ; *
system.ntp = ; *
system.ledoff = 0 ; 0|1
security.username.1 = ; *
system.di1 = 0
system.di2 = 0
system.di3 = 0
system.di4 = 0
system.do1 = 0
system.do2 = 0
system.do3 = 0
system.do4 = 0
video.actualmodulation = 1
video.modulation = 2 ; 0|1|2
video.text.%c = ; *
video.brightness.%c = 0 ; *
video.contrast.%c = 0 ; *
video.saturation.%c = 0 ; *
video.enable.%c = 1 ; 0|1
video.color.%c = 1 ; 0|1
video.size.%c = 2 ; 1|2|3|6
video.quality.%c = 3 ; 1..5
video.maxframe.%c = 25 ; 1..25
network.type = 0 ; 0|1
network.ipaddress = 127.0.0.1
network.subnet = 255.0.0.0
network.router = 0.0.0.0
network.httpport = 80
)";

} // namespace

const std::array<ProfileText, 11> kProfileTexts = {{
    {"_current", kCurrent},
    {"_single-input", kSingleInput},
    {"_legacy-single", kLegacySingle},
    {"single", kSingle},
    {"sensor-mode", kSensorMode},
    {"server", kServer},
    {"dome", kDome},
    {"audio", kAudio},
    {"ip7135", kIp7135},
    {"ip7131", kIp7131},
    {"vs2403", kVs2403},
}};

} // namespace larkmoor::camera
