// SPDX-License-Identifier: Apache-2.0

#include "host/widget/ExtensionSession.hpp"

#include <algorithm>
#include <exception>
#include <utility>

#include "host/widget/ExtensionAnswer.hpp"
#include "platform/Asio/Coroutines.hpp"
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

bool mayWaitForServer(ExtensionRequest::Kind kind) {
    return kind == ExtensionRequest::Kind::snapshot || kind == ExtensionRequest::Kind::timeline;
}

/// What is kept of the time for an answer, to see who it was that took it.
milliseconds timeForLook(const platform::Deadline& deadline) {
    constexpr milliseconds most = std::chrono::seconds(1);
    return std::min(most, deadline.rest() / 4);
}

/// The n-th pause, from 0; the last stands for all further ones.
milliseconds pauseAt(const std::vector<milliseconds>& pauses, std::size_t index) {
    return pauses.empty() ? milliseconds(0) : pauses[std::min(index, pauses.size() - 1)];
}

asio::awaitable<void> ended(std::shared_ptr<ExtensionProcess> process, platform::Deadline deadline) {
    co_await process->end(deadline);
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
    const auto limit = deadline ? *deadline : deadlineWithin(budgetOf(request.kind, options_));
    const bool isLookedAt = mayWaitForServer(request.kind);
    const auto patience = isLookedAt ? limit.within(limit.rest() - timeForLook(limit)) : limit;
    try {
        auto answer = co_await process->ask(std::move(request), patience);
        failuresInARow_ = 0;
        co_return answer;
    } catch (const ExtensionTimeout&) {
        // What follows waits itself.
    } catch (const ExtensionEnded&) {
        noteFailure(process, Failure::ended);
        throw;
    }
    if (isLookedAt && co_await waitsForServer(process, limit)) throw ServerTimeout(limit);
    noteFailure(process, Failure::hanging);
    throw ExtensionTimeout(limit);
}

/// One that has an answer to something else does not hang, and there is nothing but the server that it waits
/// for that long.
asio::awaitable<bool> ExtensionSession::waitsForServer(std::shared_ptr<ExtensionProcess> silent,
                                                       platform::Deadline deadline) {
    const ExtensionRequest question = {.kind = ExtensionRequest::Kind::credentials};
    try {
        co_await silent->ask(question, deadline);
        co_return true;
    } catch (const ExtensionError&) {
        co_return false;
    }
}

asio::awaitable<Message> ExtensionSession::ask(ExtensionRequest request) {
    co_return co_await askBy(std::move(request), std::nullopt);
}

asio::awaitable<Message> ExtensionSession::askUrgently(ExtensionRequest request) {
    const auto asked = process_;
    if (asked) {
        try {
            auto answer = co_await asked->ask(request, deadlineWithin(options_.urgentPatience));
            failuresInARow_ = 0;
            co_return answer;
        } catch (const ExtensionTimeout&) {
            // It may be busy, or hang.
        } catch (const ExtensionEnded&) {
            noteFailure(asked, Failure::ended);
        }
    }
    const bool isInTheWay = process_ || failuresInARow_ > 0;
    if (isInTheWay && mayHurry()) co_return co_await askBeside(asked, std::move(request));
    co_return co_await ask(std::move(request));
}

/// Of another extension, which takes the place of the one that was silent all the time.
asio::awaitable<Message> ExtensionSession::askBeside(std::shared_ptr<ExtensionProcess> silent,
                                                     ExtensionRequest request) {
    const auto start = steady_clock::now();
    const auto departures = departures_;
    const auto other = ExtensionProcess::start(executor_, options_.extension, options_.onOutputLine);
    std::exception_ptr failure;
    std::optional<Message> answer;
    try {
        answer = co_await other->ask(std::move(request), deadlineWithin(options_.localBudget));
    } catch (const ExtensionError&) {
        failure = std::current_exception();
    }
    const bool isLeft = departures != departures_;
    if (!isLeft && silent && !silent->hasSpokenSince(start)) noteFailure(silent, Failure::hanging);
    if (!isLeft && answer) {
        failuresInARow_ = 0;
        if (const auto failed = std::exchange(failed_, nullptr)) endUnawaited(failed);
    }
    if (isLeft || !answer || process_)
        endUnawaited(other);
    else
        process_ = other;
    throwIfLeftSince(departures);
    if (failure) std::rethrow_exception(failure);
    co_return *std::move(answer);
}

bool ExtensionSession::mayHurry() {
    const auto now = steady_clock::now();
    std::erase_if(hurriedStarts_, [&](const auto start) { return now - start > std::chrono::minutes(1); });
    if (hurriedStarts_.size() >= mostHurriedStarts) return false;
    hurriedStarts_.push_back(now);
    return true;
}

void ExtensionSession::endUnawaited(const std::shared_ptr<ExtensionProcess>& process) {
    platform::spawn(executor_, ended(process, deadlineWithin(options_.answerBudget)),
                    [](const std::exception_ptr&) {});
}

asio::awaitable<std::string> ExtensionSession::draw(widget::DrawingRequest drawing) {
    const auto departures = departures_;
    co_await running();
    const auto deadline = deadlineWithin(options_.drawingBudget);
    const auto format = drawing.format;
    const bool mayBePictures = namesPictures(drawing.entry);
    const auto wished = drawing.pictureBudget.value_or(milliseconds::max());
    while (true) {
        co_await running();
        throwIfLeftSince(departures);
        const auto hanging = hangingDeadline(deadline, mayBePictures ? picturesLeft_ : milliseconds(0));
        drawing.pictures = pictures_;
        drawing.pictureBudget = std::min({wished, picturesLeft_, hanging.rest() * 4 / 5});
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
    if (departures != departures_) throw ExtensionLeft();
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
