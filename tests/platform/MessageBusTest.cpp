// SPDX-License-Identifier: Apache-2.0

#include "platform/MessageBus/MessageBus.hpp"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <optional>

#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/Files/Descriptor.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/ScriptedService.hpp"

namespace platform::testing {
namespace {

using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr const char* serviceName = "test.Service";
constexpr const char* servicePath = "/test";

class MessageBusTest : public ::testing::Test {
  protected:
    PrivateBus daemon_;
    ScopedEnvironment environment_{{"DBUS_SESSION_BUS_ADDRESS", daemon_.address()}};
    RecordingLogSink log_;
    EventLoop loop_;
    int begun_ = 0;
    int ended_ = 0;
    std::vector<BusMessage> heard_;
    std::optional<MessageBus> bus_{std::in_place, loop_.executor(), MessageBus::Kind::session};

    void connect() {
        bus_->listen({.sender = serviceName, .member = "Said"},
                     [this](const BusMessage& signal) { heard_.push_back(signal); });
        bus_->connect([this] { ++begun_; }, [this] { ++ended_; });
        // The bus answers when it has taken the matches before.
        ask({.destination = "org.freedesktop.DBus",
             .path = "/org/freedesktop/DBus",
             .interface = "org.freedesktop.DBus",
             .member = "GetId"});
    }
    BusMessage ask(const BusCall& call, std::chrono::milliseconds limit = patience) {
        std::optional<BusMessage> answer;
        bus_->call(call, limit, [&](const BusMessage& given) { answer = given; });
        EXPECT_FALSE(answer) << "an answer comes later than the call returns";
        EXPECT_TRUE(loop_.runUntil([&] { return answer.has_value(); }));
        return answer.value_or(BusMessage());
    }
    static BusCall calling(const char* member, std::vector<BusValue> arguments = {}) {
        return {.destination = serviceName,
                .path = servicePath,
                .interface = "test.Interface",
                .member = member,
                .arguments = std::move(arguments)};
    }
};

TEST_F(MessageBusTest, HearsTheSignalsThatItListensTo) {
    connect();
    ScriptedService service(daemon_.address(), serviceName);
    service.signal(servicePath, "test.Interface", "Whispered", "s", "nothing");
    service.signal(servicePath, "test.Interface", "Said", "subi", "text", 7U, 1, -1);
    ASSERT_TRUE(loop_.runUntil([&] { return !heard_.empty(); }));
    ASSERT_THAT(heard_, SizeIs(1));
    EXPECT_EQ(heard_[0].member, "Said");
    EXPECT_EQ(heard_[0].path, servicePath);
    EXPECT_THAT(heard_[0].arguments,
                ElementsAre(BusValue("text"), BusValue(7U), BusValue(true), BusValue(-1)));
}

TEST_F(MessageBusTest, PassesOverWhatItHasNoWordFor) {
    connect();
    ScriptedService service(daemon_.address(), serviceName);
    service.signal(servicePath, "test.Interface", "Said", "a{sv}vvaxs", 1, "key", "u", 3U, "o", "/object",
                   "v", "s", "deep", 2, std::int64_t{1}, std::int64_t{2}, "last");
    ASSERT_TRUE(loop_.runUntil([&] { return !heard_.empty(); }));
    EXPECT_THAT(heard_[0].arguments,
                ElementsAre(BusValue(), BusValue("/object"), BusValue(), BusValue(), BusValue("last")));
}

TEST_F(MessageBusTest, SendsEveryKindOfValueAndReadsTheAnswer) {
    connect();
    ScriptedService service(daemon_.address(), serviceName);
    std::string signature;
    service.answer("Take", [&](sd_bus_message* call, sd_bus_message* answer) {
        signature = sd_bus_message_get_signature(call, 1);
        return sd_bus_message_append(answer, "asu", 2, "one", "two", 3U);
    });
    const BusMessage answer = ask(calling(
        "Take",
        {true, std::int32_t{-1}, std::uint32_t{1}, std::string("text"), std::vector<std::string>{"a"},
         std::map<std::string, std::string>{{"a", "b"}},
         BusVariants{
             {"a", true}, {"b", std::uint8_t{1}}, {"c", std::uint32_t{2}}, {"d", std::string("e")}}}));
    EXPECT_EQ(signature, "biusasa{ss}a{sv}");
    EXPECT_EQ(answer.error, "");
    EXPECT_THAT(answer.arguments,
                ElementsAre(BusValue(std::vector<std::string>{"one", "two"}), BusValue(3U)));
}

TEST_F(MessageBusTest, AnswersWithAnErrorWhereThereIsNoServiceOrItRefuses) {
    connect();
    EXPECT_EQ(ask(calling("Take")).error, "org.freedesktop.DBus.Error.NameHasNoOwner");
    ScriptedService service(daemon_.address(), serviceName);
    service.answer("Take", [](sd_bus_message*, sd_bus_message*) { return -EACCES; });
    EXPECT_EQ(ask(calling("Take")).error, "org.freedesktop.DBus.Error.AccessDenied");
}

TEST_F(MessageBusTest, AnswersWithAnErrorWhatTheBusDoesNotTake) {
    connect();
    EXPECT_EQ(ask(calling("no member")).error, "org.freedesktop.DBus.Error.Disconnected");
    EXPECT_EQ(ask(calling("Take", {std::string("\xff")})).error, "org.freedesktop.DBus.Error.Disconnected");
}

TEST_F(MessageBusTest, DoesNotWaitForAServiceThatHangs) {
    connect();
    ScriptedService service(daemon_.address(), serviceName);
    service.ignore("Take");
    EXPECT_EQ(ask(calling("Take"), std::chrono::milliseconds(50)).error,
              "org.freedesktop.DBus.Error.NoReply");
}

TEST_F(MessageBusTest, ConnectsAnewToABusThatWasStartedAgain) {
    connect();
    EXPECT_EQ(begun_, 1);
    daemon_.stop();
    ASSERT_TRUE(loop_.runUntil([&] { return ended_ == 1; }));
    EXPECT_EQ(ask(calling("Take")).error, "org.freedesktop.DBus.Error.Disconnected");
    daemon_.start();
    ASSERT_TRUE(loop_.runUntil([&] { return begun_ == 2; }));
    ScriptedService service(daemon_.address(), serviceName);
    ASSERT_TRUE(loop_.runUntil([&] {
        service.signal(servicePath, "test.Interface", "Said", "s", "again");
        return !heard_.empty();
    }));
    EXPECT_THAT(log_.messages(), SizeIs(1));
}

TEST_F(MessageBusTest, SaysOnceThatThereIsNoBusAndUsesItWhenItComes) {
    daemon_.stop();
    bus_->connect([this] { ++begun_; });
    bool isLater = false;
    Alarm later(loop_.executor(), [&] { isLater = true; });
    later.set(std::chrono::milliseconds(1500));
    ASSERT_TRUE(loop_.runUntil([&] { return isLater; }));
    EXPECT_EQ(begun_, 0);
    EXPECT_THAT(log_.messages(), ElementsAre("the session bus cannot be used: No such file or directory"));
    daemon_.start();
    EXPECT_TRUE(loop_.runUntil([&] { return begun_ == 1; }));
}

TEST_F(MessageBusTest, ABusThatTakesTheConnectionAndNeverSpeaksHoldsNobodyUp) {
    TemporaryFolder folder;
    const Descriptor listening(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (folder.path() / "bus").string().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listening, 1), 0);
    const ScopedEnvironment silent(
        {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder.path() / "bus").string()}});
    bus_->connect([this] { ++begun_; });
    EXPECT_EQ(ask(calling("Take"), std::chrono::milliseconds(50)).error,
              "org.freedesktop.DBus.Error.NoReply");
}

