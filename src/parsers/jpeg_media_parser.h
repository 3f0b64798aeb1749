#pragma once

#include "parsers/http_media_parser.h"

namespace korvane
{

/// Cuts JPEG pictures (ITU-T T.81, Annex B) out of an HTTP body: a multipart stream, pictures in a row, or a
/// single one. No header is read: whatever stands between two pictures falls away.
///
/// A marker counts only when both of its bytes lie in one block. A start of image begins a frame anew, also
/// inside an open one, so a picture that was cut short is lost without a word. The state lives on from block
/// to block and from one connection to the next.
class CJpegMediaParser final : public CHttpMediaParser
{
public:
    using CHttpMediaParser::CHttpMediaParser;

    void ParseData(std::span<const std::uint8_t> block) override;

private:
    void OnMarker(std::span<const std::uint8_t> block, std::size_t at, std::size_t& start);
    void Forget();
    void Deliver();

    bool frameOpen_ = false; ///< between a start of image and its end
};

} // namespace korvane
