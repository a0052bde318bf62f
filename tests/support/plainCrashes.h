#pragma once

namespace fw::test {

/// Children of this process die of fatal signals as they would for a user: with the system's
/// status, also where a sanitizer would catch the signal, and without leaving a core dump.
void letChildrenCrashPlainly();

} // namespace fw::test
