#pragma once

#include <openssl/evp.h>

namespace fw::test {

/// While it lives, no digest can be made, as where a machine's configuration allows only those of
/// a provider that is not there. Links OpenSSL::Crypto.
class WithoutDigests {
public:
    WithoutDigests() : worked_(::EVP_set_default_properties(nullptr, "provider=none") == 1) {}
    ~WithoutDigests() { ::EVP_set_default_properties(nullptr, ""); }
    WithoutDigests(const WithoutDigests&) = delete;
    WithoutDigests& operator=(const WithoutDigests&) = delete;

    bool worked() const { return worked_; }

private:
    bool worked_;
};

} // namespace fw::test
