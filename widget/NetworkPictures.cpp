// SPDX-License-Identifier: Apache-2.0

#include "widget/NetworkPictures.hpp"

#include <utility>
#include <variant>

#include "drawing/Image/Image.hpp"
#include "platform/URLSession/URLSession.hpp"

namespace widget {

using platform::ResourceOutcome;
using platform::URLError;
using platform::URLErrorCode;
using std::chrono::steady_clock;

namespace {

/// What is on this machine is there at once, and may change at any time.
bool isWorthRemembering(const platform::URL& url) {
    return url.scheme() == "http" || url.scheme() == "https";
}

/// Where nobody was asked for it, or not for long, it has not failed either.
bool isDecided(const ResourceOutcome& outcome, steady_clock::time_point start) {
    const auto* error = std::get_if<URLError>(&outcome);
    if (!error) return true;
    if (error->code() == URLErrorCode::timedOut || error->code() == URLErrorCode::replyTimedOut)
        return steady_clock::now() - start >= NetworkPictures::patience;
    return error->code() != URLErrorCode::cancelled;
}

}  // namespace

std::optional<std::string> NetworkPictures::read(const platform::URL& url) {
    std::optional<std::string> picture;
    readAll({url}, [&picture](std::size_t, std::optional<std::string> bytes) { picture = std::move(bytes); });
    return picture;
}

void NetworkPictures::readAll(const std::vector<platform::URL>& urls, const Receiver& receive) {
    std::vector<platform::URL> unknown;
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < urls.size(); ++place) {
        if (auto known = memory_.outcome(urls[place])) {
            receive(place, *std::move(known));
        } else {
            unknown.push_back(urls[place]);
            places.push_back(place);
        }
    }
    const auto start = steady_clock::now();
    platform::readWholeResources(unknown, {.maximumSize = drawing::ImageBounds::bytes, .deadline = deadline_},
                                 [&](std::size_t place, ResourceOutcome outcome) {
                                     std::optional<std::string> bytes;
                                     const bool isKnown = isDecided(outcome, start);
                                     if (auto* read = std::get_if<std::string>(&outcome))
                                         bytes = std::move(*read);
                                     if (isKnown && isWorthRemembering(unknown[place]))
                                         memory_.note(unknown[place], bytes);
                                     receive(places[place], std::move(bytes));
                                 });
}

}  // namespace widget
