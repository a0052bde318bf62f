#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace fw {

/// Output could not be written; what() says why.
class OutputError : public std::runtime_error {
public:
    explicit OutputError(const std::string& reason) : std::runtime_error(reason) {}
};

/// Where results go. Every text is on its way when write returns, so that nothing found is lost.
/// The reader of a pipe that takes nothing is waited for, until the program is asked to end
/// (SignalWatch.h): then for a second more.
class Output {
public:
    explicit Output(int descriptor) : descriptor_(descriptor) {}

    /// Throws OutputError.
    void write(std::string_view text) const;

private:
    int descriptor_;
};

} // namespace fw
