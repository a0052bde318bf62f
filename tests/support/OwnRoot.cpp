#include "tests/support/OwnRoot.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace fw::test {
namespace {

/// $1: the folder, $2: the script to run on the copy.
constexpr const char* kPreparation = R"(
set -e
mount -t tmpfs tmpfs "$1/memory"
mkdir "$1/memory/upper" "$1/memory/work"
mount -t overlay -o "lowerdir=/,upperdir=$1/memory/upper,workdir=$1/memory/work" overlay "$1/root"
mount -t proc proc "$1/root/proc"
mount -t tmpfs tmpfs "$1/root/tmp"
mount -t tmpfs -o mode=755 tmpfs "$1/root/dev"
cd "$1/root/dev"
for device in null zero full random urandom tty; do
    : >$device
    mount --bind /dev/$device $device
done
mkdir -m 1777 shm
mkdir pts
mount -t devpts -o newinstance,mode=620,ptmxmode=666 devpts pts
ln -s pts/ptmx ptmx
ln -s /proc/self/fd fd
ln -s fd/0 stdin
ln -s fd/1 stdout
ln -s fd/2 stderr
cd /
mkdir "$1/root/tmp/programs"
mount --bind "$1/programs" "$1/root/tmp/programs"
exec chroot "$1/root" /bin/sh -e /tmp/programs/script
)";

OwnRoot::Outcome outputOf(const std::string& command) {
    OwnRoot::Outcome outcome;
    std::FILE* const pipe = ::popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return {-1, "no process to be had"};
    }
    std::array<char, 4096> block;
    for (std::size_t length = 1; length > 0;) {
        length = std::fread(block.data(), 1, block.size(), pipe);
        outcome.output.append(block.data(), length);
    }
    const int status = ::pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

} // namespace

std::string OwnRoot::obstacle() const {
    if (::geteuid() != 0) {
        return "This needs root.";
    }
    const Outcome outcome = run("true", {});
    return outcome.status == 0 ? "" : "No name space of its own: " + outcome.output;
}

OwnRoot::Outcome OwnRoot::run(const std::string& script,
                              const std::vector<std::string>& programs) const {
    namespace fs = std::filesystem;
    for (const char* name : {"memory", "root", "programs"}) {
        fs::create_directories(folder_.file(name));
    }
    for (const std::string& program : programs) {
        fs::copy_file(program, fs::path(folder_.file("programs")) / fs::path(program).filename(),
                      fs::copy_options::overwrite_existing);
    }
    std::ofstream(folder_.file("programs/script")) << "PROGRAMS=/tmp/programs\n" << script << '\n';
    std::ofstream(folder_.file("prepare")) << kPreparation;
    // What the script leaves to run ends with it.
    return outputOf("unshare --mount --pid --fork --kill-child /bin/sh " + folder_.file("prepare") +
                    " " + folder_.path().string() + " 2>&1");
}

} // namespace fw::test
