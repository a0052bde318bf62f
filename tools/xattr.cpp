// xattr: removes, writes or prints one extended attribute of a file. Names are those of the suite;
// where the system keeps them is platform/files' affair.
#include "platform/files/ExtendedAttributes.h"
#include "tools/toolMain.h"

#include <cerrno>
#include <iostream>

namespace fw {
namespace {

constexpr const char* kUsage = "usage: xattr -d NAME PATH | -p NAME PATH | -w NAME VALUE PATH";

int failedFor(const std::string& path, const std::string& name, const Error& error) {
    std::string reason = path;
    if (error.code == ENODATA) {
        reason.append(": No such attribute: ").append(name);
    } else {
        reason.append(": ").append(error.description);
    }
    return failed(reason);
}

int remove(const std::string& name, const std::string& path) {
    const auto failure = removeExtendedAttribute(path, name);
    return failure ? failedFor(path, name, *failure) : kDone;
}

int print(const std::string& name, const std::string& path) {
    const Result<std::string> value = extendedAttribute(path, name);
    if (!value) {
        return failedFor(path, name, value.error());
    }
    std::cout << value.value() << std::endl;
    return std::cout ? kDone : failed("The value cannot be written to standard output.");
}

int write(const std::string& name, const std::string& value, const std::string& path) {
    const auto failure = setExtendedAttribute(path, name, value);
    return failure ? failedFor(path, name, *failure) : kDone;
}

int run(const Arguments& arguments) {
    const std::string option = arguments.empty() ? std::string() : arguments[0];
    if (option == "-d" && arguments.size() == 3) {
        return remove(arguments[1], arguments[2]);
    }
    if (option == "-p" && arguments.size() == 3) {
        return print(arguments[1], arguments[2]);
    }
    if (option == "-w" && arguments.size() == 4) {
        return write(arguments[1], arguments[2], arguments[3]);
    }
    return wrongArguments(kUsage);
}

} // namespace
} // namespace fw

int main(int argc, char** argv) {
    return fw::run(fw::argumentsOf(argc, argv));
}
