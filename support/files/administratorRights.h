#pragma once

#include "support/files/FileRights.h"

namespace fw {

/// Those of FWAuthorization, which may ask the user. One operation at a time: another thread waits.
FileRights administratorRights();

} // namespace fw
