#pragma once

#include <stdexcept>
#include <string>

#include <gst/gst.h>

namespace larkmoor::gst
{

/// A reason for which an element can't start, as it is told on the pipeline's bus. Never holds a password.
class Problem : public std::runtime_error
{
public:
    Problem(GstResourceError code, const std::string& text) : std::runtime_error(text), code_(code) {}

    GstResourceError Code() const { return code_; }

private:
    GstResourceError code_;
};

} // namespace larkmoor::gst
