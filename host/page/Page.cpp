// SPDX-License-Identifier: Apache-2.0

#include "host/page/Page.hpp"

#include <functional>
#include <utility>

#include "platform/Streams/Streams.hpp"

namespace host {

namespace asio = boost::asio;
using drawing::ColorScheme;
using platform::HTTPRequest;
using platform::HTTPResponse;

namespace {

/// What a lock screen writes in, on the ground that the page gives it.
constexpr std::string_view lockScreenTint = "#FFFFFF";

/// A state that changes while it is drawn is drawn again, so often at most.
constexpr int mostAttempts = 4;

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
    : executor_(std::move(executor)), options_(std::move(options)), client_(executor_, options_.client) {}

asio::awaitable<void> Page::follow() {
    const std::function<void(const LiveState&)> onState = [this](const LiveState& state) {
        shown_.take(state);
        show();
    };
    const std::function<void(std::string_view)> onGap = [this](std::string_view why) {
        const auto before = shown_.state().asOf;
        shown_.lose(platform::Date::now());
        if (shown_.state().asOf != before) show();
        if (why != complaint_) platform::printError("vela-widget", why);
        complaint_ = why;
    };
    co_await client_.follow(onState, onGap);
}

void Page::close() {
    client_.close();
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
        auto widgets = co_await drawnWidgets(choices);
        // What was shown when it was begun may be somebody else's by now.
        if (revision != revision_) continue;
        const PageContents contents = {
            .state = shown_.state(), .revision = revision, .choices = choices, .widgets = std::move(widgets)};
        co_return pageResponse(200, "text/html; charset=utf-8",
                               pageDocument(options_.files.frame(), contents, platform::Date::now()));
    }
    auto busy = pageResponse(503, "text/plain; charset=utf-8", "Too much happens at once; try again.\n");
    busy.fields.push_back({"Retry-After", "1"});
    co_return busy;
}

asio::awaitable<std::vector<PageWidget>> Page::drawnWidgets(PageChoices choices) {
    std::vector<PageWidget> widgets;
    for (const auto family : homeScreenFamilies) {
        auto light = requestFor(family, ColorScheme::light, choices);
        auto dark = requestFor(family, ColorScheme::dark, choices);
        PageWidget widget = {.family = family};
        widget.light = co_await drawn(std::move(light));
        widget.dark = co_await drawn(std::move(dark));
        widgets.push_back(std::move(widget));
    }
    for (const auto family : lockScreenFamilies) {
        auto request = requestFor(family, ColorScheme::dark, choices);
        request.tint = lockScreenTint;
        PageWidget widget = {.family = family};
        widget.light = co_await drawn(std::move(request));
        widgets.push_back(std::move(widget));
    }
    co_return widgets;
}

asio::awaitable<std::string> Page::drawn(widget::DrawingRequest request) {
    try {
        co_return co_await client_.draw(std::move(request));
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
