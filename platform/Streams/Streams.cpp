// SPDX-License-Identifier: Apache-2.0

#include "platform/Streams/Streams.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <new>
#include <system_error>

#include "platform/Files/Descriptor.hpp"

namespace platform {

namespace {

[[noreturn]] void failToRead(const std::string& name, int error) {
    throw std::system_error(error, std::generic_category(), "cannot read " + name);
}

void awaitInput(const Input& input, const std::optional<Deadline>& deadline) {
    pollfd awaited = {.fd = input.descriptor, .events = POLLIN, .revents = 0};
    while (true) {
        const auto rest = deadline ? std::min<std::int64_t>(deadline->rest().count(), INT_MAX) : -1;
        const int ready = ::poll(&awaited, 1, static_cast<int>(rest));
        if (ready > 0) return;
        if (ready < 0 && errno != EINTR) failToRead(input.name, errno);
        if (ready == 0 && deadline && deadline->rest().count() == 0)
            throw InputError(input.name + " has not ended within " + deadline->limitInWords());
    }
}

}  // namespace

void holdStandardStreams() {
    // Opened the wrong way round: a read or a write in vain is told (EBADF), not taken for done.
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(descriptor, F_GETFD) < 0) [[maybe_unused]]
            const int held = ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

std::string readAll(const Input& input, std::size_t limit, const std::optional<Deadline>& deadline) {
    std::string text;
    std::array<char, 65536> buffer;
    while (true) {
        awaitInput(input, deadline);
        const auto length = ::read(input.descriptor, buffer.data(), buffer.size());
        if (length == 0) return text;
        if (length < 0 && errno != EINTR && errno != EAGAIN) failToRead(input.name, errno);
        if (length < 0) continue;
        text.append(buffer.data(), static_cast<std::size_t>(length));
        if (text.size() > limit) throw InputError(input.name + " is too long");
    }
}

std::string readFile(const std::string& path, std::size_t limit, const Deadline& deadline) {
    // Without waiting, as a pipe that nobody writes to would not open at all.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.isOpen()) failToRead(path, errno);
    return readAll({.descriptor = file, .name = path}, limit, deadline);
}

void printError(std::string_view program, std::string_view message) noexcept {
    constexpr std::array<std::string_view, 2> marks = {": ", "\n"};
    const auto part = [](std::string_view text) {
        return iovec{.iov_base = const_cast<char*>(text.data()), .iov_len = text.size()};
    };
    const std::array<iovec, 4> parts = {part(program), part(marks[0]), part(message), part(marks[1])};
    // Where standard error takes nothing, there is nobody left to tell.
    [[maybe_unused]] const auto written = ::writev(STDERR_FILENO, parts.data(), parts.size());
}

void printFailure(std::string_view program, const std::exception& failure) noexcept {
    const bool isMemory = dynamic_cast<const std::bad_alloc*>(&failure) != nullptr;
    printError(program, isMemory ? "there is not enough memory" : failure.what());
}

}  // namespace platform
