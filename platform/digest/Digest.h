#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace fw {

/// MD5 (RFC 1321), SHA-1, SHA-256 and SHA-512 (FIPS 180-4).
enum class DigestKind { kMd5, kSha1, kSha256, kSha512 };

/// The running digest of a stream of bytes. A value: a copy goes on by itself. Where the machine
/// has no such digest it never gives one. Different objects may be used on different threads.
class Digest {
public:
    explicit Digest(DigestKind kind);
    Digest(const Digest& other);
    Digest(Digest&& other) noexcept;
    Digest& operator=(Digest other) noexcept;
    ~Digest();

    /// Takes the next bytes in.
    void update(std::span<const std::byte> bytes);

    /// The digest of what came in up to now: 16, 20, 32 or 64 bytes, or none when it could not be
    /// made. This object stays as it is and can go on.
    std::vector<std::byte> bytes() const;

private:
    struct State;
    std::unique_ptr<State> state_; ///< Null once a step has failed.
};

// One type for each kind, so that a state cannot be taken for one of another kind.
struct Md5Digest : Digest {
    Md5Digest() : Digest(DigestKind::kMd5) {}
};
struct Sha1Digest : Digest {
    Sha1Digest() : Digest(DigestKind::kSha1) {}
};
struct Sha256Digest : Digest {
    Sha256Digest() : Digest(DigestKind::kSha256) {}
};
struct Sha512Digest : Digest {
    Sha512Digest() : Digest(DigestKind::kSha512) {}
};

} // namespace fw
