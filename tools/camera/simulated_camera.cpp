#include "camera/simulated_camera.h"

#include "camera/device/profile.h"
#include "camera/encoding/video_parameters.h"
#include "camera/hardware/hardware.h"
#include "camera/http/certificate.h"
#include "camera/http/http_server.h"
#include "camera/http/parameter_cgi.h"
#include "camera/http/site.h"
#include "camera/http/video_cgi.h"
#include "camera/rtsp/rtsp_server.h"
#include "camera/rtsp/rtsp_target.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <thread>
#include <utility>

namespace larkmoor::camera
{

namespace
{

Authenticator::Settings HttpAuthentication(const CameraOptions& options)
{
    Authenticator::Settings settings;
    settings.scheme = options.auth;
    settings.user = options.user;
    settings.password = options.password;
    return settings;
}

Authenticator::Settings RtspAuthentication(const CameraOptions& options)
{
    Authenticator::Settings settings = HttpAuthentication(options);
    settings.withQop = false;
    settings.checksUri = false;
    return settings;
}

RtspOptions RtspOptionsOf(const CameraOptions& options)
{
    RtspOptions rtsp = options.rtsp;
    rtsp.bindAddress = options.bind;
    rtsp.seed = options.seed;
    return rtsp;
}

/// The scheme that a parameter names; `otherwise` for any other text.
AuthScheme ReadScheme(const std::string& text, AuthScheme otherwise)
{
    const auto found = kAuthSchemes.find(text == "disable" ? "none" : text);
    return found == kAuthSchemes.end() ? otherwise : found->second;
}

} // namespace

/// Everything of a camera that runs. Members stand in the order in which one needs the other.
class SimulatedCamera::Parts
{
public:
    Parts(SimulatedCamera& camera, Profile profile, std::unique_ptr<boost::asio::ssl::context> tls);
    ~Parts();

    bool Open(std::string& error);
    void Run();
    std::uint16_t HttpPort() const { return http_.Port(); }
    std::uint16_t RtspPort() const { return rtsp_.Port(); }

private:
    void AddPages();
    bool SetParameters(std::string& error);
    void ConfigureStreams();
    void OnChange(const std::vector<std::string>& keys);
    HttpResponse FrontPage(const HttpRequest& request);

