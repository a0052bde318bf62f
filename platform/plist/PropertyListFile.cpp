#include "platform/plist/PropertyListFile.h"

#include "base/text.h"
#include "platform/FileDescriptor.h"
#include "platform/PosixError.h"
#include "platform/files/AtomicFile.h"
#include "platform/files/openFile.h"
#include "platform/plist/ListNode.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace fw {
namespace {

Error listError(const char* description) {
    return {"PropertyList", 1, description};
}

/// Everything up to the end of a file; one that is longer than allowed is not read whole.
Result<std::string> readUpToLimit(int descriptor) {
    std::vector<char> block(std::size_t{64} * 1024);
    std::string bytes;
    while (bytes.size() <= kLargestPropertyList) {
        const ssize_t length = ::read(descriptor, block.data(), block.size());
        if (length > 0) {
            bytes.append(block.data(), static_cast<std::size_t>(length));
        } else if (length == 0) {
            return bytes;
        } else if (errno != EINTR) {
            return posixError(errno);
        }
    }
    return posixError(EFBIG);
}

Result<std::string> readSmallFile(const std::string& path) {
    if (holdsZeroByte(path)) {
        return posixError(EINVAL);
    }
    const FileDescriptor file = openFile(AT_FDCWD, path, O_RDONLY);
    if (!file) {
        return posixError(errno);
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        return posixError(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return posixError(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    }
    return readUpToLimit(file.get());
}

} // namespace

Result<PropertyListDictionary> readPropertyList(const std::string& path) {
    const Result<std::string> bytes = readSmallFile(path);
    if (!bytes) {
        return bytes.error();
    }
    return propertyListFromBytes(bytes.value());
}

Result<PropertyListDictionary> propertyListFromBytes(std::string_view bytes) {
    if (bytes.size() > kLargestPropertyList) {
        return listError("The property list is too large.");
    }
    const ListNode root = nodeFromBytes(bytes);
    PropertyListValue value;
    const bool isSound = root && readNode(root.get(), value);
    auto* dictionary = std::get_if<PropertyListDictionary>(&value.content);
    if (!isSound || dictionary == nullptr) {
        return listError("This is no property list with a dictionary.");
    }
    return std::move(*dictionary);
}

Result<std::string> propertyListXml(const PropertyListDictionary& dictionary) {
    const ListNode root = nodeFromValue({dictionary});
    std::string xml = root ? xmlFromNode(root.get()) : std::string();
    if (xml.empty() || xml.size() > kLargestPropertyList) {
        return listError("The property list is too large or too deep.");
    }
    return xml;
}

std::optional<Error> writePropertyList(const std::string& path,
                                       const PropertyListDictionary& dictionary) {
    const Result<std::string> xml = propertyListXml(dictionary);
    return xml ? writeFileAtomically(path, xml.value()) : std::optional(xml.error());
}

} // namespace fw
