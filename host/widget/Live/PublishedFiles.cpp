// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/PublishedFiles.hpp"

#include <exception>
#include <utility>

#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/HostFiles.hpp"
#include "host/protocol/LiveCoding.hpp"
#include "host/widget/JSONLine.hpp"
#include "host/widget/Panel/PanelContent.hpp"
#include "host/widget/Readers/LiveTerminalView.hpp"
#include "platform/Asio/Coroutines.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

/// All but the entry, which has a file of its own.
boost::json::object stateWithoutEntry(const LiveState& state) {
    auto object = liveStateObject(state);
    object.erase("entry");
    return object;
}

widget::DrawingRequest drawingFor(const PictureFile& file, const LiveState& state) {
    widget::DrawingRequest request = {.entry = state.entry, .family = file.family};
    request.colorScheme = file.colorScheme;
    request.scale = file.scale;
    return request;
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
}

void PublishedFiles::take(LiveHost::Change change) {
    // The pictures that come in their place take a moment, which is too long.
    if (change == LiveHost::Change::forgotten)
        for (auto& folder : folders_) folder.removePictures([](const std::string&) { return false; });
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

asio::awaitable<void> PublishedFiles::drawAll() {
    while (std::exchange(isDrawingDue_, false)) {
        for (const auto& picture : wanted()) {
            try {
                auto bytes = co_await drawings_.drawn(drawingFor(picture, host_.state()));
                if (!wanted().contains(picture)) continue;
                for (auto& folder : folders_) write(folder, picture.name(), bytes);
            } catch (const std::exception&) {
                // The picture from before stays.
            }
            if (isDrawingDue_) break;
        }
    }
    isDrawing_ = false;
}

}  // namespace host
