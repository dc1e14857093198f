// SPDX-License-Identifier: Apache-2.0

#pragma once

// Asynchronous transfers. A session owns one thread, on which all of its transfers run; any member may be
// called from any thread. The end of a session cancels what is still in flight, without delay.
//
// A request goes out once, on a connection of its own; only GET and HEAD share connections, and may be
// repeated where a kept one turns out to be closed. No credential header (the standard ones, and those that
// the request marks as such) and no body crosses to another origin on a redirect, and no redirect leaves http
// and https, or https for http. User information in a URL is never sent. Cookies and replies are not kept.
//
// A reply is bounded: in its bytes after decompression, in its headers (256 KiB, 1000 lines), in what comes
// over the wire for it (8 times its maximum), and in time. It is unpacked at most once, and only as was
// offered (gzip, deflate).

#include <boost/asio/awaitable.hpp>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "platform/Streams/Deadline.hpp"
#include "platform/URLSession/URLRequest.hpp"

namespace platform {

enum class URLErrorCode {
    unsupportedURL,
    cannotFindHost,
    cannotConnectToHost,
    networkConnectionLost,
    timedOut,
    /// A reply has begun, and took too long.
    replyTimedOut,
    cancelled,
    secureConnectionFailed,
    badServerResponse,
    tooManyRedirects,
    dataLengthExceedsMaximum,
    cannotDecodeContent,
    cannotReadResource,
    unknown,
};

class URLError : public std::runtime_error {
  public:
    URLError(URLErrorCode code, const std::string& description)
        : std::runtime_error(description), code_(code) {}
    URLErrorCode code() const { return code_; }

  private:
    URLErrorCode code_;
};

struct URLSessionConfiguration {
    /// Bytes of a reply after decompression; a longer one fails with dataLengthExceedsMaximum.
    std::size_t maximumReplySize = std::size_t{4} << 20;
    int maximumRedirects = 20;
    /// From a transfer's start to its end, redirects included, however much of it moves.
    std::chrono::milliseconds timeoutIntervalForResource = std::chrono::seconds(120);
    /// Tasks that were started and forgotten and are in flight at once; the others wait for their turn.
    std::size_t maximumForgottenTasks = 64;

    static URLSessionConfiguration defaultSessionConfiguration() { return {}; }
};

/// The HTTP transport. A seam: `tests/support` has a scripted one.
class URLSession {
  public:
    virtual ~URLSession() = default;

    static std::shared_ptr<URLSession> session(const URLSessionConfiguration& configuration);

    /// Sends the request once and awaits the whole reply, whatever its status. Throws URLError. The awaiting
    /// coroutine resumes on its own executor; its cancellation cancels the transfer.
    virtual boost::asio::awaitable<URLReply> data(URLRequest request) = 0;

    /// Returns at once; the request starts as soon as fewer than the maximum are in flight, in the order of
    /// the calls. The reply and every failure are dropped. What waits costs its request and no more: an event
    /// of 600 bytes some 1.5 KiB.
    virtual void startDataTask(URLRequest request) = 0;

    /// Waits at most `limit` for the forgotten tasks in flight and those that wait for their turn; true when
    /// none is left.
    virtual bool waitForForgottenTasks(std::chrono::milliseconds limit) = 0;
};

/// A blocking read of a whole resource: http, https, file and data URLs. A file must be a regular one. Throws
/// URLError, also for more than `maximumSize` bytes. Not cancellable: the caller's process bears the wait.
std::string readWholeResource(const URL& url, std::size_t maximumSize);

/// The bytes of a resource, or why there are none.
using ResourceOutcome = std::variant<std::string, URLError>;

struct ResourceReading {
    /// Of each.
    std::size_t maximumSize;
    /// By when transfers have to be over; one that is not fails with timedOut or replyTimedOut, and nothing
    /// of it is left. What nobody was asked for by then fails with cancelled. Absent: as long as a transfer
    /// may take.
    std::optional<Deadline> deadline = std::nullopt;
    /// Transfers in flight; the others wait for their turn. What each has received is held.
    std::size_t atOnce = 10;
};

/// The same of several, those over HTTP at the same time. `receive` is called once for each, with its place
/// among `urls`, by the calling thread, as they come; what it throws ends the rest.
void readWholeResources(const std::vector<URL>& urls, const ResourceReading& reading,
                        const std::function<void(std::size_t place, ResourceOutcome outcome)>& receive);

}  // namespace platform