    SimulatedCamera& camera_;
    const Profile profile_;
    const std::unique_ptr<boost::asio::ssl::context> tls_;
    boost::asio::io_context context_{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{context_.get_executor()};
    std::unique_ptr<Hardware> hardware_; // behind the hub's end: its encoders look at it
    StreamHub hub_;
    Authenticator authenticator_;
    Site site_;
    ParameterCgi parameterCgi_;
    VideoCgi videoCgi_;
    HttpServer http_;
    Authenticator rtspAuthenticator_;
    RtspServer rtsp_;
    std::uint32_t listener_ = 0;
    std::thread thread_; // runs on all of the above
};

SimulatedCamera::Parts::Parts(SimulatedCamera& camera, Profile profile,
                              std::unique_ptr<boost::asio::ssl::context> tls)
    : camera_(camera),
      profile_(std::move(profile)),
      tls_(std::move(tls)),
      hub_(context_, camera.options_.source),
      authenticator_(HttpAuthentication(camera.options_), camera.faults_),
      site_(authenticator_, camera.faults_),
      parameterCgi_(camera.parameters_, camera.faults_, camera.options_.seed),
      videoCgi_(camera.parameters_, profile_, hub_, camera.truth_),
      http_({context_, camera.faults_, camera.requests_, camera.truth_, hub_, site_, tls_.get(),
             camera.options_.seed, camera.options_.rtsp.stamps}),
      rtspAuthenticator_(RtspAuthentication(camera.options_), camera.faults_),
      rtsp_(context_, RtspOptionsOf(camera.options_),
            {hub_, rtspAuthenticator_, camera.faults_, camera.requests_, camera.truth_, camera.units_,
             [this](std::string_view path) { return FindRtspTarget(camera_.parameters_, profile_, path); }})
{
    AddPages();
}

SimulatedCamera::Parts::~Parts()
{
    camera_.parameters_.RemoveListener(listener_);
    if (!thread_.joinable())
        return;
    boost::asio::post(context_,
                      [this]
                      {
                          http_.Close();
                          rtsp_.Stop();
                          context_.stop();
                      });
    thread_.join();
}

bool SimulatedCamera::Parts::Open(std::string& error)
{
    const CameraOptions& options = camera_.options_;
    ParameterStore& store = camera_.parameters_;
    profile_.Fill(store);
    hardware_ = std::make_unique<Hardware>(store, camera_.faults_);
    hardware_->AddPages(site_);
    for (std::uint32_t channel = 0; channel < profile_.channels; ++channel)
        hardware_->Follow(*hub_.SceneOf(channel), channel);
    for (const std::string& text : options.inputs)
    {
        if (!hardware_->AddInputScript(text, error))
            return false;
    }
    if (!SetParameters(error) || !http_.Open(options.bind, options.httpPort, error) || !rtsp_.Start(error))
        return false;
    for (const char* const key : {"network_http_port", "network.httpport"})
        store.Put(key, std::to_string(http_.Port()));
    for (const char* const key : {"network_rtsp_port", "network.rtspport"})
        store.Put(key, std::to_string(rtsp_.Port()));
    for (const auto& [name, scheme] : kAuthSchemes)
    {
        if (scheme != options.auth || scheme == AuthScheme::None)
            continue;
        store.Put("network_http_authmode", name);
        store.Put("network_rtsp_authmode", name);
    }
    ConfigureStreams();
    listener_ = store.AddListener([this](const auto& keys) { OnChange(keys); });
    return true;
}

void SimulatedCamera::Parts::Run()
{
    hardware_->Begin();
    thread_ = std::thread(
        [this]
        {
            while (!context_.stopped())
            {
                try
                {
                    context_.run();
                }
                catch (const std::exception& problem) // out of memory, at worst: one client's work is lost
                {
                    std::fprintf(stderr, "larkmoor-camera: %s\n", problem.what());
                }
            }
        });
}

void SimulatedCamera::Parts::AddPages()
{
    const auto get = [this](const HttpRequest& request)
    {
        hardware_->Refresh(request);
        return parameterCgi_.Get(request);
    };
    const auto set = [this](const HttpRequest& request) { return parameterCgi_.Set(request); };
    const auto picture = [this](const HttpRequest& request) { return videoCgi_.Picture(request); };
    site_.Add("/cgi-bin/admin/getparam.cgi", get);
    site_.Add("/cgi-bin/admin/setparam.cgi", set);
    site_.Add("/cgi-bin/video.jpg", picture);
    site_.Add("/cgi-bin/viewer/video.jpg", picture);
    site_.Add("/", [this](const HttpRequest& request) { return FrontPage(request); });
    site_.AddRest([this](const HttpRequest& request) { return videoCgi_.Stream(request); });
}

/// Those of the options, by the rules that clients have to obey too.
bool SimulatedCamera::Parts::SetParameters(std::string& error)
{
    ParameterStore::Items items;
    for (const std::string& text : camera_.options_.parameters)
    {
        const std::size_t equals = std::min(text.find('='), text.size());
        items.emplace_back(text.substr(0, equals), text.substr(std::min(equals + 1, text.size())));
    }
    const ParameterStore::Items refused = camera_.parameters_.Change(items);
    if (!refused.empty())
        error =
            "parameter \"" + refused.front().first + "\" does not take \"" + refused.front().second + "\"";
    return refused.empty();
}

void SimulatedCamera::Parts::ConfigureStreams()
{
    for (const StreamId id : AllStreams(profile_))
    {
        hub_.Stream(id)->Configure(ReadVideoSettings(camera_.parameters_, profile_, id));
        if (const auto audio = ReadAudioSettings(camera_.parameters_, id))
            hub_.Audio(id)->Configure(*audio);
    }
}

void SimulatedCamera::Parts::OnChange(const std::vector<std::string>& keys)
{
    ParameterStore& store = camera_.parameters_;
    for (const std::string& key : keys)
    {
        // Another mode starts the sensor anew, and every stream of it at one size.
        if (key.starts_with("videoin_c") && key.ends_with("_options"))
        {
            const std::string input = key.substr(0, key.size() - std::string_view("_options").size());
            for (std::uint32_t stream = 0; stream < profile_.streams; ++stream)
                store.Put(input + "_s" + std::to_string(stream) + "_resolution", "800x600");
        }
        const AuthScheme now = authenticator_.Scheme();
        if (key == "network_http_authmode" && now != AuthScheme::None)
            authenticator_.SetScheme(ReadScheme(store.Get(key), now));
        if (key == "network_rtsp_authmode" && !camera_.faults_.Active("rtsp-auth-kept"))
            rtspAuthenticator_.SetScheme(ReadScheme(store.Get(key), rtspAuthenticator_.Scheme()));
    }
    ConfigureStreams();
}

HttpResponse SimulatedCamera::Parts::FrontPage(const HttpRequest&)
{
    std::string text = "larkmoor-camera, profile " + profile_.name + ": " + profile_.summary + "\r\n\r\n";
    text += "/cgi-bin/admin/getparam.cgi?GROUP&GROUP\r\n/cgi-bin/admin/setparam.cgi?KEY=VALUE&KEY=VALUE\r\n"
            "/cgi-bin/video.jpg\r\n";
    text += camera_.parameters_.Read("network&network_http&network_rtsp");
    return TextResponse(200, text);
}

SimulatedCamera::SimulatedCamera(CameraOptions options) : options_(std::move(options)) {}

SimulatedCamera::~SimulatedCamera()
{
    Stop();
}

bool SimulatedCamera::Start(std::string& error)
{
    std::optional<Profile> profile = Profile::Find(options_.profile);
    if (!profile)
    {
        error = "there is no profile \"" + options_.profile + "\"; --help lists all";
        return false;
    }
    for (const std::string& fault : options_.faults)
    {
        if (!faults_.Add(fault, error))
            return false;
    }
    if (!options_.requestLog.empty() && !requests_.Open(options_.requestLog, error))
        return false;
    if (!options_.truth.empty() && !truth_.Open(options_.truth, error))
        return false;
    if (!options_.truthUnits.empty() && !units_.Open(options_.truthUnits, error))
        return false;
    std::unique_ptr<boost::asio::ssl::context> tls;
    if (options_.tls)
    {
        tls = MakeTlsContext(options_.bind, error);
        if (!tls)
            return false;
    }
    parts_ = std::make_unique<Parts>(*this, *std::move(profile), std::move(tls));
    if (!parts_->Open(error))
    {
        parts_.reset();
        return false;
    }
    faults_.Begin();
    parts_->Run();
    return true;
}

void SimulatedCamera::Stop()
{
    parts_.reset();
}

std::uint16_t SimulatedCamera::HttpPort() const
{
    return parts_ ? parts_->HttpPort() : 0;
}

std::uint16_t SimulatedCamera::RtspPort() const
{
    return parts_ ? parts_->RtspPort() : 0;
}

} // namespace larkmoor::camera
