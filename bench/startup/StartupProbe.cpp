// A run of the scanner that ends when the first frame is asked of the decoder.
//   bench_startup with|without ARGUMENTS...     with or without log and crash reporter
#include "platform/folders/folderServices.h"
#include "platform/libav/LibavAsset.h"
#include "scanner/RunDriver.h"
#include "support/CrashReports.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

/// A real reader up to its first frame.
class EndingReader : public fw::AssetReader {
public:
    explicit EndingReader(std::unique_ptr<fw::AssetReader> reader) : reader_(std::move(reader)) {}

    void setTimeRange(const fw::MediaTimeRange& range) override { reader_->setTimeRange(range); }
    void addOutput(const fw::Track& track, const fw::OutputSettings& settings) override {
        reader_->addOutput(track, settings);
    }
    bool startReading() override { return reader_->startReading(); }
    Status status() const override { return reader_->status(); }
    std::optional<fw::Error> error() const override { return reader_->error(); }
    std::optional<fw::SampleBuffer> copyNextSampleBuffer() override { ::_exit(0); }
    void cancelReading() override { reader_->cancelReading(); }

private:
    std::unique_ptr<fw::AssetReader> reader_;
};

class EndingAsset : public fw::Asset {
public:
    explicit EndingAsset(std::shared_ptr<const fw::Asset> asset) : asset_(std::move(asset)) {}

    std::optional<fw::AssetUrl> url() const override { return asset_->url(); }
    bool isPlayable() const override { return asset_->isPlayable(); }
    bool isReadable() const override { return asset_->isReadable(); }
    std::optional<fw::Error> error() const override { return asset_->error(); }
    fw::MediaTime duration() const override { return asset_->duration(); }
    const std::vector<fw::Track>& tracks() const override { return asset_->tracks(); }
    fw::Result<std::unique_ptr<fw::AssetReader>> makeReader() const override {
        auto reader = asset_->makeReader();
        if (!reader) {
            return reader.error();
        }
        return std::unique_ptr<fw::AssetReader>(
            std::make_unique<EndingReader>(std::move(reader).value()));
    }

private:
    std::shared_ptr<const fw::Asset> asset_;
};

fw::RunDiagnostics noDiagnostics() {
    return {[] {}, [] {},
            [] {
            }};
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv, argv + argc);
    const bool isWith = arguments.at(1) == "with";
    arguments.erase(arguments.begin() + 1);
    // The superuser's log would be the machine's.
    fw::setFolderServices({[] { return 1000U; }, {}});
    if (isWith) {
        fw::installCrashReports("OxbowGlint", arguments);
    }
    fw::RunServices services;
    services.diagnostics = isWith ? fw::suiteDiagnostics() : noDiagnostics();
    services.openAsset = [](const std::string& path) {
        return std::make_shared<EndingAsset>(fw::openLibavAsset(path));
    };
    fw::RunDriver(services).run(arguments);
    return 1; // No frame was asked for.
}
