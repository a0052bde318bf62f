#include "platform/libav/LibavError.h"

extern "C" {
#include <libavutil/error.h>
}

#include <array>

namespace fw::libav {

std::string libavText(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

} // namespace fw::libav
