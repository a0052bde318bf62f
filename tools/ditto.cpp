// ditto: packs a file or folder into a zip archive, or unpacks one.
#include "platform/archive/ZipArchive.h"
#include "tools/toolMain.h"

namespace fw {
namespace {

constexpr const char* kUsage =
    "usage: ditto -ck [--keepParent] SOURCE ARCHIVE | -xk ARCHIVE FOLDER";

int endFor(const std::optional<Error>& failure) {
    return failure ? failed(failure->description) : kDone;
}

int run(const Arguments& arguments) {
    const std::string option = arguments.empty() ? std::string() : arguments[0];
    if (option == "-xk" && arguments.size() == 3) {
        return endFor(extractZipArchive(arguments[1], arguments[2]));
    }
    if (option == "-ck" && arguments.size() == 3) {
        return endFor(createZipArchive(arguments[1], arguments[2], KeepParent::kNo));
    }
    if (option == "-ck" && arguments.size() == 4 && arguments[1] == "--keepParent") {
        return endFor(createZipArchive(arguments[2], arguments[3], KeepParent::kYes));
    }
    return wrongArguments(kUsage);
}

} // namespace
} // namespace fw

int main(int argc, char** argv) {
    return fw::run(fw::argumentsOf(argc, argv));
}
