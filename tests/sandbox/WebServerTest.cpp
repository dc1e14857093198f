#include "sandbox/WebServer.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "tests/sandbox/RunningSandbox.hpp"

namespace tests {
namespace {

using sandbox::Origin;
using sandbox::Request;
using sandbox::Served;
using sandbox::WebServer;

TEST(WebServer, SaysWhyARequestWasNotAnsweredAndServesTheNext) {
    WebServer server({}, [](const Request& request) -> Served {
        if (request.path() == "/broken") throw std::runtime_error("the shelf is empty");
        return {.response = {.body = "{}"}};
    });
    testing::internal::CaptureStderr();
    std::thread thread([&server] { server.run(); });
    Connection broken(server.url(Origin::first));
    broken.send(requestText("GET", "/broken", {}, {}));
    EXPECT_TRUE(broken.isClosedByPeer());
    Connection sound(server.url(Origin::first));
    sound.send(requestText("GET", "/sound", {}, {}));
    EXPECT_EQ(sound.receive().status, 200);
    server.stop();
    thread.join();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "vela-sandbox: a request could not be answered: the shelf is empty\n");
}

}  // namespace
}  // namespace tests
