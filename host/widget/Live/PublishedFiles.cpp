// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/PublishedFiles.hpp"

#include <exception>
#include <functional>
#include <utility>

#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/HostFiles.hpp"
#include "host/protocol/LiveCoding.hpp"
#include "host/widget/JSONLine.hpp"
#include "host/widget/Panel/PanelContent.hpp"
#include "host/widget/Readers/LiveTerminalView.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Streams/Deadline.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

/// All but the entry, which has a file of its own, and what is for readers that outlive their host.
boost::json::object stateWithoutEntry(const LiveState& state) {
    auto object = liveStateObject(state);
    object.erase("entry");
    object.erase("keychain");
    return object;
}

/// So long a picture file waits at first for pictures of its packages, all files together.
constexpr std::chrono::milliseconds shortBudget(500);

/// Others for an entry that is drawn otherwise: its date is not drawn.
std::size_t wordsOf(const LiveState& state) {
    auto object = entryObject(state.entry);
    object.erase("date");
    return std::hash<std::string>()(jsonLine(object) + (state.isPlaceholder ? "placeholder" : ""));
}

}  // namespace

PublishedFiles::PublishedFiles(asio::any_io_executor executor, LiveHost& host, LiveDrawings& drawings,
                               std::vector<RuntimeFolder> folders, std::vector<PictureFile> always,
                               std::chrono::milliseconds untilNextTry)
    : executor_(std::move(executor)),
      host_(host),
      drawings_(drawings),
      folders_(std::move(folders)),
      untilNextTry_(untilNextTry),
      nextTry_(executor_) {
    wants_[nullptr] = std::move(always);
    observation_ = host_.observe([this](const LiveState&, LiveHost::Change change) { take(change); });
    take(LiveHost::Change::replaced);
}

void PublishedFiles::want(Reader reader, std::vector<PictureFile> pictures) {
    wants_[reader] = std::move(pictures);
    removeUnwanted();
    startDrawing();
}

void PublishedFiles::release(Reader reader) {
    if (wants_.erase(reader) > 0) removeUnwanted();
}

std::set<PictureFile> PublishedFiles::wanted() const {
    std::set<PictureFile> all;
    for (const auto& [reader, pictures] : wants_) all.insert(pictures.begin(), pictures.end());
    return all;
}

void PublishedFiles::removeUnwanted() {
    std::set<std::string> names;
    for (const auto& picture : wanted()) names.insert(picture.name());
    for (auto& folder : folders_)
        folder.removePictures([&](const std::string& name) { return names.contains(name); });
    std::erase_if(words_, [&](const auto& each) { return !names.contains(each.first.name()); });
}

void PublishedFiles::take(LiveHost::Change change) {
    // The pictures that come in their place take a moment, which is too long.
    if (change == LiveHost::Change::forgotten) {
        for (auto& folder : folders_) folder.removePictures([](const std::string&) { return false; });
        words_.clear();
    }
    writeTexts(change);
    startDrawing();
}

void PublishedFiles::writeTexts(LiveHost::Change change) {
    const auto& state = host_.state();
    // A script that reads an entry would take samples for parcels.
    if (state.isPlaceholder) {
        for (auto& folder : folders_) folder.remove(HostFiles::entry);
    } else {
        write(HostFiles::entry, jsonLine(entryObject(state.entry)), change);
    }
    write(HostFiles::state, jsonLine(stateWithoutEntry(state)), change);
    write(HostFiles::panel, jsonLine(panelObject(state, platform::Date::now())), change);
    write(HostFiles::text, liveTerminalView(state, TerminalStyle(), platform::Date::now()), change);
}

void PublishedFiles::write(const std::string& name, std::string_view bytes, LiveHost::Change change) {
    for (auto& folder : folders_)
        if (!write(folder, name, bytes) && change == LiveHost::Change::forgotten) folder.remove(name);
}

bool PublishedFiles::write(RuntimeFolder& folder, const std::string& name, std::string_view bytes) {
    const bool isWritten = folder.write(name, bytes);
    if (!isWritten) tryAgainLater();
    return isWritten;
}

void PublishedFiles::tryAgainLater() {
    if (std::exchange(isNextTryDue_, true)) return;
    nextTry_.expires_after(untilNextTry_);
    nextTry_.async_wait([this](const boost::system::error_code& error) {
        if (error) return;
        isNextTryDue_ = false;
        take(LiveHost::Change::replaced);
    });
}

void PublishedFiles::startDrawing() {
    isDrawingDue_ = true;
    if (std::exchange(isDrawing_, true)) return;
    platform::spawn(executor_, drawAll(), [this](const std::exception_ptr&) { isDrawing_ = false; });
}

/// Without those pictures of the packages that do not come at once: the words are not to wait for them.
asio::awaitable<void> PublishedFiles::drawAll() {
    while (std::exchange(isDrawingDue_, false)) {
        const platform::Deadline pictures(shortBudget);
        const bool areAwaited = widget::namesPictures(host_.state().entry);
        for (const auto& picture : wanted()) {
            if (isDrawingDue_) break;
            if (!areAwaited || !showsWords(picture)) co_await draw(picture, pictures.rest());
        }
        if (areAwaited && !isDrawingDue_) awaitPictures();
    }
    isDrawing_ = false;
}

/// Beside that, as a picture may take long in whose time the words become others.
void PublishedFiles::awaitPictures() {
    arePicturesDue_ = true;
    if (std::exchange(isAwaitingPictures_, true)) return;
    platform::spawn(executor_, drawWhole(),
                    [this](const std::exception_ptr&) { isAwaitingPictures_ = false; });
}

asio::awaitable<void> PublishedFiles::drawWhole() {
    while (std::exchange(arePicturesDue_, false)) {
        for (const auto& picture : wanted()) {
            if (arePicturesDue_) break;
            co_await draw(picture, std::nullopt);
        }
    }
    isAwaitingPictures_ = false;
}

asio::awaitable<void> PublishedFiles::draw(PictureFile picture,
                                           std::optional<std::chrono::milliseconds> budget) {
    try {
        auto request = picture.request(host_.state().entry);
        request.pictureBudget = budget;
        const auto bytes = co_await drawings_.drawn(std::move(request));
        if (!wanted().contains(picture)) co_return;
        for (auto& folder : folders_) write(folder, picture.name(), bytes);
        words_[picture] = wordsOf(host_.state());
    } catch (const std::exception&) {
        // The picture from before stays.
    }
}

/// Then nothing is to be had by another that lacks pictures which this one may have.
bool PublishedFiles::showsWords(const PictureFile& picture) const {
    const auto found = words_.find(picture);
    return found != words_.end() && found->second == wordsOf(host_.state());
}

}  // namespace host
