// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Notifications/Notifications.hpp"

#include <string>
#include <utility>

#include "platform/Asio/Coroutines.hpp"
#include "platform/Files/FileReplacement.hpp"
#include "platform/Files/Reading.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Log/Logger.hpp"

namespace host {

using platform::TrustedFolder;

namespace {

// Ten packages with all that can be told of them take a tenth of it.
constexpr std::size_t longestMemory = 65536;

/// Nothing where it cannot be read, or was not written by us.
std::string contentsOf(const platform::Descriptor& file) {
    const auto text = platform::readUpTo(file, longestMemory);
    return text && text->size() <= longestMemory ? *text : std::string();
}

void complain(const std::exception& failure) {
    platform::Logger::standard().log(platform::LogLevel::info, "what was told cannot be remembered: %s",
                                     {{failure.what()}});
}

void noteEnd(bool isOpen) {
    if (!isOpen)
        platform::Logger::standard().log(platform::LogLevel::error, "a notification's link cannot be opened",
                                         {});
}

}  // namespace

Notifications::Notifications(const boost::asio::any_io_executor& executor, std::filesystem::path folder,
                             IsWanted isWanted, HasPlace hasPlace)
    : executor_(executor),
      folder_(std::move(folder)),
      isWanted_(std::move(isWanted)),
      hasPlace_(std::move(hasPlace)),
      opener_(executor, noteEnd) {
    load();
}

void Notifications::take(const LiveState& state, LiveHost::Change change) {
    if (change == LiveHost::Change::forgotten) forget();
    const auto before = rules_.memory();
    auto notices = rules_.take(state);
    // Nobody is asked while there is nothing to tell.
    if (notices.empty()) {
        if (isRemembering_ && rules_.memory() != before) save();
        return;
    }
    platform::spawn(executor_, tell(std::move(notices)), [](const std::exception_ptr&) {});
}

boost::asio::awaitable<void> Notifications::tell(std::vector<Notice> notices) {
    const auto life = std::weak_ptr(life_);
    const bool isWanted = co_await isWanted_();
    if (life.expired() || !hasPlace_()) co_return;
    isRemembering_ = isWanted;
    if (!isWanted) {
        removeMemory();
        co_return;
    }
    save();
    if (!notifier_)
        notifier_ = std::make_unique<DesktopNotifier>(
            executor_,
            [this](const std::string& link, const std::string& token) { opener_.open(link, token); });
    for (const auto& notice : notices) notifier_->show(notice);
}

void Notifications::forget() {
    life_ = std::make_shared<const int>(0);
    rules_.forget();
    if (notifier_) notifier_->withdrawAll();
    isRemembering_ = false;
    removeMemory();
}

/// What lies in a place that was lost is another's.
void Notifications::removeMemory() const {
    if (hasPlace_()) ::unlink((folder_ / fileName).c_str());
}

void Notifications::load() {
    try {
        const auto folder = TrustedFolder::open(folder_);
        const auto file =
            folder ? folder->openFile(fileName, TrustedFolder::Others::mayDoNothing) : std::nullopt;
        isRemembering_ = file.has_value();
        if (file) rules_.remember(platform::JSONSerialization::JSONObjectWithData(contentsOf(*file)));
    } catch (const platform::FileError& error) {
        complain(error);
    } catch (const platform::JSONError&) {
        // One that cannot be read is none: the next look is the first.
    }
}

void Notifications::save() const {
    if (!hasPlace_()) return;
    try {
        const auto folder = TrustedFolder::make(folder_);
        const auto text = platform::JSONSerialization::dataWithJSONObject(rules_.memory());
        platform::FileReplacement memory(folder.descriptor(), folder_ / fileName,
                                         HostClaim::notificationsTemporaryName, text);
        // Who took the place away has removed what is half-written as well.
        if (hasPlace_()) memory.commit();
    } catch (const platform::FileError& error) {
        complain(error);
    }
}

}  // namespace host
