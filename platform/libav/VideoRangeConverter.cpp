#include "platform/libav/VideoRangeConverter.h"

#include "base/PlatformException.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <zimg.h>

namespace fw::libav {
namespace {

constexpr std::size_t kAlignment = 64;

[[noreturn]] void throwZimgError() {
    std::array<char, 256> text{};
    zimg_get_last_error(text.data(), text.size());
    throw PlatformException("The pixel format cannot be converted: " + std::string(text.data()));
}

zimg_color_family_e familyOf(SampleFamily family) {
    switch (family) {
    case SampleFamily::kGray:
        return ZIMG_COLOR_GREY;
    case SampleFamily::kRgb:
        return ZIMG_COLOR_RGB;
    case SampleFamily::kYuv:
        break;
    }
    return ZIMG_COLOR_YUV;
}

/// libav counts the places from 1, zimg from 0, in the same order.
zimg_chroma_location_e placeOf(AVChromaLocation location) {
    return static_cast<zimg_chroma_location_e>(static_cast<int>(location) -
                                               static_cast<int>(AVCHROMA_LOC_LEFT));
}

zimg_image_format zimgFormat(const PictureFormat& format, int width, int height, int fieldParity) {
    zimg_image_format result;
    zimg_image_format_default(&result, ZIMG_API_VERSION);
    result.width = static_cast<unsigned>(width);
    result.height = static_cast<unsigned>(height);
    result.pixel_type = format.depth > 8 ? ZIMG_PIXEL_WORD : ZIMG_PIXEL_BYTE;
    result.subsample_w = static_cast<unsigned>(format.chromaShiftX);
    result.subsample_h = static_cast<unsigned>(format.chromaShiftY);
    result.color_family = familyOf(format.family);
    result.depth = static_cast<unsigned>(format.depth);
    result.pixel_range = format.isFullRange ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
    result.field_parity = static_cast<zimg_field_parity_e>(fieldParity);
    if (format.family == SampleFamily::kYuv) {
        result.chroma_location = placeOf(format.chromaLocation);
    }
    return result;
}

int roundedUp(int size, int shift) {
    const int unit = 1 << shift;
    return (size + unit - 1) / unit * unit;
}

bool isAligned(const PlanarPicture& picture) {
    for (int plane = 0; plane < picture.format.planeCount(); ++plane) {
        const auto index = static_cast<std::size_t>(plane);
        if (reinterpret_cast<std::uintptr_t>(picture.data[index]) % kAlignment != 0 ||
            picture.stride[index] <= 0 ||
            static_cast<std::size_t>(picture.stride[index]) % kAlignment != 0) {
            return false;
        }
    }
    return true;
}

/// A row of `from` samples, then the last one again up to `to` samples.
void copyRowPadded(const std::uint8_t* source, int from, int to, int bytes, std::uint8_t* target) {
    std::memcpy(target, source, static_cast<std::size_t>(from) * static_cast<std::size_t>(bytes));
    const std::uint8_t* last = target + (from - 1) * bytes;
    for (int x = from; x < to; ++x) {
        std::memcpy(target + x * bytes, last, static_cast<std::size_t>(bytes));
    }
}

} // namespace

VideoRangeConverter::VideoRangeConverter() = default;
VideoRangeConverter::~VideoRangeConverter() = default;

void VideoRangeConverter::FreeGraph::operator()(zimg_filter_graph* graph) const {
    zimg_filter_graph_free(graph);
}

PlanarPicture VideoRangeConverter::convert(const PlanarPicture& picture, int depth) {
    const PictureFormat& source = picture.format;
    const bool isGray = source.family == SampleFamily::kGray;
    const bool is422 =
        source.family == SampleFamily::kYuv && source.chromaShiftX == 1 && source.chromaShiftY == 0;
    if ((isGray || is422) && source.depth == depth && !source.isFullRange) {
        return picture;
    }
    if (!source_ || *source_ != source || target_.depth != depth) {
        prepare(source, depth);
    }
    const bool fits = source.width == size_.width && source.height == size_.height;
    const PlanarPicture input = fits && isAligned(picture) ? picture : padded(picture);
    const int fields = static_cast<int>(graphs_.size());
    for (int field = 0; field < fields; ++field) {
        run(graphs_[static_cast<std::size_t>(field)], input, field, fields);
    }
    PlanarPicture result;
    result.format = target_;
    for (int plane = 0; plane < target_.planeCount(); ++plane) {
        result.data[static_cast<std::size_t>(plane)] = output_.row(plane, 0);
        result.stride[static_cast<std::size_t>(plane)] = output_.stride(plane);
    }
    return result;
}

void VideoRangeConverter::prepare(const PictureFormat& source, int depth) {
    source_.reset();
    target_ = source;
    target_.depth = depth;
    target_.isFullRange = false;
    const bool isGray = source.family == SampleFamily::kGray;
    target_.family = isGray ? SampleFamily::kGray : SampleFamily::kYuv;
    target_.chromaShiftX = isGray ? 0 : 1;
    target_.chromaShiftY = 0;
    size_ = {roundedUp(source.width, std::max(source.chromaShiftX, target_.chromaShiftX)),
             roundedUp(source.height, source.chromaShiftY)};
    PictureFormat whole = target_;
    whole.width = size_.width;
    whole.height = size_.height;
    for (int plane = 0; plane < whole.planeCount(); ++plane) {
        output_.resize(plane, whole.planeWidth(plane), whole.planeHeight(plane),
                       whole.bytesPerSample());
    }
    source_ = source;
    // Chroma rows of an interlaced 4:2:0 frame belong to alternating fields.
    graphs_.clear();
    if (source.isInterlaced && source.chromaShiftY == 1 && size_.height % 4 == 0) {
        graphs_.push_back(buildGraph({size_.width, size_.height / 2}, ZIMG_FIELD_TOP));
        graphs_.push_back(buildGraph({size_.width, size_.height / 2}, ZIMG_FIELD_BOTTOM));
    } else {
        graphs_.push_back(buildGraph(size_, ZIMG_FIELD_PROGRESSIVE));
    }
    std::size_t most = 0;
    for (const Graph& graph : graphs_) {
        std::size_t size = 0;
        zimg_filter_graph_get_tmp_size(graph.get(), &size);
        most = std::max(most, size);
    }
    workspace_.resize(most + kAlignment);
}

VideoRangeConverter::Graph VideoRangeConverter::buildGraph(Size size, int fieldParity) const {
    zimg_image_format from = zimgFormat(*source_, size.width, size.height, fieldParity);
    zimg_image_format to = zimgFormat(target_, size.width, size.height, fieldParity);
    if (source_->family == SampleFamily::kRgb) {
        from.matrix_coefficients = ZIMG_MATRIX_RGB;
        // Both libraries number the matrices as ITU-T H.273 does.
        to.matrix_coefficients = static_cast<zimg_matrix_coefficients_e>(source_->matrix);
    }
    zimg_graph_builder_params parameters;
    zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
    parameters.dither_type = ZIMG_DITHER_NONE;
    Graph graph(zimg_filter_graph_build(&from, &to, &parameters));
    if (!graph) {
        throwZimgError();
    }
    return graph;
}

PlanarPicture VideoRangeConverter::padded(const PlanarPicture& picture) {
    const PictureFormat& format = picture.format;
    PictureFormat whole = format;
    whole.width = size_.width;
    whole.height = size_.height;
    const int bytes = format.bytesPerSample();
    PlanarPicture result;
    result.format = whole;
    for (int plane = 0; plane < format.planeCount(); ++plane) {
        const int width = format.planeWidth(plane);
        const int height = format.planeHeight(plane);
        const int fullWidth = whole.planeWidth(plane);
        const int fullHeight = whole.planeHeight(plane);
        paddedStorage_.resize(plane, fullWidth, fullHeight, bytes);
        for (int y = 0; y < fullHeight; ++y) {
            copyRowPadded(picture.row(plane, std::min(y, height - 1)), width, fullWidth, bytes,
                          paddedStorage_.row(plane, y));
        }
        result.data[static_cast<std::size_t>(plane)] = paddedStorage_.row(plane, 0);
        result.stride[static_cast<std::size_t>(plane)] = paddedStorage_.stride(plane);
    }
    return result;
}

void VideoRangeConverter::run(const Graph& graph, const PlanarPicture& source, int firstRow,
                              int rowStep) {
    zimg_image_buffer_const from{};
    zimg_image_buffer to{};
    from.version = ZIMG_API_VERSION;
    to.version = ZIMG_API_VERSION;
    for (int plane = 0; plane < source.format.planeCount(); ++plane) {
        const auto index = static_cast<std::size_t>(plane);
        from.plane[plane] = {source.row(plane, firstRow), source.stride[index] * rowStep,
                             ZIMG_BUFFER_MAX};
        to.plane[plane] = {output_.row(plane, firstRow), output_.stride(plane) * rowStep,
                           ZIMG_BUFFER_MAX};
    }
    void* workspace = workspace_.data();
    std::size_t space = workspace_.size();
    std::align(kAlignment, workspace_.size() - kAlignment, workspace, space);
    if (zimg_filter_graph_process(graph.get(), &from, &to, workspace, nullptr, nullptr, nullptr,
                                  nullptr) != ZIMG_ERROR_SUCCESS) {
        throwZimgError();
    }
}

} // namespace fw::libav
