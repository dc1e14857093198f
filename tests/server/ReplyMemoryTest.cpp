// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <functional>

#include "server/PackageFetch.hpp"
#include "tests/server/AccountServerTwin.hpp"
#include "tests/support/AllocatedMemory.hpp"

namespace server {
namespace {

constexpr std::size_t longestReply = std::size_t{4} << 20;
constexpr std::size_t memoryLimit = std::size_t{64} << 20;

/// Hands out one reply and keeps nothing of it.
class OneReply final : public platform::URLSession {
  public:
    explicit OneReply(std::string body) : body_(std::move(body)) {}

    boost::asio::awaitable<platform::URLReply> data(platform::URLRequest request) override {
        co_return platform::URLReply{.response = {.url = request.url, .statusCode = 200},
                                     .data = std::exchange(body_, {})};
    }
    void startDataTask(platform::URLRequest) override {}
    bool waitForForgottenTasks(std::chrono::milliseconds) override { return true; }

  private:
    std::string body_;
};

/// `opening`, `item` as often as it fits with commas between, and `closing`.
std::string filled(const std::string& opening, const std::string& item, const std::string& closing,
                   std::size_t count = SIZE_MAX) {
    std::string text;
    text.reserve(longestReply);
    text += opening;
    for (std::size_t index = 0; index < count; ++index) {
        if (text.size() + item.size() + 1 + closing.size() > longestReply) break;
        if (index > 0) text += ',';
        text += item;
    }
    return text += closing;
}

std::string repeated(const std::string& part, std::size_t count) {
    std::string text;
    text.reserve(part.size() * count);
    for (std::size_t index = 0; index < count; ++index) text += part;
    return text;
}

const std::string listOpening =
    R"({"data":{"__typename":"Query","deliveriesOrdersList":{"__typename":"L","nodes":[)";
const std::string listClosing = "]}}}";

std::string deliveryWith(const std::string& exceptions, const std::string& flags) {
    return R"({"__typename":"Delivery","id":"d","status":"IN_TRANSIT","state":"CURRENT","exceptions":[)" +
           exceptions + R"(],"deliveryFlags":[)" + flags + "]}";
}

std::string orderOpening() {
    return R"({"__typename":"Order","id":"o","createdAt":"2024-05-01T12:00:00+0000","displayStatus":"paid",)"
           R"("deliveryStatus":"pending","shop":{"name":"","__typename":""})";
}

std::string orderWith(const std::string& lineItems, const std::string& trackers) {
    return orderOpening() + R"(,"lineItems":{"__typename":"","nodes":[)" + lineItems +
           R"(]},"trackers":{"__typename":"","nodes":[)" + trackers + "]}}";
}

/// A list whose one node is `node` with `item` at the mark "@", as often as it fits.
std::string nodeFilled(const std::string& node, const std::string& item) {
    const auto mark = node.find('@');
    return filled(listOpening + node.substr(0, mark), item, node.substr(mark + 1) + listClosing);
}

std::string nested(std::size_t depth) {
    return repeated("[", depth) + repeated("]", depth);
}

/// Members with names of their own.
std::string manyNames() {
    std::string text = R"({"data":{"__typename":"Query")";
    for (std::size_t index = 0; text.size() + 20 < longestReply; ++index)
        text += ",\"" + std::to_string(index) + "\":0";
    return text + "}}";
}

struct Reply {
    const char* name;
    std::function<std::string()> body;
};

const std::string event = R"({"__typename":"","happenedAt":""})";
const std::string tracker = R"({"__typename":"","paginatedTrackingEvents":{"__typename":"","nodes":[]}})";

const Reply hostileReplies[] = {
    {"empty objects", [] { return filled("[", "{}", "]"); }},
    {"empty lists", [] { return filled(R"({"data":[)", "[]", "]}"); }},
    {"digits", [] { return filled(R"({"data":{"__typename":"Query","x":[)", "0", "]}}"); }},
    {"empty texts", [] { return filled(R"({"data":{"__typename":"Query","x":[)", R"("")", "]}}"); }},
    {"short texts", [] { return filled(R"({"data":{"x":[)", R"("012345678901234")", "]}}"); }},
    {"objects of one member", [] { return filled(R"({"data":{"x":[)", R"({"":0})", "]}}"); }},
    {"long names", [] { return filled(R"({"data":{"x":[)", "{\"" + repeated("n", 4096) + "\":0}", "]}}"); }},
    {"one name over and over", [] { return filled(R"({"data":{)", R"("x":0)", "}}"); }},
    {"names of their own", manyNames},
    {"a nest too deep", [] { return nested(2'000'000); }},
    {"nests as deep as may be", [] { return filled(R"({"data":{"x":[)", nested(500), "]}}"); }},
    {"numbers with exponents", [] { return filled(R"({"data":{"x":[)", "1e15", "]}}"); }},
    {"a number of a million digits", [] { return R"({"data":{"x":)" + repeated("7", 1'000'000) + "}}"; }},
    {"a fraction of four million digits",
     [] { return R"({"data":{"x":0.)" + repeated("7", longestReply - 20) + "}}"; }},
    {"an exponent of a million digits",
     [] { return R"({"data":{"x":1e)" + repeated("9", 1'000'000) + "}}"; }},
    {"ill-formed UTF-8 at the end",
     [] { return R"({"data":{"x":")" + repeated("x", longestReply - 20) + "\xFF\"}}"; }},
    {"escapes", [] { return R"({"data":{"x":")" + repeated("\\u0001", longestReply / 6 - 10) + "\"}}"; }},
    {"errors", [] { return filled(R"({"errors":[)", R"({"message":"U"})", "]}"); }},
    {"a type name without end",
     [] {
         return listOpening + R"({"id":"","__typename":")" + repeated("x", longestReply - 200) + "\"}]}}}";
     }},
    {"an identifier without end",
     [] {
         return listOpening + R"({"__typename":"X","id":")" + repeated("x", longestReply - 200) + "\"}]}}}";
     }},
    {"a date without end",
     [] {
         return listOpening + R"({"__typename":"Order","id":"","createdAt":")" +
                repeated("2", longestReply - 200) + "\"}]}}}";
     }},
    {"an address to be encoded",
     [] {
         return nodeFilled(orderWith(R"({"__typename":"","image":{"__typename":"","url":"http://h/@"}})", ""),
                           repeated(" ", 3'000'000));
     }},
    {"an authority to be encoded",
     [] {
         return nodeFilled(orderWith(R"({"__typename":"","image":{"__typename":"","url":"http://@"}})", ""),
                           repeated("|", 4'000'000));
     }},
    {"many addresses",
     [] {
         return nodeFilled(orderWith("@", ""), R"({"__typename":"","image":{"__typename":"","url":"h:)" +
                                                   repeated(" ", 30) + "\"}}");
     }},
    {"items of unknown type",
     [] { return filled(listOpening, R"({"__typename":"","id":""})", listClosing); }},
    {"as many items of unknown type as a tree may hold",
     [] { return filled(listOpening, R"({"__typename":"","id":""})", listClosing, 100'000); }},
    {"deliveries", [] { return filled(listOpening, deliveryWith("", ""), listClosing); }},
    {"orders", [] { return filled(listOpening, orderWith("", ""), listClosing); }},
    {"exceptions", [] { return nodeFilled(deliveryWith("@", ""), R"({"__typename":""})"); }},
    {"flags", [] { return nodeFilled(deliveryWith("", "@"), R"("")"); }},
    {"line items", [] { return nodeFilled(orderWith("@", ""), R"({"__typename":""})"); }},
    {"trackers", [] { return nodeFilled(orderWith("", "@"), tracker); }},
    {"tracking events",
     [] {
         return nodeFilled(
             orderWith("", R"({"__typename":"","paginatedTrackingEvents":{"__typename":"","nodes":[@]}})"),
             event);
     }},
    {"texts just too long to stand in their records",
     [] { return nodeFilled(deliveryWith("@", ""), R"({"__typename":"0123456789012345"})"); }},
};

class ReplyMemory : public AccountServerTwin {
  protected:
    std::optional<presentation::PackageList> fetched(std::string body) {
        const auto reply = std::make_shared<OneReply>(std::move(body));
        PackageFetch fetch(
            std::make_shared<VelaServerConnectivity>(defaults, keychains, [reply] { return reply; }), tokens);
        try {
            return awaited(fetch.fetchPackages());
        } catch (const FetchPackagesError&) {
            return std::nullopt;
        }
    }
};

TEST_F(ReplyMemory, IsBoundedWhateverTheReplyHolds) {
    for (const auto& [name, reply] : hostileReplies) {
        const auto& body = reply;
        fetched(body());  // what is made on first use
        const auto before = tests::allocatedBytes();
        const auto growth = tests::peakMemory([&] { fetched(body()); });
        EXPECT_LE(growth, memoryLimit) << name;
        RecordProperty(name, std::to_string(growth >> 10) + " KiB");
        EXPECT_LE(tests::allocatedBytes(), before + (1u << 16)) << name;
    }
}

TEST_F(ReplyMemory, IsBoundedForTheRefreshToo) {
    const auto body = [] {
        return filled(R"({"data":{"__typename":"","accessTokenRefresh":{"__typename":"","userErrors":[)",
                      R"({"__typename":"","message":""})", "]}}}");
    };
    signIn("access", "refresh");
    const auto growth = tests::peakMemory([&] {
        const auto reply = std::make_shared<OneReply>(body());
        PackageFetch fetch(
            std::make_shared<VelaServerConnectivity>(defaults, keychains, [reply] { return reply; }), tokens);
        EXPECT_THROW(awaited(fetch.refreshAccessToken()), RefreshTokenError);
    });
    EXPECT_LE(growth, memoryLimit);
}

TEST_F(ReplyMemory, ThatIsExceededIsAFailedFetchLikeAnyOther) {
    signIn("old access", "old refresh");
    session->answer(200, filled("[", "{}", "]"));
    session->answer(200, R"({"data":{"accessTokenRefresh":{"authPayload":{"accessToken":"new access",)"
                         R"("refreshToken":"new refresh","__typename":""},"userErrors":[],"__typename":""},)"
                         R"("__typename":""}})");
    PackageFetch fetch(connectivity, tokens);
    try {
        awaited(fetch.fetchPackages());
        ADD_FAILURE() << "nothing was raised";
    } catch (const FetchPackagesError& error) {
        EXPECT_EQ(error.value(), FetchPackagesError::noPackagesFound);
    }
    EXPECT_EQ(session->requests().size(), 2u);
}

/// A node as the account server sends them, whole.
std::string wholeNode(std::size_t index) {
    const std::string number = std::to_string(index);
    const std::string image = R"({"url":"https://pictures.example/)" + number +
                              R"(.png?width=192&height=192","__typename":"Image"})";
    if (index % 2 == 0)
        return R"({"__typename":"Delivery","id":"D-)" + number +
               R"(","status":"IN_TRANSIT","state":"CURRENT","customName":null,"deliveryName":"Parcel )" +
               number +
               R"(","sellerName":"Nordwind","deliveredAt":"2024-05-01T12:00:00+0000","deliveryFlags":["STALE"],)"
               R"("exceptions":[{"exceptionType":"DELAYED","__typename":"DeliveryException"}],)"
               R"("currentEtaInfo":{"formattedEtaDateAndTime":"Arriving Friday between 2 and 4 PM",)"
               R"("estimatedTimeOfDelivery":null,"etaRange":null,"__typename":"Eta"},"tracker":{"carrierInfo":)"
               R"({"id":"C-1","name":"Swift Post","imageUrl":"https://pictures.example/carrier.png",)"
               R"("__typename":"Carrier"},"__typename":"DeliveryTracker"}})";
    return R"({"__typename":"Order","id":"O-)" + number +
           R"(","createdAt":"2024-05-01T12:00:00+0000","displayStatus":"in_transit","deliveryStatus":)"
           R"("in_transit","shippingMethod":null,"markedAsDeliveredAt":null,"etaInfo":null,"lineItems":)"
           R"({"nodes":[{"image":)" +
           image +
           R"(,"__typename":"LineItem"}],"__typename":"OrderLineItemConnection"},"shop":{"name":"Shop )" +
           number + R"(","visualTheme":{"logoImage":)" + image +
           R"(,"__typename":"VisualTheme"},"__typename":"Shop"},"trackers":{"nodes":[)"
           R"({"paginatedTrackingEvents":{"nodes":[{"carrierLocationMessage":"Customs cleared in Rotterdam",)"
           R"("happenedAt":"2024-05-01T12:00:00+0000","__typename":"TrackingEvent"}],)"
           R"("__typename":"TrackingEventConnection"},"__typename":"Tracker"}],"__typename":"TrackerConnection"}})";
}

