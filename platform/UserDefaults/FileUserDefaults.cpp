// SPDX-License-Identifier: Apache-2.0

#include "platform/UserDefaults/FileUserDefaults.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Files/FileReplacement.hpp"
#include "platform/Files/Patience.hpp"
#include "platform/Files/Reading.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Log/Logger.hpp"

namespace platform {
namespace {

constexpr const char* fileName = FileUserDefaults::fileName;
// One name each suffices: whoever writes them holds the folder's lock, and removes what a killed writer left.
constexpr const char* newFileName = ".preferences.json.new";
constexpr const char* withdrawnFileName = ".preferences.json.withdrawn";
constexpr const char* formerFileName = ".preferences.json.former";
constexpr Patience patience = {.inAll = std::chrono::seconds(2), .pause = std::chrono::milliseconds(2)};

[[noreturn]] void fail(const std::string& what, int error) {
    throw UserDefaultsError(what + ": " + std::generic_category().message(error));
}

std::string contents(const Descriptor& descriptor) {
    std::optional<std::string> text = readUpTo(descriptor, FileUserDefaults::maximumFileSize);
    if (!text) fail("the preferences cannot be read", errno);
    if (text->size() > FileUserDefaults::maximumFileSize)
        throw UserDefaultsError("the preferences are larger than 4 MiB");
    return *std::move(text);
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

// Nobody queues for the lock: who writes one value after another leaves a moment in which those look for it
// who wait, or on a slow disk they would find it taken for longer than their patience.
void letOthersGoFirst() {
    using Clock = std::chrono::steady_clock;
    static std::atomic<Clock::time_point> latest = Clock::time_point::min();
    const auto now = Clock::now();
    if (latest.exchange(now) > now - std::chrono::seconds(10))
        std::this_thread::sleep_for(2 * patience.pause);
}

// Held until the folder's descriptor is closed. The lock is on the folder, because the file itself is
// replaced.
void lock(const Descriptor& folder) {
    letOthersGoFirst();
    const bool isLocked = patience.suffices([&] {
        if (::flock(folder, LOCK_EX | LOCK_NB) == 0) return true;
        if (errno != EWOULDBLOCK && errno != EINTR) fail("the preferences' folder cannot be locked", errno);
        return false;
    });
    if (!isLocked) throw UserDefaultsError("another program keeps the preferences locked");
    for (const char* leftover : {newFileName, withdrawnFileName, formerFileName})
        ::unlinkat(folder, leftover, 0);
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
    if (!edit(values)) return;
    FileReplacement(folder.descriptor(), folder.path() / fileName, newFileName, textOf(values)).commit();
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

class Replacement : public UserDefaultsReplacement {
  public:
    Replacement(TrustedFolder folder, std::string_view key, const std::optional<boost::json::value>& value)
        : folder_(std::move(folder)) {
        lock(folder_.descriptor());
        boost::json::object values = load(folder_);
        if (values.contains(key)) {
            prepare(former_, formerFileName, values);
            values.erase(key);
            prepare(withdrawn_, withdrawnFileName, values);
        }
        if (!value) return;
        values.insert_or_assign(key, *value);
        prepare(new_, newFileName, values);
    }
    ~Replacement() override {
        if (!isWithdrawn_ || isCommitted_) return;
        try {
            former_->commit();
        } catch (const FileError&) {
            // There is nobody to tell: the one who withdrew it has failed.
        }
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    void withdraw() override {
        if (!withdrawn_) return;
        isWithdrawn_ = true;
        inWords([&] { withdrawn_->commit(); });
    }
    void commit() override {
        if (!new_ && !isWithdrawn_) withdraw();
        isCommitted_ = true;
        if (new_) inWords([&] { new_->commit(); });
    }

  private:
    void prepare(std::optional<FileReplacement>& file, const char* name, const boost::json::object& values) {
        file.emplace(folder_.descriptor(), folder_.path() / fileName, name, textOf(values));
    }

    TrustedFolder folder_;
    std::optional<FileReplacement> former_;
    std::optional<FileReplacement> withdrawn_;
    std::optional<FileReplacement> new_;
    bool isWithdrawn_ = false;
    bool isCommitted_ = false;
};

/// Of a suite that is not there, in which nothing is to be.
struct NoReplacement : UserDefaultsReplacement {
    void withdraw() override {}
    void commit() override {}
};

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

std::unique_ptr<UserDefaultsReplacement> FileUserDefaults::prepareReplacement(
    std::string_view key, const std::optional<boost::json::value>& value) {
    return inWords([&]() -> std::unique_ptr<UserDefaultsReplacement> {
        auto folder = value ? std::optional(TrustedFolder::make(folder_)) : TrustedFolder::open(folder_);
        if (!folder) return std::make_unique<NoReplacement>();
        return std::make_unique<Replacement>(*std::move(folder), key, value);
    });
}

}  // namespace platform
