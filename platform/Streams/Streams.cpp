#include "platform/Streams/Streams.hpp"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <new>

namespace platform {

void holdStandardStreams() {
    // Opened the wrong way round: a read or a write in vain is told (EBADF), not taken for done.
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(descriptor, F_GETFD) < 0) [[maybe_unused]]
            const int held = ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

std::optional<std::string> readAll(std::istream& stream, std::size_t limit) {
    std::string text;
    std::array<char, 65536> buffer;
    while (stream.read(buffer.data(), buffer.size()) || stream.gcount() > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(stream.gcount()));
        if (text.size() > limit) return std::nullopt;
    }
    return text;
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
