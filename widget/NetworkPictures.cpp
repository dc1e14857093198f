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

namespace {

/// What is on this machine is there at once, and may change at any time.
bool isWorthRemembering(const platform::URL& url) {
    return url.scheme() == "http" || url.scheme() == "https";
}

/// Nobody was asked for it, so it has not failed either.
bool wasNotAskedFor(const ResourceOutcome& outcome) {
    const auto* error = std::get_if<URLError>(&outcome);
    return error && error->code() == URLErrorCode::cancelled;
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
    platform::readWholeResources(unknown, {.maximumSize = drawing::ImageBounds::bytes, .deadline = deadline_},
                                 [&](std::size_t place, ResourceOutcome outcome) {
                                     std::optional<std::string> bytes;
                                     const bool isKnown = !wasNotAskedFor(outcome);
                                     if (auto* read = std::get_if<std::string>(&outcome))
                                         bytes = std::move(*read);
                                     if (isKnown && isWorthRemembering(unknown[place]))
                                         memory_.note(unknown[place], bytes);
                                     receive(places[place], std::move(bytes));
                                 });
}

}  // namespace widget