std::string listOf(std::size_t count, const std::function<std::string(std::size_t)>& node) {
    std::string text = listOpening;
    for (std::size_t index = 0; index < count; ++index) text += (index > 0 ? "," : "") + node(index);
    return text + listClosing;
}

/// What the records of `body` read as, memory being no object.
presentation::PackageList expectedPackages(const std::string& body) {
    auto envelope = platform::JSONSerialization::JSONObjectWithData(body);
    return packages(VelaApi::responseFrom<VelaApi::TrackingWidgetResponse>(envelope.at("data").as_object()));
}

void expectTheSame(const std::optional<presentation::PackageList>& read,
                   const presentation::PackageList& expected) {
    ASSERT_TRUE(read);
    ASSERT_EQ(read->size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index)
        ASSERT_TRUE(presentation::showsTheSame(*(*read)[index], *expected[index])) << index;
}

TEST_F(ReplyMemory, SufficesForWhatAServerSends) {
    struct Row {
        std::size_t count;
        std::function<std::string(std::size_t)> node;
    };
    const auto smallNode = [](std::size_t index) {
        return index % 2 == 0 ? deliveryWith("", R"("STALE")") : orderWith("", "");
    };
    for (const auto& [count, node] : {Row{0, wholeNode}, Row{1, wholeNode}, Row{10, wholeNode},
                                      Row{5'500, wholeNode}, Row{10'000, smallNode}}) {
        const std::string body = listOf(count, node);
        ASSERT_LE(body.size(), longestReply) << count;
        const auto expected = expectedPackages(body);
        ASSERT_EQ(expected.size(), count);
        const auto growth = tests::peakMemory([&] { expectTheSame(fetched(body), expected); });
        RecordProperty(std::to_string(count) + " items", std::to_string(growth >> 10) + " KiB");
    }
}

}  // namespace
}  // namespace server
