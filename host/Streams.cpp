#include "host/Streams.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace host {

void holdStandardStreams() {
    // Opened the wrong way round: a read or a write in vain is told (EBADF), not taken for done.
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(descriptor, F_GETFD) < 0) [[maybe_unused]]
            const int held = ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
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

}  // namespace host
