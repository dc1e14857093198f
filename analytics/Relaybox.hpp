// SPDX-License-Identifier: Apache-2.0

#pragma once

// Uploads events to the event collector and forgets them: no reply is read, nothing is tried twice, and
// nobody waits. What is fixed at construction never changes; safe from any thread.

#include <memory>

#include "analytics/RelayboxEventable.hpp"
#include "platform/URL/URL.hpp"
#include "platform/URLSession/URLSession.hpp"

namespace analytics {

class Relaybox {
  public:
    /// A new one, on a new session of default configuration, to the event collector. A collector's address
    /// that is no URL stops the process.
    static std::shared_ptr<const Relaybox> production();

    /// `hostURL` is the whole endpoint.
    Relaybox(std::shared_ptr<platform::URLSession> session, platform::URL hostURL);

    /// Starts the upload of one event and returns at once, never with a failure; beyond the session's limit
    /// of forgotten tasks in flight it waits for its turn there. An event that cannot be encoded is logged
    /// and dropped.
    void send(const RelayboxEventable& event) const;

    platform::URLSession& session() const { return *session_; }
    const platform::URL& hostURL() const { return hostURL_; }

  private:
    void startUpload(const RelayboxEventable& event) const;

    std::shared_ptr<platform::URLSession> session_;
    platform::URL hostURL_;
};

}  // namespace analytics
