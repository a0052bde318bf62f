#pragma once

namespace fw::test {

/// While it lives, there is no memory for buffers of a chunk, from the one after `successes` on.
/// Links FailingMemory.cpp, which replaces an operator new.
class FailingMemory {
public:
    explicit FailingMemory(int successes);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;
};

} // namespace fw::test
