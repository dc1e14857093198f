// SPDX-License-Identifier: Apache-2.0

#include "host/page/Page.hpp"

#include <functional>
#include <utility>

#include "platform/Asio/Coroutines.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace asio = boost::asio;
using drawing::ColorScheme;
using platform::HTTPRequest;
using platform::HTTPResponse;

namespace {

/// What a lock screen writes in, on the ground that the page gives it.
constexpr std::string_view lockScreenTint = "#FFFFFF";

/// How long a document waits for the pictures of its drawings, all together: less than a person does.
constexpr std::chrono::milliseconds pictureBudget(500);
/// How soon those that it went without are waited for again.
constexpr std::chrono::milliseconds pauseBetweenWaits = std::chrono::minutes(1);

/// A state that changes while it is drawn is drawn again, so often at most.
constexpr int mostAttempts = 4;

LiveHostClient::Options withoutStarting(LiveHostClient::Options options) {
    options.ifMissing = LiveHostClient::IfMissing::leave;
    return options;
}

HTTPResponse missing() {
    return pageResponse(404, "text/plain; charset=utf-8", "There is nothing here.\n");
}

widget::DrawingRequest requestFor(platform::WidgetFamily family, ColorScheme scheme,
                                  const PageChoices& choices) {
    return {.entry = {platform::Date::now(), widget::NotLoggedIn()},
            .family = family,
            .colorScheme = scheme,
            .appearance = choices.appearance(),
            .format = widget::DrawingFormat::svg};
}

}  // namespace

Page::Page(asio::any_io_executor executor, Options options)
    : executor_(std::move(executor)),
      options_(std::move(options)),
      client_(executor_, options_.client),
      patient_(executor_, withoutStarting(options_.client)) {}

asio::awaitable<void> Page::follow() {
    const std::function<void(const LiveState&)> onState = [this](const LiveState& state) {
        shown_.take(state);
        waits_.clear();
        show();
        noteBegun();
    };
    const std::function<void(std::string_view)> onGap = [this](std::string_view why) {
        const auto before = shown_.state().asOf;
        shown_.lose(platform::Date::now());
        if (shown_.state().asOf != before) show();
        if (why != complaint_) platform::printError("vela-widget", why);
        complaint_ = why;
        noteBegun();
    };
    co_await client_.follow(onState, onGap);
}

void Page::noteBegun() {
    if (const auto onBegun = std::exchange(options_.onBegun, nullptr)) onBegun();
}

void Page::close() {
    client_.close();
    patient_.close();
    for (const auto& stream : streams_) stream->end();
}

void Page::show() {
    ++revision_;
    std::erase_if(streams_, [](const auto& stream) { return stream->hasEnded(); });
    for (const auto& stream : streams_) stream->send("state", stateEvent());
}

/// What a browser has to know before it asks for the rest: whether what it shows has to go at once.
std::string Page::stateEvent() const {
    return "{\"holdsPackages\":" + std::string(holdsPackages(shown_.state()) ? "true" : "false") +
           ",\"revision\":" + std::to_string(revision_) + "}";
}

asio::awaitable<HTTPResponse> Page::answer(HTTPRequest request) {
    if (auto refusal = options_.door.refusal(request)) co_return std::move(*refusal);
    const auto name = *options_.door.pathWithin(request.path());
    const auto choices = PageChoices::fromQuery(request.query());
    if (request.method == "POST") {
        if (name != "reload") co_return missing();
        co_return co_await reload(choices);
    }
    if (name.empty()) co_return co_await document(choices);
    if (name == "events") co_return events();
    auto file = options_.files.file(name);
    if (!file) co_return missing();
    co_return pageResponse(200, file->contentType, std::move(file->bytes));
}

asio::awaitable<HTTPResponse> Page::document(PageChoices choices) {
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        const auto revision = revision_;
        const platform::Deadline pictures(pictureBudget);
        auto widgets = co_await drawnWidgets(choices, pictures);
        // What was shown when it was begun may be somebody else's by now.
        if (revision != revision_) continue;
        if (pictures.rest().count() == 0) fetchPictures(choices);
        const PageContents contents = {
            .state = shown_.state(), .revision = revision, .choices = choices, .widgets = std::move(widgets)};
        co_return pageResponse(200, "text/html; charset=utf-8",
                               pageDocument(options_.files.frame(), contents, platform::Date::now()));
    }
    auto busy = pageResponse(503, "text/plain; charset=utf-8", "Too much happens at once; try again.\n");
    busy.fields.push_back({"Retry-After", "1"});
    co_return busy;
}

asio::awaitable<std::vector<PageWidget>> Page::drawnWidgets(PageChoices choices,
                                                            std::optional<platform::Deadline> pictures) {
    const auto begun = [&](platform::WidgetFamily family, ColorScheme scheme) {
        auto request = requestFor(family, scheme, choices);
        if (pictures) request.pictureBudget = pictures->rest();
        return request;
    };
    auto& client = pictures ? client_ : patient_;
    std::vector<PageWidget> widgets;
    for (const auto family : homeScreenFamilies) {
        PageWidget widget = {.family = family};
        auto light = begun(family, ColorScheme::light);
        widget.light = co_await drawn(client, std::move(light));
        auto dark = begun(family, ColorScheme::dark);
        widget.dark = co_await drawn(client, std::move(dark));
        widgets.push_back(std::move(widget));
    }
    for (const auto family : lockScreenFamilies) {
        auto request = begun(family, ColorScheme::dark);
        request.tint = lockScreenTint;
        PageWidget widget = {.family = family};
        widget.light = co_await drawn(client, std::move(request));
        widgets.push_back(std::move(widget));
    }
    co_return widgets;
}

/// For those windows that are kept current; they read the page again when the pictures are there.
void Page::fetchPictures(const PageChoices& choices) {
    if (!namesPictures(shown_.state().entry)) return;
    const auto now = std::chrono::steady_clock::now();
    std::erase_if(waits_, [&](const auto& wait) { return now - wait.second >= pauseBetweenWaits; });
    if (!waits_.emplace(choices.query(), now).second) return;
    platform::spawn(executor_, drawnWithPictures(choices), [](const std::exception_ptr&) {});
}

/// The live host keeps the drawings; to a connection it gives one after another.
asio::awaitable<void> Page::drawnWithPictures(PageChoices choices) {
    co_await drawnWidgets(choices, std::nullopt);
    show();
}

asio::awaitable<std::string> Page::drawn(LiveHostClient& client, widget::DrawingRequest request) {
    try {
        co_return co_await client.draw(std::move(request));
    } catch (const LiveHostError&) {
        // The page says in its place that there is none.
    }
    co_return std::string();
}

/// Back to the page, also for a browser without scripts; what came of it is seen there.
asio::awaitable<HTTPResponse> Page::reload(PageChoices choices) {
    try {
        co_await client_.reload();
    } catch (const LiveHostError&) {
        // What keeps the host from it stands beside the entry.
    }
    auto response = pageResponse(303, "text/plain; charset=utf-8", "");
    response.fields.push_back({"Location", "./" + choices.query()});
    co_return response;
}

HTTPResponse Page::events() {
    std::erase_if(streams_, [](const auto& stream) { return stream->hasEnded(); });
    if (streams_.size() >= options_.mostStreams)
        return pageResponse(503, "text/plain; charset=utf-8", "Too many windows show this page.\n");
    auto response = pageResponse(200, "text/event-stream", "");
    response.events = std::make_shared<platform::EventStream>(executor_);
    response.events->send("state", stateEvent());
    streams_.push_back(response.events);
    return response;
}

}  // namespace host
