// SPDX-License-Identifier: Apache-2.0

#pragma once

// A live host in a world of a test's own, with its door, its files, and readers who come in by it.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <boost/asio/awaitable.hpp>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/reader/LiveHostClient.hpp"
#include "host/widget/Live/HostPlace.hpp"
#include "host/widget/Live/HostSocket.hpp"
#include "host/widget/Live/LiveDrawings.hpp"
#include "host/widget/Live/PublishedFiles.hpp"
#include "tests/host/live/LiveWorld.hpp"
#include "tests/support/Patience.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace host {

class ReaderWorld : public LiveWorld {
  public:
    ~ReaderWorld() override {
        host.stop();
        close();
    }

  protected:
    ReaderWorld() { std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_all); }

    /// Lets nobody in any more.
    void close() {
        if (!door) return;
        door->close();
        until([&] { return door->readerCount() == 0; });
        clock.settle();
        door.reset();
        files.reset();
        place.reset();
    }

    /// Lets readers in.
    void open(HostSocket::Options options = {.version = "9.8.7", .started = platform::Date::now()}) {
        place.emplace(HostPlace::claim(HostAddress::ofPerson(), std::nullopt));
        std::vector<RuntimeFolder> folders;
        folders.push_back(
            RuntimeFolder::make(place->claim().address().folder,
                                [this](std::string_view notice) { notices.emplace_back(notice); }));
        files.emplace(context.get_executor(), host, drawings, std::move(folders), pictures, fileRetry);
        door.emplace(context.get_executor(), place->socket(),
                     HostSocket::Served{.host = host, .drawings = drawings, .files = *files},
                     std::move(options));
        spawn(door->accept());
    }

    void spawn(boost::asio::awaitable<void> work) {
        platform::spawn(context, std::move(work), [heard = heard_](const std::exception_ptr& failure) {
            try {
                std::rethrow_exception(failure);
            } catch (const std::exception& error) {
                heard->emplace_back(error.what());
            }
        });
    }

    /// Runs until that holds; false where it does not for long.
    template <typename Condition>
    bool until(Condition condition, std::chrono::seconds limit = platform::testing::patience) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            context.restart();
            context.run_one_for(std::chrono::milliseconds(5));
        }
        return true;
    }

    std::shared_ptr<LiveHostClient> client() {
        LiveHostClient::Options options;
        options.ifMissing = LiveHostClient::IfMissing::leave;
        options.pauses = {std::chrono::milliseconds(5)};
        return std::make_shared<LiveHostClient>(context.get_executor(), std::move(options));
    }

    /// What a reader gets to see, one after another.
    using Views = std::shared_ptr<std::vector<std::string>>;
    Views follow(const std::shared_ptr<LiveHostClient>& reader) {
        const auto views = std::make_shared<std::vector<std::string>>();
        spawn(following(reader, views));
        return views;
    }

    /// What `ask` gives, or "failed: " and why.
    template <typename Ask>
    std::string answer(Ask ask) {
        std::optional<std::string> text;
        spawn(told(ask(), text));
        until([&] { return text.has_value(); });
        return text.value_or("no answer");
    }

    /// A reader who says what a test wants; the descriptor is the test's.
    int rawReader() const { return rawReader(HostAddress::ofPerson().socket()); }
    static int rawReader(const std::filesystem::path& path) {
        const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.native().size());
        if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return -1;
        return socket;
    }

    static std::string frameOf(const std::string& body, unsigned attachment = 0) {
        std::string text;
        for (const auto size : {static_cast<unsigned>(body.size()), attachment})
            for (int shift = 24; shift >= 0; shift -= 8)
                text.push_back(static_cast<char>(size >> shift & 0xff));
        return text + body;
    }

    static void say(int socket, const std::string& bytes) {
        EXPECT_EQ(::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    /// All that comes until the other side hangs up.
    std::string everythingFrom(int socket) {
        std::string text;
        std::array<char, 4096> part;
        until([&] {
            const auto length = ::recv(socket, part.data(), part.size(), MSG_DONTWAIT);
            if (length > 0) text.append(part.data(), static_cast<std::size_t>(length));
            return length == 0 || (length < 0 && errno == ECONNRESET);
        });
        return text;
    }

    /// How what was spawned failed.
    const std::vector<std::string>& failures() const { return *heard_; }

    platform::testing::TemporaryFolder folder;
    platform::testing::ScopedEnvironment environment{{{"XDG_RUNTIME_DIR", folder.path().string()}}};
    std::vector<PictureFile> pictures;
    std::chrono::milliseconds fileRetry = std::chrono::hours(1);
    std::vector<std::string> notices;
    LiveDrawings drawings{context.get_executor(), host, extension};
    std::optional<HostPlace> place;
    std::optional<PublishedFiles> files;
    std::optional<HostSocket> door;

  private:
    /// Some end when the context does.
    std::shared_ptr<std::vector<std::string>> heard_ = std::make_shared<std::vector<std::string>>();

    static boost::asio::awaitable<void> following(std::shared_ptr<LiveHostClient> reader, Views views) {
        const std::function<void(const LiveState&)> note = [views](const LiveState& state) {
            views->push_back(shopNameIn(state.entry));
        };
        co_await reader->follow(note, [](std::string_view) {});
    }

    static boost::asio::awaitable<void> told(boost::asio::awaitable<std::string> ask,
                                             std::optional<std::string>& text) {
        try {
            text = co_await std::move(ask);
        } catch (const std::exception& error) {
            text = std::string("failed: ") + error.what();
        }
    }
};

}  // namespace host
