#include "platform/connection/FrameReport.h"

namespace fw {

FrameReport::Dictionary FrameReport::dictionary() const {
    Dictionary result;
    const auto put = [&result](const char* key, const auto& value) {
        if (value) {
            result.emplace(key, *value);
        }
    };
    result.emplace("frame", frame);
    put("timecode", timecode);
    put("val", val);
    put("timescale", timescale);
    put("errors", errors);
    put("info", info);
    return result;
}

} // namespace fw
