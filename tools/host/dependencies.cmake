# What the bench host links: media containers and codecs, HTTP, JSON, the loader of shared libraries.
find_package(CLI11 REQUIRED)
find_package(nlohmann_json 3.9 REQUIRED)
pkg_check_modules(HOST_MEDIA REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil libswscale)
set(TOOL_LIBRARIES PkgConfig::HOST_MEDIA PkgConfig::CURL CLI11::CLI11 nlohmann_json::nlohmann_json
    ${CMAKE_DL_LIBS})
set(TOOL_HEADERS <nlohmann/json.hpp> <filesystem>) # parsed once for all sources
