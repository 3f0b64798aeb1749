# What the simulated camera is built on: its encoders, TLS, JSON, and Boost.Beast, of which only headers are
# used.
pkg_check_modules(CAMERA_MEDIA REQUIRED IMPORTED_TARGET libavcodec libavutil libswscale)
pkg_check_modules(CAMERA_TLS REQUIRED IMPORTED_TARGET libssl libcrypto)
pkg_check_modules(CAMERA_JPEG REQUIRED IMPORTED_TARGET libjpeg)
find_package(Boost 1.74 REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json 3.9 REQUIRED)
set(TOOL_LIBRARIES PkgConfig::CAMERA_MEDIA PkgConfig::CAMERA_TLS PkgConfig::CAMERA_JPEG Boost::headers CLI11::CLI11
    nlohmann_json::nlohmann_json)
set(TOOL_HEADERS <boost/asio.hpp> <nlohmann/json.hpp> <sstream>) # parsed once for all sources
