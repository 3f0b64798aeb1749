#pragma once

#include "camera/auth/authenticator.h"
#include "camera/device/parameter_store.h"
#include "camera/fault/fault_plan.h"
#include "camera/log/camera_log.h"
#include "camera/media/stream_hub.h"
#include "camera/rtsp/rtsp_services.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace larkmoor::camera
{

/// What a simulated camera is told at its start.
struct CameraOptions
{
    std::string profile = "single";
    std::string bind = "127.0.0.1"; ///< address to serve on
    std::uint16_t httpPort = 0;     ///< 0 takes a free one
    RtspOptions rtsp;               ///< its address and seed are those of the camera
    AuthScheme auth = AuthScheme::None;
    std::string user = "root";
    std::string password;
    bool tls = false;                ///< HTTPS in the place of HTTP
    std::vector<std::string> faults; ///< each as FaultPlan::Add takes it
    std::uint64_t seed = 1;          ///< of all chances; the same seed gives the same losses
    VideoSource source = VideoSource::Live;
    std::vector<std::string> inputs;     ///< the script of the inputs, each as Signals::AddScript takes it
    std::string requestLog;              ///< path of the request log, "" for none
    std::string truth;                   ///< path of the truth log, "" for none
    std::string truthUnits;              ///< path of the log of NAL units, "" for none
    std::vector<std::string> parameters; ///< "KEY=VALUE", as setparam takes them, before anything is served
};

/// A network camera in software. All of it serves on one thread of its own, beside one for each encoder in
/// use; any number of cameras run in one process.
class SimulatedCamera
{
public:
    explicit SimulatedCamera(CameraOptions options);

    /// Stops the camera if it still runs.
    ~SimulatedCamera();

    SimulatedCamera(const SimulatedCamera&) = delete;
    SimulatedCamera& operator=(const SimulatedCamera&) = delete;

    /// Serves from now on. False says in `error` what was wrong and leaves nothing behind. Once for each
    /// object.
    [[nodiscard]] bool Start(std::string& error);

    /// Ends all connections and gives the ports back: within a second, or as long as a picture takes to
    /// encode.
    void Stop();

    std::uint16_t HttpPort() const; ///< valid after Start
    std::uint16_t RtspPort() const; ///< valid after Start

    // What tests look at and change while the camera runs, from any thread.
    ParameterStore& Parameters() { return parameters_; }
    FaultPlan& Faults() { return faults_; }
    RequestLog& Requests() { return requests_; }
    TruthLog& Truth() { return truth_; }

private:
    class Parts;

    const CameraOptions options_;
    FaultPlan faults_;
    ParameterStore parameters_;
    RequestLog requests_;
    TruthLog truth_;
    JsonLines units_;
    std::unique_ptr<Parts> parts_;
};

} // namespace larkmoor::camera
