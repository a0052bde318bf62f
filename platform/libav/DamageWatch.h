#pragma once

#include "platform/libav/Handles.h"

#include <atomic>
#include <cstdarg>

namespace fw::libav {

/// Sees damage that libav tells of in its messages only. FFV1, Motion JPEG, JPEG 2000 and FLAC fill
/// in what they cannot decode and mark neither the frame nor the call: only their error messages
/// tell, the checksums of FFV1 and FLAC among them. Other decoders also complain of harmless
/// things, so they are not listened to.
class DamageWatch {
public:
    /// Listens to a decoder, which must not outlive this object, from before it is opened.
    explicit DamageWatch(AVCodecContext& codec);
    DamageWatch(const DamageWatch&) = delete;
    DamageWatch& operator=(const DamageWatch&) = delete;

    /// Whether there was damage since the last call.
    bool takeDamage() { return damage_.exchange(false); }

    /// Whether the demuxer has met the end of the file where the container goes on. Only Matroska's
    /// tells, and only after the receiver is installed.
    static bool isCutOff(const AVFormatContext& format);

    /// Takes libav's messages from standard error: what matters is returned as errors. Once for
    /// the process.
    static void installLogReceiver();

private:
    static void receive(void* sender, int level, const char* format, va_list arguments);

    std::atomic<bool> damage_ = false; ///< Decoding threads set it.
};

} // namespace fw::libav
