#include "platform/digest/Digest.h"

#include <openssl/evp.h>

#include <array>
#include <utility>

namespace fw {
namespace {

const EVP_MD* algorithm(DigestKind kind) {
    switch (kind) {
    case DigestKind::kMd5:
        return EVP_md5();
    case DigestKind::kSha1:
        return EVP_sha1();
    case DigestKind::kSha256:
        return EVP_sha256();
    case DigestKind::kSha512:
        return EVP_sha512();
    }
    return nullptr;
}

} // namespace

struct Digest::State {
    State() : context(EVP_MD_CTX_new()) {}
    ~State() { EVP_MD_CTX_free(context); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    static std::unique_ptr<State> copyOf(const State* other) {
        auto copy = std::make_unique<State>();
        const bool isCopied = other != nullptr && copy->context != nullptr &&
                              EVP_MD_CTX_copy_ex(copy->context, other->context) == 1;
        if (!isCopied) {
            copy.reset();
        }
        return copy;
    }

    EVP_MD_CTX* context;
};

Digest::Digest(DigestKind kind) : state_(std::make_unique<State>()) {
    if (state_->context == nullptr ||
        EVP_DigestInit_ex(state_->context, algorithm(kind), nullptr) != 1) {
        state_.reset();
    }
}

Digest::Digest(const Digest& other) : state_(State::copyOf(other.state_.get())) {}
Digest::Digest(Digest&& other) noexcept = default;
Digest::~Digest() = default;

Digest& Digest::operator=(Digest other) noexcept {
    std::swap(state_, other.state_);
    return *this;
}

void Digest::update(std::span<const std::byte> bytes) {
    if (state_ && EVP_DigestUpdate(state_->context, bytes.data(), bytes.size()) != 1) {
        state_.reset();
    }
}

std::vector<std::byte> Digest::bytes() const {
    const std::unique_ptr<State> end = State::copyOf(state_.get());
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
    unsigned length = 0;
    if (!end || EVP_DigestFinal_ex(end->context, digest.data(), &length) != 1) {
        return {};
    }
    const auto all = std::as_bytes(std::span(digest)).first(length);
    return {all.begin(), all.end()};
}

} // namespace fw
