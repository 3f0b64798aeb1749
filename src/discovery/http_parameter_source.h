#pragma once

#include "discovery/parameter_source.h"
#include "http/http_client.h"

namespace korvane
{

/// A device's web server.
class CHttpParameterSource : public IParameterSource
{
public:
    explicit CHttpParameterSource(const DEVICE_INFO& deviceInfo) : client_(deviceInfo) {}

    bool Get(const std::string& uri, std::string& body) override;
    std::uint32_t StatusCode() const override { return client_.StatusCode(); }

private:
    Web::CHttpClient client_;
};

} // namespace korvane
