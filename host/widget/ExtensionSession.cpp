// SPDX-License-Identifier: Apache-2.0

#include "host/widget/ExtensionSession.hpp"

#include <algorithm>
#include <utility>

#include "host/widget/ExtensionAnswer.hpp"
#include "platform/Asio/Pause.hpp"

namespace host {

namespace asio = boost::asio;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using widget::PictureReading;

namespace {

milliseconds budgetOf(ExtensionRequest::Kind kind, const ExtensionSession::Options& options) {
    const bool isLocal =
        kind == ExtensionRequest::Kind::credentials || kind == ExtensionRequest::Kind::settings;
    return isLocal ? std::min(options.localBudget, options.answerBudget) : options.answerBudget;
}

/// The n-th pause, from 0; the last stands for all further ones.
milliseconds pauseAt(const std::vector<milliseconds>& pauses, std::size_t index) {
    return pauses.empty() ? milliseconds(0) : pauses[std::min(index, pauses.size() - 1)];
}

}  // namespace

RestartPolicy RestartPolicy::once() {
    return {.pauses = {}, .most = 1};
}

RestartPolicy RestartPolicy::patient() {
    using std::chrono::minutes;
    using std::chrono::seconds;
    return {.pauses = {seconds(0), seconds(2), seconds(10), minutes(1), minutes(5)}};
}

ExtensionSession::Options ExtensionSession::Options::forCommand(const ExtensionSettings& extension) {
    return {.extension = extension,
            .answerBudget = extension.answerLimit,
            .drawingBudget = extension.answerLimit,
            .deadline = platform::Deadline(extension.answerLimit),
            .restarts = RestartPolicy::once()};
}

ExtensionSession::ExtensionSession(asio::any_io_executor executor, Options options)
    : executor_(std::move(executor)), options_(std::move(options)), picturesLeft_(options_.pictureBudget) {}

ExtensionSession::~ExtensionSession() {
    leave();
}

platform::Deadline ExtensionSession::deadlineWithin(milliseconds budget) const {
    return options_.deadline ? options_.deadline->within(budget) : platform::Deadline(budget);
}

/// Time is kept for a second extension, which draws without pictures.
platform::Deadline ExtensionSession::hangingDeadline(const platform::Deadline& drawing,
                                                     milliseconds pictures) const {
    if (pictures_ == PictureReading::placeholdersOnly) return drawing;
    return drawing.within(std::min(pictures + options_.extension.drawingLimit, drawing.rest() * 4 / 5));
}

/// A command waits for pictures once, however many drawings it makes.
void ExtensionSession::noteWait(steady_clock::time_point start) {
    if (!options_.deadline) return;
    const auto spent = std::chrono::ceil<milliseconds>(steady_clock::now() - start);
    picturesLeft_ = std::max(milliseconds(0), picturesLeft_ - spent);
}

asio::awaitable<std::shared_ptr<ExtensionProcess>> ExtensionSession::running() {
    if (const auto failed = std::exchange(failed_, nullptr))
        co_await failed->end(deadlineWithin(options_.answerBudget));
    if (!process_ && failuresInARow_ > 0) {
        const auto due = lastFailure_ + pauseAt(options_.restarts.pauses, failuresInARow_ - 1);
        const auto rest = std::chrono::ceil<milliseconds>(due - steady_clock::now());
        if (rest > milliseconds(0)) co_await platform::pause(rest);
    }
    // Another that was waiting may have started it meanwhile.
    if (!process_) process_ = ExtensionProcess::start(executor_, options_.extension, options_.onOutputLine);
    co_return process_;
}

void ExtensionSession::noteFailure(const std::shared_ptr<ExtensionProcess>& process, Failure failure) {
    // Of several that were asked of one process, the first to fail says so.
    if (process_ != process) return;
    failed_ = std::exchange(process_, nullptr);
    failure_ = failure;
    ++failuresInARow_;
    lastFailure_ = steady_clock::now();
}

asio::awaitable<Message> ExtensionSession::askBy(ExtensionRequest request,
                                                 std::optional<platform::Deadline> deadline) {
    const auto process = co_await running();
    try {
        const auto limit = deadline ? *deadline : deadlineWithin(budgetOf(request.kind, options_));
        auto answer = co_await process->ask(std::move(request), limit);
        failuresInARow_ = 0;
        co_return answer;
    } catch (const ExtensionTimeout&) {
        noteFailure(process, Failure::hanging);
        throw;
    } catch (const ExtensionEnded&) {
        noteFailure(process, Failure::ended);
        throw;
    }
}

asio::awaitable<Message> ExtensionSession::ask(ExtensionRequest request) {
    co_return co_await askBy(std::move(request), std::nullopt);
}

asio::awaitable<std::string> ExtensionSession::draw(widget::DrawingRequest drawing) {
    const auto departures = departures_;
    co_await running();
    const auto deadline = deadlineWithin(options_.drawingBudget);
    const auto format = drawing.format;
    const bool mayBePictures = namesPictures(drawing.entry);
    while (true) {
        co_await running();
        throwIfLeftSince(departures);
        const auto hanging = hangingDeadline(deadline, mayBePictures ? picturesLeft_ : milliseconds(0));
        drawing.pictures = pictures_;
        drawing.pictureBudget = std::min(picturesLeft_, hanging.rest() * 4 / 5);
        try {
            const auto start = steady_clock::now();
            auto reply = co_await askBy(ExtensionRequest::rendering(drawing), hanging);
            if (mayBePictures) noteWait(start);
            co_return drawingIn(std::move(reply), format);
        } catch (const ExtensionTimeout& timeout) {
            if (pictures_ == PictureReading::placeholdersOnly || deadline.rest().count() == 0)
                throw ExtensionTimeout(deadline);
            // Pictures have a limit of their own, so it is more than a server that does not answer.
            pictures_ = PictureReading::placeholdersOnly;
            options_.onNotice(timeout.what() +
                              std::string(mayBePictures
                                              ? ", perhaps because of its pictures; drawing without them"
                                              : "; starting it again"));
        } catch (const ExtensionEnded& ended) {
            throwIfLeftSince(departures);
            if (options_.restarts.most && restarts_ >= *options_.restarts.most) throw;
            ++restarts_;
            options_.onNotice(std::string(ended.what()) + "; starting it again");
        }
    }
}

void ExtensionSession::throwIfLeftSince(std::uint64_t departures) const {
    if (departures != departures_) throw ExtensionEnded("the extension was hung up on while drawing");
}

asio::awaitable<void> ExtensionSession::finishUploads(milliseconds limit) {
    if (!process_) co_return;
    const ExtensionRequest finish = {.kind = ExtensionRequest::Kind::finishUploads, .limit = limit};
    try {
        co_await askBy(finish, deadlineWithin(limit));
    } catch (const ExtensionError&) {
    }
}

asio::awaitable<void> ExtensionSession::end() {
    const auto process = process_ ? process_ : failed_;
    if (process && !(process == failed_ && failure_ == Failure::hanging))
        co_await process->end(deadlineWithin(options_.answerBudget));
    leave();
}

void ExtensionSession::leave() {
    ++departures_;
    for (auto* process : {&process_, &failed_})
        if (const auto left = std::exchange(*process, nullptr)) left->leave();
}

}  // namespace host
