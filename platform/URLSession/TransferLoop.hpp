// SPDX-License-Identifier: Apache-2.0

#pragma once

// Runs transfers, any number at once, on the thread that calls it. Connections are kept for the next
// transfer. `wake` may be called from any thread, everything else from one.

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <vector>

#include "platform/Files/Descriptor.hpp"
#include "platform/URLSession/Transfer.hpp"

namespace platform {

class TransferLoop {
  public:
    /// Throws URLError where the process has no file descriptor or memory left for it.
    TransferLoop();
    /// Transfers still in flight end as cancelled.
    ~TransferLoop();
    TransferLoop(const TransferLoop&) = delete;
    TransferLoop& operator=(const TransferLoop&) = delete;

    void add(std::shared_ptr<Transfer> transfer);
    void cancel(const std::shared_ptr<Transfer>& transfer);
    void cancelAll();
    bool isEmpty() const { return transfers_.empty(); }

    /// Waits until something can be moved, a transfer runs out of time, or `wake`; then moves what can be,
    /// and ends what has overrun.
    void step();
    /// Neither waits nor fails: a lock may be held.
    void wake() noexcept;

  private:
    struct FreeMulti {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };

    bool start(Transfer& transfer);
    void collectEnded();
    void endOverrun();
    void forget(const Transfer& transfer);
    std::chrono::milliseconds untilNextDeadline();

    /// Counts what `wake` was called for. Not libcurl's own means, a socket, which the system may have no
    /// memory for: a loop that was not woken sleeps on for an hour.
    Descriptor alarm_;
    std::unique_ptr<CURLM, FreeMulti> multi_;
    std::vector<std::shared_ptr<Transfer>> transfers_;
};

}  // namespace platform
