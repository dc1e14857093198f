// SPDX-License-Identifier: Apache-2.0

#pragma once

// A live host's state as files, for whoever can show a file: the entry, the state, the terminal's view, and
// the pictures that somebody wants. Belongs to one executor, and has to outlive its work.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/protocol/PictureFile.hpp"
#include "host/widget/Live/LiveDrawings.hpp"
#include "host/widget/Live/LiveHost.hpp"
#include "host/widget/Live/RuntimeFolder.hpp"

namespace host {

class PublishedFiles {
  public:
    /// Whoever wants pictures, by an address of its own.
    using Reader = const void*;

    /// `always` are wanted by nobody in particular. The state as it is, is written at once; what cannot be
    /// written, as on a full disk, is tried again each `untilNextTry`.
    PublishedFiles(boost::asio::any_io_executor executor, LiveHost& host, LiveDrawings& drawings,
                   std::vector<RuntimeFolder> folders, std::vector<PictureFile> always,
                   std::chrono::milliseconds untilNextTry = std::chrono::seconds(30));

    /// In place of what it wanted before.
    void want(Reader reader, std::vector<PictureFile> pictures);
    void release(Reader reader);
    /// Pictures that nobody wants, as another host may have left them.
    void removeUnwanted();

  private:
    std::set<PictureFile> wanted() const;
    void take(LiveHost::Change change);
    void writeTexts(LiveHost::Change change);
    void write(const std::string& name, std::string_view bytes, LiveHost::Change change);
    void startDrawing();
    boost::asio::awaitable<void> drawAll();
    void awaitPictures();
    boost::asio::awaitable<void> drawWhole();
    boost::asio::awaitable<void> draw(PictureFile picture, std::optional<std::chrono::milliseconds> budget);
    bool showsWords(const PictureFile& picture) const;
    bool write(RuntimeFolder& folder, const std::string& name, std::string_view bytes);
    void tryAgainLater();

    boost::asio::any_io_executor executor_;
    LiveHost& host_;
    LiveDrawings& drawings_;
    std::vector<RuntimeFolder> folders_;
    std::map<Reader, std::vector<PictureFile>> wants_;
    /// What each file shows but for the pictures in it, as a hash.
    std::map<PictureFile, std::size_t> words_;
    bool isDrawing_ = false;
    bool isDrawingDue_ = false;
    bool isAwaitingPictures_ = false;
    bool arePicturesDue_ = false;
    std::chrono::milliseconds untilNextTry_;
    boost::asio::steady_timer nextTry_;
    bool isNextTryDue_ = false;
    LiveHost::Observation observation_;
};

}  // namespace host
