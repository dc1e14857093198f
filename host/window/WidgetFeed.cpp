// SPDX-License-Identifier: Apache-2.0

#include "host/window/WidgetFeed.hpp"

#include <signal.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "host/reader/LinkOpener.hpp"
#include "host/reader/LiveHostClient.hpp"
#include "host/reader/LiveRemark.hpp"
#include "host/reader/ShownState.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/Asio/GrowingPause.hpp"
#include "platform/Streams/Deadline.hpp"
#include "presentation/DeepLink.hpp"

namespace host {

namespace asio = boost::asio;
using std::chrono::milliseconds;

namespace {

/// So long a drawing waits for its pictures at first: less than a person does, and long enough for those
/// that the extension remembers or that are near.
constexpr milliseconds shortBudget(500);
bool showsPackages(const LiveState& state) {
    return !state.isPlaceholder && std::holds_alternative<widget::LoggedIn>(state.entry.widgetState);
}

/// Signals are for the window's thread to hear.
class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t before_ = {};
};

}  // namespace

class WidgetFeed::Worker {
  public:
    Worker(std::filesystem::path program, Post post, Listener listener)
        : post_(std::move(post)),
          listener_(std::make_shared<Listener>(std::move(listener))),
          client_(std::make_shared<LiveHostClient>(context_.get_executor(),
                                                   LiveHostClient::Options{.program = std::move(program)})),
          retry_(context_.get_executor(), [this] { redraw(); }),
          opener_(context_.get_executor(), [this](bool isOpen) {
              if (!isOpen) remark("The link could not be opened");
          }) {
        platform::requireTimers(context_);
        platform::spawn(context_, follow(), [this](const std::exception_ptr& failure) { lose(failure); });
        const BlockedSignals blocked;
        thread_ = std::thread([this] { context_.run(); });
    }

