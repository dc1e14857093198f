// SPDX-License-Identifier: Apache-2.0

#include "platform/URL/URL.hpp"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace platform {
namespace {

std::string parsed(std::string_view text) {
    const auto url = URL::parse(text);
    return url ? url->absoluteString() : "none";
}

TEST(URL, EncodesWhatAnIdentifierMayHold) {
    struct Row {
        std::string identifier;
        std::string encoded;
    };
    for (const auto& [identifier, encoded] : {
             Row{"D-1", "D-1"},
             Row{"", ""},
             Row{"a b", "a%20b"},
             Row{"q\"'", "q%22'"},
             Row{"x\ny\r\t", "x%0Ay%0D%09"},
             Row{std::string("a\0b", 3), "a%00b"},
             Row{"📦", "%F0%9F%93%A6"},
             Row{"é", "%C3%A9"},
             Row{"%zz", "%25zz"},
             Row{"%", "%25"},
             Row{"100%2", "100%252"},
             Row{"%2F", "%2F"},
             Row{"[x]", "%5Bx%5D"},
             Row{"{x|y}^`\\<>", "%7Bx%7Cy%7D%5E%60%5C%3C%3E"},
             Row{"\xFF\xFE", "%FF%FE"},
             Row{"a/b", "a/b"},
             Row{"a?b", "a?b"},
             Row{"a#b#c", "a#b%23c"},
             Row{"//x:y@z", "//x:y@z"},
         })
        EXPECT_EQ(parsed("velaapp://delivery/" + identifier + "?referral=ios_widget"),
                  "velaapp://delivery/" + encoded + "?referral=ios_widget");
}

TEST(URL, DoesNotParseWithoutASchemeOrWithABrokenAuthority) {
    for (const std::string_view text : {"",
                                        "no scheme",
                                        "//x",
                                        "/path",
                                        "?q",
                                        "#f",
                                        ":",
                                        ":a",
                                        "1x://h",
                                        "a b://h",
                                        "é://h",
                                        " http://h",
                                        "http://h:abc",
                                        "http://h:-1",
                                        "http://h:+1",
                                        "http://h:99999",
                                        "http://h:8 0",
                                        "http://h:80:80",
                                        "http://[::1",
                                        "http://[zz]/",
                                        "http://[]/",
                                        "http://[::1]x",
                                        "http://[::1]:abc",
                                        "http://[::1::2]",
                                        "http://::1/",
                                        "a://["})
        EXPECT_EQ(parsed(text), "none") << text;
}

TEST(URL, TellsItsParts) {
    struct Row {
        std::string_view text, scheme, host;
        std::optional<std::uint16_t> port, effectivePort;
        std::string_view path;
    };
    for (const auto& row : {
             Row{"https://account.vela.example/graphql",
                 "https",
                 "account.vela.example",
                 {},
                 443,
                 "/graphql"},
             Row{"HTTP://EX.com:8080/A%20B?q#f", "http", "ex.com", 8080, 8080, "/A B"},
             Row{"http://user:word@h/", "http", "h", {}, 80, "/"},
             Row{"http://h:/", "http", "h", {}, 80, "/"},
             Row{"http://h:0", "http", "h", 0, 0, ""},
             Row{"http://h:65535", "http", "h", 65535, 65535, ""},
             Row{"http://[2001:DB8::1]:81/x", "http", "2001:db8::1", 81, 81, "/x"},
             Row{"http://127.0.0.1?q", "http", "127.0.0.1", {}, 80, ""},
             Row{"http://bücher.example/", "http", "b%c3%bccher.example", {}, 80, "/"},
             Row{"velaapp://home_orders", "velaapp", "home_orders", {}, {}, ""},
             Row{"file:///tmp/a%25b", "file", "", {}, {}, "/tmp/a%b"},
             Row{"data:text/plain,hi there", "data", "", {}, {}, "text/plain,hi there"},
             Row{"mailto:someone@h", "mailto", "", {}, {}, "someone@h"},
             Row{"x:?", "x", "", {}, {}, ""},
             Row{"x:#", "x", "", {}, {}, ""},
         }) {
        const auto url = URL::parse(row.text);
        ASSERT_TRUE(url) << row.text;
        EXPECT_EQ(url->scheme(), row.scheme) << row.text;
        EXPECT_EQ(url->host(), row.host) << row.text;
        EXPECT_EQ(url->port(), row.port) << row.text;
        EXPECT_EQ(url->effectivePort(), row.effectivePort) << row.text;
        EXPECT_EQ(url->path(), row.path) << row.text;
    }
}

TEST(URL, ResolvesReferencesAsTheRFCLaysDown) {
    const auto base = *URL::parse("http://a/b/c/d;p?q");
    struct Row {
        std::string_view reference, resolved;
    };
    // RFC 3986 sections 5.4.1 and 5.4.2.
    for (const auto& [reference, resolved] : {
             Row{"g:h", "g:h"},
             Row{"g", "http://a/b/c/g"},
             Row{"./g", "http://a/b/c/g"},
             Row{"g/", "http://a/b/c/g/"},
             Row{"/g", "http://a/g"},
             Row{"//g", "http://g"},
             Row{"?y", "http://a/b/c/d;p?y"},
             Row{"g?y", "http://a/b/c/g?y"},
             Row{"#s", "http://a/b/c/d;p?q#s"},
             Row{"g#s", "http://a/b/c/g#s"},
             Row{"g?y#s", "http://a/b/c/g?y#s"},
             Row{";x", "http://a/b/c/;x"},
             Row{"g;x", "http://a/b/c/g;x"},
             Row{"g;x?y#s", "http://a/b/c/g;x?y#s"},
             Row{"", "http://a/b/c/d;p?q"},
             Row{".", "http://a/b/c/"},
             Row{"./", "http://a/b/c/"},
             Row{"..", "http://a/b/"},
             Row{"../", "http://a/b/"},
             Row{"../g", "http://a/b/g"},
             Row{"../..", "http://a/"},
             Row{"../../", "http://a/"},
             Row{"../../g", "http://a/g"},
             Row{"../../../g", "http://a/g"},
             Row{"../../../../g", "http://a/g"},
             Row{"/./g", "http://a/g"},
             Row{"/../g", "http://a/g"},
             Row{"g.", "http://a/b/c/g."},
             Row{".g", "http://a/b/c/.g"},
             Row{"g..", "http://a/b/c/g.."},
             Row{"..g", "http://a/b/c/..g"},
             Row{"./../g", "http://a/b/g"},
             Row{"./g/.", "http://a/b/c/g/"},
             Row{"g/./h", "http://a/b/c/g/h"},
             Row{"g/../h", "http://a/b/c/h"},
             Row{"g;x=1/./y", "http://a/b/c/g;x=1/y"},
             Row{"g;x=1/../y", "http://a/b/c/y"},
             Row{"g?y/./x", "http://a/b/c/g?y/./x"},
             Row{"g?y/../x", "http://a/b/c/g?y/../x"},
             Row{"g#s/./x", "http://a/b/c/g#s/./x"},
             Row{"g#s/../x", "http://a/b/c/g#s/../x"},
             Row{"http:g", "http:g"},
             Row{"a b", "http://a/b/c/a%20b"},
             Row{"https://x/../y", "https://x/y"},
         }) {
        const auto url = base.resolving(reference);
        ASSERT_TRUE(url) << reference;
        EXPECT_EQ(url->absoluteString(), resolved) << reference;
    }
}

TEST(URL, ResolvesAgainstABaseWithoutAPath) {
    const auto base = *URL::parse("http://h");
    EXPECT_EQ(base.resolving("g")->absoluteString(), "http://h/g");
    EXPECT_EQ(base.resolving("../g")->absoluteString(), "http://h/g");
    EXPECT_EQ(base.resolving("?q")->absoluteString(), "http://h?q");
    EXPECT_EQ(base.resolving("")->absoluteString(), "http://h");
    EXPECT_EQ(URL::parse("a:b/c")->resolving("../../d")->absoluteString(), "a:/d");
}

TEST(URL, ResolvesNothingToABrokenAuthority) {
    const auto base = *URL::parse("http://a/b");
    for (const std::string_view reference : {"//h:bad/", "//[::1/", "http://h:99999", "http://[zz]"})
        EXPECT_FALSE(base.resolving(reference)) << reference;
}

TEST(URL, ParsesItsOwnTextToItself) {
    std::mt19937 random(4);
    static constexpr std::string_view material = "ab:/?#[]@!%20 \x01\x7F\xC3\xA9\xFF.\\\"";
    int count = 0;
    for (int i = 0; i < 20'000; ++i) {
        std::string text = i % 3 ? "x://" : "x:";
        for (auto length = random() % 16; length > 0; --length) text += material[random() % material.size()];
        const auto url = URL::parse(text);
        if (!url) continue;
        ++count;
        ASSERT_EQ(URL::parse(url->absoluteString()), url) << text;
        for (const char c : url->absoluteString()) ASSERT_TRUE(c > 0x20 && c < 0x7F) << text;
        url->host(), url->port(), url->path(), url->scheme();
        if (const auto resolved = url->resolving(text.substr(2))) {
            ASSERT_EQ(URL::parse(resolved->absoluteString()), resolved) << text;
        }
    }
    EXPECT_GT(count, 1'000);
}

TEST(URL, IsOfTheSameOriginBySchemeHostAndPort) {
    struct Row {
        std::string_view first, second;
        bool same;
    };
    for (const auto& [first, second, same] : {
             Row{"http://h/a", "HTTP://H:80/b", true},
             Row{"https://h", "https://h:443", true},
             Row{"http://h", "https://h", false},
             Row{"http://h", "http://h:8080", false},
             Row{"http://h", "http://h.example", false},
             Row{"https://u@h/", "https://h/", true},
             Row{"http://[::1]/", "http://[::1]:80/", true},
         })
        EXPECT_EQ(isSameOrigin(*URL::parse(first), *URL::parse(second)), same) << first << " and " << second;
}

}  // namespace
}  // namespace platform
