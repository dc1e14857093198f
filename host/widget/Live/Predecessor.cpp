// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/Predecessor.hpp"

#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/json/object.hpp>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <initializer_list>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/LiveCoding.hpp"
#include "host/protocol/OutcomeCoding.hpp"
#include "platform/Date/Date.hpp"
#include "platform/Files/Reading.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/Spawning.hpp"

namespace host {

namespace json = boost::json;
using platform::Descriptor;

namespace {

/// "PROCESS:SOCKET:MEMORY": by the process's number no child takes it for its own.
constexpr const char* variable = "VELA_PREDECESSOR";
/// A state with ten packages takes some kilobytes.
constexpr off_t longestRemembered = 16 << 20;

sigset_t heldBackSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGUSR1}) ::sigaddset(&signals, signal);
    return signals;
}

std::vector<int> numbersIn(std::string_view text) {
    std::vector<int> numbers;
    while (true) {
        const auto end = text.find(':');
        int number = -1;
        const auto part = text.substr(0, end);
        const auto parsed = std::from_chars(part.data(), part.data() + part.size(), number);
        if (parsed.ec != std::errc() || parsed.ptr != part.data() + part.size()) return {};
        numbers.push_back(number);
        if (end == std::string_view::npos) return numbers;
        text.remove_prefix(end + 1);
    }
}

json::object rememberedObject(const LiveHost::Remembered& remembered, bool ownsSocket) {
    json::object object = {{"state", liveStateObject(remembered.state)}, {"ownsSocket", ownsSocket}};
    object["good"] = nullptr;
    if (remembered.good) {
        const auto& good = *remembered.good;
        object["good"] = {{"entry", entryObject(good.entry)},
                          {"date", good.date.timeIntervalSinceReferenceDate()},
                          {"owner", credentialsObject(good.owner)}};
    }
    return object;
}

LiveHost::Remembered rememberedFrom(const json::object& object) {
    LiveHost::Remembered remembered = {.state = liveStateFromValue(object.at("state"))};
    if (const auto* good = object.at("good").if_object())
        remembered.good = {.entry = entryFromValue(good->at("entry")),
                           .date = platform::Date::sinceReferenceDate(good->at("date").to_number<double>()),
                           .owner = credentialsFromValue(good->at("owner"))};
    return remembered;
}

/// In memory that has no name; closed on the way into another program where nothing else is said.
Descriptor written(const json::object& object) {
    Descriptor memory(::memfd_create("vela-widget", MFD_CLOEXEC));
    const auto text =
        platform::JSONSerialization::dataWithJSONObject(object, platform::JSONKeyOrder::asStored);
    if (!memory.isOpen() || !platform::writeAll(memory, text) || ::lseek(memory, 0, SEEK_SET) != 0)
        return Descriptor(-1);
    return memory;
}

std::vector<std::string> ownArguments() {
    const Descriptor file(::open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC));
    const auto text = platform::readUpTo(file, std::size_t(1) << 20).value_or("");
    std::vector<std::string> arguments;
    for (std::size_t begin = 0; begin < text.size();) {
        const auto end = text.find('\0', begin);
        arguments.push_back(text.substr(begin, end - begin));
        begin = end == std::string::npos ? text.size() : end + 1;
    }
    return arguments;
}

std::string failure(const char* what, int error) {
    return std::string(what) + ": " + std::generic_category().message(error);
}

/// Nowhere but where it is wiped when it is freed; a stack is not.
std::string textIn(int memory) {
    struct stat found = {};
    if (::fstat(memory, &found) != 0 || found.st_size > longestRemembered) return "";
    std::string text(static_cast<std::size_t>(found.st_size), '\0');
    const auto length = ::pread(memory, text.data(), text.size(), 0);
    return length == found.st_size ? text : "";
}

void readRemembered(Predecessor& predecessor, int memory) {
    try {
        const auto text = textIn(memory);
        const auto object = platform::JSONSerialization::JSONObjectWithData(text);
        predecessor.ownsSocket = object.at("ownsSocket").as_bool();
        predecessor.remembered = rememberedFrom(object.as_object());
    } catch (const std::exception&) {
        // Another version may have left what this one does not read.
    }
}

}  // namespace

std::optional<Predecessor> Predecessor::ofThisProcess() {
    const auto left = numbersIn(platform::environmentVariable(variable).value_or(""));
    ::unsetenv(variable);
    if (left.size() != 3 || left[0] != ::getpid()) return std::nullopt;
    Predecessor predecessor = {.socket = Descriptor(left[1])};
    const Descriptor memory(left[2]);
    if (::fcntl(predecessor.socket, F_SETFD, FD_CLOEXEC) != 0) return std::nullopt;
    readRemembered(predecessor, memory);
    return predecessor;
}

void Predecessor::takeSignals() {
    const auto signals = heldBackSignals();
    ::sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

std::string becomeProgram(const std::filesystem::path& program, int socket, bool ownsSocket,
                          const LiveHost::Remembered& remembered) {
    const auto memory = written(rememberedObject(remembered, ownsSocket));
    const Descriptor heir(::fcntl(socket, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!memory.isOpen() || !heir.isOpen()) return failure("what is shown cannot be left to it", errno);
    // Readers' connections and all else end with this program.
    if (::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) != 0)
        return failure("what is open cannot be closed", errno);

    const auto left = std::to_string(::getpid()) + ":" + std::to_string(heir) + ":" +
                      std::to_string(static_cast<int>(memory));
    const auto signals = heldBackSignals();
    sigset_t before;
    ::sigprocmask(SIG_BLOCK, &signals, &before);
    ::fcntl(heir, F_SETFD, 0);
    ::fcntl(memory, F_SETFD, 0);
    const int error = platform::replaceProcess(program, ownArguments(), {{variable, left}});
    ::sigprocmask(SIG_SETMASK, &before, nullptr);
    return failure("it cannot be run", error);
}

}  // namespace host
