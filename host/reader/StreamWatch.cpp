// SPDX-License-Identifier: Apache-2.0

#include "host/reader/StreamWatch.hpp"

#include <sys/epoll.h>

#include <utility>

#include "platform/Files/Descriptor.hpp"

namespace host {

StreamWatch::StreamWatch(const boost::asio::any_io_executor& executor, int stream, Interest interest,
                         std::function<void()> happened) {
    // What waits on a descriptor itself makes it one that does not block, for all who share it.
    platform::Descriptor kernel(::epoll_create1(EPOLL_CLOEXEC));
    if (!kernel.isOpen()) return;
    epoll_event event = {};
    // Errors and hang-ups are always told.
    if (interest == Interest::readable) event.events = EPOLLIN;
    if (::epoll_ctl(kernel, EPOLL_CTL_ADD, stream, &event) != 0) return;
    watch_.emplace(executor, kernel.release(), std::move(happened));
}

}  // namespace host
