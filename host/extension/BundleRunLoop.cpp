// SPDX-License-Identifier: Apache-2.0

#include "host/extension/BundleRunLoop.hpp"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/use_future.hpp>
#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "host/extension/EntryDrawer.hpp"
#include "host/protocol/DiagnosisCoding.hpp"
#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/ExtensionRequest.hpp"
#include "host/protocol/Members.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "host/protocol/OutcomeCoding.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/ProcessInfo/ExpiringActivity.hpp"

namespace host {

namespace asio = boost::asio;
namespace json = boost::json;

namespace {

class BundleService {
  public:
    BundleService(asio::io_context& context, const widget::VelaWidgetBundle& bundle, int hostSocket)
        : context_(context),
          configuration_(bundle.body().body()),
          channel_(MessageChannel::over(context.get_executor(), hostSocket)) {
        // The host's death ends this process by a signal, which one that is stopped could not act on. Each
        // thread has a signal of its own for that; this one's wakes them all.
        asio::post(workers_, asio::use_future([] { ::prctl(PR_SET_PDEATHSIG, SIGCONT); })).get();
    }

    asio::awaitable<void> serve() {
        try {
            while (true) {
                auto message = co_await channel_->receive();
                // One that cannot even be refused ends the process, once nothing is left to be finished: its
                // host is told by that.
                platform::spawn(context_, answer(std::move(message)),
                                [](const std::exception_ptr&) { platform::endAfterActivities(); });
            }
        } catch (const std::exception&) {
            // The host has gone, or says what this side does not understand: there is nobody left to answer.
            // The loop goes on only for the sake of an activity, whose end is the process's.
            platform::endAfterActivities();
        }
    }

  private:
    asio::awaitable<void> answer(Message request) {
        const auto* found = request.body.if_contains("id");
        const json::value identifier = found ? *found : json::value(nullptr);
        try {
            auto message = co_await result(std::move(request));
            reply(identifier, std::move(message));
        } catch (const std::exception& error) {
            reply(identifier, {.body = {{"error", error.what()}}});
        }
    }

    /// Throws for a message that is too long to send.
    void reply(const json::value& identifier, Message message) {
        message.body["id"] = identifier;
        channel_->send(message);
    }

    asio::awaitable<Message> result(Message message) {
        // What is to be drawn is read where it is drawn.
        if (ExtensionRequest::kindIn(message.body) == ExtensionRequest::Kind::render) {
            auto& thread = isInAHurry(message.body) ? workers_ : patientThread();
            co_return co_await drawn(std::move(message.text), thread);
        }
        const auto request = ExtensionRequest::fromObject(message.body);
        const widget::Provider::Context context = {.family = request.family};
        const auto& provider = configuration_.provider;
        switch (request.kind) {
            case ExtensionRequest::Kind::declaration: co_return declaration();
            case ExtensionRequest::Kind::placeholder: co_return entryMessage(provider.placeholder(context));
            case ExtensionRequest::Kind::snapshot:
                co_return entryMessage(co_await provider.snapshot(widget::ConfigurationAppIntent{}, context));
            case ExtensionRequest::Kind::timeline: co_return co_await timeline(context);
            case ExtensionRequest::Kind::credentials: co_return credentials();
            case ExtensionRequest::Kind::settings: co_return settings();
            case ExtensionRequest::Kind::diagnosis: co_return co_await diagnosis();
            case ExtensionRequest::Kind::render: break;
            case ExtensionRequest::Kind::finishUploads: co_return co_await uploadsFinished(request.limit);
        }
        throw ProtocolError("unknown request");
    }

    static Message entryMessage(const widget::SimpleEntry& entry) {
        return {.body = {{"entry", entryObject(entry)}}};
    }

    asio::awaitable<Message> timeline(widget::Provider::Context context) const {
        const auto report =
            co_await configuration_.provider.timelineReport(widget::ConfigurationAppIntent{}, context);
        Message reply = {.body = {{"timeline", timelineObject(report.timeline)},
                                  {"outcome", outcomeObject(report.outcome)}}};
        co_return reply;
    }

    Message credentials() const {
        return {.body = {{"credentials", credentialsObject(configuration_.provider.credentials())}}};
    }

    Message settings() const {
        const json::object settings = {{"notifications", configuration_.provider.wantsNotifications()}};
        return {.body = {{"settings", settings}}};
    }

    asio::awaitable<Message> diagnosis() const {
        const auto diagnosis = co_await configuration_.provider.diagnosis();
        Message reply = {.body = {{"diagnosis", diagnosisObject(diagnosis)}}};
        co_return reply;
    }

    Message declaration() const {
        json::array families;
        for (const auto family : configuration_.supportedFamilies)
            families.emplace_back(platform::description(family));
        return {.body = {{"declaration",
                          {{"kind", configuration_.kind},
                           {"displayName", configuration_.displayName},
                           {"description", configuration_.description},
                           {"supportedFamilies", std::move(families)}}}}};
    }

    /// Whether it waits for its pictures no longer than others may be kept waiting for it.
    static bool isInAHurry(const json::object& request) {
        constexpr double longest = 1000;
        if (memberText(request, "format", "png") == "text") return true;
        const auto* budget = request.if_contains("pictureBudget");
        return budget && budget->is_number() && budget->to_number<double>() <= longest;
    }

    /// One for those that wait for their pictures, once there are any: it keeps no other waiting.
    asio::thread_pool& patientThread() {
        if (!patient_) patient_.emplace(1);
        return *patient_;
    }

    /// A view reads its pictures while it is built, so drawings have threads of their own.
    asio::awaitable<Message> drawn(std::string request, asio::thread_pool& thread) {
        co_await asio::post(asio::bind_executor(thread, asio::use_awaitable));
        Message reply;
        std::exception_ptr failure;
        try {
            reply.attachment = drawnEntry(request);
        } catch (const std::exception&) {
            failure = std::current_exception();
        }
        co_await asio::post(asio::bind_executor(context_, asio::use_awaitable));
        if (failure) std::rethrow_exception(failure);
        co_return reply;
    }

    /// Uploads run on their session's own thread; the wait for them has one of its own here.
    asio::awaitable<Message> uploadsFinished(std::chrono::milliseconds limit) {
        const auto relaybox = configuration_.provider.relaybox();
        co_await asio::post(asio::bind_executor(workers_, asio::use_awaitable));
        const bool areFinished = relaybox->session().waitForForgottenTasks(limit);
        co_await asio::post(asio::bind_executor(context_, asio::use_awaitable));
        Message reply = {.body = {{"finished", areFinished}}};
        co_return reply;
    }

    asio::io_context& context_;
    widget::TrackingWidget::Configuration configuration_;
    std::shared_ptr<MessageChannel> channel_;
    asio::thread_pool workers_{1};
    std::optional<asio::thread_pool> patient_;
};

}  // namespace

void runBundle(const widget::VelaWidgetBundle& bundle, int hostSocket) {
    asio::io_context context(1);
    BundleService service(context, bundle, hostSocket);
    platform::spawn(context, service.serve(),
                    [](const std::exception_ptr&) { platform::endAfterActivities(); });
    context.run();
    ::_exit(0);
}

}  // namespace host
