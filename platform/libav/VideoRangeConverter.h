#pragma once

#include "platform/libav/PlanarPicture.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

struct zimg_filter_graph;

namespace fw::libav {

/// Brings a planar picture to 4:2:2 Y'CbCr in video range with 8 or 10 bits (grey stays grey): by
/// zimg, nearest, never dithered. Luma that is already in video range passes unchanged (8 to 10
/// bits: x 4).
class VideoRangeConverter {
public:
    VideoRangeConverter();
    ~VideoRangeConverter();

    /// A picture that needs nothing comes back as it is, another one in memory that is valid until
    /// the next call. Throws PlatformException when zimg has no such conversion.
    PlanarPicture convert(const PlanarPicture& picture, int depth);

private:
    struct FreeGraph {
        void operator()(zimg_filter_graph* graph) const;
    };
    using Graph = std::unique_ptr<zimg_filter_graph, FreeGraph>;
    struct Size {
        int width;
        int height;
    };

    void prepare(const PictureFormat& source, int depth);
    Graph buildGraph(Size size, int fieldParity) const;
    PlanarPicture padded(const PlanarPicture& picture);
    void run(const Graph& graph, const PlanarPicture& source, int firstRow, int rowStep);

    std::optional<PictureFormat> source_;
    PictureFormat target_;
    Size size_{};               ///< Of the source, rounded up to what its chroma and 4:2:2 need.
    std::vector<Graph> graphs_; ///< One for the frame, or one for each field.
    std::vector<std::uint8_t> workspace_;
    PlaneStorage paddedStorage_;
    PlaneStorage output_;
};

} // namespace fw::libav
