#pragma once

#include "platform/libav/Handles.h"

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <mutex>
#include <set>
#include <string_view>

namespace fw::libav {

/// Sees damage that libav tells of in its messages only.
///
/// FFV1, Motion JPEG, JPEG 2000 and FLAC fill in what they cannot decode and mark neither the frame
/// nor the call: only their error messages tell, the checksums of FFV1 and FLAC among them. Other
/// decoders also complain of harmless things, so of them only the words are heard that say that
/// macroblocks of a picture were lost. They mark the frame, too, but its copy may have been given
/// out by another of their threads before the mark is set, and fields are not marked at all.
///
/// Decoding threads tell of damage at any time; the other operations belong to the thread that
/// feeds the decoder.
class DamageWatch {
public:
    /// Listens to a decoder, which must not outlive this object, from before it is opened.
    explicit DamageWatch(AVCodecContext& codec);
    DamageWatch(const DamageWatch&) = delete;
    DamageWatch& operator=(const DamageWatch&) = delete;

    /// Told before each packet that goes to the decoder.
    void packet(AVCodecContext& codec);
    /// Whether damage belongs to a frame that has come out; asked once for each.
    bool takeDamageOf(const AVFrame& frame);
    /// Whether there is damage that was not taken yet.
    bool takeDamage();

    /// Whether the demuxer has met the end of the file where the container goes on. Only Matroska's
    /// tells, and only after the receiver is installed.
    static bool isCutOff(const AVFormatContext& format);

    /// Takes libav's messages from standard error: what matters is returned as errors. Once for
    /// the process.
    static void installLogReceiver();

private:
    static void receive(void* sender, int level, const char* format, va_list arguments) noexcept;

    void hear(const AVCodecContext& decoder, int level, std::string_view message);

    std::atomic<bool> damage_ = false;
    std::mutex mutex_;
    std::set<std::int64_t> damagedPackets_; ///< Under the mutex; by their numbers.
    std::int64_t packets_ = 0;
};

} // namespace fw::libav