TEST_F(MessageBusTest, ItsEndWithQuestionsOpenAnswersNobody) {
    connect();
    ScriptedService service(daemon_.address(), serviceName);
    service.ignore("Take");
    int answers = 0;
    bus_->call(calling("Take"), seconds(20), [&](const BusMessage&) { ++answers; });
    ASSERT_TRUE(loop_.runUntil([&] { return service.calls("Take") == 1; }));
    bus_.reset();
    loop_.runReady();
    EXPECT_EQ(answers, 0);
}

TEST_F(MessageBusTest, AHandlerMayEndIt) {
    bus_->listen({.sender = serviceName}, [this](const BusMessage&) { bus_.reset(); });
    connect();
    ScriptedService service(daemon_.address(), serviceName);
    service.signal(servicePath, "test.Interface", "Said", "s", "the end");
    EXPECT_TRUE(loop_.runUntil([&] { return !bus_; }));
}

TEST_F(MessageBusTest, WhatAHandlerThrowsComesOutOfTheLoop) {
    bus_->listen({.sender = serviceName}, [](const BusMessage&) { throw std::runtime_error("a handler's"); });
    connect();
    ScriptedService service(daemon_.address(), serviceName);
    service.signal(servicePath, "test.Interface", "Said", "s", "text");
    EXPECT_THROW(loop_.runUntil([] { return false; }), std::runtime_error);
}

}  // namespace
}  // namespace platform::testing
