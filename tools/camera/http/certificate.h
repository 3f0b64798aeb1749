#pragma once

#include <boost/asio/ssl/context.hpp>

#include <memory>
#include <string>

namespace larkmoor::camera
{

/// A TLS server context (1.2 and later) with a key and a self-signed certificate made now, as devices make
/// theirs: for "localhost" and `address`, good for ten years from yesterday. Null with the reason in `error`.
std::unique_ptr<boost::asio::ssl::context> MakeTlsContext(const std::string& address, std::string& error);

} // namespace larkmoor::camera
