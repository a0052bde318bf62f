#pragma once

#include "media/Asset.h"
#include "pixels/PixelBuffer.h"
#include "platform/connection/ParentConnection.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fw {

class FlashDetector;
class ScanReporter;

/// Looks up the connection that a parent has published under a name; null when there is none.
using ConnectionFinder = std::function<std::shared_ptr<ParentConnection>(const std::string& name)>;

/// The connection published on this machine, with the usual limits.
std::shared_ptr<ParentConnection> publishedConnection(const std::string& name);

/// One scan of one movie: its settings, and the scan itself.
///
/// All settings are made before startScanning; one other thread may meanwhile ask scanComplete,
/// and nothing else. Once that is true the scan touches the object no more.
class FWFrameScan {
public:
    /// A scan with the defaults below. `processArguments` is told to the parent.
    explicit FWFrameScan(ConnectionFinder findConnection = publishedConnection,
                         std::vector<std::string> processArguments = {});
    ~FWFrameScan();
    FWFrameScan(const FWFrameScan&) = delete;
    FWFrameScan& operator=(const FWFrameScan&) = delete;

    /// Checks every frame of the range and tells the parent. An exception ends the scan with a line
    /// in the system log and no closing message. Run it once.
    void startScanning();

    /// Set as the scan's last act.
    bool scanComplete() const { return scanComplete_; }
    void setScanComplete(bool value) { scanComplete_ = value; }

    /// The opened movie.
    const std::shared_ptr<const Asset>& asset() const { return asset_; }
    void setAsset(std::shared_ptr<const Asset> value) { asset_ = std::move(value); }

    /// The path of the movie; it names the connection to the parent.
    const std::string& filename() const { return filename_; }
    void setFilename(std::string value) { filename_ = std::move(value); }

    /// The frames to check.
    const MediaTimeRange& timeRange() const { return timeRange_; }
    void setTimeRange(const MediaTimeRange& value) { timeRange_ = value; }

    /// Kept for callers; the scan does not use them.
    std::int64_t curFrame() const { return curFrame_; }
    void setCurFrame(std::int64_t value) { curFrame_ = value; }
    std::int64_t lastFrame() const { return lastFrame_; }
    void setLastFrame(std::int64_t value) { lastFrame_ = value; }

    /// 10 decodes to 'v210', every other to '2vuy'. The luma levels are on the scale of the depth.
    std::int64_t bitDepth() const { return bitDepth_; }
    void setBitDepth(std::int64_t value) { bitDepth_ = value; }

    /// The highest and the lowest legal luma code.
    std::int64_t refWhite() const { return refWhite_; }
    void setRefWhite(std::int64_t value) { refWhite_ = value; }
    std::int64_t refBlack() const { return refBlack_; }
    void setRefBlack(std::int64_t value) { refBlack_ = value; }

    bool shouldCheckLuma() const { return shouldCheckLuma_; }
    void setShouldCheckLuma(bool value) { shouldCheckLuma_ = value; }

    bool shouldCheckFlashFrames() const { return shouldCheckFlashFrames_; }
    void setShouldCheckFlashFrames(bool value) { shouldCheckFlashFrames_ = value; }

    /// The longest flash, in frames; also how many frames are read before the range. The scan
    /// raises it to at least 1.
    std::int64_t flashFrameLength() const { return flashFrameLength_; }
    void setFlashFrameLength(std::int64_t value) { flashFrameLength_ = value; }

    /// 0 to 10 in practice; higher finds more flashes.
    std::int64_t flashFrameSensitivity() const { return flashFrameSensitivity_; }
    void setFlashFrameSensitivity(std::int64_t value) { flashFrameSensitivity_ = value; }

    bool enforceAspectRatio() const { return enforceAspectRatio_; }
    void setEnforceAspectRatio(bool value) { enforceAspectRatio_ = value; }

    /// The expected picture, width over height.
    double aspectRatio() const { return aspectRatio_; }
    void setAspectRatio(double value) { aspectRatio_ = value; }

    /// The starting timecode of the movie.
    const std::optional<std::string>& timecodeStart() const { return timecodeStart_; }
    void setTimecodeStart(std::optional<std::string> value) { timecodeStart_ = std::move(value); }

    /// The link to the parent and its root object; null until the scan finds a parent.
    const std::shared_ptr<ParentConnection>& connection() const { return connection_; }
    void setConnection(std::shared_ptr<ParentConnection> value) { connection_ = std::move(value); }
    const std::shared_ptr<ParentProxy>& proxyObject() const { return proxyObject_; }
    void setProxyObject(std::shared_ptr<ParentProxy> value) { proxyObject_ = std::move(value); }

    /// Print a record on standard output for each report, too.
    bool shouldOutputToStdout() const { return shouldOutputToStdout_; }
    void setShouldOutputToStdout(bool value) { shouldOutputToStdout_ = value; }

    /// The matte check with this scan's aspect ratio and bit depth; see analysis/MatteCheck.h.
    std::optional<std::vector<std::string>> checkAspectRatio(PixelBuffer& buffer) const;
    void scanPixelRow(PixelBuffer& buffer, std::uint64_t atIndex, std::uint64_t* blackPixels,
                      std::uint64_t* nonBlackPixels) const;
    void scanPixelColumn(PixelBuffer& buffer, std::uint64_t atIndex, std::uint64_t* blackPixels,
                         std::uint64_t* nonBlackPixels) const;

private:
    void scan();
    void connectToParent();
    void sendStartUpNotes(const ScanReporter& reporter) const;
    void readFrames(AssetReader& reader, const Track& track, FlashDetector& flashes,
                    const ScanReporter& reporter) const;
    void scanFrame(const SampleBuffer& sample, const Track& track, FlashDetector& flashes,
                   const ScanReporter& reporter) const;
    std::vector<std::string> pictureFaults(PixelBuffer& buffer) const;
    void detectFlashes(PixelBuffer& buffer, const MediaTime& time, FlashDetector& flashes,
                       const ScanReporter& reporter) const;
    void reportLateFlashes(FlashDetector& flashes, const ScanReporter& reporter) const;

    ConnectionFinder findConnection_;
    std::vector<std::string> processArguments_;

    std::shared_ptr<const Asset> asset_;
    std::string filename_;
    MediaTimeRange timeRange_;
    std::int64_t curFrame_ = 0;
    std::int64_t lastFrame_ = -1;
    std::int64_t bitDepth_ = 8;
    std::int64_t refWhite_ = 235;
    std::int64_t refBlack_ = 16;
    bool shouldCheckLuma_ = true;
    bool shouldCheckFlashFrames_ = true;
    std::int64_t flashFrameLength_ = 4;
    std::int64_t flashFrameSensitivity_ = 5;
    bool enforceAspectRatio_ = false;
    double aspectRatio_ = 1.0;
    std::atomic<bool> scanComplete_ = false;
    std::optional<std::string> timecodeStart_;
    std::shared_ptr<ParentConnection> connection_;
    std::shared_ptr<ParentProxy> proxyObject_;
    bool shouldOutputToStdout_ = false;
};

} // namespace fw
