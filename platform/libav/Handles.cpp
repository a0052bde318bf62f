#include "platform/libav/Handles.h"

#include <new>

namespace fw::libav {

FrameHandle makeFrame() {
    FrameHandle frame(av_frame_alloc());
    if (!frame) {
        throw std::bad_alloc();
    }
    return frame;
}

PacketHandle makePacket() {
    PacketHandle packet(av_packet_alloc());
    if (!packet) {
        throw std::bad_alloc();
    }
    return packet;
}

} // namespace fw::libav
