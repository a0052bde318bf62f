#include "platform/connection/SocketPath.h"

#include "base/PlatformException.h"

#include <openssl/evp.h>

#include <array>

namespace fw {
namespace {

constexpr std::size_t kStemBytes = 20;

} // namespace

std::string socketFolder(const RuntimeFolder& runtimeFolder) {
    return runtimeFolder.path + "/oxbow";
}

std::string socketFileStem(std::string_view connectionName) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
    if (EVP_Digest(connectionName.data(), connectionName.size(), digest.data(), nullptr,
                   EVP_sha256(), nullptr) != 1) {
        throw PlatformException("SHA-256 is not available.");
    }
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string stem;
    for (std::size_t i = 0; i < kStemBytes; ++i) {
        stem += kDigits[digest[i] >> 4];
        stem += kDigits[digest[i] & 0x0FU];
    }
    return stem;
}

std::optional<std::string> socketPath(const RuntimeFolder& runtimeFolder, const std::string& stem) {
    std::string path = socketFolder(runtimeFolder) + '/' + stem + ".sock";
    if (path.size() > kMaximumSocketPathLength) {
        return std::nullopt;
    }
    return path;
}

} // namespace fw
