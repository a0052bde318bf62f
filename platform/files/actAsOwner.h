#pragma once

#include <functional>
#include <string>

namespace fw {

/// With whose rights something was done.
enum class Actor {
    kSelf,   ///< This process's own.
    kOwner,  ///< Those of the user whom the place belongs to.
    kNobody, ///< It was not done: the superuser's rights could not be laid down.
};

/// Does at `path` what `action` does, and gives the superuser no more rights there than the owner
/// of the place has. That is the first user but the superuser whom a folder or a link on the way
/// to `path` belongs to, also behind a link of the superuser's own, and who can thus lead the way
/// wherever they like: what is made belongs to them, and what they may not touch is not touched.
/// Where all is the superuser's, and for an ordinary user, the action is done as it is.
///
/// Only this thread's rights to files change, while the action runs. A thread that it starts would
/// keep the owner's rights, a process that it starts gets the superuser's. A process that dies
/// meanwhile leaves no core dump unless the system dumps programs with changed rights, too. Safe
/// from any thread.
Actor actAsOwner(const std::string& path, const std::function<void()>& action);

} // namespace fw