    ~Worker() {
        // No call that is on its way finds it any more.
        listener_.reset();
        context_.stop();
        thread_.join();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    template <typename Act>
    void call(Act act) {
        asio::post(context_, std::move(act));
    }

    void want(const WantedDrawing& wanted) {
        if (wanted_ == wanted) return;
        wanted_ = wanted;
        redraw();
    }

    /// A key that is held down asks once.
    void reload() {
        if (std::exchange(isReloading_, true)) return;
        platform::spawn(context_, reloaded(), [this](const std::exception_ptr&) {
            isReloading_ = false;
            remark("The live host gave no answer");
        });
    }

    void open(const std::string& link, const std::string& token) { opener_.open(link, token); }

  private:
    /// Has the listener hear of it, unless it has gone by then.
    template <typename Tell>
    void tell(Tell tell) {
        post_([heard = std::weak_ptr(heard_), tell = std::move(tell)] {
            if (const auto listener = heard.lock()) tell(*listener);
        });
    }

    asio::awaitable<void> follow() {
        const std::function<void(const LiveState&)> onState = [this](const LiveState& state) { take(state); };
        const std::function<void(std::string_view)> onGap = [this](std::string_view why) { miss(why); };
        co_await client_->follow(onState, onGap);
    }

    asio::awaitable<void> reloaded() {
        const auto state = co_await client_->reload();
        isReloading_ = false;
        take(state);
    }

    void take(const LiveState& state) {
        const bool hadPackages = showsPackages(shown_.state());
        shown_.take(state);
        if (hadPackages && !showsPackages(shown_.state())) empty();
        remark(liveRemark(shown_.state(), platform::Date::now()).value_or(""));
        isKnown_ = true;
        redraw();
    }

    void miss(std::string_view why) {
        const bool hadPackages = showsPackages(shown_.state());
        shown_.lose(platform::Date::now());
        if (hadPackages && !showsPackages(shown_.state())) empty();
        const auto words = liveRemark(shown_.state(), platform::Date::now());
        remark(words.value_or(std::string(why)));
    }

    void empty() {
        latest_ = nullptr;
        tell([](const Listener& listener) { listener.onEmptied(); });
    }

    void remark(const std::string& words) {
        if (std::exchange(remark_, words) == words) return;
        tell([words](const Listener& listener) { listener.onRemark(words); });
    }

    void lose(const std::exception_ptr& failure) {
        try {
            std::rethrow_exception(failure);
        } catch (const std::exception& error) {
            tell([why = std::string(error.what())](const Listener& listener) { listener.onLost(why); });
        }
    }

    void redraw() {
        if (!wanted_ || !isKnown_) return;
        retry_.clear();
        if (const auto before = std::exchange(patient_, nullptr)) before->close();
        isStale_ = true;
        if (std::exchange(isDrawing_, true)) return;
        platform::spawn(context_, keepDrawn(), [this](const std::exception_ptr&) {
            isDrawing_ = false;
            retry_.set(retryPause_.next());
        });
    }

    asio::awaitable<void> keepDrawn() {
        bool isHurried = false;
        while (std::exchange(isStale_, false)) {
            const platform::Deadline pictures(shortBudget);
            co_await draw(client_, shortBudget);
            isHurried = pictures.rest().count() == 0;
        }
        isDrawing_ = false;
        retryPause_.reset();
        if (isHurried && widget::namesPictures(shown_.state().entry)) awaitPictures();
    }

    /// It is drawn again with those that take as long as the host waits.
    void awaitPictures() {
        patient_ = std::make_shared<LiveHostClient>(
            context_.get_executor(), LiveHostClient::Options{.ifMissing = LiveHostClient::IfMissing::leave});
        platform::spawn(context_, draw(patient_, std::nullopt), [](const std::exception_ptr&) {});
    }

    /// Of what became different meanwhile nothing is shown.
    asio::awaitable<void> draw(std::shared_ptr<LiveHostClient> client, std::optional<milliseconds> budget) {
        const auto wanted = *wanted_;
        auto request = drawingRequest(wanted, widget::DrawingFormat::png);
        request.pictureBudget = budget;
        const auto png = co_await client->draw(request);
        // What has not come for the picture is not waited for again.
        if (budget) request.pictureBudget = milliseconds(0);
        request.format = widget::DrawingFormat::tree;
        const auto tree = co_await client->draw(request);
        request.format = widget::DrawingFormat::text;
        const auto text = co_await client->draw(request);
        if (isStale_ || (client != client_ && client != patient_)) co_return;
        auto picture = widgetPicture(png);
        if (!picture) throw LiveHostError("the live host's drawing cannot be read");
        auto shown = std::make_shared<const ShownWidget>(
            ShownWidget{wanted, *std::move(picture), widgetContent(tree, text, wholeLink())});
        if (latest_ && *latest_ == *shown) co_return;
        latest_ = shown;
        tell([shown](const Listener& listener) { listener.onShown(shown); });
    }

    /// Where there is nothing to open but the app, it is opened, as by a tap on any widget.
    std::optional<std::string> wholeLink() const {
        if (!isSignedOut(shown_.state())) return std::nullopt;
        return presentation::DeepLink::homeOrders().absoluteString();
    }

    asio::io_context context_{1};
    /// What is called may come at any time.
    asio::executor_work_guard<asio::io_context::executor_type> guard_{context_.get_executor()};
    Post post_;
    std::shared_ptr<Listener> listener_;
    /// For the feed's thread to give on, while `listener_` is the window's to take away.
    std::weak_ptr<Listener> heard_ = listener_;
    std::shared_ptr<LiveHostClient> client_;
    /// Asks for a picture that may take long: to a connection the host gives one answer after another.
    std::shared_ptr<LiveHostClient> patient_;
    ShownState shown_;
    std::optional<WantedDrawing> wanted_;
    /// The window holds it as well.
    std::shared_ptr<const ShownWidget> latest_;
    std::string remark_;
    bool isKnown_ = false;
    bool isStale_ = false;
    bool isDrawing_ = false;
    bool isReloading_ = false;
    platform::GrowingPause retryPause_;
    platform::Alarm retry_;
    LinkOpener opener_;
    std::thread thread_;
};

WidgetFeed::WidgetFeed(std::filesystem::path program, Post post, Listener listener)
    : worker_(std::make_unique<Worker>(std::move(program), std::move(post), std::move(listener))) {}

WidgetFeed::~WidgetFeed() = default;

void WidgetFeed::want(const WantedDrawing& wanted) {
    worker_->call([worker = worker_.get(), wanted] { worker->want(wanted); });
}

void WidgetFeed::reload() {
    worker_->call([worker = worker_.get()] { worker->reload(); });
}

void WidgetFeed::open(const std::string& link, const std::string& activationToken) {
    worker_->call([worker = worker_.get(), link, activationToken] { worker->open(link, activationToken); });
}

}  // namespace host
