// SPDX-License-Identifier: Apache-2.0

#include "platform/URLSession/TransferLoop.hpp"

#include <stdlib.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace platform {
namespace {

#ifdef NDEBUG
// libcurl would write the keys of every TLS connection to the file that this variable names. It asks once,
// when it is initialised; but the environment can only be changed while no other thread reads it, before
// `main`.
[[maybe_unused]] const int keyLogIsOff = ::unsetenv("SSLKEYLOGFILE");
#endif

// With nothing in flight there is nothing to watch; only a wake matters.
constexpr std::chrono::milliseconds longWait = std::chrono::hours(1);

CURLM* newMulti() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    return curl_multi_init();
}

}  // namespace

TransferLoop::TransferLoop() : alarm_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), multi_(newMulti()) {
    if (!multi_ || !alarm_.isOpen()) {
        throw URLError(URLErrorCode::unknown, "no transfers can be run");
    }
}

TransferLoop::~TransferLoop() {
    cancelAll();
}

void TransferLoop::cancelAll() {
    while (!transfers_.empty()) cancel(transfers_.back());
}

void TransferLoop::add(std::shared_ptr<Transfer> transfer) {
    if (start(*transfer)) transfers_.push_back(std::move(transfer));
}

bool TransferLoop::start(Transfer& transfer) {
    try {
        if (curl_multi_add_handle(multi_.get(), transfer.prepare()) == CURLM_OK) return true;
        transfer.fail({URLErrorCode::unknown, "the transfer cannot be started"});
    } catch (const URLError& error) {
        transfer.fail(error);
    }
    return false;
}

void TransferLoop::cancel(const std::shared_ptr<Transfer>& transfer) {
    const std::shared_ptr<Transfer> kept = transfer;
    if (std::find(transfers_.begin(), transfers_.end(), kept) == transfers_.end()) return;
    forget(*kept);
    kept->fail({URLErrorCode::cancelled, "the transfer was cancelled"});
}

void TransferLoop::step() {
    // A transfer that was just added makes the wait end at once.
    curl_waitfd alarm = {.fd = alarm_, .events = CURL_WAIT_POLLIN, .revents = 0};
    curl_multi_poll(multi_.get(), &alarm, 1, static_cast<int>(untilNextDeadline().count()), nullptr);
    eventfd_t calls = 0;
    ::eventfd_read(alarm_, &calls);
    int running = 0;
    curl_multi_perform(multi_.get(), &running);
    collectEnded();
    endOverrun();
}

void TransferLoop::wake() noexcept {
    // Adds to a number; it fails only where that is so high that the loop is awake in any case.
    ::eventfd_write(alarm_, 1);
}

void TransferLoop::collectEnded() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        const CURLcode code = message->data.result;
        Transfer* transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        curl_multi_remove_handle(multi_.get(), transfer->handle());
        if (!transfer->exchangeEnded(code) || !start(*transfer)) forget(*transfer);
    }
}

void TransferLoop::endOverrun() {
    std::vector<std::pair<std::shared_ptr<Transfer>, URLError>> ending;
    for (const auto& transfer : transfers_) {
        if (const auto error = transfer->overrun()) ending.emplace_back(transfer, *error);
    }
    for (const auto& [transfer, error] : ending) {
        forget(*transfer);
        transfer->fail(error);
    }
}

void TransferLoop::forget(const Transfer& transfer) {
    curl_multi_remove_handle(multi_.get(), transfer.handle());
    std::erase_if(transfers_, [&transfer](const auto& other) { return other.get() == &transfer; });
}

std::chrono::milliseconds TransferLoop::untilNextDeadline() {
    auto wait = longWait;
    const auto now = std::chrono::steady_clock::now();
    for (const auto& transfer : transfers_) {
        wait = std::min(wait, std::chrono::ceil<std::chrono::milliseconds>(transfer->deadline() - now));
    }
    return std::max(wait, std::chrono::milliseconds(0));
}

}  // namespace platform
