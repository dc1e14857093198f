#pragma once

// One request and what its redirects make of it, on one libcurl handle. Used by one thread at a time.

#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

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

    /// When the transfer has idled for too long, if nothing moves until then.
    std::chrono::steady_clock::time_point deadline();

  private:
    struct FreeHandle {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct FreeList {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    void setMethodAndBody();
    void setHeaders();
    void setTrust();
    static int aboutToSend(void* transfer, char*, char*, int, int);
    static std::size_t receiveHeader(char* bytes, std::size_t unit, std::size_t count, void* transfer);
    static std::size_t receiveBody(char* bytes, std::size_t unit, std::size_t count, void* transfer);
    void receiveHeaderLine(std::string_view line);
    void makeRoom();
    URLError error(CURLcode code) const;
    void complete(TransferOutcome outcome);

    URLRequest request_;
    URLSessionConfiguration limits_;
    std::function<void(TransferOutcome)> completion_;
    std::unique_ptr<CURL, FreeHandle> handle_;
    std::unique_ptr<curl_slist, FreeList> headerLines_;
    int redirects_ = 0;

    bool wasSent_ = false;
    std::vector<HTTPHeaderField> headers_;
    std::size_t headerBytes_ = 0;
    bool headersEnded_ = false;
    std::string data_;
    std::optional<URLErrorCode> refusal_;

    curl_off_t bytesMoved_ = -1;
    std::chrono::steady_clock::time_point lastMoved_;
};

}  // namespace platform
