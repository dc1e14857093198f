// SPDX-License-Identifier: Apache-2.0

#include "platform/URLSession/URLSession.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/URLSession/DataURL.hpp"
#include "platform/URLSession/Transfer.hpp"
#include "platform/URLSession/TransferLoop.hpp"

namespace platform {
namespace {

[[noreturn]] void failToRead(const char* why) {
    throw URLError(URLErrorCode::cannotReadResource, why);
}
[[noreturn]] void failAsTooLong() {
    throw URLError(URLErrorCode::dataLengthExceedsMaximum, "the resource is too long");
}

class FileDescriptor {
  public:
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~FileDescriptor() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    operator int() const { return descriptor_; }  // NOLINT(google-explicit-constructor)

  private:
    int descriptor_;
};

// Opening a device can do something and opening a pipe can wait, so what it is is asked first, and once more
// of what was opened.
std::string readFile(const std::string& path, std::size_t maximumSize) {
    struct stat found = {};
    if (::stat(path.c_str(), &found) != 0) failToRead("the file cannot be found");
    if (!S_ISREG(found.st_mode)) failToRead("not a regular file");
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file < 0 || ::fstat(file, &found) != 0 || !S_ISREG(found.st_mode))
        failToRead("the file cannot be opened");
    if (static_cast<std::size_t>(found.st_size) > maximumSize) failAsTooLong();

    // Some files (/proc) do not know their size, and a file may grow while it is read.
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(found.st_size));
    std::array<char, std::size_t{64} << 10> part;
    for (;;) {
        const ssize_t count = ::read(file, part.data(), part.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failToRead("the file cannot be read");
        if (count == 0) return bytes;
        bytes.append(part.data(), static_cast<std::size_t>(count));
        if (bytes.size() > maximumSize) failAsTooLong();
    }
}

std::string readFileURL(const URL& url, std::size_t maximumSize) {
    const std::string path = url.path();
    const bool isLocal = url.host().empty() || url.host() == "localhost";
    if (!isLocal || path.find('\0') != std::string::npos) failToRead("not a file of this machine");
    return readFile(path, maximumSize);
}

std::string readDataURL(const URL& url, std::size_t maximumSize) {
    auto data = dataOfDataURL(url.absoluteString());
    if (!data) failToRead("not a data URL");
    if (data->size() > maximumSize) failAsTooLong();
    return std::move(*data);
}

std::string readOverHTTP(const URL& url, std::size_t maximumSize) {
    // One loop a thread: ten pictures of one server come over one connection.
    thread_local TransferLoop loop;
    URLSessionConfiguration limits = URLSessionConfiguration::defaultSessionConfiguration();
    limits.maximumReplySize = maximumSize;
    TransferOutcome outcome = URLError(URLErrorCode::unknown, "the transfer did not end");
    loop.add(std::make_shared<Transfer>(URLRequest{.url = url}, limits,
                                        [&outcome](TransferOutcome result) { outcome = std::move(result); }));
    while (!loop.isEmpty()) loop.step();
    if (const auto* error = std::get_if<URLError>(&outcome)) throw *error;
    URLReply& reply = std::get<URLReply>(outcome);
    if (reply.response.statusCode.value_or(0) / 100 != 2) failToRead("the server does not have the resource");
    return std::move(reply.data);
}

}  // namespace

std::string readWholeResource(const URL& url, std::size_t maximumSize) {
    const std::string scheme = url.scheme();
    if (scheme == "http" || scheme == "https") return readOverHTTP(url, maximumSize);
    if (scheme == "file") return readFileURL(url, maximumSize);
    if (scheme == "data") return readDataURL(url, maximumSize);
    throw URLError(URLErrorCode::unsupportedURL, "the URL's scheme cannot be read");
}

}  // namespace platform
