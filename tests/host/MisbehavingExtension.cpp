// SPDX-License-Identifier: Apache-2.0

// An extension for tests that does what it is told, line by line, by the variable VELA_TEST_BEHAVIOUR:
//
//     greet [VERSION]     sends a greeting
//     receive             waits for the next frame; ends quietly where the host hangs up
//     answer JSON         sends an object with the id of the latest request
//     send JSON           sends an object as it stands
//     draw TEXT           answers with an attachment
//     claim BODY DRAWING  sends the lengths of a frame that never comes
//     bytes TEXT          sends bytes that are no frame
//     print TEXT, complain TEXT   on standard output and standard error; \e, \a and \n are read as in C
//     tell MEMBER         prints that member of the latest request, as JSON
//     raise NUMBER, exit STATUS, sleep MILLISECONDS, ignore NUMBER (signals)
//     note FILE           writes its process identifier there
//     await FILE          goes on once there is such a file
//     unless FILE LINE    obeys LINE where there is no such file yet, and makes it
//     repeat              goes back to the first "receive"
//
// At the end of its lines it waits for its host to hang up.

#include <arpa/inet.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/JSON/JSONSerialization.hpp"

namespace {

namespace json = boost::json;
using platform::JSONSerialization;

constexpr int hostSocket = 3;

bool readWhole(char* bytes, std::size_t count) {
    while (count > 0) {
        const auto length = ::read(hostSocket, bytes, count);
        if (length <= 0) return false;
        bytes += length;
        count -= static_cast<std::size_t>(length);
    }
    return true;
}

void write(const std::string& bytes) {
    if (::write(hostSocket, bytes.data(), bytes.size()) < 0) std::_Exit(0);
}

std::string lengths(std::size_t body, std::size_t attachment) {
    const std::array<std::uint32_t, 2> words = {htonl(static_cast<std::uint32_t>(body)),
                                                htonl(static_cast<std::uint32_t>(attachment))};
    return {reinterpret_cast<const char*>(words.data()), sizeof words};
}

void send(const json::value& body, const std::string& attachment = {}) {
    const auto text = JSONSerialization::dataWithJSONObject(body);
    write(lengths(text.size(), attachment.size()) + text + attachment);
}

std::optional<json::object> receivedFrame() {
    std::array<std::uint32_t, 2> words;
    if (!readWhole(reinterpret_cast<char*>(words.data()), sizeof words)) return std::nullopt;
    std::string body(ntohl(words[0]), '\0');
    if (!readWhole(body.data(), body.size())) return std::nullopt;
    return JSONSerialization::JSONObjectWithData(body).as_object();
}

std::string unescaped(const std::string& text) {
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '\\' || index + 1 == text.size()) {
            result += text[index];
            continue;
        }
        const char next = text[++index];
        result += next == 'e' ? '\x1b' : next == 'a' ? '\a' : next == 'n' ? '\n' : next;
    }
    return result;
}

class Actor {
  public:
    void obey(const std::string& line) {
        const auto space = line.find(' ');
        const auto word = line.substr(0, space);
        const auto rest = space == std::string::npos ? std::string() : line.substr(space + 1);
        if (obeyConversation(word, rest) || obeyProcess(word, rest)) return;
        std::fprintf(stderr, "unknown behaviour: %s\n", line.c_str());
        std::_Exit(99);
    }

  private:
    bool obeyConversation(const std::string& word, const std::string& rest) {
        if (word == "greet") {
            send({{"protocol", rest.empty() ? 1 : std::stoi(rest)}});
        } else if (word == "receive") {
            auto frame = receivedFrame();
            if (frame && frame->contains("protocol")) frame = receivedFrame();
            if (!frame) std::_Exit(0);
            latest_ = *frame;
        } else if (word == "answer" || word == "draw") {
            auto body =
                word == "answer" ? JSONSerialization::JSONObjectWithData(rest).as_object() : json::object();
            body["id"] = latest_.at("id");
            send(body, word == "draw" ? rest : "");
        } else if (word == "send") {
            send(JSONSerialization::JSONObjectWithData(rest));
        } else if (word == "claim") {
            std::size_t body = 0, attachment = 0;
            std::istringstream(rest) >> body >> attachment;
            write(lengths(body, attachment));
        } else if (word == "bytes") {
            write(unescaped(rest));
        } else if (word == "tell") {
            const auto* member = latest_.if_contains(rest);
            obey("print " + (member ? JSONSerialization::dataWithJSONObject(*member) : "nothing"));
        } else {
            return false;
        }
        return true;
    }

    bool obeyProcess(const std::string& word, const std::string& rest) {
        if (word == "print" || word == "complain") {
            auto* stream = word == "print" ? stdout : stderr;
            std::fputs((unescaped(rest) + "\n").c_str(), stream);
            std::fflush(stream);
        } else if (word == "raise") {
            // A sanitizer would turn some of them into an exit.
            ::signal(std::stoi(rest), SIG_DFL);
            ::raise(std::stoi(rest));
        } else if (word == "exit") {
            std::_Exit(std::stoi(rest));
        } else if (word == "sleep") {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(rest)));
        } else if (word == "ignore") {
            ::signal(std::stoi(rest), SIG_IGN);
        } else if (word == "note") {
            std::ofstream(rest) << ::getpid() << std::endl;
        } else if (word == "await") {
            while (!std::filesystem::exists(rest)) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        } else if (word == "unless") {
            const auto space = rest.find(' ');
            const auto file = rest.substr(0, space);
            if (std::filesystem::exists(file)) return true;
            std::ofstream(file) << "";
            obey(rest.substr(space + 1));
        } else {
            return false;
        }
        return true;
    }

    json::object latest_;
};

}  // namespace

int main() {
    ::signal(SIGPIPE, SIG_IGN);
    std::vector<std::string> lines;
    std::istringstream script(std::getenv("VELA_TEST_BEHAVIOUR"));
    for (std::string line; std::getline(script, line);) lines.push_back(line);
    Actor actor;
    for (std::size_t index = 0; index < lines.size(); ++index) {
        if (lines[index] != "repeat") {
            actor.obey(lines[index]);
            continue;
        }
        for (index = 0; lines[index] != "receive";) ++index;
        --index;
    }
    char byte = 0;
    while (readWhole(&byte, 1)) continue;
}
