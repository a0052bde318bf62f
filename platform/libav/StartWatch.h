#pragma once

#include "base/Error.h"
#include "platform/libav/Handles.h"

#include <cstdint>
#include <optional>

namespace fw::libav {

/// Tells damage at the start of what is read from data that nobody can decode there, because what
/// it refers to lies before the place where reading began. One object for each run of a decoder.
/// Timestamps and tolerances are in ticks of the stream.
class StartWatch {
public:
    enum class Begins {
        kWhole,   ///< With the first packet of a file: all should decode.
        kAnywhere ///< In mid stream: all should decode from the first key packet on.
    };
    explicit StartWatch(Begins begins) : begins_(begins) {}

    /// A packet that the decoder is given.
    void packet(const AVPacket& packet);
    /// The decoder failed before anything came out of it.
    void failed(const Error& error);

    bool isWhole() const { return begins_ == Begins::kWhole; }
    /// Whether what has this time does not refer to anything before the start.
    bool shouldDecode(std::int64_t timestamp) const;

    /// What was damaged before the first thing that decoded, which may begin so much later than the
    /// first packet that should; `untold` where the decoder told of no failure.
    std::optional<Error> damageBefore(std::int64_t first, std::int64_t tolerance,
                                      const Error& untold) const;
    /// What was damaged when nothing has decoded.
    std::optional<Error> damageOfAll(const Error& untold) const;

private:
    Begins begins_;
    bool hasPacket_ = false;            ///< Of what is presented.
    bool hasBegun_ = false;             ///< A packet that should decode has been given.
    std::optional<std::int64_t> start_; ///< Its timestamp.
    std::optional<Error> failure_;
};

/// Transport and program streams begin anywhere, other files with what can be decoded.
StartWatch::Begins beginningOf(const AVFormatContext& format);

} // namespace fw::libav
