#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace korvane
{

/// How a device is reached. Copied by value: a holder's copy stays as it is while the driver's changes.
class DEVICE_INFO
{
public:
    DEVICE_INFO() = default;
    DEVICE_INFO(std::string deviceAddress, std::uint16_t httpPort, std::string userName,
                std::string userPassword, std::string modelText)
        : address(std::move(deviceAddress)),
          port(httpPort),
          user(std::move(userName)),
          password(std::move(userPassword)),
          model(std::move(modelText))
    {
    }
    DEVICE_INFO(const DEVICE_INFO&) = default;
    DEVICE_INFO& operator=(const DEVICE_INFO&) = default;
    virtual ~DEVICE_INFO() = default;

    std::uint32_t networkTimeoutMs =
        5000; ///< of RTSP and HTTP operations; twice this bounds a channel's stop
    std::uint32_t signalLossTimeoutMs = 5000; ///< how long a stream may be silent
    std::string address;                      ///< host name or IP address
    std::uint16_t port = 80;                  ///< HTTP port
    std::string user;
    std::string password; ///< never to be written to a log
    std::string model;    ///< as the host names it
};

} // namespace korvane
