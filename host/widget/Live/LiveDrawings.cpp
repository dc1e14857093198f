// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/LiveDrawings.hpp"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <chrono>
#include <exception>
#include <utility>

#include "host/protocol/DrawingRequestCoding.hpp"
#include "platform/JSON/JSONSerialization.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

/// The same for requests that are drawn alike.
std::string keyOf(const widget::DrawingRequest& request) {
    auto object = drawingRequestObject(request);
    object.erase("entry");
    object["family"] = platform::description(request.family);
    return platform::JSONSerialization::dataWithJSONObject(object);
}

/// As for who waits for all of its pictures.
widget::DrawingRequest patient(widget::DrawingRequest request) {
    request.pictureBudget.reset();
    return request;
}

}  // namespace

struct LiveDrawings::Drawing {
    explicit Drawing(const asio::any_io_executor& executor, std::uint64_t shown)
        : ready(executor, asio::steady_timer::time_point::max()), version(shown) {}

    asio::steady_timer ready;
    std::uint64_t version;
    bool isReady = false;
    /// Pictures may be missing that come for somebody with more patience.
    bool isHurried = false;
    std::string bytes;
    std::exception_ptr failure;
};

LiveDrawings::LiveDrawings(const asio::any_io_executor& executor, LiveHost& host, LiveExtension& extension)
    : executor_(executor),
      host_(host),
      extension_(extension),
      turn_(executor, asio::steady_timer::time_point::max()) {
    observation_ = host_.observe([this](const LiveState&, LiveHost::Change) { drawings_.clear(); });
}

std::shared_ptr<LiveDrawings::Drawing> LiveDrawings::kept(const std::string& key) const {
    const auto found = drawings_.find(key);
    return found == drawings_.end() ? nullptr : found->second;
}

asio::awaitable<std::string> LiveDrawings::drawn(widget::DrawingRequest request) {
    const auto key = keyOf(request);
    const auto wholeKey = keyOf(patient(request));
    while (true) {
        auto drawing = kept(wholeKey);
        if (!drawing || !drawing->isReady) drawing = kept(key);
        if (drawing && !drawing->isReady) {
            boost::system::error_code ignored;
            co_await drawing->ready.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        } else if (!drawing) {
            drawing = std::make_shared<Drawing>(executor_, host_.version());
            drawings_[key] = drawing;
            co_await make(drawing, request);
            if (kept(key) == drawing) {
                drawings_.erase(key);
                keep(wholeKey, drawing);
            }
        }
        // What was shown when it was begun may be somebody else's by now.
        if (drawing->version != host_.version()) continue;
        if (drawing->failure) std::rethrow_exception(drawing->failure);
        co_return drawing->bytes;
    }
}

/// Whether the extension was left while it drew, which is no fault of the drawing's.
asio::awaitable<bool> LiveDrawings::isLeftOver(std::shared_ptr<Drawing> drawing,
                                               widget::DrawingRequest request) {
    drawing->failure = nullptr;
    try {
        drawing->bytes = co_await extension_.draw(std::move(request));
    } catch (const ExtensionLeft&) {
        drawing->failure = std::current_exception();
        co_return true;
    } catch (...) {
        drawing->failure = std::current_exception();
    }
    co_return false;
}

/// The extension draws one after another of those that wait for their pictures, and would seem to hang to
/// the last of them.
asio::awaitable<void> LiveDrawings::takeTurn() {
    boost::system::error_code ignored;
    while (isTurnTaken_) co_await turn_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    isTurnTaken_ = true;
}

void LiveDrawings::endTurn() {
    isTurnTaken_ = false;
    turn_.cancel_one();
}

asio::awaitable<void> LiveDrawings::make(std::shared_ptr<Drawing> drawing, widget::DrawingRequest request) {
    request.entry = host_.state().entry;
    // Samples are not to be taken for parcels.
    if (host_.state().isPlaceholder) request.appearance.redaction = drawing::Redaction::placeholder;
    const bool mayBePictures = request.format != widget::DrawingFormat::text && namesPictures(request.entry);
    const bool mayTakeLong = mayBePictures && !request.pictureBudget;
    if (mayTakeLong) co_await takeTurn();
    const auto start = std::chrono::steady_clock::now();
    // What changed before its turn nobody wants any more. One that goes with the zone that it had is of what
    // is shown still: another draws it.
    bool isLeft = true;
    for (int attempt = 0; attempt < 2 && isLeft && drawing->version == host_.version(); ++attempt)
        isLeft = co_await isLeftOver(drawing, request);
    if (mayTakeLong) endTurn();
    const auto spent = std::chrono::steady_clock::now() - start;
    drawing->isHurried = mayBePictures && request.pictureBudget && spent >= *request.pictureBudget;
    drawing->isReady = true;
    drawing->ready.cancel();
}

/// A failure is told to who waits for it, and the next to ask may have more luck.
void LiveDrawings::keep(const std::string& key, const std::shared_ptr<Drawing>& drawing) {
    if (drawing->failure || drawing->isHurried || kept(key) || drawing->bytes.size() > mostKept) return;
    std::size_t held = drawing->bytes.size();
    for (const auto& [name, other] : drawings_) held += other->bytes.size();
    if (held > mostKept) std::erase_if(drawings_, [](const auto& each) { return each.second->isReady; });
    drawings_[key] = drawing;
}

}  // namespace host
