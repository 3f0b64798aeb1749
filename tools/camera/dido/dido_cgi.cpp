#include "camera/dido/dido_cgi.h"

#include "base/text.h"

#include <cstring>
#include <string>
#include <utility>

namespace larkmoor::camera
{

namespace
{

/// The lines of all, or of those that the query names.
HttpResponse Tell(const HttpRequest& request, const char* name, const std::vector<bool>& states)
{
    const ParameterStore::Items asked = ParseQuery(request.query);
    std::string text;
    for (std::size_t i = 0; i < states.size(); ++i)
    {
        const std::string key = name + std::to_string(i);
        bool wanted = asked.empty();
        for (const auto& item : asked)
            wanted = wanted || item.first == key;
        if (wanted)
            text += key + (states[i] ? "=1\r\n" : "=0\r\n");
    }
    HttpResponse response;
    response.body = std::move(text);
    return response;
}

} // namespace

HttpResponse DidoCgi::Inputs(const HttpRequest& request)
{
    if (faults_.Active("di-bounce"))
        signals_.FlipInputs();
    return Tell(request, "di", signals_.Inputs());
}

HttpResponse DidoCgi::Outputs(const HttpRequest& request)
{
    return Tell(request, "do", signals_.Outputs());
}

HttpResponse DidoCgi::Set(const HttpRequest& request, const char* name, Setter set)
{
    for (const auto& [key, value] : ParseQuery(request.query))
    {
        const auto number = ReadNumber<std::uint32_t>(
            key.starts_with(name) ? std::string_view(key).substr(std::strlen(name)) : std::string_view());
        if (!number || (value != "0" && value != "1") || !(signals_.*set)(*number, value == "1"))
            return TextResponse(400, "The device has no " + key + " that becomes " + value);
    }
    return TextResponse(200, "");
}

HttpResponse DidoCgi::SetOutputs(const HttpRequest& request)
{
    HttpResponse response = Set(request, "do", &Signals::SetOutput);
    return response.status == 200 ? Tell({}, "do", signals_.Outputs()) : response;
}

HttpResponse DidoCgi::SetInputs(const HttpRequest& request)
{
    HttpResponse response = Set(request, "di", &Signals::SetInput);
    return response.status == 200 ? Tell({}, "di", signals_.Inputs()) : response;
}

void DidoCgi::Refresh(const HttpRequest& request)
{
    if (faults_.Active("di-bounce") && request.query.starts_with("system"))
        signals_.FlipInputs();
    signals_.Publish();
}

} // namespace larkmoor::camera
