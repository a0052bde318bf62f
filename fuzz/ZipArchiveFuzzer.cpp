#include "fuzz/InputFiles.h"
#include "fuzz/check.h"
#include "platform/archive/ZipArchive.h"
#include "tests/support/WithoutPrivileges.h"

#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>

namespace {

using namespace fw;
using fuzz::check;
namespace fs = std::filesystem;

/// What a file holds, where a link points to, nothing for a folder; with the mode in front.
std::string summary(const fs::directory_entry& entry) {
    struct stat status {};
    check(::lstat(entry.path().c_str(), &status) == 0, "an item can be looked at");
    check((status.st_mode & (S_ISUID | S_ISGID | S_ISVTX)) == 0, "set-ID bits are not taken over");
    std::string text = std::to_string(status.st_mode) + ' ';
    if (S_ISLNK(status.st_mode)) {
        return text + fs::read_symlink(entry.path()).string();
    }
    check(S_ISREG(status.st_mode) || S_ISDIR(status.st_mode), "all is a file, a folder or a link");
    if (S_ISREG(status.st_mode)) {
        std::ifstream file(entry.path(), std::ios::binary);
        text.append(std::istreambuf_iterator<char>(file), {});
    }
    return text;
}

/// By the path inside the folder; names that begin with an archive's are all in it.
std::map<std::string, std::string> contentsOf(const fs::path& folder) {
    std::map<std::string, std::string> contents;
    constexpr auto kOptions = fs::directory_options::skip_permission_denied;
    for (const auto& entry : fs::recursive_directory_iterator(folder, kOptions)) {
        contents[entry.path().lexically_relative(folder).string()] = summary(entry);
    }
    return contents;
}

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

} // namespace

/// Whatever an archive says, nothing appears but the folder, and that only when all is well. What
/// was unpacked can be packed, unless it may not be read, and is unpacked as it was.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::ScratchFolder scratch;
    const test::WithoutPrivileges user; // Root would not be kept from files outside.
    fuzz::writeBytes(scratch.file("zip"), {data, size});
    const auto failure = extractZipArchive(scratch.file("zip"), scratch.file("all"));
    const std::set<std::string> before = {"zip"};
    check(namesIn(scratch.path()) == (failure ? before : std::set<std::string>{"all", "zip"}),
          "an archive appears in its folder or not at all");
    if (failure) {
        check(failure->domain == "Archive" || failure->domain == "POSIX", "a reason is given");
        return 0;
    }
    if (createZipArchive(scratch.file("all"), scratch.file("again.zip"), KeepParent::kNo)) {
        return 0;
    }
    check(!extractZipArchive(scratch.file("again.zip"), scratch.file("again")),
          "an archive of ours is unpacked");
    check(contentsOf(scratch.file("again")) == contentsOf(scratch.file("all")),
          "what is packed is unpacked as it was");
    return 0;
}
