#pragma once

#include "platform/elevation/Elevation.h"
#include "platform/elevation/SecretText.h"

#include <string>
#include <utility>

namespace fw {

/// The right of an administrator who is not this process's user. No ticket stands for it, so the
/// password stays as long as the right. Children are told nothing.
class AdministratorAuthorization final : public Authorization {
public:
    /// No text at all is refused without a question; the password "" is one like any other.
    AdministratorAuthorization(std::string administrator, SecretText password)
        : administrator_(std::move(administrator)), password_(std::move(password)) {}

    bool requestAdministratorRight() override;
    Result<std::unique_ptr<ToolStream>> run(const std::string& tool,
                                            const std::vector<std::string>& arguments,
                                            ToolOutput output) override;
    void free() override;

private:
    std::string administrator_;
    SecretText password_;
    bool isGranted_ = false;
};

} // namespace fw
