#include "fuzz/InputFiles.h"
#include "fuzz/check.h"
#include "platform/libav/MovSampleEntries.h"

/// Entries lie side by side in the file, so together they are no longer than it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace fw;
    constexpr std::size_t kBoxHeader = 8;
    const fuzz::MemoryFile file({data, size});
    std::size_t total = 0;
    for (const libav::MovSampleEntry& entry : libav::readMovSampleEntries(file.path())) {
        total += kBoxHeader + entry.payload.size();
    }
    fuzz::check(total <= size, "sample entries lie within the file");
    return 0;
}
