#include "platform/UserDefaults/FileUserDefaults.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Files/TrustedFolder.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Log/Logger.hpp"

namespace platform {
namespace {

constexpr const char* fileName = "preferences.json";
// One name suffices: whoever writes it holds the folder's lock, and what a killed writer left is overwritten.
constexpr const char* temporaryFileName = ".preferences.json.new";
constexpr std::chrono::seconds patience{2};

[[noreturn]] void fail(const std::string& what, int error) {
    throw UserDefaultsError(what + ": " + std::generic_category().message(error));
}

std::string contents(const Descriptor& descriptor) {
    struct stat found = {};
    if (::fstat(descriptor, &found) != 0) fail("the preferences cannot be read", errno);
    if (static_cast<std::size_t>(found.st_size) > FileUserDefaults::maximumFileSize) {
        throw UserDefaultsError("the preferences are larger than 4 MiB");
    }
    std::string text(static_cast<std::size_t>(found.st_size), '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const ssize_t count = ::read(descriptor, text.data() + size, text.size() - size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail("the preferences cannot be read", errno);
        if (count == 0) break;
        size += static_cast<std::size_t>(count);
    }
    text.resize(size);
    return text;
}

// Never quotes the text: it may hold what is nobody else's business.
boost::json::object parse(const std::string& text) {
    try {
        boost::json::value value = JSONSerialization::JSONObjectWithData(text);
        if (value.is_object()) return std::move(value.get_object());
    } catch (const JSONError&) {
    }
    throw UserDefaultsError("the preferences are not a JSON object");
}

boost::json::object load(const TrustedFolder& folder) {
    const auto file = folder.openFile(fileName, TrustedFolder::Others::mayRead);
    return file ? parse(contents(*file)) : boost::json::object();
}

// Held until the folder's descriptor is closed. The lock is on the folder, because the file itself is
// replaced.
void lock(const Descriptor& folder) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (::flock(folder, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) fail("the preferences' folder cannot be locked", errno);
        if (std::chrono::steady_clock::now() >= deadline) {
            throw UserDefaultsError("another program keeps the preferences locked");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

void writeWhole(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail("the preferences cannot be written", errno);
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    if (::fsync(descriptor) != 0) fail("the preferences cannot be written", errno);
}

void replaceFile(const Descriptor& folder, std::string_view text) {
    ::unlinkat(folder, temporaryFileName, 0);
    const Descriptor file(
        ::openat(folder, temporaryFileName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.isOpen()) fail("the preferences cannot be written", errno);
    try {
        writeWhole(file, text);
        if (::renameat(folder, temporaryFileName, folder, fileName) != 0) {
            fail("the preferences cannot be replaced", errno);
        }
    } catch (...) {
        ::unlinkat(folder, temporaryFileName, 0);
        throw;
    }
    if (::fsync(folder) != 0) fail("the preferences cannot be written", errno);
}

// What could not be read again must not be written: too large, too deep, a number that JSON does not have.
std::string textOf(const boost::json::object& values) {
    try {
        std::string text = JSONSerialization::dataWithJSONObject(values, JSONKeyOrder::asStored);
        if (text.size() > FileUserDefaults::maximumFileSize)
            throw UserDefaultsError("the preferences would be too large");
        parse(text);
        return text;
    } catch (const JSONError&) {
        throw UserDefaultsError("the value cannot be kept as JSON");
    }
}

void change(const TrustedFolder& folder, const std::function<bool(boost::json::object&)>& edit) {
    lock(folder.descriptor());
    boost::json::object values = load(folder);
    if (edit(values)) replaceFile(folder.descriptor(), textOf(values));
}

/// FileError says it in words of its own; to the suite's user it is the suite that cannot be used.
template <typename Work>
auto inWords(Work work) {
    try {
        return work();
    } catch (const FileError& error) {
        throw UserDefaultsError(error.what());
    }
}

}  // namespace

FileUserDefaults::FileUserDefaults(std::filesystem::path folder) : folder_(std::move(folder)) {
    inWords([&] { return TrustedFolder::open(folder_).has_value(); });
}

boost::json::object FileUserDefaults::loaded() const {
    return inWords([&] {
        const auto folder = TrustedFolder::open(folder_);
        return folder ? load(*folder) : boost::json::object();
    });
}

boost::json::object FileUserDefaults::read() const {
    try {
        return loaded();
    } catch (const UserDefaultsError& error) {
        if (!hasComplained_.exchange(true)) Logger::standard().log(LogLevel::error, "%s", {{error.what()}});
        return {};
    }
}

void FileUserDefaults::requireReadable() const {
    loaded();
}

std::optional<boost::json::value> FileUserDefaults::objectForKey(std::string_view key) const {
    const boost::json::object values = read();
    const boost::json::value* value = values.if_contains(key);
    return value ? std::optional(*value) : std::nullopt;
}

void FileUserDefaults::setObject(std::string_view key, const boost::json::value& value) {
    inWords([&] {
        change(TrustedFolder::make(folder_), [&](boost::json::object& values) {
            values.insert_or_assign(key, value);
            return true;
        });
    });
}

void FileUserDefaults::removeObject(std::string_view key) {
    inWords([&] {
        if (const auto folder = TrustedFolder::open(folder_))
            change(*folder, [&](boost::json::object& values) { return values.erase(key) > 0; });
    });
}

}  // namespace platform
