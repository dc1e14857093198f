// SPDX-License-Identifier: Apache-2.0

#pragma once

// One request and what its redirects make of it, on one libcurl handle. Used by one thread at a time.

#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/URLSession/URLSession.hpp"

namespace platform {

using TransferOutcome = std::variant<URLReply, URLError>;

class Transfer {
  public:
    /// `completion` is called once, by the thread that runs the transfer.
    Transfer(URLRequest request, const URLSessionConfiguration& limits,
             std::function<void(TransferOutcome)> completion);
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    /// Makes the handle ready for the request as it now is. Throws URLError for what cannot be sent.
    CURL* prepare();
    CURL* handle() const { return handle_.get(); }

    /// How the exchange went. True when a redirect is to be followed: the transfer is to be prepared and run
    /// again.
    bool exchangeEnded(CURLcode code);
    void fail(const URLError& error);

    /// Why a transfer that still runs is to be ended now: nothing has moved for too long, it takes too long
    /// in all, or more has come over the wire than a reply is worth.
    std::optional<URLError> overrun();
    /// When the transfer runs out of time, if nothing moves until then.
    std::chrono::steady_clock::time_point deadline();

  private:
    struct FreeHandle {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct FreeList {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    void setConnection();
    void setMethodAndBody();
    void setHeaders();
    void setTrust();
    static int overheard(CURL*, curl_infotype kind, char*, std::size_t size, void* transfer);
    static int aboutToSend(void* transfer, char*, char*, int, int);
    template <void (Transfer::*receive)(std::string_view)>
    static std::size_t received(char* bytes, std::size_t unit, std::size_t count, void* transfer);
    template <typename Work>
    bool succeeds(Work work);
    void receiveHeaderLine(std::string_view line);
    void noteCodings(const HTTPHeaderField& field);
    void receiveBodyPart(std::string_view part);
    void makeRoom();
    URLError error(CURLcode code) const;
    void complete(TransferOutcome outcome);

    URLRequest request_;
    URLSessionConfiguration limits_;
    std::function<void(TransferOutcome)> completion_;
    std::unique_ptr<CURL, FreeHandle> handle_;
    std::unique_ptr<curl_slist, FreeList> headerLines_;
    int redirects_ = 0;

    /// What one exchange, the request as it now is and its reply, has come to so far.
    struct Exchange {
        bool wasSent = false;
        std::uint64_t bytesReceived = 0;
        std::size_t headerBytes = 0;
        std::size_t headerLines = 0;
        bool headersEnded = false;
        int codings = 0;
        std::optional<URLError> refusal = {};
        curl_off_t bytesMoved = -1;
        std::chrono::steady_clock::time_point lastMoved = {};
    };
    Exchange exchange_;
    std::vector<HTTPHeaderField> headers_;
    std::string data_;
    std::optional<std::chrono::steady_clock::time_point> end_;
};

}  // namespace platform
