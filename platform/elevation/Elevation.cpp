#include "platform/elevation/Elevation.h"

#include "base/text.h"
#include "platform/PosixError.h"
#include "platform/elevation/AdministratorAuthorization.h"
#include "platform/elevation/SecretText.h"
#include "platform/elevation/TicketAuthorization.h"
#include "platform/elevation/sudo.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <mutex>
#include <optional>
#include <utility>

namespace fw {
namespace {

struct Services {
    std::mutex mutex;
    std::shared_ptr<const ElevationServices> current = std::make_shared<ElevationServices>();
};

/// Never destroyed: authorizations end while the program does.
Services& services() {
    static auto* const instance = new Services;
    return *instance;
}

std::shared_ptr<const ElevationServices> currentServices() {
    const std::lock_guard lock(services().mutex);
    return services().current;
}

/// Nothing when there is no such account.
std::optional<uid_t> userIdOf(const std::string& name) {
    if (holdsZeroByte(name)) {
        return std::nullopt; // The system would take it for another name.
    }
    passwd account = {};
    passwd* found = nullptr;
    std::array<char, 16 * 1024> buffer;
    ::getpwnam_r(name.c_str(), &account, buffer.data(), buffer.size(), &found);
    return found == nullptr ? std::nullopt : std::optional<uid_t>(found->pw_uid);
}

AuthorizationRef parentsAuthorization() {
    if (!isMarked()) {
        return nullptr;
    }
    auto authorization = std::make_shared<ParentsAuthorization>();
    return authorization->requestAdministratorRight() ? authorization : nullptr;
}

Result<AuthorizationRef> authorizationThatAsks() {
    if (!sudo::isInstalled()) {
        return posixError(ENOENT);
    }
    return AuthorizationRef(std::make_shared<TicketAuthorization>());
}

/// Nobody has a password that cannot be kept as a line, and nobody an account that is not there:
/// both are refused like any wrong pair, when the right is asked for.
Result<AuthorizationRef> authorizationWithPassword(std::string_view user,
                                                   std::string_view password) {
    if (!sudo::isInstalled()) {
        return posixError(ENOENT);
    }
    const std::string name(user);
    const std::optional<uid_t> userId = userIdOf(name);
    auto secret = userId ? SecretText::kept(password) : Result<SecretText>(SecretText());
    if (!secret && secret.error().code != EINVAL) {
        return secret.error();
    }
    SecretText kept = secret ? std::move(secret).value() : SecretText();
    if (userId == ::getuid()) {
        return AuthorizationRef(std::make_shared<TicketAuthorization>(std::move(kept)));
    }
    return AuthorizationRef(std::make_shared<AdministratorAuthorization>(name, std::move(kept)));
}

} // namespace

ElevationServices setElevationServices(ElevationServices newServices) {
    auto next = std::make_shared<const ElevationServices>(std::move(newServices));
    const std::lock_guard lock(services().mutex);
    return *std::exchange(services().current, std::move(next));
}

AuthorizationRef adoptedAuthorization() {
    const auto current = currentServices();
    return current->adopted ? current->adopted() : parentsAuthorization();
}

Result<AuthorizationRef> createAuthorization() {
    const auto current = currentServices();
    return current->create ? current->create() : authorizationThatAsks();
}

Result<AuthorizationRef> createAuthorization(std::string_view user, std::string_view password) {
    const auto current = currentServices();
    return current->createWithPassword ? current->createWithPassword(user, password)
                                       : authorizationWithPassword(user, password);
}

} // namespace fw
