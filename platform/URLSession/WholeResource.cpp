// SPDX-License-Identifier: Apache-2.0

#include "platform/URLSession/URLSession.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <deque>
#include <memory>
#include <optional>
#include <utility>

#include "platform/Files/Descriptor.hpp"
#include "platform/Files/Reading.hpp"
#include "platform/URLSession/DataURL.hpp"
#include "platform/URLSession/Transfer.hpp"
#include "platform/URLSession/TransferLoop.hpp"

namespace platform {
namespace {

[[noreturn]] void failToRead(const char* why) {
    throw URLError(URLErrorCode::cannotReadResource, why);
}
[[noreturn]] void failAsTooLong() {
    throw URLError(URLErrorCode::dataLengthExceedsMaximum, "the resource is too long");
}

// Opening a device can do something and opening a pipe can wait, so what it is is asked first, and once more
// of what was opened.
std::string readFile(const std::string& path, std::size_t maximumSize) {
    struct stat found = {};
    if (::stat(path.c_str(), &found) != 0) failToRead("the file cannot be found");
    if (!S_ISREG(found.st_mode)) failToRead("not a regular file");
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen() || ::fstat(file, &found) != 0 || !S_ISREG(found.st_mode))
        failToRead("the file cannot be opened");
    std::optional<std::string> bytes = readUpTo(file, maximumSize);
    if (!bytes) failToRead("the file cannot be read");
    if (bytes->size() > maximumSize) failAsTooLong();
    return *std::move(bytes);
}

std::string readFileURL(const URL& url, std::size_t maximumSize) {
    const std::string path = url.path();
    const bool isLocal = url.host().empty() || url.host() == "localhost";
    if (!isLocal || path.find('\0') != std::string::npos) failToRead("not a file of this machine");
    return readFile(path, maximumSize);
}

std::string readDataURL(const URL& url, std::size_t maximumSize) {
    auto data = dataOfDataURL(url.absoluteString());
    if (!data) failToRead("not a data URL");
    if (data->size() > maximumSize) failAsTooLong();
    return std::move(*data);
}

ResourceOutcome resourceIn(TransferOutcome outcome) {
    if (const auto* error = std::get_if<URLError>(&outcome)) return *error;
    URLReply& reply = std::get<URLReply>(outcome);
    if (reply.response.statusCode.value_or(0) / 100 == 2) return std::move(reply.data);
    return URLError(URLErrorCode::cannotReadResource, "the server does not have the resource");
}

/// Reads over HTTP, several at once. The end of it ends what is still in flight.
class Transfers {
  public:
    explicit Transfers(const ResourceReading& reading) : reading_(reading) {
        limits_.maximumReplySize = reading.maximumSize;
    }
    ~Transfers() {
        if (inFlight_ > 0) loop().cancelAll();
    }
    Transfers(const Transfers&) = delete;
    Transfers& operator=(const Transfers&) = delete;

    void add(std::size_t place, const URL& url) { waiting_.push_back({place, {.url = url}}); }

    template <typename Receive>
    void run(Receive receive) {
        while (true) {
            startWaiting();
            while (!ended_.empty()) {
                auto [place, outcome] = std::move(ended_.front());
                ended_.pop_front();
                receive(place, resourceIn(std::move(outcome)));
            }
            if (inFlight_ > 0) {
                loop().step();
            } else if (waiting_.empty()) {
                return;
            }
        }
    }

  private:
    /// One loop a thread: ten pictures of one server come over one connection.
    static TransferLoop& loop() {
        thread_local TransferLoop loop;
        return loop;
    }

    void startWaiting() {
        for (; !waiting_.empty() && inFlight_ < reading_.atOnce; waiting_.pop_front()) {
            auto& [place, request] = waiting_.front();
            try {
                start(place, std::move(request));
            } catch (const URLError& error) {
                ended_.emplace_back(place, error);
            }
        }
    }

    void start(std::size_t place, URLRequest request) {
        if (reading_.deadline) {
            request.timeoutIntervalForResource = reading_.deadline->rest();
            if (reading_.deadline->rest().count() == 0)
                throw URLError(URLErrorCode::cancelled, "there was no time left to ask for it");
        }
        const auto transfer =
            std::make_shared<Transfer>(std::move(request), limits_, [this, place](TransferOutcome outcome) {
                --inFlight_;
                ended_.emplace_back(place, std::move(outcome));
            });
        TransferLoop& running = loop();
        ++inFlight_;
        running.add(transfer);
    }

    const ResourceReading reading_;
    URLSessionConfiguration limits_ = URLSessionConfiguration::defaultSessionConfiguration();
    std::deque<std::pair<std::size_t, URLRequest>> waiting_;
    std::deque<std::pair<std::size_t, TransferOutcome>> ended_;
    std::size_t inFlight_ = 0;
};

bool isOverHTTP(const URL& url) {
    const std::string scheme = url.scheme();
    return scheme == "http" || scheme == "https";
}

/// What is on this machine, or in the URL itself.
ResourceOutcome readHere(const URL& url, std::size_t maximumSize) {
    try {
        if (url.scheme() == "file") return readFileURL(url, maximumSize);
        if (url.scheme() == "data") return readDataURL(url, maximumSize);
        return URLError(URLErrorCode::unsupportedURL, "the URL's scheme cannot be read");
    } catch (const URLError& error) {
        return error;
    }
}

}  // namespace

std::string readWholeResource(const URL& url, std::size_t maximumSize) {
    ResourceOutcome outcome = URLError(URLErrorCode::unknown, "the transfer did not end");
    readWholeResources({url}, {.maximumSize = maximumSize},
                       [&outcome](std::size_t, ResourceOutcome result) { outcome = std::move(result); });
    if (const auto* error = std::get_if<URLError>(&outcome)) throw *error;
    return std::get<std::string>(std::move(outcome));
}

void readWholeResources(const std::vector<URL>& urls, const ResourceReading& reading,
                        const std::function<void(std::size_t place, ResourceOutcome outcome)>& receive) {
    Transfers transfers(reading);
    for (std::size_t place = 0; place < urls.size(); ++place) {
        if (isOverHTTP(urls[place])) transfers.add(place, urls[place]);
    }
    for (std::size_t place = 0; place < urls.size(); ++place) {
        if (!isOverHTTP(urls[place])) receive(place, readHere(urls[place], reading.maximumSize));
    }
    transfers.run(receive);
}

}  // namespace platform
