#pragma once

#include "discovery/vivotek_camera_properties.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace korvane::test
{

/// A device as its list of parameters, read by group and key as its web server would; single requests can be
/// made to fail.
class ParameterBook : public IParameterSource
{
public:
    using Parameters = std::map<std::string, std::string>;

    explicit ParameterBook(Parameters parameters) : parameters_(std::move(parameters)) {}

    /// Answers the request for `query` with this status and no body.
    void Refuse(const std::string& query, std::uint32_t status) { refusals_[query] = status; }
    /// Runs while a request is under way.
    void OnRequest(std::function<void(const std::string& query)> action) { action_ = std::move(action); }
    const std::vector<std::string>& Queries() const { return queries_; }

    bool Get(const std::string& uri, std::string& body) override
    {
        const std::string path = "/cgi-bin/admin/getparam.cgi?";
        const std::string query = uri.starts_with(path) ? uri.substr(path.size()) : "!" + uri;
        queries_.push_back(query);
        if (action_)
            action_(query);
        const auto refusal = refusals_.find(query);
        status_ = refusal == refusals_.end() ? 200 : refusal->second;
        body = status_ == 200 ? Read(query) : "";
        return status_ / 100 == 2;
    }
    std::uint32_t StatusCode() const override { return status_; }

private:
    std::string Read(const std::string& query) const
    {
        std::string text;
        for (const auto& [key, value] : parameters_)
        {
            for (std::size_t at = 0; at <= query.size(); at = query.find('&', at) + 1)
            {
                const std::string name = query.substr(at, query.find('&', at) - at);
                const bool isInGroup =
                    key.starts_with(name) &&
                    (key.size() == name.size() || key[name.size()] == '_' || key[name.size()] == '.');
                if (isInGroup)
                    text += key + "='" + value + "'\r\n";
                if (query.find('&', at) == std::string::npos)
                    break;
            }
        }
        return text;
    }

    const Parameters parameters_;
    std::map<std::string, std::uint32_t> refusals_;
    std::function<void(const std::string&)> action_;
    std::vector<std::string> queries_;
    std::uint32_t status_ = 0;
};

} // namespace korvane::test
