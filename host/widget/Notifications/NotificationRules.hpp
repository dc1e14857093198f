// SPDX-License-Identifier: Apache-2.0

#pragma once

// What of a new state a person gets up for: a package comes near (its progress rises to 0.8) or arrives (to
// 1), or its status becomes one of the words for delivered, ready for pickup, delayed, attempted, failed,
// customs payment. Of a package that was not in the list before nothing is told: old ones move up when others
// go. Each happening is told once, and what was told is known by hashes alone. Pure; belongs to one thread.

#include <boost/json/value.hpp>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/protocol/LiveState.hpp"
#include "presentation/Package.hpp"

namespace host {

struct Notice {
    /// What it is about, and what a click opens.
    std::string link;
    std::string title;
    std::string status;
    /// May be empty.
    std::string detail;
    bool operator==(const Notice&) const = default;
};

class NotificationRules {
  public:
    /// What is to be told of `state`, from now on known. A state that is no news (a placeholder, one that is
    /// kept through a failure) changes nothing; one of nobody signed in is the end of all that was known.
    std::vector<Notice> take(const LiveState& state);
    void forget() { known_.clear(); }

    /// {"packages": {HASH: {"progress", "told": [HASH]}}}.
    boost::json::object memory() const;
    /// Nothing of it where it is no such object.
    void remember(const boost::json::value& memory);

  private:
    struct Known {
        float progress = 0;
        std::set<std::string> happenings;
    };

    std::optional<Notice> noticeOf(const presentation::Package& package, const std::string& key,
                                   std::map<std::string, Known>& present) const;

    /// By the hashes of the packages' links.
    std::map<std::string, Known> known_;
};

}  // namespace host
