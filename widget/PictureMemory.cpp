// SPDX-License-Identifier: Apache-2.0

#include "widget/PictureMemory.hpp"

#include <algorithm>
#include <utility>

namespace widget {

std::size_t PictureMemory::bytes(const Entry& entry) {
    return entry.url.absoluteString().size() + (entry.outcome ? entry.outcome->size() : 0);
}

std::optional<PictureMemory::Outcome> PictureMemory::outcome(const platform::URL& url, TimePoint now) const {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&url](const Entry& entry) { return entry.url == url; });
    if (found == entries_.end()) return std::nullopt;
    const bool isFresh = now - found->since < (found->outcome ? ageOfPicture : ageOfFailure);
    if (!isFresh) return std::nullopt;
    return std::optional<Outcome>(std::in_place, found->outcome);
}

void PictureMemory::note(const platform::URL& url, const Outcome& outcome, TimePoint now) {
    const Entry entry = {url, outcome, now};
    const std::lock_guard lock(mutex_);
    forget(url);
    if (bytes(entry) > mostBytesOfOne) return;
    entries_.push_back(entry);
    bytes_ += bytes(entry);
    while (entries_.size() > mostURLs || bytes_ > mostBytes) forgetOldest();
}

void PictureMemory::forget(const platform::URL& url) {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&url](const Entry& entry) { return entry.url == url; });
    if (found == entries_.end()) return;
    bytes_ -= bytes(*found);
    entries_.erase(found);
}

void PictureMemory::forgetOldest() {
    bytes_ -= bytes(entries_.front());
    entries_.pop_front();
}

}  // namespace widget
