#include "oxbow/Diagnostics.h"

#include "oxbow/Output.h"

#include <optional>

namespace fw {

std::function<void(std::string_view text)> diagnosticsWriter(int descriptor) {
    return [output = std::optional(Output(descriptor))](std::string_view text) mutable {
        if (!output) {
            return;
        }
        try {
            output->write(text);
        } catch (const OutputError&) {
            output.reset();
        }
    };
}

} // namespace fw
