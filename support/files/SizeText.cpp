#include "base/FormattedText.h"
#include "support/FWFileManager.h"

namespace fw {

std::string FWFileManager::formatFileSize(double size) {
    constexpr double kStep = 0.0009765625; // 1 / 1024.
    if (size < 1024.0) {
        return formattedText("%0.0f B", size);
    }
    if (size < 1'048'576.0) {
        return formattedText("%0.2f KB", size * kStep);
    }
    if (size < 1'073'741'824.0) {
        return formattedText("%0.2f MB", size * (kStep * kStep));
    }
    if (size < 1'099'511'627'776.0) {
        return formattedText("%0.2f GB", size * (kStep * kStep * kStep));
    }
    return formattedText("%0.2f TB", size * (kStep * kStep * kStep * kStep));
}

} // namespace fw
